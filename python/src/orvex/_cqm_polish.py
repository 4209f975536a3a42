"""Small steps in a constrained model's own terms: a solution of the penalised problem is repaired where it
breaks a constraint, then improved where none is broken. A step is one move or two: a move flips a bit, and
where that puts a second 1 into a one-hot group, takes the first one back. Slacks need no moves, they follow.
Invariant: the sum of what is broken never grows, and the objective only where that sum falls.
"""

from __future__ import annotations

import time

import numpy as np
import numpy.typing as npt

from ._cqm_bits import BitModel
from ._cqm_penalty import Bits, Floats, Ints

#: What is less than this is what floats leave of nothing.
_LEAST = 1e-9
#: Entries of the largest matrix that it works on.
_MOST_ENTRIES = 20_000_000


class Polish:
    """Of one model, whose constraints are linear in its bits."""

    @staticmethod
    def works_on(model: BitModel) -> bool:
        """Whether the model is of the kind and of the size."""
        rows = len(model.penalties)
        return (
            not model.products and model.model_bits * max(rows, model.model_bits) <= _MOST_ENTRIES
        )

    def __init__(self, model: BitModel) -> None:
        size = self._size = model.model_bits
        # What priced bits stand for is no bit of a variable; constraints that may be broken count nothing.
        rows = [penalty.row for penalty in model.penalties if penalty.label is not None]
        # After the bits is one more, which no row and no term has: for moves of one bit.
        self._rows: Floats = np.zeros((len(rows), size + 1))
        for row, into in zip(rows, self._rows):
            into[row.bits] = row.coefficients
        self._constants = np.array([row.constant for row in rows])
        self._at_most = np.array([row.at_most for row in rows], dtype=np.bool_)[:, None]
        self._scale = 1 / np.array([row.typical for row in rows], dtype=np.float64)
        self._linear = np.zeros(size + 1)
        self._quadratic: Floats = np.zeros((size + 1, size + 1))
        pairs, values = model.objective.terms()
        for (i, j), value in zip(pairs.tolist(), values.tolist()):
            if i >= size or j >= size:
                continue
            if i == j:
                self._linear[i] += value
            else:
                self._quadratic[i, j] += value
                self._quadratic[j, i] += value
        self._group: Ints = np.full(size + 1, -1)  # the first group of each bit
        for k, group in enumerate(model.groups):
            for i in group:
                if i < size and self._group[i] < 0:
                    self._group[i] = k
        self._random = np.random.default_rng(1)

    def __call__(self, bits: Bits, deadline: float) -> Bits:
        """A solution that is no worse, found until then."""
        state = _State(self, bits)
        while time.perf_counter() < deadline:
            if not self._pass(state, deadline):
                break
        return np.concatenate([state.x[:-1], bits[self._size :]])

    def near(self, bits: Bits, count: int) -> list[Bits]:
        """The best that are a step away and break no more."""
        state = _State(self, bits)
        allowed = self._broken(state.excess[:, None])[0] + _LEAST
        ranked: list[tuple[float, int, int]] = []
        for i in range(self._size):
            broken, gains = state.steps(i)
            fits = np.flatnonzero(broken[i:] <= allowed) + i
            best = fits[np.argsort(gains[fits], kind="stable")[:count]]
            ranked += [(float(gains[j]), i, int(j)) for j in best]
        found = []
        for _, i, j in sorted(ranked)[:count]:
            near = state.x.copy()
            near[state.flipped(i, j)] ^= True
            found.append(np.concatenate([near[:-1], bits[self._size :]]))
        return found

    def _pass(self, state: _State, deadline: float) -> bool:
        """Tries each move with each other, and makes the best step of each; whether there was any."""
        stepped = False
        for i in self._random.permutation(self._size).tolist():
            if time.perf_counter() > deadline:
                break
            broken, gains = state.steps(i)
            now = self._broken(state.excess[:, None])[0]
            same = (np.abs(broken - now) <= _LEAST) & (gains < -_LEAST)
            if (broken < now - _LEAST).any():
                j = int(np.lexsort((gains, broken))[0])
            elif same.any():
                j = int(np.argmin(np.where(same, gains, np.inf)))
            else:
                continue
            state.make(i, j)
            stepped = True
        return stepped

    def _broken(self, excess: npt.NDArray[np.float64]) -> Floats:
        """How much is broken in all, in each column."""
        over = np.where(self._at_most, np.maximum(excess, 0.0), np.abs(excess))
        return np.asarray(self._scale @ over)


class _State:
    """A solution, and its moves: bit i flips, and with it the bit partner[i]."""

    def __init__(self, model: Polish, bits: Bits) -> None:
        self._model = model
        self.x = np.append(bits[: model._size], False)
        self._refresh()

    def _refresh(self) -> None:
        model, x = self._model, self.x
        self.excess = model._rows @ x + model._constants
        ones = np.full(int(model._group.max(initial=-1)) + 2, model._size)
        ones[model._group[x]] = np.flatnonzero(x)
        grouped = (model._group >= 0) & ~x
        self._partner = np.where(grouped, ones[model._group], model._size)
        self._sign = np.where(x, -1.0, 1.0)
        # A move takes back a 1, so that its sign is below 0; that of nothing has no weight.
        self._changes = model._rows * self._sign - model._rows[:, self._partner]
        fields = model._linear + model._quadratic @ x
        pairs = model._quadratic[np.arange(len(x)), self._partner]
        self._gains = self._sign * fields - fields[self._partner] - self._sign * pairs

    def steps(self, i: int) -> tuple[Floats, Floats]:
        """A move with each other, and with itself as the move alone: what is broken then, and the change of
        the objective. Two moves of one group are no step."""
        model, sign, partner = self._model, self._sign, self._partner
        other = partner[i]
        broken = model._broken(self.excess[:, None] + self._changes[:, [i]] + self._changes)
        coupled = sign[i] * model._quadratic[i] - model._quadratic[other]
        gains = self._gains[i] + self._gains + coupled * sign - coupled[partner]
        if model._group[i] >= 0:
            broken[model._group == model._group[i]] = np.inf
        broken[i] = model._broken((self.excess + self._changes[:, i])[:, None])[0]
        gains[i] = self._gains[i]
        return broken[:-1], gains[:-1]

    def flipped(self, i: int, j: int) -> list[int]:
        every = {i, j, int(self._partner[i]), int(self._partner[j])} - {self._model._size}
        return sorted(every)

    def make(self, i: int, j: int) -> None:
        self.x[self.flipped(i, j)] ^= True
        self._refresh()
