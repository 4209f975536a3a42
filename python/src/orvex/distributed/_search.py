"""One search in a worker's process: the task that Dask runs."""

from __future__ import annotations

import os
from collections.abc import Iterator
from contextlib import contextmanager
from typing import Any, NamedTuple

import numpy as np

from .._events import Pulse
from .._problem import Problem
from .._solve import solve
from ._mail import TOPIC, Mailbox, true_words
from ._payload import Payload


class Report(NamedTuple):
    """What a search brought."""

    worker: str
    energy: int | None  #: of its best, in the integers that are searched
    words: bytes | None  #: its best, if it is better than all that came from others
    found: int  #: new bests
    received: int  #: solutions that were taken in from other searches
    refused: int  #: solutions from outside whose energy was wrong
    flips: int
    status: str
    stopped: str | None  #: why it was told to end
    info: dict[str, str]
    bound: float | None
    seconds: float


class Search:
    """What a search does at each pulse."""

    def __init__(self, problem: Problem, mail: Mailbox, key: str) -> None:
        from distributed import get_worker

        self._problem, self._mail, self._key = problem, mail, key
        self._worker = get_worker()
        self._best: int | None = None
        self._best_time = -1.0
        self.taken = 0
        self.flips = 0

    def pulse(self, pulse: Pulse) -> None:
        self.flips = pulse.flips
        if pulse.best is not None and pulse.best.time != self._best_time:
            self._best_time = pulse.best.time
            words = self._problem._words(pulse.best.x)
            self._best = self._problem._energy(words)
            self._mail.find(self._best, words)
        self._take_in(pulse)
        announcement = self._mail.announcement(self.flips, pulse.time)
        if announcement is not None:
            self._worker.log_event(TOPIC, announcement)
        if self._mail.stop is not None or self._is_alone():
            pulse.stop()

    def _take_in(self, pulse: Pulse) -> None:
        """One solution at a pulse, which is ten a second at most."""
        better = self._mail.take_better(self._best)
        if better is not None:
            words = true_words(self._problem, *better)
            if words is not None:
                self._mail.learn(better[0])
                self.taken += 1
                pulse.hint(self._problem._bits(words))
            else:
                self._mail.refused += 1
        if self._mail.hints:
            packed = self._mail.hints.popleft()
            pulse.hint(self._problem._bits(np.frombuffer(packed, dtype=np.uint64)))
        if self._mail.changes:
            changes, self._mail.changes = self._mail.changes, {}
            pulse.set(**changes)

    def _is_alone(self) -> bool:
        """Whether nobody waits for the result any more: the client has gone, or the scheduler."""
        task = self._worker.state.tasks.get(self._key)
        gone = task is None or task.state == "cancelled"
        return gone or self._worker.status.name in ("closing", "closed", "failed", "stopped")


def search(
    payload: Payload, run: str, number: int, key: str, limit: float | None, share: tuple[int, int]
) -> Report:
    """Searches until the end of the run; started by the client.

    `share` is the position of this worker among those of its host that search in this run, and how many
    they are.
    """
    mail = Mailbox.of(run, number)
    try:
        problem, arguments = payload.unpacked()
        arguments["seed"] = (arguments["seed"] + number) % 2**64
        state = Search(problem, mail, key)
        with _processors(*share):
            result = solve(problem, time_limit=limit, pulse=state.pulse, **arguments)
        words = problem._words(result.x)
        energy = problem._energy(words)
        mail.find(energy, words)
        news = mail.own is not None and mail.own[0] == mail.known == energy
        return Report(
            worker=str(state._worker.name),
            energy=energy,
            words=words.tobytes() if news else None,
            found=len(result.history),
            received=state.taken,
            refused=mail.refused,
            flips=_flips(result.info, state.flips),
            status=result.status,
            stopped=mail.stop,
            info=result.info,
            bound=result.bound,
            seconds=result.timings["search"],
        )
    finally:
        mail.close()


def _flips(info: dict[str, str], seen: int) -> int:
    return max(seen, int(info.get("total_flips") or 0), int(info.get("companion_flips") or 0))


@contextmanager
def _processors(place: int, of: int) -> Iterator[None]:
    """Where several searches share a host, each keeps to its part of the processors. A worker that has been
    given some of them already, as by Slurm, keeps those."""
    if of < 2 or not hasattr(os, "sched_getaffinity"):
        yield
        return
    before = os.sched_getaffinity(0)
    processors = sorted(before)
    if len(processors) < (os.cpu_count() or 1):
        yield
        return
    count = len(processors)
    mine = processors[place * count // of : (place + 1) * count // of]
    # The search's threads are started from this one, and inherit what it may run on.
    os.sched_setaffinity(0, mine or [processors[place % count]])
    try:
        yield
    finally:
        os.sched_setaffinity(0, before)
