"""Coefficients as exact integers.

Integers are taken as they are, floats only when they are whole numbers, or when a scale makes them
whole: a float counts as scaled exactly if the integer, divided by the scale, gives the same float
back. So 0.1 with a scale of 10 is 1, and 0.123 with a scale of 10 is refused.
"""

from __future__ import annotations

import math
import numbers
from collections.abc import Callable
from fractions import Fraction
from typing import Any, Literal, Union

import numpy as np
import numpy.typing as npt

Scale = Union[int, Literal["auto"]]
Ints = npt.NDArray[np.int64]
NameOf = Callable[[int], str]

_MOST = 2**63 - 1
_PIECE = 1 << 14
#: What "auto" tries, in this order: decimal fractions, then binary ones.
_AUTOMATIC = [10**k for k in range(10)] + [2**k for k in range(1, 53)]


def check_scale(scale: object) -> Scale | None:
    """The scale as given, if it is one."""
    if scale is None:
        return None
    if isinstance(scale, str) and scale == "auto":
        return "auto"
    if isinstance(scale, numbers.Integral) and not isinstance(scale, bool):
        if 1 <= int(scale) <= 2**53:
            return int(scale)
    raise ValueError(f'scale must be a positive integer or "auto", not {scale!r}')


def exact(value: object, name: str) -> Fraction:
    """A caller's number, exactly; a float means the decimal number that it prints as."""
    if isinstance(value, (bool, np.bool_)):
        raise TypeError(f"{name} must be a number, not {value!r}")
    if isinstance(value, numbers.Rational):
        return Fraction(int(value.numerator), int(value.denominator))
    if not isinstance(value, (numbers.Real, np.floating)):
        raise TypeError(f"{name} must be a number, not {value!r}")
    if not math.isfinite(value):
        raise ValueError(f"{name} must be finite, not {value!r}")
    return Fraction(str(value) if isinstance(value, np.floating) else repr(float(value)))


def integers(values: npt.NDArray[Any], scale: Scale | None, name_of: NameOf) -> tuple[Ints, int]:
    """Coefficients as 64-bit integers, with the scale that they were multiplied by.

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
    raise TypeError(f"coefficients must be integers, not of type {values.dtype}")


def _too_large(at: int, values: npt.NDArray[Any], name_of: NameOf) -> ValueError:
    return ValueError(f"{name_of(at)} is {values[at]}, which does not fit into 64 bits")


def _not_whole(name: str, value: object, scale: Scale | None) -> ValueError:
    text = f"coefficients must be integers, but {name} is {value!r}"
    if scale is None:
        return ValueError(text + "; scale= multiplies all of them, if that makes them integers")
    return ValueError(text + f", which scale={scale!r} does not make one")


def _whole(values: npt.NDArray[np.float64], scale: int) -> tuple[npt.NDArray[np.bool_], Any]:
    """Which values become whole numbers, exactly, and those numbers."""
    with np.errstate(invalid="ignore", over="ignore"):
        scaled = np.rint(values if scale == 1 else values * scale)
        most = 2.0**53 if scale > 1 else 2.0**63
        same = scaled == values if scale == 1 else scaled / scale == values
        return same & (np.abs(scaled) < most), scaled


def _scaled(values: npt.NDArray[np.float64], scale: int) -> Ints | int:
    """The integers, or the index of the first value that does not become one; piece by piece, for the
    cache."""
    result = np.empty(len(values), dtype=np.int64)
    for begin in range(0, len(values), _PIECE):
        whole, scaled = _whole(values[begin : begin + _PIECE], scale)
        if not whole.all():
            return begin + int(np.argmin(whole))
        result[begin : begin + _PIECE] = scaled
    return result


def _from_floats(
    values: npt.NDArray[np.float64], scale: Scale | None, name_of: NameOf
) -> tuple[Ints, int]:
    factors = _AUTOMATIC if scale == "auto" else [scale or 1]
    first: int | None = None
    for factor in factors:
        result = _scaled(values, factor)
        if not isinstance(result, int):
            return result, factor
        first = result if first is None else first
    assert first is not None
    raise _not_whole(name_of(first), float(values[first]), scale)


def _from_objects(
    values: npt.NDArray[Any], scale: Scale | None, name_of: NameOf
) -> tuple[Ints, int]:
    fractions = [exact(value, name_of(at)) for at, value in enumerate(values.tolist())]
    if scale == "auto":
        factor = math.lcm(1, *{fraction.denominator for fraction in fractions})
    else:
        factor = scale or 1
    result = np.empty(len(fractions), dtype=np.int64)
    for at, fraction in enumerate(fractions):
        scaled = fraction * factor
        if scaled.denominator != 1:
            raise _not_whole(name_of(at), values[at], scale)
        if abs(scaled) > _MOST:
            raise _too_large(at, values, name_of)
        result[at] = int(scaled)
    return result, factor
