"""Results as plain values, which do not depend on the Capture that made them."""

from __future__ import annotations

import ctypes
from dataclasses import dataclass
from typing import Iterator, NamedTuple, Optional

from velmora import _library as c
from velmora._library import lib


class Point(NamedTuple):
    """A place in the image, in pixels."""

    x: int
    y: int


Corners = tuple[Point, Point, Point, Point]


class Code(NamedTuple):
    """A code that was read. Its corners are clockwise."""

    text: str
    symbology: str
    corners: Corners
    bytes: bytes
    definition: str
    task: str


class Region(NamedTuple):
    """A region that a task found for other tasks to work on."""

    corners: Corners
    definition: str
    task: str


class ImageError(NamedTuple):
    """An error of an image; `task` is empty if no task reported it."""

    code: int
    message: str
    definition: str
    task: str


class Times(NamedTuple):
    """How long an image took, in seconds; `work` adds up all threads."""

    read: float
    convert: float
    work: float
    total: float


@dataclass(frozen=True)
class Result:
    """The result of one image. Iterating over it gives its codes."""

    codes: tuple[Code, ...]
    regions: tuple[Region, ...]
    errors: tuple[ImageError, ...]
    times: Times
    width: int
    height: int
    path: Optional[str]
    job_number: int
    is_cancelled: bool
    json: str

    def __iter__(self) -> Iterator[Code]:
        return iter(self.codes)

    def __len__(self) -> int:
        return len(self.codes)


def _corners(values: ctypes.Array[ctypes.c_int32]) -> Corners:
    a, b, c_, d = (Point(values[i], values[i + 1]) for i in range(0, 8, 2))
    return (a, b, c_, d)


def _code(entry: c.CodeEntry) -> Code:
    text = ctypes.string_at(entry.text, entry.text_length)
    return Code(
        text=text.decode("utf-8", "surrogateescape"),
        symbology=c.text_of(entry.symbology),
        corners=_corners(entry.corners),
        bytes=ctypes.string_at(entry.bytes, entry.bytes_length),
        definition=c.text_of(entry.definition),
        task=c.text_of(entry.task),
    )


def _image_error(entry: c.ImageErrorEntry) -> ImageError:
    parts = [c.error_string(entry.code), c.text_of(entry.text)]
    return ImageError(
        entry.code,
        " ".join(part for part in parts if part),
        c.text_of(entry.definition),
        c.text_of(entry.task),
    )


def copy_result(handle: ctypes.c_void_p) -> Result:
    """Copies everything out of a handle, which is borrowed."""
    info = c.ResultInfo()
    c.check(lib.velmora_result_get_info(handle, ctypes.byref(info)))
    json, length = ctypes.c_void_p(), ctypes.c_size_t()
    c.check(lib.velmora_result_get_json(handle, ctypes.byref(json), ctypes.byref(length)))
    codes = c.entries(
        handle, c.CodeEntry, lib.velmora_result_code_count, lib.velmora_result_get_code
    )
    regions = c.entries(
        handle, c.RegionEntry, lib.velmora_result_region_count, lib.velmora_result_get_region
    )
    errors = c.entries(
        handle, c.ImageErrorEntry, lib.velmora_result_error_count, lib.velmora_result_get_error
    )
    return Result(
        codes=tuple(_code(entry) for entry in codes),
        regions=tuple(
            Region(_corners(entry.corners), c.text_of(entry.definition), c.text_of(entry.task))
            for entry in regions
        ),
        errors=tuple(_image_error(entry) for entry in errors),
        times=Times(
            info.read_ns / 1e9, info.convert_ns / 1e9, info.work_ns / 1e9, info.total_ns / 1e9
        ),
        width=info.width,
        height=info.height,
        path=None if info.path is None else c.text_of(info.path),
        job_number=info.job_number,
        is_cancelled=bool(info.is_cancelled),
        json=ctypes.string_at(json, length.value).decode("utf-8", "surrogateescape"),
    )
