"""Traces, and the pictures of them."""

import json
import shutil
import subprocess
import sys
import warnings
from pathlib import Path

import matplotlib
import numpy as np
import pytest

import orvex
from conftest import library_alone, random_matrix
from orvex import report

matplotlib.use("Agg")
CHROMIUM = shutil.which("chromium") or shutil.which("chromium-browser") or shutil.which("google-chrome")


@pytest.fixture(scope="module")
def traced(tmp_path_factory: pytest.TempPathFactory) -> tuple[orvex.Result, Path]:
    """A search of some seconds, and the file of its trace."""
    path = tmp_path_factory.mktemp("traces") / "long run.jsonl"
    matrix = random_matrix(60)
    result = orvex.solve(matrix, presolve=False, companion=0.5, time_limit=2.3, target=-(10**6), trace=path)
    return result, path


def lines_of(path: Path) -> list[dict]:
    return [json.loads(line) for line in path.read_text(encoding="utf-8").splitlines()]


# ---- traces


def test_a_trace_is_in_its_file_and_in_the_result(traced):
    result, path = traced
    assert result.trace == lines_of(path)
    events = [line["event"] for line in result.trace]
    assert (events[0], events[-1]) == ("begin", "end")
    assert events.count("state") == 2
    assert result.trace[0]["target"] == -(10**6)
    assert result.trace[-1]["energy"] == result.trace[-1]["best"] == result.energy
    assert result.trace[-1]["companion"]["best"] >= result.energy


def test_without_a_trace_there_is_none(matrix):
    assert library_alone(matrix, trial_limit=50).trace is None
    assert library_alone(matrix, trial_limit=50, trace=False).trace is None
    for wrong in (5, b"trace"):
        with pytest.raises(TypeError, match="trace must be"):
            library_alone(matrix, trial_limit=50, trace=wrong)
    with pytest.raises(FileNotFoundError):
        library_alone(matrix, trial_limit=50, trace="/nowhere/trace")


def test_energies_of_a_trace_are_the_callers(matrix):
    result = orvex.solve(matrix * 0.5 + np.diag(np.full(12, 0.25)), trial_limit=300, presolve=False, trace=True)
    end = result.trace[-1]
    assert end["energy"] == end["best"] == result.energy
    assert min(island["best"] for island in end["islands"]) == result.energy
    energies = [line["energy"] for line in result.trace if line["event"] == "improved"]
    assert energies[-1] == result.energy


def test_a_trace_that_cannot_be_written_does_not_cost_the_result(matrix):
    with pytest.warns(RuntimeWarning, match="the trace ends here"):
        result = library_alone(matrix, trial_limit=50, trace="/dev/full")
    assert result.trace[-1]["event"] == "end"


def test_what_a_callback_raises_leaves_the_trace_so_far(matrix, tmp_path):
    def fail(event: orvex.Event) -> None:
        raise RuntimeError("enough")

    path = tmp_path / "trace.jsonl"
    with pytest.raises(RuntimeError, match="enough"):
        library_alone(matrix, time_limit=5, callback=fail, trace=path)
    assert lines_of(path)[0]["event"] == "begin"


# ---- what is read


def test_a_trace_that_is_still_written_is_read_as_far_as_it_goes(traced, tmp_path):
    text = traced[1].read_text(encoding="utf-8")
    path = tmp_path / "part.jsonl"
    path.write_text(text[: len(text) - 40], encoding="utf-8")
    run = report.read_trace(path)
    assert run.name == "part" and run.end == {} and len(run.states) == 2
    assert "the trace breaks off" in report.page(run)


@pytest.mark.parametrize(
    ("text", "message"),
    [
        ("", "empty"),
        ("3 3 -3 2\n", "line 1"),
        ('{"event": "state", "time": 1}\n', "begins with the event begin"),
        ('{"event": "begin", "trace": 2}\n', "version 2"),
        ('{"event": "begin", "trace": 1}\n{"event": "improved"}\n', "line 2"),
        ('{"event": "begin", "trace": 1}\n[]\n', "line 2"),
    ],
)
def test_what_is_no_trace_is_refused(tmp_path, text, message):
    path = tmp_path / "wrong"
    path.write_text(text, encoding="utf-8")
    with pytest.raises(report.TraceError, match=message):
        report.read_trace(path)
    run = subprocess.run(
        [sys.executable, "-m", "orvex.report", path, "-o", tmp_path / "page.html"], capture_output=True, text=True
    )
    assert run.returncode == 2 and run.stderr.startswith("Error: ") and not (tmp_path / "page.html").exists()


def test_unknown_events_and_keys_are_skipped():
    run = report.Run("run")
    for line in (
        {"event": "begin", "trace": 1, "later": 5},
        {"event": "later"},
        {"event": "state", "time": 1.0, "later": {}},
        {"event": "improved", "time": 0.5, "energy": -1},
        {"event": "improved", "time": 0.4, "energy": -3},
    ):
        run.take(line)
    assert run.bests == [(0.4, -3, "")]
    assert list(report.figures(run)) == ["energy"]


# ---- what is drawn


