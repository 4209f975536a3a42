"""The examples: each finds the known optimum, writes its picture, and opens as a notebook."""

import runpy
from pathlib import Path

import jupytext
import matplotlib
import matplotlib.image
import matplotlib.pyplot
import numpy as np
import pytest

matplotlib.use("Agg")
EXAMPLES = sorted((Path(__file__).parents[2] / "examples/python").glob("*.py"))


def test_there_are_nine():
    assert len(EXAMPLES) == 9


@pytest.mark.parametrize("example", EXAMPLES, ids=lambda path: path.stem)
def test_an_example_finds_the_known_optimum_and_draws_it(example, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    told = runpy.run_path(str(example))
    matplotlib.pyplot.close("all")
    assert told["found"] == pytest.approx(told["known"], abs=1e-9)
    picture = matplotlib.image.imread(tmp_path / f"{example.stem}.png")
    assert picture.shape[0] > 200 and np.std(picture[..., :3]) > 0.05


@pytest.mark.parametrize("example", EXAMPLES, ids=lambda path: path.stem)
def test_an_example_is_a_notebook(example):
    notebook = jupytext.read(example)
    kinds = [cell.cell_type for cell in notebook.cells]
    assert kinds[0] == "markdown" and kinds.count("code") >= 2
    assert (
        "\\min" in notebook.cells[0].source
        or "\\sum" in notebook.cells[0].source
        or "QUBO" in notebook.cells[0].source
    )
