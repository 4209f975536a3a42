"""The sampler, by dimod's own checks and beyond."""

import unittest

import dimod
import dimod.testing
import numpy as np
import pytest
from dimod.exceptions import SamplerUnknownArgWarning

import orvex


def quick_sampler() -> orvex.OrvexSampler:
    return orvex.OrvexSampler(trial_limit=100, presolve=False, companion=0)


@dimod.testing.load_sampler_bqm_tests(quick_sampler)
class TestByDimod(unittest.TestCase):
    def test_the_interface(self):
        dimod.testing.assert_sampler_api(quick_sampler())


def gamble() -> dimod.BQM:
    return dimod.generators.ran_r(9, 40, seed=3)


@pytest.mark.parametrize("reads", [1, 5, 100])
def test_reads_are_as_many_distinct_good_solutions_as_asked_for(reads):
    bqm = gamble()
    samples = orvex.OrvexSampler(time_limit=0.5, presolve=False).sample(bqm, num_reads=reads)
    energies = samples.record.energy.tolist()
    assert energies == sorted(energies)
    assert len({tuple(row) for row in samples.record.sample}) == len(samples) == reads
    dimod.testing.assert_sampleset_energies(samples, bqm)
    assert samples.info["status"] == "time limit"
    random = dimod.RandomSampler().sample(bqm, num_reads=1000)
    assert energies[-1] < random.first.energy


@pytest.mark.parametrize("vartype", ["SPIN", "BINARY"])
def test_a_small_model_gives_all_its_states_in_order(vartype):
    bqm = dimod.generators.gnp_random_bqm(5, 0.7, vartype, random_state=2)
    samples = quick_sampler().sample(bqm, num_reads=100)
    exact = dimod.ExactSolver().sample(bqm)
    assert np.allclose(samples.record.energy, np.sort(exact.record.energy))


def test_initial_states_count_as_found():
    bqm = gamble()
    good = orvex.OrvexSampler(time_limit=0.5).sample(bqm)
    again = quick_sampler().sample(bqm, trial_limit=1, initial_states=good)
    assert again.first.energy <= good.first.energy + 1e-9
    with pytest.raises(ValueError, match="no value for the variable"):
        quick_sampler().sample(bqm, initial_states={0: 1})


def test_fractional_biases_are_scaled():
    samples = quick_sampler().sample_ising({"a": 0.1, "b": -0.35}, {("a", "b"): 0.2})
    assert samples.first.energy == pytest.approx(-0.65)
    samples = quick_sampler().sample_ising({"a": 1 / 3, "b": -1 / 7}, {("a", "b"): 0.2})
    assert samples.first.energy == pytest.approx(-1 / 3 - 1 / 7 - 0.2)
    assert 0 < samples.info["largest_error"] < 1e-7
    with pytest.raises(ValueError, match="scale=1 does not"):
        quick_sampler().sample_ising({"a": 0.1}, {}, scale=1)


def test_parameters_of_other_samplers_are_ignored_with_a_warning():
    with pytest.warns(SamplerUnknownArgWarning, match="beta_range"):
        samples = quick_sampler().sample_qubo({(0, 0): -1}, beta_range=(1, 2))
    assert samples.first.energy == -1
    with pytest.warns(SamplerUnknownArgWarning, match="num_sweeps"):
        orvex.OrvexSampler(num_sweeps=3, trial_limit=5).sample_qubo({(0, 0): 1})
    with pytest.raises(ValueError, match="num_reads"):
        quick_sampler().sample_qubo({(0, 0): 1}, num_reads=0)
    with pytest.raises(ValueError, match="tabu_cycles"):
        quick_sampler().sample_qubo({(0, 0): 1}, tabu_cycles=500)
