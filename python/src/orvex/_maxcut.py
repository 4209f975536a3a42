"""Max-Cut on graphs as networkx has them: nodes of any kind, and edges with or without a weight."""

from __future__ import annotations

from collections.abc import Hashable
from dataclasses import dataclass
from typing import Any

import numpy as np

from ._forms import Terms
from ._numbers import exact, listed
from ._problem import Problem
from ._result import Energy, Result
from ._solve import solve


@dataclass(frozen=True)
class Cut:
    """A division of a graph's nodes in two, and the search that found it."""

    value: Energy
    """The sum of the weights of the edges between the two parts."""
    parts: tuple[set[Hashable], set[Hashable]]
    """The nodes of each."""
    edges: list[tuple[Hashable, Hashable]]
    """The edges between them."""
    result: Result
    """The search; its energies are cuts with the other sign, its bits tell the part of each node."""


def maxcut(
    graph: Any, *, weight: str = "weight", target: float | None = None, **arguments: Any
) -> Cut:
    """Divides the nodes of a graph in two so that the edges between the parts weigh the most.

    Parameters
    ----------
    graph
        A graph of networkx, or what has `nodes` and `edges` like one. Several edges between two nodes add up;
        directions and edges from a node to itself do not matter.
    weight
        The attribute of an edge that is its weight; edges without it weigh 1.
    target
        The search ends at this cut or above.
    arguments
        Those of :func:`solve`.

    Examples
    --------
    >>> cut = orvex.maxcut(networkx.petersen_graph(), target=12)
    >>> cut.value, len(cut.parts[0]) + len(cut.parts[1]), len(cut.edges)
    (12, 10, 12)
    """
    nodes = list(graph.nodes)
    if not nodes:
        raise ValueError("a graph needs at least one node")
    at = {node: k for k, node in enumerate(nodes)}
    edges = [(u, v, w) for u, v, w in graph.edges(data=weight, default=1) if u != v]
    weights = listed([w for *_, w in edges])
    for u, v, w in edges if weights.dtype == object else ():
        exact(w, f"the weight of the edge {u!r}, {v!r}")
    ends = np.array([(at[u], at[v]) for u, v, _ in edges], dtype=np.int64).reshape(-1, 2)
    # An edge is cut where one of its ends is 1 and not the other: x + y - 2 x y, to be the most.
    pairs = np.concatenate([ends[:, [0, 0]], ends[:, [1, 1]], ends])
    values = np.concatenate([-weights, -weights, 2 * weights])
    problem = Problem(Terms(len(nodes), pairs, values), scale=arguments.pop("scale", None))
    result = solve(problem, target=None if target is None else -target, **arguments)
    side = result.x
    parts = ({n for n, b in zip(nodes, side) if not b}, {n for n, b in zip(nodes, side) if b})
    cut = [(u, v) for u, v, _ in edges if side[at[u]] != side[at[v]]]
    return Cut(-result.energy, parts, cut, result)
