"""A run from the client's side: it follows the searches from the first news to the last, keeps the bests, and ends
when a limit holds. All of it happens on the caller's thread, in answer to news from the cluster.

Who speaks to whom, and by which of Dask's primitives:

- A search announces its new best as an *event*: its number, the energy, its flips, no bits. Events go with the
  stream that a worker holds to the scheduler anyway, so a search waits for nothing; and since announcements are
  all alike and small, the log of them that a scheduler keeps (1000 of a topic) is bounded whatever the problem's
  size.
- The client fetches the bits of what is lower than all that it knows from the search's mailbox, which is an
  *actor*, adds up the energy, and hands energy and packed bits to the mailboxes of the others. Actors alone
  reach into a process whose one thread is busy, and find it when it is known where it is, and a message to them
  is gone when it is read. Queues would need a client and a waiting thread in each worker, and keep what nobody
  reads in the scheduler's memory; events would log the bits.
- With many searches the mailboxes hand messages on: :mod:`._traffic` has the ways and the bounds, :mod:`._orders`
  what is told.

:mod:`._members` answers for workers that are gone. If the scheduler is gone, the run ends with what the client
knows.
"""

from __future__ import annotations

import queue
import time
from collections.abc import Callable
from typing import Any

from .._arguments import Limits
from .._bests import Bests
from .._checkpoint import Checkpoint
from .._events import Callback, Event, Pulse, PulseCallback, tell
from .._interrupts import Interrupts
from .._model import Words
from .._problem import Problem
from .._progress import Progress
from ._cluster import Cluster
from ._course import Course
from ._mail import Message, true_words
from ._members import Members
from ._orders import Orders, expect_unreachable
from ._payload import Payload
from ._search import Report
from ._searches import Entry, Searches, State

#: The least time between two pulses, in seconds.
_PULSE = 0.1


