"""The course of a run: when it began, why it ends, and how long its end is waited for."""

from __future__ import annotations

import time

from .._arguments import Limits

#: How long the end of all searches is waited for, in seconds.
_PATIENCE = 0.85
#: The same at a limit of time, where nobody waits: on a machine that is busy with other things a search's last
#: words take longer.
_PATIENCE_AT_LIMIT = 3.0
#: Longer than a limit of time, in seconds, for searches that end by themselves.
_GRACE = 0.3


class Course:
    def __init__(self, limits: Limits) -> None:
        self.status: str | None = None  #: why the run ends, once it does
        self._limits = limits
        self._began: float | None = None
        self._ended: float | None = None

    @property
    def has_begun(self) -> bool:
        return self._began is not None

    def begin(self) -> None:
        """The first search has begun."""
        if self._began is None:
            self._began = time.monotonic()

    @property
    def elapsed(self) -> float:
        return 0.0 if self._began is None else time.monotonic() - self._began

    def end(self, status: str) -> None:
        """The first reason counts."""
        if self.status is None:
            self.end_anyway(status)

    def end_anyway(self, status: str) -> None:
        """A reason that goes before the one that there is."""
        self.status = status
        if self._ended is None:
            self._ended = time.monotonic()

    @property
    def time_is_up(self) -> bool:
        return self._limits.time is not None and self.elapsed >= self._limits.time

    @property
    def grace_is_over(self) -> bool:
        return self._limits.time is not None and self.elapsed > self._limits.time + _GRACE

    @property
    def patience_is_over(self) -> bool:
        """Whether searches that have not told of their end are waited for no longer."""
        if self._ended is None:
            return False
        patience = _PATIENCE_AT_LIMIT if self.status == "time limit" else _PATIENCE
        return time.monotonic() - self._ended > patience

    @property
    def time_left(self) -> float | None:
        """For a search that begins now; None where time has no limit."""
        limit = self._limits.time
        return None if limit is None else max(0.01, limit - self.elapsed)
