"""Which worker does which search.

A worker that is gone takes its search with it, which starts anew on the next worker that is free, such as the one
that Dask starts in its place; workers that come later are free ones. A search that has lost four workers is given
up.
"""

from __future__ import annotations

import time
from collections.abc import Callable, Iterable
from typing import Any

from distributed import Future, KilledWorker
from distributed.comm import get_address_host

from .._library import OrvexError
from ._cluster import Cluster
from ._course import Course
from ._payload import Payload
from ._searches import Entry, Searches, State

#: How often the workers are asked for, in seconds.
_INTERVAL = 0.5
#: A search that has been started anew this often, and is lost once more, is given up.
_MOST_RESTARTS = 3


class Members:
    """Gives searches to workers, and takes them away from those that are gone; `on_loss` is told of it."""

    def __init__(
        self,
        cluster: Cluster,
        payload: Payload,
        searches: Searches,
        one_for_each: bool,
        course: Course,
        on_loss: Callable[[Entry], None],
    ) -> None:
        self.ignored: dict[str, str] = {}  #: workers that no search can run in, and why
        self._cluster, self._payload, self._searches, self._course = cluster, payload, searches, course
        self._one_for_each = one_for_each  # worker, and not a number of searches
        self._on_loss = on_loss
        self._workers: dict[str, int] = {}
        self._asked = False
        self._due = 0.0
        self._placed: Future | None = None
        self._hosts: dict[str, bool] = {}  # that are sent the payload, and whether they have it

    def keep(self) -> None:
        """Looks for workers from time to time, and starts the searches that wait for one."""
        now = time.monotonic()
        if not self._asked and now >= self._due:
            self._asked = True
            self._due = now + _INTERVAL
            self._cluster.ask_workers()
        self._assign()

    def expect_some_left(self) -> None:
        if all(search.lost for search in self._searches):
            raise OrvexError(
                f"every search lost its worker {_MOST_RESTARTS + 1} times; the logs of the workers say "
                "why, such as too little memory (--memory-limit)"
            )

    def release(self) -> None:
        """Whoever still searches stops when Dask takes its task away."""
        for search in self._searches:
            search.release()
        if self._placed is not None:
            self._placed.release()

    def lose(self, search: Entry) -> None:
        """Its worker is gone: it waits for another, which begins with the best that is known."""
        self._on_loss(search)
        search.flips_before, search.flips = search.flips_before + search.flips, 0
        search.release()
        search.worker, search.sent, search.busy = "", None, False
        search.lost = search.turn > _MOST_RESTARTS
        ends = search.lost or self._course.status is not None
        search.state = State.OVER if ends else State.WAITING

    # ---- workers

    def hear_workers(self, _: None, answer: Any) -> None:
        self._asked = False
        if isinstance(answer, Exception):
            return
        self._workers = dict(answer)
        for address, threads in self._workers.items():
            if threads != 1 and address not in self.ignored:
                self.ignored[address] = thread_message(address, threads)
        for search in self._searches:
            futures = [future for future in (search.task, search.mailbox) if future is not None]
            taken_away = any(future.status in ("lost", "cancelled") for future in futures)
            if search.worker and search.state is not State.OVER:
                if search.worker not in self._workers or taken_away:
                    self.lose(search)
        if self._one_for_each:
            usable = {address for address in self._workers if address not in self.ignored}
            served = {search.worker for search in self._searches if search.state is State.OVER}
            searching = sum(search.state is not State.OVER for search in self._searches)
            self._searches.add(len(usable - served) - searching)

    def _assign(self) -> None:
        used = {search.worker for search in self._searches if search.alive}
        free = [a for a in self._workers if a not in used and a not in self.ignored]
        waiting = [search for search in self._searches if search.state is State.WAITING]
        chosen = list(zip(waiting, free))
        if not chosen or self._course.time_is_up or not self._place([worker for _, worker in chosen]):
            return
        for search, worker in chosen:
            search.turn += 1
            search.worker, search.state = worker, State.STARTING
            search.mailbox = self._cluster.start_mailbox(
                search.number, search.turn, worker, max(len(self._workers), 1)
            )

    # ---- the problem

    def _place(self, workers: list[str]) -> bool:
        """The payload goes to one worker of each host; the others fetch it within their host."""
        try:
            if self._placed is None or self._placed.status != "finished":
                self._placed = self._cluster.place(self._payload, workers[0])
                self._hosts = {get_address_host(workers[0]): True}
        except (OSError, TimeoutError):
            return False  # that worker is gone again
        hosts = {get_address_host(worker): worker for worker in reversed(workers)}
        new = {host: worker for host, worker in hosts.items() if host not in self._hosts}
        if new:
            self._hosts.update(dict.fromkeys(new, False))
            self._cluster.spread(self._placed, new)
        return True

    def hear_spread(self, hosts: Iterable[str], answer: Any) -> None:
        """Where it failed, workers fetch what they need by themselves."""
        self._hosts.update(dict.fromkeys(hosts, True))
        for search in self._searches:
            if search.actor is not None and search.task is None:
                self._start(search)

    # ---- the life of a search

    def hear_mailbox(self, whom: tuple[int, int], done: Future) -> None:
        self._hear_done("actor", whom, done)

    def hear_actor(self, whom: tuple[int, int], answer: Any) -> None:
        search = self._searches.in_turn(whom)
        if search is None:
            return
        if isinstance(answer, Exception):
            self.lose(search)
            return
        if self._course.status is not None:
            search.state = State.OVER
            return
        search.actor = answer
        self._start(search)

    def _start(self, search: Entry) -> None:
        host = get_address_host(search.worker)
        if not self._hosts.get(host, True):
            return  # until the problem is there
        shared = [
            other.worker
            for other in self._searches
            if other.worker and other.state is not State.OVER and get_address_host(other.worker) == host
        ]
        share = (shared.index(search.worker), len(shared))
        assert self._placed is not None
        search.task = self._cluster.start_search(
            search.number, search.turn, search.worker, self._placed, self._course.time_left, share
        )

    def hear_ended(self, whom: tuple[int, int], done: Future) -> None:
        self._hear_done("report", whom, done)

    def _hear_done(self, what: str, whom: tuple[int, int], done: Future) -> None:
        """What a search made is fetched. If it raised, that ends the run; if its worker is gone, it starts anew."""
        search = self._searches.in_turn(whom)
        if search is None:
            return
        if done.status == "finished":
            self._cluster.fetch(what, whom, done)
        elif done.status == "error":
            self._cluster.fetch("error", whom, done)
        else:
            self.lose(search)

    def hear_error(self, whom: tuple[int, int], error: Any) -> None:
        search = self._searches.in_turn(whom)
        if search is None:
            return
        if isinstance(error, (KilledWorker, OSError, TimeoutError)):
            self.lose(search)
            return
        search.state = State.OVER
        if self._course.status is None:
            raise error


def thread_message(address: str, threads: int) -> str:
    """Why a worker cannot search, and the setting that mends it."""
    return (
        f"the worker {address} has {threads} threads, and one search at a time runs in a process: start "
        "workers with one thread each (dask worker --nthreads 1, LocalCluster(threads_per_worker=1), "
        "dask_jobqueue with processes=cores)"
    )
