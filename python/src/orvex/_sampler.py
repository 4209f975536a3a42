"""ORVEX as a sampler of dimod, the interface that many programs around QUBOs are written to."""

from __future__ import annotations

import heapq
import time
from typing import Any

import dimod
import numpy as np
import numpy.typing as npt

from ._library import engine_version, max_size
from ._problem import Problem
from ._result import Result
from ._settings import Settings, whole_number
from ._solve import solve

#: How long a sample takes when no limit is given.
_TIME_LIMIT = 1.0


class OrvexSampler(dimod.Sampler):  # type: ignore[misc]
    """Samples binary quadratic models: a sample set holds the best solutions of one search.

    Parameters
    ----------
    defaults
        Parameters for every sample that does not set them itself; see :attr:`parameters`. Those of other
        samplers, such as `seed` or `num_sweeps`, are ignored with dimod's SamplerUnknownArgWarning.

    Examples
    --------
    >>> sampler = orvex.OrvexSampler(time_limit=0.5)
    >>> sampler.sample_ising({"a": 1}, {("a", "b"): 1}).first.energy
    -2.0
    """

    parameters: dict[str, list[str]] = {}
    properties: dict[str, Any] = {}

    def __init__(self, **defaults: Any) -> None:
        searching = (
            "time_limit", "target", "trial_limit", "hints", "callback", "pulse", "progress", "scale",
            "presolve", "companion",
        )  # fmt: skip
        names = ("num_reads", "initial_states", *searching, *Settings.__annotations__)
        self.parameters = {name: [] for name in names}
        self.properties = {"max_num_variables": max_size(), "engine_version": engine_version()}
        self._defaults = self.remove_unknown_kwargs(**defaults)

    def sample(self, bqm: dimod.BinaryQuadraticModel, **parameters: Any) -> dimod.SampleSet:
        """Samples a binary quadratic model.

        Parameters
        ----------
        bqm
            The model, of spins or bits.
        num_reads
            How many distinct solutions are wanted, best first; 1 by default. They are the best of the
            search and, where these are too few, the lowest that lead on from them by one flip each. There
            are fewer only where the model has fewer, or where finding them would take longer than the
            search itself (or than a second).
        initial_states
            Samples to start from, in any form that dimod takes; they must cover all variables.
        scale
            How integers are made of the biases, "auto" by default; see :class:`Problem`.
        parameters
            Arguments of :func:`solve`, and settings of the engine; others are ignored with a warning.
            Without a limit the search takes 1 second.

        Returns
        -------
        dimod.SampleSet
            The solutions; `info` has "status", "timings" and the library's results.
        """
        given = {name: value for name, value in parameters.items() if value is not None}
        given = self.remove_unknown_kwargs(**given)
        arguments = {"scale": "auto", **self._defaults, **given}
        reads = whole_number("num_reads", arguments.pop("num_reads", 1), 1, 10**6)
        states = arguments.pop("initial_states", None)
        if not {"time_limit", "target", "trial_limit"} & arguments.keys():
            arguments["time_limit"] = _TIME_LIMIT
        if bqm.num_variables == 0:
            return dimod.SampleSet.from_samples_bqm(np.empty((1, 0), dtype=np.int8), bqm)
        problem = Problem(bqm, scale=arguments.pop("scale"))
        starts = [] if states is None else _starts(states, bqm)
        return _sample_set(bqm, solve(problem, starts=starts, **arguments), reads)


def _starts(states: Any, bqm: dimod.BinaryQuadraticModel) -> list[npt.NDArray[np.bool_]]:
    samples, labels = dimod.as_samples(states)
    column = {label: k for k, label in enumerate(labels)}
    missing = [variable for variable in bqm.variables if variable not in column]
    if missing:
        raise ValueError(f"initial_states have no value for the variable {missing[0]!r}")
    array = np.asarray(samples)[:, [column[variable] for variable in bqm.variables]]
    if not np.isin(array, (-1, 0, 1)).all():
        raise ValueError("initial_states must hold nothing but bits or spins")
    return list(array > 0)


def _sample_set(bqm: dimod.BinaryQuadraticModel, result: Result, reads: int) -> dimod.SampleSet:
    best = np.array(_reads(bqm, result, reads), dtype=np.int8)
    values = best if bqm.vartype is dimod.BINARY else 2 * best - 1
    info = {
        "status": result.status, "timings": result.timings, "largest_error": result.largest_error,
        **result.info,
    }  # fmt: skip
    samples = dimod.SampleSet.from_samples_bqm((values, list(bqm.variables)), bqm, info=info)
    return samples.slice()  # the lowest energy first, as dimod adds it up


class _Flips:
    """The bits of a model, and what flipping each of them does to the energy."""

    def __init__(self, bqm: dimod.BinaryQuadraticModel) -> None:
        bits = bqm.change_vartype(dimod.BINARY, inplace=False)
        vectors = bits.to_numpy_vectors(variable_order=list(bqm.variables))
        self._linear = np.asarray(vectors.linear_biases, dtype=np.float64)
        self._row, self._column, self._quadratic = vectors.quadratic
        self._offset = float(vectors.offset)

    def _fields(self, x: npt.NDArray[np.bool_]) -> npt.NDArray[np.float64]:
        size = len(self._linear)
        fields = np.bincount(self._row, self._quadratic * x[self._column], size)
        fields += np.bincount(self._column, self._quadratic * x[self._row], size)
        return np.asarray(fields, dtype=np.float64)

    def energy(self, x: npt.NDArray[np.bool_]) -> float:
        return float(self._offset + x @ (self._linear + self._fields(x) / 2))

    def changes(self, x: npt.NDArray[np.bool_]) -> npt.NDArray[np.float64]:
        return np.where(x, -1, 1) * (self._linear + self._fields(x))


def _reads(
    bqm: dimod.BinaryQuadraticModel, result: Result, reads: int
) -> list[npt.NDArray[np.bool_]]:
    """The best of the search, then the lowest of their neighbours, of the neighbours of these, and so on:
    always the lowest that is known is next, and its neighbours are known from then on."""
    best = result.solutions[-reads:][::-1]
    if len(best) == reads:
        return best
    deadline = time.perf_counter() + max(1.0, result.timings["search"])
    flips = _Flips(bqm)
    known = {x.tobytes() for x in best}
    # A neighbour's bits are made when its turn has come: energy, order of entry, whose, which flip.
    waiting: list[tuple[float, int, npt.NDArray[np.bool_], int]] = [
        (flips.energy(x), k, x, -1) for k, x in enumerate(best)
    ]
    heapq.heapify(waiting)
    entered = len(waiting)
    found: list[npt.NDArray[np.bool_]] = []
    while waiting and len(found) < reads:
        energy, _, x, flipped = heapq.heappop(waiting)
        if flipped >= 0:
            x = _flip(x, flipped)
        found.append(x)
        if time.perf_counter() > deadline:
            continue
        missing = reads - len(found)
        changes = flips.changes(x)
        for i in np.argsort(changes, kind="stable")[: missing + len(found)].tolist():
            key = _flip(x, i).tobytes()
            if key not in known:
                known.add(key)
                heapq.heappush(waiting, (energy + float(changes[i]), entered, x, i))
                entered += 1
        if len(waiting) > 2 * missing:
            waiting = heapq.nsmallest(missing, waiting)  # sorted, and so a heap
    return found


def _flip(x: npt.NDArray[np.bool_], i: int) -> npt.NDArray[np.bool_]:
    flipped = x.copy()
    flipped[i] = not flipped[i]
    return flipped
