"""The bests of a run as its caller counts them, and the result that is made of them. Invariants: each is lower
than the one before in the caller's units, which may differ from the order of the search where coefficients are
rounded; and none was found before the one before it.
"""

from __future__ import annotations

from collections.abc import Sequence
from typing import Any, TypeVar

from ._distinct import best_distinct
from ._model import Words
from ._problem import Problem
from ._result import Energy, Result

AnyResult = TypeVar("AnyResult", bound=Result)


class Bests:
    """Truth is whether there is any."""

    def __init__(self, problem: Problem) -> None:
        self._problem = problem
        self._words: list[Words] = []
        self._energies: list[Energy] = []
        self._times: list[float] = []

    def __len__(self) -> int:
        return len(self._words)

    @property
    def energy(self) -> Energy:
        """Of the last, which is the lowest."""
        return self._energies[-1]

    @property
    def last(self) -> tuple[Any, Energy, float]:
        """Bits, energy and time of the last."""
        return self._problem._bits(self._words[-1]), self._energies[-1], self._times[-1]

    def note(self, at: float, energy: int, words: Words) -> bool:
        """Enters what is better than all before. What was found later and is worse never was the best."""
        value = self._problem._in_callers_units(energy, words)
        if self._energies and value >= self._energies[-1]:
            return False
        while self._times and self._times[-1] > at:
            self._times.pop(), self._energies.pop(), self._words.pop()
        self._times.append(at)
        self._energies.append(value)
        self._words.append(words)
        return True

    def result(
        self,
        kind: type[AnyResult],
        searched: float,
        wanted: int,
        others: Sequence[Words] = (),
        **rest: Any,
    ) -> AnyResult:
        """The result of a search that took `searched` seconds. `others` are good solutions that were no bests;
        `rest` is what the bests do not tell."""
        problem = self._problem
        return kind(
            x=problem._bits(self._words[-1]),
            energy=self.energy,
            largest_error=problem.largest_error,
            history=list(zip(self._times, self._energies)),
            objective=problem.objective(self.energy),
            source=problem.source,
            variables=problem.variables,
            solutions=[problem._bits(words) for words in self._words],
            best=best_distinct(problem, [*others, *self._words], wanted, searched),
            **rest,
        )
