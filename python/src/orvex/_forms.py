"""What callers state problems by: each form is checked, read into integers, and handed to the library as
a matrix, as a list of terms or as the path of a file. Variables without a coefficient are left out
before."""

from __future__ import annotations

import os
from collections.abc import Hashable, Mapping, Sequence
from dataclasses import dataclass
from fractions import Fraction
from typing import Any

import numpy as np
import numpy.typing as npt

from ._files import NPZ, File, Source, load_npz, open_file
from ._library import Scaling, max_size, max_variables, support
from ._memory import expect_memory
from ._model import Biases, Model, RealMatrix, Reals, RealTerms
from ._numbers import NameOf, Scale, exact, floats, integers, listed, objects

#: Numbered variables are at most this many, with and without coefficients: each is a bit of every solution.
_MOST_NUMBERED = 10_000_000


@dataclass
class Form:
    """A problem as the library holds it."""

    model: Model
    scale: Fraction = Fraction(1)
    size: int | None = None  # None: that of the model
    used: npt.NDArray[np.int64] | None = None  # the variables of the model, where it has not all
    offset: Fraction = Fraction(0)
    variables: Sequence[Hashable] | None = None  # None: the numbers from 0 on
    source: Source | None = None  # what the numbers of a file mean
    reals: Reals | None = None  # what the integers were rounded from; its energies have the offset
    largest_error: float = 0.0


class Terms:
    """A sum of terms, handed over as sparse matrices are."""

    def __init__(self, size: int, pairs: npt.NDArray[Any], values: npt.NDArray[Any]) -> None:
        self.shape = (size, size)
        self.row, self.col, self.data = pairs[:, 0], pairs[:, 1], values

    def tocoo(self) -> Terms:
        return self


def read(problem: Any, scale: Scale) -> Form:
    """A problem from whatever states it."""
    if isinstance(problem, (str, os.PathLike)):
        problem = File(problem)
    if isinstance(problem, File):
        return _from_file(problem, scale)
    if all(hasattr(problem, name) for name in ("vartype", "iter_quadratic", "get_linear")):
        return _from_bqm(problem, scale)
    if hasattr(problem, "tocoo"):  # before mappings: some sparse matrices of scipy are dictionaries
        return _from_sparse(problem, scale)
    if isinstance(problem, Mapping):
        return _from_mapping(problem, scale)
    return _from_matrix(problem, scale)


def _from_file(file: File, scale: Scale) -> Form:
    if file.is_npz():
        form = _from_sparse(load_npz(file), scale)
        form.source = NPZ
        return form
    pointer, source, scaled = open_file(file, scale)
    model = Model(pointer)
    reals = RealTerms.of_file(model, scaled.reals) if scaled.reals > 0 else None
    return Form(
        model, scaled.scale, source=source, reals=reals, largest_error=scaled.largest_error
    )


def _from_bqm(bqm: Any, scale: Scale) -> Form:
    """Spins become bits by s = 2 x - 1, in exact fractions."""
    spins = bqm.vartype.name == "SPIN"
    labels = list(bqm.variables)
    at = {label: k for k, label in enumerate(labels)}
    linear = [bqm.get_linear(label) for label in labels]
    quadratic = list(bqm.iter_quadratic())
    terms: dict[tuple[int, int], Fraction] = {}
    offset = exact(bqm.offset, "the offset")

    def add(i: int, j: int, value: Fraction) -> None:
        terms[i, j] = terms.get((i, j), Fraction(0)) + value

    for k, label in enumerate(labels):
        bias = exact(linear[k], f"the bias of {label!r}")
        add(k, k, 2 * bias if spins else bias)
        offset -= bias if spins else 0
    for u, v, value in quadratic:
        bias, i, j = exact(value, f"the bias of {u!r}, {v!r}"), at[u], at[v]
        add(min(i, j), max(i, j), 4 * bias if spins else bias)
        if spins:
            add(i, i, -2 * bias)
            add(j, j, -2 * bias)
            offset += bias
    pairs = list(terms)

    def name_of(k: int) -> str:
        names = ", ".join(repr(labels[i]) for i in dict.fromkeys(pairs[k]))
        return f"the coefficient of {names}" + (" (in bits)" if spins else "")

    values = objects(list(terms.values()))
    form = _from_terms(len(labels), _pairs(pairs), values, scale, name_of)
    if form.reals is not None:
        form.reals = Biases(
            spins,
            float(bqm.offset),
            np.array(linear, dtype=np.float64),
            _pairs([(at[u], at[v]) for u, v, _ in quadratic]),
            np.array([value for *_, value in quadratic], dtype=np.float64),
        )
    form.offset, form.variables = offset, labels
    return form