class Hub:
    """A run. `follow` returns when it has ended; what was found is in the fields."""

    def __init__(
        self,
        cluster: Cluster,
        problem: Problem,
        payload: Payload,
        searches: int | None,
        limits: Limits,
        starts: list[Words],
        callback: Callback | None,
        pulse: PulseCallback | None,
        checkpoint: Checkpoint | None,
    ) -> None:
        self.problem = problem
        self.course = Course(limits)
        self.searches = Searches(searches or 0)
        self.members = Members(
            cluster, payload, self.searches, searches is None, self.course, self._forget_candidate
        )
        self.bests = Bests(problem)
        self.finder: Entry | None = None  #: of the last of them
        self.progress: Progress | None = None
        self.run = self  # of events, who ask it for hints and settings
        self._cluster = cluster
        self._orders = Orders(cluster, self.searches)
        self._limits = limits
        self._callback, self._pulse = callback, pulse
        self._next_pulse = 0.0
        self._checkpoint = checkpoint
        self._known: tuple[int, Words] | None = None  # the lowest energy of those that are searched
        self._candidate: Entry | None = None  # whose best is being fetched
        self._failure: BaseException | None = None
        self._hear: dict[str, Callable[[Any, Any], None]] = {
            "announced": self._hear_announced,
            "best": self._hear_best,
            "report": self._hear_report,
            "delivered": self._orders.hear_delivered,
            "workers": self.members.hear_workers,
            "spread": self.members.hear_spread,
            "mailbox": self.members.hear_mailbox,
            "actor": self.members.hear_actor,
            "ended": self.members.hear_ended,
            "error": self.members.hear_error,
        }
        for words in starts:
            self._found(words, None)

    # ---- the caller's

    def follow(self) -> None:
        """Goes with the run until its end. An interrupt may come anywhere within."""
        try:
            with Interrupts() as interrupts:
                self._work(interrupts)
        except KeyboardInterrupt:
            self.end("interrupted")
            try:
                self._work()
            except KeyboardInterrupt:
                pass
        except BaseException as failure:
            self._failure = failure
            self.end("stopped by callback")
            self._work()
        finally:
            self.members.release()
            self._cluster.close()
        if self._failure is not None:
            raise self._failure

    def end(self, status: str) -> None:
        """Ends the run; the first reason counts."""
        self.course.end(status)

    def hint(self, words: Words) -> None:
        self._orders.give({"hint": words.tobytes()})

    def set(self, changes: dict[str, str]) -> None:
        self._orders.give({"changes": {name: float(value) for name, value in changes.items()}})

    # ---- the run

    def _work(self, interrupts: Interrupts | None = None) -> None:
        while not self._over():
            if interrupts is not None:
                interrupts.expect_none()
            try:
                what, whom, answer = self._cluster.news.get(timeout=0.02)
                self._hear[what](whom, answer)
                for _ in range(1000):
                    what, whom, answer = self._cluster.news.get_nowait()
                    self._hear[what](whom, answer)
            except queue.Empty:
                pass
            self._look_at_limits()
            if self.course.status is None:
                self.members.keep()
                self._fetch()
                if self._known is not None:
                    self._orders.hand_out(*self._known)
                self._tell_pulse()
            self._orders.send()
            if self.progress is not None:
                self._show(self.progress)

    def _over(self) -> bool:
        if self.course.status is None:
            return False
        return not self.searches.any_alive or self.course.patience_is_over or not self._cluster.alive

    def _look_at_limits(self) -> None:
        course, searches = self.course, self.searches
        if not self._cluster.alive:
            self.end("scheduler lost")
        if course.grace_is_over or (course.time_is_up and not searches.any_alive):
            self.end("time limit")
        if self.bests and self._limits.target_holds(self.bests.energy):
            self.end("target reached")
        if course.status is None and len(searches) and all(s.state is State.OVER for s in searches):
            done = [search for search in searches if not search.lost]
            self.end(done[0].report.status if done and done[0].report is not None else "ended")
            self.members.expect_some_left()
        if course.status is not None:
            self._orders.stop(course.status)

    # ---- solutions

    def _hear_announced(self, _: None, message: Message) -> None:
        number = message["search"]
        if not isinstance(number, int) or not 0 <= number < len(self.searches):
            return
        search = self.searches[number]
        if search.state is State.STARTING:
            search.state = State.SEARCHING
        self.course.begin()
        search.flips, search.seconds = max(search.flips, message["flips"]), message["seconds"]
        energy = message["best"]
        if search.announce(energy):
            search.knows(energy)

    def _fetch(self) -> None:
        """The lowest that was announced, if it is lower than what is known; one at a time."""
        if self._candidate is not None:
            return
        announced = [
            (search.announced, search.number)
            for search in self.searches
            if search.actor is not None and search.announced is not None
        ]
        if not announced:
            return
        energy, number = min(announced)
        if self._known is None or energy < self._known[0]:
            self._candidate = self.searches[number]
            self._cluster.fetch_best(number, self._candidate.actor)

    def _forget_candidate(self, lost: Entry) -> None:
        if self._candidate is lost:
            self._candidate = None

    def _hear_best(self, number: int, answer: Any) -> None:
        search = self.searches[number]
        self._forget_candidate(search)
        expect_unreachable(answer)
        search.announced = None  # it will announce itself again if it is there
        if isinstance(answer, Exception) or answer is None:
            return
        energy, packed = answer
        words = true_words(self.problem, energy, packed)
        if words is not None:
            search.announced = energy
            self._found(words, search)

    def _hear_report(self, whom: tuple[int, int], report: Any) -> None:
        search = self.searches.in_turn(whom)
        if search is None:
            return
        if not isinstance(report, Report):
            self.members.lose(search)
            return
        search.report, search.state, search.flips = report, State.OVER, report.flips
        search.mailbox = search.task = search.actor = None
        search.announce(report.energy)
        if report.words is not None:
            words = true_words(self.problem, report.energy, report.words)
            if words is not None:
                self._found(words, search)
        if report.stopped is None and report.status in ("optimal", "target reached"):
            if self.course.status in (None, "time limit"):
                self.course.end_anyway(report.status)

    def _found(self, words: Words, finder: Entry | None) -> None:
        """A solution whose energy is added up here; counts if it is better than all before."""
        energy = self.problem._energy(words)
        if self._checkpoint is not None:
            self._checkpoint.note(words)
        if self._known is not None and energy >= self._known[0]:
            return
        self._known = (energy, words)
        if not self.bests.note(self.course.elapsed, energy, words):
            return  # better only as it was rounded
        self.finder = finder
        if self._callback is not None and finder is not None and self._failure is None:
            tell(self._callback, self._best())

    def _best(self) -> Event:
        return Event(self, *self.bests.last)

    def _tell_pulse(self) -> None:
        now = time.monotonic()
        if self._pulse is None or not self.course.has_begun or now < self._next_pulse:
            return
        self._next_pulse = now + _PULSE
        best = self._best() if self.bests else None
        tell(self._pulse, Pulse(self, self.course.elapsed, best, self.searches.flips))

    def _show(self, progress: Progress) -> None:
        searching = [search for search in self.searches if search.state is State.SEARCHING]
        rate = sum(search.flips / search.seconds for search in searching if search.seconds > 0)
        energy = self.bests.energy if self.bests else None
        progress.show(self.course.elapsed, energy, f", {len(searching)} searches, {rate:.3g} flips/s")
