"""Models with constraints: against enumeration, and against dimod's own account of each sample."""

import itertools
import os
import pickle
import signal
import threading

import dimod
import numpy as np
import pytest

import orvex
from orvex._cqm_bits import BitModel
from orvex._cqm_weights import Weights


def best_by_trying_all(cqm: dimod.CQM) -> float:
    """The least energy of a small model of which all constraints hold."""
    ranges = [
        (-1, 1) if cqm.vartype(v) is dimod.SPIN
        else range(int(cqm.lower_bound(v)), int(cqm.upper_bound(v)) + 1)
        for v in cqm.variables
    ]  # fmt: skip
    every = np.array(list(itertools.product(*ranges)))
    record = dimod.SampleSet.from_samples_cqm((every, cqm.variables), cqm).record
    return float(record.energy[record.is_feasible].min())


def integers(names: str, **bounds: int) -> list[dimod.QM]:
    return [dimod.Integer(name, **bounds) for name in names]


def solve(cqm: dimod.CQM, **parameters: object) -> dimod.SampleSet:
    """Solves it, and holds what is told of each sample to what dimod says of it."""
    samples = orvex.OrvexCQMSampler(time_limit=1).sample_cqm(cqm, **parameters)
    for row in samples.record:
        sample = dict(zip(samples.variables, row.sample.tolist()))
        violations = cqm.violations(sample, clip=True)
        told = dict(zip(samples.info["constraint_labels"], row.is_satisfied))
        assert all(held == (violations[label] <= 1e-6) for label, held in told.items())
        hard = [label for label, c in cqm.constraints.items() if not c.lhs.is_soft()]
        assert row.is_feasible == all(told[label] for label in hard)
        if len(hard) == len(told):
            assert row.is_feasible == cqm.check_feasible(sample)
    order = [(not feasible, energy) for energy, feasible in
             zip(samples.record.energy, samples.record.is_feasible)]  # fmt: skip
    assert order == sorted(order)
    return samples


def mixed() -> dimod.CQM:
    i, j = integers("ij", lower_bound=-3, upper_bound=4)
    s = dimod.Spin("s")
    x, y, z = dimod.Binaries("xyz")
    cqm = dimod.ConstrainedQuadraticModel()
    cqm.set_objective(i * j - 2 * i + s * x + 0.5 * j * y - z + i * i)
    cqm.add_constraint(i + 2 * j + s >= -2, label="low")
    cqm.add_constraint(x + y + z <= 2, label="some")
    cqm.add_constraint(3 * i - j + 2 * x == 1, label="line")
    return cqm


def quadratic() -> dimod.CQM:
    i, j = integers("ij", upper_bound=5)
    x = dimod.Binary("x")
    cqm = dimod.ConstrainedQuadraticModel()
    cqm.set_objective(-i - j + 2 * x)
    cqm.add_constraint(i * j <= 6, label="area")
    cqm.add_constraint(i * i - j * x <= 9, label="bow")
    return cqm


def soft(penalty: str) -> dimod.CQM:
    x, y = dimod.Binaries("xy")
    i, j = integers("ij", upper_bound=7)
    if penalty == "quadratic":  # which dimod takes of binary variables only
        i, j = (sum(2**k * dimod.Binary(f"{name}{k}") for k in range(3)) for name in "ij")
    cqm = dimod.ConstrainedQuadraticModel()
    cqm.set_objective(-2 * i - 3 * j - x - 4 * y)
    cqm.add_constraint(i + j <= 9, label="hard")
    cqm.add_constraint(i + 2 * j + 2 * y <= 8, label="soft", weight=0.75, penalty=penalty)
    cqm.add_constraint(x + y <= 1, label="pair", weight=2.5, penalty=penalty)
    cqm.add_constraint(i - j == 2, label="equal", weight=0.5, penalty=penalty)
    return cqm


def decimal() -> dimod.CQM:
    x = [dimod.Binary(k) for k in range(8)]
    cqm = dimod.ConstrainedQuadraticModel()
    cqm.set_objective(-sum((1 + 0.37 * k) * x[k] for k in range(8)))
    cqm.add_constraint(sum((0.5 + 0.25 * k) * x[k] for k in range(8)) <= 4.1, label="room")
    cqm.add_constraint(x[7] - x[0] <= 0, label="with")
    return cqm


