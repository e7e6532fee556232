"""Prints the codes of a picture, as examples/embed does, from Python."""

import sys

import velmora


def main() -> None:
    try:
        for code in velmora.read(sys.argv[1] if len(sys.argv) > 1 else "label.jpg"):
            print(f"{code.symbology}: {code.text}")
    except velmora.VelmoraError as error:
        sys.exit(str(error))


main()
