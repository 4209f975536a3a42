"""What searches on many machines give back together."""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import NamedTuple

from .._result import Energy
from .._result import Result as SingleResult


class SearchRow(NamedTuple):
    """One search of a run."""

    search: int
    """Its number, from 0."""
    worker: str
    """Name of the worker that it ran on last; empty if it never began."""
    status: str
    """What ended it: a status of :func:`orvex.solve`, what ended the run ("target reached" by another search,
    ...), "lost" where it was not heard of again, or "not started"."""
    best: Energy | None
    """The lowest energy that it told of."""
    results: int
    """New bests that it found itself."""
    received: int
    """Solutions of other searches that it took in."""
    refused: int
    """Solutions from outside whose energy was not that of their bits."""
    flips: int
    """Flips that it made."""
    restarts: int
    """How often it was started anew, because its worker was lost."""


@dataclass(frozen=True, eq=False, repr=False)
class Result(SingleResult):
    """The best solution of all searches, with a row for each. `history` has the bests of all, in seconds since
    the first search began; `info` is that of the search that found the best, but for "total_flips",
    which counts all."""

    searches: list[SearchRow] = field(default_factory=list)
    """A row for each search."""
