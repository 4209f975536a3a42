"""Searches over a cluster that take longer than CI has time for:

    pytest python/tests/long_cluster.py
"""

import os
import random
import signal
import subprocess
import sys
import time

import numpy as np
import pytest

pytest.importorskip("distributed")

from distributed import Client, LocalCluster

import orvex
import orvex.distributed
from conftest import random_matrix

ONE_BLOCK = dict(presolve=False, companion=0, islands_per_gpu=1, blocks_per_island=1)


def workers(count):
    return LocalCluster(n_workers=count, threads_per_worker=1, dashboard_address=":0", memory_limit=0)


def test_workers_that_die_again_and_again_cost_their_last_seconds_alone():
    problem = orvex.Problem(random_matrix(250))
    draw = random.Random(1)
    with workers(4) as cluster, Client(cluster, set_as_default=False) as client:
        killed = []

        def kill(pulse):
            searches = pulse._search.searches
            restarts = sum(search.restarts for search in searches)
            if restarts < len(killed) or any(search.state.name != "SEARCHING" for search in searches):
                return False
            if len(killed) == 5:
                return True
            killed.append(draw.choice([nanny.pid for nanny in cluster.workers.values()]))
            os.kill(killed[-1], signal.SIGKILL)
            return False

        result = orvex.distributed.solve(
            problem, client=client, time_limit=300, pulse=kill, **ONE_BLOCK
        )
    assert result.status == "stopped by callback"
    assert len(killed) == 5
    assert sum(row.restarts for row in result.searches) == 5
    assert result.energy == problem.energy(result.x)


def test_a_frozen_worker_holds_nobody_up():
    problem = orvex.Problem(random_matrix(250))
    with workers(3) as cluster, Client(cluster, set_as_default=False) as client:
        frozen = list(client.run(os.getpid).values())[0]
        try:

            def freeze(pulse):
                if 1 < pulse.time < 1.5:
                    os.kill(frozen, signal.SIGSTOP)

            result = orvex.distributed.solve(
                problem, client=client, time_limit=6, pulse=freeze, **ONE_BLOCK
            )
        finally:
            os.kill(frozen, signal.SIGCONT)
    assert result.timings["search"] < 10
    assert sorted(row.status for row in result.searches) == ["lost", "time limit", "time limit"]


def test_a_problem_travels_once_to_each_host():
    """Hosts are told apart by their addresses; this machine has several."""

    def received_from(dask_worker):
        return [
            (entry["who"].split(":")[1], entry["total"])
            for entry in dask_worker.transfer_incoming_log
            if entry["total"] > 100_000
        ]

    problem = orvex.Problem(random_matrix(1000))
    with LocalCluster(
        n_workers=0, host="127.0.0.1", dashboard_address=":0"
    ) as cluster, Client(cluster, set_as_default=False) as client:
        started = [
            subprocess.Popen(
                [sys.executable, "-m", "distributed.cli.dask_worker", cluster.scheduler_address,
                 "--host", host, "--nthreads", "1", "--no-nanny", "--no-dashboard"],
                stderr=subprocess.DEVNULL,
            )
            for host in ("127.0.0.1", "127.0.0.2") for _ in range(3)
        ]  # fmt: skip
        try:
            client.wait_for_workers(6, timeout=120)
            result = orvex.distributed.solve(problem, client=client, time_limit=3, companion=1)
            assert len(result.searches) == 6
            log = client.run(received_from)
        finally:
            for process in started:
                process.kill()
                process.wait()
    crossed = [
        (worker, source)
        for worker, entries in log.items()
        for source, _ in entries
        if worker.split(":")[1] != source
    ]
    # The first worker of each host has been sent the problem; the others have fetched it there.
    assert not crossed, log
    assert sum(len(entries) for entries in log.values()) == 4, log


INTERRUPTED = """
import sys, time
import numpy as np, orvex, orvex.distributed
from distributed import Client, LocalCluster
if __name__ == "__main__":
    random = np.random.default_rng(1)
    problem = orvex.Problem(np.triu(random.integers(-99, 99, (250, 250))))
    with LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=":0") as cluster, Client(cluster) as client:
        def tell(pulse):
            if pulse.time > 1:
                print("now", flush=True)
        result = orvex.distributed.solve(
            problem, client=client, time_limit=60, companion=0, islands_per_gpu=1, blocks_per_island=1,
            pulse=tell,
        )
        print("ended", result.status, result.energy == problem.energy(result.x), flush=True)
"""


def test_an_interrupt_of_a_terminal_reaches_workers_too_and_the_best_is_returned(tmp_path):
    """Ctrl-C goes to all processes of a terminal, and so to those of a LocalCluster."""
    script = tmp_path / "script.py"
    script.write_text(INTERRUPTED)
    run = subprocess.Popen(
        [sys.executable, str(script)], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
        start_new_session=True, preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL),
    )  # fmt: skip
    assert run.stdout.readline() == "now\n"
    begin = time.perf_counter()
    os.killpg(run.pid, signal.SIGINT)
    line = next(line for line in run.stdout if line.startswith("ended"))
    late = time.perf_counter() - begin
    run.stdout.close(), run.stderr.close()
    run.kill()
    run.wait()
    assert line == "ended interrupted True\n"
    assert late < 2


def test_many_searches_with_few_blocks_take_in_what_the_caller_knows():
    problem = orvex.Problem(random_matrix(250, seed=3))
    best = orvex.solve(problem, time_limit=2)
    slow = dict(ONE_BLOCK, search_cycles=(200_000, 1000))
    with workers(8) as cluster, Client(cluster, set_as_default=False) as client:
        given = []

        def hint(pulse):
            if not given and pulse.time > 0.5:
                given.append(pulse.hint(best.x))
            return pulse.time > 6

        result = orvex.distributed.solve(problem, client=client, time_limit=30, pulse=hint, **slow)
    assert len(result.searches) == 8
    assert np.all([row.best <= best.energy for row in result.searches]), result.searches


ABANDONED = """
import sys, numpy as np, orvex, orvex.distributed
random = np.random.default_rng(1)
problem = orvex.Problem(np.triu(random.integers(-99, 99, (250, 250))))
def tell(pulse):
    if pulse.time > 1:
        print("now", flush=True)
orvex.distributed.solve(
    problem, client=sys.argv[1], time_limit=600, companion=0, presolve=False, pulse=tell
)
"""


def test_searches_end_when_nobody_waits_for_them():
    def busy():
        import time

        before = time.process_time()
        time.sleep(0.5)
        return time.process_time() - before

    with workers(2) as cluster, Client(cluster, set_as_default=False) as client:
        caller = subprocess.Popen(
            [sys.executable, "-c", ABANDONED, cluster.scheduler_address],
            stdout=subprocess.PIPE, text=True,
        )  # fmt: skip
        assert caller.stdout.readline() == "now\n"
        assert sum(len(keys) for keys in client.processing().values()) == 2
        caller.kill()
        caller.wait()
        caller.stdout.close()
        time.sleep(2)
        assert max(client.run(busy).values()) < 0.1
        assert client.submit(lambda: 5).result(timeout=10) == 5
