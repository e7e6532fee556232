"""The C interface, as velmora_capture.h declares it."""

from __future__ import annotations

import ctypes
from ctypes import POINTER, c_char_p, c_int32, c_int64, c_size_t, c_uint32, c_void_p
from typing import Any, Type, TypeVar

from velmora import _search
from velmora._errors import VelmoraError

ABI_VERSION = 1
REJECTED = -10062

ReleaseFunction = ctypes.CFUNCTYPE(None, c_void_p)
ResultCallback = ctypes.CFUNCTYPE(None, c_void_p, c_void_p)


class Sized(ctypes.Structure):
    """A structure that begins with its size."""

    def __init__(self, *args: Any, **values: Any) -> None:
        super().__init__(ctypes.sizeof(self), *args, **values)


class Options(Sized):
    _fields_ = [
        ("size", c_uint32),
        ("threads", c_int32),
        ("timeout_ms", c_int32),
        ("module_folder_count", c_uint32),
        ("module_folders", POINTER(c_char_p)),
        ("template_name", c_char_p),
    ]


class TemplateErrorEntry(Sized):
    _fields_ = [
        ("size", c_uint32),
        ("code", c_int32),
        ("line", c_int32),
        ("column", c_int32),
        ("file", c_char_p),
        ("path", c_char_p),
        ("message", c_char_p),
        ("text", c_char_p),
    ]


class Image(Sized):
    _fields_ = [
        ("size", c_uint32),
        ("format", c_int32),
        ("width", c_int32),
        ("height", c_int32),
        ("stride", c_int32),
        ("orientation", c_int32),
        ("pixels", c_void_p),
        ("length", c_size_t),
    ]


class ResultInfo(Sized):
    _fields_ = [
        ("size", c_uint32),
        ("error_code", c_int32),
        ("width", c_int32),
        ("height", c_int32),
        ("is_cancelled", c_int32),
        ("reserved", c_int32),
        ("job_number", c_int64),
        ("read_ns", c_int64),
        ("convert_ns", c_int64),
        ("work_ns", c_int64),
        ("total_ns", c_int64),
        ("path", c_char_p),
    ]


class CodeEntry(Sized):
    _fields_ = [
        ("size", c_uint32),
        ("corners", c_int32 * 8),
        ("symbology", c_char_p),
        ("text", c_void_p),
        ("text_length", c_size_t),
        ("bytes", c_void_p),
        ("bytes_length", c_size_t),
        ("definition", c_char_p),
        ("task", c_char_p),
    ]


class RegionEntry(Sized):
    _fields_ = [
        ("size", c_uint32),
        ("corners", c_int32 * 8),
        ("definition", c_char_p),
        ("task", c_char_p),
    ]


class ImageErrorEntry(Sized):
    _fields_ = [
        ("size", c_uint32),
        ("code", c_int32),
        ("text", c_char_p),
        ("definition", c_char_p),
        ("task", c_char_p),
    ]


class ImageCounts(Sized):
    _fields_ = [
        ("size", c_uint32),
        ("reserved", c_uint32),
        ("offered", c_int64),
        ("delivered", c_int64),
        ("dropped", c_int64),
        ("refused", c_int64),
        ("queued", c_int64),
    ]


class TaskCountsEntry(Sized):
    _fields_ = [
        ("size", c_uint32),
        ("is_left_out", c_int32),
        ("runs", c_int64),
        ("found", c_int64),
        ("nanoseconds", c_int64),
        ("failures", c_int64),
        ("timeouts", c_int64),
        ("definition", c_char_p),
        ("task", c_char_p),
        ("module", c_char_p),
    ]


class LogOptions(Sized):
    _fields_ = [
        ("size", c_uint32),
        ("mode", c_int32),
        ("level", c_int32),
        ("keep_in_memory", c_int32),
        ("path", c_char_p),
    ]


