"""The progress of a search: a bar of tqdm, or a line on standard error each second."""

from __future__ import annotations

import sys
from types import TracebackType
from typing import Any

try:
    from tqdm.auto import tqdm
except ImportError:
    tqdm = None


class Progress:
    """Shows how far a search has come; to be used in a with statement."""

    def __init__(self, limit: float | None) -> None:
        self._limit = limit
        self._bar: Any = None
        self._last = float("-inf")

    def __enter__(self) -> Progress:
        if tqdm is not None:
            self._bar = tqdm(
                total=self._limit,
                desc="orvex",
                bar_format=(
                    "{desc}: {n:.1f} of {total:g} s |{bar}|{postfix}"
                    if self._limit
                    else "{desc}: {n:.1f} s{postfix}"
                ),
                unit="s",
            )
        return self

    def show(self, elapsed: float, energy: int | float | None, more: str = "") -> None:
        """The time and the best energy at present, and what else there is to tell."""
        if elapsed - self._last < (0.1 if self._bar is not None else 1.0):
            return
        self._last = elapsed
        text = "no solution yet" if energy is None else f"best energy {energy}"
        text += more
        if self._bar is None:
            print(f"orvex: {elapsed:.0f} s, {text}", file=sys.stderr, flush=True)
            return
        self._bar.set_postfix_str(text, refresh=False)
        self._bar.update(min(elapsed, self._limit or elapsed) - self._bar.n)

    def __exit__(
        self,
        kind: type[BaseException] | None,
        error: BaseException | None,
        trace: TracebackType | None,
    ) -> None:
        if self._bar is not None:
            self._bar.close()
