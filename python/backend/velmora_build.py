"""Builds the wheel of the package, with nothing but Python's own library.

The wheel remembers where the capture library is, if it is found now: named by
VELMORA_CAPTURE_LIBRARY, or in the installation that this folder belongs to.
"""

import base64
import hashlib
import io
import os
import re
import runpy
import tarfile
import zipfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
SEARCH = runpy.run_path(str(ROOT / "velmora" / "_search.py"))


def version():
    # An installed folder and a source archive carry their version, a source tree its project file.
    if (ROOT / "VERSION").exists():
        return (ROOT / "VERSION").read_text().strip()
    project = (ROOT.parent / "CMakeLists.txt").read_text()
    return re.search(r"^\s*VERSION\s+([0-9.]+)$", project, re.MULTILINE).group(1)


def metadata():
    return (
        "Metadata-Version: 2.1\nName: velmora\n"
        f"Version: {version()}\n"
        "Summary: Reads the codes in images with the Velmora capture library\n"
        "Requires-Python: >=3.9\n"
    )


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    info = f"velmora-{version()}.dist-info"
    files = {f"velmora/{file.name}": file.read_bytes() for file in package_files()}
    library = os.environ.get(SEARCH["VARIABLE"]) or SEARCH["find_in_prefixes"](ROOT)
    if library:
        recorded = f"LIBRARY = {os.path.abspath(library)!r}\n"
        files[f"velmora/{SEARCH['RECORD']}.py"] = recorded.encode()
    files[f"{info}/METADATA"] = metadata().encode()
    files[f"{info}/WHEEL"] = (
        b"Wheel-Version: 1.0\nGenerator: velmora_build\nRoot-Is-Purelib: true\nTag: py3-none-any\n"
    )
    record = "".join(
        f"{name},sha256={digest(content)},{len(content)}\n" for name, content in files.items()
    )
    files[f"{info}/RECORD"] = f"{record}{info}/RECORD,,\n".encode()
    name = f"velmora-{version()}-py3-none-any.whl"
    with zipfile.ZipFile(Path(wheel_directory) / name, "w", zipfile.ZIP_DEFLATED) as wheel:
        for path, content in files.items():
            wheel.writestr(path, content)
    return name


def build_sdist(sdist_directory, config_settings=None):
    folder = f"velmora-{version()}"
    files = {
        "PKG-INFO": metadata().encode(),
        "VERSION": version().encode(),
        "pyproject.toml": (ROOT / "pyproject.toml").read_bytes(),
        "backend/velmora_build.py": Path(__file__).read_bytes(),
    }
    files.update({f"velmora/{file.name}": file.read_bytes() for file in package_files()})
    with tarfile.open(Path(sdist_directory) / f"{folder}.tar.gz", "w:gz") as archive:
        for path, content in files.items():
            entry = tarfile.TarInfo(f"{folder}/{path}")
            entry.size = len(content)
            archive.addfile(entry, io.BytesIO(content))
    return f"{folder}.tar.gz"


def package_files():
    files = (ROOT / "velmora").iterdir()
    return sorted(file for file in files if file.suffix == ".py" or file.name == "py.typed")


def digest(content):
    return base64.urlsafe_b64encode(hashlib.sha256(content).digest()).rstrip(b"=").decode()
