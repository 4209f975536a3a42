"""How much it costs to break a constraint, and how that is found.

The rule: at first, a penalty weighs as much as the objective changes at most by a flip of one of its bits, in
a sample of random assignments, over the square of the median of its coefficients: one such bit too many
costs what it may bring. After each search the weight of a penalty that the best solution breaks is raised by
a half; where it breaks none, all weights are lowered by a third, since too large ones drown the objective. So
they stay about where the constraints just hold. Those of one-hot groups, which the moves of the search keep,
are only raised.
"""

from __future__ import annotations

import math

import numpy as np

from ._cqm_bits import BitModel, decimal
from ._cqm_penalty import Floats
from ._forms import Terms
from ._numbers import integers

_RAISE = 1.5
_LOWER = 1.5
#: The least and the most that a weight becomes, of the first.
_LEAST_SHARE = 0.02
_MOST_SHARE = 1e4
#: The least first weight has at least this many steps.
_STEPS = 16
#: What penalties add up to at most, in steps, so that energies fit into 64 bits.
_WIDTH = 2.0**60
#: Random assignments, from which it is seen what flips change.
_SAMPLES = 20


class Weights:
    """Those of a model's penalties, and the problem that they make: of integers, wherever the objective can be
    scaled to integers."""

    def __init__(self, model: BitModel) -> None:
        self._model = model
        self._free = [penalty for penalty in model.penalties if not penalty.fixed]
        fixed = [penalty for penalty in model.penalties if penalty.fixed]
        pairs, values = model.objective.terms()
        own = np.concatenate([values, *(penalty.weight * penalty.values for penalty in fixed)])
        own = np.array([decimal(value) for value in own.tolist()])
        self._pairs = np.concatenate(
            [
                pairs,
                *(penalty.pairs for penalty in fixed),
                *(penalty.pairs for penalty in self._free),
            ]
        )
        self._constant = model.objective.constant
        self._constant += sum(penalty.weight * penalty.offset for penalty in fixed)
        first = self._first = self._first_weights()
        whole = integers(own, "auto", str)
        if any((penalty.values % 1 != 0).any() for penalty in self._free):
            whole = None
        self._scale, self._own = 1.0, own
        if whole is not None:
            finer = 2.0 ** max(
                0, math.ceil(math.log2(_STEPS / (whole[1] * min(first, default=_STEPS))))
            )
            self._scale, self._own = whole[1] * finer, whole[0] * int(finer)
        self._whole = whole is not None
        most = [_WIDTH / (len(self._free) * np.abs(penalty.values).sum()) for penalty in self._free]
        if any(weight * self._scale > limit for weight, limit in zip(first, most)):
            self._scale, self._own, self._whole = 1.0, own, False  # the library rounds, then
        self._most = [
            min(weight * _MOST_SHARE, limit / self._scale) for weight, limit in zip(first, most)
        ]
        for penalty, weight in zip(self._free, first):
            penalty.weight = self._step(weight)

    def _first_weights(self) -> list[float]:
        changes = _changes(self._model)
        most = float(changes.max(initial=0)) or 1.0
        first = []
        for penalty in self._free:
            change = float(changes[np.unique(penalty.pairs)].max(initial=0)) or most
            first.append(change / penalty.row.typical**2)
        return first

    def _step(self, weight: float) -> float:
        """The next weight that keeps integers integers."""
        return math.ceil(weight * self._scale) / self._scale if self._whole else weight

    def problem(self) -> tuple[Terms, float, float]:
        """The sum of objective and penalties, what it was multiplied by, and what it lacks to the objective
        where all constraints hold."""
        values = [self._own]
        constant = self._constant
        for penalty in self._free:
            weight = penalty.weight * self._scale
            values.append(np.rint(weight * penalty.values).astype(np.int64) if self._whole
                          else weight * penalty.values)  # fmt: skip
            constant += penalty.weight * penalty.offset
        terms = Terms(max(self._model.size, 1), self._pairs, np.concatenate(values))
        return terms, self._scale, constant

    def adapt(self, held: list[bool]) -> None:
        """Learns which penalties the best solution of a search keeps."""
        free = [holds for penalty, holds in zip(self._model.penalties, held) if not penalty.fixed]
        for penalty, first, most, holds in zip(self._free, self._first, self._most, free):
            if not holds:
                higher = self._step(min(penalty.weight * _RAISE, most))
                penalty.weight = max(penalty.weight, higher)
            elif all(free) and penalty.group is None:
                lower = self._step(max(penalty.weight / _LOWER, first * _LEAST_SHARE))
                penalty.weight = min(penalty.weight, lower)


def _changes(model: BitModel) -> Floats:
    """The most that a flip of each bit changes the objective, in random assignments that keep groups."""
    random = np.random.default_rng(1)
    pairs, values = model.objective.terms()
    i, j = pairs[:, 0], pairs[:, 1]
    linear = np.bincount(i[i == j], values[i == j], model.size)
    i, j, values = i[i != j], j[i != j], values[pairs[:, 0] != pairs[:, 1]]
    most = np.zeros(model.size)
    for _ in range(_SAMPLES):
        x = random.random(model.size) < 0.5
        for group in model.groups:
            x[group] = False
        for group in model.groups:
            if not x[group].any():
                x[random.choice(group)] = True
        fields = linear + np.bincount(i, values * x[j], model.size)
        most = np.maximum(most, np.abs(fields + np.bincount(j, values * x[i], model.size)))
    return most
