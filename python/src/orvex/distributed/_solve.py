"""The search over a cluster as its caller sees it: arguments in, result out. Everything that may be wrong with
the arguments is found here, before anything travels.
"""

from __future__ import annotations

import inspect
import secrets
import time
import uuid
import warnings
from collections.abc import Iterable, Iterator
from contextlib import ExitStack, contextmanager
from pathlib import Path as FilePath
from typing import TYPE_CHECKING, Any, Literal, Union

from distributed import Client, LocalCluster

from .._arguments import (
    Limits,
    expect_callables,
    hints_of,
    presolve_of,
    seed_of,
    share_of,
    starts_of,
    wanted_of,
)
from .._checkpoint import Checkpoint, CheckpointWarning, Path
from .._events import Callback, PulseCallback, expect_no_callback
from .._numbers import Scale
from .._problem import as_problem
from .._progress import Progress
from .._settings import Settings, check_settings, whole_number
from ._cluster import Cluster
from ._hub import Hub
from ._members import thread_message
from ._payload import Payload
from ._result import Result

if TYPE_CHECKING:
    from typing_extensions import Unpack

#: A limit of time that none is.
ENDLESS = 1e9
Where = Union[Client, str, None]


def solve(
    problem: Any,
    *,
    client: Where = None,
    searches: int | None = None,
    time_limit: float | None = None,
    target: float | None = None,
    trial_limit: int | None = None,
    starts: Iterable[Any] = (),
    hints: Iterable[Any] = (),
    callback: Callback | None = None,
    pulse: PulseCallback | None = None,
    progress: bool = False,
    scale: Scale | None = None,
    presolve: bool | Literal["full"] = True,
    companion: float | Literal["auto"] = "auto",
    groups: Iterable[Iterable[int]] | None = None,
    solutions: int = 1,
    seed: int | None = None,
    checkpoint: Path | None = None,
    resume: Path | None = None,
    **settings: Unpack[Settings],
) -> Result:
    """Searches for the bit vector of lowest energy on all workers of a Dask cluster.

    Takes what :func:`orvex.solve` takes. Each worker's process makes one search; each new best goes to all
    others. The first limit that holds ends all searches; without any, they take 10 seconds. Ctrl-C ends them
    within a second, and the best solution so far is returned with the status "interrupted".

    Parameters
    ----------
    client
        A :class:`distributed.Client`, or the address of a scheduler. By default a cluster of this process alone,
        which is there for the call. Its workers must have one thread each.
    searches
        How many searches there are. By default one for each worker, those included that come while the searches
        go on. Where there are more searches than workers, the others begin when a worker is free.
    time_limit
        Seconds since the first search began.
    trial_limit
        Each search ends after this many start instances.
    callback, pulse
        Called in the caller's process; what they ask for goes to all searches.
    seed
        Of the first search; each has the next number. By default the searches draw different numbers each time.
    checkpoint
        A file on the caller's machine, for the best of all searches.

    The other parameters are those of :func:`orvex.solve`.

    Returns
    -------
    Result
        An :class:`orvex.Result` with a row for each search, in `searches`. The status is "scheduler lost" where
        the cluster's scheduler could not be reached any more; the result is the best until then.

    Raises
    ------
    TypeError, ValueError
        An argument is wrong, or a worker has several threads: the text names the setting that mends it.
    OrvexError
        Every search lost its worker several times; or this is called inside a callback.
    OSError
        The scheduler cannot be reached.
    """
    begin = time.perf_counter()
    expect_no_callback()
    check_settings(settings, _ARGUMENTS)
    expect_callables(callback=callback, pulse=pulse)
    effort = presolve_of(presolve)
    share = share_of(companion)
    if searches is not None:
        searches = whole_number("searches", searches, 1, 100_000)
    wanted = wanted_of(solutions)
    seed = seed_of(seed)
    limits = Limits(time_limit, target, trial_limit)
    made = as_problem(problem, scale)
    built = 0.0 if made is problem else time.perf_counter() - begin
    found = starts_of(made, starts, resume)
    arguments: dict[str, Any] = dict(
        target=target,
        trial_limit=trial_limit,
        starts=[made._bits(words) for words in found],
        hints=[made._bits(words) for words in hints_of(made, hints)],
        presolve=effort,
        companion="auto" if share is None else share,
        groups=None if groups is None else [[int(i) for i in group] for group in groups],
        # Companions of one seed would do the same.
        seed=secrets.randbits(64) if seed is None else seed,
        **settings,
    )
    if arguments["groups"] is not None:
        made._groups(arguments["groups"])  # refused here, not by each search
    payload = Payload(made, arguments)
    with ExitStack() as stack:
        connected = stack.enter_context(_connected(client))
        _expect_single_threads(connected)
        file = None
        if checkpoint is not None:
            file = Checkpoint(made, checkpoint)
        cluster = Cluster(connected, uuid.uuid4().hex[:12])
        hub = Hub(cluster, made, payload, searches, limits, found, callback, pulse, file)
        if progress:
            hub.progress = stack.enter_context(Progress(None if limits.time == ENDLESS else limits.time))
        try:
            hub.follow()
        finally:
            failure = file.close() if file is not None else ""
        if failure:
            warnings.warn(failure, CheckpointWarning, stacklevel=2)
        for text in hub.members.ignored.values():
            warnings.warn(f"{text}; it was left out", UserWarning, stacklevel=2)
    return _result(hub, limits, built, begin, wanted)


_ARGUMENTS = frozenset(inspect.signature(solve).parameters) - {"settings"}


@contextmanager
def _connected(client: Where) -> Iterator[Client]:
    """A client; what is made here is closed here."""
    if isinstance(client, Client):
        if client.asynchronous:
            raise TypeError(
                "the client is asynchronous; solve() blocks, and takes one that was made without "
                "asynchronous=True"
            )
        yield client
    elif isinstance(client, (str, FilePath)):
        with Client(str(client), set_as_default=False) as made:
            yield made
    elif client is None:
        with LocalCluster(
            n_workers=1, threads_per_worker=1, processes=False, dashboard_address=":0", memory_limit=0
        ) as local, Client(local, set_as_default=False) as made:
            yield made
    else:
        raise TypeError(
            f"client must be a distributed.Client, the address of a scheduler or None, not {client!r}"
        )


def _expect_single_threads(client: Client) -> None:
    for address, threads in client.nthreads().items():
        if threads != 1:
            raise ValueError(thread_message(address, threads))


def _result(hub: Hub, limits: Limits, built: float, begin: float, wanted: int) -> Result:
    if not hub.bests:  # ended before there was anything
        hub.bests.note(0.0, 0, hub.problem._no_words())
    reports = [search.report for search in hub.searches if search.report is not None]
    finder = hub.finder.report if hub.finder is not None else None
    info = dict(finder.info if finder is not None else reports[0].info if reports else {})
    if info:
        info["total_flips"] = str(hub.searches.flips)
    status = hub.course.status
    if status == "ended" and limits.target_holds(hub.bests.energy):
        status = "target reached"
    searched = hub.course.elapsed
    return hub.bests.result(
        Result,
        searched,
        wanted,
        status=status,
        info=info,
        timings={
            "build": built,
            "load": max(0.0, time.perf_counter() - begin - built - searched),
            "search": searched,
            "total": time.perf_counter() - begin,
        },
        bound=max((report.bound for report in reports if report.bound is not None), default=None),
        searches=hub.searches.rows(hub.problem),
    )
