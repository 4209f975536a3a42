"""Problems: what is known of one before a search, its energies, its bits.

Invariant: a :class:`Problem` that exists can be searched: its energies are proven to fit into 64 bits,
a band of the library holds it, and this machine has the memory. What is not so is refused with an
exception, before the library, which would end the process, sees any of it.
"""

from __future__ import annotations

import ctypes
import os
import warnings
import weakref
from collections.abc import Hashable, Sequence
from fractions import Fraction
from typing import Any, Literal

import numpy as np
import numpy.typing as npt

from . import _forms
from ._files import File, Source
from ._library import Facts, Options, Plan, failure, support
from ._memory import expect_memory, gib
from ._numbers import Scale, check_scale

#: From here on a problem's memory is told before it is loaded.
_LARGE = 1 << 30

#: A search of which nothing is said.
_OPEN = Options(settings=(ctypes.c_char_p * 1)(None))

Words = npt.NDArray[np.uint64]
Bits = npt.NDArray[np.bool_]


class LargeProblemWarning(UserWarning):
    """Tells the peak memory of a problem that takes more than 1 GiB, before it is loaded."""


class Problem:
    """A QUBO problem that may be searched any number of times.

    The energy of a bit vector x is the sum over i <= j of W[i, j] x[i] x[j], plus an offset that only a
    binary quadratic model brings along.

    Parameters
    ----------
    problem
        What states the coefficients W:

        - a matrix, numpy or anything that numpy makes one of. Either symmetric, then W[i, j] for i < j
          is the value that stands at [i, j] and at [j, i], and counts once; or upper triangular. (So an
          upper triangular matrix has the energy x @ W @ x. A symmetric one has it only if its values
          off the diagonal are doubled first.)
        - a scipy sparse matrix or array, by the same rule. Repeated entries are summed.
        - a mapping of pairs of variables to coefficients, {(i, j): w}; (i, i) is a linear term, (i, j)
          and (j, i) are summed. Variables may be any labels; when all are numbers, they are the
          positions from 0 to the greatest.
        - a dimod.BinaryQuadraticModel, of spins or bits. Its samples come back by `variables`.
        - the path of a file in any of the formats that the command-line caller reads; :func:`read` is
          for those that need more than a path.
    scale
        Coefficients must be integers, of any type: floats that are whole numbers are taken. Others are
        refused unless all of them become whole when multiplied by this positive integer; "auto" looks
        for the least power of ten, or of two, that does it. Energies and targets stay in the caller's
        units.

    Raises
    ------
    TypeError, ValueError
        The problem is none of these, or a coefficient is no integer; the text names the first one.
    MemoryError
        This machine has not the memory to build or to search it.
    """

    size: int
    """Number of variables."""
    variables: Sequence[Hashable]
    """The label of each variable, in the order of the bits; 0 to size - 1 where there are no others."""
    scale: int
    """What coefficients were multiplied by."""
    offset: Fraction
    """What is added to each energy, in the caller's units."""
    source: Source | None
    """What the numbers of the problem's file mean; None where it is from no file."""

    def __init__(self, problem: Any, *, scale: Scale | None = None) -> None:
        form = _forms.read(problem, check_scale(scale))
        self._pointer = form.pointer
        weakref.finalize(self, support.orvex_python_free, form.pointer)
        self.scale = form.scale
        self.offset = form.offset
        self.source = form.source
        self.size = self._facts().size
        self.variables = range(self.size) if form.variables is None else form.variables
        self._expect_to_fit()

    # ---- whether a search is possible

    def _facts(self) -> Facts:
        facts = Facts()
        support.orvex_python_facts(self._pointer, ctypes.byref(facts))
        return facts

    def _plan(self, options: Options = _OPEN) -> Plan:
        """The memory of a search with these options, if there can be one."""
        plan = Plan()
        if support.orvex_python_plan(self._pointer, ctypes.byref(options), ctypes.byref(plan)) != 0:
            raise failure()
        return plan

    @property
    def memory(self) -> int:
        """Peak memory of the problem and of searching it with default settings, in bytes.

        A problem that takes more than this machine has free is refused when it is made, before the
        library loads any of it. Not counted is what stated the problem, such as a matrix.
        """
        plan = self._plan()
        return plan.model + plan.run

    def _expect_to_fit(self) -> None:
        plan = self._plan()
        memory = plan.model + plan.run
        expect_memory(memory, f"this problem of {self.size} variables takes", there=plan.model)
        if memory >= _LARGE:
            warnings.warn(
                f"this problem of {self.size} variables takes {gib(memory)} of memory at its "
                f"peak; {gib(support.orvex_python_free_memory())} are free",
                LargeProblemWarning,
                stacklevel=3,
            )

    # ---- energies and solutions

    def energy(self, x: Any) -> int | float:
        """The energy of a bit vector, computed in exact integers.

        Parameters
        ----------
        x
            `size` bits: an array or sequence of booleans, or of numbers 0 and 1.
        """
        return self._in_callers_units(self._energy(self._words(x)))

    def objective(self, energy: int | float) -> int | float:
        """What an energy is in the terms of the problem's file: a cut, a value, a cost with its offset."""
        return energy if self.source is None else self.source.objective(energy)

    def _energy(self, words: Words) -> int:
        return int(support.orvex_python_energy(self._pointer, words.ctypes.data))

    def _in_callers_units(self, energy: int) -> int | float:
        number = Fraction(energy, self.scale) + self.offset
        return int(number) if number.denominator == 1 else float(number)

    def _in_own_units(self, energy: Fraction) -> int:
        """The greatest integer energy that is at or below one in the caller's units."""
        own = (energy - self.offset) * self.scale
        return own.numerator // own.denominator

    def _words(self, x: Any, name: str = "the bit vector") -> Words:
        array = np.asarray(x)
        if array.shape != (self.size,):
            raise ValueError(f"{name} must have {self.size} bits, not the shape {array.shape}")
        if array.dtype.kind not in "biuf" or not np.isin(array, (0, 1)).all():
            raise ValueError(f"{name} must hold nothing but 0 and 1")
        words = np.zeros((self.size + 63) // 64, dtype=np.uint64)
        packed = np.packbits(array.astype(np.bool_), bitorder="little")
        words.view(np.uint8)[: len(packed)] = packed
        return words

    def _bits(self, words: Words) -> Bits:
        bits = np.unpackbits(words.view(np.uint8), count=self.size, bitorder="little")
        return bits.astype(np.bool_)

    def __repr__(self) -> str:
        facts = self._facts()
        return (
            f"<orvex.Problem: {facts.size} variables, {facts.nonzero} coefficients from "
            f"{facts.smallest} to {facts.largest}>"
        )


def read(
    path: str | os.PathLike[str],
    format: str | None = None,
    *,
    instance: int | None = None,
    penalty: int | None = None,
    sense: Literal["min", "max"] | None = None,
) -> Problem:
    """Reads a problem from a file, plain or compressed with gzip.

    What the file's own numbers mean is in `source` of the problem, and results have their `objective` in
    the file's own terms.

    Parameters
    ----------
    path
        The file.
    format
        "orvex", "qbsolv", "maxcut" (rudy, G-set, .mc), "biqmac", "orlib", "coo", "matrixmarket", "qs",
        "qaplib", "tsplib" or "npz"; docs/formats.md defines them. By default the contents decide; a
        graph and a matrix without diagonal, which look the same, must be told.
    instance
        Which of the instances of a file with several ("orlib"), from 1.
    penalty
        Of a broken constraint ("qaplib", "tsplib"). By default one that is proven to suffice.
    sense
        Whether the values of the file are to be minimised or maximised, where the format leaves it open.
        "min" by default.

    Raises
    ------
    ValueError
        The file is not what it should be; the text names line and reason.
    """
    return Problem(File(path, format, instance, penalty, sense))


def as_problem(problem: Any, scale: Scale | None) -> Problem:
    """A problem as it is, or made of what states one."""
    if not isinstance(problem, Problem):
        return Problem(problem, scale=scale)
    if scale is not None:
        raise ValueError("scale= belongs to the Problem, which has been made already")
    return problem
