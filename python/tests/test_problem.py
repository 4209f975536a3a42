"""What problems may be stated by, and what is refused."""

import copy
import gzip
import logging
import math
import pickle
import subprocess
import sys
from concurrent.futures import ProcessPoolExecutor
from fractions import Fraction
from multiprocessing import get_context

import dimod
import numpy as np
import pytest
import scipy.sparse

import orvex
from conftest import in_fresh_process, random_matrix


def energies_of(problem: orvex.Problem) -> list:
    """The energies of all bit vectors of a small problem."""
    vectors = (np.arange(1 << problem.size)[:, None] >> np.arange(problem.size)) & 1
    return [problem.energy(x) for x in vectors]


UPPER = np.array([[1, -2, 3], [0, 4, -5], [0, 0, -6]])


def test_the_energy_is_the_sum_over_the_upper_triangle():
    problem = orvex.Problem(UPPER)
    assert problem.size == 3
    assert problem.energy([1, 1, 0]) == 1 - 2 + 4
    assert problem.energy(np.array([True, True, True])) == UPPER.sum()
    assert energies_of(problem) == [
        int(x @ UPPER @ x) for x in ((np.arange(8)[:, None] >> np.arange(3)) & 1)
    ]


#: Matrices of one function: only the sum of [i, j] and [j, i] counts.
SYMMETRIC = (UPPER + UPPER.T) / 2
GENERAL = UPPER + np.array([[0, 5, -1], [-5, 0, 2], [1, -2, 0]])


@pytest.mark.parametrize(
    "same",
    [
        SYMMETRIC,
        GENERAL,
        UPPER.T,
        UPPER.T.tolist(),
        UPPER.tolist(),
        UPPER.astype(np.int8),
        UPPER.astype(np.float32),
        UPPER.astype(object),
        np.asfortranarray(UPPER),
        np.kron(UPPER, [[1, 0], [0, 0]])[::2, ::2],
        scipy.sparse.csr_matrix(UPPER),
        scipy.sparse.coo_array(SYMMETRIC),
        scipy.sparse.csc_array(GENERAL),
        scipy.sparse.csr_matrix(UPPER.T),
        scipy.sparse.lil_matrix(UPPER),
        scipy.sparse.dok_matrix(GENERAL),
        scipy.sparse.dok_array(UPPER),
        {(0, 0): 1, (0, 1): -2, (2, 0): 3, (1, 1): 4, (2, 1): -4, (1, 2): -1, (2, 2): -6},
        {("a", "a"): 1, ("a", "b"): -2, ("b", "b"): 4, ("a", "c"): 3, ("b", "c"): -5, ("c", "c"): -6},
        dimod.BQM.from_qubo({(i, j): UPPER[i, j] for i in range(3) for j in range(i, 3)}),
    ],
    ids=lambda form: type(form).__name__,
)
def test_forms_of_one_problem_have_its_energies(same):
    assert energies_of(orvex.Problem(same)) == energies_of(orvex.Problem(UPPER))


def test_spins_become_bits_with_the_same_energies():
    bqm = dimod.BQM({"a": 1, "b": -2}, {"ab": 3}, 0.5, "SPIN")
    problem = orvex.Problem(bqm)
    assert list(problem.variables) == ["a", "b"]
    assert problem.offset == Fraction(1, 2) - 1 + 2 + 3
    for x in ([0, 0], [0, 1], [1, 0], [1, 1]):
        assert problem.energy(x) == bqm.energy({"a": 2 * x[0] - 1, "b": 2 * x[1] - 1})


@pytest.mark.parametrize("compressed", [False, True])
def test_model_files_are_read(tmp_path, compressed):
    text = b"3 6 -6 4\n0 0 1\n0 1 -2\n0 2 3\n1 1 4\n1 2 -5\n2 2 -6\n"
    path = tmp_path / ("model.qubo.gz" if compressed else "model.qubo")
    path.write_bytes(gzip.compress(text) if compressed else text)
    assert energies_of(orvex.Problem(path)) == energies_of(orvex.Problem(UPPER))
    assert energies_of(orvex.Problem(str(path))) == energies_of(orvex.Problem(UPPER))


