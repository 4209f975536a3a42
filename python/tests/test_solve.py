"""Searches and their results."""

import dataclasses
import pickle
import re
import signal
import subprocess
import sys
import threading
import time

import matplotlib
import numpy as np
import pytest

import orvex
from conftest import library_alone as solve
from conftest import optimum, random_matrix

matplotlib.use("Agg")


def test_a_search_finds_the_optimum(matrix):
    least = optimum(matrix)
    result = solve(matrix, target=least, time_limit=20)
    assert result.energy == least == result.x @ np.triu(matrix) @ result.x
    assert result.status == "target reached"
    assert result.x.dtype == np.bool_
    assert result.history[-1][1] == least
    energies = [energy for _, energy in result.history]
    assert energies == sorted(set(energies), reverse=True)
    times = [at for at, _ in result.history]
    assert times == sorted(times)
    assert result.info["solver"] == "orvex"
    assert set(result.timings) == {"build", "load", "search", "total"}


def test_a_problem_is_reusable(matrix):
    problem = orvex.Problem(matrix)
    other = orvex.Problem(-matrix)
    for _ in range(2):
        assert solve(problem, target=optimum(matrix), time_limit=20).status == "target reached"
        assert solve(other, target=optimum(-matrix), time_limit=20).status == "target reached"
    del other
    assert solve(problem, target=optimum(matrix), time_limit=20).timings["build"] == 0


@pytest.mark.parametrize("limit", [0.3, 1])
def test_a_time_limit_may_have_a_fraction(limit):
    begin = time.perf_counter()
    result = solve(random_matrix(60), time_limit=limit)
    assert result.status == "time limit"
    assert limit - 0.05 <= time.perf_counter() - begin < limit + 0.7


def test_presolve_proves_small_problems_optimal(matrix):
    result = orvex.solve(matrix, time_limit=20)
    assert (result.status, result.energy) == ("optimal", optimum(matrix))
    assert result.timings["search"] < 10
    with pytest.raises(ValueError, match="presolve must be True, False or"):
        orvex.solve(matrix, presolve="much")
    with pytest.raises(ValueError, match="companion must be from 0 to 1"):
        orvex.solve(matrix, companion=2)


@pytest.mark.parametrize("companion", [0.5, 1])
def test_a_companion_searches_too(companion):
    pulses = []
    problem = orvex.Problem(random_matrix(60))
    result = orvex.solve(
        problem, time_limit=0.5, presolve=False, companion=companion, pulse=pulses.append
    )
    assert result.energy == problem.energy(result.x) < 0
    assert result.status == "time limit"
    assert pulses


def test_a_trial_limit_ends_the_search(matrix):
    assert solve(matrix, trial_limit=20).status == "trial limit"


def test_a_target_of_zero_is_a_target():
    result = solve(np.eye(8, dtype=int), target=0, time_limit=20)
    assert (result.status, result.energy) == ("target reached", 0)
    assert result.timings["search"] < 15


def test_targets_of_any_size_are_taken(matrix):
    assert solve(matrix, target=10**40, time_limit=20).status == "target reached"
    assert solve(matrix, target=-(10**40), time_limit=0.2).status == "time limit"


def test_energies_stay_in_the_callers_units(matrix):
    least = optimum(matrix) / 10
    result = solve(matrix / 10, scale=10, target=least, time_limit=20)
    assert result.energy == least
    assert result.status == "target reached"


def test_one_variable_is_enough():
    assert solve([[-5]], target=-5, time_limit=20).x.tolist() == [True]


def test_a_start_counts_as_found():
    problem = orvex.Problem(random_matrix(200))
    good = solve(problem, time_limit=0.5)
    quick = dict(trial_limit=5, search_cycles=(100, 20), islands_per_gpu=1, blocks_per_island=1)
    for given in ({"starts": [np.zeros(200), good.x]}, {"hints": [good.x]}):
        again = solve(problem, **given, **quick)
        if "starts" in given:
            assert again.energy <= good.energy
            assert again.history[0] == (0.0, good.energy)


def test_a_callback_sees_every_new_best(matrix):
    events = []
    result = solve(matrix, target=optimum(matrix), time_limit=20, callback=events.append)
    # What was found later than a better solution was never the best, and is in no history.
    assert set(result.history) <= {(event.time, event.energy) for event in events}
    assert events[-1].x.tolist() == result.x.tolist()


