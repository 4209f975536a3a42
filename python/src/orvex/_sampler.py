"""ORVEX as a sampler of dimod, the interface that many programs around QUBOs are written to."""

from __future__ import annotations

import difflib
from collections.abc import Iterable
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
        Parameters for every sample that does not set them itself; see :attr:`parameters`.

    Examples
    --------
    >>> sampler = orvex.OrvexSampler(time_limit=0.5)
    >>> sampler.sample_ising({"a": 1}, {("a", "b"): 1}).first.energy
    -2.0
    """

    parameters: dict[str, list[str]] = {}
    properties: dict[str, Any] = {}

    def __init__(self, **defaults: Any) -> None:
        searching = ("time_limit", "target", "trial_limit", "callback", "progress", "scale")
        names = ("num_reads", "initial_states", *searching, *Settings.__annotations__)
        self.parameters = {name: [] for name in names}
        self.properties = {"max_num_variables": max_size(), "engine_version": engine_version()}
        self._expect_known(defaults)
        self._defaults = defaults

    def sample(self, bqm: dimod.BinaryQuadraticModel, **parameters: Any) -> dimod.SampleSet:
        """Samples a binary quadratic model.

        Parameters
        ----------
        bqm
            The model, of spins or bits.
        num_reads
            How many solutions are wanted, best first: the distinct ones that were the best at some
            time of the search. There may be fewer. 1 by default.
        initial_states
            Samples to start from, in any form that dimod takes; they must cover all variables.
        scale
            What makes integers of the biases, "auto" by default; see :class:`Problem`. Biases that no
            scale makes integers are refused: round them first.
        parameters
            Arguments of :func:`solve`, and settings of the engine. Without a limit the search takes 1
            second.

        Returns
        -------
        dimod.SampleSet
            The solutions; `info` has "status", "timings" and the library's results.
        """
        given = {name: value for name, value in parameters.items() if value is not None}
        self._expect_known(given)
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

    def _expect_known(self, names: Iterable[str]) -> None:
        for name in names:
            if name not in self.parameters:
                near = difflib.get_close_matches(name, self.parameters, n=1, cutoff=0.0)[0]
                raise TypeError(f"there is no parameter {name!r}; did you mean {near!r}?")


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
    """History falls strictly, so its solutions are distinct and the last are the best."""
    best = np.array(result.solutions[-reads:][::-1], dtype=np.int8)
    values = best if bqm.vartype is dimod.BINARY else 2 * best - 1
    info = {"status": result.status, "timings": result.timings, **result.info}
    return dimod.SampleSet.from_samples_bqm((values, list(bqm.variables)), bqm, info=info)
