#!/usr/bin/env python3
"""Runs the benchmarks round by round and prints one table: ours, the best peer, the limit.

In a round each program runs once. All contenders of a row follow each other there, so that a busy
moment of the machine hits all alike. A cost is the median over the rounds. scripts/bench builds the
programs and calls this.
"""
import argparse
import collections
import json
import os
import platform
import re
import statistics
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
PROGRAMS = ["conversion", "base64", "ref", "engine", "log", "geometry"]
CASES = ROOT / "build/linux-release/bin/bench_cases"
OURS = "velmora"
LIMITS = ["memcpy", "raw pointer", "bare check", "plain clip"]  # no contender is expected below
SETS = ["plain", "ssse3", "avx2"]  # our lower sets of vector instructions, VELMORA_SIMD
PROGRAMS_WITH_SETS = ["conversion", "base64"]

# Names of benchmarks that are not "row/contender" already: program, pattern, name.
NAMES = [
    ("engine", r"RunEngineItems/items:(\d+)/threads:(\d+)",
     r"\1 empty items, threads: \2/velmora"),
    ("engine", r"RunTbbTasks/items:(\d+)/threads:(\d+)",
     r"\1 empty items, threads: \2/oneTBB"),
    ("engine", r"RunTwoMicrosecondItems/items:\d+/threads:(\d+)",
     r"items of 2000 ns, threads: \1/velmora"),
    ("log", r"Disabled", "disabled statement/velmora"),
    ("log", r"DisabledBareCheck", "disabled statement/bare check"),
    ("log", r"DisabledSpdlog", "disabled statement/spdlog"),
    ("log", r"DisabledByMode", "statement of a disabled mode/velmora"),
    ("log", r"WriteLine/cached:0", "line written at once/velmora"),
    ("log", r"WriteLine/cached:1", "cached line/velmora"),
    ("log", r"WriteLineSpdlogBuffered", "cached line/spdlog"),
    ("geometry", r"OverlapArea_Velmora", "overlap of two quads/velmora"),
    ("geometry", r"OverlapArea_Boost", "overlap of two quads/Boost"),
    ("geometry", r"OverlapArea_Plain", "overlap of two quads/plain clip"),
    ("geometry", r"PointRelation_Velmora", "point in Nx_Quad/velmora"),
    ("geometry", r"PointRelation_VelmoraValue", "point in quad/velmora"),
    ("geometry", r"PointRelation_Boost", "point in quad/Boost"),
    ("geometry", r"Area_Velmora", "area of a quad/velmora"),
    ("geometry", r"Area_Boost", "area of a quad/Boost"),
    ("geometry", r"Area_VelmoraByNxQuad", "area of a fresh Nx_Quad/velmora"),
]


def times(factor, contender, ours=OURS):
    """Ours is at least `factor` times as fast as the contender ("limit", "best peer" or a name)."""
    def check(costs):
        if contender not in costs or ours not in costs:
            return None
        ratio = costs[contender] / costs[ours]
        return ratio >= factor, f"{contender} {ratio:.2f} < {factor}"
    return check


def at_most(ns):
    def check(costs):
        return costs[OURS] <= ns, f"{costs[OURS]:.0f} ns > {ns}"
    return check


def either(*checks):
    def check(costs):
        results = [result for result in (c(costs) for c in checks) if result]
        if not results:
            return None
        return any(ok for ok, _ in results), " and ".join(text for _, text in results)
    return check


# What each row must reach: program, pattern of the row, check. All that match hold.
TARGETS = [
    ("conversion", r"(BGR|RGB) -> grey", times(1.3, "libyuv")),
    ("conversion", r"(BGRA|RGBA) -> grey", times(1.0, "libyuv")),
    ("conversion", r"(565|555) -> grey", times(1.8, "OpenCV")),
    ("conversion", r"(565|555) -> colour", times(1.1, "OpenCV")),
    ("conversion", r"NV.. -> colour", times(1.4, "libyuv")),
    ("conversion", r"bit -> .*", times(5, "Leptonica")),
    ("conversion", r"[^,]*", times(0.95, "best peer")),
    ("conversion", r"(?!bit|555|indexed)[^,]*", times(0.75, "limit")),
    ("conversion", r"(?!indexed)[^,]*",
     either(times(3, "plain", ours="ssse3"), times(0.5, "limit", ours="ssse3"))),
    ("base64", r"encode 64 KiB", times(8, "OpenSSL")),
    ("base64", r"decode 64 KiB", times(6, "OpenSSL")),
    ("base64", r"(?!.* 16 B).*", times(1.0, "OpenSSL")),
    ("engine", r".* empty items, threads: 1", at_most(150)),
    ("engine", r".* empty items, threads: 2", at_most(250)),
    ("engine", r"items of 2000 ns, threads: 2", times(1.8, "threads: 1")),
    ("log", r"cached line", either(at_most(165), times(1.0, "spdlog"))),
    ("windows", r"(NV|bit|nibble|indexed).*", times(0.6, "64-bit AVX2")),
    ("windows", r"(?!NV|bit|nibble|indexed).* ->.*|(en|de)code 64 KiB", times(0.8, "64-bit AVX2")),
    ("geometry", r"area of a quad", at_most(10)),
    ("geometry", r"area of a fresh Nx_Quad", at_most(30)),
]


