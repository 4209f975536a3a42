"""What callbacks are given, and what they may ask of a search. A callback cannot search itself: it would wait
for the search that called it.
"""

from __future__ import annotations

import threading
from collections.abc import Callable
from typing import Any, Protocol

import numpy as np
import numpy.typing as npt

from ._library import OrvexError
from ._model import Words
from ._problem import Problem
from ._result import Energy, Status
from ._settings import check_settings

#: What a search may be told anew while it goes on.
_CHANGEABLE = frozenset(("batch_factor", "annealing_factor"))
#: Whether this thread is inside a callback.
_inside = threading.local()


class _Run(Protocol):
    def hint(self, words: Words) -> None: ...
    def set(self, changes: dict[str, str]) -> None: ...


class _Search(Protocol):
    """Whoever calls back: a search of this process, or one over a cluster."""

    @property
    def problem(self) -> Problem: ...
    @property
    def run(self) -> _Run: ...
    def end(self, status: Status) -> None: ...


class Steering:
    """What a callback may ask of the search."""

    def __init__(self, search: _Search) -> None:
        self._search = search

    def stop(self) -> None:
        """Ends the search; the best solution so far is returned."""
        self._search.end("stopped by callback")

    def hint(self, x: Any) -> None:
        """Gives the search a bit vector to search from."""
        self._search.run.hint(self._search.problem._words(x, "the hint"))

    def set(self, *, batch_factor: float | None = None, annealing_factor: float | None = None) -> None:
        """Changes how long start instances and searches take from now on; see :class:`Settings`."""
        given = {"batch_factor": batch_factor, "annealing_factor": annealing_factor}
        self._search.run.set(check_settings(given, _CHANGEABLE))


class Event(Steering):
    """What a callback is given: a new best, and what it may ask for."""

    x: npt.NDArray[np.bool_]
    """The new best bit vector."""
    energy: Energy
    """Its energy, in exact integers where it is whole."""
    time: float
    """When it was found, in seconds since the search began."""

    def __init__(self, search: _Search, x: npt.NDArray[np.bool_], energy: Energy, at: float) -> None:
        super().__init__(search)
        self.x, self.energy, self.time = x, energy, at


class Pulse(Steering):
    """What is given about every tenth of a second, however quiet the search is."""

    time: float
    """Seconds since the search began."""
    best: Event | None
    """The best solution so far; None as long as there is none."""
    flips: int
    """Flips of all blocks and of the companion so far."""

    def __init__(self, search: _Search, at: float, best: Event | None, flips: int) -> None:
        super().__init__(search)
        self.time, self.best, self.flips = at, best, flips


Callback = Callable[[Event], object]
PulseCallback = Callable[[Pulse], object]


def tell(callback: Callable[[Any], object], event: Steering) -> None:
    """Calls back; True asks for the end."""
    _inside.callback = True
    try:
        if callback(event) is True:
            event.stop()
    finally:
        _inside.callback = False


def expect_no_callback() -> None:
    """Refuses a search that a callback begins."""
    if getattr(_inside, "callback", False):
        raise OrvexError(
            "solve() inside a callback would wait for the search that called it; one search at a time runs "
            "in a process"
        )
