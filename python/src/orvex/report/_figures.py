"""The pictures as figures of plotly, which notebooks show and pages hold."""

from __future__ import annotations

from collections.abc import Iterable
from typing import TYPE_CHECKING, Any

from ._curves import PICTURES, STACKED, Curve, curves, lowest_known
from ._runs import Run, RunLike, runs_of

if TYPE_CHECKING:
    from plotly.graph_objects import Figure

TITLES = {
    "energy": "Best energy",
    "gap": "Distance to the lowest energy that these runs found",
    "islands": "Best energy of each island",
    "rules": "Flip rules: share of the results",
    "generators": "Instance generators: share of the results",
    "flips": "Flips per second",
}
#: Pictures in which several runs lie over each other; the others have a row for each run.
TOGETHER = frozenset(("energy", "gap", "flips"))
#: Okabe and Ito's colours, which are told apart without colour vision too, and some more.
COLOURS = (
    "#0072B2", "#D55E00", "#009E73", "#CC79A7", "#E69F00", "#56B4E9", "#333333", "#F0E442", "#8C564B", "#9467BD",
)  # fmt: skip
LINES = {"target": "dash", "bound": "dot", "companion": "dot"}


def _plotly() -> Any:
    try:
        import plotly.graph_objects
        import plotly.subplots
    except ImportError as error:
        raise ImportError('pictures need plotly: pip install "orvex[report]"') from error
    return plotly


def _line(curve: Curve, name: str, colour: str | None, group: str, legend: bool = True) -> dict[str, Any]:
    return {
        "type": "scatter",
        "x": curve.times,
        "y": curve.values,
        "name": name,
        "legendgroup": group,
        "showlegend": legend,
        "mode": "lines",
        "line": {"shape": "hv", "color": colour, "dash": LINES.get(curve.name, "solid")},
    }


def _together(figure: Any, runs: list[Run], picture: str) -> None:
    lowest = lowest_known(runs)
    for number, run in enumerate(runs):
        colour = COLOURS[number % len(COLOURS)]
        for curve in curves(run, picture, lowest):
            plain = curve.name == "best" or len(runs) == 1 and picture != "flips"
            own = curve.name if len(runs) == 1 else run.name if plain else f"{run.name}: {curve.name}"
            figure.add_trace(_line(curve, own, colour, run.name))


def _in_rows(figure: Any, runs: list[Run], picture: str) -> None:
    shown: dict[str, str] = {}
    for row, run in enumerate(runs, 1):
        for curve in curves(run, picture):
            new = curve.name not in shown
            colour = shown.setdefault(curve.name, COLOURS[len(shown) % len(COLOURS)])
            line = _line(curve, curve.name, colour, curve.name, new)
            if picture in STACKED:
                line |= {"stackgroup": "shares", "line": {"shape": "hv", "width": 0, "color": colour}}
            figure.add_trace(line, row=row, col=1)


def _figure(runs: list[Run], picture: str) -> Figure | None:
    plotly = _plotly()
    if picture in TOGETHER:
        figure = plotly.graph_objects.Figure()
        _together(figure, runs, picture)
    else:
        runs = [run for run in runs if curves(run, picture)]
        figure = plotly.subplots.make_subplots(
            rows=max(len(runs), 1),
            shared_xaxes=True,
            vertical_spacing=0.08 / max(len(runs), 1),
            subplot_titles=[run.name for run in runs] if len(runs) > 1 else None,
        )
        _in_rows(figure, runs, picture)
    if not figure.data:
        return None
    rows = 1 if picture in TOGETHER else len(runs)
    figure.update_layout(
        title=TITLES[picture],
        template="plotly_white",
        height=140 + 260 * rows,
        margin={"l": 90, "r": 30, "t": 60 if rows == 1 else 90, "b": 60},
        hovermode="x unified",
    )
    figure.update_yaxes(title=PICTURES[picture], tickformat=",")
    if picture in STACKED:
        figure.update_yaxes(range=[0, 1], tickformat=".0%")
    elif picture == "gap":
        figure.update_yaxes(type="log")
    elif picture == "flips":
        figure.update_yaxes(rangemode="tozero", tickformat="~s")
    figure.update_xaxes(rangemode="tozero")
    figure.update_xaxes(title="seconds of the search", row=None if rows == 1 else rows)
    if picture in ("energy", "gap"):
        _offer_logarithmic_time(figure)
    return figure


def _offer_logarithmic_time(figure: Any) -> None:
    """Much is found early: two buttons choose how time is drawn."""
    buttons = [
        {"label": label, "method": "relayout", "args": [{"xaxis.type": kind, "xaxis.autorange": True}]}
        for label, kind in (("linear time", "linear"), ("logarithmic time", "log"))
    ]
    figure.update_layout(
        updatemenus=[
            {"type": "buttons", "direction": "right", "x": 1, "xanchor": "right", "y": 1.15, "buttons": buttons}
        ]
    )


def figures(made_of: Iterable[RunLike] | RunLike) -> dict[str, Figure]:
    """The pictures of one run, or of several that are to be compared.

    Parameters
    ----------
    made_of
        A result, the path of a trace's file, a :class:`Run`, or several of these.

    Returns
    -------
    dict
        Figures of plotly by their names: "energy", "gap" (the distance to the lowest energy), "islands",
        "rules", "generators", "flips". Those for which the runs have no data are left out: a result
        without a trace has the first two.
    """
    runs = runs_of(made_of)
    drawn = {picture: _figure(runs, picture) for picture in PICTURES}
    return {picture: figure for picture, figure in drawn.items() if figure is not None}