def test_wrong_model_files_are_refused(tmp_path):
    path = tmp_path / "wrong"
    with pytest.raises(FileNotFoundError, match="there is no model file .*wrong"):
        orvex.Problem(path)
    path.write_text("2 1 -5 5\n0 7 1\n")
    with pytest.raises(ValueError, match="wrong, line 2: the second index is 7"):
        orvex.Problem(path)
    with pytest.raises(ValueError):
        orvex.Problem(tmp_path)


@pytest.mark.parametrize(
    "wrong, text",
    [
        (np.zeros((2, 3), dtype=int), "square"),
        (np.zeros(4, dtype=int), "square"),
        (np.zeros((0, 0), dtype=int), "at least one variable"),
        ({}, "at least one variable"),
        ([[1, 2], [3]], "no problem"),
        ([["a"]], "no problem"),
        (5, "no problem"),
        (None, "no problem"),
        (np.zeros((1, 1), dtype=complex), "no problem"),
        (scipy.sparse.csr_matrix((2, 3), dtype=int), "square"),
        ({(0, 10**8): 1}, "numbered up to 100000000, and at most 10000000"),
        ({(0, 10**30): 1}, "at most 10000000"),
        ([[1, float("nan")], [0, 1]], r"\[0, 1\] must be finite, not nan"),
        ({("a", "b"): float("inf")}, r"coefficient of \('a', 'b'\) must be finite"),
        (scipy.sparse.csr_matrix([[0, 0.1], [0, -math.inf]]), r"\[1, 1\] must be finite"),
        ([[1e308, 1e308], [1e308, 0.1]], "would leave the range of floats"),
        ({(0, 1): Fraction(10**400, 3)}, "would leave the range of floats"),
        ({(0, -1): 1}, "begin with 0"),
        ({0: 1}, "pairs of variables"),
        ({(0, 1): "x"}, "must be a number"),
        ({(0, 1): True}, "must be a number"),
        ({(0, 1): 2**63}, r"coefficient of \(0, 1\) is 9223372036854775808.* 64 bits"),
        ({(0, 1): 2**62, (1, 0): 2**62}, "does not fit into 64 bits"),
        (np.array([[2**63]], dtype=np.uint64), r"\[0, 0\] is 9223372036854775808"),
        ([[-(2**63)]], "64 bits"),
        (np.full((3, 3), 2**62), "does not fit into 64 bits"),
        ("no\0file", "null character"),
    ],
)
def test_what_is_no_problem_is_refused(wrong, text):
    with pytest.raises((ValueError, TypeError), match=text):
        orvex.Problem(wrong)


def test_a_scale_makes_integers_exactly():
    floats = UPPER / 10
    problem = orvex.Problem(floats)
    assert (problem.scale, problem.largest_error) == (10, 0)
    assert problem.energy([1, 1, 0]) == 0.3
    for scale in (None, "auto", "exact", 10):
        assert orvex.Problem(floats, scale=scale).scale == 10
    assert orvex.Problem(UPPER / 8).scale == 1000
    assert orvex.Problem([[2.0**-40]]).scale == 2**40
    assert orvex.Problem({(0, 0): Fraction(1, 3)}).scale == 3
    assert orvex.Problem(UPPER, scale=7).energy([1, 1, 1]) == UPPER.sum()
    with pytest.raises(ValueError, match=r"\[0, 0\] is 0.333.*, which scale='exact' does not make one"):
        orvex.Problem([[1 / 3]], scale="exact")
    wide = [[2.0**40, 2.0**-12], [0, 0]]
    assert orvex.Problem(wide, scale="exact").scale == 2**12
    assert orvex.Problem(wide).largest_error > 0


