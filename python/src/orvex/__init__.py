"""ORVEX finds the lowest-energy bit vector of a QUBO problem.

    >>> import numpy as np, orvex
    >>> result = orvex.solve(np.array([[-3, 2], [0, -1]]), target=-3)
    >>> result.energy, result.x.tolist()
    (-3, [True, False])

A problem of n binary variables is stated by a square matrix of real numbers Q; its energy is x'Qx, the sum
over all i and j of Q[i, j] x[i] x[j], and the least is wanted. :func:`solve` searches, :class:`Problem`
is a problem that is searched several times, :class:`OrvexSampler` is the same for programs on dimod.
"""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

from ._checkpoint import CheckpointWarning
from ._events import Event, Pulse
from ._files import FileWarning, Source
from ._library import OrvexError, engine_version
from ._maxcut import Cut, maxcut
from ._presolve import Presolved, RuleUse
from ._problem import LargeProblemWarning, Problem, read
from ._result import Result, Solution
from ._settings import Settings
from ._solve import solve

if TYPE_CHECKING:
    from ._cqm import OrvexCQMSampler
    from ._sampler import OrvexSampler

__all__ = [
    "CheckpointWarning",
    "Cut",
    "Event",
    "FileWarning",
    "LargeProblemWarning",
    "OrvexCQMSampler",
    "OrvexError",
    "OrvexSampler",
    "Presolved",
    "Problem",
    "Pulse",
    "Result",
    "RuleUse",
    "Settings",
    "Solution",
    "Source",
    "engine_version",
    "maxcut",
    "read",
    "solve",
]
__version__ = "1.0.0"


def __getattr__(name: str) -> Any:
    # What needs dimod, which not everyone has.
    if name == "OrvexSampler":
        from ._sampler import OrvexSampler

        return OrvexSampler
    if name == "OrvexCQMSampler":
        from ._cqm import OrvexCQMSampler

        return OrvexCQMSampler
    raise AttributeError(f"module {__name__!r} has no attribute {name!r}")
