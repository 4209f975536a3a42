"""The sampler, by dimod's own checks and beyond."""

import unittest

import dimod
import dimod.testing
import pytest

import orvex


def quick_sampler() -> orvex.OrvexSampler:
    return orvex.OrvexSampler(trial_limit=100)


@dimod.testing.load_sampler_bqm_tests(quick_sampler)
class TestByDimod(unittest.TestCase):
    def test_the_interface(self):
        dimod.testing.assert_sampler_api(quick_sampler())


def gamble() -> dimod.BQM:
    return dimod.generators.ran_r(9, 40, seed=3)


def test_reads_are_distinct_and_best_first():
    bqm = gamble()
    samples = orvex.OrvexSampler(time_limit=0.5).sample(bqm, num_reads=5)
    energies = samples.record.energy.tolist()
    assert energies == sorted(energies)
    assert len({tuple(row) for row in samples.record.sample}) == len(samples) <= 5
    dimod.testing.assert_sampleset_energies(samples, bqm)
    assert samples.info["status"] == "time limit"


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
    with pytest.raises(ValueError, match="scale=1 does not"):
        quick_sampler().sample_ising({"a": 0.1}, {}, scale=1)


def test_unknown_parameters_name_the_nearest():
    with pytest.raises(TypeError, match="no parameter 'num_read'; did you mean 'num_reads'"):
        quick_sampler().sample_qubo({(0, 0): 1}, num_read=3)
    with pytest.raises(TypeError, match="no parameter"):
        orvex.OrvexSampler(beta=3)
    with pytest.raises(ValueError, match="num_reads"):
        quick_sampler().sample_qubo({(0, 0): 1}, num_reads=0)
    with pytest.raises(ValueError, match="tabu_cycles"):
        quick_sampler().sample_qubo({(0, 0): 1}, tabu_cycles=500)
