"""The Capture."""

from __future__ import annotations

import atexit
import ctypes
import itertools
import json
import os
import threading
import weakref
from concurrent.futures import FIRST_COMPLETED, Future, ThreadPoolExecutor, wait
from contextlib import contextmanager
from dataclasses import dataclass
from types import TracebackType
from typing import Any, Callable, Iterable, Iterator, Mapping, Optional, Sequence, Type, Union

from velmora import _library as c
from velmora._errors import TemplateError, TemplateFault, VelmoraError
from velmora._library import lib
from velmora._pixels import Pixels
from velmora._results import Result, copy_result

Template = Union[str, "os.PathLike[str]", Mapping[str, Any], None]
ImageLike = Any  # a path, or an object with the buffer protocol


@dataclass(frozen=True)
class TaskCounts:
    """What a task did so far."""

    definition: str
    task: str
    module: str
    is_left_out: bool
    runs: int
    found: int
    seconds: float
    failures: int
    timeouts: int


@dataclass(frozen=True)
class Statistics:
    """What a Capture did so far: offered == delivered + dropped + refused + queued."""

    offered: int
    delivered: int
    dropped: int
    refused: int
    queued: int
    tasks: tuple[TaskCounts, ...]


class Capture:
    """A template, made ready: takes images and gives results.

        with velmora.Capture() as capture:
            for code in capture.read("label.jpg"):
                print(code.symbology, code.text)

    Every method may be called from any thread. After a fork the child's copy raises; make a new one
    there.

    :param template: JSON text, a path, the parsed JSON, or None for the template that reads every
        code the modules can read
    :param threads: 0 for as many as there are processors
    :param timeout_ms: time budget of an image; 0 for the template's
    :param module_folders: searched first for modules
    :raises TemplateError: if the template cannot be used
    """

    def __init__(
        self,
        template: Template = None,
        *,
        threads: int = 0,
        timeout_ms: int = 0,
        module_folders: Sequence[Union[str, "os.PathLike[str]"]] = (),
    ) -> None:
        self._handle: Optional[ctypes.c_void_p] = None
        self._process = os.getpid()
        self._calls = 0  # in progress; guarded by the condition
        self._condition = threading.Condition()
        self._threads = threads or os.cpu_count() or 1
        folders = [os.fsencode(folder) for folder in module_folders]
        options = c.Options(
            threads, timeout_ms, len(folders), (ctypes.c_char_p * len(folders))(*folders), None
        )
        create, argument = _creation(template)
        handle, errors = ctypes.c_void_p(), ctypes.c_void_p()
        code = create(
            argument, ctypes.byref(options), ctypes.byref(handle), ctypes.byref(errors)
        )
        if code != 0:
            faults = _take_faults(errors)
            if faults:
                raise TemplateError(code, faults)
            raise VelmoraError(code, c.error_string(code))
        self._handle = handle
        _captures.add(self)

    def read(
        self,
        image: ImageLike,
        *,
        format: Optional[str] = None,
        width: Optional[int] = None,
        height: Optional[int] = None,
        stride: int = 0,
        orientation: int = 0,
    ) -> Result:
        """Captures one image and waits for its result; other Python threads run meanwhile.

        :param image: a path, or an array (any object with the buffer protocol) of shape
            (height, width) or (height, width, channels) and with any strides
        :param format: of an array: "grey", "rgb", "bgr", "rgba", "bgra", "nv12"...; told by the
            number of channels if it is None
        :param width: together with `height`, for an array without a shape, such as bytes
        :param stride: of such an array, bytes from a row to the next; 0 if rows have no padding
        :param orientation: rotation of the image in degrees
        :raises VelmoraError: if the image could not be read; errors of single tasks, such as their
            time-outs, are in the result
        """
        if isinstance(image, (str, os.PathLike)):
            result = self._read_file(os.fspath(image))
        else:
            with Pixels(image, format, width, height, stride, orientation) as pixels:
                result = self._read_pixels(pixels)
        for error in result.errors:
            if not error.task:
                raise VelmoraError(error.code, error.message, result)
        return result

    def run(
        self, images: Iterable[ImageLike], *, in_order: bool = True, **how: Any
    ) -> Iterator[Result]:
        """Captures all images of a source, several at once, and gives their results.

        The source is asked for the next image while others are in work. An image that cannot be
        read has a result too, with its error.

        :param in_order: as the images came, otherwise as they are done
        :param how: `format` and the others of `read`, for all images
        """
        most = 2 * self._threads
        pending: list[Future[Result]] = []
        pool = ThreadPoolExecutor(max_workers=most, thread_name_prefix="velmora")
        try:
            for image in images:
                pending.append(pool.submit(self._read_or_fail, image, how))
                while _has_done(pending, in_order) or len(pending) == most:
                    yield _take_done(pending, in_order)
            while pending:
                yield _take_done(pending, in_order)
        finally:
            pool.shutdown(wait=True, cancel_futures=True)

    def submit(
        self,
        image: Any,
        callback: Callable[[Result], object],
        *,
        format: Optional[str] = None,
        width: Optional[int] = None,
        height: Optional[int] = None,
        stride: int = 0,
        orientation: int = 0,
        wait_ms: int = 0,
    ) -> None:
        """Queues a copy of an array and returns; `callback` gets the result on another thread.

        Callbacks come one at a time. They may submit, but not wait for this Capture nor close it.

        :param wait_ms: how long to wait for room
        :raises VelmoraError: with code -10062 if there is no room
        """
        key = next(_keys)
        with Pixels(image, format, width, height, stride, orientation) as pixels:
            with self._call() as handle:
                _callbacks[key] = (weakref.ref(self), callback)
                code = lib.velmora_capture_submit(
                    handle,
                    ctypes.byref(pixels),
                    _no_release,
                    None,
                    _deliver,
                    key,
                    wait_ms,
                )
        if code != 0:
            del _callbacks[key]
            c.check(code)

    def cancel(self) -> None:
        """Ends the work on all images that were accepted until now; their results say so."""
        with self._call() as handle:
            c.check(lib.velmora_capture_cancel(handle))

    def statistics(self) -> Statistics:
        """What this Capture did so far, as it was at one instant."""
        statistics = ctypes.c_void_p()
        with self._call() as handle:
            c.check(lib.velmora_capture_get_statistics(handle, ctypes.byref(statistics)))
        try:
            return _copy_statistics(statistics)
        finally:
            lib.velmora_statistics_release(statistics)

    @property
    def notes(self) -> tuple[str, ...]:
        """A sentence on each optional task whose module is missing."""
        found = []
        with self._call() as handle:
            for index in range(c.check(lib.velmora_capture_note_count(handle))):
                note = ctypes.c_char_p()
                c.check(lib.velmora_capture_get_note(handle, index, ctypes.byref(note)))
                found.append(c.text_of(note.value))
        return tuple(found)

    def close(self) -> None:
        """Cancels what is going on, waits for its callbacks and stops the threads.

        Done at the end of a `with` statement and at exit, too. Closing again does nothing.
        """
        if self._process != os.getpid():
            self._handle = None  # its threads stayed in the parent
            return
        if getattr(_delivering, "capture", None) is self:
            raise VelmoraError(c.REJECTED, "a callback cannot close its Capture")
        with self._condition:
            handle, self._handle = self._handle, None
            if handle is None:
                return
            if self._calls > 0:
                lib.velmora_capture_cancel(handle)
            self._condition.wait_for(lambda: self._calls == 0)
        _destroy(handle)

    def __enter__(self) -> Capture:
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        self.close()

    def __del__(self) -> None:
        handle = getattr(self, "_handle", None)
        if handle is None or self._process != os.getpid():
            return
        self._handle = None
        _destroy(handle)

    @contextmanager
    def _call(self) -> Iterator[ctypes.c_void_p]:
        # Keeps the handle alive for a call. The process is compared first: a lock that another
        # thread held while the process forked stays locked in the child.
        if self._process != os.getpid():
            raise VelmoraError(c.REJECTED, "this Capture was made before a fork; make a new one")
        with self._condition:
            if self._handle is None:
                raise VelmoraError(c.REJECTED, "this Capture is closed")
            self._calls += 1
            handle = self._handle
        try:
            yield handle
        finally:
            with self._condition:
                self._calls -= 1
                self._condition.notify_all()

    def _read_file(self, path: str) -> Result:
        result = ctypes.c_void_p()
        with self._call() as handle:
            code = lib.velmora_capture_read_file(
                handle, os.fsencode(path), ctypes.byref(result)
            )
        return _take_result(code, result)

    def _read_pixels(self, pixels: c.Image) -> Result:
        result = ctypes.c_void_p()
        with self._call() as handle:
            code = lib.velmora_capture_read(
                handle, ctypes.byref(pixels), _no_release, None, ctypes.byref(result)
            )
        return _take_result(code, result)

    def _read_or_fail(self, image: ImageLike, how: Mapping[str, Any]) -> Result:
        try:
            return self.read(image, **how)
        except VelmoraError as error:
            if error.result is None:
                raise
            return error.result


