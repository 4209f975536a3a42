"""What all searches have in common, as it travels: problem, settings, starts, hints, groups, compressed.

A problem's terms come row after row, so that rows are told by their lengths, columns by their steps, which are
mostly small and alike, and weights in the narrowest type; that is what makes zlib worth its time.
"""

from __future__ import annotations

import io
import pickle
import zlib
from typing import Any

import numpy as np
import numpy.typing as npt

from .._model import Model
from .._problem import Problem

Ints = npt.NDArray[Any]


class Payload:
    """The problem and the arguments of every search."""

    def __init__(self, problem: Problem, arguments: dict[str, Any]) -> None:
        stream = io.BytesIO()
        _Packer(stream, protocol=5).dump((problem, arguments))
        self.packed = zlib.compress(stream.getbuffer(), level=1)

    def unpacked(self) -> tuple[Problem, dict[str, Any]]:
        """In another process: a problem of its own."""
        problem, arguments = pickle.loads(zlib.decompress(self.packed))
        return problem, arguments

    def __sizeof__(self) -> int:
        return len(self.packed)


class _Packer(pickle.Pickler):
    def reducer_override(self, thing: Any) -> Any:
        if type(thing) is not Model:
            return NotImplemented
        _, (size, pairs, values) = thing.__reduce__()
        lengths = np.bincount(pairs[:, 0], minlength=size)
        steps = np.diff(pairs[:, 1].astype(np.int64), prepend=0)
        return _model, (size, _narrow(lengths), _narrow(steps), _narrow(values))


def _narrow(numbers: Ints) -> Ints:
    """The same integers in the narrowest type that holds them all."""
    least, most = (int(numbers.min()), int(numbers.max())) if len(numbers) else (0, 0)
    for kind in (np.int8, np.int16, np.int32):
        if np.iinfo(kind).min <= least and most <= np.iinfo(kind).max:
            return numbers.astype(kind)
    return numbers


def _model(size: int, lengths: Ints, steps: Ints, values: Ints) -> Model:
    pairs = np.empty((len(values), 2), dtype=np.uint32)
    pairs[:, 0] = np.repeat(np.arange(size, dtype=np.uint32), lengths)
    pairs[:, 1] = np.cumsum(steps, dtype=np.int64)
    return Model.of_terms(size, pairs, values)