def random_floats(size: int = 30, seed: int = 7) -> np.ndarray:
    return np.random.default_rng(seed).normal(size=(size, size))


def forms_of(matrix: np.ndarray) -> list:
    size = len(matrix)
    pairs = {(i, j): matrix[i, j] for i in range(size) for j in range(size)}
    linear = dict(enumerate(matrix.diagonal()))
    quadratic = {(i, j): matrix[i, j] for i in range(size) for j in range(i)}
    return [
        matrix, matrix.tolist(), matrix.astype(object), np.asfortranarray(matrix), matrix.astype(np.longdouble),
        scipy.sparse.csr_matrix(matrix), pairs, {key: Fraction(value) for key, value in pairs.items()},
        dimod.BQM(linear, quadratic, 0.1, "BINARY"), dimod.BQM(linear, quadratic, 0.1, "SPIN"),
    ]  # fmt: skip


@pytest.mark.parametrize("form", range(10))
@pytest.mark.parametrize("size", [1, 6, 100])
def test_real_coefficients_are_taken_and_energies_are_theirs(form, size):
    matrix = random_floats(size)
    given = forms_of(matrix)[form]
    problem = orvex.Problem(given)
    assert 0 <= problem.largest_error < 1e-4 * size
    assert math.frexp(problem.scale)[0] == 0.5 or problem.largest_error == 0
    order = np.array(problem.variables)
    for x in np.random.default_rng(1).integers(0, 2, (10, size)):
        bits = x[order]
        if isinstance(given, dimod.BQM):
            values = x if given.vartype is dimod.BINARY else 2 * x - 1
            lower = np.tril(matrix, -1)
            terms = [[0.1], matrix.diagonal() * values, (lower * np.outer(values, values)).ravel()]
            true = math.fsum(np.concatenate(terms))
        else:
            true = math.fsum((matrix * np.outer(x, x)).ravel())
        assert problem.energy(bits) == true
        own = problem._energy(problem._words(bits)) / problem._factor + problem.offset
        assert abs(float(own) - true) <= problem.largest_error + 1e-14 * size


def test_real_coefficients_of_any_magnitude_are_taken():
    for power in (-295, -20, 20, 300):
        problem = orvex.Problem(random_floats(5) * 10.0**power)
        assert problem.largest_error < 1e-4 * 10.0**power
        assert problem._model.facts().largest < 2**30
    assert orvex.Problem([[1, 1e300], [0, 1]]).energy([1, 1]) == 1e300


def test_rounding_is_told(caplog):
    with caplog.at_level(logging.INFO, "orvex"):
        problem = orvex.Problem(random_floats())
    assert f"off by {problem.largest_error:.2g} at most" in caplog.text
    caplog.clear()
    with caplog.at_level(logging.INFO, "orvex"):
        assert orvex.Problem(UPPER / 4).largest_error == 0
    assert not caplog.text


def test_a_rounded_problem_is_searched_to_its_optimum():
    matrix = random_floats(12)
    all_x = (np.arange(1 << 12)[:, None] >> np.arange(12)) & 1
    energies = [math.fsum((matrix * np.outer(x, x)).ravel()) for x in all_x]
    result = orvex.solve(matrix, target=min(energies), time_limit=20)
    assert result.status == "target reached"
    assert result.energy == min(energies) == result.history[-1][1]
    assert result.x.tolist() == all_x[int(np.argmin(energies))].astype(bool).tolist()
    assert result.largest_error == orvex.Problem(matrix).largest_error > 0
    assert "rounded by:" in str(result)


