"""What must hold of a result, whatever was asked for: every energy that it tells is added up again."""

from __future__ import annotations

import os
from dataclasses import dataclass
from typing import Any

import numpy as np

import orvex

from .pairs import ProblemPair
from .reference import require


@dataclass
class Rescored:
    """How many solutions' energies were added up again, and how many were not as told."""

    solutions: int = 0
    mismatches: int = 0

    def append(self) -> None:
        """Adds a line to the file that ORVEX_RESCORED names."""
        file = os.environ.get("ORVEX_RESCORED")
        if file and self.solutions:
            with open(file, "a") as lines:
                lines.write(f"{self.solutions} {self.mismatches}\n")
        self.solutions = self.mismatches = 0


rescored = Rescored()


def look_at(
    result: orvex.Result, pair: ProblemPair, arguments: dict[str, Any], asked: set[str]
) -> None:
    _look_at_solutions(result, pair, arguments)
    _look_at_status(result, arguments, asked)
    slack = pair.table.slack() + 2 * pair.real.largest_error
    for start in arguments.get("starts", ()):
        require(result.energy <= pair.energy(np.asarray(start, dtype=bool)), "no start is better")
    optimum = pair.table.optimum()
    if optimum is not None:
        require(result.energy >= optimum, "no energy is below the optimum")
        require(result.bound is None or result.bound <= optimum + slack, "a bound is below all")
        if result.status == "optimal":
            require(result.energy <= optimum + slack, "what is said to be optimal is")
    if result.bound is not None:
        require(result.bound <= result.energy + slack, "a bound is below the result")
    require(set(result.timings) == {"build", "load", "search", "total"}, "there are four times")
    require(all(seconds >= 0 for seconds in result.timings.values()), "no time is below 0")
    require(list(result.sample) == list(pair.real.variables), "a sample has the labels")
    require(list(result.sample.values()) == result.x.tolist(), "and the bits")
    require((result.trace is not None) == ("trace" in arguments), "a trace is there if asked for")


def _look_at_solutions(
    result: orvex.Result, pair: ProblemPair, arguments: dict[str, Any]
) -> None:
    require(result.x.shape == (pair.real.size,) and result.x.dtype == bool, "x has all bits")
    true = pair.energy(result.x)
    require(
        result.energy == true and type(result.energy) is type(true),
        f"the result says {result.energy!r}, its bits have {true!r}",
    )
    energies = [energy for _, energy in result.history]
    times = [at for at, _ in result.history]
    require(energies == sorted(set(energies), reverse=True), "each new best is better")
    require(times == sorted(times) and times[0] >= 0, "one after the other")
    require(energies[-1] == result.energy, "the last is the result")
    require(
        energies == [pair.energy(x) for x in result.solutions], "each entry has the energy of its bits"
    )
    require(np.array_equal(result.solutions[-1], result.x), "the last has the result's bits")
    best = result.best
    require(1 <= len(best) <= arguments.get("solutions", 1), "there are as many as asked for")
    require(len({found.x.tobytes() for found in best}) == len(best), "all are distinct")
    require(
        [found.energy for found in best] == sorted(pair.energy(found.x) for found in best),
        "the best first, each with its energy",
    )
    require(best[0].energy <= result.energy, "none of them hides the result")


def _look_at_status(result: orvex.Result, arguments: dict[str, Any], asked: set[str]) -> None:
    allowed = {"optimal", "time limit", "ended"}
    if "trial_limit" in arguments:
        allowed.add("trial limit")
    if "target" in arguments:
        allowed.add("target reached")
    if "stop" in asked:
        allowed.add("stopped by callback")
    if "interrupt" in asked:
        allowed.add("interrupted")
    require(result.status in allowed, f"nobody asked for the status {result.status!r}")
    if result.status == "target reached":
        target = arguments["target"]
        require(
            result.energy <= target or np.isclose(result.energy, target, rtol=1e-12, atol=0),
            "a target that is reached is",
        )
