"""What exact reductions leave of a problem, and the way back to it."""

from __future__ import annotations

import ctypes
import weakref
from fractions import Fraction
from typing import TYPE_CHECKING, Any, NamedTuple

import numpy as np
import numpy.typing as npt

from ._library import Reduced, failure, support
from ._model import Model, Words

if TYPE_CHECKING:
    from ._problem import Problem


class RuleUse(NamedTuple):
    """What a rule of presolve did."""

    rule: str
    variables: int
    """How many it took out."""
    seconds: float


class Presolved:
    """A problem after exact reductions; made by :meth:`Problem.presolve`.

    The optimum of the problem is that of `problem` plus `offset`. Where nothing is left, `optimal` is True
    and ``restore([])`` is a proven optimum.
    """

    problem: Problem | None
    """What is left to search; None where nothing is."""
    optimal: bool
    """Whether nothing is left."""
    offset: int | float
    """What is added to an energy of what is left."""
    bound: int | float | None
    """No energy of the problem is lower; None where nothing is known."""
    rules: list[RuleUse]
    """The rules that took out variables, in their order."""

    def __init__(self, original: Problem, full: bool) -> None:
        from ._problem import Problem, plain

        pointer = support.orvex_python_presolve(original._model.pointer, full)
        if not pointer:
            raise failure()
        self._pointer = pointer
        weakref.finalize(self, support.orvex_python_free_presolved, pointer)
        facts = Reduced()
        support.orvex_python_reduced(pointer, ctypes.byref(facts))
        self._original = original
        self.optimal = facts.size == 0
        self.problem = None
        if not self.optimal:
            left = Model(support.orvex_python_left(pointer))
            self.problem = Problem._of_model(left, original._factor, original.largest_error)
        self.offset = plain(Fraction(facts.offset) / original._factor + original.offset)
        self.bound = original._bound(facts.bound) if facts.has_bound else None
        lines = support.orvex_python_rules(pointer).decode().splitlines()
        self.rules = [
            RuleUse(rule, int(variables), float(seconds))
            for rule, variables, seconds in (line.split("\t") for line in lines)
        ]
        self._size = facts.size

    def restore(self, x: Any) -> npt.NDArray[np.bool_]:
        """A bit vector of the problem, at least as good as one of what is left promises.

        Parameters
        ----------
        x
            As many bits as what is left has variables; empty where nothing is.
        """
        if self.problem is None:
            if len(x) != 0:
                raise ValueError(f"nothing is left of the problem, so there are no {len(x)} bits")
            words: Words = np.zeros(1, dtype=np.uint64)
        else:
            words = self.problem._words(x)
        restored = self._original._no_words()
        support.orvex_python_restore(self._pointer, words.ctypes.data, restored.ctypes.data)
        return self._original._bits(restored)

    def project(self, x: Any) -> npt.NDArray[np.bool_]:
        """A bit vector of what is left, from which a solution is restored that is no worse than `x`.

        Parameters
        ----------
        x
            As many bits as the problem has variables.
        """
        words = self._original._words(x)
        if self.problem is None:
            return np.zeros(0, dtype=np.bool_)
        projected = self.problem._no_words()
        support.orvex_python_project(self._pointer, words.ctypes.data, projected.ctypes.data)
        return self.problem._bits(projected)

    def __repr__(self) -> str:
        return f"<orvex.Presolved: {self._size} of {self._original.size} variables are left>"