def test_variables_without_coefficients_cost_nothing():
    problem = orvex.Problem({(0, 60_000): -3, (7, 7): 0, (60_000, 60_000): 1})
    assert (problem.size, len(problem.variables)) == (60_001, 60_001)
    assert problem.memory < 2**30
    result = orvex.solve(problem, target=-2, time_limit=20, starts=[np.ones(60_001, dtype=bool)])
    assert result.energy == -2
    assert problem.energy(np.arange(60_001) == 60_000) == 1
    found = orvex.solve(problem, target=-2, time_limit=20, trial_limit=500)
    assert np.flatnonzero(found.x).tolist() == [0, 60_000]
    sparse = scipy.sparse.coo_array(([-2.5], ([3], [69_999])), shape=(70_000, 70_000))
    assert orvex.solve(sparse, target=-2.5, time_limit=20).energy == -2.5
    assert orvex.Problem({(4, 4): 0}).energy([1] * 5) == 0


def energy_of_ones(problem: orvex.Problem) -> float:
    return problem.energy(np.ones(problem.size, dtype=bool))


def solved(problem: orvex.Problem) -> orvex.Result:
    return orvex.solve(problem, trial_limit=20)


PROBLEMS = [UPPER, random_floats(), {("a", "b"): -1, ("b", "b"): 3}, {(2, 9): 0.5, (9, 9): -4},
            dimod.BQM({"a": 0.1, "b": 1 / 3}, {"ab": 3}, 0.5, "SPIN")]  # fmt: skip


@pytest.mark.parametrize("given", PROBLEMS, ids=lambda given: type(given).__name__)
def test_problems_are_copied_and_pickled(given):
    problem = orvex.Problem(given)
    energy, variables, text = energy_of_ones(problem), list(problem.variables), repr(problem)
    copies = [copy.copy(problem), copy.deepcopy(problem), pickle.loads(pickle.dumps(problem))]
    data = pickle.dumps(problem)
    del problem
    other = [orvex.Problem(random_matrix(30, seed=k)) for k in range(20)]  # where the first one was
    for same in [*copies, pickle.loads(data)]:
        assert energy_of_ones(same) == energy
        assert list(same.variables) == variables
        assert repr(same) == text
        assert solved(same).energy <= 0 or same.offset
    assert len(other) == 20


def energies_in_a_pool(method):
    problems = [orvex.Problem(random_matrix(20, seed=k)) for k in range(4)]
    with ProcessPoolExecutor(2, mp_context=get_context(method)) as pool:
        assert list(pool.map(energy_of_ones, problems)) == [energy_of_ones(p) for p in problems]
        if method != "fork":  # the library's threads are not there in a fork
            for problem, result in zip(problems, pool.map(solved, problems)):
                assert problem.energy(result.x) == result.energy
    return len(problems)


@pytest.mark.parametrize("method", ["fork", "spawn", "forkserver"])
def test_problems_go_through_process_pools(method):
    assert in_fresh_process(energies_in_a_pool, method) == 4


@pytest.mark.parametrize("largest", [100, 30000, 2**30, 2**40])
@pytest.mark.parametrize("density", [0.01, 0.05, 0.3, 1.0])
def test_dense_and_sparse_problems_have_the_same_energies(density, largest):
    random = np.random.default_rng(3)
    matrix = np.triu(random.integers(-largest, largest + 1, (70, 70)))
    matrix[random.random(matrix.shape) > density] = 0
    pairs = {(i, j): int(matrix[i, j]) for i, j in zip(*matrix.nonzero())} | {(69, 69): matrix[69, 69]}
    forms = [matrix, matrix.T, matrix - np.tri(70, k=-1, dtype=int) + np.tri(70, k=-1, dtype=int).T, pairs,
             scipy.sparse.csr_matrix(matrix)]  # fmt: skip
    problems = [orvex.Problem(form) for form in forms]
    assert len({repr(problem) for problem in problems}) == 1
    words = [problems[0]._words(x) for x in random.integers(0, 2, (5, 70))]
    for problem in problems:
        for x, y in zip(words, words[1:]):
            exact = [int(b @ matrix @ b) for b in map(problem._bits, (x, y))]
            assert [problem._energy(x), problem._energy(y)] == exact


@pytest.mark.parametrize("scale", [0, -1, 0.5, "most", True, 2**54])
def test_wrong_scales_are_refused(scale):
    with pytest.raises(ValueError, match="scale must be"):
        orvex.Problem(UPPER, scale=scale)


