"""What callers state problems by: each form is checked, read into exact integers, and handed to the
library as a matrix, as a list of terms or as the path of a file."""

from __future__ import annotations

import os
from collections.abc import Hashable, Iterable, Mapping, Sequence
from dataclasses import dataclass
from fractions import Fraction
from typing import Any

import numpy as np
import numpy.typing as npt

from ._files import NPZ, File, Source, load_npz, open_file
from ._library import failure, max_size, support
from ._memory import expect_memory
from ._numbers import NameOf, Scale, exact, integers


@dataclass
class Form:
    """A problem as the library holds it."""

    pointer: int
    scale: int = 1
    offset: Fraction = Fraction(0)
    variables: Sequence[Hashable] | None = None  # None: the numbers from 0 on
    source: Source | None = None  # what the numbers of a file mean


def read(problem: Any, scale: Scale | None) -> Form:
    """A problem from whatever states it."""
    if isinstance(problem, (str, os.PathLike)):
        problem = File(problem)
    if isinstance(problem, File):
        return _from_file(problem, scale)
    if all(hasattr(problem, name) for name in ("vartype", "iter_quadratic", "get_linear")):
        return _from_bqm(problem, scale)
    if isinstance(problem, Mapping):
        return _from_mapping(problem, scale)
    if hasattr(problem, "tocoo"):
        return _from_sparse(problem, scale)
    return _from_matrix(problem, scale)


def _from_file(file: File, scale: Scale | None) -> Form:
    if file.is_npz():
        form = _from_sparse(load_npz(file), scale)
        form.source = NPZ
        return form
    if scale not in (None, 1, "auto"):
        raise ValueError("scale= has no use for a file of text, whose coefficients are integers")
    pointer, source = open_file(file)
    return Form(pointer, source=source)


def _from_bqm(bqm: Any, scale: Scale | None) -> Form:
    """Spins become bits by s = 2 x - 1, in exact fractions."""
    spins = bqm.vartype.name == "SPIN"
    labels = list(bqm.variables)
    at = {label: k for k, label in enumerate(labels)}
    terms: dict[tuple[int, int], Fraction] = {}
    offset = exact(bqm.offset, "the offset")

    def add(i: int, j: int, value: Fraction) -> None:
        terms[i, j] = terms.get((i, j), Fraction(0)) + value

    for label in labels:
        bias, k = exact(bqm.get_linear(label), f"the bias of {label!r}"), at[label]
        add(k, k, 2 * bias if spins else bias)
        offset -= bias if spins else 0
    for u, v, value in bqm.iter_quadratic():
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

    form = _from_terms(len(labels), _pairs(pairs), _objects(terms.values()), scale, name_of)
    form.offset, form.variables = offset, labels
    return form


def _from_mapping(mapping: Mapping[Any, Any], scale: Scale | None) -> Form:
    keys = list(mapping)
    for key in keys:
        if not isinstance(key, tuple) or len(key) != 2:
            raise TypeError(f"a problem's keys are pairs of variables, not {key!r}")
    labels: list[Any] = list(dict.fromkeys(label for key in keys for label in key))
    if all(isinstance(label, (int, np.integer)) for label in labels):
        if any(label < 0 for label in labels):
            raise ValueError("variables that are numbers begin with 0")
        size = 1 + max((int(label) for label in labels), default=-1)
        _expect_size(size)
        labels = list(range(size))
    at = {label: k for k, label in enumerate(labels)}
    values = list(mapping.values())
    plain = all(type(value) is int and abs(value) < 2**63 for value in values)
    form = _from_terms(
        len(labels),
        _pairs([(at[i], at[j]) for i, j in keys]),
        np.array(values, dtype=np.int64) if plain else _objects(values),
        scale,
        lambda k: f"the coefficient of {keys[k]!r}",
    )
    form.variables = labels
    return form


