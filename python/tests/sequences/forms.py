"""Problems of random size, form and type of numbers, each with the table that tells its energies."""

from __future__ import annotations

import gzip
import pathlib
from fractions import Fraction
from typing import Any, NamedTuple

import dimod
import numpy as np
import scipy.sparse

from .reference import Table

_SIZES = [1, 2, 3, 4, 6, 8, 10, 10, 12, 20, 40, 63, 64, 65, 120, 200, 250]
#: Magnitudes of integers, and the numbers that they are divided by.
_WHOLE = [1, 9, 100, 3000, 10**9, 2**40]
_DENOMINATORS = [10, 100, 8, 3]
#: Larger problems are in no form that takes long for each coefficient.
_MOST_OF_OBJECTS = 40


class Given(NamedTuple):
    """What a problem is made of."""

    form: str
    problem: Any
    scale: Any
    table: Table


def random_table(draws: np.random.Generator) -> Table:
    """Integers, fractions or floats, many or few of them."""
    size = int(draws.choice(_SIZES))
    chosen = draws.random((size, size)) < draws.choice([0.1, 0.5, 1.0])
    kind = draws.choice(["whole", "fractions", "reals"], p=[0.5, 0.3, 0.2])
    if kind == "reals":
        return Table(draws.normal(size=(size, size)) * chosen * 10.0 ** draws.integers(-6, 7))
    most = int(draws.choice(_WHOLE)) if kind == "whole" else 1000
    least = 0 if draws.random() < 0.1 else -most
    numbers = draws.integers(least, most, (size, size), endpoint=True) * chosen
    if kind == "whole":
        return Table(numbers)
    denominators = _DENOMINATORS if size <= _MOST_OF_OBJECTS else _DENOMINATORS[:-1]
    return Table(numbers, int(draws.choice(denominators)))


def _elements(table: Table, draws: np.random.Generator) -> np.ndarray:
    """The table as an array of a type that holds its numbers."""
    objects: list[Any] = ["O"] if table.size <= _MOST_OF_OBJECTS else []
    if table.rounded:
        kinds: list[Any] = ["<f8", ">f8", np.longdouble, *objects]
        return table.table.astype(draws.choice(np.array(kinds, dtype=object)))
    if table.denominator == 3:
        elements = np.empty((table.size, table.size), dtype=object)
        elements[:] = [[Fraction(k, 3) for k in row] for row in table.table.tolist()]
        return elements
    if table.denominator > 1:
        kinds = ["<f8", ">f8", *(["<f4"] if table.denominator == 8 else []), *objects]
        return (table.table / table.denominator).astype(draws.choice(kinds))
    least, most = int(table.table.min()), int(table.table.max())
    kinds = objects
    for kind in ("i1", "u1", "<i2", ">i2", "u2", "<i4", ">i4", "u4", "<i8", ">i8", "u8"):
        if np.iinfo(kind).min <= least and most <= np.iinfo(kind).max:
            kinds.append(kind)
    kinds += [kind for kind, whole in (("f4", 2**24), ("f8", 2**53)) if max(-least, most) <= whole]
    kinds += ["?"] if 0 <= least and most <= 1 else []
    return table.table.astype(draws.choice(kinds))


def _matrix(table: Table, draws: np.random.Generator, folder: pathlib.Path) -> Any:
    elements = _elements(table, draws)
    layout = draws.integers(4)
    if layout == 1:
        return np.asfortranarray(elements)
    if layout == 2:
        wide = np.zeros((2 * table.size, 2 * table.size), dtype=elements.dtype)
        wide[::2, 1::2] = elements
        return wide[::2, 1::2]
    if layout == 3:
        elements.setflags(write=False)
    return elements


def _list(table: Table, draws: np.random.Generator, folder: pathlib.Path) -> Any:
    return _elements(table, draws).tolist()


def _sparse(table: Table, draws: np.random.Generator, folder: pathlib.Path) -> Any:
    elements = _elements(table, draws)
    kind = elements.dtype.newbyteorder("=")
    if kind.kind == "O" or kind.kind == "g" or kind == np.longdouble:
        kind = np.dtype("f8")
    row, column = np.nonzero(table.table)
    values = elements[row, column].astype(kind)
    entries = scipy.sparse.coo_matrix((values, (row, column)), shape=elements.shape)
    return getattr(entries, draws.choice(["tocoo", "tocsr", "tocsc", "tolil", "todok"]))()


