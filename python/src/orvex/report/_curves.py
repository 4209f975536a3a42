"""What is drawn, whatever draws it: curves over the seconds of a search, worked out from its trace."""

from __future__ import annotations

from collections.abc import Callable
from dataclasses import dataclass
from typing import Any

from ._runs import Run

#: The pictures by their names, with what is written beside the axis.
PICTURES: dict[str, str] = {
    "energy": "best energy",
    "gap": "energy above the lowest known",
    "islands": "best energy of each island",
    "rules": "share of the results",
    "generators": "share of the results",
    "flips": "flips per second",
}


#: Those whose curves are parts of a whole.
STACKED = frozenset(("rules", "generators"))


@dataclass
class Curve:
    """A value that holds from its time until the next one's."""

    name: str
    times: list[float]
    values: list[float | None]


def energy(run: Run) -> list[Curve]:
    """The best energy until then; the target and the bound, where there are any."""
    times = [time for time, _, _ in run.bests]
    values: list[float | None] = [value for _, value, _ in run.bests]
    curves = []
    if times:
        curves.append(Curve("best", [*times, max(run.seconds, times[-1])], [*values, values[-1]]))
    for name, value in (("target", run.begin.get("target")), ("bound", run.end.get("bound"))):
        if value is not None:
            curves.append(Curve(name, [0.0, run.seconds], [value, value]))
    return curves


def lowest_known(runs: list[Run]) -> float | None:
    """The least energy that any of the runs found."""
    return min((value for run in runs for _, value, _ in run.bests), default=None)


def gap(run: Run, lowest: float) -> list[Curve]:
    """How far the best is above the lowest energy, until it is there."""
    points = [(time, value - lowest) for time, value, _ in run.bests]
    above = [(time, far) for time, far in points if far > 0]
    if not above:
        return []
    arrived = [time for time, far in points if far <= 0]
    until = arrived[0] if arrived else run.seconds
    last = above[-1][1]
    return [Curve("best", [*(time for time, _ in above), until], [*(far for _, far in above), last])]


def islands(run: Run) -> list[Curve]:
    """The best energy of each island, and of the companion."""
    curves: dict[str, Curve] = {}

    def add(name: str, time: float, value: float | None) -> None:
        curve = curves.setdefault(name, Curve(name, [], []))
        curve.times.append(time)
        curve.values.append(value)

    for state in run.states:
        for number, island in enumerate(state.get("islands", ())):
            add(f"island {number}", state["time"], island["best"])
        if "companion" in state:
            add("companion", state["time"], state["companion"]["best"])
    return [curve for curve in curves.values() if any(value is not None for value in curve.values)]


def _rates(run: Run, counts_of: Callable[[dict[str, Any]], dict[str, float]]) -> list[Curve]:
    """What was added in each interval between two states, for each second of it."""
    curves: dict[str, Curve] = {}
    before, last = 0.0, {}  # type: tuple[float, dict[str, float]]
    for state in run.states:
        length = state["time"] - before
        if length < 0.05:  # too short to say anything
            continue
        counts = counts_of(state)
        for name, count in counts.items():
            curve = curves.setdefault(name, Curve(name, [], []))
            curve.times.append(before)
            curve.values.append((count - last.get(name, 0)) / length)
        before, last = state["time"], counts
    for curve in curves.values():
        curve.times.append(before)
        curve.values.append(curve.values[-1])
    return list(curves.values())


def flips(run: Run) -> list[Curve]:
    """Flips per second of the library's search, and of the companion, which counts attempts."""

    def counts(state: dict[str, Any]) -> dict[str, float]:
        found = {"search": state.get("flips", 0), "companion": state.get("companion", {}).get("flips", 0)}
        return {name: count for name, count in found.items() if _ever(run, name)}

    return _rates(run, counts)


def _ever(run: Run, searcher: str) -> bool:
    """Whether the library, or the companion, has searched."""
    if searcher == "companion":
        return any("companion" in state for state in run.states)
    return any(state.get("flips", 0) > 0 for state in run.states)


def shares(run: Run, of: str) -> list[Curve]:
    """Which share of the results in each interval had which rule, or generator."""
    rates = _rates(run, lambda state: state.get(of, {}))
    for k in range(len(rates[0].values) if rates else 0):
        whole = sum(curve.values[k] or 0 for curve in rates)
        for curve in rates:
            curve.values[k] = (curve.values[k] or 0) / whole if whole else None
    return [curve for curve in rates if any(curve.values)]


def curves(run: Run, picture: str, lowest: float | None = None) -> list[Curve]:
    """The curves of a picture of one run."""
    if picture == "energy":
        return energy(run)
    if picture == "gap":
        known = lowest_known([run]) if lowest is None else lowest
        return [] if known is None else gap(run, known)
    if picture == "islands":
        return islands(run)
    return flips(run) if picture == "flips" else shares(run, picture)