def _has_done(pending: list[Future[Result]], in_order: bool) -> bool:
    return any(future.done() for future in pending[: 1 if in_order else None])


def _take_done(pending: list[Future[Result]], in_order: bool) -> Result:
    first = pending[0]
    if not in_order:
        wait(pending, return_when=FIRST_COMPLETED)
        first = next(future for future in pending if future.done())
    pending.remove(first)
    return first.result()


def _creation(template: Template) -> tuple[Any, Optional[bytes]]:
    # The C function that takes this kind of template, and its argument.
    if template is None:
        return lib.velmora_capture_create, None
    if isinstance(template, Mapping):
        return lib.velmora_capture_create, json.dumps(template).encode()
    if isinstance(template, str) and "{" in template:
        return lib.velmora_capture_create, template.encode()
    return lib.velmora_capture_create_from_file, os.fsencode(template)


def _take_faults(errors: ctypes.c_void_p) -> list[TemplateFault]:
    if not errors:
        return []
    try:
        found = c.entries(
            errors,
            c.TemplateErrorEntry,
            lib.velmora_template_errors_count,
            lib.velmora_template_errors_get,
        )
        return [
            TemplateFault(
                c.text_of(entry.file),
                entry.line,
                entry.column,
                c.text_of(entry.path),
                entry.code,
                c.text_of(entry.message),
                c.text_of(entry.text),
            )
            for entry in found
        ]
    finally:
        lib.velmora_template_errors_release(errors)


