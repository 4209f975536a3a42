"""A constrained model in bits: its variables, objective and constraints, each constraint with a penalty.

Invariant: where `exact` holds, every solution of the model that keeps the constraints has bits for which
each penalty is 0, and no bits have a penalty below 0. So the penalised problem, whatever the weights, has
no energy above the model's optimum at its own optimum, and a proven optimum of it that keeps the
constraints is one of the model.
"""

from __future__ import annotations

import math
from collections.abc import Hashable, Iterable
from dataclasses import dataclass, field
from fractions import Fraction
from typing import Any

import dimod
import numpy as np

from ._cqm_penalty import (
    NO_ROW,
    Bits,
    Floats,
    Ints,
    Penalty,
    Row,
    expansion,
    interpolated,
    slack_parts,
    square,
)
from ._numbers import exact

#: An integer variable, or a slack with a unit, has at most this many values: 2 ** 20.
_MOST_VALUES = 1 << 20
#: A slack of a constraint without a unit, or with too fine a one, has this many values.
_COARSE = 1 << 10
#: Passes over the constraints to find bounds of the integer variables.
_PASSES = 10


@dataclass
class Polynomial:
    """Of second degree in bits; the square of a bit is the bit."""

    constant: float = 0.0
    linear: dict[int, float] = field(default_factory=dict)
    quadratic: dict[tuple[int, int], float] = field(default_factory=dict)

    def add(self, bits: tuple[int, ...], value: float) -> None:
        if value == 0:
            return
        if not bits:
            self.constant += value
        elif bits[0] == bits[-1]:
            self.linear[bits[0]] = self.linear.get(bits[0], 0.0) + value
        else:
            pair = (min(bits), max(bits))
            self.quadratic[pair] = self.quadratic.get(pair, 0.0) + value

    def terms(self) -> tuple[Ints, Floats]:
        """The pairs of its terms, a bit being its own pair, and their coefficients."""
        pairs = [(i, i) for i in self.linear] + list(self.quadratic)
        values = [*self.linear.values(), *self.quadratic.values()]
        return np.array(pairs, dtype=np.int64).reshape(-1, 2), np.array(values, dtype=np.float64)


