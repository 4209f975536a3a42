"""Several solutions of a search, seeds, and results in other libraries' forms."""

import itertools
import pickle

import dimod
import networkx
import numpy as np
import pytest

import orvex
from conftest import random_matrix


@pytest.mark.parametrize("wanted", [1, 7, 64, 100])
def test_solutions_are_distinct_sorted_and_rescored(wanted):
    matrix = random_matrix(6)
    result = orvex.solve(matrix, solutions=wanted, time_limit=1)
    assert len(result.best) == min(wanted, 64)
    assert result.best[0].energy == result.energy
    energies = [solution.energy for solution in result.best]
    assert energies == sorted(energies)
    assert all(s.energy == s.x @ matrix @ s.x for s in result.best)
    assert len({s.x.tobytes() for s in result.best}) == len(result.best)


def test_many_solutions_of_a_large_problem_are_good_ones():
    matrix = random_matrix(200)
    result = orvex.solve(matrix, solutions=500, time_limit=0.5, companion=1)
    assert len(result.best) == 500
    random = np.random.default_rng(1).integers(0, 2, (500, 200))
    assert result.best[-1].energy < np.einsum("ki,ij,kj->k", random, matrix, random).min()
    with pytest.raises(ValueError, match="solutions must be from 1"):
        orvex.solve(matrix, solutions=0)


@pytest.mark.parametrize("companion", [0, 1])
def test_solutions_are_as_different_as_those_of_the_search(companion):
    """Not just neighbours of the best: each of those has one that differs in a single bit."""
    matrix = random_matrix(200, seed=4)
    result = orvex.solve(matrix, solutions=50, time_limit=1.5, presolve=False, companion=companion)
    x = np.array([solution.x for solution in result.best], dtype=int)
    distances = (x[:, None, :] != x[None, :, :]).sum(axis=2)
    assert np.median(distances[np.triu_indices(50, 1)]) > 4


def test_solutions_of_real_coefficients_are_in_the_order_of_their_true_energies():
    matrix = np.random.default_rng(3).normal(size=(10, 10))
    every = np.array(list(itertools.product((0, 1), repeat=10)))
    energies = np.sort(np.einsum("ki,ij,kj->k", every, matrix, every))
    result = orvex.solve(matrix, solutions=3, time_limit=0.5)
    told = [solution.energy for solution in result.best]
    assert told == sorted(told)
    assert told[0] == pytest.approx(energies[0])


def test_a_seed_repeats_what_a_search_begins_with():
    matrix = random_matrix(120)
    problem = orvex.Problem(matrix)
    first, same, other = (problem._random_words(seed) for seed in (5, 5, 6))
    assert np.array_equal(first, same) and not np.array_equal(first, other)
    result = orvex.solve(problem, seed=5, time_limit=0.2)
    assert result.energy == problem.energy(result.x)
    for wrong in (-1, 2**64):
        with pytest.raises(ValueError, match="seed must be from 0"):
            orvex.solve(problem, seed=wrong)
    with pytest.raises(TypeError, match="seed must be an integer"):
        orvex.solve(problem, seed="random")


def test_results_become_tables_of_pandas():
    pandas = pytest.importorskip("pandas")
    result = orvex.solve(
        {("a", "a"): -2, ("a", "b"): 1, ("b", "c"): -3.5}, solutions=4, time_limit=1
    )
    table = result.to_pandas()
    assert table.columns.tolist() == ["energy", "a", "b", "c"]
    assert table.energy.tolist() == [solution.energy for solution in result.best]
    assert table.loc[0, ["a", "b", "c"]].astype(bool).tolist() == result.x.tolist()
    history = result.to_pandas(history=True)
    assert isinstance(history, pandas.DataFrame)
    assert history.energy.iloc[-1] == result.energy
    pairs = orvex.solve({((1, 2), "energy"): -1}, time_limit=1).to_pandas()
    assert pairs.columns.tolist() == ["energy", (1, 2), "energy"]


def test_results_of_files_are_pickled(tmp_path):
    file = tmp_path / "triangle.mc"
    file.write_text("3 3\n1 2 5\n2 3 4\n1 3 -1\n")
    result = orvex.solve(orvex.read(file, "maxcut"), solutions=3, time_limit=1)
    assert pickle.loads(pickle.dumps(result)) == result
    assert result != orvex.solve(orvex.read(file, "maxcut"), solutions=2, time_limit=1)


# ---- Max-Cut


def test_graphs_are_cut():
    cut = orvex.maxcut(networkx.petersen_graph(), target=12, time_limit=20)
    assert cut.value == len(cut.edges) == 12
    assert cut.parts[0] | cut.parts[1] == set(range(10))
    assert all((u in cut.parts[0]) != (v in cut.parts[0]) for u, v in cut.edges)


def test_weights_directions_loops_and_parallel_edges():
    graph = networkx.MultiDiGraph()
    graph.add_node("alone")
    graph.add_edge("a", "b", weight=2.5, length=1)
    graph.add_edge("b", "a")
    graph.add_edge("a", "a", weight=100)
    graph.add_edge("b", "c", weight=-3, length=2)
    cut = orvex.maxcut(graph, time_limit=1)
    assert cut.value == 3.5
    assert sorted(cut.edges) == [("a", "b"), ("b", "a")]
    assert "alone" in cut.parts[0]
    assert orvex.maxcut(graph, weight="length", time_limit=1).value == 4
    assert orvex.maxcut(networkx.empty_graph(3), time_limit=0.1).value == 0
    with pytest.raises(ValueError, match="at least one node"):
        orvex.maxcut(networkx.Graph())
    with pytest.raises(TypeError, match="the weight of the edge 0, 1 must be a number"):
        orvex.maxcut(networkx.Graph([(0, 1, {"weight": "much"})]))


# ---- in dimod's composites


def test_the_sampler_works_inside_composites():
    sampler = orvex.OrvexSampler(time_limit=0.2, trial_limit=100)
    bqm = dimod.generators.gnp_random_bqm(8, 0.6, "SPIN", random_state=4)
    least = dimod.ExactSolver().sample(bqm).first.energy
    tracked = dimod.TrackingComposite(sampler)
    assert tracked.sample(bqm).first.energy == pytest.approx(least)
    assert tracked.output.info["status"]
    short = dimod.TruncateComposite(sampler, 2).sample(bqm, num_reads=5)
    assert len(short) == 2
    shaped = dimod.StructureComposite(sampler, list(bqm.variables), list(bqm.quadratic))
    assert shaped.sample(bqm).first.energy == pytest.approx(least)
    higher = dimod.HigherOrderComposite(sampler).sample_hubo(
        {("a", "b", "c"): -2, ("a",): 1, ("b",): 0.5}
    )
    assert higher.first.energy == pytest.approx(-0.5)
    poly = dimod.HigherOrderComposite(sampler).sample_poly(
        dimod.BinaryPolynomial({"abc": -1, "ab": 1, "d": 2}, "SPIN"), penalty_strength=5
    )
    assert poly.first.energy == pytest.approx(-4)