def irrational() -> dimod.CQM:
    x = [dimod.Binary(k) for k in range(8)]
    cqm = dimod.ConstrainedQuadraticModel()
    cqm.set_objective(-sum(float(np.sqrt(k + 2)) * x[k] for k in range(8)))
    cqm.add_constraint(sum(float(np.cbrt(k + 3)) * x[k] for k in range(8)) <= 7.3, label="room")
    return cqm


SMALL = {
    "mixed": mixed(), "quadratic": quadratic(), "soft, linear": soft("linear"),
    "soft, quadratic": soft("quadratic"), "decimal": decimal(), "irrational": irrational(),
}  # fmt: skip


@pytest.mark.parametrize("name", SMALL)
def test_small_models_are_solved(name):
    cqm = SMALL[name]
    samples = solve(cqm)
    assert samples.record.is_feasible[0]
    assert samples.record.energy[0] == pytest.approx(best_by_trying_all(cqm))
    if samples.info["bound"] is not None:
        assert samples.info["bound"] <= samples.record.energy[0] + 1e-9


def test_a_proven_optimum_is_called_one():
    for cqm in (mixed(), decimal()):
        samples = solve(cqm, time_limit=20)
        assert samples.info["status"] == "optimal"
        assert samples.info["timings"]["total"] < 15
        assert samples.info["bound"] == samples.record.energy[0]


def random_model(seed: int) -> dimod.CQM:
    """Of all kinds of variables, with a solution that keeps its constraints."""
    random = np.random.default_rng(seed)
    cqm = dimod.ConstrainedQuadraticModel()
    for k in range(4):
        cqm.add_variable("BINARY", f"b{k}")
    cqm.add_variable("SPIN", "s")
    cqm.add_variable("INTEGER", "i", lower_bound=-2, upper_bound=3)
    cqm.add_variable("INTEGER", "j", lower_bound=1, upper_bound=6)
    names = list(cqm.variables)
    known = {
        v: int(
            random.choice(
                (-1, 1) if v == "s" else range(int(cqm.lower_bound(v)), int(cqm.upper_bound(v)) + 1)
            )
        )
        for v in names
    }
    objective = dimod.QM()
    objective.update(dimod.QM.from_bqm(dimod.BQM("BINARY")))
    for v in names:
        objective.add_variable(
            cqm.vartype(v), v, lower_bound=cqm.lower_bound(v), upper_bound=cqm.upper_bound(v)
        )
        objective.set_linear(v, int(random.integers(-9, 10)))
    for u, v in itertools.combinations(names, 2):
        objective.add_quadratic(u, v, int(random.integers(-5, 6)))
    cqm.set_objective(objective)
    for k, sense in enumerate(("<=", ">=", "==")):
        terms = [(v, int(random.integers(-4, 5))) for v in random.choice(names, 4, replace=False)]
        value = sum(c * known[v] for v, c in terms)
        cqm.add_constraint([*terms, (-value,)], sense, label=f"c{k}")
    return cqm


@pytest.mark.parametrize("seed", range(12))
def test_penalties_are_0_where_constraints_hold_and_above_elsewhere(seed):
    cqm = random_model(seed)
    model = BitModel(cqm)
    assert model.exact
    random = np.random.default_rng(seed)
    for bits in random.random((200, model.size)) < 0.5:
        bits = model.completed(bits)
        values = model.values(bits[None])[0]
        assert (
            np.array_equal(model.bits(values), bits)
            or model.values(model.bits(values)[None])[0].tolist() == values.tolist()
        )
        sample = dict(zip(model.variables, values.tolist()))
        violations = cqm.violations(sample, clip=True)
        for penalty in model.penalties:
            assert (penalty.cost(bits) == 0) == (violations[penalty.label] <= 1e-9)
            assert penalty.cost(bits) >= 0
        pairs, terms = model.objective.terms()
        energy = model.objective.constant + terms @ (bits[pairs[:, 0]] & bits[pairs[:, 1]])
        assert energy == pytest.approx(cqm.objective.energy(sample))


@pytest.mark.parametrize("seed", range(3))
def test_random_models_are_solved(seed):
    cqm = random_model(seed)
    samples = solve(cqm, target=best_by_trying_all(cqm))
    assert samples.record.energy[0] == pytest.approx(best_by_trying_all(cqm))