def test_curves_tell_what_the_trace_tells():
    run = report.Run("run")
    run.take({"event": "begin", "trace": 1, "target": -9})
    for time, energy in ((0.5, -4), (1.5, -7)):
        run.take({"event": "improved", "time": time, "energy": energy})
    for event, time, flips, rules in (
        ("state", 1.0, 100, {"A": 3, "B": 1}), ("state", 2.0, 500, {"A": 3, "B": 5}), ("end", 4.0, 700, {"A": 7, "B": 5}),
    ):  # fmt: skip
        run.take({"event": event, "time": time, "flips": flips, "rules": rules})
    figures = report.figures(run)
    assert list(figures) == ["energy", "gap", "rules", "flips"]
    best, target = figures["energy"].data
    assert (list(best.x), list(best.y)) == ([0.5, 1.5, 4.0], [-4, -7, -7])
    assert list(target.y) == [-9, -9]
    (gap,) = figures["gap"].data
    assert (list(gap.x), list(gap.y)) == ([0.5, 1.5], [3, 3])
    (flips,) = figures["flips"].data
    assert (list(flips.x), list(flips.y)) == ([0, 1, 2, 4], [100, 400, 100, 100])
    a, b = figures["rules"].data
    assert (list(a.y), list(b.y)) == ([0.75, 0, 1, 1], [0.25, 1, 0, 0])


def test_results_are_compared(traced, matrix):
    result, path = traced
    plain = library_alone(matrix, trial_limit=100)
    figures = report.figures([result, path, plain])
    assert [line.name for line in figures["energy"].data if line.name.count(":") == 0] == [
        "search 1", "long run", "search 2"
    ]  # fmt: skip
    assert list(report.figures(plain))[0] == "energy" and "flips" not in report.figures(plain)
    assert len({line.yaxis for line in figures["rules"].data}) == 2


def test_results_plot_the_same_with_matplotlib(traced, matrix):
    result, _ = traced
    for picture, figure in report.figures(result).items():
        axes = result.plot(show=picture)
        assert len(axes.get_lines()) + len(axes.collections) == len(figure.data), picture
        if axes.get_lines():
            assert list(axes.get_lines()[0].get_xdata()) == list(figure.data[0].x)
        matplotlib.pyplot.close(axes.figure)
    with pytest.raises(ValueError, match="show must be one of"):
        result.plot(show="everything")
    with pytest.raises(ValueError, match="trace=True"):
        library_alone(matrix, trial_limit=20).plot(show="flips")


def test_a_page_has_tables_and_escapes_names(traced):
    result, _ = traced
    run = report.run_of(result, name="<b>&")
    run.begin["presolve_rules"] = [{"rule": "twins", "variables": 1234, "seconds": 0.5}]
    page = report.page(run, title="One & only")
    assert "<title>One &amp; only</title>" in page
    body = page[page.index("<body>") :]
    assert "<b>" not in body and "&lt;b&gt;&amp;" in body
    for text in (f"{result.energy:,}", "1,234", "twins", result.trace[0]["band"], "time limit"):
        assert text in body


# ---- the page in a browser


@pytest.mark.skipif(CHROMIUM is None, reason="there is no Chromium here")
def test_a_page_shows_without_network_and_errors(traced, tmp_path):
    traces = [traced[1], traced[1]]
    page = tmp_path / "page.html"
    subprocess.run([sys.executable, "-m", "orvex.report", *traces, "-o", page], check=True, timeout=60)
    dom, console, picture = browse(page, tmp_path / "page.png")
    assert "CONSOLE" not in console, console
    figures = report.figures(traces)
    assert dom.count('class="main-svg"') >= 2 * len(figures), "each figure has its layers"
    assert dom.count('class="scatterlayer') >= len(figures)
    assert 'data-title="Zoom"' in dom and 'data-title="Share' not in dom, "nothing is handed to a service"
    # Not blank: not all paper, and the colours of some curves and areas.
    colours, counts = np.unique(picture.reshape(-1, 3), axis=0, return_counts=True)
    assert counts.max() < 0.98 * counts.sum()
    vivid = (colours.max(axis=1).astype(int) - colours.min(axis=1) > 100) & (counts > 50)
    assert vivid.sum() >= 3


@pytest.mark.skipif(CHROMIUM is None, reason="there is no Chromium here")
def test_an_error_of_a_page_would_be_seen(tmp_path):
    page = tmp_path / "page.html"
    page.write_text("<script>nothing.there();</script>", encoding="utf-8")
    assert "CONSOLE" in browse(page, tmp_path / "page.png")[1]


def browse(page: Path, picture: Path) -> tuple[str, str, np.ndarray]:
    """What Chromium makes of a page, what it says of it, and how it looks."""
    options = [
        "--headless", "--no-sandbox", "--disable-gpu", "--hide-scrollbars", "--enable-logging=stderr",
        "--window-size=1200,3000", "--virtual-time-budget=10000", "--host-resolver-rules=MAP * ~NOTFOUND",
        f"--user-data-dir={picture.parent / 'chromium'}",
    ]  # fmt: skip

    def run(action: str) -> "subprocess.CompletedProcess[str]":
        return subprocess.run(
            [str(CHROMIUM), *options, action, page.as_uri()], capture_output=True, text=True, timeout=120, check=True
        )

    shot = run(f"--screenshot={picture}")
    dom = run("--dump-dom")
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        pixels = matplotlib.image.imread(picture)
    return dom.stdout, shot.stderr + dom.stderr, (pixels[:, :, :3] * 255).astype(np.uint8)
