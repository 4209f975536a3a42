"""The mailbox of a search, in its process: what others send it, and what it has to tell.

A :class:`Mailbox` is an actor of Dask: an object in a worker's process whose methods are called from the client,
and here from other workers as well. They run on the worker's event loop, beside the search that keeps the
worker's one thread busy, so a message needs no thread and waits for nobody. Only the newest solution is kept: a
better one takes its place.

Invariant: a mailbox trusts nobody's energies. Bits are stored as they come, and the search adds up their
energy before it takes them in.
"""

from __future__ import annotations

import asyncio
import time
from collections import deque
from typing import Any, NamedTuple

import numpy as np

from .._model import Words
from .._problem import Problem
from ._traffic import QUIET, pause

#: Where the searches of a process find their mailboxes.
_BOXES: dict[tuple[str, int], Mailbox] = {}
#: A process that does not answer for so long, in seconds, has not got its message.
PATIENCE = 5.0
#: The topic of events under which all searches announce themselves.
TOPIC = "orvex"

Message = dict[str, Any]


class Address(NamedTuple):
    """Where a mailbox is."""

    worker: str
    key: str


class Mailbox:
    """What one search receives and tells; every method may be called by any thread."""

    def __init__(self, run: str, number: int, searches: int) -> None:
        self.run, self.number = run, number
        self.received: tuple[int, bytes] | None = None  #: the newest solution from outside
        self.known: int | None = None  #: the lowest energy known here, found or received
        self.own: tuple[int, bytes] | None = None  #: the best that is announced
        self.stop: str | None = None  #: why the search is to end
        self.hints: deque[bytes] = deque(maxlen=64)  #: of the caller
        self.changes: dict[str, float] = {}  #: of settings, asked for by the caller
        self.pause = pause(searches)
        self.refused = 0  #: solutions whose energy was wrong
        # Searches that begin together do not all announce themselves at once.
        self._wait = self.pause * (number % searches) / searches
        self._since: float | None = None  # when something was told last
        self._told: int | None = None
        _BOXES[run, number] = self

    @staticmethod
    def of(run: str, number: int) -> Mailbox:
        """The mailbox of a search in this process."""
        return _BOXES[run, number]

    def close(self) -> None:
        _BOXES.pop((self.run, self.number), None)

    # ---- called by others

    async def deliver(self, message: Message, onward: list[Address]) -> list[Address]:
        """Takes a message, and hands it on. Returns those who did not get it."""
        self.take(message)
        if not onward:
            return []
        from distributed import get_worker

        worker = get_worker()
        reached = await asyncio.gather(*(_hand_on(worker, there, message) for there in onward))
        return [there for there, ok in zip(onward, reached) if not ok]

    async def best(self) -> tuple[int, bytes] | None:
        """The best that the search has announced: energy and packed bits."""
        return self.own

    def take(self, message: Message) -> None:
        """What may be in a message: "best", "stop", "hint", "changes", "searches"."""
        if "best" in message:
            energy, _ = message["best"]
            if self.received is None or energy < self.received[0]:
                self.received = message["best"]
        if "hint" in message:
            self.hints.append(message["hint"])
        self.changes.update(message.get("changes", {}))
        if "searches" in message:
            self.pause = pause(message["searches"])
        if "stop" in message and self.stop is None:
            self.stop = message["stop"]

    # ---- called by the search

    def take_better(self, than: int | None) -> tuple[int, bytes] | None:
        """What came since the last call, if it says to be better than the search's own."""
        received, self.received = self.received, None
        if received is None:
            return None
        return None if than is not None and received[0] >= than else received

    def learn(self, energy: int) -> None:
        """An energy that was added up from bits that came from outside."""
        if self.known is None or energy < self.known:
            self.known = energy

    def find(self, energy: int, words: Words) -> None:
        """The search's own best. It is to be told only if it is better than all that is known here: so
        what came from outside does not go out again."""
        if self.known is None or energy < self.known:
            self.known = energy
            self.own = (energy, words.tobytes())

    def announcement(self, flips: int, seconds: float) -> Message | None:
        """What is to be told now, if anything is; bits are fetched by who wants them."""
        now = time.monotonic()
        energy = None if self.own is None else self.own[0]
        if self._since is None:
            self._since = now
        if now - self._since < (self._wait if energy != self._told else self._wait * QUIET):
            return None
        self._since, self._told, self._wait = now, energy, self.pause
        return {
            "run": self.run, "search": self.number, "best": energy, "flips": flips, "seconds": seconds,
        }  # fmt: skip


def true_words(problem: Problem, energy: object, packed: bytes) -> Words | None:
    """Bits from outside, if their energy is what was said."""
    if len(packed) != problem._no_words().nbytes:
        return None
    words = np.frombuffer(packed, dtype=np.uint64)
    beyond = problem._searched % 64
    if beyond and int(words[-1]) >> beyond:
        return None
    return words if problem._energy(words) == energy else None


async def _hand_on(worker: Any, there: Address, message: Message) -> bool:
    """The call that an Actor makes. An Actor object would open a client of its own in each worker that
    hands something on, a connection to the scheduler that nothing else here needs."""
    from distributed.protocol import to_serialize

    try:
        call = worker.rpc(there.worker).actor_execute(
            function="deliver",
            actor=there.key,
            args=[to_serialize(message), to_serialize([])],
            kwargs={},
        )
        reply = await asyncio.wait_for(call, PATIENCE)
    except (OSError, asyncio.TimeoutError):
        return False
    return bool(reply["status"] == "OK")