class BitModel:
    """A model in bits. The bits of variables come first, in their order, then products, then slacks."""

    def __init__(self, cqm: dimod.ConstrainedQuadraticModel) -> None:
        self.cqm = cqm
        self.variables: list[Hashable] = list(cqm.variables)
        self.exact = True
        self._bounds = {v: _bounds_of(cqm, v) for v in self.variables}
        self._tighten()
        self.size = 0
        self._encoding: dict[Hashable, tuple[float, list[tuple[int, float]]]] = {}
        for v in self.variables:
            self._encoding[v] = self._encode(v)
        self.model_bits = self.size
        self.products: dict[tuple[int, int], int] = {}
        self.objective = self._polynomial(cqm.objective)
        self.penalties: list[Penalty] = []
        for label, constraint in cqm.constraints.items():
            self._add(label, constraint)
        self.groups = self._choose_groups()

    # ---- variables

    def _tighten(self) -> None:
        """Bounds of integer variables that follow from linear constraints."""
        rows: list[tuple[list[tuple[Hashable, Fraction]], Fraction]] = []
        for constraint in self.cqm.constraints.values():
            if constraint.lhs.is_soft() or any(True for _ in constraint.lhs.iter_quadratic()):
                continue
            terms = [(v, _exact(c)) for v, c in constraint.lhs.iter_linear() if c]
            if all(self.cqm.vartype(v) is not dimod.INTEGER for v, _ in terms):
                continue
            limit = _exact(constraint.rhs) - _exact(constraint.lhs.offset)
            if constraint.sense.name != "Ge":
                rows.append((terms, limit))
            if constraint.sense.name != "Le":
                rows.append(([(v, -c) for v, c in terms], -limit))
        for _ in range(_PASSES):
            changed = False
            for terms, limit in rows:
                least = sum(
                    min(c * low, c * high) for v, c in terms for low, high in [self._bounds[v]]
                )
                for v, c in terms:
                    low, high = self._bounds[v]
                    if self.cqm.vartype(v) is not dimod.INTEGER or low == high:
                        continue
                    room = (limit - (least - min(c * low, c * high))) / c
                    slip = Fraction(1, 10**9) * max(Fraction(1), abs(room))
                    if c > 0:
                        new = (low, min(high, math.floor(room + slip)))
                    else:
                        new = (max(low, math.ceil(room - slip)), high)
                    if new != (low, high) and new[0] <= new[1]:
                        least += min(c * new[0], c * new[1]) - min(c * low, c * high)
                        self._bounds[v], changed = new, True
            if not changed:
                break

    def _encode(self, v: Hashable) -> tuple[float, list[tuple[int, float]]]:
        """A variable as a constant and bits with coefficients."""
        vartype = self.cqm.vartype(v)
        if vartype is dimod.BINARY:
            return 0.0, self._new_bits([1])
        if vartype is dimod.SPIN:
            return -1.0, self._new_bits([2])
        if vartype is not dimod.INTEGER:
            raise ValueError(
                f"the variable {v!r} is of type {vartype.name}; binary, spin and integer ones are solved"
            )
        low, high = self._bounds[v]
        if high - low >= _MOST_VALUES:
            raise ValueError(
                f"the integer variable {v!r} may be from {low} to {high}, which is too much: give it "
                f"bounds that allow at most {_MOST_VALUES} values"
            )
        return float(low), self._new_bits(expansion(int(high - low)))

    def _new_bits(self, coefficients: Iterable[float]) -> list[tuple[int, float]]:
        bits = [(self.size + k, float(c)) for k, c in enumerate(coefficients)]
        self.size += len(bits)
        return bits

    def _product(self, i: int, j: int) -> int:
        """The bit that is the product of two."""
        pair = (min(i, j), max(i, j))
        if pair not in self.products:
            self.products[pair] = z = self._new_bits([1])[0][0]
            form = Polynomial()
            for bits, value in (((i, j), 1.0), ((i, z), -2.0), ((j, z), -2.0), ((z,), 3.0)):
                form.add(bits, value)
            self.penalties.append(Penalty(None, NO_ROW, {}, *form.terms(), 0.0, product=(*pair, z)))
        return self.products[pair]

    def _polynomial(self, model: Any) -> Polynomial:
        """A quadratic model of dimod in bits."""
        form = Polynomial(float(model.offset))
        for v, bias in model.iter_linear():
            constant, bits = self._encoding[v]
            form.constant += float(bias) * constant
            for i, c in bits:
                form.add((i,), float(bias) * c)
        for u, v, bias in model.iter_quadratic():
            first, second = self._encoding[u], self._encoding[v]
            form.constant += float(bias) * first[0] * second[0]
            for i, c in first[1]:
                form.add((i,), float(bias) * c * second[0])
                for j, d in second[1]:
                    form.add((i, j), float(bias) * c * d)
            for j, d in second[1]:
                form.add((j,), float(bias) * d * first[0])
        return form

    # ---- constraints

    def _add(self, label: Hashable, constraint: Any) -> None:
        row = self._row(constraint)
        if row.at_most and len(row.bits) <= 2:
            self._add_small(label, constraint.lhs, row)
            return
        soft, slack = constraint.lhs.is_soft(), {}
        over = row.coefficients[row.coefficients > 0].sum() + row.constant
        room = -(row.coefficients[row.coefficients < 0].sum() + row.constant)
        if over <= 0 and row.at_most and not soft:
            return  # it always holds
        priced = soft and constraint.lhs.penalty() == "linear"
        if priced:  # bits that stand for what is broken, at a price each; with them it holds
            price = float(constraint.lhs.weight()) * row.unit
            for most, sign in ((over, -1.0), (0.0 if row.at_most else room, 1.0)):
                for i, c in self._new_bits(slack_parts(most)):
                    slack[i] = sign * c
                    self.objective.add((i,), price * c)
        if row.at_most:
            slack.update(self._new_bits(slack_parts(room)))
        penalty = Penalty(label, row, slack, *square(row, slack))
        if soft:
            penalty.label, penalty.fixed = None, not priced
            penalty.weight = float(constraint.lhs.weight()) * row.unit**2
        elif (row.coefficients == 1).all() and row.constant == -1 and len(row.bits) > 1:
            penalty.group = [*row.bits.tolist(), *slack]
        self.penalties.append(penalty)

    def _row(self, constraint: Any) -> Row:
        """The constraint as a sum of bits, in the unit of which its coefficients are multiples."""
        form = self._polynomial(constraint.lhs)
        terms = dict(form.linear)
        for (i, j), value in form.quadratic.items():
            terms[self._product(i, j)] = value
        sign = -1 if constraint.sense.name == "Ge" else 1
        at_most = constraint.sense.name != "Eq"
        numbers = {i: sign * _exact(c) for i, c in terms.items() if c}
        constant = sign * (_exact(form.constant) - _exact(constraint.rhs))
        if (
            not at_most and constant > 0
        ):  # both sides of an equation, so that "one of these" looks the same
            numbers, constant = {i: -c for i, c in numbers.items()}, -constant
        unit = _unit(numbers.values())
        if sum(map(abs, numbers.values())) >= unit * _MOST_VALUES:
            # Too fine for slacks of a bit for each power of two: a penalty near 0 is as good as it gets.
            self.exact = False
            unit = sum(map(abs, numbers.values()), Fraction(0)) / _COARSE
        elif at_most:  # from what the left side can be, so much is missing to the limit
            constant = -math.floor(-constant / unit + Fraction(1, 10**9)) * unit
        bits = np.array(list(numbers), dtype=np.int64)
        coefficients = np.array([float(c / unit) for c in numbers.values()])
        return Row(bits, coefficients, float(constant / unit), at_most, float(unit))

    def _add_small(self, label: Hashable, lhs: Any, row: Row) -> None:
        """One of at most two bits, which needs no slack: what breaks it is a polynomial of second degree."""
        power = 2 if lhs.is_soft() and lhs.penalty() == "quadratic" else 1
        penalty = Penalty(label, row, {}, *interpolated(row, power))
        if not penalty.values.any():
            return
        if lhs.is_soft():
            penalty.label, penalty.fixed = None, True
            penalty.weight = float(lhs.weight()) * row.unit**power
        self.penalties.append(penalty)

    def _choose_groups(self) -> list[list[int]]:
        """Those that the search can take: a bit in two at most, and no two with more than one in common."""
        discrete = set(self.cqm.discrete)
        candidates = [penalty for penalty in self.penalties if penalty.group is not None]
        candidates.sort(key=lambda penalty: (penalty.label not in discrete, penalty.row.at_most))
        homes: dict[int, list[int]] = {}
        chosen: list[list[int]] = []
        for penalty in candidates:
            assert penalty.group is not None
            met = [g for i in penalty.group for g in homes.get(i, [])]
            full = any(len(homes.get(i, [])) > 1 for i in penalty.group)
            if full or len(met) != len(set(met)):
                penalty.group = None
                continue
            for i in penalty.group:
                homes.setdefault(i, []).append(len(chosen))
            chosen.append(penalty.group)
        return chosen

    # ---- solutions

    def values(self, rows: Bits) -> Ints:
        """The model's variables, in their order, of each row of bits."""
        columns = np.zeros((len(rows), len(self.variables)), dtype=np.int64)
        for k, v in enumerate(self.variables):
            constant, parts = self._encoding[v]
            columns[:, k] = constant
            for i, c in parts:
                columns[:, k] += int(c) * rows[:, i]
        return columns

    def bits(self, values: Floats) -> Bits:
        """The bits of values of the variables, with products and slacks at their best."""
        bits = np.zeros(self.size, dtype=np.bool_)
        for v, value in zip(self.variables, values.tolist()):
            constant, parts = self._encoding[v]
            _fill(bits, dict(parts), value - constant)
        return self.completed(bits)

    def completed(self, bits: Bits) -> Bits:
        """The same variables, with products and slacks at their best."""
        bits = bits.copy()
        for penalty in self.penalties:
            if penalty.product is not None:
                i, j, z = penalty.product
                bits[z] = bits[i] and bits[j]
        for penalty in self.penalties:
            if penalty.slack:
                missing = -penalty.row.excess(bits)
                up = {i: c for i, c in penalty.slack.items() if c > 0}
                down = {i: -c for i, c in penalty.slack.items() if c < 0}
                _fill(bits, up, missing)
                _fill(bits, down, -missing)
        return bits

    def held(self, bits: Bits, satisfied: Bits) -> list[bool]:
        """Which penalties a solution keeps: those of constraints as the model has it, which slacks that are
        not at their best do not matter to; others where they cost nothing."""
        known = dict(zip(self.cqm.constraints, satisfied.tolist()))
        return [
            penalty.cost(bits) < 1e-9 if penalty.label is None else known[penalty.label]
            for penalty in self.penalties
        ]


def _bounds_of(cqm: Any, v: Hashable) -> tuple[int, int]:
    vartype = cqm.vartype(v)
    if vartype is dimod.SPIN:
        return -1, 1
    if vartype is dimod.BINARY:
        return 0, 1
    return math.ceil(cqm.lower_bound(v)), math.floor(cqm.upper_bound(v))


def _fill(bits: Bits, parts: dict[int, float], value: float) -> None:
    """Sets bits so that their sum is the next to a value; largest first leaves no number out."""
    smallest = min(parts.values(), default=1.0)
    for i, c in sorted(parts.items(), key=lambda part: -part[1]):
        bits[i] = c <= value + smallest * 0.5
        value -= c * bits[i]


def decimal(value: float) -> float:
    """A coefficient without what the sums of floats that made it have added: 12 digits of it."""
    return float(f"{value:.12g}")


def _exact(value: float) -> Fraction:
    return exact(decimal(value), "a coefficient")


def _unit(numbers: Iterable[Fraction]) -> Fraction:
    """The greatest number of which all are multiples."""
    numbers = list(numbers)
    if not numbers:
        return Fraction(1)
    below = math.lcm(*(number.denominator for number in numbers))
    return Fraction(math.gcd(*(int(number * below) for number in numbers)), below)
