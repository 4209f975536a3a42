"""Files in all formats, as problems."""

import gzip
import math
import os
import pickle
import re
import warnings
from pathlib import Path

import dimod
import numpy as np
import pytest
import scipy.io
import scipy.sparse
from dimod.serialization import coo

import orvex
from conftest import optimum, random_matrix

ROOT = Path(__file__).parents[2]
DATA = Path(os.environ.get("ORVEX_DATA", ROOT / "../shared/data"))


@pytest.fixture
def write(tmp_path):
    def write(text: str, name: str = "file") -> Path:
        path = tmp_path / name
        path.write_text(text)
        return path

    return write


def weights_of(problem: orvex.Problem) -> list:
    """The upper triangle, from energies."""
    n = problem.size
    one = [problem.energy(np.eye(n, dtype=int)[i]) for i in range(n)]
    return [
        one[i] if i == j else problem.energy(np.eye(n, dtype=int)[[i, j]].sum(0)) - one[i] - one[j]
        for i in range(n)
        for j in range(i, n)
    ]


def model_of(text: str) -> list:
    """The same of a model file's text."""
    n, _, _, _, *entries = map(int, text.split())
    matrix = np.zeros((n, n), dtype=int)
    for i, j, w in zip(entries[::3], entries[1::3], entries[2::3]):
        matrix[i, j] = w
    return matrix[np.triu_indices(n)].tolist()


def documented() -> list:
    """Format, example, facts, model and option of each section of docs/formats.md."""
    page = (ROOT / "docs/formats.md").read_text()
    found = []
    for name, text in re.findall(r"^### `(\w+)`(.*?)(?=^##)", page, re.DOTALL | re.MULTILINE):
        blocks = re.findall(r"^```\n(.*?)^```$", text, re.DOTALL | re.MULTILINE)
        instance = re.search(r"`--instance (\d+)` here", text)
        found.append((name, *blocks, int(instance.group(1)) if instance else None))
    return found


@pytest.mark.parametrize("name, example, facts, model, instance", documented())
def test_the_documented_examples_are_read_as_the_command_line_does(
    write, name, example, facts, model, instance
):
    problem = orvex.read(write(example), name, instance=instance)
    assert weights_of(problem) == model_of(model)
    assert problem.source is not None
    told = {line[:12].rstrip().replace(" ", "_"): line[12:] for line in facts.splitlines()}
    for key, value in told.items():
        assert str(getattr(problem.source, key)) == value


GRAPH = "3 3\n1 2 5\n2 3 4\n1 3 -1\n"


def test_results_have_their_objective_in_the_files_own_sense(write):
    problem = orvex.read(write(GRAPH), "maxcut")
    assert problem.source == orvex.Source("maxcut", 1, 2, "maximised", 0, "cut = -energy", "")
    result = orvex.solve(problem, target=-9, time_limit=10)
    assert (result.energy, result.objective, result.source) == (-9, 9, problem.source)
    assert "objective:   9\n" in str(result)


def test_costs_have_their_offset(write):
    problem = orvex.Problem(write("2\n1 3\n4 0\n0 5\n7 9\n", "two.dat"))
    result = orvex.solve(problem, trial_limit=200)
    assert result.objective == 43
    assert result.x.tolist() == [True, False, False, True]
    assert result.energy == 43 - problem.source.offset
    assert problem.objective(result.energy) == 43


def test_a_model_files_objective_is_its_energy(write):
    result = orvex.solve(write("1 1 -3 -3\n0 0 -3\n"), target=-3, time_limit=10)
    assert (result.objective, result.source.equation) == (-3, "objective = energy")
    assert "objective" not in str(result)


def test_a_problem_that_is_no_file_has_its_energy_for_objective():
    result = orvex.solve([[-3, 2], [0, -1]], target=-3, time_limit=10)
    assert (result.objective, result.source) == (-3, None)
    assert "objective" not in str(result)


