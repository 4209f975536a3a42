"""The tutorial's and the README's programs run, in order, and print what is shown behind them."""

import contextlib
import io
import re
from pathlib import Path

import matplotlib
import pytest

matplotlib.use("Agg")
ROOT = Path(__file__).parents[2]
BLOCK = re.compile(r"```python\n(.*?)```(?:\n+prints\n+```\n(.*?)```)?", re.DOTALL)


@pytest.mark.parametrize("page", ["docs/tutorial/python.md", "docs/constraints.md", "README.md"])
def test_the_programs_of_a_page_print_what_it_says(page, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    blocks = BLOCK.findall((ROOT / page).read_text())
    assert blocks
    names: dict = {}
    for program, expected in blocks:
        shown = io.StringIO()
        with contextlib.redirect_stdout(shown):
            exec(compile(program, page, "exec"), names)  # noqa: S102
        if expected:
            assert shown.getvalue() == expected