def _take_result(code: int, handle: ctypes.c_void_p) -> Result:
    if not handle:
        raise VelmoraError(code, c.error_string(code))
    try:
        return copy_result(handle)
    finally:
        lib.velmora_result_release(handle)


def _copy_statistics(statistics: ctypes.c_void_p) -> Statistics:
    counts = c.ImageCounts()
    c.check(lib.velmora_statistics_get_images(statistics, ctypes.byref(counts)))
    tasks = c.entries(
        statistics,
        c.TaskCountsEntry,
        lib.velmora_statistics_task_count,
        lib.velmora_statistics_get_task,
    )
    return Statistics(
        counts.offered,
        counts.delivered,
        counts.dropped,
        counts.refused,
        counts.queued,
        tuple(
            TaskCounts(
                c.text_of(task.definition),
                c.text_of(task.task),
                c.text_of(task.module),
                bool(task.is_left_out),
                task.runs,
                task.found,
                task.nanoseconds / 1e9,
                task.failures,
                task.timeouts,
            )
            for task in tasks
        ),
    )


# What submitted images wait for: by the number that the library hands back.
_callbacks: dict[int, tuple[weakref.ref[Capture], Callable[[Result], object]]] = {}
_keys = itertools.count(1)
_delivering = threading.local()  # the Capture whose callback runs on this thread
_no_release = ctypes.cast(0, c.ReleaseFunction)


def _on_delivered(key: int, handle: int) -> None:
    # What the callback raises is shown by sys.unraisablehook.
    capture, callback = _callbacks.pop(key)
    _delivering.capture = capture()
    try:
        callback(copy_result(ctypes.c_void_p(handle)))
    finally:
        _delivering.capture = None


_deliver = c.ResultCallback(_on_delivered)


def _destroy(handle: ctypes.c_void_p) -> None:
    # Refused on the delivery thread, where the garbage collector may run: another thread waits.
    if lib.velmora_capture_destroy(handle) == c.REJECTED:
        threading.Thread(target=lib.velmora_capture_destroy, args=(handle,)).start()


_captures: weakref.WeakSet[Capture] = weakref.WeakSet()
_default: Optional[Capture] = None
_default_lock = threading.Lock()


def read(image: ImageLike, **how: Any) -> Result:
    """Reads every code in an image, as `Capture.read` does, with one Capture for all calls."""
    global _default
    with _default_lock:
        if _default is None:
            _default = Capture()
        capture = _default
    return capture.read(image, **how)


@atexit.register
def _close_all() -> None:
    # Before the interpreter ends, which the threads of a Capture must not outlive.
    for capture in list(_captures):
        capture.close()


def _forget_default() -> None:
    global _default, _default_lock
    _default, _default_lock = None, threading.Lock()


os.register_at_fork(after_in_child=_forget_default)


def configure_log(
    path: Union[str, "os.PathLike[str]"] = "",
    *,
    level: int = 9,
    lines: bool = True,
    images: bool = False,
    keep_in_memory: bool = False,
) -> None:
    """Configures the log of the process, which is off until then.

    :param path: put before the file names as it is, so a folder ends in a separator
    :param level: lines up to this level are written; 9 is everything
    :param keep_in_memory: keep lines until `flush_log`
    """
    mode = (1 if images else 0) + (2 if lines else 0)
    options = c.LogOptions(mode, level, int(keep_in_memory), os.fsencode(path))
    c.check(lib.velmora_log_configure(ctypes.byref(options)))


def flush_log() -> None:
    """Writes the lines of the log that are kept in memory."""
    c.check(lib.velmora_log_flush())
