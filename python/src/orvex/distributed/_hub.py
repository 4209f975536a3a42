"""A run from the client's side: which worker does which search, what is known, who is told of it, and when
it ends. All of it happens on the caller's thread, in answer to news from the cluster.

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
- With many searches the mailboxes hand messages on: :mod:`._traffic` has the ways and the bounds.

Faults: a worker that is gone takes its search with it, which starts anew on the next worker that is free, such as the
one that Dask starts in its place; workers that come later are free ones. A search that has lost four workers is
given up. If the scheduler is gone, the run ends with what the client knows.
"""

from __future__ import annotations

import queue
import time
from collections.abc import Callable, Iterable
from enum import Enum
from fractions import Fraction
from typing import Any

from distributed import Future, KilledWorker
from distributed.comm import get_address_host

from .._checkpoint import Checkpoint
from .._library import OrvexError
from .._model import Words
from .._problem import Problem, plain
from .._progress import Progress
from .._result import Energy
from .._solve import Event, Pulse, _inside, _Limits
from ._cluster import UNREACHABLE, Cluster
from ._mail import Address, Message, true_words
from ._payload import Payload
from ._result import SearchRow
from ._search import Report
from ._traffic import ROUND, split

#: How often the workers are asked for, and how long the end of all searches is waited for, in seconds.
_MEMBERS = 0.5
_PATIENCE = 0.85
#: The same at a limit of time, where nobody waits: on a machine that is busy with other things a search's last
#: words take longer.
_PATIENCE_AT_LIMIT = 3.0
#: Longer than a limit of time, in seconds, for searches that end by themselves.
_GRACE = 0.3
#: A search that has been started anew so often, and is lost once more, is given up.
_MOST_RESTARTS = 3


class State(Enum):
    WAITING = 1  #: for a worker
    STARTING = 2  #: its mailbox is made, or its problem is loaded
    SEARCHING = 3
    OVER = 4


_ALIVE = (State.STARTING, State.SEARCHING)


class Row:
    """One search as the client sees it."""

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
        self.lost = False

    @property
    def address(self) -> Address:
        return Address(self.worker, self.mailbox.key if self.mailbox is not None else "")

    @property
    def restarts(self) -> int:
        return max(0, self.turn - 1)


