"""Exact reductions, one-hot groups, and problems that no band of the library holds."""

import random

import numpy as np
import orvex
import pytest


def tree(size: int, seed: int = 1) -> dict[tuple[int, int], int]:
    draw = random.Random(seed)
    terms = {(i, i): draw.randint(-9, 9) for i in range(size)}
    return terms | {(draw.randrange(i), i): draw.choice([-5, -3, 4, 7]) for i in range(1, size)}


def sparse(size: int, couplings: int, seed: int = 1) -> dict[tuple[int, int], int]:
    draw = random.Random(seed)
    terms = {(i, i): 0 for i in range(size)}
    while len(terms) < size + couplings:
        i, j = sorted(draw.sample(range(size), 2))
        terms[i, j] = draw.choice([-1, 1])
    return terms


def test_what_is_solved_by_presolve_is_proven():
    problem = orvex.Problem(tree(15))
    result = orvex.solve(problem)
    every = (np.arange(1 << 15)[:, None] >> np.arange(15)) & 1
    assert result.energy == min(problem.energy(x) for x in every)
    assert (result.status, result.bound) == ("optimal", result.energy)
    assert result.info["found_by"] == "presolve"
    assert result.info["searched_size"] == "0"


def test_a_problem_that_no_band_holds_is_solved():
    problem = orvex.Problem(tree(70_000))
    result = orvex.solve(problem)
    assert result.status == "optimal"
    assert problem.energy(result.x) == result.energy


def test_one_that_presolve_leaves_is_searched_by_the_companion():
    problem = orvex.Problem(sparse(80_000, 160_000))
    result = orvex.solve(problem, time_limit=60, target=-1, presolve=False)
    assert problem.energy(result.x) == result.energy < 0
    assert int(result.info["companion_flips"]) > 0


def test_the_reduced_problem_leads_back():
    problem = orvex.Problem(sparse(240, 640))
    left = problem.presolve()
    assert left.problem is not None
    assert 0 < left.problem.size < problem.size
    assert sum(use.variables for use in left.rules) == problem.size - left.problem.size
    found = orvex.solve(left.problem, time_limit=0.5)
    x = left.restore(found.x)
    assert problem.energy(x) <= found.energy + left.offset
    assert left.bound is not None
    assert left.bound <= problem.energy(x)
    other = np.arange(240) % 3 == 0
    assert problem.energy(left.restore(left.project(other))) <= problem.energy(other)


def test_a_solved_problem_leaves_nothing():
    problem = orvex.Problem(tree(100))
    left = problem.presolve(full=True)
    assert left.optimal
    assert left.problem is None
    assert problem.energy(left.restore([])) == left.bound
    assert left.project(np.zeros(100)).size == 0
    with pytest.raises(ValueError, match="nothing is left"):
        left.restore([1])


def assignment(size: int) -> tuple[np.ndarray, list[list[int]]]:
    """Costs of pairs, and penalties where not exactly one of a row and of a column is chosen."""
    costs = np.random.default_rng(1).integers(1, 10, (size, size))
    matrix = np.diag(costs.ravel() - 40)
    groups = [[i * size + j for j in range(size)] for i in range(size)]
    groups += [[i * size + j for i in range(size)] for j in range(size)]
    for group in groups:
        for a in group:
            for b in group:
                matrix[a, b] += 20 * (a != b)
    return matrix, groups


def test_groups_are_found_or_given():
    matrix, groups = assignment(8)
    found = orvex.solve(matrix, time_limit=0.5)
    assert found.info["groups"] == "16"
    given = orvex.solve(matrix, time_limit=0.5, groups=groups)
    assert given.info["groups"] == "16"
    assert given.energy == found.energy
    chosen = given.x.reshape(8, 8)
    assert (chosen.sum(0) == 1).all()
    assert (chosen.sum(1) == 1).all()


@pytest.mark.parametrize(
    ("groups", "text"),
    [([[0, 64]], "variable 64, not from 0 to 63"), ([[0, 0]], "twice"), ([[3]], "fewer than 2")],
)
def test_groups_that_are_none_are_refused(groups, text):
    with pytest.raises(ValueError, match=text):
        orvex.solve(assignment(8)[0], groups=groups, presolve=False)
