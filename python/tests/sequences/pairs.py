"""Objects of the package side by side with what must be in them."""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import Any

import numpy as np

import orvex

from .reference import Number, Table

Numbers = tuple[int, ...]


@dataclass
class ProblemPair:
    real: orvex.Problem
    table: Table
    form: str
    given: Any = None  # what it was made of, as long as that may change
    order: np.ndarray = field(default_factory=lambda: np.zeros(0, dtype=int))

    def energy(self, x: np.ndarray) -> Number:
        bits = np.zeros(self.table.size, dtype=bool)
        bits[self.order] = x
        return self.table.energy(bits)


@dataclass
class SettingsPair:
    settings: dict[str, Any] = field(default_factory=dict)
    requests: tuple[int, ...] = ()


@dataclass
class ResultPair:
    real: orvex.Result
    problem: ProblemPair
    data: bytes


def chosen(things: list[Any], number: int) -> Any:
    return things[number % len(things)] if things else None
