"""Coefficients as exact integers.

Integers are taken as they are, floats when they are whole numbers or when a scale makes them whole: a
float counts as scaled exactly if the integer, divided by the scale, gives the same float back. So 0.1
with a scale of 10 is 1, and 0.123 with a scale of 10 is refused. Where no small scale makes integers of
all, and the caller does not insist on it, the library rounds them (:mod:`._forms`).
"""

from __future__ import annotations

import math
import numbers
from collections.abc import Callable
from fractions import Fraction
from typing import Any, Literal, Union

import numpy as np
import numpy.typing as npt

Scale = Union[int, Literal["auto", "exact"]]
Ints = npt.NDArray[np.int64]
Floats = npt.NDArray[np.float64]
NameOf = Callable[[int], str]

_MOST = 2**63 - 1
#: Below this are the integers of a small scale: the library holds them in 32 bits, and whatever their
#: sums, energies fit into 64.
_SMALL = 2**31
_PIECE = 1 << 14
#: What is tried, in this order: decimal fractions, then binary ones.
_AUTOMATIC = [10**k for k in range(10)] + [2**k for k in range(1, 53)]


def check_scale(scale: object) -> Scale:
    """The scale as given, if it is one."""
    if scale is None:
        return "auto"
    if isinstance(scale, str) and scale in ("auto", "exact"):
        return "auto" if scale == "auto" else "exact"
    if isinstance(scale, numbers.Integral) and not isinstance(scale, bool):
        if 1 <= int(scale) <= 2**53:
            return int(scale)
    raise ValueError(f'scale must be a positive integer, "auto" or "exact", not {scale!r}')


def exact(value: object, name: str) -> Fraction:
    """A caller's number, exactly; a float means the decimal number that it prints as."""
    if isinstance(value, (bool, np.bool_)):
        raise TypeError(f"{name} must be a number, not {value!r}")
    if isinstance(value, numbers.Rational):
        return Fraction(int(value.numerator), int(value.denominator))
    if not isinstance(value, (numbers.Real, np.floating)):
        raise TypeError(f"{name} must be a number, not {value!r}")
    if not math.isfinite(value):
        raise _not_finite(name, value)
    return Fraction(str(value) if isinstance(value, np.floating) else repr(float(value)))


def listed(values: list[Any]) -> npt.NDArray[Any]:
    """Numbers of Python as an array: of integers or floats where that loses nothing, else of objects."""
    if all(type(value) is int and abs(value) < 2**63 for value in values):
        return np.array(values, dtype=np.int64)
    if all(isinstance(value, float) or type(value) is int and abs(value) < 2**53 for value in values):
        return np.array(values, dtype=np.float64)
    return objects(values)


def objects(values: list[Any]) -> npt.NDArray[Any]:
    """An array of whatever it is."""
    array = np.empty(len(values), dtype=object)
    array[:] = values
    return array


def integers(
    values: npt.NDArray[Any], scale: Scale, name_of: NameOf
) -> tuple[Ints, int] | None:
    """Coefficients as 64-bit integers, with the scale that they were multiplied by; None if the scale is
    "auto" and only rounding makes integers of them.

    `name_of` names the coefficient at an index, for messages.
    """
    if values.dtype.kind in "iub":
        factor = scale if isinstance(scale, int) else 1
        if values.dtype == np.uint64 or factor > 1:
            over = np.abs(values.astype(np.float64)) * factor >= 2.0**63
            if over.any():
                raise _too_large(int(np.argmax(over)), values, name_of)
        whole = values.astype(np.int64, copy=False)
        return (whole * factor if factor > 1 else whole), factor
    if values.dtype.kind == "f":
        return _from_floats(values.astype(np.float64, copy=False), scale, name_of)
    if values.dtype.kind == "O":
        return _from_objects(values, scale, name_of)
    raise TypeError(f"coefficients must be real numbers, not of type {values.dtype}")


def floats(values: npt.NDArray[Any], name_of: NameOf) -> Floats:
    """Coefficients as floats, a copy; their sums are finite."""
    try:
        array = np.array(values, dtype=np.float64)
    except OverflowError:
        array = np.array([_float(value) for value in values.tolist()])
    with np.errstate(over="ignore"):
        if not np.isfinite(np.abs(array).sum() * 4):
            largest = int(np.argmax(np.abs(array)))
            raise ValueError(
                f"{name_of(largest)} is {values[largest]}: energies would leave the range of floats"
            )
    return array


def _float(value: Any) -> float:
    try:
        return float(value)
    except OverflowError:
        return math.inf


def _too_large(at: int, values: npt.NDArray[Any], name_of: NameOf) -> ValueError:
    return ValueError(f"{name_of(at)} is {values[at]}, which does not fit into 64 bits")


def _not_finite(name: str, value: object) -> ValueError:
    return ValueError(f"{name} must be finite, not {value!r}")


def _not_whole(name: str, value: object, scale: Scale) -> ValueError:
    return ValueError(
        f"coefficients must be integers, but {name} is {value!r}, which scale={scale!r} does not make one"
    )


def _whole(values: Floats, scale: int, most: float) -> tuple[npt.NDArray[np.bool_], Any]:
    """Which values become whole numbers below `most`, exactly, and those numbers."""
    with np.errstate(invalid="ignore", over="ignore"):
        scaled = np.rint(values if scale == 1 else values * scale)
        same = scaled == values if scale == 1 else scaled / scale == values
        return same & (np.abs(scaled) < most), scaled


def _scaled(values: Floats, scale: int, most: float) -> Ints | int:
    """The integers, or the index of the first value that does not become one; piece by piece, for the
    cache."""
    result = np.empty(len(values), dtype=np.int64)
    for begin in range(0, len(values), _PIECE):
        whole, scaled = _whole(values[begin : begin + _PIECE], scale, most)
        if not whole.all():
            return begin + int(np.argmin(whole))
        result[begin : begin + _PIECE] = scaled
    return result


def _from_floats(values: Floats, scale: Scale, name_of: NameOf) -> tuple[Ints, int] | None:
    finite = np.isfinite(values)
    if not finite.all():
        at = int(np.argmin(finite))
        raise _not_finite(name_of(at), float(values[at]))
    first: int | None = None
    for factor in [scale] if isinstance(scale, int) else _AUTOMATIC:
        most = 2.0**63 if factor == 1 else _SMALL if scale == "auto" else 2.0**53
        result = _scaled(values, factor, most)
        if not isinstance(result, int):
            return result, factor
        first = result if first is None else first
    if scale == "auto":
        return None
    assert first is not None
    raise _not_whole(name_of(first), float(values[first]), scale)


def _from_objects(
    values: npt.NDArray[Any], scale: Scale, name_of: NameOf
) -> tuple[Ints, int] | None:
    fractions = [exact(value, name_of(at)) for at, value in enumerate(values.tolist())]
    if isinstance(scale, int):
        factor = scale
    else:
        factor = math.lcm(1, *{fraction.denominator for fraction in fractions})
    if scale == "auto" and factor > 1:
        if any(abs(fraction * factor) >= _SMALL for fraction in fractions):
            return None
    result = np.empty(len(fractions), dtype=np.int64)
    for at, fraction in enumerate(fractions):
        scaled = fraction * factor
        if scaled.denominator != 1:
            raise _not_whole(name_of(at), values[at], scale)
        if abs(scaled) > _MOST:
            raise _too_large(at, values, name_of)
        result[at] = int(scaled)
    return result, factor
