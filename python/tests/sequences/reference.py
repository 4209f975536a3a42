"""What must hold, told without the package: coefficients as a table, energies as exact sums. Invariant: nothing here
calls the package.
"""

from __future__ import annotations

import math
from collections.abc import Hashable, Sequence
from fractions import Fraction
from typing import Union

import numpy as np

Number = Union[int, float]

#: All bit vectors of so many variables are tried.
_MOST_TRIED = 10


class Violation(Exception):
    """Something that must hold does not."""


def require(holds: object, what: str) -> None:
    if not holds:
        raise Violation(what)


class Table:
    """A function of bits or spins v: the sum of table[i, i] v[i], of table[i, j] v[i] v[j] over all other i and j, and of
    the offset. Integers are divided by the denominator; of floats the sum is rounded once, at its end."""

    def __init__(
        self,
        table: np.ndarray,
        denominator: int = 1,
        offset: Number = 0,
        spins: bool = False,
        labels: Sequence[Hashable] | None = None,
    ) -> None:
        self.table, self.denominator, self.offset, self.spins = table, denominator, offset, spins
        self.size = len(table)
        self.labels = range(self.size) if labels is None else labels
        self.rounded = table.dtype.kind == "f"
        self._optimum: Number | None = None

    def energy(self, bits: np.ndarray) -> Number:
        """Of the bits in the order of the labels: an int where it is whole."""
        v = 2 * bits.astype(np.int64) - 1 if self.spins else bits.astype(np.int64)
        pairs = np.outer(v, v)
        np.fill_diagonal(pairs, v)
        if self.rounded:
            value = math.fsum([self.offset, *(self.table[pairs != 0] * pairs[pairs != 0])])
            return int(value) if value.is_integer() and abs(value) < 2**53 else value
        # The numbers are below 2 ** 41 and at most 2 ** 16: the sum fits into 64 bits.
        exact = Fraction(int((self.table * pairs).sum()) + self.offset, self.denominator)
        return int(exact) if exact.denominator == 1 else float(exact)

    def optimum(self) -> Number | None:
        """The least energy, by trying all; None where these are too many."""
        if self._optimum is None and self.size <= _MOST_TRIED:
            everything = (np.arange(1 << self.size)[:, None] >> np.arange(self.size)) & 1
            self._optimum = min(self.energy(bits) for bits in everything)
        return self._optimum

    def slack(self) -> float:
        """What sums of a few energies may be off by, for energies that are floats."""
        if self.denominator == 1 and not self.rounded:
            return 0.0
        return 1e-12 * (float(np.abs(self.table).sum()) + abs(self.offset)) / self.denominator
