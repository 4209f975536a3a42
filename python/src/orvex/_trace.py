"""The trace of a search: what it did, second by second, as the lines that `orvex solve --trace` writes too
(docs/traces.md). The library's threads only note the lines; what may take time or fail happens on the
caller's own thread.
"""

from __future__ import annotations

import json
import os
import warnings
from collections import deque
from fractions import Fraction
from typing import IO, TYPE_CHECKING, Any, Union

if TYPE_CHECKING:
    from ._problem import Problem

#: One line of a trace.
Line = dict[str, Any]
#: What a caller may ask for: a file's path, True for a trace in memory alone.
Trace = Union[bool, str, "os.PathLike[str]", None]
_ENERGIES = frozenset(("best", "current", "energy", "target"))


class Tracer:
    """Keeps a trace, and writes it to a file where one was named."""

    def __init__(self, trace: Trace, problem: Problem) -> None:
        self.news: deque[bytes] = deque()  #: lines that the library's threads have noted
        self.lines: list[Line] = []
        self._problem = problem
        self._file: IO[str] | None = None
        if not isinstance(trace, bool):
            assert trace is not None
            self._file = open(trace, "w", encoding="utf-8")

    def take(self) -> None:
        """Takes what is new, on the caller's thread."""
        while self.news:
            line = self._in_callers_units(json.loads(self.news.popleft()))
            self.lines.append(line)
            self._write(json.dumps(line) + "\n")

    def close(self) -> None:
        """The search is over for the caller."""
        self.take()
        if self._file is not None:
            self._file.close()
            self._file = None

    def _write(self, text: str) -> None:
        if self._file is None:
            return
        try:
            self._file.write(text)
            self._file.flush()
        except OSError as error:  # which is no reason to lose the search
            warnings.warn(f"the trace ends here: {error}", RuntimeWarning, stacklevel=2)
            self._file = None

    def _in_callers_units(self, value: Any) -> Any:
        """The same with energies as the caller counts them."""
        if isinstance(value, list):
            return [self._in_callers_units(element) for element in value]
        if not isinstance(value, dict):
            return value
        return {key: self._converted(key, element) for key, element in value.items()}

    def _converted(self, key: str, value: Any) -> Any:
        if value is None or isinstance(value, (str, float)):
            return value
        if key in _ENERGIES:
            return self._problem._from_search(Fraction(value))
        if key == "bound":
            return self._problem._bound(value)
        return self._in_callers_units(value)


def tracer_of(trace: Trace, problem: Problem) -> Tracer | None:
    """What keeps the trace that a caller asks for; None where none is wanted."""
    if trace is None or trace is False:
        return None
    if not isinstance(trace, (bool, str, os.PathLike)):
        raise TypeError(f"trace must be a path, True or None, not {trace!r}")
    return Tracer(trace, problem)
