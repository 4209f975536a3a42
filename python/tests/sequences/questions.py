"""What searches are asked for: arguments of solve(), and callbacks that ask for anything at any event. Invariant: every
search ends soon.
"""

from __future__ import annotations

import signal
from typing import Any

import numpy as np

import orvex

from . import refusals
from .pairs import Numbers, ProblemPair, SettingsPair
from .reference import Number, require

#: Seconds for searches, and for those that end by something else.
SHORT, _SAFETY = 0.004, 20


class OnPurpose(Exception):
    """What a callback raises."""


class Receiver:
    """Asks for whatever the sequence says at any event, and looks at what it is shown."""

    def __init__(self, problem: ProblemPair, requests: Numbers, alone: bool) -> None:
        self._problem, self._requests, self._alone = problem, requests, alone
        self._seen = 0
        self._best: Number | None = None
        self.asked: set[str] = set()

    def callback(self, event: Any) -> object:
        require(self._best is None or event.energy < self._best, "a new best is better")
        self._best = event.energy
        self._look(event)
        return self._ask(event, self._requests[0])

    def pulse(self, pulse: Any) -> object:
        require(pulse.time >= 0 and pulse.flips >= 0, "a pulse has a time and flips")
        if pulse.best is not None:
            self._look(pulse.best)
        return self._ask(pulse, self._requests[1])

    def _look(self, event: Any) -> None:
        require(event.energy == self._problem.energy(event.x), "an event's energy is that of its bits")
        require(event.time >= 0, "an event has a time")

    def _ask(self, event: Any, requests: int) -> object:
        self._seen += 1
        size = self._problem.real.size
        if requests & 1:
            event.hint(np.random.default_rng(requests + self._seen).integers(0, 2, size))
        if requests & 2:
            event.set(batch_factor=0.5)
        if requests & 4:
            event.set(annealing_factor=0.25, batch_factor=None)
        if requests & 8:
            refusals.in_callback(event, self._problem.real, requests)
        if requests & 16:
            event.x = None if isinstance(event, orvex.Event) else 0  # theirs to spoil
        if requests >> 5 & 3 or self._seen <= requests >> 12 & 3:
            return (None, False, 1, "more")[requests >> 7 & 3]
        end = requests >> 9 & 7
        if end == 0:
            self.asked.add("raise")
            raise OnPurpose
        if end == 1 and self._alone:
            self.asked.add("interrupt")
            signal.raise_signal(signal.SIGINT)
            return None
        self.asked.add("stop")
        if end < 4:
            event.stop()
            return None
        return True


def question(
    pair: ProblemPair, settings: SettingsPair, numbers: Numbers, alone: bool = True
) -> tuple[dict[str, Any], Receiver | None]:
    """Arguments of a search that ends soon."""
    draws = np.random.default_rng(numbers)
    arguments: dict[str, Any] = dict(settings.settings)
    ends = draws.integers(4)
    arguments["time_limit"] = SHORT if ends < 2 else _SAFETY
    if ends in (1, 2):
        arguments["trial_limit"] = int(draws.integers(1, 20))
    if ends == 3:
        x = draws.integers(0, 2, pair.real.size).astype(bool)
        arguments["target"] = pair.energy(x)
    arguments["presolve"] = [True, False, False, "full"][draws.integers(4)]
    arguments["companion"] = ["auto", 0, 0, 0.5][draws.integers(4)]
    if draws.integers(8) == 0:  # which ends by time and target alone
        arguments["companion"], arguments["time_limit"] = 1, SHORT
        arguments.pop("trial_limit", None)
    if draws.integers(3) == 0:
        arguments["solutions"] = int(draws.integers(1, 8))
    if draws.integers(3) == 0:
        arguments["seed"] = int(draws.integers(2**63))
    if draws.integers(6) == 0:
        arguments["trace"] = True
    if draws.integers(6) == 0 and pair.real.size > 3:
        arguments["groups"] = np.array_split(draws.permutation(pair.real.size), 2)
        arguments["time_limit"] = SHORT  # no target need be within the groups
    receiver = None
    if settings.requests:
        receiver = Receiver(pair, settings.requests, alone)
        arguments.update(callback=receiver.callback, pulse=receiver.pulse)
    return arguments, receiver


#: Settings that leave a search as short as it is; of those in one row, one at a time may be set.
SETTINGS: list[list[tuple[str, Any]]] = [
    [("search_cycles", (100, 20)), ("search_cycles", (0, 50)), ("search_cycles", "default"),
     ("search_cycles_factor", (0.5, 0.1)), ("batch_factor", 0.5), ("annealing_factor", 0.25)],
    [("tabu_cycles", 0), ("tabu_cycles", 20), ("tabu_cycles", 255)],
    [("pool_size", 2), ("pool_size", 50)],
    [("solution_proximity", 0), ("solution_proximity", 5)],
    [("islands_per_gpu", 1), ("islands_per_gpu", 3)],
    [("blocks_per_island", 1), ("blocks_per_island", 4)],
    [("restart_t0", 0), ("restart_t0", 0.001), ("restart_duration", (0.001, 1.5)), ("restart_b", 1.1),
     ("restart_nobest", (0.01, 0.5))],
    [("fix_algorithm", name) for name in ("MaxMin", "PositiveMin", "CyclicMin", "RandomMin", "TwoNeighbor")],
    [("fix_instance", name) for name in ("Random", "Mutation", "Cross", "XCross", "Zero", "One", "Best")],
    [("best_priority", -63), ("best_priority", 63)],
    [("inst_zero", 0), ("inst_zero", 63)],
    [("inst_one", 1), ("inst_one", 10)],
    [("gpus", 1)],
    [("arithmetic_bits", 64)],
]  # fmt: skip