def test_paths_alone_go_by_the_contents(write, tmp_path):
    text = "# ObjectiveOffset 12\n2 1\n1 2 -3\n"
    path = write(text)
    assert orvex.Problem(path).source.format == "qs"
    assert orvex.solve(str(path), target=-6, time_limit=10).objective == 6
    packed = tmp_path / "file.gz"
    packed.write_bytes(gzip.compress(text.encode()))
    assert weights_of(orvex.read(packed)) == [0, -6, 0]


def test_options_of_formats(write):
    several = write("2\n1 1\n1 1 3\n1 1\n1 1 -4\n")
    assert weights_of(orvex.read(several, instance=np.int64(2))) == [4]
    qubo = write("p qubo 0 1 1 0\n0 0 5\n")
    assert weights_of(orvex.read(qubo)) == [5]
    most = orvex.read(qubo, sense="max")
    assert (weights_of(most), most.objective(-5)) == ([-5], 5)
    tour = write("2\n0 3\n3 0\n0 5\n5 0\n")
    assert orvex.read(tour, penalty=20).source.note == "penalty 20, proven to be enough"
    with pytest.warns(orvex.FileWarning, match="penalty 2, not proven to be enough \\(16 is\\)"):
        orvex.read(tour, penalty=2)


def test_oddities_are_warned_about(write, plain_solve):
    with pytest.warns(orvex.FileWarning, match="taken for bits") as caught:
        orvex.read(write("0 1 3\n"))
    assert caught[0].filename == __file__
    with pytest.warns(orvex.FileWarning, match="taken for bits") as caught:
        orvex.solve(write("0 1 3\n"), trial_limit=10)
    assert caught[0].filename == __file__
    with pytest.warns(orvex.FileWarning, match="a pair is repeated"):
        orvex.Problem(write("2 2 1 2\n0 1 1\n0 1 2\n"))


@pytest.mark.parametrize(
    "text, options, message",
    [
        (GRAPH, {}, "in more than one format. Add .*format=\"maxcut\".* or .*format=\"biqmac\""),
        (GRAPH, {"format": "lp"}, "there is no format 'lp'; there are orvex, qbsolv, .*, npz"),
        (GRAPH, {"format": "biqmac", "penalty": 3}, "format biqmac need no penalty"),
        (GRAPH, {"format": "maxcut", "instance": 1}, "format maxcut have no instances"),
        (GRAPH, {"format": "maxcut", "sense": "min"}, "maxcut determines what is minimised"),
        (GRAPH, {"format": "maxcut", "sense": "up"}, "sense must be"),
        (GRAPH, {"instance": 0}, "instance must be a positive integer"),
        (GRAPH, {"penalty": 2.5}, "penalty must be a positive integer"),
        (GRAPH, {"penalty": 2**63}, "penalty must be a positive integer"),
        (GRAPH, {"format": "npz", "sense": "min"}, "npz file has no instance, penalty or sense"),
        (GRAPH, {"format": "npz"}, "file is no sparse matrix of scipy"),
        ("", {}, "line 1: the file is empty"),
        ("hello", {}, "format is not recognised"),
        (
            "p qubo 0 2 0 1\n0 1 0.5\n",
            {"scale": "exact"},
            'file, line 2: the weight is "0.5", but only whole numbers',
        ),
        ("p qubo 0 2 0 1\n0 1 0.5\n", {"scale": 3}, "the scale 3 does not make a whole number"),
        ("p qubo 0 2 0 1\n0 1 0.5\n", {"scale": 0}, "scale must be a positive integer"),
        ("2 1\n1 2 1\n", {"format": "qs"}, None),
    ],
)
def test_what_is_wrong_is_refused(write, text, options, message):
    if message is None:
        with pytest.warns(orvex.FileWarning, match="it is taken for 0"):
            orvex.read(write(text), **options)
        return
    with pytest.raises(ValueError, match=message):
        orvex.read(write(text), **options)


def test_decimals_are_scaled_exactly(write):
    problem = orvex.read(write("# vartype=SPIN\n0 0 0.5\n0 1 -0.125\n"))
    assert (problem.scale, problem.largest_error) == (1000, 0)
    assert problem.source.equation == "objective = energy - 0.625"
    assert problem.energy([1, 1]) == 1
    assert problem.objective(1) == 0.5 - 0.125
    result = orvex.solve(problem, time_limit=1)
    assert (result.energy, result.objective) == (0, -0.625)
    assert orvex.read(write("# vartype=BINARY\n0 0 0.25\n"), scale=4).scale == 4


