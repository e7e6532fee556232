"""Arrays of pixels, of any object with the buffer protocol."""

from __future__ import annotations

import ctypes
from types import TracebackType
from typing import Any, Optional, Type

from velmora import _library as c


class _Format:
    def __init__(self, number: int, bits: int, item: str = "B") -> None:
        self.number = number
        self.bits = bits  # of a pixel; of its luminance for the YUV formats
        self.item = item

    @property
    def is_yuv(self) -> bool:
        return self.number in (3, 14)


FORMATS = {
    "binary": _Format(0, 1),
    "binary-inverted": _Format(1, 1),
    "grey": _Format(2, 8),
    "nv21": _Format(3, 8),
    "bgr565": _Format(4, 16, "H"),
    "bgr555": _Format(5, 16, "H"),
    "bgr": _Format(6, 24),
    "bgra": _Format(7, 32),
    "bgr16": _Format(8, 48, "H"),
    "rgba16": _Format(9, 64, "H"),
    "rgba": _Format(10, 32),
    "bgra16": _Format(11, 64, "H"),
    "rgb": _Format(12, 24),
    "nv12": _Format(14, 8),
}
_BY_CHANNELS = {1: "grey", 3: "rgb", 4: "rgba"}
_BOOL_TO_GREY = bytes([0]) + bytes([255]) * 255


class _Buffer(ctypes.Structure):
    # Py_buffer. memoryview has no address to give.
    _fields_ = [
        ("buf", ctypes.c_void_p),
        ("obj", ctypes.c_void_p),
        ("len", ctypes.c_ssize_t),
        ("itemsize", ctypes.c_ssize_t),
        ("readonly", ctypes.c_int),
        ("ndim", ctypes.c_int),
        ("format", ctypes.c_char_p),
        ("shape", ctypes.POINTER(ctypes.c_ssize_t)),
        ("strides", ctypes.POINTER(ctypes.c_ssize_t)),
        ("suboffsets", ctypes.POINTER(ctypes.c_ssize_t)),
        ("internal", ctypes.c_void_p),
    ]


_RECORDS_RO = 0x1C  # with strides and item format; writing is not asked for
_get_buffer = ctypes.pythonapi.PyObject_GetBuffer
_get_buffer.argtypes = [ctypes.py_object, ctypes.POINTER(_Buffer), ctypes.c_int]
_get_buffer.restype = ctypes.c_int
_release_buffer = ctypes.pythonapi.PyBuffer_Release
_release_buffer.argtypes = [ctypes.POINTER(_Buffer)]
_release_buffer.restype = None


class Pixels:
    """Lends the pixels of an array for the time of a `with` statement, as a structure of C.

    They are copied only if the library could not walk them: if a row's pixels do not lie side by
    side, or rows run upwards.
    """

    def __init__(
        self,
        array: Any,
        format: Optional[str] = None,
        width: Optional[int] = None,
        height: Optional[int] = None,
        stride: int = 0,
        orientation: int = 0,
    ) -> None:
        self._array = array
        self._given = (format, width, height, stride)
        self._orientation = orientation
        self._buffer: Optional[_Buffer] = None
        self._copy: Optional[bytes] = None

    def __enter__(self) -> c.Image:
        view = _Buffer()
        _get_buffer(self._array, ctypes.byref(view), _RECORDS_RO)
        self._buffer = view
        try:
            format, width, height, stride = self._given
            if width is not None and height is not None:
                return self._from_bytes(view, format, width, height, stride)
            return self._from_shape(view, format)
        except BaseException:
            self._release()
            raise

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        self._release()

    def _release(self) -> None:
        if self._buffer is not None:
            _release_buffer(ctypes.byref(self._buffer))
            self._buffer = None
        self._copy = None

    def _image(
        self, format: _Format, width: int, height: int, stride: int, address: int, length: int
    ) -> c.Image:
        return c.Image(format.number, width, height, stride, self._orientation, address, length)

    def _copied(self, item: str) -> tuple[int, int]:
        self._copy = memoryview(self._array).tobytes()
        if item == "?":
            self._copy = self._copy.translate(_BOOL_TO_GREY)
        address = ctypes.cast(ctypes.c_char_p(self._copy), ctypes.c_void_p).value
        return address or 0, len(self._copy)

    def _from_bytes(
        self, view: _Buffer, name: Optional[str], width: int, height: int, stride: int
    ) -> c.Image:
        format = _format_named(name or "grey")
        address, length = view.buf or 0, view.len
        if not memoryview(self._array).c_contiguous:
            address, length = self._copied("B")
        return self._image(format, width, height, stride, address, length)

    def _from_shape(self, view: _Buffer, name: Optional[str]) -> c.Image:
        shape = view.shape[: view.ndim]
        strides = view.strides[: view.ndim]
        if view.ndim not in (2, 3) or 0 in shape:
            raise ValueError(f"an array of shape {tuple(shape)} needs width, height and format")
        channels = shape[2] if view.ndim == 3 else 1
        item = (view.format or b"B").decode().lstrip("@=<|")
        if name is None:
            if channels not in _BY_CHANNELS or item not in ("B", "c", "?"):
                raise ValueError(f"{channels} channels of item format {item!r} need a format")
            name = _BY_CHANNELS[channels]
        format = _format_named(name)
        row_bytes = shape[1] * channels * view.itemsize
        width = row_bytes * 8 // format.bits
        is_item_right = item == format.item or (format.item == "B" and item in ("c", "?"))
        if not is_item_right or (view.ndim == 3 and width != shape[1]) or width == 0:
            raise ValueError(
                f"an array of shape {tuple(shape)} and item format {item!r} is not {name!r}"
            )
        height = shape[0] * 2 // 3 if format.is_yuv else shape[0]

        is_row_dense = strides[1] == channels * view.itemsize and (
            view.ndim == 2 or strides[2] == view.itemsize
        )
        if item != "?" and is_row_dense and row_bytes <= strides[0] < 2**31:
            length = strides[0] * (shape[0] - 1) + row_bytes
            return self._image(format, width, height, strides[0], view.buf or 0, length)
        address, length = self._copied(item)
        return self._image(format, width, height, row_bytes, address, length)


def _format_named(name: str) -> _Format:
    if name not in FORMATS:
        raise ValueError(f"{name!r} is none of the formats {', '.join(FORMATS)}")
    return FORMATS[name]