# ---- measuring ----------------------------------------------------------------------------------

def row_and_contender(program, name):
    name = re.sub(r"/(real_time|process_time|min_time:[\d.]+)", "", name)
    for of, pattern, new in NAMES:
        if of == program and re.fullmatch(pattern, name):
            name = re.sub(pattern, new, name)
            break
    row, _, contender = re.sub(r"/\d+$", "", name).rpartition("/")
    return row or name, contender


def run_program(program, arguments, simd=None):
    """Runs it once and yields row, contender, nanoseconds per item, unit."""
    binary = ROOT / "build/linux-bench/bin" / f"{program}_bench"
    if not binary.exists():
        sys.exit(f"error: there is no {binary.name}; the benchmarks are bench/*_bench.cpp")
    environment = dict(os.environ)
    if simd:
        environment["VELMORA_SIMD"] = simd
        chosen = [re.sub("^--benchmark_filter=", "", text) for text in arguments
                  if text.startswith("--benchmark_filter=")]
        arguments = [*arguments, f"--benchmark_filter=({'|'.join(chosen)}).*/velmora$"]
    with tempfile.NamedTemporaryFile(suffix=".json") as out:
        result = subprocess.run([binary, f"--benchmark_out={out.name}",
                                 "--benchmark_out_format=json", *arguments], env=environment,
                                capture_output=True, text=True)
        if result.returncode != 0:
            sys.exit(f"error: {binary.name} failed: {result.stderr}")
        text = out.read().decode()
    for run in json.loads(text or '{"benchmarks": []}')["benchmarks"]:
        if run.get("error_occurred"):
            sys.exit(f"error: {program}: {run['name']}: {run['error_message']}")
        row, contender = row_and_contender(program, run["name"])
        if "items_per_second" in run:
            ns = 1e9 / run["items_per_second"]
        else:
            ns = run["cpu_time"] * {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[run["time_unit"]]
        yield row, simd or contender, ns, run.get("label", "item")


def run_cases(command, mode, simd=None):
    """Runs bench_cases and yields name and nanoseconds per call."""
    environment = {**os.environ, **({"VELMORA_SIMD": simd} if simd else {})}
    out = subprocess.run([*command, mode], check=True, env=environment, capture_output=True,
                         text=True).stdout
    for line in out.splitlines():
        name, _, ns = line.partition("\t")
        yield name, float(ns)


def run_on_both_targets():
    """The DLL under Wine is ours here, the 64-bit library the peer; both with the AVX2 set."""
    for contender, command in (
            (OURS, [ROOT / "scripts/wine-run", ROOT / "build/windows-x86/bin/bench_cases.exe"]),
            ("64-bit AVX2", [CASES])):
        for name, ns in run_cases(command, "kernels", "avx2"):
            yield name, contender, ns, "call"


def run_round(program, arguments):
    if program == "windows":
        yield from run_on_both_targets()
        return
    for simd in [None, *(SETS if program in PROGRAMS_WITH_SETS else [])]:
        yield from run_program(program, arguments, simd)
    if program == "conversion":
        yield from run_program(program, [*arguments, "fresh"])


def measure(programs, rounds, arguments):
    rows = {}
    for number in range(rounds):
        for program in programs:
            if sys.stderr.isatty():
                print(f"\rround {number + 1} of {rounds}: {program:12}", end="", file=sys.stderr)
            for name, contender, ns, unit in run_round(program, arguments):
                row = rows.setdefault((program, name), {
                    "program": program, "row": name, "unit": unit,
                    "rounds": collections.defaultdict(list)})
                row["rounds"][contender].append(ns)
    if sys.stderr.isatty():
        print(file=sys.stderr)
    return list(rows.values())


def compare_widths(rounds):
    """Prints per conversion the width at which the chosen set is slowest beside the plain loops."""
    costs = collections.defaultdict(lambda: collections.defaultdict(list))
    for _ in range(rounds):
        for simd in "plain", None:
            for case, ns in run_cases([CASES], "widths", simd):
                costs[case][simd].append(ns)
    worst = {}
    for case, by_set in costs.items():
        name, width = case.split("/")
        ns, plain = min(by_set[None]), min(by_set["plain"])
        worst[name] = max(worst.get(name, (0,)), (ns / plain, int(width), ns, plain))
    for name, (ratio, width, ns, plain) in worst.items():
        print(f"{name:20} slowest at width {width:3}: {ns:8.1f} ns, {ratio:.2f} of plain's "
              f"{plain:.1f}")


# ---- judging ------------------------------------------------------------------------------------

def judge(rows):
    """Adds medians, best peer, limit and missed targets to each row."""
    for row in rows:
        costs = {name: statistics.median(values) for name, values in row["rounds"].items()}
        peers = [name for name in costs if name not in [OURS, *LIMITS, *SETS]]
        row["ns"] = costs
        row["peer"] = min(peers, key=costs.get, default=None)
        row["limit"] = next((name for name in LIMITS if name in costs), None)
    by_name = {row["row"]: row for row in rows}
    for row in rows:
        costs = dict(row["ns"])
        for name, key in ("best peer", "peer"), ("limit", "limit"):
            if row[key]:
                costs[name] = costs[row[key]]
        single = by_name.get(row["row"].replace("threads: 2", "threads: 1"))
        if single:
            costs["threads: 1"] = single["ns"].get(OURS)
        results = [check(costs) for program, pattern, check in TARGETS
                   if OURS in costs and program == row["program"]
                   and re.fullmatch(pattern, row["row"])]
        results = [result for result in results if result]
        row["targets"] = len(results)
        row["missed"] = [text for ok, text in results if not ok]


def targets_without_row(rows):
    return [f"{program}: {pattern}" for program, pattern, _ in TARGETS if program in PROGRAMS
            and not any(row["program"] == program and re.fullmatch(pattern, row["row"])
                        for row in rows)]


# ---- telling ------------------------------------------------------------------------------------

def versions():
    def output(*command):
        try:
            return subprocess.run(command, capture_output=True, text=True, cwd=ROOT,
                                  check=True).stdout.strip()
        except (OSError, subprocess.CalledProcessError):
            return "unknown"

    cpu = re.search(r"^model name\s*: (.*)$", Path("/proc/cpuinfo").read_text(), re.M)
    flags = re.search(r"CMAKE_CXX_FLAGS_RELEASE:\w+=(.*)",
                      (ROOT / "build/linux-bench/CMakeCache.txt").read_text())
    packages = {"libyuv": "libyuv-dev", "OpenCV": "libopencv-core-dev",
                "Leptonica": "libleptonica-dev", "OpenSSL": "libssl-dev", "Boost": "libboost-dev",
                "modp_b64": "libmodpbase64-dev", "oneTBB": "libtbb-dev", "spdlog": "libspdlog-dev",
                "Highway": "libhwy-dev", "glibc": "libc6"}
    return {
        "machine": f"{cpu[1] if cpu else platform.machine()}, {os.cpu_count()} cores, "
                   f"Linux {platform.release()}",
        "compiler": f"{output('g++', '--version').splitlines()[0]} {flags[1] if flags else ''}",
        "commit": output("git", "describe", "--always", "--dirty"),
        "versions": {name: output("dpkg-query", "-W", "-f=${Version}\\n", package).split("\n")[0]
                     for name, package in packages.items()},
    }


def cells(row):
    """The row of the table as texts."""
    costs, ours = row["ns"], row["ns"].get(OURS)

    def number(value):
        return f"{value:.4f}" if value < 10 else f"{value:.1f}"

    def cost(name):
        return f"{number(costs[name])} {name}" if name else "-"

    def ratio(name, to=ours):
        return f"{costs[name] / to:.2f}" if to and costs.get(name) else "-"

    return [row["row"], row["unit"], number(ours) if ours else "-", cost(row["peer"]),
            cost(row["limit"]), ratio(row["peer"]), ratio(row["limit"]), ratio("plain"),
            ratio("plain", costs.get("ssse3")),
            "; ".join(row["missed"]) or ("met" if row["targets"] else "-")]


HEADER = ["row", "per", "ours, ns", "best peer, ns", "limit, ns", "peer:ours", "limit:ours",
          "plain:ours", "plain:ssse3", "targets"]


def table(rows):
    lines = [HEADER, *(cells(row) for row in rows)]
    widths = [max(len(line[i]) for line in lines) for i in range(len(HEADER))]
    return "\n".join("  ".join(text.ljust(width) for text, width in zip(line, widths)).rstrip()
                     for line in lines)


def markdown(rows):
    lines = [HEADER, ["---"] * len(HEADER), *(cells(row) for row in rows)]
    return "\n".join("| " + " | ".join(line) + " |" for line in lines)


def chart(rows, setup):
    """Ours and the best peer as shares of the limit, as SVG."""
    shown = [row for row in rows if row["limit"] == "memcpy" and OURS in row["ns"]
             and re.fullmatch(r".* -> (grey|colour)|(en|de)code 64 KiB", row["row"])]
    scale, left, line = 400, 170, 34  # pixels per 100 %, of the names, per row
    most = 1.5  # longer bars are cut
    parts = []

    def bar(y, share, colour, text):
        width = min(share, most) * scale
        parts.append(f'<rect x="{left}" y="{y}" width="{width:.0f}" height="13" fill="{colour}"/>'
                     f'<text x="{left + width + 4:.0f}" y="{y + 11}">{text}</text>')

    for i, row in enumerate(shown):
        y = 40 + i * line
        limit = row["ns"]["memcpy"]
        parts.append(f'<text x="{left - 8}" y="{y + 18}" text-anchor="end">'
                     f'{row["row"].replace(">", "&gt;")}</text>')
        share = limit / row["ns"][OURS]
        bar(y, share, "#1f5fa8", f"{share:.2f}")
        if row["peer"]:
            share = limit / row["ns"][row["peer"]]
            bar(y + 14, share, "#b8b8b8", f"{share:.2f} {row['peer']}")
    height = 50 + len(shown) * line
    head = (f'<svg xmlns="http://www.w3.org/2000/svg" width="{left + int(most * scale) + 110}" '
            f'height="{height}" font-family="sans-serif" font-size="12">\n'
            f'<rect width="100%" height="100%" fill="white"/>\n'
            f'<text x="8" y="18">Speed as a share of memcpy of the same traffic (line): ours '
            f'(blue), best peer (grey). {setup["machine"]}</text>\n'
            f'<line x1="{left + scale}" y1="30" x2="{left + scale}" y2="{height - 10}" '
            f'stroke="#c0392b"/>\n')
    return head + "\n".join(parts) + "\n</svg>\n"


def document(rows, setup, rounds):
    page = ROOT / "docs/performance.md"
    begin, end = "<!-- scripts/bench --document writes from here -->", "<!-- to here -->"
    before, _, rest = page.read_text().partition(begin)
    after = rest.partition(end)[2]
    peers = ", ".join(f"{name} {version}" for name, version in setup["versions"].items())
    page.write_text(f"{before}{begin}\n{setup['machine']}; {setup['compiler']}; commit "
                    f"{setup['commit']}; medians of {rounds} rounds. {peers}.\n\n"
                    f"{markdown(rows)}\n{end}{after}")
    (ROOT / "docs/performance.svg").write_text(chart(rows, setup))


def main():
    parser = argparse.ArgumentParser(prog="scripts/bench", description=__doc__.split("\n")[0])
    parser.add_argument("--quick", action="store_true", help="less than a minute, noisier")
    parser.add_argument("--rounds", type=int, help="default: 9, quick 3")
    parser.add_argument("--json", type=Path, default=ROOT / "build/bench/results.json",
                        help="where the results go, beside it an SVG chart")
    parser.add_argument("--document", action="store_true", help="also write docs/performance.*")
    parser.add_argument("name", nargs="?", 
                        help=f"run one: {', '.join(PROGRAMS)}, windows, widths")
    parser.add_argument("arguments", nargs=argparse.REMAINDER, help="of that program")
    options = parser.parse_args()
    rounds = options.rounds or (3 if options.quick else 9)
    if options.name == "widths":
        compare_widths(rounds)
        return
    if options.document and options.name:
        sys.exit("error: --document needs all programs")

    min_time = f"--benchmark_min_time={0.003 if options.quick else 0.02}"
    rows = measure([options.name] if options.name else PROGRAMS, rounds,
                   [min_time, *options.arguments])
    judge(rows)
    setup = versions()
    options.json.parent.mkdir(parents=True, exist_ok=True)
    options.json.write_text(json.dumps({**setup, "rounds": rounds, "rows": rows}, indent=1))
    options.json.with_suffix(".svg").write_text(chart(rows, setup))
    print(f"{setup['machine']}; {setup['compiler']}; medians of {rounds} rounds")
    print(table(rows))
    missed = sum(1 for row in rows if row["missed"])
    print(f"targets met by {sum(1 for row in rows if row['targets']) - missed} rows, missed by "
          f"{missed}; all figures: {options.json}")
    if not options.name:
        for target in targets_without_row(rows):
            print(f"missed: there is no row for the target of {target}")
    if options.document:
        document(rows, setup, rounds)


if __name__ == "__main__":
    main()
