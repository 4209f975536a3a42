"""Problems' files: which file, in which format, and what its numbers mean. Texts are read by the package's
library; scipy's .npz by scipy.
"""

from __future__ import annotations

import operator
import os
import sys
import warnings
from ctypes import byref, c_int64
from dataclasses import dataclass
from fractions import Fraction
from typing import Any, Literal, Union
from zipfile import BadZipFile

from ._library import failure, support
from ._numbers import Scale

_ZIP = b"PK\x03\x04"


class FileWarning(UserWarning):
    """Tells what is odd about a problem's file, but harmless."""


@dataclass(frozen=True)
class Source:
    """What the numbers of a problem's file mean."""

    format: str
    """The name of the format."""
    index_base: int
    """The number of the first variable, node or vertex in the file."""
    factor: int
    """The weight of a pair of two variables is this multiple of the entry of the file."""
    sense: Literal["minimised", "maximised"]
    """What the file wants of its objective."""
    offset: int | float
    """The objective at energy 0."""
    equation: str
    """How the objective follows from the energy, such as "cut = -energy"."""
    note: str
    """What else must be known, such as the penalty; may be empty."""

    def objective(self, energy: int | float) -> int | float:
        """What an energy is in the terms of the file."""
        return self.offset - energy if self.sense == "maximised" else energy + self.offset


NPZ = Source("npz", 0, 1, "minimised", 0, "objective = energy", "")


@dataclass(frozen=True)
class File:
    """A file, and what is known of it beforehand; :func:`read` tells what the fields mean."""

    path: Union[str, "os.PathLike[str]"]
    format: str | None = None
    instance: int | None = None
    penalty: int | None = None
    sense: Literal["min", "max"] | None = None

    def __post_init__(self) -> None:
        if b"\0" in self.name:
            raise ValueError("the path of a model file cannot hold a null character")
        if not os.path.exists(self.name):
            raise FileNotFoundError(f"there is no model file {os.fsdecode(self.name)}")
        known = [*support.orvex_python_formats().decode().split(", "), NPZ.format]
        if self.format is not None and self.format not in known:
            raise ValueError(f"there is no format {self.format!r}; there are {', '.join(known)}")
        for option in ("instance", "penalty"):
            value = getattr(self, option)
            if value is not None and (
                isinstance(value, bool) or not hasattr(value, "__index__") or not 1 <= value < 2**63
            ):
                raise ValueError(f"{option} must be a positive integer of 64 bits, not {value!r}")
        if self.sense not in (None, "min", "max"):
            raise ValueError(f'sense must be "min" or "max", not {self.sense!r}')

    @property
    def name(self) -> bytes:
        return os.fsencode(self.path)

    def is_npz(self) -> bool:
        """Whether the caller says so, or the contents do."""
        if self.format is not None or not os.path.isfile(self.name):
            return self.format == NPZ.format
        with open(self.name, "rb") as file:
            return file.read(len(_ZIP)) == _ZIP


@dataclass(frozen=True)
class Scaled:
    """How the coefficients of a file became integers."""

    scale: Fraction
    """What they were multiplied by."""
    largest_error: float
    """Of an energy of the search, where they were rounded."""
    reals: int
    """How many coefficients were rounded, if any."""


def open_file(file: File, scale: Scale) -> tuple[int, Source, Scaled]:
    """The problem of a file of text, as the library holds it."""
    pointer: int | None = support.orvex_python_from_file(
        file.name,
        (file.format or "").encode(),
        _optional(file.instance),
        _optional(file.penalty),
        (file.sense or "").encode(),
        str(scale).encode(),
    )
    if not pointer:
        raise failure()
    lines = [line.partition("=") for line in os.fsdecode(support.orvex_python_source(pointer)).split("\n")]
    for name, _, value in lines:
        if name == "warning":
            warnings.warn(value, FileWarning, stacklevel=_level_of_caller())
    known: dict[str, Any] = {name: value for name, _, value in lines if name != "warning"}
    scaled = Scaled(
        _fraction(known.pop("scale")), float(known.pop("largest_error")), int(known.pop("reals"))
    )
    for name in ("index_base", "factor"):
        known[name] = int(known[name])
    known["offset"] = _number(known["offset"])
    return pointer, Source(**known), scaled


def _number(text: str) -> int | float:
    try:
        return int(text)
    except ValueError:
        return float(text)


def _fraction(text: str) -> Fraction:
    return Fraction(_number(text))


def _level_of_caller() -> int:
    """How far up the first function is that is not of this package."""
    package = os.path.dirname(__file__)
    frame, level = sys._getframe(1), 1
    while frame.f_back is not None and frame.f_code.co_filename.startswith(package):
        frame, level = frame.f_back, level + 1
    return level


def _optional(value: int | None) -> Any:
    return None if value is None else byref(c_int64(operator.index(value)))


def load_npz(file: File) -> Any:
    """The matrix of a file that scipy saved."""
    if file.instance is not None or file.penalty is not None or file.sense is not None:
        raise ValueError("a .npz file has no instance, penalty or sense to choose")
    try:
        from scipy.sparse import load_npz as load
    except ImportError as error:
        raise ValueError("scipy, which reads .npz files, is not installed") from error
    try:
        return load(os.fsdecode(file.name))
    except (OSError, ValueError, KeyError, EOFError, BadZipFile) as error:
        raise ValueError(f"{os.fsdecode(file.name)} is no sparse matrix of scipy: {error}") from error
