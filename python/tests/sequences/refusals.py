"""Calls that must be refused, each with its exception and a word of its text, and that change nothing."""

from __future__ import annotations

import pathlib
from typing import Any, Callable

import numpy as np

import orvex

from .reference import require


def _refused(call: Callable[[], object], kinds: Any, word: str) -> None:
    try:
        call()
    except kinds as refusal:
        require(word in str(refusal), f"the text of {refusal!r} has {word!r}")
        return
    require(False, f"a call is refused for {word!r}")


def _without_problem(folder: pathlib.Path) -> list[tuple[Callable[[], object], Any, str]]:
    text = folder / "no-model"
    text.write_text("of years\n")
    return [
        (lambda: orvex.Problem(np.zeros((2, 3))), ValueError, "square"),
        (lambda: orvex.Problem(np.zeros((0, 0))), ValueError, "at least one variable"),
        (lambda: orvex.Problem(folder / "none"), FileNotFoundError, "none"),
        (lambda: orvex.Problem(text), ValueError, "no-model"),
        (lambda: orvex.read(text, "nonsense"), ValueError, "nonsense"),
        (lambda: orvex.Problem({(0, 1): "x"}), TypeError, "must be a number"),
        (lambda: orvex.Problem([[float("nan")]]), ValueError, "finite"),
        (lambda: orvex.Problem([[1j]]), TypeError, "no problem"),
        (lambda: orvex.Problem([[-(2**63)]]), ValueError, "64 bits"),
        (lambda: orvex.Problem(np.full((3, 3), 2**62)), ValueError, "64 bits"),
        (lambda: orvex.Problem([[0.5]], scale=3), ValueError, "scale"),
        (lambda: orvex.Problem([[1]], scale="much"), ValueError, "scale"),
        (lambda: orvex.solve(None), (TypeError, ValueError), "no problem"),
    ]


def _with_problem(
    problem: orvex.Problem, folder: pathlib.Path
) -> list[tuple[Callable[[], object], Any, str]]:
    size = problem.size
    solve = orvex.solve
    return [
        (lambda: solve(problem, time_limit=0), ValueError, "time_limit"),
        (lambda: solve(problem, time_limit=float("nan")), ValueError, "time_limit"),
        (lambda: solve(problem, time_limit="1"), TypeError, "time_limit"),
        (lambda: solve(problem, trial_limit=0), ValueError, "trial_limit"),
        (lambda: solve(problem, trial_limit=1.5), TypeError, "trial_limit"),
        (lambda: solve(problem, target="low"), TypeError, "target"),
        (lambda: solve(problem, colour="red"), TypeError, "colour"),
        (lambda: solve(problem, starts=[np.zeros(size + 1)]), ValueError, "starts[0]"),
        (lambda: solve(problem, starts=[np.zeros(size), [2] * size]), ValueError, "starts[1]"),
        (lambda: solve(problem, hints=[["a"] * size]), ValueError, "hints[0]"),
        (lambda: solve(problem, presolve="much"), ValueError, "presolve"),
        (lambda: solve(problem, companion=2), ValueError, "companion"),
        (lambda: solve(problem, companion=1, trial_limit=5, presolve=False), ValueError, "the companion has none"),
        (lambda: solve(problem, seed=-1), ValueError, "seed"),
        (lambda: solve(problem, scale=3), ValueError, "scale"),
        (lambda: solve(problem, solutions=0), ValueError, "solutions"),
        (lambda: solve(problem, groups=[[size]]), ValueError, "groups[0]"),
        (lambda: solve(problem, pool_size=1), ValueError, "pool_size"),
        (lambda: solve(problem, fix_algorithm="Best"), ValueError, "fix_algorithm"),
        (lambda: solve(problem, search_cycles=(1, 2, 3)), TypeError, "search_cycles"),
        (lambda: solve(problem, batch_factor=1.0, search_cycles=(100, 20)), ValueError, "together"),
        (lambda: solve(problem, callback=3), TypeError, "callback"),
        (lambda: solve(problem, pulse="no"), TypeError, "pulse"),
        (lambda: solve(problem, resume=folder / "none"), ValueError, "none"),
        (lambda: solve(problem, checkpoint=folder), ValueError, "plain file"),
        (lambda: solve(problem, checkpoint=folder / "none" / "file"), ValueError, "folder"),
        (lambda: problem.energy(np.zeros(size + 1)), ValueError, "bits"),
        (lambda: problem.energy([2] * size), ValueError, "0 and 1"),
    ]


def outside(problem: orvex.Problem | None, number: int, folder: pathlib.Path) -> None:
    """A call that is refused, of all that there are."""
    calls = _without_problem(folder)
    if problem is not None:
        calls += _with_problem(problem, folder)
    _refused(*calls[number % len(calls)])


def in_callback(event: Any, problem: orvex.Problem, number: int) -> None:
    """What a callback must not do."""
    calls: list[tuple[Callable[[], object], Any, str]] = [
        (lambda: orvex.solve(problem, time_limit=0.01), orvex.OrvexError, "inside a callback"),
        (lambda: event.hint(np.zeros(problem.size + 1)), ValueError, "the hint"),
        (lambda: event.set(batch_factor=-1), ValueError, "batch_factor"),
        (lambda: event.set(pool_size=3), TypeError, "pool_size"),
    ]
    _refused(*calls[number // 16 % len(calls)])
