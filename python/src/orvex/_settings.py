"""The settings of the engine as keyword arguments, checked completely before the library sees them:
it would end the process at what it cannot read.
"""

from __future__ import annotations

import difflib
import math
import numbers
from collections.abc import Callable, Mapping, Set
from typing import Any, Literal, NamedTuple, TypedDict, Union

from ._library import device_count, support

FlipRule = Literal["MaxMin", "PositiveMin", "CyclicMin", "RandomMin", "TwoNeighbor"]
Generator = Literal[
    "Random", "Best", "Mutation", "Cross", "XCross", "Zero", "One", "IntervalZero", "Hint", "AllBest"
]


class Value(NamedTuple):
    """One value of a parameter, as the library's table has it."""

    kind: str
    settles: str
    least: str
    most: str
    words: tuple[str, ...]


def library_table() -> dict[str, list[Value]]:
    """The one or two values of each parameter of the library."""
    table: dict[str, list[Value]] = {}
    for line in support.orvex_python_parameters().decode().splitlines():
        key, kind, settles, least, most, *words = line.split("\t")
        table.setdefault(key, []).append(Value(kind, settles, least, most, tuple(words)))
    return table


_TABLE = library_table()
FLIP_RULES = _TABLE["fix_algorithm"][0].words
GENERATORS = _TABLE["fix_instance"][0].words


class Settings(TypedDict, total=False):
    """Settings of the engine, all optional.

    Keys
    ----
    arithmetic_bits
        Width of energies in the search; by default the least that is proven to be enough.
    search_cycles
        Flips for one start instance, and steps of one search; 0 in either place leaves that one to the
        engine. By default the choice of the command-line caller for this problem, as for "pool_size",
        "restart_t0", "fix_algorithm" and "tabu_cycles" where it is large and sparse; "default" is the
        engine's own.
    search_cycles_factor
        Both, as multiples of the number of variables.
    batch_factor
        Flips for one start instance, as a multiple of the band's size.
    annealing_factor
        Steps of one search, as a multiple of the number of variables.
    tabu_cycles
        Steps for which a flipped bit stays barred, 0 to 255; 8 by default.
    pool_size
        Solutions in the pool of each island, 2 to 10000; 100 by default.
    solution_proximity
        Hamming distance within which two solutions of a pool count as near; by default a hundredth of the
        variables.
    gpus
        How many of the GPUs are used; by default all. In a build for processors, which are one device, 1.
    islands_per_gpu
        Islands on each device, 1 to 64.
    blocks_per_island
        Blocks that serve an island, 1 to 64.
    restart_t0
        Seconds of the first restart period; 0 turns restarts off; 1.0 by default.
    restart_b
        Growth of the restart periods; 2.0 by default.
    restart_duration
        Both at once.
    restart_nobest
        Seconds of the first period, and the share of each period in which "AllBest" is not chosen.
    fix_algorithm
        Every instance is searched by this flip rule.
    exclude_algorithm
        Random choices skip this flip rule.
    fix_instance
        Every start instance is made by this generator.
    best_priority
        Mixing of "Hint" and "AllBest", -63 to 63; 0 by default.
    inst_zero
        "Zero" clears one bit in 2 ** inst_zero, 0 to 63; 3 by default.
    inst_one
        "One" sets one bit in 2 ** inst_one, 0 to 63; 3 by default.
    verbose
        1: the library's own progress lines and final table on standard error; 2: more.
    """

    arithmetic_bits: Literal[32, 64]
    search_cycles: Union[tuple[int, int], Literal["default"]]
    search_cycles_factor: tuple[float, float]
    batch_factor: float
    annealing_factor: float
    tabu_cycles: int
    pool_size: int
    solution_proximity: int
    gpus: int
    islands_per_gpu: int
    blocks_per_island: int
    restart_t0: float
    restart_b: float
    restart_duration: tuple[float, float]
    restart_nobest: tuple[float, float]
    fix_algorithm: FlipRule
    exclude_algorithm: FlipRule
    fix_instance: Generator
    best_priority: int
    inst_zero: int
    inst_one: int
    verbose: Literal[0, 1, 2]


Check = Callable[[str, Any], str]


