#!/usr/bin/env python3
"""Compares instruction counts of what must stay fast with the stored ones.

callgrind counts, so the figures depend on the compiler but not on the machine or its load: only
instructions of the library and of the program itself, none of the C and C++ runtime. callgrind
knows no AVX-512: the lower sets of vector instructions are forced. scripts/check-instructions
builds the program and calls this.
"""
import argparse
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
STORED = ROOT / "bench/instruction_counts.txt"
PROGRAM = ROOT / "build/linux-release/bin/bench_cases"
SLACK = 0.05


def is_ours(path):
    return Path(path).name == PROGRAM.name or "libVelmoraCore" in path


def own_instructions(text):
    """Yields case and count from callgrind's output, one part per case."""
    objects = {}
    name, count, ours, is_inclusive = None, 0, False, False
    for line in text.splitlines():
        if line[:1] in "+-*0123456789" and line:  # a source line and what it cost
            count += int(line.rpartition(" ")[2]) if ours and not is_inclusive else 0
            is_inclusive = False
        elif line.startswith("calls="):  # what the called function cost follows
            is_inclusive = True
        elif match := re.match(r"c?ob=\((\d+)\)(?: (.*))?", line):
            if match[2]:
                objects[match[1]] = is_ours(match[2])
            if line.startswith("ob="):
                ours = objects[match[1]]
        elif line.startswith("part: "):
            if name:
                yield name, count
            name, count = None, 0
        elif line.startswith("desc: Trigger: Client Request: "):
            name = line.partition("Request: ")[2]
    if name:
        yield name, count


def measure(simd, mode):
    with tempfile.NamedTemporaryFile() as out:
        command = ["valgrind", "--tool=callgrind", "--collect-atstart=no", "--combine-dumps=yes",
                   f"--callgrind-out-file={out.name}", PROGRAM, mode]
        result = subprocess.run(command, env={**os.environ, "VELMORA_SIMD": simd},
                                capture_output=True, text=True)
        if result.returncode != 0:
            sys.exit(f"error: callgrind failed:\n{result.stderr}")
        counts = dict(own_instructions(Path(out.name).read_text()))
    if not counts or min(counts.values()) == 0:
        sys.exit(f"error: callgrind counted nothing of {PROGRAM.name} {mode}")
    return counts


def measure_all():
    counts = {}
    for simd in "avx2", "ssse3":
        for name, count in measure(simd, "kernels").items():
            counts[f"{name}, {simd}"] = count
    return {**counts, **measure("avx2", "others")}


def stored():
    lines = [line.split("\t") for line in STORED.read_text().splitlines() if "\t" in line]
    return {name: int(count) for name, count in lines}


def compiler():
    version = subprocess.check_output(["g++", "-dumpfullversion"], text=True)
    return f"g++ {version.strip()}"


def store(counts):
    lines = [f"# Instructions per case, {compiler()}; by scripts/check-instructions --update.",
             *(f"{name}\t{count}" for name, count in counts.items())]
    STORED.write_text("\n".join(lines) + "\n")


def complaints(counts, before):
    for name in sorted(set(counts) | set(before)):
        if name not in counts:
            yield f"{name}: stored, but no case any more"
        elif name not in before:
            yield f"{name}: {counts[name]} instructions, but no figure is stored"
        elif abs(change := counts[name] / before[name] - 1) > SLACK:
            kind = "more" if change > 0 else "fewer: store them, so that the gain stays"
            yield (f"{name}: {counts[name]} instructions instead of the stored {before[name]}, "
                   f"{abs(change):.0%} {kind}")


def compare_widths():
    """Yields set, conversion and its worst width: ratio to plain, width, count, plain's."""
    plain = measure("plain", "widths")
    for simd in "ssse3", "avx2":
        worst = {}
        for case, count in measure(simd, "widths").items():
            name, width = case.split("/")
            comparison = (count / plain[case], width, count, plain[case])
            worst[name] = max(worst.get(name, (0,)), comparison)
        for name, comparison in worst.items():
            yield simd, name, *comparison


def main():
    parser = argparse.ArgumentParser(prog="scripts/check-instructions",
                                     description=__doc__.split("\n")[0])
    parser.add_argument("--update", action="store_true", help="store what is counted now")
    parser.add_argument("--widths", action="store_true",
                        help="show how each set compares with plain at widths of 1 to 200")
    options = parser.parse_args()
    if " avx2 " not in Path("/proc/cpuinfo").read_text():
        sys.exit("error: the stored counts are of the AVX2 kernels, which this processor lacks")
    if options.update:
        store(measure_all())
        return
    found = []
    if not options.widths:
        if compiler() not in STORED.read_text():
            sys.exit(f"error: the stored counts are not of {compiler()}; "
                     "scripts/check-instructions --update counts anew")
        found += complaints(measure_all(), stored())
        if found:
            found.append("If that is meant, scripts/check-instructions --update stores the counts.")
    for simd, name, ratio, width, count, plain in compare_widths():
        text = (f"{name}, {simd}, width {width}: {count} instructions, {ratio:.3f} of plain's "
                f"{plain}")
        if options.widths:
            print(text)
        if ratio > 1 + SLACK:
            found.append(text)
    if found:
        sys.exit("\n".join([*found, "error: instruction counts differ by more than 5 %"]))


if __name__ == "__main__":
    main()