def _mapping(table: Table, draws: np.random.Generator, folder: pathlib.Path) -> Any:
    """Numbered variables, of which the last has a number though it may have no coefficient."""
    elements = _elements(table, draws).tolist()
    row, column = np.nonzero(table.table)
    given = {(i, j): elements[i][j] for i, j in zip(row.tolist(), column.tolist())}
    given.setdefault((table.size - 1, table.size - 1), 0)
    return {key: int(value) if value is True else value for key, value in given.items()}


def _labels(table: Table, draws: np.random.Generator, folder: pathlib.Path) -> Any:
    numbered = _mapping(table, draws, folder)
    for i in range(table.size):
        numbered.setdefault((i, i), 0)
    table.labels = [("v", i) if i % 2 else f"v{i}" for i in range(table.size)]
    items = [((table.labels[i], table.labels[j]), value) for (i, j), value in numbered.items()]
    return dict(items[k] for k in draws.permutation(len(items)))


def _bqm(table: Table, draws: np.random.Generator, folder: pathlib.Path) -> Any:
    """Biases as dimod keeps them, once for each pair; so the table becomes a triangle, and what was rounded on the way
    is its own."""
    table.spins = bool(draws.integers(2))
    table.table = np.triu(table.table) + np.tril(table.table, -1).T
    table.offset = draws.normal() if table.rounded else int(draws.integers(-50, 50))
    table.labels = [f"v{i}" for i in range(table.size)]
    bqm = dimod.BinaryQuadraticModel("SPIN" if table.spins else "BINARY")
    bqm.offset = table.offset / table.denominator
    for label, bias in zip(table.labels, (table.table.diagonal() / table.denominator).tolist()):
        bqm.add_variable(label, bias)
    row, column = np.nonzero(np.triu(table.table, 1))
    for i, j in zip(row.tolist(), column.tolist()):
        bqm.add_quadratic(table.labels[i], table.labels[j], table.table[i, j] / table.denominator)
    return bqm


def _file(table: Table, draws: np.random.Generator, folder: pathlib.Path) -> Any:
    upper = np.triu(table.table) + np.tril(table.table, -1).T
    row, column = np.nonzero(upper)
    lines = [f"{table.size} {len(row)} {upper.min()} {upper.max()}"]
    lines += [f"{i} {j} {upper[i, j]}" for i, j in zip(row, column)]
    text = "\n".join([*lines, ""]).encode()
    compressed = bool(draws.integers(2))
    path = folder / f"model-{len(list(folder.iterdir()))}.qubo{'.gz' if compressed else ''}"
    path.write_bytes(gzip.compress(text) if compressed else text)
    return str(path) if draws.integers(2) else path


_FORMS = {
    "matrix": _matrix, "list": _list, "sparse": _sparse, "mapping": _mapping, "labels": _labels, "bqm": _bqm,
    "file": _file,
}  # fmt: skip


def random_given(numbers: tuple[int, ...], folder: pathlib.Path) -> Given:
    draws = np.random.default_rng(numbers)
    table = random_table(draws)
    forms = list(_FORMS)
    if table.rounded or table.denominator > 1:
        forms.remove("file")  # of integers
    if table.denominator == 3:
        forms = ["matrix", "list", "mapping", "labels"]  # which fractions can be in
    if table.size > _MOST_OF_OBJECTS and "bqm" in forms:
        forms.remove("bqm")
    form = str(draws.choice(forms))
    problem = _FORMS[form](table, draws, folder)
    scale: Any = draws.choice(np.array([None, "auto", "exact", table.denominator], dtype=object))
    if table.rounded and scale not in (None, "auto"):
        scale = None
    if form in ("bqm", "file"):
        scale = None
    return Given(form, problem, scale, table)


def random_bqm(numbers: tuple[int, ...], folder: pathlib.Path) -> tuple[Any, Table]:
    draws = np.random.default_rng(numbers)
    table = random_table(draws)
    while table.denominator == 3 or table.size > _MOST_OF_OBJECTS:
        table = random_table(draws)
    return _bqm(table, draws, folder), table


def change(given: Any) -> None:
    """Changes what a problem was made of, wherever that can be changed."""
    if isinstance(given, (str, pathlib.Path)):
        pathlib.Path(given).write_text("2 1 0 1\n0 1 1\n")
    elif isinstance(given, dict):
        given.clear()
    elif isinstance(given, list):
        given[0][0] = 7
        given.append("more")
    elif isinstance(given, dimod.BinaryQuadraticModel):
        given.scale(-3)
    elif isinstance(given, np.ndarray):
        if given.flags.writeable:
            given[:] = 1
    elif given.format in ("lil", "dok"):
        given[0, 0] = 5
    else:
        given.data[:] = 1
