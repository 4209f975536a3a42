"""The package's shared library as ctypes sees it: problems, searches, and what the library tells of
itself. Everything else is built on it and on numpy.
"""

from __future__ import annotations

import ctypes
import os
from ctypes import POINTER, c_char_p, c_double, c_int, c_int64, c_uint32, c_uint64, c_void_p
from pathlib import Path
from typing import Any


class OrvexError(RuntimeError):
    """The library refused something, or broke a promise."""


class Facts(ctypes.Structure):
    """What is known of a problem."""

    size: int
    nonzero: int
    smallest: int
    largest: int


class Plan(ctypes.Structure):
    """Memory of a search, in bytes."""

    model: int  #: of the problem itself, which is there
    run: int  #: of the library, at its peak
    loaded: int  #: of that, what the library has loaded already


for _structure in (Facts, Plan):
    _structure._fields_ = [(name, c_int64) for name in _structure.__annotations__]


class Options(ctypes.Structure):
    """What a search is given; null is what the caller leaves open."""

    _fields_ = [
        ("time_limit", POINTER(c_double)),
        ("target", POINTER(c_int64)),
        ("trials", POINTER(c_int64)),
        ("settings", POINTER(c_char_p)),  # keys and values in turn, then null
        ("engine_cycles", c_int),
        ("presolve", c_int),
        ("companion", POINTER(c_double)),
        ("groups", c_int),  # below 0: those that are found
        ("group_sizes", c_void_p),
        ("group_members", c_void_p),
        ("starts", c_int),
        ("hints", c_int),
        ("words", c_void_p),  # of the starts, then of the hints
        ("seed", c_uint64),
        ("checkpoint", c_char_p),
        ("solutions", c_int),
    ]


class Reduced(ctypes.Structure):
    """What is known of a reduced problem."""

    size: int
    couplings: int
    offset: int
    bound: int
    has_bound: int
    _fields_ = [
        ("size", c_int64), ("couplings", c_int64), ("offset", c_int64), ("bound", c_int64),
        ("has_bound", c_int),
    ]  # fmt: skip


class Summary(ctypes.Structure):
    """What a search brought, beside solutions and texts."""

    load_time: float
    search_time: float
    found: int
    solutions: int
    ending: bytes
    checkpoint_failure: bytes
    _fields_ = [
        ("load_time", c_double), ("search_time", c_double), ("found", c_int64),
        ("solutions", c_int64), ("ending", c_char_p), ("checkpoint_failure", c_char_p),
    ]  # fmt: skip


class Scaling(ctypes.Structure):
    """How real coefficients became integers."""

    factor: float  #: an integer is its coefficient times this, rounded
    largest_error: float  #: of an energy, in the caller's units
    _fields_ = [("factor", c_double), ("largest_error", c_double)]


#: Receives the events of a search: steering, seconds, flips, energy and bits of a new best.
EVENT_FUNCTION = ctypes.CFUNCTYPE(None, c_void_p, c_double, c_int64, c_int64, c_void_p)

#: Receives the lines of a trace.
TRACE_FUNCTION = ctypes.CFUNCTYPE(None, c_char_p)

support = ctypes.CDLL(str(Path(__file__).with_name("liborvex_python.so")))


def _declare(result: Any, name: str, *arguments: Any) -> None:
    function = getattr(support, name)
    function.restype = result
    function.argtypes = list(arguments)


_declare(c_int, "orvex_python_failure")
_declare(c_char_p, "orvex_python_failure_text")
_declare(c_char_p, "orvex_python_library", c_char_p)
_declare(c_char_p, "orvex_python_formats")
_declare(c_char_p, "orvex_python_parameters")
_declare(c_char_p, "orvex_python_check_parameter", c_char_p, c_char_p)
_declare(c_int, "orvex_python_devices")
_declare(c_int64, "orvex_python_machine_memory")
_declare(c_int64, "orvex_python_free_memory")

