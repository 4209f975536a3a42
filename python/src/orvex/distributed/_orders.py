"""What the searches of a run are told: the best of all, and orders of the caller. :mod:`._traffic` has the ways
and the bounds.
"""

from __future__ import annotations

import time
from typing import Any

from .._model import Words
from ._cluster import UNREACHABLE, Cluster
from ._mail import Message
from ._searches import Entry, Searches
from ._traffic import ROUND, split

#: About a message on its way: the energy in it, the order that it is, and to which turns of searches it goes.
_Sent = tuple[Any, Any, "list[tuple[Entry, int]]"]


class Orders:
    def __init__(self, cluster: Cluster, searches: Searches) -> None:
        self._cluster, self._searches = cluster, searches
        self._open: list[tuple[Message, set[int]]] = []  # and who was told
        self._due = 0.0

    def give(self, message: Message) -> None:
        """What every search is to be told."""
        self._open.append((message, set()))

    def stop(self, status: str) -> None:
        """The searches are to end, those included that begin later."""
        if not any("stop" in message for message, _ in self._open):
            self.give({"stop": status})

    def hand_out(self, energy: int, words: Words) -> None:
        """The best goes to all who do not know of one as good; at most in each round."""
        now = time.monotonic()
        if now < self._due:
            return
        reachable = self._searches.reachable()
        receivers = [
            search
            for search in reachable
            if not search.busy and (search.sent is None or search.sent > energy)
        ]
        if not receivers:
            return
        self._due = now + ROUND
        self._send({"best": (energy, words.tobytes()), "searches": len(reachable)}, receivers, energy)

    def send(self) -> None:
        """What is open goes to those who have not been told; only the end is told to whoever comes."""
        for message, told in self._open:
            receivers = [s for s in self._searches.reachable() if s.number not in told]
            told.update(search.number for search in receivers)
            if receivers:
                self._send(message, receivers, None)
        self._open = [order for order in self._open if "stop" in order[0]]

    def _send(self, message: Message, receivers: list[Entry], energy: int | None) -> None:
        for way in split(receivers):
            for search in way:
                search.busy = search.busy or energy is not None
            sent = (
                energy,
                message if "stop" in message else None,
                [(search, search.turn) for search in way],
            )
            self._cluster.deliver(
                sent, way[0].actor, message, [search.address for search in way[1:]]
            )

    def hear_delivered(self, sent: _Sent, answer: Any) -> None:
        """Who was not reached is among the next who are sent to."""
        expect_unreachable(answer)
        energy, order, way = sent
        missed = None if isinstance(answer, Exception) else {tuple(there) for there in answer}
        for search, turn in way:
            if search.turn != turn:
                continue
            reached = missed is not None and tuple(search.address) not in missed
            if energy is not None:
                search.busy = False
                if reached:
                    search.knows(energy)
            elif order is not None and not reached:
                for message, told in self._open:
                    if message is order:
                        told.discard(search.number)


def expect_unreachable(answer: Any) -> None:
    """Raises an error that no fault of a cluster explains."""
    if isinstance(answer, Exception) and not isinstance(answer, UNREACHABLE):
        raise answer