class Hub:
    """A run. `follow` returns when it has ended; what was found is in the fields."""

    def __init__(
        self,
        cluster: Cluster,
        problem: Problem,
        payload: Payload,
        searches: int | None,
        limits: _Limits,
        starts: list[Words],
        callback: Callable[[Event], object] | None,
        pulse: Callable[[Pulse], object] | None,
        checkpoint: Checkpoint | None,
    ) -> None:
        self.cluster, self.problem = cluster, problem
        self.status: str | None = None
        self.began: float | None = None
        self.words: list[Words] = []
        self.energies: list[Energy] = []
        self.times: list[float] = []
        self.rows: list[Row] = []
        self.finder: Row | None = None
        self.progress: Progress | None = None
        self.ignored: dict[str, str] = {}  #: workers that no search can run in, and why
        self.run = self  # of events, who ask it for hints and settings
        self._payload = payload
        self._placed: Future | None = None
        self._hosts: dict[str, bool] = {}  # that are sent the payload, and whether they have it
        self._wanted = searches
        self.rows += [Row(number) for number in range(searches or 0)]
        self._limits = limits
        self._callback, self._pulse = callback, pulse
        self._checkpoint = checkpoint
        self._known: tuple[int, Words] | None = None  # the lowest energy of those that are searched
        self._workers: dict[str, int] = {}
        self._asked = False
        self._due = {"members": 0.0, "round": 0.0, "pulse": 0.0}
        self._candidate: Row | None = None  # whose best is being fetched
        self._ended: float | None = None
        self._orders: list[tuple[Message, set[int]]] = []
        self._failure: BaseException | None = None
        for words in starts:
            self._found(words, 0.0, None)

    # ---- the caller's

    def follow(self) -> None:
        """Goes with the run until its end. An interrupt may come anywhere within."""
        try:
            self._work()
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
            self._release()
        if self._failure is not None:
            raise self._failure

    def end(self, status: str) -> None:
        """Ends the run; the first reason counts."""
        if self.status is None:
            self.status = status
            self._ended = time.monotonic()

    def hint(self, words: Words) -> None:
        self._order({"hint": words.tobytes()})

    def set(self, changes: dict[str, str]) -> None:
        self._order({"changes": {name: float(value) for name, value in changes.items()}})

    @property
    def elapsed(self) -> float:
        return 0.0 if self.began is None else time.monotonic() - self.began

    @property
    def flips(self) -> int:
        return sum(row.flips_before + row.flips for row in self.rows)

    # ---- the run

    def _work(self) -> None:
        while not self._over():
            try:
                self._hear(*self.cluster.news.get(timeout=0.02))
                for _ in range(1000):
                    self._hear(*self.cluster.news.get_nowait())
            except queue.Empty:
                pass
            self._look_at_limits()
            if self.status is None:
                self._keep_members()
                self._assign()
                self._fetch()
                self._hand_out()
                self._tell_pulse()
            self._send_orders()
            if self.progress is not None:
                self._show()

    def _over(self) -> bool:
        if self._ended is None:
            return False
        alive = any(row.state in _ALIVE for row in self.rows)
        patience = _PATIENCE_AT_LIMIT if self.status == "time limit" else _PATIENCE
        return not alive or time.monotonic() - self._ended > patience or not self.cluster.alive

    def _time_is_up(self) -> bool:
        return self._limits.time is not None and self.elapsed >= self._limits.time

    def _look_at_limits(self) -> None:
        if not self.cluster.alive:
            self.end("scheduler lost")
        if self._limits.time is not None and self.elapsed > self._limits.time + _GRACE:
            self.end("time limit")
        if self._time_is_up() and not any(row.state in _ALIVE for row in self.rows):
            self.end("time limit")
        if self.energies and self._limits.target_holds(self.energies[-1]):
            self.end("target reached")
        if self.status is None and self.rows and all(row.state is State.OVER for row in self.rows):
            done = [row for row in self.rows if not row.lost]
            self.end(done[0].report.status if done and done[0].report is not None else "ended")
            if not done:
                raise OrvexError(
                    f"every search lost its worker {_MOST_RESTARTS + 1} times; the logs of the workers say "
                    "why, such as too little memory (--memory-limit)"
                )
        if self.status is not None and not any("stop" in message for message, _ in self._orders):
            self._order({"stop": self.status})

    def _hear(self, what: str, whom: Any, answer: Any) -> None:
        getattr(self, f"_hear_{what}")(whom, answer)

    # ---- members

    def _keep_members(self) -> None:
        now = time.monotonic()
        if not self._asked and now >= self._due["members"]:
            self._asked = True
            self._due["members"] = now + _MEMBERS
            self.cluster.ask_workers()

    def _hear_workers(self, _: None, answer: Any) -> None:
        self._asked = False
        if isinstance(answer, Exception):
            return
        self._workers = dict(answer)
        for address, threads in self._workers.items():
            if threads != 1 and address not in self.ignored:
                self.ignored[address] = thread_message(address, threads)
        for row in self.rows:
            futures = [future for future in (row.task, row.mailbox) if future is not None]
            taken_away = any(future.status in ("lost", "cancelled") for future in futures)
            if row.worker and row.state is not State.OVER:
                if row.worker not in self._workers or taken_away:
                    self._lose(row)
        usable = [address for address in self._workers if address not in self.ignored]
        if self._wanted is None:  # one for each worker
            served = {row.worker for row in self.rows if row.state is State.OVER}
            searching = sum(row.state is not State.OVER for row in self.rows)
            new = len(set(usable) - served) - searching
            self.rows += [Row(len(self.rows) + k) for k in range(new)]

    def _lose(self, row: Row) -> None:
        """Its worker is gone: it waits for another, which begins with the best that is known."""
        if self._candidate is row:
            self._candidate = None
        row.flips_before, row.flips = row.flips_before + row.flips, 0
        for future in (row.task, row.mailbox):
            if future is not None:
                future.release()
        row.task = row.mailbox = row.actor = None
        row.worker, row.sent, row.busy = "", None, False
        row.lost = row.turn > _MOST_RESTARTS
        row.state = State.OVER if row.lost or self.status is not None else State.WAITING

    def _assign(self) -> None:
        used = {row.worker for row in self.rows if row.state in _ALIVE}
        free = [a for a in self._workers if a not in used and a not in self.ignored]
        waiting = [row for row in self.rows if row.state is State.WAITING]
        chosen = list(zip(waiting, free))
        if not chosen or self._time_is_up() or not self._place([worker for _, worker in chosen]):
            return
        for row, worker in chosen:
            row.turn += 1
            row.worker, row.state = worker, State.STARTING
            row.mailbox = self.cluster.start_mailbox(
                row.number, row.turn, worker, max(len(self._workers), 1)
            )

    def _place(self, workers: list[str]) -> bool:
        """The payload goes to one worker of each host; the others fetch it within their host."""
        try:
            if self._placed is None or self._placed.status != "finished":
                self._placed = self.cluster.place(self._payload, workers[0])
                self._hosts = {get_address_host(workers[0]): True}
        except (OSError, TimeoutError):
            return False  # that worker is gone again
        hosts = {get_address_host(worker): worker for worker in reversed(workers)}
        new = {host: worker for host, worker in hosts.items() if host not in self._hosts}
        if new:
            self._hosts.update(dict.fromkeys(new, False))
            self.cluster.spread(self._placed, new)
        return True

    def _hear_spread(self, hosts: Iterable[str], answer: Any) -> None:
        """Where it failed, workers fetch what they need by themselves."""
        self._hosts.update(dict.fromkeys(hosts, True))
        for row in self.rows:
            if row.actor is not None and row.task is None:
                self._start(row)

    def _row_of(self, whom: tuple[int, int]) -> Row | None:
        """The row, if this turn of its search has not been given up."""
        number, turn = whom
        row = self.rows[number]
        return row if row.turn == turn and row.worker else None

    def _hear_mailbox(self, whom: tuple[int, int], done: Future) -> None:
        row = self._row_of(whom)
        if row is None:
            return
        if done.status == "finished":
            self.cluster.fetch("actor", whom, done)
        else:
            self._fail(row, done)

    def _hear_actor(self, whom: tuple[int, int], answer: Any) -> None:
        row = self._row_of(whom)
        if row is None:
            return
        if isinstance(answer, Exception):
            self._lose(row)
            return
        if self.status is not None:
            row.state = State.OVER
            return
        row.actor = answer
        self._start(row)

    def _start(self, row: Row) -> None:
        if not self._hosts.get(get_address_host(row.worker), True):
            return  # until the problem is there
        limit = self._limits.time
        left = None if limit is None else max(0.01, limit - self.elapsed)
        host = get_address_host(row.worker)
        shared = [
            other.worker
            for other in self.rows
            if other.worker and other.state is not State.OVER and get_address_host(other.worker) == host
        ]
        share = (shared.index(row.worker), len(shared))
        assert self._placed is not None
        row.task = self.cluster.start_search(
            row.number, row.turn, row.worker, self._placed, left, share
        )

    def _hear_ended(self, whom: tuple[int, int], done: Future) -> None:
        row = self._row_of(whom)
        if row is None:
            return
        if done.status == "finished":
            self.cluster.fetch("report", whom, done)
        else:
            self._fail(row, done)

    def _fail(self, row: Row, done: Future) -> None:
        """A search that raised ends the run; one whose worker is gone starts anew."""
        if done.status == "error":
            self.cluster.fetch("error", (row.number, row.turn), done)
        else:
            self._lose(row)

    def _hear_error(self, whom: tuple[int, int], error: Any) -> None:
        row = self._row_of(whom)
        if row is None:
            return
        if isinstance(error, (KilledWorker, OSError, TimeoutError)):
            self._lose(row)
            return
        row.state = State.OVER
        if self.status is None:
            raise error

    def _hear_report(self, whom: tuple[int, int], report: Any) -> None:
        row = self._row_of(whom)
        if row is None:
            return
        if not isinstance(report, Report):
            self._lose(row)
            return
        row.report, row.state, row.flips = report, State.OVER, report.flips
        row.mailbox = row.task = row.actor = None
        if report.energy is not None and (row.announced is None or report.energy < row.announced):
            row.announced = report.energy
        if report.words is not None:
            words = true_words(self.problem, report.energy, report.words)
            if words is not None:
                self._found(words, self.elapsed, row)
        if report.stopped is None and report.status in ("optimal", "target reached"):
            if self.status is None or self.status == "time limit":
                self.status, self._ended = report.status, self._ended or time.monotonic()

    # ---- solutions

    def _hear_announced(self, _: None, message: Message) -> None:
        number = message["search"]
        if not isinstance(number, int) or not 0 <= number < len(self.rows):
            return
        row = self.rows[number]
        if row.state is State.STARTING:
            row.state = State.SEARCHING
        if self.began is None:
            self.began = time.monotonic()
        row.flips, row.seconds = max(row.flips, message["flips"]), message["seconds"]
        energy = message["best"]
        if energy is not None and (row.announced is None or energy < row.announced):
            row.announced = energy
            row.sent = energy if row.sent is None else min(row.sent, energy)

    def _fetch(self) -> None:
        """The lowest that was announced, if it is lower than what is known; one at a time."""
        if self._candidate is not None:
            return
        rows = [row for row in self.rows if row.actor is not None and row.announced is not None]
        row = min(rows, key=lambda row: row.announced or 0, default=None)
        if row is None or row.announced is None:
            return
        if self._known is None or row.announced < self._known[0]:
            self._candidate = row
            self.cluster.fetch_best(row.number, row.actor)

    def _hear_best(self, number: int, answer: Any) -> None:
        row = self.rows[number]
        if self._candidate is row:
            self._candidate = None
        _expect_unreachable(answer)
        if isinstance(answer, Exception) or answer is None:
            row.announced = None  # it will announce itself again if it is there
            return
        energy, packed = answer
        words = true_words(self.problem, energy, packed)
        if words is None:
            row.announced = None
            return
        row.announced = energy
        self._found(words, self.elapsed, row)

    def _found(self, words: Words, at: float, row: Row | None) -> None:
        """A solution whose energy is added up here; counts if it is better than all before."""
        energy = self.problem._energy(words)
        if self._checkpoint is not None:
            self._checkpoint.note(words)
        if self._known is not None and energy >= self._known[0]:
            return
        value = self.problem._in_callers_units(energy, words)
        self._known = (energy, words)
        if self.energies and value >= self.energies[-1]:
            return  # better only as it was rounded
        self.finder = row
        self.words.append(words)
        self.energies.append(value)
        self.times.append(at)
        if self._callback is not None and row is not None and self._failure is None:
            self._tell(self._callback, self._best())

    def _best(self) -> Event:
        x = self.problem._bits(self.words[-1])
        return Event(self, x, self.energies[-1], self.times[-1])  # type: ignore[arg-type]

    def _tell(self, callback: Callable[[Any], object], event: Any) -> None:
        _inside.callback = True
        try:
            if callback(event) is True:
                event.stop()
        finally:
            _inside.callback = False

    def _tell_pulse(self) -> None:
        now = time.monotonic()
        if self._pulse is None or self.began is None or now < self._due["pulse"]:
            return
        self._due["pulse"] = now + 0.1
        best = self._best() if self.words else None
        self._tell(self._pulse, Pulse(self, self.elapsed, best, self.flips))  # type: ignore[arg-type]

    # ---- messages

    def _searching(self) -> list[Row]:
        return [row for row in self.rows if row.actor is not None and row.state is not State.OVER]

    def _hand_out(self) -> None:
        """The best goes to all who do not know of one as good; at most in each round."""
        now = time.monotonic()
        if self._known is None or now < self._due["round"]:
            return
        energy, words = self._known
        rows = [
            row
            for row in self._searching()
            if not row.busy and (row.sent is None or row.sent > energy)
        ]
        if not rows:
            return
        self._due["round"] = now + ROUND
        message = {"best": (energy, words.tobytes()), "searches": len(self._searching())}
        self._send(message, rows, energy)

    def _order(self, message: Message) -> None:
        """What every search is to be told."""
        self._orders.append((message, set()))

    def _send_orders(self) -> None:
        for message, told in self._orders:
            rows = [row for row in self._searching() if row.number not in told]
            told.update(row.number for row in rows)
            if rows:
                self._send(message, rows, None)
        self._orders = [order for order in self._orders if "stop" in order[0]]

    def _send(self, message: Message, rows: list[Row], energy: int | None) -> None:
        for way in split(rows):
            for row in way:
                row.busy = row.busy or energy is not None
            whom = (energy, message if "stop" in message else None, [(row, row.turn) for row in way])
            self.cluster.deliver(
                whom, way[0].actor, message, [row.address for row in way[1:]]
            )

    def _hear_delivered(
        self, whom: tuple[int | None, Message | None, list[tuple[Row, int]]], answer: Any
    ) -> None:
        """Who was not reached is among the next who are sent to."""
        _expect_unreachable(answer)
        energy, order, way = whom
        missed = None if isinstance(answer, Exception) else {tuple(there) for there in answer}
        for row, turn in way:
            if row.turn != turn:
                continue
            reached = missed is not None and tuple(row.address) not in missed
            if energy is not None:
                row.busy = False
                if reached:
                    row.sent = energy if row.sent is None else min(row.sent, energy)
            elif order is not None and not reached:
                for message, told in self._orders:
                    if message is order:
                        told.discard(row.number)

    # ---- the end

    def _show(self) -> None:
        assert self.progress is not None
        alive = [row for row in self.rows if row.state is State.SEARCHING]
        rate = sum(row.flips / row.seconds for row in alive if row.seconds > 0)
        energy = self.energies[-1] if self.energies else None
        self.progress.show(self.elapsed, energy, f", {len(alive)} searches, {rate:.3g} flips/s")

    def _release(self) -> None:
        """Whoever still searches stops when Dask takes its task away."""
        for row in self.rows:
            for future in (row.task, row.mailbox):
                if future is not None:
                    future.release()
            row.task = row.mailbox = row.actor = None
        if self._placed is not None:
            self._placed.release()
        self.cluster.close()

    def table(self) -> list[SearchRow]:
        """A row for each search."""
        return [self._row(row) for row in self.rows]

    def _row(self, row: Row) -> SearchRow:
        report = row.report
        best = row.announced
        value: Energy | None = None
        if best is not None:
            value = plain(Fraction(best) / self.problem._factor + self.problem.offset)
        if report is not None:
            status = report.stopped or report.status
        elif row.turn == 0:
            status = "not started"
        else:
            status = "lost"
        return SearchRow(
            search=row.number,
            worker=report.worker if report is not None else row.worker,
            status=status,
            best=value,
            results=report.found if report is not None else 0,
            received=report.received if report is not None else 0,
            refused=report.refused if report is not None else 0,
            flips=row.flips_before + row.flips,
            restarts=row.restarts,
        )


def _expect_unreachable(answer: Any) -> None:
    """Raises an error that no fault of a cluster explains."""
    if isinstance(answer, Exception) and not isinstance(answer, UNREACHABLE):
        raise answer


def thread_message(address: str, threads: int) -> str:
    """Why a worker cannot search, and the setting that mends it."""
    return (
        f"the worker {address} has {threads} threads, and one search at a time runs in a process: start "
        "workers with one thread each (dask worker --nthreads 1, LocalCluster(threads_per_worker=1), "
        "dask_jobqueue with processes=cores)"
    )
