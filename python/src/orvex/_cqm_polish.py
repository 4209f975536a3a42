"""Small steps in a constrained model's own terms: a solution of the penalised problem is repaired where it
breaks a constraint, then improved where none is broken. A step flips one bit or two; slacks need none,
they follow. Invariant: the sum of what is broken never grows, and the objective only where that sum falls.
"""

from __future__ import annotations

import time

import numpy as np
import numpy.typing as npt

from ._cqm_bits import Bits, BitModel, Floats

#: A step makes the score less by more than this, as floats add up.
_LEAST = 1e-9
#: Entries of the largest matrix that it works on.
_MOST_ENTRIES = 20_000_000


class Polish:
    """Of one model, whose constraints are linear in its bits."""

    @staticmethod
    def works_on(model: BitModel) -> bool:
        """Whether the model is of the kind and of the size."""
        rows = len(model.penalties)
        return not model.products and model.model_bits * max(rows, model.model_bits) <= _MOST_ENTRIES

    def __init__(self, model: BitModel) -> None:
        size = self._size = model.model_bits
        # What priced bits stand for is no bit of a variable; constraints that may be broken count nothing.
        rows = [penalty.row for penalty in model.penalties if penalty.label is not None]
        self._rows: Floats = np.zeros((len(rows), size))
        for row, into in zip(rows, self._rows):
            into[row.bits] = row.coefficients
        self._constants = np.array([row.constant for row in rows])
        self._at_most = np.array([row.at_most for row in rows], dtype=np.bool_)[:, None]
        self._scale = 1 / np.array([row.typical for row in rows], dtype=np.float64)
        self._linear = np.zeros(size)
        self._quadratic: Floats = np.zeros((size, size))
        pairs, values = model.objective.terms()
        for (i, j), value in zip(pairs.tolist(), values.tolist()):
            if i >= size or j >= size:
                continue
            if i == j:
                self._linear[i] += value
            else:
                self._quadratic[i, j] += value
                self._quadratic[j, i] += value
        self._random = np.random.default_rng(1)

    def __call__(self, bits: Bits, deadline: float) -> Bits:
        """A solution that is no worse, found until then."""
        x = bits[: self._size].copy()
        while time.perf_counter() < deadline:
            if not self._pass(x, deadline):
                break
        polished = bits.copy()
        polished[: self._size] = x
        return polished

    def near(self, bits: Bits, count: int) -> list[Bits]:
        """The best that are one or two flips away and break no more."""
        x = bits[: self._size]
        excess = self._rows @ x + self._constants
        fields = self._linear + self._quadratic @ x
        allowed = self._broken(excess[:, None])[0] + _LEAST
        ranked: list[tuple[float, int, int]] = []
        for i in range(self._size):
            broken, gains = self._steps(x, excess, fields, i)
            fits = np.flatnonzero(broken[i:] <= allowed) + i
            best = fits[np.argsort(gains[fits], kind="stable")[:count]]
            ranked += [(float(gains[j]), i, int(j)) for j in best]
        found = []
        for _, i, j in sorted(ranked)[:count]:
            found.append(bits.copy())
            found[-1][[i, j]] = ~bits[[i, j]]
        return found

    def _steps(
        self, x: Bits, excess: Floats, fields: Floats, i: int
    ) -> tuple[Floats, Floats]:
        """Flips of a bit with each other, and of itself alone: what is broken then, and what it costs."""
        signs = np.where(x, -1.0, 1.0)
        after = excess + self._rows[:, i] * signs[i]
        broken = self._broken(after[:, None] + self._rows * signs)
        gains = signs[i] * fields[i] + signs * (fields + self._quadratic[i] * signs[i])
        broken[i] = self._broken(after[:, None])[0]
        gains[i] = signs[i] * fields[i]
        return broken, gains

    def _pass(self, x: Bits, deadline: float) -> bool:
        """Tries each bit with each other, and makes the best step of each; whether there was any."""
        excess = self._rows @ x + self._constants
        fields = self._linear + self._quadratic @ x
        stepped = False
        for i in self._random.permutation(self._size).tolist():
            if time.perf_counter() > deadline:
                break
            broken, gains = self._steps(x, excess, fields, i)
            now = self._broken(excess[:, None])[0]
            less = broken < now - _LEAST
            same = ~less & (broken <= now + _LEAST) & (gains < -_LEAST)
            if less.any():
                j = int(np.lexsort((gains, broken))[0])
            elif same.any():
                j = int(np.argmin(np.where(same, gains, np.inf)))
            else:
                continue
            for k in {i, j}:
                sign = -1.0 if x[k] else 1.0
                excess += self._rows[:, k] * sign
                fields += self._quadratic[k] * sign
                x[k] = not x[k]
            stepped = True
        return stepped

    def _broken(self, excess: npt.NDArray[np.float64]) -> Floats:
        """How much is broken in all, in each column."""
        over = np.where(self._at_most, np.maximum(excess, 0.0), np.abs(excess))
        return np.asarray(self._scale @ over)