def test_times_are_when_a_solution_was_found():
    """An instance hands in its best when it ends, a second later."""
    result = solve(
        random_matrix(60), time_limit=20, trial_limit=2, search_cycles=(2_000_000, 100),
        islands_per_gpu=1, blocks_per_island=1,
    )  # fmt: skip
    assert result.history[-1][0] == pytest.approx(float(result.info["tts"]), abs=1e-5)
    assert result.history[-1][0] < result.timings["search"] / 2


#: No instance ends within hours.
ENDLESS = {"search_cycles": (2**31 - 1, 2**31 - 1)}


@pytest.mark.parametrize("size", [12, 250])
def test_a_time_limit_ends_instances_without_end(size):
    begin = time.perf_counter()
    result = solve(random_matrix(size), time_limit=0.5, **ENDLESS)
    assert result.status == "time limit"
    assert time.perf_counter() - begin < 6


def test_a_quiet_search_tells_pulses_and_is_steered_by_them():
    pulses = []

    def steer(pulse):
        pulses.append(pulse.time)
        assert pulse.best is None or pulse.best.time <= pulse.time
        pulse.hint(np.ones(60))
        pulse.set(batch_factor=2.0, annealing_factor=0.5)
        return len(pulses) == 10

    begin = time.perf_counter()
    result = solve(random_matrix(60), time_limit=50, pulse=steer, **ENDLESS)
    assert result.status == "stopped by callback"
    assert time.perf_counter() - begin < 10
    assert pulses[0] < 0.5
    assert 0.05 < np.median(np.diff(pulses)) < 0.25


def test_a_hint_of_a_pulse_reaches_the_search():
    """Blocks that walk from the hint to better solutions only: nothing else finds the optimum so soon."""
    matrix = -np.eye(200, dtype=int) * 5 + np.triu(np.full((200, 200), 1), 1)
    best = solve(matrix, time_limit=1)
    seen = []

    def steer(pulse):
        if pulse.best is not None:
            seen.append(pulse.best.energy)
        pulse.hint(best.x)

    result = solve(matrix, time_limit=20, target=best.energy, pulse=steer)
    assert result.energy <= best.energy


def test_wrong_requests_of_a_callback_are_raised(matrix):
    with pytest.raises(ValueError, match="batch_factor"):
        solve(matrix, time_limit=20, pulse=lambda pulse: pulse.set(batch_factor=-1))
    with pytest.raises(TypeError, match="pulse must be callable"):
        solve(matrix, pulse=3)


@pytest.mark.parametrize("kind", ["callback", "pulse"])
def test_a_search_inside_a_callback_is_refused(matrix, kind):
    with pytest.raises(orvex.OrvexError, match="inside a callback would wait for the search"):
        solve(matrix, time_limit=20, **{kind: lambda event: solve(matrix)})
    assert solve(matrix, trial_limit=20).status == "trial limit"


def test_results_compare_and_are_pickled(matrix):
    result = solve(matrix, target=optimum(matrix), time_limit=20)
    same = pickle.loads(pickle.dumps(result))
    assert same == result
    assert result != dataclasses.replace(result, x=~result.x)
    assert result != dataclasses.replace(result, solutions=[])
    assert result != dataclasses.replace(result, status="ended")
    assert result != 3
    assert result in [3, result]


def test_thousands_of_small_problems_in_a_row_have_their_own_optima():
    """Problems come and go at the same addresses."""
    for k in range(2000):
        weights = np.random.default_rng(k).integers(-9, 10, 6)
        result = solve(np.diag(weights), target=int(weights[weights < 0].sum()) or None, trial_limit=40)
        assert result.energy == weights @ result.x
        assert result.energy == weights[weights < 0].sum()


def test_a_callback_may_end_the_search(matrix):
    result = solve(matrix, time_limit=20, callback=lambda event: event.stop())
    assert result.status == "stopped by callback"
    result = solve(matrix, time_limit=20, callback=lambda event: True)
    assert result.status == "stopped by callback"
    assert result.timings["search"] < 15


def test_a_callback_may_give_hints(matrix):
    best = solve(matrix, target=optimum(matrix), time_limit=20).x
    result = solve(
        matrix, target=optimum(matrix), time_limit=20, callback=lambda event: event.hint(best)
    )
    assert result.status == "target reached"
    with pytest.raises(ValueError, match="the hint must have 12 bits"):
        solve(matrix, time_limit=20, callback=lambda event: event.hint([1]))


def test_what_a_callback_raises_is_raised(matrix):
    def fail(event):
        raise RuntimeError("of the caller")

    with pytest.raises(RuntimeError, match="of the caller"):
        solve(matrix, time_limit=20, callback=fail)
    assert solve(matrix, trial_limit=20).status == "trial limit"


