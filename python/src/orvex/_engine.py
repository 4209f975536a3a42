"""One search in the library, on a thread of its own.

The library searches one problem at a time in a process, and keeps what it has loaded by a handle, so
one lock stands around every call that loads, searches or gives back. The thread of the search holds it
until the library has returned, also when the caller has long gone on after an interrupt. A handle that
is not wanted any more may be found out by the garbage collector in the middle of anything, so it is put
aside and given back by the next who holds the lock.
"""

from __future__ import annotations

import ctypes
import threading
import time
import weakref
from collections import deque
from collections.abc import Callable
from typing import NamedTuple

import numpy as np

from ._library import EVENT_FUNCTION, flat, last_error, support
from ._memory import expect_device_memory
from ._problem import Problem, Words

#: Seconds of quiet after which the engine asks whether to end.
_PULSE = 0.02
INFO = (
    "solver", "gpu", "solver_size", "solver_bits", "arithmetic_bits", "runtime", "search_cycles",
    "total_flips", "tts",
)  # fmt: skip


class _Loaded(NamedTuple):
    """A problem in the library."""

    handle: int
    gpus: int  #: that it is loaded for; 0 for all
    put_aside: Callable[[], object]


_library = threading.Lock()
_loaded: weakref.WeakKeyDictionary[Problem, _Loaded] = weakref.WeakKeyDictionary()
_put_aside: deque[int] = deque()


def _handle_of(problem: Problem, gpus: int) -> int:
    """The problem's handle, loaded if need be; to be called with the lock held."""
    loaded = _loaded.get(problem)
    if loaded is not None and loaded.gpus != gpus:
        loaded.put_aside()
        loaded = None
    while _put_aside:
        flat.tarvik_orvex_destroy(_put_aside.popleft())
    if loaded is None:
        loaded = _load(problem, gpus)
        _loaded[problem] = loaded
    return loaded.handle


def _load(problem: Problem, gpus: int) -> _Loaded:
    expect_device_memory(problem._facts().memory_bands, gpus)
    handle = support.orvex_python_load(problem._pointer, gpus)
    if not handle:
        raise MemoryError(last_error())
    finalizer = weakref.finalize(problem, _put_aside.append, handle)
    finalizer.atexit = False
    return _Loaded(handle, gpus, finalizer)


class Run:
    """A search that has been started. The fields may be read at any time."""

    def __init__(
        self,
        problem: Problem,
        gpus: int,
        params: dict[str, str],
        start: Words | None,
        hints: list[Words],
    ) -> None:
        self.news: deque[tuple[float, Words]] = deque()  #: new bests: seconds, bits
        self.changed = threading.Event()  #: set at every event, and at the end
        self.ended = threading.Event()
        self.began: float | None = None  #: when the search began, by time.perf_counter
        self.load_time = 0.0
        self.search_time = 0.0
        self.solution: Words | None = None
        self.info: dict[str, str] = {}
        self.error: BaseException | None = None
        self._problem = problem
        self._gpus = gpus
        self._params = params
        self._start = start
        self._hints = deque(hints)
        self._stop = False
        self._thread = threading.Thread(target=self._run, name="orvex search")
        self._thread.start()

    def stop(self) -> None:
        """Asks the search to end."""
        self._stop = True

    def hint(self, words: Words) -> None:
        """Gives the search a solution to search from, at the next event."""
        self._hints.append(words)

    def _run(self) -> None:
        try:
            with _library:
                self._search()
        except BaseException as error:  # for the caller's thread
            self.error = error
        finally:
            self.ended.set()
            self.changed.set()

    def _search(self) -> None:
        if self._stop:
            return
        begin = time.perf_counter()
        handle = _handle_of(self._problem, self._gpus)
        self.load_time = time.perf_counter() - begin
        if self._stop:
            return
        size = (self._problem.size + 63) // 64
        solution = np.zeros(size, dtype=np.uint64)
        texts = [text.encode() for pair in self._params.items() for text in pair]
        params = (ctypes.c_char_p * (len(texts) + 1))(*texts, None)
        start = None if self._start is None else self._start.ctypes.data

        def on_event(_user: object, event: int, bits: int, _value: float) -> None:
            now = time.perf_counter()
            if self.began is None:
                self.began = now
            if event == 1:
                words = np.frombuffer(ctypes.string_at(bits, 8 * size), dtype=np.uint64)
                self.news.append((now - self.began, words))
            if self._hints:
                flat.tarvik_orvex_cb_hint(handle, self._hints.popleft().ctypes.data)
            if self._stop:
                flat.tarvik_orvex_cb_terminate(handle)
            else:
                flat.tarvik_orvex_cb_timer(handle, _PULSE)
            self.changed.set()

        function = EVENT_FUNCTION(on_event)
        flat.tarvik_orvex_set_callback(handle, function, None)
        try:
            begin = time.perf_counter()
            status = support.orvex_python_search(handle, params, start, solution.ctypes.data)
            self.search_time = time.perf_counter() - begin
        finally:
            flat.tarvik_orvex_set_callback(handle, EVENT_FUNCTION(), None)
        if status != 0:
            raise MemoryError(last_error()) if "memory" in last_error() else RuntimeError(
                last_error()
            )
        self.info = {key: self._info(handle, key) for key in INFO}
        self.solution = solution

    @staticmethod
    def _info(handle: int, key: str) -> str:
        text: bytes = flat.tarvik_orvex_info(handle, key.encode())
        return text.decode()