def test_decimals_that_are_too_fine_are_rounded(write):
    values = [1.7320508075688772, -0.12345678901234568, -1.1102230246251565e-16]
    path = write("# vartype=BINARY\n" + "".join(f"{i} {i} {v!r}\n" for i, v in enumerate(values)))
    with pytest.warns(orvex.FileWarning, match="rounded"):
        problem = orvex.Problem(path)
    assert 0 < problem.largest_error < 1e-6
    assert problem.energy([1, 1, 1]) == math.fsum(values)
    assert pickle.loads(pickle.dumps(problem)).energy([0, 1, 0]) == values[1]
    assert orvex.solve(problem, time_limit=1).energy <= values[1]


def test_npz_is_read_by_scipy(tmp_path):
    matrix = random_matrix(12)
    path = tmp_path / "matrix.npz"
    scipy.sparse.save_npz(path, scipy.sparse.csr_matrix(matrix))
    problem = orvex.read(path)
    assert weights_of(problem) == matrix[np.triu_indices(12)].tolist()
    assert problem.source.format == "npz"
    assert orvex.solve(path, target=optimum(matrix), time_limit=20).objective == optimum(matrix)
    scipy.sparse.save_npz(path, scipy.sparse.csr_matrix(matrix / 4))
    assert orvex.Problem(path, scale=4).scale == 4
    assert orvex.Problem(path).scale == 100
    with pytest.raises(ValueError, match="coefficients must be integers"):
        orvex.Problem(path, scale=1)
    path.write_bytes(path.read_bytes()[:100])
    with pytest.raises(ValueError, match="is no sparse matrix of scipy"):
        orvex.read(path)
    np.savez(path, a=matrix)
    with pytest.raises(ValueError, match="is no sparse matrix of scipy"):
        orvex.read(path)


def test_matrixmarket_of_scipy_is_the_quadratic_form(tmp_path):
    matrix = random_matrix(9)
    symmetric = matrix + matrix.T
    for stored in ("general", "symmetric"):
        path = tmp_path / f"{stored}.mtx"
        scipy.io.mmwrite(path, scipy.sparse.coo_matrix(symmetric), symmetry=stored)
        problem = orvex.read(path)
        x = np.random.default_rng(1).integers(0, 2, 9)
        assert problem.energy(x) == x @ symmetric @ x


@pytest.mark.parametrize("vartype", ["SPIN", "BINARY"])
def test_coo_of_dimod_has_its_energies(write, vartype):
    random = np.random.default_rng(4)
    linear = {k: int(random.integers(-9, 10)) for k in range(6)}
    quadratic = {(i, j): int(random.integers(-9, 10)) for i in range(6) for j in range(i)}
    bqm = dimod.BQM(linear, quadratic, 0, vartype)
    problem = orvex.read(write(coo.dumps(bqm, vartype_header=True)))
    for x in random.integers(0, 2, (20, 6)):
        sample = dict(enumerate(x if vartype == "BINARY" else 2 * x - 1))
        assert problem.objective(problem.energy(x)) == bqm.energy(sample)


@pytest.mark.skipif(not (DATA / "formats").is_dir(), reason="the instances are not there")
@pytest.mark.parametrize(
    "name, model, options",
    [
        ("bqp50_1.qubo.gz", "bqp50-1", {"sense": "max"}),
        ("gka1a.sparse.gz", "gka1a", {}),
        ("pw05_100.0.gz", "pw05_100.0", {"format": "maxcut"}),
        ("nug12.dat", "nug12", {}),
    ],
)
def test_published_files_are_their_models(name, model, options):
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        problem = orvex.read(DATA / "formats" / name, **options)
        same = orvex.read(DATA / "models" / f"{model}.qubo.gz")
    random = np.random.default_rng(3)
    for x in random.integers(0, 2, (50, same.size)):
        assert problem.energy(x) == same.energy(x)
