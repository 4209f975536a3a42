"""The programs of the pages and of the README run, in order, and print what is shown after them."""

import contextlib
import io
import re
from pathlib import Path

import matplotlib
import pytest

matplotlib.use("Agg")
ROOT = Path(__file__).parents[2]
BLOCK = re.compile(r"```python\n(.*?)```(?:\n+prints\n+```\n(.*?)```)?", re.DOTALL)


PAGES = ["README.md", *sorted(
    str(page.relative_to(ROOT)) for page in (ROOT / "docs").rglob("*.md") if "```python\n" in page.read_text()
)]  # fmt: skip


@pytest.mark.parametrize("page", PAGES)
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
