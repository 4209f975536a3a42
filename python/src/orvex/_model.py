"""The integers that the library searches, and the coefficients that they were made of.

Invariant: a :class:`Model` owns what it points to and is never changed. So a copy may be the same
object, and a pickle is made of its weights.
"""

from __future__ import annotations

import ctypes
import math
import weakref
from typing import Any, Protocol

import numpy as np
import numpy.typing as npt

from ._library import Facts, Scaling, failure, support

Words = npt.NDArray[np.uint64]
Pairs = npt.NDArray[np.uint32]
Floats = npt.NDArray[np.float64]


class Model:
    """A problem as the library holds it."""

    pointer: int

    def __init__(self, pointer: int | None) -> None:
        if not pointer:
            raise failure()
        self.pointer = pointer
        weakref.finalize(self, support.orvex_python_free, pointer)

    @classmethod
    def of_terms(cls, size: int, pairs: npt.NDArray[Any], values: npt.NDArray[Any]) -> Model:
        """The sum of integer terms."""
        indices = np.ascontiguousarray(pairs, dtype=np.uint32)
        numbers = np.ascontiguousarray(values, dtype=np.int64)
        return cls(
            support.orvex_python_from_terms(
                size, len(numbers), indices.ctypes.data, numbers.ctypes.data
            )
        )

    def facts(self) -> Facts:
        facts = Facts()
        support.orvex_python_facts(self.pointer, ctypes.byref(facts))
        return facts

    def energy(self, words: Words) -> int:
        return int(support.orvex_python_energy(self.pointer, words.ctypes.data))

    def __copy__(self) -> Model:
        return self

    def __deepcopy__(self, memo: object) -> Model:
        return self

    def __reduce__(self) -> tuple[Any, ...]:
        return Model.of_terms, (self.facts().size, *self.terms())

    def terms(self) -> tuple[Pairs, npt.NDArray[np.int64]]:
        """The pairs of variables that have a coefficient, and the coefficients."""
        count = self.facts().nonzero
        pairs = np.empty((count, 2), dtype=np.uint32)
        values = np.empty(count, dtype=np.int64)
        support.orvex_python_terms(self.pointer, pairs.ctypes.data, values.ctypes.data)
        return pairs, values


class Reals(Protocol):
    """The coefficients that integers were made of by rounding."""

    def energy(self, words: Words, bits: npt.NDArray[np.bool_]) -> float:
        """The energy of a bit vector by the coefficients themselves."""


class RealTerms:
    """Terms, of which several may have the same variables."""

    def __init__(self, size: int, pairs: npt.NDArray[Any], values: Floats) -> None:
        self._size = size
        self._pairs: Pairs = np.ascontiguousarray(pairs, dtype=np.uint32)
        self._values = np.ascontiguousarray(values)

    @classmethod
    def of_file(cls, model: Model, count: int) -> RealTerms:
        """What a file's problem was rounded from."""
        pairs = np.empty((count, 2), dtype=np.uint32)
        values = np.empty(count, dtype=np.float64)
        support.orvex_python_reals(model.pointer, pairs.ctypes.data, values.ctypes.data)
        return cls(model.facts().size, pairs, values)

    def model(self) -> tuple[Model, Scaling]:
        """The rounded problem, and how it was made."""
        scaling = Scaling()
        pointer = support.orvex_python_from_real_terms(
            self._size, len(self._values), self._pairs.ctypes.data, self._values.ctypes.data,
            ctypes.byref(scaling),
        )  # fmt: skip
        return Model(pointer), scaling

    def energy(self, words: Words, bits: npt.NDArray[np.bool_]) -> float:
        energy: float = support.orvex_python_energy_of_terms(
            self._size, len(self._values), self._pairs.ctypes.data, self._values.ctypes.data,
            words.ctypes.data,
        )  # fmt: skip
        return _known(energy)


class RealMatrix:
    """A square matrix, whose elements all count."""

    def __init__(self, elements: Floats) -> None:
        self._elements = np.ascontiguousarray(elements)

    def model(self) -> tuple[Model, Scaling]:
        """The rounded problem, and how it was made."""
        scaling = Scaling()
        upper = np.triu(self._elements)
        upper += np.tril(self._elements, -1).T
        pointer = support.orvex_python_from_real_triangle(
            len(upper), upper.ctypes.data, ctypes.byref(scaling)
        )
        return Model(pointer), scaling

    def energy(self, words: Words, bits: npt.NDArray[np.bool_]) -> float:
        energy: float = support.orvex_python_energy_of_matrix(
            len(self._elements), self._elements.ctypes.data, words.ctypes.data
        )
        return _known(energy)


class Biases:
    """Those of a binary quadratic model, with its offset: of bits, or of spins."""

    def __init__(
        self, spins: bool, offset: float, linear: Floats, pairs: Pairs, quadratic: Floats
    ) -> None:
        self._spins = spins
        self._offset, self._linear, self._pairs, self._quadratic = offset, linear, pairs, quadratic

    def energy(self, words: Words, bits: npt.NDArray[np.bool_]) -> float:
        value = bits.astype(np.float64)
        if self._spins:
            value = 2 * value - 1
        ends = value[self._pairs]
        terms = [self._linear * value, self._quadratic * ends[:, 0] * ends[:, 1]]
        return math.fsum([self._offset, *np.concatenate(terms).tolist()])


def _known(energy: float) -> float:
    if math.isnan(energy):
        raise failure()
    return energy