def _from_mapping(mapping: Mapping[Any, Any], scale: Scale) -> Form:
    keys = list(mapping)
    for key in keys:
        if not isinstance(key, tuple) or len(key) != 2:
            raise TypeError(f"a problem's keys are pairs of variables, not {key!r}")
    labels: Sequence[Any] = list(dict.fromkeys(label for key in keys for label in key))
    if all(isinstance(label, (int, np.integer)) for label in labels):
        if any(label < 0 for label in labels):
            raise ValueError("variables that are numbers begin with 0")
        size = 1 + max((int(label) for label in labels), default=-1)
        _expect_size(size)
        labels = range(size)
        pairs = [(int(i), int(j)) for i, j in keys]
    else:
        at = {label: k for k, label in enumerate(labels)}
        pairs = [(at[i], at[j]) for i, j in keys]
    form = _from_terms(
        len(labels),
        _pairs(pairs),
        listed(list(mapping.values())),
        scale,
        lambda k: f"the coefficient of {keys[k]!r}",
    )
    form.variables = labels
    return form


def _from_sparse(matrix: Any, scale: Scale) -> Form:
    size = _square(matrix.shape)
    entries = matrix.tocoo()
    row, column = entries.row, entries.col
    return _from_terms(
        size, np.column_stack([row, column]), entries.data, scale,
        lambda k: f"[{row[k]}, {column[k]}]",
    )  # fmt: skip


def _from_matrix(problem: Any, scale: Scale) -> Form:
    kind = type(problem).__name__
    try:
        matrix = np.asarray(problem)
    except ValueError as error:
        raise TypeError(f"no problem can be made of this {kind}") from error
    if matrix.ndim == 0 or matrix.dtype.kind not in "iubfO":
        raise TypeError(f"no problem can be made of a {kind}")
    size = _square(matrix.shape)
    _expect_searchable(size)
    as_it_is = matrix.dtype.kind in "iub" and matrix.dtype.isnative and not isinstance(scale, int)
    expect_memory(_least(size) + (0 if as_it_is else 8 * size**2), _takes(size))
    factor = 1
    if as_it_is:
        values = matrix.view(np.uint8) if matrix.dtype == np.bool_ else matrix
    else:
        flat = matrix.reshape(-1)
        made = integers(flat, scale, lambda k: f"[{k // size}, {k % size}]")
        if made is None:
            # The copy, the triangle with what makes it, and the integers before they are narrowed.
            expect_memory(_least(size) + 28 * size**2, _takes(size))
            elements = floats(flat, lambda k: f"[{k // size}, {k % size}]")
            reals = RealMatrix(elements.reshape(size, size))
            return _rounded(reals, *reals.model())
        values, factor = made
    values = np.ascontiguousarray(values)
    element = f"{values.dtype.kind}{values.dtype.itemsize}".encode()
    pointer = support.orvex_python_from_matrix(size, element, values.ctypes.data)
    return Form(Model(pointer), Fraction(factor))


def _from_terms(
    size: int,
    pairs: npt.NDArray[Any],
    values: npt.NDArray[Any],
    scale: Scale,
    name_of: NameOf,
) -> Form:
    _expect_size(size)
    made = integers(values, scale, name_of)
    numbers = floats(values, name_of) if made is None else made[0]
    used = _used(size, pairs[numbers != 0])
    searched = size
    if used is not None:
        pairs, numbers = np.searchsorted(used, pairs[numbers != 0]), numbers[numbers != 0]
        searched = len(used)
    if searched > max_variables():
        raise ValueError(f"{searched} variables are more than a problem may have, {max_variables()}")
    expect_memory(64 * len(numbers) + 32 * searched, _takes(searched))
    if made is None:
        reals = RealTerms(searched, pairs, numbers.astype(np.float64, copy=False))
        form = _rounded(reals, *reals.model())
    else:
        form = Form(Model.of_terms(searched, pairs, numbers), Fraction(made[1]))
    form.size, form.used = size, used
    return form


def _rounded(reals: Reals, model: Model, scaling: Scaling) -> Form:
    return Form(
        model, Fraction(scaling.factor), reals=reals, largest_error=scaling.largest_error
    )  # fmt: skip


def _used(size: int, pairs: npt.NDArray[Any]) -> npt.NDArray[np.int64] | None:
    """The variables that occur, at least one; None if all do."""
    used: npt.NDArray[np.int64] = np.unique(pairs).astype(np.int64)
    if len(used) == size:
        return None
    return used if len(used) else np.zeros(1, dtype=np.int64)


def _pairs(numbered: list[tuple[int, int]]) -> npt.NDArray[np.uint32]:
    return np.array(numbered, dtype=np.uint32).reshape(-1, 2)


def _square(shape: tuple[int, ...]) -> int:
    if len(shape) != 2 or shape[0] != shape[1]:
        raise ValueError(f"a problem's matrix is square, not of shape {shape}")
    _expect_size(shape[0])
    return shape[0]


def _expect_size(size: int) -> None:
    if size < 1:
        raise ValueError("a problem needs at least one variable")
    if size > _MOST_NUMBERED:
        raise ValueError(
            f"the variables are numbered up to {size - 1}, and at most {_MOST_NUMBERED} can be; those "
            "without a coefficient need no number"
        )


def _expect_searchable(size: int) -> None:
    if size < 1:
        raise ValueError("a problem needs at least one variable")
    if size > max_size():
        raise ValueError(f"{size} variables are more than this build solves, {max_size()}")


def _least(size: int) -> int:
    """What the model and its band take at the least: 1 byte and 4 bytes for each pair."""
    return 5 * size**2


def _takes(size: int) -> str:
    return f"a problem of {size} variables takes at least"
