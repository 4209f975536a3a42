"""What every search is given, in this process or over a cluster: checked here, and told in the same words."""

from __future__ import annotations

import math
from collections.abc import Iterable
from fractions import Fraction
from typing import Any, Literal

import numpy as np

from ._checkpoint import Path, read_checkpoint
from ._model import Words
from ._numbers import exact
from ._problem import Problem
from ._result import Energy
from ._settings import real_number, whole_number

#: What ends a search for which nothing else was said.
DEFAULT_TIME_LIMIT = 10.0

Presolve = Literal[False, True, "full"]


def expect_callables(**functions: object) -> None:
    for name, function in functions.items():
        if function is not None and not callable(function):
            raise TypeError(f"{name} must be callable, not {function!r}")


def presolve_of(presolve: object) -> Presolve:
    if isinstance(presolve, (int, np.bool_)) and presolve in (0, 1):
        return bool(presolve)
    if presolve != "full":
        raise ValueError(f'presolve must be True, False or "full", not {presolve!r}')
    return "full"


def share_of(companion: Any) -> float | None:
    """The companion's share of the processors; None where the structure decides."""
    return None if companion == "auto" else real_number("companion", companion, 0, 1)


def seed_of(seed: int | None) -> int | None:
    return None if seed is None else whole_number("seed", seed, 0, 2**64 - 1)


def wanted_of(solutions: int) -> int:
    return whole_number("solutions", solutions, 1, 10**6)


def starts_of(problem: Problem, starts: Iterable[Any], resume: Path | None) -> list[Words]:
    """The solutions that count as found, those of a checkpoint included; the best is first."""
    found = [problem._words(x, f"starts[{k}]") for k, x in enumerate(starts)]
    if resume is not None:
        found += read_checkpoint(problem, resume)
    return sorted(found, key=problem._energy)


def hints_of(problem: Problem, hints: Iterable[Any]) -> list[Words]:
    return [problem._words(x, f"hints[{k}]") for k, x in enumerate(hints)]


class Limits:
    """What ends a search by itself."""

    def __init__(self, limit: float | None, target: float | None, trials: int | None) -> None:
        self.time: float | None = None
        if limit is not None:
            self.time = real_number("time_limit", limit, 1e-6, 1e9)
        self.trials = None
        if trials is not None:
            self.trials = whole_number("trial_limit", trials, 1, 2**62)
        self._target: Fraction | None = None
        if target is not None:
            self._target = exact(target, "target")
        if self.time is None and self.trials is None and target is None:
            self.time = DEFAULT_TIME_LIMIT

    def target_of(self, problem: Problem) -> int | None:
        """The target in the problem's own units."""
        if self._target is None:
            return None
        return max(-(2**63) + 1, min(problem._in_own_units(self._target), 2**63 - 1))

    def target_holds(self, energy: Energy) -> bool:
        """Whether an energy is at the target or below, but for what floats round."""
        if self._target is None:
            return False
        return energy <= self._target or math.isclose(energy, float(self._target), rel_tol=1e-12)
