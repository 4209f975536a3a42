"""ORVEX as a sampler of dimod, the interface that many programs around QUBOs are written to."""

from __future__ import annotations

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
        samplers, such as `num_sweeps`, are ignored with dimod's SamplerUnknownArgWarning.

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
            "presolve", "companion", "seed",
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
            How many distinct solutions are wanted, best first; 1 by default: `solutions` of :func:`solve`.
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
        return _sample_set(bqm, solve(problem, starts=starts, solutions=reads, **arguments))


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


def _sample_set(bqm: dimod.BinaryQuadraticModel, result: Result) -> dimod.SampleSet:
    best = np.array([solution.x for solution in result.best], dtype=np.int8)
    values = best if bqm.vartype is dimod.BINARY else 2 * best - 1
    info = {
        "status": result.status, "timings": result.timings, "largest_error": result.largest_error,
        **result.info,
    }  # fmt: skip
    samples = dimod.SampleSet.from_samples_bqm((values, list(bqm.variables)), bqm, info=info)
    return samples.slice()  # the lowest energy first, as dimod adds it up