def matching(size: int = 6) -> dimod.CQM:
    costs = np.random.default_rng(3).integers(1, 50, (size, size))
    cqm = dimod.ConstrainedQuadraticModel()
    x = {(i, j): dimod.Binary((i, j)) for i in range(size) for j in range(size)}
    cqm.set_objective(dimod.quicksum(int(costs[k]) * v for k, v in x.items()))
    for i in range(size):
        cqm.add_discrete([(i, j) for j in range(size)], label=f"row {i}")
        cqm.add_constraint(dimod.quicksum(x[j, i] for j in range(size)) <= 1, label=f"column {i}")
    return cqm


def test_discrete_constraints_and_their_like_become_groups():
    model = BitModel(matching())
    assert [len(group) for group in model.groups] == [6] * 6 + [
        7
    ] * 6  # with a bit for "none of them"
    from scipy.optimize import linear_sum_assignment

    costs = np.random.default_rng(3).integers(1, 50, (6, 6))
    least = costs[linear_sum_assignment(costs)].sum()
    samples = solve(matching(), target=least)
    assert samples.record.energy[0] == least
    assert samples.info["status"] in ("target reached", "optimal")


def test_groups_that_the_search_cannot_take_stay_penalties():
    x = [dimod.Binary(k) for k in range(4)]
    cqm = dimod.ConstrainedQuadraticModel()
    cqm.set_objective(sum((k + 1) * x[k] for k in range(4)))
    cqm.add_discrete([0, 1, 2], label="three")
    cqm.add_constraint(x[0] + x[1] + x[3] == 1, label="two of them")
    assert len(BitModel(cqm).groups) == 1
    assert solve(cqm).record.energy[0] == best_by_trying_all(cqm)


def test_weights_are_raised_where_broken_and_lowered_where_they_drown():
    model = BitModel(decimal())
    weights = Weights(model)
    room, with_ = model.penalties
    first = (room.weight, with_.weight)
    weights.adapt([False, True])
    assert room.weight == pytest.approx(1.5 * first[0], rel=0.1)
    assert with_.weight == first[1]
    for _ in range(99):
        weights.adapt([False, True])
    assert room.weight == pytest.approx(1e4 * first[0], rel=0.1)
    weights.adapt([True, True])
    assert room.weight == pytest.approx(1e4 * first[0] / 1.5, rel=0.1)
    for _ in range(99):
        weights.adapt([True, True])
    assert with_.weight == pytest.approx(first[1] / 50, rel=0.5)  # a step of integers
    terms, scale, _ = weights.problem()
    assert terms.data.dtype == np.int64  # nothing is rounded for the search
    for penalty in BitModel(matching()).penalties:
        assert penalty.group is not None  # which is raised only


def test_integer_variables_without_bounds_get_those_of_the_constraints():
    i, j = integers("ij")
    cqm = dimod.ConstrainedQuadraticModel()
    cqm.set_objective(-5 * i - 4 * j)
    cqm.add_constraint(6 * i + 4 * j <= 24, label="a")
    with pytest.raises(ValueError, match="give it bounds"):
        orvex.OrvexCQMSampler().sample_cqm(
            dimod.CQM.from_qm(dimod.QM.from_bqm(dimod.BQM("BINARY")) + i)
        )
    cqm.add_constraint(i + 2 * j <= 6, label="b")
    samples = solve(cqm)
    assert (samples.record.energy[0], samples.record.sample[0].tolist()) == (-22 + 1, [3, 1]) or (
        samples.record.energy[0] == -20
    )


def test_bounds_are_exact_however_large_they_are():
    i, j = (dimod.Integer(name, lower_bound=-(2**52), upper_bound=2**52) for name in "ij")
    cqm = dimod.ConstrainedQuadraticModel()
    cqm.set_objective(i - 2 * j)
    cqm.add_constraint(i + j <= 7, label="a")
    cqm.add_constraint(-3 * i - j <= -2, label="b")
    cqm.add_constraint(i - j >= -5, label="c")
    cqm.add_constraint(i <= 2**52 - 1, label="d")
    cqm.add_constraint(i >= -100, label="e")
    cqm.add_constraint(j >= -100, label="f")
    model = BitModel(cqm)
    every = np.array(list(itertools.product(range(-110, 111), repeat=2)))
    record = dimod.SampleSet.from_samples_cqm((every, "ij"), cqm).record
    for sample in record.sample[record.is_feasible]:
        assert model.values(model.bits(sample)[None])[0].tolist() == sample.tolist()
    assert solve(cqm).record.energy[0] == record.energy[record.is_feasible].min()