_declare(c_void_p, "orvex_python_from_matrix", c_uint32, c_char_p, c_void_p)
_declare(c_void_p, "orvex_python_from_terms", c_uint32, c_uint64, c_void_p, c_void_p)
_declare(
    c_void_p, "orvex_python_from_real_terms",
    c_uint32, c_uint64, c_void_p, c_void_p, POINTER(Scaling),
)  # fmt: skip
_declare(c_void_p, "orvex_python_from_real_triangle", c_uint32, c_void_p, POINTER(Scaling))
_declare(
    c_double, "orvex_python_energy_of_terms", c_uint32, c_uint64, c_void_p, c_void_p, c_void_p
)  # fmt: skip
_declare(c_double, "orvex_python_energy_of_matrix", c_uint32, c_void_p, c_void_p)
_declare(None, "orvex_python_terms", c_void_p, c_void_p, c_void_p)
_declare(
    c_void_p, "orvex_python_from_file",
    c_char_p, c_char_p, POINTER(c_int64), POINTER(c_int64), c_char_p, c_char_p,
)  # fmt: skip
_declare(c_char_p, "orvex_python_source", c_void_p)
_declare(None, "orvex_python_reals", c_void_p, c_void_p, c_void_p)
_declare(None, "orvex_python_free", c_void_p)
_declare(None, "orvex_python_facts", c_void_p, POINTER(Facts))
_declare(c_int, "orvex_python_plan", c_void_p, POINTER(Options), POINTER(Plan))
_declare(c_int64, "orvex_python_energy", c_void_p, c_void_p)

_declare(c_void_p, "orvex_python_presolve", c_void_p, c_int)
_declare(None, "orvex_python_reduced", c_void_p, POINTER(Reduced))
_declare(c_void_p, "orvex_python_left", c_void_p)
_declare(c_char_p, "orvex_python_rules", c_void_p)
_declare(None, "orvex_python_restore", c_void_p, c_void_p, c_void_p)
_declare(None, "orvex_python_project", c_void_p, c_void_p, c_void_p)
_declare(None, "orvex_python_free_presolved", c_void_p)

_declare(
    c_void_p, "orvex_python_solve", c_void_p, POINTER(Options), EVENT_FUNCTION, TRACE_FUNCTION
)  # fmt: skip
_declare(None, "orvex_python_stop", c_void_p)
_declare(None, "orvex_python_hint", c_void_p, c_void_p, c_void_p)
_declare(None, "orvex_python_change", c_void_p, c_char_p, c_char_p)
_declare(None, "orvex_python_summary", c_void_p, POINTER(Summary))
_declare(
    c_void_p, "orvex_python_found", c_void_p, c_int64, POINTER(c_double), POINTER(c_int64)
)  # fmt: skip
_declare(c_void_p, "orvex_python_solution", c_void_p, c_int64)
_declare(c_char_p, "orvex_python_info", c_void_p, c_char_p)
_declare(None, "orvex_python_free_result", c_void_p)

_declare(c_void_p, "orvex_python_read_checkpoint", c_void_p, c_char_p)
_declare(c_int64, "orvex_python_kept", c_void_p)
_declare(c_void_p, "orvex_python_kept_words", c_void_p, c_int64)
_declare(None, "orvex_python_free_kept", c_void_p)
_declare(c_void_p, "orvex_python_open_checkpoint", c_void_p, c_char_p)
_declare(c_int, "orvex_python_note", c_void_p, c_void_p, c_void_p)
_declare(c_char_p, "orvex_python_close_checkpoint", c_void_p)

_FAILURES: dict[int, type[Exception]] = {1: ValueError, 2: MemoryError, 3: OrvexError}


def failure() -> Exception:
    """Why the last call of this thread failed."""
    text: bytes = support.orvex_python_failure_text()
    return _FAILURES[support.orvex_python_failure()](os.fsdecode(text))


def device_count() -> int:
    """Devices that a search may run on: GPUs, or in a build for processors 1."""
    return int(support.orvex_python_devices())


def expect_device() -> None:
    """Refuses a search that has nothing to run on before anything is made for it."""
    if device_count() == 0:
        raise OrvexError(
            "this build of the library searches on GPUs, and there is none that it can use: no GPU is "
            "visible, or its driver is missing or too old. A build for processors needs none "
            "(pip install ./python without ORVEX_PLATFORM=cuda)"
        )


def max_size() -> int:
    """The most variables that this build solves."""
    return int(support.orvex_python_library(b"max_size"))


def max_variables() -> int:
    """The most variables of a sparse problem, which presolve and the companion work on."""
    return int(support.orvex_python_library(b"max_variables"))


def engine_version() -> str:
    """The release of the library, a date."""
    text: bytes = support.orvex_python_library(b"version")
    return text.decode()