def _from_sparse(matrix: Any, scale: Scale | None) -> Form:
    size = _square(matrix.shape)
    expect_memory(_least(size) + 64 * int(matrix.nnz), _takes(size))
    rows = matrix.tocsr(copy=True)
    rows.sum_duplicates()
    coo = rows.tocoo()
    row, column, data = coo.row, coo.col, coo.data
    lower = row > column
    if data[lower].any():
        transposed = rows.T.tocsr()
        different = (rows != transposed).tocoo()
        if different.nnz:
            i, j = int(different.row[0]), int(different.col[0])
            i, j = max(i, j), min(i, j)
            raise ValueError(
                "the matrix is neither symmetric nor upper triangular: "
                f"[{i}, {j}] is {rows[i, j]} and [{j}, {i}] is {rows[j, i]}"
            )
    row, column, data = row[~lower], column[~lower], data[~lower]
    pairs = np.column_stack([row, column])
    return _from_terms(size, pairs, data, scale, lambda k: f"[{row[k]}, {column[k]}]")


def _from_matrix(problem: Any, scale: Scale | None) -> Form:
    kind = type(problem).__name__
    try:
        matrix = np.asarray(problem)
    except ValueError as error:
        raise TypeError(f"no problem can be made of this {kind}") from error
    if matrix.ndim == 0 or matrix.dtype.kind not in "iubfO":
        raise TypeError(f"no problem can be made of a {kind}")
    size = _square(matrix.shape)
    as_it_is = matrix.dtype.kind in "iub" and matrix.dtype.isnative and scale in (None, 1, "auto")
    expect_memory(_least(size) + (0 if as_it_is else 8 * size**2), _takes(size))
    factor = 1
    if as_it_is:
        values = matrix.view(np.uint8) if matrix.dtype == np.bool_ else matrix
    else:
        values, factor = integers(
            matrix.reshape(-1), scale, lambda k: f"[{k // size}, {k % size}]"
        )
    values = np.ascontiguousarray(values)
    element = f"{values.dtype.kind}{values.dtype.itemsize}".encode()
    pointer = support.orvex_python_from_matrix(size, element, values.ctypes.data)
    return Form(_made(pointer), factor)


def _from_terms(
    size: int,
    pairs: npt.NDArray[Any],
    values: npt.NDArray[Any],
    scale: Scale | None,
    name_of: NameOf,
) -> Form:
    _expect_size(size)
    expect_memory(_least(size) + 64 * len(values), _takes(size))
    numbers, factor = integers(values, scale, name_of)
    numbers = np.ascontiguousarray(numbers)
    indices = np.ascontiguousarray(pairs, dtype=np.uint32)
    pointer = support.orvex_python_from_terms(
        size, len(numbers), indices.ctypes.data, numbers.ctypes.data
    )
    return Form(_made(pointer), factor)


def _made(pointer: int | None) -> int:
    if not pointer:
        raise failure()
    return pointer


def _pairs(listed: list[tuple[int, int]]) -> npt.NDArray[np.uint32]:
    return np.array(listed, dtype=np.uint32).reshape(-1, 2)


def _objects(values: Iterable[Any]) -> npt.NDArray[Any]:
    listed = list(values)
    array = np.empty(len(listed), dtype=object)
    array[:] = listed
    return array


def _square(shape: tuple[int, ...]) -> int:
    if len(shape) != 2 or shape[0] != shape[1]:
        raise ValueError(f"a problem's matrix is square, not of shape {shape}")
    _expect_size(shape[0])
    return shape[0]


def _expect_size(size: int) -> None:
    if size < 1:
        raise ValueError("a problem needs at least one variable")
    if size > max_size():
        raise ValueError(f"{size} variables are more than this build solves, {max_size()}")


def _least(size: int) -> int:
    """What the model and its band take at the least: 1 byte and 4 bytes for each pair."""
    return 5 * size**2


def _takes(size: int) -> str:
    return f"a problem of {size} variables takes at least"
