"""What a search gives back."""

from __future__ import annotations

from collections.abc import Hashable, Sequence
from dataclasses import dataclass, field
from typing import TYPE_CHECKING, Any, Literal, NamedTuple, Union

import numpy as np
import numpy.typing as npt

from ._files import Source

if TYPE_CHECKING:
    import pandas
    from matplotlib.axes import Axes

#: What Result.plot() draws.
Picture = Literal["energy", "gap", "islands", "rules", "generators", "flips"]
Energy = Union[int, float]
Status = Literal[
    "optimal", "target reached", "time limit", "trial limit", "stopped by callback", "interrupted", "ended",
    "scheduler lost",
]


class Solution(NamedTuple):
    """A bit vector with its energy."""

    energy: Energy
    x: npt.NDArray[np.bool_]


@dataclass(frozen=True, eq=False)
class Result:
    """The best solution of a search, and how the search went. Results are equal when all of this is."""

    x: npt.NDArray[np.bool_]
    """The best bit vector."""
    energy: Energy
    """Its energy, added up from the bits with the coefficients as they were given: an int where it is
    whole."""
    largest_error: float
    """So far at most were the energies in the search from the true ones, for coefficients that had to be
    rounded; 0.0 where none was. It is no error of `energy`."""
    history: list[tuple[float, Energy]]
    """When each new best was found, in seconds since the search began, and its energy; a start is at
    0.0."""
    status: Status
    """What ended the search; "optimal" where no energy can be lower, "ended" where the library tells no reason."""
    info: dict[str, str]
    """What the library tells of the run: "solver", "gpu" (the device), "solver_size", "solver_bits",
    "arithmetic_bits", "runtime", "search_cycles", "total_flips", "tts" (seconds to the solution); and what
    was searched by whom: "searched_size" and "searched_couplings" (what presolve left), "presolve_time",
    "groups", "companion_threads", "companion_flips", and "found_by": "start", "presolve", "search",
    "companion" or "merge" (by the companion, of parts).
    Empty when the search was interrupted before the library had finished; texts are empty where the
    library did not search."""
    bound: Energy | None
    """No energy of the problem is lower, as far as presolve has proven; None where nothing is known."""
    timings: dict[str, float]
    """Seconds: "build" of the problem from what stated it (0 for a Problem), "load" into the library, with
    the wait for another thread's search, "search", and "total", which is all of the call."""
    objective: Energy
    """The energy in the terms of the problem's file: a cut, a value, a cost with its offset. The energy
    itself where there is no file."""
    source: Source | None
    """What the numbers of the problem's file mean, such as "cut = -energy"; None where there is none."""
    variables: Sequence[Hashable] = field(repr=False)
    """The label of each bit."""
    solutions: list[npt.NDArray[np.bool_]] = field(repr=False)
    """The bits of every entry of `history`."""
    best: list[Solution] = field(repr=False)
    """As many distinct solutions as were asked for (`solutions=` of :func:`solve`), best first, each with the
    energy that its bits have."""
    trace: list[dict[str, Any]] | None = field(default=None, repr=False)
    """What the search did, second by second (docs/traces.md), where solve() was told to keep it."""
    _interrupted: bool = field(default=False, repr=False)
    """Whether an interrupt came, which `status` does not say where the search ended by itself at that moment:
    for who makes several searches in a row."""

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, Result):
            return NotImplemented
        arrays = ("x", "solutions", "best")
        same = all(
            getattr(self, name) == getattr(other, name)
            for name in self.__dataclass_fields__
            if name not in arrays
        )
        same = same and [s.energy for s in self.best] == [s.energy for s in other.best]
        mine, others = ([r.x, *r.solutions, *(s.x for s in r.best)] for r in (self, other))
        return same and len(mine) == len(others) and all(map(np.array_equal, mine, others))

    __hash__ = None  # type: ignore[assignment]

    @property
    def sample(self) -> dict[Hashable, int]:
        """The best bit of each variable by its label."""
        return dict(zip(self.variables, self.x.astype(int).tolist()))

    def __repr__(self) -> str:
        return (
            f"<orvex.Result: energy {self.energy}, {len(self.x)} variables, {self.status}, "
            f"found after {self.history[-1][0]:.3f} s of {self.timings['search']:.3f} s>"
        )

    def __str__(self) -> str:
        bits = "".join(map(str, self.x[:64].astype(int).tolist()))
        more = f"... ({len(self.x)} bits)" if len(self.x) > 64 else ""
        foreign = self.source is not None and self.source.format != "orvex"
        lines = {
            "energy": self.energy,
            **({"objective": self.objective} if foreign else {}),
            **({"rounded by": f"{self.largest_error:.2g}"} if self.largest_error else {}),
            "status": self.status,
            "found after": f"{self.history[-1][0]:.3f} s",
            "search": f"{self.timings['search']:.3f} s",
            "new bests": len(self.history),
            "flips": self.info.get("total_flips", "unknown"),
            "bits": bits + more,
        }
        return "\n".join(f"{name + ':':<13}{value}" for name, value in lines.items())

    def to_pandas(self, *, history: bool = False) -> pandas.DataFrame:
        """The solutions as a table of pandas.

        Parameters
        ----------
        history
            By default there is a row for each solution in `best`, with its "energy" and a column for each
            variable, by its label. With this, there is one for each entry of `history`: "time" and "energy".
        """
        import pandas

        if history:
            return pandas.DataFrame(self.history, columns=["time", "energy"])
        rows = np.array([solution.x for solution in self.best], dtype=np.int8)
        table = pandas.DataFrame(rows, columns=pandas.Index(list(self.variables), tupleize_cols=False))
        table.insert(0, "energy", [solution.energy for solution in self.best], allow_duplicates=True)
        return table

    def plot(self, ax: Axes | None = None, *, show: Picture = "energy", **style: Any) -> Axes:
        """Draws the best energy over time with matplotlib, or another of the pictures that
        :func:`orvex.report.figures` has for notebooks.

        Parameters
        ----------
        ax
            Where to draw; a new figure by default.
        show
            "energy", or "gap", its distance to the lowest. Of a search with a trace also "islands", "rules",
            "generators" (which share of the results had which) or "flips" (per second).
        style
            Handed on to ``Axes.step``, or to ``Axes.stackplot`` for shares.

        Raises
        ------
        ValueError
            There is nothing to draw: a trace is needed and there is none, or the search was too short.

        Returns
        -------
        matplotlib.axes.Axes
            What was drawn on.
        """
        from .report._drawing import draw

        return draw(self, show, ax, style)
