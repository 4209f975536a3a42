"""The searches of a run as its client sees them: a table, whose rows the result shows."""

from __future__ import annotations

from collections.abc import Iterator
from enum import Enum
from fractions import Fraction
from typing import Any

from distributed import Future

from .._problem import Problem, plain
from .._result import Energy
from ._mail import Address
from ._result import SearchRow
from ._search import Report


class State(Enum):
    WAITING = 1  #: for a worker
    STARTING = 2  #: its mailbox is made, or its problem is loaded
    SEARCHING = 3
    OVER = 4


class Entry:
    """What is known of one search. A new turn of it begins with every worker that it is given."""

    def __init__(self, number: int) -> None:
        self.number = number
        self.state = State.WAITING
        self.turn = 0  #: how often it was started
        self.worker = ""  #: its address
        self.mailbox: Future | None = None
        self.actor: Any = None
        self.task: Future | None = None
        self.announced: int | None = None  #: the lowest energy that it told of
        self.sent: int | None = None  #: the lowest that it knows of
        self.busy = False  #: a message is on its way to it
        self.flips = self.flips_before = 0
        self.seconds = 0.0  #: that its flips took
        self.report: Report | None = None
        self.lost = False  #: given up, as its workers were lost

    @property
    def address(self) -> Address:
        return Address(self.worker, self.mailbox.key if self.mailbox is not None else "")

    @property
    def alive(self) -> bool:
        return self.state in (State.STARTING, State.SEARCHING)

    @property
    def restarts(self) -> int:
        return max(0, self.turn - 1)

    def announce(self, energy: int | None) -> bool:
        """Notes an energy that it told of; whether it is its lowest."""
        if energy is None or (self.announced is not None and self.announced <= energy):
            return False
        self.announced = energy
        return True

    def knows(self, energy: int) -> None:
        """Notes an energy that it was told, or told of."""
        self.sent = energy if self.sent is None else min(self.sent, energy)

    def release(self) -> None:
        """Dask takes its task away, and its mailbox."""
        for future in (self.task, self.mailbox):
            if future is not None:
                future.release()
        self.task = self.mailbox = self.actor = None


class Searches:
    def __init__(self, count: int) -> None:
        self._all: list[Entry] = []
        self.add(count)

    def __iter__(self) -> Iterator[Entry]:
        return iter(self._all)

    def __len__(self) -> int:
        return len(self._all)

    def __getitem__(self, number: int) -> Entry:
        return self._all[number]

    def add(self, count: int) -> None:
        self._all += [Entry(len(self._all) + k) for k in range(count)]

    def in_turn(self, whom: tuple[int, int]) -> Entry | None:
        """The search of a number, if this turn of it has not been given up."""
        number, turn = whom
        search = self._all[number]
        return search if search.turn == turn and search.worker else None

    def reachable(self) -> list[Entry]:
        """Those whose mailboxes take messages."""
        return [search for search in self if search.actor is not None and search.state is not State.OVER]

    @property
    def any_alive(self) -> bool:
        return any(search.alive for search in self)

    @property
    def flips(self) -> int:
        return sum(search.flips_before + search.flips for search in self)

    def rows(self, problem: Problem) -> list[SearchRow]:
        return [_row(search, problem) for search in self]


def _row(search: Entry, problem: Problem) -> SearchRow:
    report = search.report
    value: Energy | None = None
    if search.announced is not None:
        value = plain(Fraction(search.announced) / problem._factor + problem.offset)
    if report is not None:
        status = report.stopped or report.status
    elif search.turn == 0:
        status = "not started"
    else:
        status = "lost"
    return SearchRow(
        search=search.number,
        worker=report.worker if report is not None else search.worker,
        status=status,
        best=value,
        results=report.found if report is not None else 0,
        received=report.received if report is not None else 0,
        refused=report.refused if report is not None else 0,
        flips=search.flips_before + search.flips,
        restarts=search.restarts,
    )
