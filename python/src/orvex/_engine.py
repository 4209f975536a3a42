"""One search in the library, on a thread of its own.

The library searches one problem at a time in a process: another thread's search waits. The thread
keeps the problem until the library has returned, also when the caller has long gone on after an
interrupt. What happens in the search comes on threads of the library, and is only noted there.
"""

from __future__ import annotations

import ctypes
import os
import threading
import time
from collections import deque
from collections.abc import Callable, Mapping, Sequence
from ctypes import byref, c_char_p, c_double, c_int64

import numpy as np

from ._library import EVENT_FUNCTION, TRACE_FUNCTION, Options, OrvexError, Summary, failure, support
from ._model import Words
from ._problem import Problem

INFO = (
    "solver", "gpu", "solver_size", "solver_bits", "arithmetic_bits", "runtime", "search_cycles",
    "total_flips", "tts", "found_by", "bound", "searched_size", "searched_couplings", "presolve_time",
    "groups", "companion_threads", "companion_flips",
)  # fmt: skip


class Question:
    """What a search is asked for, in the problem's own units."""

    def __init__(
        self,
        settings: Mapping[str, str],
        engine_cycles: bool,
        time_limit: float | None,
        target: int | None,
        trials: int | None,
        presolve: int,
        companion: float | None,
        groups: Sequence[Sequence[int]] | None,
        starts: Sequence[Words] = (),
        hints: Sequence[Words] = (),
        seed: int = 1,
        checkpoint: bytes | None = None,
        solutions: int = 1,
    ) -> None:
        texts = [text.encode() for pair in settings.items() for text in pair]
        self._words = np.concatenate([np.empty(0, dtype=np.uint64), *starts, *hints])
        self.starts = len(starts)
        known = [] if groups is None else groups
        self._sizes = np.array([len(group) for group in known], dtype=np.int32)
        self._members = np.array([i for group in known for i in group], dtype=np.int32)
        self.options = Options(
            None if time_limit is None else ctypes.pointer(c_double(time_limit)),
            None if target is None else ctypes.pointer(c_int64(target)),
            None if trials is None else ctypes.pointer(c_int64(trials)),
            (c_char_p * (len(texts) + 1))(*texts, None),
            engine_cycles,
            presolve,
            None if companion is None else ctypes.pointer(c_double(companion)),
            -1 if groups is None else len(groups),
            self._sizes.ctypes.data,
            self._members.ctypes.data,
            len(starts),
            len(hints),
            self._words.ctypes.data,
            seed,
            checkpoint,
            solutions,
        )


#: Searches that run in this process, and whether it was forked from one in which any did.
_running = 0
_counting = threading.Lock()
_forked = False


def _after_fork() -> None:
    global _forked
    _forked = _forked or _running > 0


os.register_at_fork(after_in_child=_after_fork)


def expect_whole_process() -> None:
    """Refuses a search in a process that lacks threads of the library, which would wait for them."""
    if _forked:
        raise OrvexError(
            "this process was forked while its parent was searching, and has only a part of the library: let "
            'processes be started by "spawn" or "forkserver", or before the search'
        )


class Run:
    """A search that has been started. The fields may be read at any time."""

    def __init__(
        self, problem: Problem, question: Question, trace: Callable[[bytes], object] | None = None
    ) -> None:
        self.news: deque[tuple[float, int, Words]] = deque()  #: new bests: seconds, energy, bits
        self.changed = threading.Event()  #: set at every event, and at the end
        self.ended = threading.Event()
        self.began: float | None = None  #: when the search began, by time.perf_counter
        self.load_time = 0.0
        self.search_time = 0.0
        self.flips = 0
        self.ending: str | None = None  #: why the library ended the search; None until it has
        self.checkpoint_failure = ""
        self.solutions: list[Words] = []  #: distinct good ones, when the library has ended the search
        self.info: dict[str, str] = {}
        self.error: BaseException | None = None
        self._problem = problem
        self._question = question
        self._trace = trace
        self._hints: deque[Words] = deque()
        self._changes: deque[tuple[str, str]] = deque()
        self._best: int | None = None  # energy of the last that is in `news`
        self._stop = False
        self._thread = threading.Thread(target=self._run, name="orvex search")
        self._thread.start()

    def stop(self) -> None:
        """Asks the search to end."""
        self._stop = True

    def hint(self, words: Words) -> None:
        """Gives the search a solution to search from, at the next event."""
        self._hints.append(words)

    def set(self, changes: Mapping[str, str]) -> None:
        """Changes settings, at the next event."""
        self._changes.extend(changes.items())

    def _run(self) -> None:
        global _running
        with _counting:
            _running += 1
        try:
            self._search()
        except BaseException as error:  # for the caller's thread
            self.error = error
        finally:
            with _counting:
                _running -= 1
            self.ended.set()
            self.changed.set()

    def _search(self) -> None:
        on_event = EVENT_FUNCTION(self._on_event)
        on_line = TRACE_FUNCTION() if self._trace is None else TRACE_FUNCTION(self._trace)
        result = support.orvex_python_solve(
            self._problem._model.pointer, byref(self._question.options), on_event, on_line
        )
        if not result:
            raise failure()
        try:
            self._take(result)
        finally:
            support.orvex_python_free_result(result)

    def _on_event(
        self, steering: int, seconds: float, flips: int, energy: int, bits: int | None
    ) -> None:
        if self.began is None:
            self.began = time.perf_counter() - seconds
        self.flips = flips
        if bits is not None:
            self._best = energy
            self.news.append((seconds, energy, self._words_at(bits)))
        while self._hints:
            words = self._hints.popleft()
            support.orvex_python_hint(steering, self._problem._model.pointer, words.ctypes.data)
        while self._changes:
            name, value = self._changes.popleft()
            support.orvex_python_change(steering, name.encode(), value.encode())
        if self._stop:
            support.orvex_python_stop(steering)
        self.changed.set()

    def _take(self, result: int) -> None:
        summary = Summary()
        support.orvex_python_summary(result, byref(summary))
        seconds, energy = c_double(), c_int64()
        for index in range(summary.found):
            bits = support.orvex_python_found(result, index, byref(seconds), byref(energy))
            known = index < self._question.starts if self._best is None else energy.value >= self._best
            if not known:  # it came with the end alone
                self.news.append((seconds.value, energy.value, self._words_at(bits)))
        self.solutions = [
            self._words_at(support.orvex_python_solution(result, index))
            for index in range(summary.solutions)
        ]
        self.info = {
            key: support.orvex_python_info(result, key.encode()).decode() for key in INFO
        }
        self.load_time, self.search_time = summary.load_time, summary.search_time
        self.checkpoint_failure = os.fsdecode(summary.checkpoint_failure)
        self.ending = summary.ending.decode()

    def _words_at(self, bits: int) -> Words:
        size = self._problem._no_words().nbytes
        return np.frombuffer(ctypes.string_at(bits, size), dtype=np.uint64)