def test_searches_of_several_threads_take_turns(matrix):
    energies = []
    threads = [
        threading.Thread(
            target=lambda: energies.append(solve(matrix, target=optimum(matrix)).energy)
        )
        for _ in range(4)
    ]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert energies == [optimum(matrix)] * 4


def test_other_threads_run_during_a_search(matrix):
    ticks = []
    search = threading.Thread(target=lambda: solve(matrix, time_limit=0.5))
    search.start()
    while search.is_alive():
        ticks.append(time.perf_counter())
        time.sleep(0.01)
    assert len(ticks) > 20
    assert max(np.diff(ticks)) < 0.2


def test_a_result_prints_well_and_plots(matrix):
    result = solve(matrix, target=optimum(matrix), time_limit=20)
    assert f"energy {result.energy}, 12 variables, target reached" in repr(result)
    assert str(result).splitlines()[0].split() == ["energy:", str(result.energy)]
    axes = result.plot()
    assert axes.get_ylabel() == "best energy"
    assert result.plot(axes, color="red") is axes
    assert result.sample == {k: int(bit) for k, bit in enumerate(result.x)}


def test_progress_is_shown_with_tqdm_and_without(matrix, capsys, monkeypatch):
    result = solve(matrix, time_limit=0.5, progress=True)
    shown = capsys.readouterr().err
    assert f"best energy {result.energy}" in shown
    assert "of 0.5 s |" in shown
    solve(matrix, trial_limit=500, progress=True)
    lines = [line for line in re.split("[\r\n]", capsys.readouterr().err) if line.strip()]
    assert lines and all(re.fullmatch(r"orvex: \d+\.\d s(, .*)?\s*", line) for line in lines), lines
    monkeypatch.setattr("orvex._progress.tqdm", None)
    solve(matrix, time_limit=0.5, progress=True)
    assert "orvex: 0 s, " in capsys.readouterr().err


INTERRUPTED = """
import os, signal, sys, threading, time
import numpy as np, orvex
size = int(sys.argv[1])
random = np.random.default_rng(1)
problem = orvex.Problem(np.triu(random.integers(-99, 99, (size, size))))
sent = []
def interrupt():
    time.sleep(1)
    sent.append(time.perf_counter())
    os.kill(os.getpid(), signal.SIGINT)
threading.Thread(target=interrupt).start()
result = orvex.solve(
    problem, time_limit=60, presolve=False, companion=0, search_cycles=tuple(map(int, sys.argv[2:]))
)
late = time.perf_counter() - sent[0]
assert result.status == "interrupted", result.status
assert result.energy == problem.energy(result.x)
assert late < 0.2, late
again = orvex.solve([[-1]], target=-1, time_limit=50)
assert again.energy == -1
print("in time")
"""


LOST = """
import os, signal, time
import orvex
class Last:
    def __del__(self):  # Python drops what is raised here
        os.kill(os.getpid(), signal.SIGINT)
        time.sleep(0.01)
def lose(pulse):
    if pulse.time > 0.3 and not lost:
        lost.append(1)
        Last()
lost = []
before = signal.getsignal(signal.SIGINT)
result = orvex.solve([[-1, 2], [0, -1]], time_limit=60, presolve=False, companion=0, pulse=lose)
assert result.status == "interrupted" and result.timings["total"] < 30, result
assert signal.getsignal(signal.SIGINT) is before
print("noticed")
"""


def test_an_interrupt_at_the_end_of_an_object_is_not_lost():
    run = subprocess.run(
        [sys.executable, "-c", LOST], capture_output=True, text=True, timeout=100,
        preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL),
    )  # fmt: skip
    assert run.stdout == "noticed\n", run.stderr
    assert "Exception ignored" in run.stderr


@pytest.mark.parametrize("cycles", [(2_000_000, 1_000_000), ENDLESS["search_cycles"]], ids=str)
@pytest.mark.parametrize("size", [12, 250])
def test_an_interrupt_ends_the_search_at_once(size, cycles):
    """Also while blocks are in the middle of an instance that takes seconds."""
    run = subprocess.run(
        [sys.executable, "-c", INTERRUPTED, str(size), *map(str, cycles)], capture_output=True, text=True, timeout=100,
        # What was started in the background has the signal ignored, and so have its children.
        preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL),
    )  # fmt: skip
    assert run.stdout == "in time\n", run.stderr
