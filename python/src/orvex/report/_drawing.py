"""The pictures as matplotlib draws them, one at a time."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

from ._curves import PICTURES, STACKED, Curve, curves
from ._runs import run_of

if TYPE_CHECKING:
    from matplotlib.axes import Axes

    from .._result import Result

LINES = {"target": "--", "bound": ":"}


def _numbers(curve: Curve) -> list[float]:
    return [float("nan") if value is None else value for value in curve.values]


def draw(result: Result, picture: str, ax: Axes | None, style: dict[str, Any]) -> Axes:
    """A picture of one search; see ``Result.plot``."""
    if picture not in PICTURES:
        raise ValueError(f"show must be one of {', '.join(map(repr, PICTURES))}, not {picture!r}")
    drawn = curves(run_of(result), picture)
    if not drawn:
        needs = "a longer search" if result.trace is not None else "solve(..., trace=True)"
        raise ValueError(f"there is nothing to draw for {picture!r}; it needs {needs}")
    if ax is None:
        import matplotlib.pyplot

        ax = matplotlib.pyplot.figure().add_subplot()
    if picture in STACKED:
        values = [_numbers(curve) for curve in drawn]
        ax.stackplot(drawn[0].times, values, labels=[curve.name for curve in drawn], step="post", **style)
    else:
        for curve in drawn:
            line = {"linestyle": LINES.get(curve.name, "-"), "label": curve.name} | style
            ax.step(curve.times, _numbers(curve), where="post", **line)
    if len(drawn) > 1:
        ax.legend()
    if picture == "gap":
        ax.set_yscale("log")
    ax.set_xlabel("time in seconds")
    ax.set_ylabel(PICTURES[picture])
    return ax
