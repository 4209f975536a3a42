"""Models with constraints, as dimod states them, solved by searches of penalised problems.

Invariant: what is said of a sample, its energy and which constraints hold, is dimod's own account of the
values in it.
"""

from __future__ import annotations

import math
import time
from typing import Any, NamedTuple

import dimod
import numpy as np
import numpy.typing as npt

from ._cqm_bits import BitModel
from ._cqm_penalty import Bits
from ._cqm_polish import Polish
from ._cqm_weights import Weights
from ._interrupts import Interrupts
from ._library import engine_version
from ._problem import Problem
from ._result import Result
from ._settings import Settings, real_number, whole_number
from ._solve import solve

#: Seconds that a call takes when no limit is given.
_TIME_LIMIT = 5.0
#: Searches of a call where none is cut short, and the least seconds of one.
_ROUNDS = 16
_LEAST_ROUND = 0.2
#: The share of a search's time that small steps get after it.
_POLISH_SHARE = 0.5


class OrvexCQMSampler:
    """Solves constrained quadratic models: objective and constraints over binary, spin and integer variables.

    Integer variables are written in bits. Of discrete constraints, and of others that ask for one of several
    binary variables, the search makes moves that keep them. Other constraints become penalties, with slack
    bits for inequalities. A call makes several searches: the weight of a penalty begins with what the
    objective may gain where it is broken, is raised where the best solution of a search breaks it, and
    lowered where that breaks none, so that the objective is not drowned. Between the searches solutions are
    repaired and improved by small steps. See docs/constraints.md.

    Parameters
    ----------
    defaults
        Parameters for every call that does not set them itself; see :attr:`parameters`.

    Examples
    --------
    >>> i, j = (dimod.Integer(name, upper_bound=9) for name in "ij")
    >>> cqm = dimod.ConstrainedQuadraticModel()
    >>> cqm.set_objective(-3 * i - 4 * j)
    >>> _ = cqm.add_constraint(2 * i + 3 * j <= 17, label="room")
    >>> samples = orvex.OrvexCQMSampler().sample_cqm(cqm)
    >>> samples.first.sample, samples.first.energy, samples.info["status"]
    ({'i': 7, 'j': 1}, -25.0, 'optimal')
    """

    parameters: dict[str, list[str]]
    properties: dict[str, Any]

    def __init__(self, **defaults: Any) -> None:
        names = ("time_limit", "target", "num_reads", "initial_states", "companion", "seed")
        self.parameters = {name: [] for name in (*names, *Settings.__annotations__)}
        self.properties = {"engine_version": engine_version()}
        self._defaults = self._known(defaults)

    def _known(self, given: dict[str, Any]) -> dict[str, Any]:
        for name in given:
            if name not in self.parameters:
                raise TypeError(f"sample_cqm() has no parameter {name!r}")
        return {name: value for name, value in given.items() if value is not None}

    def sample_cqm(
        self, cqm: dimod.ConstrainedQuadraticModel, **parameters: Any
    ) -> dimod.SampleSet:
        """Solves a model.

        Parameters
        ----------
        cqm
            The model. Those of LP files are read by ``dimod.lp.load``.
        time_limit
            Seconds; 5 by default. A proven optimum ends the call earlier.
        target
            The call ends at a solution that keeps all constraints and has this energy or less.
        num_reads
            How many distinct solutions are wanted, 1 by default; there are fewer where fewer were found.
        initial_states
            Samples to begin with, in any form that dimod takes; they must cover all variables.
        companion, seed
            As in :func:`solve`; each search has a seed of its own, 1 more than that of the search before.
        parameters
            Settings of the engine; see :class:`Settings`.

        Returns
        -------
        dimod.SampleSet
            In the model's own variables: those that keep all constraints first, then by energy. Each has
            `is_feasible`, and `is_satisfied` for each of ``info["constraint_labels"]``; `info` has also
            "status" ("optimal" where no solution can be better, "target reached", "time limit" or, by Ctrl-C,
            "interrupted"), "bound" (no solution has less energy, or None), "searches", "weights" (of the
            penalties in the last search) and "timings".
        """
        arguments = {**self._defaults, **self._known(parameters)}
        limit = real_number("time_limit", arguments.pop("time_limit", _TIME_LIMIT), 1e-6, 1e9)
        target = arguments.pop("target", None)
        if target is not None:
            target = real_number("target", target, -1e300, 1e300)
        reads = whole_number("num_reads", arguments.pop("num_reads", 1), 1, 10**6)
        states = arguments.pop("initial_states", None)
        call = _Call(cqm, limit, target, arguments)
        if states is not None:
            call.begin_with(states)
        call.search()
        return call.samples(reads)


