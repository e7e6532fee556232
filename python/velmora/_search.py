"""Where the capture library is. Also used when the package is built, so it imports nothing else."""

from __future__ import annotations

import ctypes.util
import importlib
import os
from pathlib import Path
from typing import Optional

VARIABLE = "VELMORA_CAPTURE_LIBRARY"
RECORD = "_installed"  # the module that an installation writes
NAME = "libVelmoraCapture.so"


def find_in_prefixes(start: Path) -> Optional[str]:
    """The library of the installation or of the source tree that a folder belongs to."""
    for folder in start.parents:
        for pattern in ("lib", "lib64", "lib/*", "build/linux-release/lib"):
            for place in sorted(folder.glob(pattern)):
                if (place / NAME).is_file():
                    return str(place / NAME)
    return None


def find_library() -> str:
    """The path or name for the system's loader.

    In this order: the environment's, the one known when the package was installed, the one that is
    installed or built beside this package, the system's.
    """
    if os.environ.get(VARIABLE):
        return os.environ[VARIABLE]
    try:
        recorded: str = importlib.import_module(f"{__package__}.{RECORD}").LIBRARY
        if os.path.isfile(recorded):
            return recorded
    except ImportError:
        pass
    found = find_in_prefixes(Path(__file__).resolve())
    return found or ctypes.util.find_library("VelmoraCapture") or NAME
