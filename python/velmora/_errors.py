"""What the package raises."""

from __future__ import annotations

from typing import TYPE_CHECKING, NamedTuple, Optional, Sequence

if TYPE_CHECKING:
    from velmora._results import Result


class VelmoraError(Exception):
    """An error of the library, with its code and message.

    `result` is the result of the image, if there is one in spite of the error.
    """

    def __init__(self, code: int, message: str, result: Optional[Result] = None) -> None:
        super().__init__(f"{message} ({code})")
        self.code = code
        self.message = message
        self.result = result


class TemplateFault(NamedTuple):
    """One thing that is wrong with a template. Lines and columns count from 1."""

    file: str
    line: int
    column: int
    path: str
    code: int
    message: str
    text: str


class TemplateError(VelmoraError):
    """A template that cannot be used; `faults` says where and why."""

    def __init__(self, code: int, faults: Sequence[TemplateFault]) -> None:
        super().__init__(code, "; ".join(fault.text for fault in faults))
        self.args = (self.message,)  # the texts name their codes
        self.faults = tuple(faults)