class _Call:
    """The searches for one model."""

    def __init__(
        self, cqm: Any, limit: float, target: float | None, arguments: dict[str, Any]
    ) -> None:
        self._begin = time.perf_counter()
        self._end = self._begin + limit
        self._limit = limit
        self._target = target
        self._seed = whole_number("seed", arguments.pop("seed", 1), 0, 2**63)
        self._arguments = arguments
        self._cqm = cqm
        self._model = BitModel(cqm)
        self._weights = Weights(self._model)
        self._polish = Polish(self._model) if Polish.works_on(self._model) else None
        self._seen: dict[bytes, _Known] = {}  # by the bits of the variables
        self._best: _Known | None = None
        self._status = ""
        self._bound: float | None = None
        self._searches = 0

    def begin_with(self, states: Any) -> None:
        samples, labels = dimod.as_samples(states)
        column = {label: k for k, label in enumerate(labels)}
        missing = [v for v in self._model.variables if v not in column]
        if missing:
            raise ValueError(f"initial_states have no value for the variable {missing[0]!r}")
        order = [column[v] for v in self._model.variables]
        self._enter([self._model.bits(row) for row in np.asarray(samples, dtype=float)[:, order]])

    def search(self) -> None:
        """Makes searches until there is a reason to end. An interrupt may come in one or between two."""
        with Interrupts() as interrupts:
            self._search(interrupts)

    def _search(self, interrupts: Interrupts) -> None:
        while not self._status:
            try:
                self._round()
                interrupts.expect_none()
            except KeyboardInterrupt:
                if self._best is None:
                    raise
                self._status = "interrupted"
            if not self._status and self._reached():
                self._status = "target reached"
            if not self._status and time.perf_counter() >= self._end:
                self._status = "time limit"

    def _reached(self) -> bool:
        best = self._best
        return (
            self._target is not None
            and best is not None
            and best.feasible
            and best.energy <= self._target
        )

    def _round(self) -> None:
        """One search of the penalised problem, and what is learnt from it."""
        left = self._end - time.perf_counter()
        seconds = max(min(max(_LEAST_ROUND, self._limit / _ROUNDS), left), 0.01)
        terms, scale, constant = self._weights.problem()
        result = solve(
            Problem(terms),
            time_limit=seconds * (1 - _POLISH_SHARE if self._polish else 1),
            groups=self._model.groups or None,
            # From then on each search is to find something of its own.
            starts=[] if self._searches > 0 or self._best is None else [self._best.bits],
            seed=self._seed + self._searches,
            **self._arguments,
        )
        self._searches += 1
        found = [self._model.completed(x) for x in result.solutions]
        satisfied = self._enter(found)[-1]
        if self._model.exact:
            self._note_proof(result, scale, constant, self._seen[self._key(found[-1])])
        if result._interrupted and not self._status:
            self._status = "interrupted"
        if self._polish is not None and not self._status:
            deadline = min(time.perf_counter() + seconds * _POLISH_SHARE, self._end)
            self._enter([self._model.completed(self._polish(found[-1], deadline))])
        self._weights.adapt(self._model.held(result.x, satisfied))

    def _note_proof(self, result: Result, scale: float, constant: float, best: _Known) -> None:
        """A solution of a penalised problem that is optimal there, keeps all constraints and has no other energy
        in the model is optimal: of all that keep them the penalised problem has the energies, or less. (It may
        have less where products or priced bits are not what the variables make them.)"""
        if result.bound is not None:
            bound = float(result.bound) / scale + constant
            self._bound = bound if self._bound is None else max(self._bound, bound)
        energy = float(result.energy) / scale + constant
        if (
            result.status == "optimal"
            and best.feasible
            and math.isclose(energy, best.energy, abs_tol=1e-9)
        ):
            self._status = "optimal"
            self._bound = best.energy

    # ---- solutions

    def _key(self, bits: Bits) -> bytes:
        return bits[: self._model.model_bits].tobytes()

    def _enter(self, found: list[Bits]) -> npt.NDArray[np.bool_]:
        """Takes in solutions; which constraints hold in each, in dimod's order."""
        samples = self._sample_set(found)
        record = samples.record
        for bits, energy, feasible in zip(
            found, record.energy.tolist(), record.is_feasible.tolist()
        ):
            known = self._seen[self._key(bits)] = _Known(bits, energy, feasible)
            if self._best is None or known.rank < self._best.rank:
                self._best = known
        return np.asarray(record.is_satisfied)

    def _sample_set(self, found: list[Bits], **more: Any) -> dimod.SampleSet:
        values = self._model.values(np.array(found).reshape(len(found), -1))
        return dimod.SampleSet.from_samples_cqm((values, self._model.variables), self._cqm, **more)

    def samples(self, reads: int) -> dimod.SampleSet:
        """The best that were found, those that keep all constraints first."""
        feasible = sum(known.feasible for known in self._seen.values())
        if feasible < reads and self._polish is not None and self._best is not None:
            near = self._polish.near(self._best.bits, reads)
            if near:
                self._enter(near)
        best = sorted(self._seen.values(), key=lambda known: known.rank)[:reads]
        penalties = self._model.penalties
        info = {
            "status": self._status,
            "bound": self._bound,
            "searches": self._searches,
            "weights": {p.label: p.weight for p in penalties if p.label is not None},
            "timings": {"total": time.perf_counter() - self._begin},
        }
        return self._sample_set([known.bits for known in best], info=info)


class _Known(NamedTuple):
    """A solution that was found."""

    bits: Bits
    energy: float
    feasible: bool

    @property
    def rank(self) -> tuple[bool, float]:
        return not self.feasible, self.energy
