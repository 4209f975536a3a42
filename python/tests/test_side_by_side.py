"""Searches in threads and in processes at the same time: those of threads take turns where the library searches,
those of processes run at once, and a process that was forked in the middle of a search refuses to search.
"""

import concurrent.futures
import multiprocessing
import os
import threading
import time

import numpy as np
import pytest

import orvex
from conftest import in_fresh_process, random_matrix


def search(seed: int, companion: int = 0) -> tuple[int, int, float, float]:
    """The process, by how much the energy is wrong, and when the search began and ended."""
    problem = orvex.Problem(random_matrix(60, seed=seed))
    result = orvex.solve(problem, time_limit=0.5, presolve=False, companion=companion)
    end = time.time()
    return (
        os.getpid(),
        int(result.energy - problem.energy(result.x)),
        end - result.timings["search"],
        end,
    )


def test_processes_search_at_once():
    context = multiprocessing.get_context("spawn")
    with concurrent.futures.ProcessPoolExecutor(2, mp_context=context) as pool:
        first, second = pool.map(search, [1, 2])
    assert first[0] != second[0]
    assert first[1] == second[1] == 0
    assert max(first[2], second[2]) < min(first[3], second[3])  # one began before the other's end


@pytest.mark.parametrize("companion", [0, 1])
def test_threads_and_processes_search_side_by_side(companion):
    context = multiprocessing.get_context("spawn")
    told: list[tuple[int, int, float, float]] = []
    threads = [
        threading.Thread(target=lambda k=k: told.append(search(k, companion))) for k in (3, 4)
    ]
    with concurrent.futures.ProcessPoolExecutor(1, mp_context=context) as pool:
        other = pool.submit(search, 5, companion)
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        assert other.result()[1] == 0
    assert [error for _, error, _, _ in told] == [0, 0]
    begins, ends = zip(*[(begin, end) for _, _, begin, end in told])
    in_turns = max(begins) > min(ends) - 0.05
    assert in_turns == (companion == 0)


def errors_in_forks() -> list[int]:
    search(6)
    with multiprocessing.get_context("fork").Pool(2) as pool:
        return [error for _, error, _, _ in pool.map(search, [7, 8])]


def test_a_process_may_be_forked_between_searches():
    assert in_fresh_process(errors_in_forks) == [0, 0]


def refusal_in_a_fork() -> str:
    running = threading.Event()
    thread = threading.Thread(
        target=lambda: orvex.solve(
            random_matrix(60), time_limit=2, presolve=False, pulse=lambda _: running.set()
        )
    )
    thread.start()
    assert running.wait(20)
    read, write = os.pipe()
    child = os.fork()
    if child == 0:  # pragma: no cover
        try:
            orvex.solve(np.eye(3, dtype=int), time_limit=0.1)
        except orvex.OrvexError as error:
            os.write(write, str(error).encode())
        os._exit(0)
    os.close(write)
    with os.fdopen(read) as told:
        text = told.read()
    os.waitpid(child, 0)
    thread.join()
    return text


def test_a_process_forked_while_its_parent_searches_refuses_to_search():
    assert "was forked while its parent was searching" in in_fresh_process(refusal_in_a_fork)


@pytest.mark.parametrize("method", ["spawn", "forkserver"])
def test_results_come_back_from_other_processes(method, plain_solve):
    problem = orvex.Problem(random_matrix(12))
    with multiprocessing.get_context(method).Pool(1) as pool:
        result = pool.apply(orvex.solve, (problem,), {"time_limit": 5, "solutions": 3})
    assert result.energy == problem.energy(result.x)
    assert len(result.best) == 3
