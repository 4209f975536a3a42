"""Runs as their traces tell of them. What a trace does not say, because it breaks off or comes from a
program that does not know it, is missing here and breaks nothing."""

from __future__ import annotations

import json
import os
import sys
from collections.abc import Iterable
from dataclasses import dataclass, field
from pathlib import Path
from typing import TYPE_CHECKING, Any, Union

if TYPE_CHECKING:
    from .._result import Result

#: The traces that are understood here.
VERSION = 1
#: What a run can be made of: a trace's file, or a result.
RunLike = Union["Run", "Result", str, "os.PathLike[str]"]


class TraceError(ValueError):
    """A file is no trace; the text names the line and the reason."""


@dataclass
class Run:
    """One search."""

    name: str
    begin: dict[str, Any] = field(default_factory=dict)
    """What was settled before the search."""
    bests: list[tuple[float, float, str]] = field(default_factory=list)
    """When each new best was found, its energy, and by whom; each is later and lower than the one before."""
    states: list[dict[str, Any]] = field(default_factory=list)
    """What the search had done by when, about each second, and at the end."""
    end: dict[str, Any] = field(default_factory=dict)
    """The result; empty where the trace breaks off."""

    @property
    def seconds(self) -> float:
        """How long the search took, as far as the trace tells."""
        times: list[float] = [self.end.get("time", 0.0)]
        times += [state["time"] for state in self.states[-1:]] + [time for time, _, _ in self.bests[-1:]]
        return max(times)

    def take(self, line: dict[str, Any]) -> None:
        """Takes a line of the trace."""
        event = line.get("event")
        if event == "begin":
            self.begin = line
        elif event == "improved":
            self._improve(float(line["time"]), line["energy"], str(line.get("source", "")))
        elif event == "state":
            self.states.append(line)
        elif event == "end":
            self.end = line
            self.states.append(line)

    def _improve(self, time: float, energy: float, source: str) -> None:
        while self.bests and self.bests[-1][0] > time:  # some are told late
            self.bests.pop()
        self.bests.append((time, energy, source))


def _lines_of(path: str | os.PathLike[str]) -> Iterable[str]:
    if path == "-":
        return sys.stdin
    return Path(path).read_text(encoding="utf-8").splitlines(keepends=True)


def read_trace(path: str | os.PathLike[str], name: str | None = None) -> Run:
    """Reads a trace; the last line may be incomplete, as it is while the run goes on.

    Raises
    ------
    TraceError
        The file is no trace.
    """
    run = Run(name or Path(path).stem or str(path))
    number = 0
    for number, text in enumerate(_lines_of(path), 1):
        try:
            line = json.loads(text)
            if not isinstance(line, dict) or "event" not in line:
                raise ValueError("it is no object with an event")
            if number == 1 and line["event"] != "begin":
                raise ValueError("a trace begins with the event begin")
            if line.get("trace", VERSION) != VERSION:
                raise ValueError(f"it is a trace of the version {line['trace']}, not {VERSION}")
            run.take(line)
        except (ValueError, KeyError, TypeError) as error:
            if not text.endswith("\n") and number > 1:
                break
            raise TraceError(f"{path}, line {number}: this is no trace of a search: {error}") from error
    if number == 0:
        raise TraceError(f"{path}: the file is empty")
    return run


def run_of(made_of: RunLike, name: str | None = None) -> Run:
    """A run from what one can be made of. A result that was found without a trace has its bests alone."""
    if isinstance(made_of, Run):
        return made_of
    if isinstance(made_of, (str, os.PathLike)):
        return read_trace(made_of, name)
    run = Run(name or "search")
    if made_of.trace is not None:
        for line in made_of.trace:
            run.take(line)
        return run
    for time, energy in made_of.history:
        run._improve(time, energy, "")
    run.end = {"time": made_of.timings["search"], "energy": made_of.energy, "status": made_of.status}
    return run


def runs_of(made_of: Iterable[RunLike] | RunLike) -> list[Run]:
    """Several, each with a name of its own."""
    single = isinstance(made_of, (Run, str, os.PathLike)) or hasattr(made_of, "history")
    each: Any = [made_of] if single else made_of
    runs = [run_of(one) for one in each]
    names = [run.name for run in runs]
    for k, run in enumerate(runs):
        if names.count(run.name) > 1:
            run.name = f"{names[k]} {names[: k + 1].count(names[k])}"
    return runs
