"""The two shared libraries of the package, as ctypes sees them.

`flat` is ORVEX itself by its flat interface; `support` is what this package has beside it: problems
from arrays and files, exact energies, and the two calls of the flat interface that may throw, with
what they throw caught. Everything else is built on these and on numpy.
"""

from __future__ import annotations

import ctypes
from ctypes import POINTER, c_char_p, c_double, c_int, c_int64, c_uint32, c_uint64, c_void_p
from pathlib import Path
from typing import Any


class OrvexError(RuntimeError):
    """The library refused something, or broke a promise."""


class Facts(ctypes.Structure):
    """What is known of a problem and of its run; memory in bytes."""

    size: int
    nonzero: int
    smallest: int
    largest: int
    width: int
    proven_bits: int
    band_size: int
    band_matrix_bits: int
    band_arithmetic_bits: int
    loading_band: int
    memory_rows: int
    memory_terms: int
    memory_model: int
    memory_bands: int
    memory_rest: int
    memory_block: int


Facts._fields_ = [(name, c_int64) for name in Facts.__annotations__]

#: The caller's event function: user, event, bits, value.
EVENT_FUNCTION = ctypes.CFUNCTYPE(None, c_void_p, c_int, c_void_p, c_double)


def _load(name: str) -> ctypes.CDLL:
    return ctypes.CDLL(str(Path(__file__).with_name(name)))


def _declare(library: ctypes.CDLL, result: Any, name: str, *arguments: Any) -> None:
    function = getattr(library, name)
    function.restype = result
    function.argtypes = list(arguments)


flat = _load("liborvex.so")
_declare(flat, c_char_p, "tarvik_orvex_version")
_declare(flat, c_int, "tarvik_orvex_max_size")
_declare(flat, None, "tarvik_orvex_destroy", c_void_p)
_declare(flat, None, "tarvik_orvex_set_callback", c_void_p, EVENT_FUNCTION, c_void_p)
_declare(flat, c_char_p, "tarvik_orvex_info", c_void_p, c_char_p)
_declare(flat, None, "tarvik_orvex_cb_timer", c_void_p, c_double)
_declare(flat, None, "tarvik_orvex_cb_hint", c_void_p, c_void_p)
_declare(flat, None, "tarvik_orvex_cb_terminate", c_void_p)

support = _load("liborvex_python.so")
_declare(support, c_char_p, "orvex_python_error")
_declare(support, c_void_p, "orvex_python_from_matrix", c_uint32, c_void_p)
_declare(support, c_void_p, "orvex_python_from_terms", c_uint32, c_uint64, c_void_p, c_void_p)
_declare(
    support, c_void_p, "orvex_python_from_file",
    c_char_p, c_char_p, POINTER(c_int64), POINTER(c_int64), c_char_p,
)  # fmt: skip
_declare(support, c_char_p, "orvex_python_source", c_void_p)
_declare(support, c_char_p, "orvex_python_formats")
_declare(support, None, "orvex_python_free", c_void_p)
_declare(support, c_int64, "orvex_python_energy", c_void_p, c_void_p)
_declare(support, c_int64, "orvex_python_energy_change", c_void_p, c_void_p, c_void_p)
_declare(support, None, "orvex_python_facts", c_void_p, c_int, POINTER(Facts))
_declare(support, c_char_p, "orvex_python_parameters")
_declare(support, c_char_p, "orvex_python_check_parameter", c_char_p, c_char_p)
_declare(support, c_char_p, "orvex_python_settings", c_void_p, c_char_p)
_declare(support, c_int, "orvex_python_devices")
_declare(support, c_int64, "orvex_python_device_memory", c_int)
_declare(support, c_int64, "orvex_python_machine_memory")
_declare(support, c_int64, "orvex_python_free_memory")
_declare(support, c_void_p, "orvex_python_load", c_void_p, c_int)
_declare(support, c_int, "orvex_python_search", c_void_p, POINTER(c_char_p), c_void_p, c_void_p)


def last_error() -> str:
    """Why the last call of this thread into `support` failed."""
    text: bytes = support.orvex_python_error()
    return text.decode()


def device_count() -> int:
    """Devices that a search may run on: GPUs, or in a build for processors 1."""
    return int(support.orvex_python_devices())


def expect_device() -> None:
    """Refuses to search where the library would end the process for want of a GPU."""
    if device_count() == 0:
        raise OrvexError(
            "this build of the library searches on GPUs, and there is none that it can use: no GPU is "
            "visible, or its driver is missing or too old. A build for processors needs none "
            "(pip install ./python without ORVEX_PLATFORM=cuda)"
        )


def max_size() -> int:
    """The most variables that this build solves."""
    return int(flat.tarvik_orvex_max_size())


def engine_version() -> str:
    """The release of the library, a date."""
    text: bytes = flat.tarvik_orvex_version()
    return text.decode()