def test_a_scale_that_does_not_do_is_refused():
    with pytest.raises(ValueError, match=r"\[0, 0\] is 0.15, which scale=10 does not"):
        orvex.Problem([[0.15]], scale=10)
    with pytest.raises(ValueError, match=r"\[0, 0\] is 0.5, which scale=1 does not"):
        orvex.Problem([[0.5]], scale=1)


@pytest.mark.parametrize("wrong", [[0, 1], [0, 1, 2], [[0, 1, 1]], ["a", "b", "c"], None])
def test_wrong_bit_vectors_are_refused(wrong):
    with pytest.raises(ValueError, match="the bit vector must"):
        orvex.Problem(UPPER).energy(wrong)


def test_energies_are_exact():
    matrix = random_matrix(130, largest=2**50)
    problem = orvex.Problem(matrix)
    for x in np.random.default_rng(2).integers(0, 2, (2, 130)):
        assert problem.energy(x) == int(x.astype(object) @ matrix.astype(object) @ x.astype(object))


INTEGERS = [np.dtype(f"{order}{kind}{width}") for order in "<>" for kind in "iu" for width in (1, 2, 4, 8)]


@pytest.mark.parametrize("dtype", [*INTEGERS, np.dtype(bool)], ids=str)
def test_integers_of_all_types_are_taken_as_they_are(dtype):
    random = np.random.default_rng(4)
    high = 1 if dtype.kind == "b" else min(np.iinfo(dtype).max, 2**50)
    low = -high if dtype.kind == "i" else 0
    matrix = np.triu(random.integers(low, high, (70, 70), endpoint=True))
    matrix[0, 0] = high
    problem = orvex.Problem(matrix.astype(dtype))
    for x in random.integers(0, 2, (5, 70)):
        assert problem.energy(x) == int(x @ matrix @ x)
    assert problem.energy(np.eye(70, dtype=int)[0]) == high


def test_memory_is_told_and_what_does_not_fit_is_refused(monkeypatch):
    problem = orvex.Problem(random_matrix(100))
    assert problem.memory > 100 * 100
    assert repr(problem).startswith("<orvex.Problem: 100 variables")
    monkeypatch.setattr("orvex._problem._LARGE", 1000)
    with pytest.warns(orvex.LargeProblemWarning, match="takes .* GiB of memory at its peak"):
        orvex.Problem(random_matrix(100))
    monkeypatch.setattr("orvex._memory.support", FullMachine)
    with pytest.raises(MemoryError, match="takes at least .* GiB of memory; this machine has"):
        orvex.Problem(random_matrix(100))


def test_a_search_that_takes_more_than_this_machine_has_is_refused(monkeypatch):
    problem = orvex.Problem(random_matrix(100))
    assert orvex.solve(problem, trial_limit=5).status == "trial limit"
    monkeypatch.setattr("orvex._memory.support", FullMachine)
    with pytest.raises(MemoryError, match="a search with these settings takes .* GiB of memory"):
        orvex.solve(problem, trial_limit=5, pool_size=10_000)


OUT_OF_MEMORY = """
import resource
import numpy as np
from orvex._library import failure, support
elements = np.zeros((30_000, 30_000), dtype=np.int8)  # pages that are never touched
resource.setrlimit(resource.RLIMIT_AS, (3 << 29, 3 << 29))
assert not support.orvex_python_from_matrix(30_000, b"i1", elements.ctypes.data)
print(type(failure()).__name__)
"""


def test_an_allocation_that_fails_is_a_memory_error():
    run = subprocess.run([sys.executable, "-c", OUT_OF_MEMORY], capture_output=True, text=True)
    assert run.stdout == "MemoryError\n", run.stderr


class FullMachine:
    @staticmethod
    def orvex_python_machine_memory() -> int:
        return 2**30

    @staticmethod
    def orvex_python_free_memory() -> int:
        return 1000