def whole_number(name: str, value: Any, least: int, most: int) -> int:
    """A caller's integer within its range."""
    if isinstance(value, bool) or not isinstance(value, numbers.Integral):
        raise TypeError(f"{name} must be an integer, not {value!r}")
    if not least <= int(value) <= most:
        raise ValueError(f"{name} must be from {least} to {most}, not {value}")
    return int(value)


def real_number(name: str, value: Any, least: float, most: float) -> float:
    """A caller's number within its range."""
    if isinstance(value, bool) or not isinstance(value, numbers.Real):
        raise TypeError(f"{name} must be a number, not {value!r}")
    try:
        number = float(value)
    except OverflowError:
        number = math.inf
    if not least <= number <= most:
        raise ValueError(f"{name} must be from {least:g} to {most:g}, not {value}")
    return number


def _integer(least: int, most: int) -> Check:
    return lambda name, value: str(whole_number(name, value, least, most))


def _real(least: float, most: float) -> Check:
    return lambda name, value: repr(real_number(name, value, least, most))


def _pair(first: Check, second: Check) -> Check:
    def check(name: str, value: Any) -> str:
        if isinstance(value, (Mapping, Set)):
            raise ValueError(f"{name} must be two numbers in order, not {value!r}")
        if isinstance(value, (str, bytes)) or not hasattr(value, "__len__") or len(value) != 2:
            raise TypeError(f"{name} must be two numbers, not {value!r}")
        return f"{first(f'{name}[0]', value[0])} {second(f'{name}[1]', value[1])}"

    return check


def _one_of(*choices: Any) -> Check:
    def check(name: str, value: Any) -> str:
        if type(value) is not type(choices[0]) or value not in choices:
            raise ValueError(f"{name} must be one of {', '.join(map(repr, choices))}, not {value!r}")
        return str(value)

    return check


#: Where less than the library takes makes sense in a caller's own process, by what is settled.
_NARROWER: dict[str, tuple[float, float]] = {
    "pool_size": (2, 10_000),
    "solution_proximity": (0, 65536),
    "islands_per_gpu": (1, 64),
    "blocks_per_island": (1, 64),
    "restart_t0": (0, 1e9),
    "best_priority": (-63, 63),
}
#: What has a form of its own in Python, or is known only when it is asked for.
_OWN: dict[str, Check] = {
    "arithmetic_bits": _one_of(32, 64),
    "gpus": lambda name, value: str(whole_number(name, value, 1, max(device_count(), 1))),
    "verbose": _one_of(0, 1, 2),
}


def _check_of(value: Value) -> Check:
    if value.words:
        return _one_of(*value.words)
    least, most = _NARROWER.get(value.settles, (value.least, value.most))
    if value.kind == "integer":
        return _integer(int(least), int(most))
    return _real(float(least), float(most))


def _check_named(name: str) -> Check:
    if name in _OWN:
        return _OWN[name]
    checks = [_check_of(value) for value in _TABLE[name]]
    return checks[0] if len(checks) == 1 else _pair(*checks)


_CHECKS: dict[str, Check] = {name: _check_named(name) for name in Settings.__annotations__}


def _settled_together() -> list[set[str]]:
    """Settings of which two say different things of the same: the engine takes either."""
    names: dict[str, set[str]] = {}
    for name in _CHECKS:
        for value in _TABLE[name]:
            names.setdefault(value.settles, set()).add(name)
    return [same for same in names.values() if len(same) > 1]


_SAME = _settled_together()


def check_settings(settings: Mapping[str, Any], known: frozenset[str]) -> dict[str, str]:
    """The engine's parameters for what the caller set; None counts as not set.

    `known` are the other arguments of the function that the caller called, for messages.
    """
    params: dict[str, str] = {}
    for name, value in settings.items():
        if name not in _CHECKS:
            near = difflib.get_close_matches(name, [*_CHECKS, *known], n=1, cutoff=0.0)
            raise TypeError(f"there is no setting {name!r}; did you mean {near[0]!r}?")
        if value is None or (name == "search_cycles" and isinstance(value, str)):
            if value not in (None, "default"):
                raise ValueError(f'search_cycles must be two numbers or "default", not {value!r}')
            continue
        params[name] = _CHECKS[name](name, value)
    for same in _SAME:
        given = sorted(same & params.keys())
        if len(given) > 1:
            raise ValueError(f"{given[0]} and {given[1]} cannot be set together")
    return params
