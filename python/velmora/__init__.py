"""Reads the codes in images.

    import velmora

    for code in velmora.read("label.jpg"):
        print(code.symbology, code.text, code.corners)
"""

from velmora._capture import Capture, Statistics, TaskCounts, configure_log, flush_log, read
from velmora._errors import TemplateError, TemplateFault, VelmoraError
from velmora._library import lib as _lib
from velmora._results import Code, ImageError, Point, Region, Result, Times

__all__ = [
    "Capture",
    "Code",
    "ImageError",
    "Point",
    "Region",
    "Result",
    "Statistics",
    "TaskCounts",
    "TemplateError",
    "TemplateFault",
    "Times",
    "VelmoraError",
    "configure_log",
    "flush_log",
    "read",
]
__version__: str = _lib.velmora_version().decode()
