"""The verdict of scripts/cluster-test: verdict.py FOLDER COUNT, with the run's files in FOLDER."""

import collections
import json
import pathlib
import sys

# What the error of a dead letter says, by the beginning of the picture's name.
ERRORS = {
    "poison": "workers that had it in hand died",
    "gone": "No such file",
    "changed": "SHA-256",
    "late": "deadline",
    "other": "template",
}


def read_list(file):
    """Ids and images that the submission listed."""
    return dict(line.split("\t") for line in file.read_text().splitlines())


def main(folder, count):
    pictures = read_list(folder / "listed")
    special = read_list(folder / "listed-special")
    collected = [json.loads(line) for line in (folder / "collected.jsonl").read_text().splitlines()]
    expected = {}
    for line in (folder / "expected.jsonl").read_text().splitlines():
        result = json.loads(line)
        expected[pathlib.Path(result["image"]).name] = (result["codes"], result["errors"])

    faults = []
    times = collections.Counter(line["id"] for line in collected)
    wanted = pictures.keys() | special.keys()
    if len(pictures) != count:
        faults.append(f"{len(pictures)} of {count} pictures have an id")
    faults += [f"{id} was collected {times[id]} times" for id in wanted if times[id] != 1]
    faults += [f"{id} was never submitted" for id in times.keys() - wanted]
    for line in collected:
        name = pathlib.Path(line["image"]).name
        if line.get("dead"):
            error = ERRORS.get(name.split("-")[0].split(".")[0])
            if line["id"] not in special:
                faults.append(f"{name} is a dead letter: {line['error']}")
            elif error not in line["error"]:
                faults.append(f"the dead letter of {name} says '{line['error']}', not '{error}'")
        elif line["id"] in special:
            faults.append(f"{name} has a result")
        # The names are those of the samples after a number.
        elif (line["codes"], line["errors"]) != expected[name.split("-", 1)[1]]:
            faults.append(f"{name} was read as {line['codes']} {line['errors']}")
    for fault in faults[:20]:
        print(fault, file=sys.stderr)
    if faults:
        sys.exit(f"error: {len(faults)} faults in all")


main(pathlib.Path(sys.argv[1]), int(sys.argv[2]))
