"""Reads the codes in files: python3 -m velmora [--json] [--template FILE] FILE..."""

from __future__ import annotations

import argparse
import io
import json
import sys

import velmora


def show(path: str, result: velmora.Result, as_json: bool) -> None:
    if as_json:
        print(json.dumps({"image": path, **json.loads(result.json)}))
        return
    for code in result:
        print(f"{path}: {code.symbology} {code.text}")
    for error in result.errors:
        print(f"{path}: {error.message} ({error.code})", file=sys.stderr)


def main() -> int:
    parser = argparse.ArgumentParser(
        prog="python3 -m velmora", description="Reads the codes in image files."
    )
    parser.add_argument("files", nargs="+", metavar="FILE")
    parser.add_argument("--json", action="store_true", help="one JSON object per file")
    parser.add_argument("--template", help="a template; without it all codes are read")
    parser.add_argument("--version", action="version", version=velmora.__version__)
    arguments = parser.parse_args()
    if isinstance(sys.stdout, io.TextIOWrapper):
        sys.stdout.reconfigure(errors="surrogateescape")
    has_failed = False
    try:
        with velmora.Capture(arguments.template) as capture:
            for path, result in zip(arguments.files, capture.run(arguments.files)):
                show(path, result, arguments.json)
                has_failed = has_failed or bool(result.errors)
    except velmora.VelmoraError as error:
        print(f"error: {error}", file=sys.stderr)
        return 2
    return 1 if has_failed else 0


if __name__ == "__main__":
    sys.exit(main())
