"""Distinct good solutions: those that a search came by, and the lowest that lead on from them by one flip each.

Invariant: no two have the same bits, and they are in the order of the energies that their bits have.
"""

from __future__ import annotations

import heapq
import time
from collections.abc import Sequence

import numpy as np
import numpy.typing as npt

from ._model import Words
from ._problem import Problem
from ._result import Solution

Bits = npt.NDArray[np.bool_]

#: Finding solutions beside those of the search takes so long at most, or as long as the search.
_PATIENCE = 1.0


def best_distinct(
    problem: Problem, known: Sequence[Words], count: int, search_time: float
) -> list[Solution]:
    """At most `count`, of what is known from a search and what is near it."""
    found = list({words.tobytes(): words for words in known}.values())
    if len(found) < count:
        found = _with_neighbours(problem, found, count, max(_PATIENCE, search_time))
    solutions = [
        Solution(problem._in_callers_units(problem._energy(words), words), problem._bits(words))
        for words in found
    ]
    return sorted(solutions, key=lambda solution: solution.energy)[:count]


class _Flips:
    """What flipping each variable of a solution does to its energy, as the search counts it."""

    def __init__(self, problem: Problem) -> None:
        pairs, values = problem._model.terms()
        self._size = problem._searched
        alone = pairs[:, 0] == pairs[:, 1]
        self._linear = np.zeros(self._size)
        self._linear[pairs[alone, 0]] = values[alone]
        self._row, self._column = pairs[~alone].T.astype(np.int64)
        self._values = values[~alone].astype(np.float64)

    def bits(self, words: Words) -> Bits:
        return np.unpackbits(words.view(np.uint8), count=self._size, bitorder="little").astype(
            np.bool_
        )

    @staticmethod
    def words(x: Bits, like: Words) -> Words:
        words = np.zeros_like(like)
        packed = np.packbits(x, bitorder="little")
        words.view(np.uint8)[: len(packed)] = packed
        return words

    def changes(self, x: Bits) -> npt.NDArray[np.float64]:
        fields = np.bincount(self._row, self._values * x[self._column], self._size)
        fields += np.bincount(self._column, self._values * x[self._row], self._size)
        return np.asarray(np.where(x, -1, 1) * (self._linear + fields))


def _with_neighbours(
    problem: Problem, first: list[Words], count: int, seconds: float
) -> list[Words]:
    """The lowest that is known is always next, and its neighbours are known from then on."""
    deadline = time.perf_counter() + seconds
    flips = _Flips(problem)
    starts = [flips.bits(words) for words in first]
    known = {x.tobytes() for x in starts}
    # A neighbour's bits are made when its turn has come: energy, order of entry, whose, which flip.
    waiting: list[tuple[float, int, Bits, int]] = [
        (float(problem._energy(words)), k, x, -1) for k, (words, x) in enumerate(zip(first, starts))
    ]
    heapq.heapify(waiting)
    entered = len(waiting)
    found: list[Bits] = []
    while waiting and len(found) < count:
        energy, _, x, flipped = heapq.heappop(waiting)
        if flipped >= 0:
            x = _flip(x, flipped)
        found.append(x)
        if time.perf_counter() > deadline:
            continue
        missing = count - len(found)
        changes = flips.changes(x)
        for i in np.argsort(changes, kind="stable")[: missing + len(found)].tolist():
            key = _flip(x, i).tobytes()
            if key not in known:
                known.add(key)
                heapq.heappush(waiting, (energy + float(changes[i]), entered, x, i))
                entered += 1
        if len(waiting) > 2 * missing:
            waiting = heapq.nsmallest(missing, waiting)  # sorted, and so a heap
    return [flips.words(x, first[0]) for x in found]


def _flip(x: Bits, i: int) -> Bits:
    flipped = x.copy()
    flipped[i] = not flipped[i]
    return flipped
