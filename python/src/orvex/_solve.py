"""A search as the caller sees it: arguments in, result out, with events, progress and interrupts on
the caller's own thread. The library's threads only note what is new (:mod:`._engine`); everything that
may take time or fail happens here.
"""

from __future__ import annotations

import inspect
import os
import time
import warnings
from collections.abc import Iterable
from contextlib import ExitStack
from typing import TYPE_CHECKING, Any, Literal, cast

from ._arguments import (
    Limits,
    Presolve,
    expect_callables,
    hints_of,
    presolve_of,
    seed_of,
    share_of,
    starts_of,
    wanted_of,
)
from ._bests import Bests
from ._checkpoint import CheckpointWarning, Path
from ._engine import Question, Run, expect_whole_process
from ._events import Callback, Event, Pulse, PulseCallback, expect_no_callback, tell
from ._interrupts import Interrupts
from ._library import expect_device
from ._memory import expect_memory
from ._model import Words
from ._numbers import Scale
from ._problem import Problem, as_problem
from ._progress import Progress
from ._result import Result, Status
from ._settings import Settings, check_settings
from ._trace import Trace, Tracer, tracer_of

if TYPE_CHECKING:
    from typing_extensions import Unpack

#: How long after a request to end the caller waits for the library before going on without it.
_PATIENCE = 0.1
#: The least time between two pulses of a search.
_PULSE = 0.1
#: What the library calls how much is tried before a search.
_PRESOLVE: dict[Presolve, int] = {False: 0, True: 1, "full": 2}


def solve(
    problem: Any,
    *,
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
    trace: Trace = None,
    **settings: Unpack[Settings],
) -> Result:
    """Searches for the bit vector of lowest energy.

    The first limit that holds ends the search; without any, it takes 10 seconds. Ctrl-C ends it within
    0.2 seconds, and the best solution so far is returned with the status "interrupted".

    Where the library searches, one search at a time runs in a process: another thread's waits until it is over.
    Searches of the companion alone run at once, and so do those of several processes, each of which takes all
    processors unless it was given a part of them. A process must not be forked while it searches, or the new
    one refuses to search; "spawn" and "forkserver" always do.

    Parameters
    ----------
    problem
        A :class:`Problem`, or what states one.
    time_limit
        Seconds, more than 0.
    target
        The search ends at this energy or below.
    trial_limit
        The search ends after this many start instances.
    starts
        Bit vectors that count as found when the search begins. The best is searched from at once, the
        others are given as hints.
    hints
        Bit vectors for the search to start instances from.
    callback
        Called with an :class:`Event` at every new best. It may ask for the end, as it does by returning
        True, give hints and change settings. What it raises ends the search and is raised by this
        function. It cannot search itself.
    pulse
        Called with a :class:`Pulse` about every tenth of a second, from the beginning of the search to its
        end and whatever is found; it may do the same.
    progress
        Shows a bar in terminals and notebooks: tqdm's if tqdm is there, else lines on standard error.
    scale
        How integers are made of the coefficients; see :class:`Problem`.
    presolve
        Whether the problem is reduced before the search, exactly: the least energy stays the same, and where
        nothing is left to search the result is "optimal". "full" tries everything, however long it takes.
    companion
        The share of the processors, from 0 to 1, that works on the structure of the problem beside the
        library's search: it anneals parts of good solutions and merges what is best of each, or moves the
        1s of one-hot groups. At 1 the library does not search. By default the structure decides.
    groups
        Sets of variables, by their positions, of which exactly one is 1 in every solution that makes sense.
        By default those that the coefficients enforce are found. Energies do not depend on it.
    solutions
        How many distinct good solutions are wanted in `best` of the result: the best of the pools at the end
        and of the search's history, and of what the companion came by; where these are too few, the lowest
        that lead on from them by flips of single variables. There are fewer only where the problem has fewer,
        or where finding them would take longer than the search itself (or than a second).
    seed
        From 0 to 2 ** 64 - 1: what the companion draws its random numbers from, and a random bit vector that the
        search gets as a hint. What a seed cannot repeat is the order in which threads meet, on which the course
        of a search depends, and the numbers of the library's blocks, which come from the clock. So two searches
        of one seed begin alike and may differ later; a search of the companion alone on one processor
        repeats its course, but not its speed.
    checkpoint
        A file that holds the best solutions while the search goes on, for another to resume from. One of the
        same problem that is there already is kept up; anything else is refused. Where it cannot be written
        later, a :class:`CheckpointWarning` says why.
    resume
        A checkpoint whose solutions are further `starts`.
    trace
        A file that is to tell what the search does, second by second, for ``python -m orvex.report``; it is
        also `trace` of the result. True keeps it there alone.
    settings
        Settings of the engine; see :class:`Settings`.

    Raises
    ------
    TypeError, ValueError
        An argument is wrong; an unknown setting is named with the nearest that there is.
    MemoryError
        This machine has not the memory for the problem.
    OrvexError
        The package was built for GPUs, and there is none; or this is called inside a callback.
    """
    begin = time.perf_counter()
    expect_no_callback()
    expect_device()
    expect_whole_process()
    params = check_settings(settings, _ARGUMENTS)
    expect_callables(callback=callback, pulse=pulse)
    effort = _PRESOLVE[presolve_of(presolve)]
    share = share_of(companion)
    limits = Limits(time_limit, target, trial_limit)
    wanted = wanted_of(solutions)
    seed = seed_of(seed)
    made = as_problem(problem, scale)
    built = 0.0 if made is problem else time.perf_counter() - begin
    found = starts_of(made, starts, resume)
    question = Question(
        params,
        settings.get("search_cycles") == "default",
        limits.time,
        limits.target_of(made),
        limits.trials,
        effort,
        share,
        None if groups is None else made._groups(groups),
        found,
        hints_of(made, hints) + ([] if seed is None else [made._random_words(seed)]),
        1 if seed is None else seed,
        None if checkpoint is None else os.fsencode(checkpoint),
        wanted,
    )
    plan = made._plan(question.options)
    expect_memory(
        plan.model + plan.run, "a search with these settings takes", there=plan.model + plan.loaded
    )
    tracer = tracer_of(trace, made)
    with ExitStack() as stack:
        if tracer is not None:
            stack.callback(tracer.close)
        search = _Search(made, question, found, limits, callback, pulse, tracer)
        if progress:
            search.progress = stack.enter_context(Progress(limits.time))
        search.follow()
    return search.result(built, begin, wanted)