def test_large_coefficients_do_not_overflow():
    x = [dimod.Binary(k) for k in range(12)]
    cqm = dimod.ConstrainedQuadraticModel()
    cqm.set_objective(sum(-(10**6) * (k + 3) * x[k] for k in range(12)))
    cqm.add_constraint(sum((80_000 + 7 * k) * x[k] for k in range(12)) <= 400_000, label="room")
    cqm.add_constraint(sum(x) >= 13, label="impossible")
    samples = solve(cqm)
    assert not samples.record.is_feasible[0]
    cqm.remove_constraint("impossible")
    assert solve(cqm).record.energy[0] == best_by_trying_all(cqm)


def test_what_cannot_hold_is_told():
    x, y = dimod.Binaries("xy")
    cqm = dimod.ConstrainedQuadraticModel()
    cqm.set_objective(x + y)
    cqm.add_constraint(x + y >= 3, label="too many")
    cqm.add_constraint(x - y == 0, label="same")
    samples = solve(cqm)
    assert not samples.record.is_feasible[0]
    assert samples.info["status"] == "time limit"
    assert samples.record.is_satisfied[0].tolist() == [False, True]


def test_several_solutions_are_distinct():
    samples = solve(decimal(), num_reads=5)
    assert len(samples) == 5
    assert samples.record.is_feasible.all()
    assert len({tuple(row) for row in samples.record.sample.tolist()}) == len(samples)


def test_initial_states_count_as_found():
    good = solve(matching())
    again = solve(matching(), time_limit=0.1, initial_states=good.first.sample)
    assert again.record.energy[0] <= good.record.energy[0]
    with pytest.raises(ValueError, match="no value for the variable"):
        solve(matching(), initial_states={(0, 0): 1})


def test_models_without_variables_or_constraints():
    assert solve(dimod.CQM()).info["status"] == "optimal"
    free = dimod.CQM.from_bqm(dimod.BQM({"a": 1, "b": -2}, {("a", "b"): 1}, "SPIN"))
    assert solve(free).record.energy[0] == -4


def test_lp_files_are_solved():
    text = """Maximize
 obj: 3 x + 4 y + 2 z
Subject To
 c1: 2 x + 3 y + z <= 4
Bounds
 0 <= y <= 1
Binary
 x y z
End"""
    samples = solve(dimod.lp.loads(text))
    assert samples.record.energy[0] == -6


def test_wrong_arguments_are_refused():
    with pytest.raises(TypeError, match="no parameter 'num_sweeps'"):
        orvex.OrvexCQMSampler(num_sweeps=3)
    with pytest.raises(ValueError, match="num_reads"):
        solve(matching(), num_reads=0)
    cqm = dimod.ConstrainedQuadraticModel()
    cqm.set_objective(dimod.QM.from_bqm(dimod.BQM("BINARY")) + dimod.Real("r"))
    with pytest.raises(ValueError, match="type REAL"):
        solve(cqm)


@pytest.fixture
def interruptible():
    """Python's own handler of Ctrl-C, which a process that was started in the background does not have."""
    before = signal.signal(signal.SIGINT, signal.default_int_handler)
    yield
    signal.signal(signal.SIGINT, before)


def test_an_interrupt_returns_the_best_so_far(interruptible):
    cqm = matching(12)
    cqm.add_constraint([((0, 0), 3), ((1, 1), 3), ((2, 2), 5), (-4,)], "<=", label="some")
    for seconds in (1.0, 1.2, 1.33):  # in a search, or between two
        timer = threading.Timer(seconds, lambda: os.kill(os.getpid(), signal.SIGINT))
        timer.start()
        samples = solve(cqm, time_limit=40)
        assert samples.info["status"] == "interrupted"
        assert samples.info["timings"]["total"] < 20
        assert samples.record.is_feasible[0]


def test_samples_are_pickled():
    samples = solve(mixed())
    assert pickle.loads(pickle.dumps(samples)) == samples
