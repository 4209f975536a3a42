"""What the client asks of a Dask cluster, without ever waiting for it: each question is a coroutine on the
client's own event loop, and its answer comes as a message into one queue. So the caller's thread can go on
counting time and obeying Ctrl-C whatever becomes of the cluster.
"""

from __future__ import annotations

import asyncio
import queue
import threading
from collections.abc import Awaitable, Callable
from typing import Any

from distributed import Client, Future

from ._mail import TOPIC, Address, Mailbox, Message
from ._payload import Payload
from ._search import search

#: A question that is not answered for so long, in seconds, has failed.
PATIENCE = 5.0
#: The same where a problem travels.
LONG_PATIENCE = 600.0


class _Topic:
    """The announcements that a client hears, handed to the runs that they belong to. A scheduler keeps every
    topic that it ever had, and a client has one handler for each: so all runs share one."""

    _guard = threading.Lock()
    _runs: dict[str, dict[str, Callable[[Message], None]]] = {}

    @classmethod
    def join(cls, client: Client, run: str, hear: Callable[[Message], None]) -> None:
        with cls._guard:
            runs = cls._runs.setdefault(client.id, {})
            runs[run] = hear
            if len(runs) > 1:
                return

        def handle(event: Any) -> None:
            message = event[1]
            hear = runs.get(str(message.get("run"))) if isinstance(message, dict) else None
            if hear is not None:
                hear(message)

        client.subscribe_topic(TOPIC, handle)

    @classmethod
    def leave(cls, client: Client, run: str) -> None:
        with cls._guard:
            runs = cls._runs.get(client.id, {})
            runs.pop(run, None)
            if runs or cls._runs.pop(client.id, None) is None:
                return
        if client.status == "running":
            client.unsubscribe_topic(TOPIC)


#: What a message meets whose receiver has ended or is gone, or whose scheduler is.
UNREACHABLE = (OSError, asyncio.TimeoutError, TimeoutError, KeyError, RuntimeError)


class Cluster:
    """The cluster as one run sees it. Answers come in `news` as (what, about whom, answer or exception)."""

    def __init__(self, client: Client, run: str) -> None:
        self.client, self.run = client, run
        self.news: queue.SimpleQueue[tuple[str, Any, Any]] = queue.SimpleQueue()
        self.sent = 0  #: messages to searches, those included that others handed on
        _Topic.join(client, run, lambda message: self.news.put(("announced", None, message)))

    def close(self) -> None:
        _Topic.leave(self.client, self.run)

    @property
    def alive(self) -> bool:
        """Whether the scheduler is there."""
        return bool(self.client.status == "running")

    def ask(
        self,
        what: str,
        whom: Any,
        question: Callable[[], Awaitable[Any]],
        patience: float = PATIENCE,
    ) -> None:
        """Asks on the client's loop; the answer comes as news."""

        async def answer() -> None:
            reply: Any
            try:
                with self.client.as_current():  # actors ask for the client that they belong to
                    reply = await asyncio.wait_for(question(), patience)
            except Exception as error:
                reply = error
            self.news.put((what, whom, reply))

        self.client.loop.add_callback(answer)

    def ask_workers(self) -> None:
        """The workers and how many threads each has."""
        self.ask("workers", None, lambda: self.client.scheduler.ncores(workers=None))

    def place(self, payload: Payload, worker: str) -> Future:
        """The payload in the memory of one worker; from there on workers have it from one another."""
        [future] = self.client.scatter([payload], workers=[worker], hash=False)
        return future

    def spread(self, payload: Future, hosts: dict[str, str]) -> None:
        """Copies it to a worker of each of these hosts, worker to worker, as a tree. The other workers of
        a host fetch it there, which Dask prefers to what is farther."""
        self.ask(
            "spread",
            set(hosts),
            lambda: self.client.replicate(
                [payload], n=len(hosts), workers=list(hosts.values()), asynchronous=True
            ),
            patience=LONG_PATIENCE,
        )

    def start_mailbox(self, number: int, turn: int, worker: str, searches: int) -> Future:
        future = self.client.submit(
            Mailbox, self.run, number, searches, actor=True, pure=False, workers=[worker],
            key=f"orvex_mail_{number}-{self.run}-{turn}",
        )  # fmt: skip
        future.add_done_callback(lambda done: self.news.put(("mailbox", (number, turn), done)))
        return future

    def start_search(
        self, number: int, turn: int, worker: str, payload: Future,
        limit: float | None, share: tuple[int, int],
    ) -> Future:  # fmt: skip
        """Dask's dashboard groups tasks by what is before the first "-"."""
        key = f"orvex_search_{number}-{self.run}-{turn}"
        future = self.client.submit(
            search, payload, self.run, number, key, limit, share, pure=False, workers=[worker], key=key,
        )  # fmt: skip
        future.add_done_callback(lambda done: self.news.put(("ended", (number, turn), done)))
        return future

    def fetch(self, what: str, whom: Any, future: Future) -> None:
        """The result of a future that is done."""

        async def result() -> Any:
            return (await self.client.gather([future], asynchronous=True))[0]

        self.ask(what, whom, result, patience=LONG_PATIENCE)

    def deliver(self, whom: Any, actor: Any, message: Message, onward: list[Address]) -> None:
        """Sends a message to a mailbox, which hands it on; those whom it did not reach come as news."""
        self.sent += 1 + len(onward)

        async def call() -> Any:
            return await actor.deliver(message, onward)

        self.ask("delivered", whom, call)

    def fetch_best(self, number: int, actor: Any) -> None:
        async def call() -> Any:
            return await actor.best()

        self.ask("best", number, call)
