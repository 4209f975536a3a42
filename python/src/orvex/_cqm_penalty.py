"""Penalties of rows: a row says that a sum of bits is 0, or not above it.

Invariant: a penalty is 0 for some values of its slack bits where the row holds, and above 0 for all elsewhere.
"""

from __future__ import annotations

import math
from collections.abc import Hashable
from dataclasses import dataclass

import numpy as np
import numpy.typing as npt

Floats = npt.NDArray[np.float64]
Ints = npt.NDArray[np.int64]
Bits = npt.NDArray[np.bool_]


@dataclass
class Row:
    """Says that the sum of `coefficients` times `bits`, and `constant`, is 0, or (`at_most`) not above."""

    bits: Ints
    coefficients: Floats
    constant: float
    at_most: bool
    unit: float = 1.0  #: that all of these are counted in

    @property
    def typical(self) -> float:
        """The size of a coefficient, as the median has it."""
        return float(np.median(np.abs(self.coefficients))) if len(self.coefficients) else 1.0

    def excess(self, bits: Bits) -> float:
        return float(bits[self.bits] @ self.coefficients + self.constant)


@dataclass
class Penalty:
    """What breaking a row costs: 0 where it holds, and above 0 elsewhere.

    The slack bits make good what is missing to a limit, each by its coefficient.
    """

    label: Hashable | None  #: of the model's constraint; None for what the model does not ask for
    row: Row
    slack: dict[int, float]
    pairs: Ints
    values: Floats
    offset: float
    weight: float = 1.0
    fixed: bool = False  #: whether the weight is the model's own
    group: list[int] | None = (
        None  #: the bits of which exactly one is 1, where that is what it says
    )
    product: tuple[int, int, int] | None = None  #: of the first two bits, which the third is

    def cost(self, bits: Bits) -> float:
        """What it costs at weight 1."""
        return float(self.values @ (bits[self.pairs[:, 0]] & bits[self.pairs[:, 1]])) + self.offset


def expansion(most: int) -> list[int]:
    """Coefficients of bits whose sums are the numbers from 0 to `most`, largest first."""
    parts = []
    power = 1
    while most > 0:
        parts.append(min(power, most))
        most -= parts[-1]
        power *= 2
    return sorted(parts, reverse=True)


def slack_parts(room: float) -> list[int]:
    """Coefficients whose sums go from 0 to `room` in steps of 1."""
    return expansion(math.ceil(room - 1e-9))


def square(row: Row, slack: dict[int, float]) -> tuple[Ints, Floats, float]:
    """The square of a row with its slack, as terms and a constant."""
    every = np.concatenate([row.bits, np.array(list(slack), dtype=np.int64)])
    weights = np.concatenate([row.coefficients, np.array(list(slack.values()), dtype=np.float64)])
    first, second = np.triu_indices(len(every), 1)
    pairs = np.concatenate(
        [np.column_stack([every, every]), np.column_stack([every[first], every[second]])]
    )
    values = [weights * (weights + 2 * row.constant), 2 * weights[first] * weights[second]]
    return pairs, np.concatenate(values), row.constant**2


def interpolated(row: Row, power: int) -> tuple[Ints, Floats, float]:
    """A power of what a row of at most two bits is above 0."""

    def broken(total: float) -> float:
        return float(max(row.constant + total, 0.0) ** power)

    none = broken(0)
    values = [broken(c) - none for c in row.coefficients.tolist()]
    pairs = [(i, i) for i in row.bits.tolist()]
    if len(pairs) == 2:
        pairs.append((pairs[0][0], pairs[1][0]))
        values.append(broken(row.coefficients.sum()) - none - sum(values))
    return np.array(pairs, dtype=np.int64).reshape(-1, 2), np.array(values, dtype=np.float64), none


NO_ROW = Row(np.zeros(0, dtype=np.int64), np.zeros(0), 0.0, False)