_HANDLE = c_void_p
_OUT = POINTER(c_void_p)
_SIGNATURES: dict[str, tuple[Any, list[Any]]] = {
    "velmora_capture_abi_version": (c_int32, []),
    "velmora_version": (c_char_p, []),
    "velmora_error_string": (c_char_p, [c_int32]),
    "velmora_capture_create": (c_int32, [c_char_p, POINTER(Options), _OUT, _OUT]),
    "velmora_capture_create_from_file": (c_int32, [c_char_p, POINTER(Options), _OUT, _OUT]),
    "velmora_capture_destroy": (c_int32, [_HANDLE]),
    "velmora_capture_cancel": (c_int32, [_HANDLE]),
    "velmora_capture_note_count": (c_int32, [_HANDLE]),
    "velmora_capture_get_note": (c_int32, [_HANDLE, c_int32, POINTER(c_char_p)]),
    "velmora_template_errors_count": (c_int32, [_HANDLE]),
    "velmora_template_errors_get": (c_int32, [_HANDLE, c_int32, POINTER(TemplateErrorEntry)]),
    "velmora_template_errors_release": (None, [_HANDLE]),
    "velmora_capture_read_file": (c_int32, [_HANDLE, c_char_p, _OUT]),
    "velmora_capture_read": (
        c_int32,
        [_HANDLE, POINTER(Image), ReleaseFunction, c_void_p, _OUT],
    ),
    "velmora_capture_submit": (
        c_int32,
        [_HANDLE, POINTER(Image), ReleaseFunction, c_void_p, ResultCallback, c_void_p, c_int32],
    ),
    "velmora_result_get_info": (c_int32, [_HANDLE, POINTER(ResultInfo)]),
    "velmora_result_code_count": (c_int32, [_HANDLE]),
    "velmora_result_get_code": (c_int32, [_HANDLE, c_int32, POINTER(CodeEntry)]),
    "velmora_result_region_count": (c_int32, [_HANDLE]),
    "velmora_result_get_region": (c_int32, [_HANDLE, c_int32, POINTER(RegionEntry)]),
    "velmora_result_error_count": (c_int32, [_HANDLE]),
    "velmora_result_get_error": (c_int32, [_HANDLE, c_int32, POINTER(ImageErrorEntry)]),
    "velmora_result_get_json": (c_int32, [_HANDLE, POINTER(c_void_p), POINTER(c_size_t)]),
    "velmora_result_release": (None, [_HANDLE]),
    "velmora_capture_get_statistics": (c_int32, [_HANDLE, _OUT]),
    "velmora_statistics_get_images": (c_int32, [_HANDLE, POINTER(ImageCounts)]),
    "velmora_statistics_task_count": (c_int32, [_HANDLE]),
    "velmora_statistics_get_task": (c_int32, [_HANDLE, c_int32, POINTER(TaskCountsEntry)]),
    "velmora_statistics_release": (None, [_HANDLE]),
    "velmora_log_configure": (c_int32, [POINTER(LogOptions)]),
    "velmora_log_flush": (c_int32, []),
}


def _load() -> ctypes.CDLL:
    # A CDLL releases the interpreter's lock for the time of each call.
    path = _search.find_library()
    try:
        library = ctypes.CDLL(path)
    except OSError as error:
        raise ImportError(
            f"the capture library cannot be loaded: {error}; "
            f"{_search.VARIABLE} may name its file"
        ) from error
    for name, (result, arguments) in _SIGNATURES.items():
        function = getattr(library, name)
        function.restype = result
        function.argtypes = arguments
    if library.velmora_capture_abi_version() != ABI_VERSION:
        raise ImportError(
            f"{path} has interface {library.velmora_capture_abi_version()}, "
            f"this package needs {ABI_VERSION}"
        )
    return library


lib = _load()


def error_string(code: int) -> str:
    text: bytes = lib.velmora_error_string(code)
    return text.decode()


def check(code: int) -> int:
    """Raises on a code of an error; a count comes back."""
    if code < 0:
        raise VelmoraError(code, error_string(code))
    return code


def text_of(value: Any) -> str:
    """The text of a char pointer, which is null for none."""
    return "" if value is None else str(value, "utf-8", "surrogateescape")


Entry = TypeVar("Entry", bound=Sized)


def entries(handle: c_void_p, kind: Type[Entry], count: Any, get: Any) -> list[Entry]:
    """All elements of a list that the C interface counts and hands out one by one."""
    found = []
    for index in range(check(count(handle))):
        entry = kind()
        check(get(handle, index, ctypes.byref(entry)))
        found.append(entry)
    return found
