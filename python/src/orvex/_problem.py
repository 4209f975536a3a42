"""Problems: what is known of one before a search, its energies, its bits.

Invariant: a :class:`Problem` that exists can be searched: its energies are proven to fit into 64 bits,
a band of the library holds it, and this machine has the memory. What is not so is refused with an
exception, before the library, which would end the process, sees any of it.
"""

from __future__ import annotations

import ctypes
import logging
import math
import os
import warnings
from collections.abc import Hashable, Iterable, Sequence
from fractions import Fraction
from typing import Any, Literal

import numpy as np
import numpy.typing as npt

from . import _forms
from ._files import File, Source
from ._library import Options, Plan, failure, support
from ._memory import expect_memory, gib
from ._model import Model, Words
from ._numbers import Scale, check_scale
from ._presolve import Presolved

#: From here on a problem's memory is told before it is loaded.
_LARGE = 1 << 30

#: A search of which nothing is said.
_OPEN = Options(settings=(ctypes.c_char_p * 1)(None), presolve=1)

_LOG = logging.getLogger("orvex")

Bits = npt.NDArray[np.bool_]


class LargeProblemWarning(UserWarning):
    """Tells the peak memory of a problem that takes more than 1 GiB, before it is loaded."""


class Problem:
    """A QUBO problem that may be searched any number of times.

    The energy of a bit vector x is x'Qx, the sum over all i and j of Q[i, j] x[i] x[j], plus an offset that
    only a binary quadratic model brings along. A problem may be copied and pickled.

    Parameters
    ----------
    problem
        What states the coefficients Q, of any real type:

        - a square matrix, numpy or anything that numpy makes one of. All of its elements count: those at
          [i, j] and [j, i] are added. So symmetric, triangular and general matrices of one function are
          one problem, and the energy is x @ Q @ x.
        - a scipy sparse matrix or array, by the same rule. Repeated entries are summed.
        - a mapping of pairs of variables to coefficients, {(i, j): w}; (i, i) is a linear term, (i, j)
          and (j, i) are summed. Variables may be any labels; when all are numbers, they are the
          positions from 0 to the greatest.
        - a dimod.BinaryQuadraticModel, of spins or bits. Its samples come back by `variables`.
        - the path of a file in any of the formats that the command-line caller reads; :func:`read` is
          for those that need more than a path.

        Variables without a coefficient cost nothing. In a sparse matrix, a mapping or a model of dimod that has
        any coefficient they have the bit 0; elsewhere either bit.
    scale
        The library searches integers. Integers, and floats that are whole numbers, are taken as they are.
        Others are all multiplied by one factor:

        - "auto", the default: the least power of ten, or of two, that makes integers of all of them if
          there is a small one; else the power of two that uses the width of the library's numbers, and
          each is rounded. `largest_error` tells how far an energy of the search may then be from the true
          one, and the log of the name "orvex" says so.
        - "exact": the least power of ten, or of two, that makes integers of all of them; where there is
          none, the problem is refused.
        - a positive integer: this one; where it does not make integers of all of them, the problem is
          refused.

        A file of text is read by its decimals: see :func:`read`.

        Energies and targets stay in the caller's units: energies are added up from the bits with the
        coefficients as they were given.

    Raises
    ------
    TypeError, ValueError
        The problem is none of these, or a coefficient is no finite number or no integer where it must be
        one; the text names the first one.
    MemoryError
        This machine has not the memory to build or to search it.
    """

    size: int
    """Number of variables."""
    variables: Sequence[Hashable]
    """The label of each variable, in the order of the bits; 0 to size - 1 where there are no others."""
    scale: int | float
    """What coefficients were multiplied by."""
    largest_error: float
    """So far at most is an energy of the search from the true one; 0.0 where no coefficient was rounded."""
    offset: Fraction
    """What is added to each energy, in the caller's units."""
    source: Source | None
    """What the numbers of the problem's file mean; None where it is from no file."""

    def __init__(self, problem: Any, *, scale: Scale | None = None) -> None:
        form = _forms.read(problem, check_scale(scale))
        self._model = form.model
        self._used = form.used
        self._reals = form.reals
        self._factor = form.scale
        self.scale = plain(form.scale)
        self.largest_error = form.largest_error
        self.offset = form.offset
        self.source = form.source
        self._searched = self._model.facts().size
        self.size = self._searched if form.size is None else form.size
        self.variables = range(self.size) if form.variables is None else form.variables
        self._expect_to_fit()
        if self.largest_error > 0:
            _LOG.info(
                "coefficients were multiplied by 2^%d and rounded for the search; its energies are off by "
                "%.2g at most, those of results are not",
                math.frexp(float(form.scale))[1] - 1,
                self.largest_error,
            )

    @classmethod
    def _of_model(cls, model: Model, factor: Fraction, largest_error: float) -> Problem:
        """A problem of integers that the library holds already."""
        problem = cls.__new__(cls)
        problem._model, problem._used, problem._reals = model, None, None
        problem._factor, problem.scale = factor, plain(factor)
        problem.largest_error, problem.offset, problem.source = largest_error, Fraction(0), None
        problem._searched = problem.size = model.facts().size
        problem.variables = range(problem.size)
        return problem

    def presolve(self, *, full: bool = False) -> Presolved:
        """Takes out what can be taken out exactly, as :func:`solve` does before it searches.

        Parameters
        ----------
        full
            Tries all rules, however long they take.
        """
        return Presolved(self, full)

    # ---- whether a search is possible

    def _plan(self, options: Options = _OPEN) -> Plan:
        """The memory of a search with these options, if there can be one."""
        plan = Plan()
        if support.orvex_python_plan(self._model.pointer, ctypes.byref(options), ctypes.byref(plan)) != 0:
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
        """The energy of a bit vector, x'Qx with the coefficients as they were given.

        It is exact where no coefficient was rounded for the search, else the nearest float.

        Parameters
        ----------
        x
            `size` bits: an array or sequence of booleans, or of numbers 0 and 1.
        """
        words = self._words(x)
        return self._in_callers_units(self._energy(words), words)

    def objective(self, energy: int | float) -> int | float:
        """What an energy is in the terms of the problem's file: a cut, a value, a cost with its offset."""
        return energy if self.source is None else self.source.objective(energy)

    def _energy(self, words: Words) -> int:
        """The energy of the integers that are searched."""
        return self._model.energy(words)

    def _in_callers_units(self, energy: int, words: Words) -> int | float:
        """The energy of these bits, whose energy in the search is known."""
        if self._reals is not None:
            value = self._reals.energy(words, self._bits(words))
            return int(value) if value.is_integer() and abs(value) < 2**53 else value
        return self._from_search(Fraction(energy))

    def _from_search(self, energy: Fraction) -> int | float:
        """An energy of the search in the caller's units, for coefficients that were not rounded."""
        return plain(energy / self._factor + self.offset)

    def _bound(self, bound: int) -> int | float:
        """A lower bound of the energies in the search, as one of the true energies."""
        value = plain(Fraction(bound) / self._factor + self.offset)
        return value - self.largest_error if self.largest_error > 0 else value

    def _in_own_units(self, energy: Fraction) -> int:
        """The greatest energy of the search that is sure to be at or below one in the caller's units."""
        own = (energy - self.offset - Fraction(self.largest_error)) * self._factor
        return own.numerator // own.denominator

    def _words(self, x: Any, name: str = "the bit vector") -> Words:
        array = np.asarray(x)
        if array.shape != (self.size,):
            raise ValueError(f"{name} must have {self.size} bits, not the shape {array.shape}")
        if array.dtype.kind not in "biuf" or not np.isin(array, (0, 1)).all():
            raise ValueError(f"{name} must hold nothing but 0 and 1")
        chosen = array.astype(np.bool_)
        packed = np.packbits(chosen if self._used is None else chosen[self._used], bitorder="little")
        words = self._no_words()
        words.view(np.uint8)[: len(packed)] = packed
        return words

    def _random_words(self, seed: int) -> Words:
        """Bits of the variables that are searched, drawn from a seed."""
        words = self._no_words()
        drawn = np.random.default_rng(seed).integers(0, 2, self._searched, dtype=np.uint8)
        packed = np.packbits(drawn, bitorder="little")
        words.view(np.uint8)[: len(packed)] = packed
        return words

    def _groups(self, groups: Iterable[Iterable[int]]) -> list[list[int]]:
        """One-hot groups in the variables that are searched."""
        known = [[int(i) for i in group] for group in groups]
        for k, group in enumerate(known):
            for i in group:
                if not 0 <= i < self.size:
                    raise ValueError(f"groups[{k}] has the variable {i}, not from 0 to {self.size - 1}")
        if self._used is None:
            return known
        place = {int(i): k for k, i in enumerate(self._used)}
        left = [[place[i] for i in group if i in place] for group in known]
        return [group for group in left if len(group) > 1]

    def _no_words(self) -> Words:
        """The words of a bit vector in which nothing is set; variables without coefficients have none."""
        return np.zeros((self._searched + 63) // 64, dtype=np.uint64)

    def _bits(self, words: Words) -> Bits:
        searched = np.unpackbits(words.view(np.uint8), count=self._searched, bitorder="little")
        if self._used is None:
            return searched.astype(np.bool_)
        bits = np.zeros(self.size, dtype=np.bool_)
        bits[self._used] = searched
        return bits

    def __repr__(self) -> str:
        facts = self._model.facts()
        smallest, largest = (plain(Fraction(w) / self._factor) for w in (facts.smallest, facts.largest))
        return (
            f"<orvex.Problem: {self.size} variables, {facts.nonzero} coefficients from {smallest} to "
            f"{largest}>"
        )


def plain(number: Fraction) -> int | float:
    return int(number) if number.denominator == 1 else float(number)


def read(
    path: str | os.PathLike[str],
    format: str | None = None,
    *,
    instance: int | None = None,
    penalty: int | None = None,
    sense: Literal["min", "max"] | None = None,
    scale: Scale | None = None,
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
    scale
        How decimals become integers: "auto", the default, "exact" or a factor. "auto" multiplies the
        coefficients by the least power of ten that makes integers of all, if energies then fit into 64
        bits; else it rounds, as for arrays. "exact" refuses a text file's coefficients that are no whole
        numbers. See :class:`Problem`.

    Raises
    ------
    ValueError
        The file is not what it should be; the text names line and reason.
    """
    return Problem(File(path, format, instance, penalty, sense), scale=scale)


def as_problem(problem: Any, scale: Scale | None) -> Problem:
    """A problem as it is, or made of what states one."""
    if not isinstance(problem, Problem):
        return Problem(problem, scale=scale)
    if scale is not None:
        raise ValueError("scale= belongs to the Problem, which has been made already")
    return problem
