"""A page that holds everything that it shows, its scripts too, and asks no network for anything."""

from __future__ import annotations

import os
import sys
from collections.abc import Callable, Iterable
from html import escape
from pathlib import Path
from typing import Any

from ._figures import figures
from ._runs import Run, RunLike, runs_of

STYLE = """
body { font: 15px/1.5 system-ui, sans-serif; color: #222; max-width: 1100px; margin: 2em auto; padding: 0 1em; }
h1 { font-size: 1.6em; } h2 { font-size: 1.2em; margin-top: 2em; }
.table { overflow-x: auto; }
table { border-collapse: collapse; }
th, td { border-bottom: 1px solid #ddd; padding: 0.25em 1em 0.25em 0; text-align: left; vertical-align: top; }
td { font-variant-numeric: tabular-nums; }
"""
#: Named one by one: those that plotly offers by itself hand a picture to a service on the network.
BUTTONS = [["toImage"], ["zoom2d", "pan2d"], ["zoomIn2d", "zoomOut2d", "autoScale2d", "resetScale2d"]]
RESULT = {
    "status": "status", "energy": "energy", "bound": "no energy is below", "found_by": "found by",
    "found_time": "found after", "time": "search", "load_time": "before the search", "flips": "flips",
    "results": "results",
}  # fmt: skip
SETTINGS = {
    "file": "file", "size": "variables", "couplings": "couplings", "format": "format", "equation": "objective",
    "started": "started", "time_limit": "time limit", "target": "target", "trials": "limit of trials",
    "searched_size": "variables after presolve", "searched_couplings": "couplings after presolve",
    "presolve_time": "presolve", "groups": "one-hot groups", "companion_threads": "threads of the companion",
    "seed": "seed of the companion",
    "band": "band", "rows": "rows", "device": "device", "islands": "islands", "blocks": "blocks",
    "version": "engine",
}  # fmt: skip
SECONDS = frozenset(("found_time", "time", "load_time", "time_limit", "presolve_time"))
#: 0 says that there is no limit.
LIMITS = frozenset(("time_limit", "trials"))


def _text(key: str, value: Any) -> str:
    if value is None or (key in LIMITS and value == 0) or value == "":
        return "none"
    if key in SECONDS and not isinstance(value, str):
        return f"{value:.3f} s"
    return f"{value:,}" if isinstance(value, int) else str(value)


def _table(head: Iterable[str], rows: Iterable[Iterable[str]]) -> str:
    def row(cells: Iterable[str], tag: str) -> str:
        first, *others = cells
        inner = f"<th>{escape(first)}</th>" + "".join(f"<{tag}>{escape(cell)}</{tag}>" for cell in others)
        return f"<tr>{inner}</tr>"

    body = "\n".join(row(cells, "td") for cells in rows)
    return f'<div class="table"><table>\n{row(head, "th")}\n{body}\n</table></div>'


def _comparison(runs: list[Run], part: Callable[[Run], dict[str, Any]], labels: dict[str, str]) -> str:
    """A row for each key, a column for each run; keys that no run has are left out."""
    rows = []
    for key, label in labels.items():
        if any(key in part(run) for run in runs):
            rows.append([label, *(_text(key, part(run).get(key)) for run in runs)])
    return _table(["", *(run.name for run in runs)], rows) if rows else ""


def _result(runs: list[Run]) -> str:
    for run in runs:
        if not run.end:  # it has a state, though
            last = run.states[-1] if run.states else {}
            energy = run.bests[-1][1] if run.bests else None
            run.end = {"status": "the trace breaks off", "energy": energy, "time": run.seconds}
            run.end |= {key: last[key] for key in ("flips", "results") if key in last}
    return _comparison(runs, lambda run: run.end, RESULT)


def _parameters(runs: list[Run]) -> str:
    keys = sorted({key for run in runs for key in run.begin.get("parameters", ())})
    return _comparison(runs, lambda run: run.begin.get("parameters", {}), {key: key for key in keys})


def _presolve(runs: list[Run]) -> str:
    rows = [
        [run.name, use["rule"], f"{use['variables']:,}", f"{use['seconds']:.4f} s"]
        for run in runs
        for use in run.begin.get("presolve_rules", ())
    ]
    return _table(["run", "rule", "variables", "time"], rows) if rows else ""


def page(made_of: Iterable[RunLike] | RunLike, title: str | None = None) -> str:
    """A page of HTML with everything that is known of one run, or of several side by side.

    Parameters
    ----------
    made_of
        A result, the path of a trace's file, a :class:`Run`, or several of these.
    title
        Of the page; by default it names the runs.
    """
    runs = runs_of(made_of)
    drawn = figures(runs)
    from plotly.offline import get_plotlyjs

    heading = escape(title or "ORVEX: " + ", ".join(run.name for run in runs))
    tables = {
        "Result": _result(runs),
        "Problem and search": _comparison(runs, lambda run: run.begin, SETTINGS),
        "Presolve": _presolve(runs),
        "Parameters of the library": _parameters(runs),
    }
    pictures = "\n".join(
        figure.to_html(
            full_html=False,
            include_plotlyjs=False,
            include_mathjax=False,
            div_id=name,
            config={"displaylogo": False, "responsive": True, "modeBarButtons": BUTTONS},
        )
        for name, figure in drawn.items()
    )
    sections = {name: f"<h2>{name}</h2>\n{table}" for name, table in tables.items() if table}
    return f"""<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<link rel="icon" href="data:,">
<title>{heading}</title>
<style>{STYLE}</style>
<script>{get_plotlyjs()}</script>
</head>
<body>
<h1>{heading}</h1>
{sections.pop("Result", "")}
<h2>Course of the search</h2>
{pictures}
{"".join(sections.values())}
</body>
</html>
"""


def write(
    path: str | os.PathLike[str], made_of: Iterable[RunLike] | RunLike, title: str | None = None
) -> None:
    """Writes the page into a file; "-" is standard output. See :func:`page`."""
    text = page(made_of, title)
    if path == "-":
        sys.stdout.write(text)
    else:
        Path(path).write_text(text, encoding="utf-8")