_ARGUMENTS = frozenset(inspect.signature(solve).parameters) - {"settings"}


class _Search:
    """A search that runs, from the caller's side."""

    def __init__(
        self,
        problem: Problem,
        question: Question,
        starts: list[Words],
        limits: Limits,
        callback: Callback | None,
        pulse: PulseCallback | None,
        tracer: Tracer | None,
    ) -> None:
        self.problem = problem
        self.progress: Progress | None = None
        self._limits = limits
        self._callback = callback
        self._pulse = pulse
        self._tracer = tracer
        self._next_pulse = 0.0
        self._status: Status | None = None  # why the caller's side ended the search
        self._failure: BaseException | None = None
        self._bests = Bests(problem)
        if starts:
            self._bests.note(0.0, problem._energy(starts[0]), starts[0])
        self.run = Run(problem, question, None if tracer is None else tracer.news.append)

    def end(self, status: Status) -> None:
        """Asks the search to end; the first reason counts."""
        if self._status is None:
            self._status = status
        self.run.stop()

    def follow(self) -> None:
        """Goes with the search until its end. An interrupt may come anywhere within."""
        try:
            with Interrupts() as interrupts:
                self._watch(interrupts)
        except KeyboardInterrupt:
            self.end("interrupted")
            self._leave()
        except BaseException as failure:
            self._failure = failure
            self.end("stopped by callback")
            self._leave()

    def _leave(self) -> None:
        """Waits a moment for the end; then the library finishes alone."""
        try:
            self.run.ended.wait(_PATIENCE)
        except KeyboardInterrupt:
            pass

    def _watch(self, interrupts: Interrupts) -> None:
        run = self.run
        while not run.ended.is_set():
            interrupts.expect_none()
            run.changed.wait(0.05)
            run.changed.clear()
            self._take_news()
            if self.progress is not None:
                self.progress.show(self._elapsed(), self._bests.energy if self._bests else None)
            if run.began is not None and self._elapsed() >= self._next_pulse:
                self._tell_pulse()
        self._take_news()

    def _take_news(self) -> None:
        if self._tracer is not None:
            self._tracer.take()
        while self.run.news:
            at, energy, words = self.run.news.popleft()
            if not self._bests.note(at, energy, words):
                continue
            if self._callback is not None:
                tell(self._callback, self._best())
            # Where coefficients are rounded, the library's target is one that is sure to be low enough.
            if self.problem.largest_error > 0 and self._limits.target_holds(self._bests.energy):
                self.end("target reached")

    def _tell_pulse(self) -> None:
        if self._pulse is None or self.run.ended.is_set():
            return
        best = self._best() if self._bests else None
        tell(self._pulse, Pulse(self, self._elapsed(), best, self.run.flips))
        self._next_pulse = self._elapsed() + _PULSE

    def _best(self) -> Event:
        return Event(self, *self._bests.last)

    def _elapsed(self) -> float:
        return 0.0 if self.run.began is None else time.perf_counter() - self.run.began

    def result(self, built: float, begin: float, wanted: int) -> Result:
        run, problem = self.run, self.problem
        if self._failure is not None:
            raise self._failure
        if run.error is not None:
            raise run.error
        self._callback = None  # what came while an interrupt was on its way is taken without it
        self._take_news()
        if not self._bests:  # interrupted before there was anything
            self._bests.note(0.0, 0, problem._no_words())
        if run.checkpoint_failure:
            warnings.warn(run.checkpoint_failure, CheckpointWarning, stacklevel=3)
        finished = run.ending is not None
        return self._bests.result(
            Result,
            self._elapsed(),
            wanted,
            others=run.solutions,
            status=self._why(),
            info=dict(run.info),
            timings={
                "build": built,
                "load": run.load_time,
                "search": run.search_time if finished else self._elapsed(),
                "total": time.perf_counter() - begin,
            },
            bound=problem._bound(int(run.info["bound"])) if run.info.get("bound") else None,
            trace=None if self._tracer is None else self._tracer.lines,
            _interrupted=self._status == "interrupted",
        )

    def _why(self) -> Status:
        """What was asked for from here goes before how the library took it, but not before a target."""
        ending = cast("Status | None", self.run.ending)
        if self._status is None or ending in ("optimal", "target reached"):
            assert ending is not None
            if ending == "optimal" and self.problem.largest_error > 0:
                # The least of rounded coefficients need not be that of the true ones.
                return "target reached" if self._limits.target_holds(self._bests.energy) else "ended"
            return ending
        return self._status
