"""What the tests share."""

import concurrent.futures
import functools
import itertools
import multiprocessing
import os

import numpy as np
import pytest

import orvex

#: A search that the library has to do, however small the problem is.
library_alone = functools.partial(orvex.solve, presolve=False, companion=0)


def random_matrix(size: int, largest: int = 100, seed: int = 1) -> np.ndarray:
    """A dense upper triangular problem."""
    random = np.random.default_rng(seed)
    return np.triu(random.integers(-largest, largest + 1, (size, size)))


def optimum(matrix: np.ndarray) -> int:
    """The least energy of a small problem, by trying all."""
    size = len(matrix)
    all_x = np.array(list(itertools.product((0, 1), repeat=size)), dtype=np.int64)
    return int(np.einsum("ki,ij,kj->k", all_x, np.triu(matrix), all_x).min())


def in_fresh_process(function, *arguments):  # type: ignore[no-untyped-def]
    """What the function returns in a process of its own. For what forks: this process has threads of other
    tests' clusters, whose locks a fork could never unlock."""
    context = multiprocessing.get_context("spawn")
    with concurrent.futures.ProcessPoolExecutor(1, mp_context=context) as pool:
        return pool.submit(function, *arguments).result()


@pytest.fixture
def matrix() -> np.ndarray:
    return random_matrix(12)


@pytest.fixture
def plain_solve() -> None:
    """Leaves orvex.solve as it is, for tests of who called it and of what is pickled."""


@pytest.fixture(autouse=True)
def rescored(request: pytest.FixtureRequest, monkeypatch: pytest.MonkeyPatch) -> None:
    """Computes the energy of every result again from its bits. Where ORVEX_RESCORED names a file, each
    adds a line to it, "solutions mismatches"."""
    if "plain_solve" in request.fixturenames:
        return
    solve = orvex.solve

    @functools.wraps(solve)
    def checked(problem, *arguments, **options):  # type: ignore[no-untyped-def]
        result = solve(problem, *arguments, **options)
        if isinstance(problem, orvex.Problem):
            energy = problem.energy(result.x)
            if file := os.environ.get("ORVEX_RESCORED"):
                with open(file, "a") as lines:
                    lines.write(f"1 {int(energy != result.energy)}\n")
            assert energy == result.energy
        return result

    monkeypatch.setattr(orvex, "solve", checked)
