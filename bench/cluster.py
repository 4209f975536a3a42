#!/usr/bin/env python3
"""Measures searches over a cluster; docs/cluster.md has its figures.

    bench/cluster.py cost                  what exchange takes of the processors, and messages a second
    bench/cluster.py simulate              messages a second of 1000 searches, on recorded streams of bests
    bench/cluster.py target MODEL ENERGY   time to a target on 1 and 2 workers with a core each
    bench/cluster.py spread MODEL ENERGY   the distribution of times to a target of one search

Times are processor seconds of a search where that is said: they do not depend on what else the machine does.
"""

import argparse
import bisect
import os
import random
import statistics
import threading
import time
from collections import Counter

import dask
import numpy as np
from distributed import Client, LocalCluster

import orvex
import orvex.distributed
from orvex.distributed import _cluster, _mail, _traffic

ONE_BLOCK = dict(presolve=False, companion=0, islands_per_gpu=1, blocks_per_island=1)
ONE_THREAD = dict(presolve=False, companion=1)


def sparse_problem(size=8000, degree=6, seed=7):
    """On which one core finds better solutions for many seconds."""
    draw = np.random.default_rng(seed)
    pairs = draw.integers(0, size, (size * degree // 2, 2))
    weights = draw.integers(-1000, 1001, len(pairs))
    return orvex.Problem({tuple(pair): int(w) for pair, w in zip(pairs.tolist(), weights)})


def dense_problem(size=1000, seed=7):
    draw = np.random.default_rng(seed)
    return orvex.Problem(np.triu(draw.integers(-100, 101, (size, size))))


def workers(count):
    return LocalCluster(n_workers=count, threads_per_worker=1, dashboard_address=":0", memory_limit=0)


# ---- cost ------------------------------------------------------------------------------------


def lasting_threads():
    """Processor seconds of this process's event loop and of its worker's thread: all of Dask, and of a
    search what is not the search itself."""
    tick = os.sysconf("SC_CLK_TCK")
    seconds = 0.0
    for thread in threading.enumerate():
        try:
            with open(f"/proc/self/task/{thread.native_id}/stat") as file:
                fields = file.read().rpartition(")")[2].split()
        except OSError:
            continue
        seconds += (int(fields[11]) + int(fields[12])) / tick
    return seconds


def spent(client, action):
    """What lasting threads spend meanwhile, a process on average."""
    before = client.run(lasting_threads)
    result = action()
    after = client.run(lasting_threads)
    return result, statistics.mean(after[worker] - before[worker] for worker in before)


class Counted:
    """Counts what the client and its searches send one another, while it lasts."""

    def __enter__(self):
        self.count = Counter()
        self.original = _cluster.Cluster.ask
        self.join = _cluster._Topic.join
        counted = self

        def ask(cluster, what, whom, question, patience=_cluster.PATIENCE):
            counted.count[what] += 1
            counted.original(cluster, what, whom, question, patience)

        def join(client, run, hear):
            def heard(message):
                counted.count["announced"] += 1
                hear(message)

            counted.join(client, run, heard)

        _cluster.Cluster.ask = ask
        _cluster._Topic.join = join
        return self

    def __exit__(self, *_):
        _cluster.Cluster.ask = self.original
        _cluster._Topic.join = self.join


def cost(seconds, counts):
    """A search's start and end are the same in a short run and a long one, so their difference is what its
    seconds cost."""
    kinds = (("library", dense_problem(), ONE_BLOCK), ("companion", sparse_problem(), ONE_THREAD))
    print("processor seconds a second: of an idle worker's Dask, and of what a search adds to it")
    print("searches  kind       idle   added  announced/s  fetched/s  handed out/s  received by each/s")
    for count in counts:
        with workers(count) as cluster, Client(cluster, set_as_default=False) as client:
            _, idle = spent(client, lambda: time.sleep(seconds))
            for name, problem, arguments in kinds:

                def run(limit):
                    return orvex.distributed.solve(
                        problem, client=client, time_limit=limit, **arguments
                    )

                run(0.5)
                _, short = spent(client, lambda: run(1))
                with Counted() as counted:
                    result, long = spent(client, lambda: run(1 + seconds))
                lasted = result.timings["search"]
                taken = sum(row.received for row in result.searches) / count / lasted
                print(
                    f"{count:>8}  {name:<9}  {idle / seconds:.4f}  {(long - short - idle) / seconds:.4f}"
                    f"  {counted.count['announced'] / lasted:>10.1f}"
                    f"  {counted.count['best'] / lasted:>9.1f}"
                    f"  {counted.count['delivered'] / lasted:>12.1f}  {taken:>18.2f}",
                    flush=True,
                )


# ---- simulation ------------------------------------------------------------------------------


def recorded(problem, arguments, count, seconds):
    """Bests of single searches: times and energies."""
    return [
        orvex.solve(problem, time_limit=seconds, **arguments).history for _ in range(count)
    ]


class Process:
    """How many messages a process handles, by the second."""

    def __init__(self):
        self.seconds = Counter()

    def handle(self, now, messages):
        self.seconds[int(now)] += messages

    def told(self, until):
        return max(self.seconds.values(), default=0), sum(self.seconds.values()) / until


def everyone_tells_all(streams, until):
    """No hub: what is better than all that its search knows goes to each other search, who knows it a step
    later."""
    process = Process()
    offsets = [random.random() for _ in streams]
    best = None
    for step in range(int(until * 10)):
        senders, lowest = 0, best
        for stream, offset in zip(streams, offsets):
            place = bisect.bisect_right(stream, step / 10 - offset, key=lambda entry: entry[0])
            before = bisect.bisect_right(stream, (step - 1) / 10 - offset, key=lambda entry: entry[0])
            if place > before and (best is None or stream[place - 1][1] < best):
                senders += 1
                energy = stream[place - 1][1]
                lowest = energy if lowest is None else min(lowest, energy)
        if senders:  # the busiest receives from all, and sends to all
            process.handle(step / 10, senders - 1 + len(streams) - 1)
        best = lowest
    return process.told(until)


def through_the_client(streams, until, paused, fanned):
    """Searches announce to the client by way of the scheduler; it hands the best out."""
    count = len(streams)
    scheduler, way = Process(), Process()
    now = [0.0]
    _mail.time.monotonic = lambda: 1000.0 + now[0]
    boxes = [_mail.Mailbox("simulated", k, count if paused else 1) for k in range(count)]
    if not paused:
        for box in boxes:
            box.pause = 0.0
    offsets = [random.random() for _ in range(count)]  # when a search begins
    times = [[at + offsets[k] for at, _ in stream] for k, stream in enumerate(streams)]
    known, due = None, 0.0
    announced = {}
    for step in range(int(until * 10)):
        now[0] = step / 10
        for k, box in enumerate(boxes):
            if now[0] < offsets[k]:
                continue
            place = bisect.bisect_right(times[k], now[0])
            if place:
                box.find(streams[k][place - 1][1], np.zeros(1, dtype=np.uint64))
            message = box.announcement(0, 0.0)
            if message is not None and (paused or message["best"] != announced.get(k)):
                scheduler.handle(now[0], 2)  # in, and on to the client
                if message["best"] is not None:
                    announced[k] = message["best"]
        lowest = min(announced.values(), default=None)
        if lowest is not None and (known is None or lowest < known):
            known = lowest
            scheduler.handle(now[0], 4)  # its bits: question and answer, each in and out
        stale = [box for box in boxes if known is not None and (box.known is None or box.known > known)]
        if stale and (not paused or now[0] >= due):
            due = now[0] + _traffic.ROUND
            ways = _traffic.split(stale) if fanned else [[box] for box in stale]
            scheduler.handle(now[0], 4 * len(ways))
            way.handle(now[0], max(2 * (len(one) - 1) + 2 for one in ways))
            for box in stale:
                box.learn(known)
    for box in boxes:
        box.close()
    return scheduler.told(until), way.told(until)


def simulate(searches, seconds, count):
    kinds = (("library", dense_problem(), ONE_BLOCK), ("companion", sparse_problem(), ONE_THREAD))
    clock = time.monotonic
    for name, problem, arguments in kinds:
        streams = recorded(problem, arguments, count, seconds)
        bests = statistics.mean(len(stream) for stream in streams)
        print(f"{name}: {count} recorded streams of {seconds:g} s with {bests:.1f} bests each")
        random.seed(1)
        drawn = [random.choice(streams) for _ in range(searches)]
        until = seconds + 1
        peak, mean = everyone_tells_all(drawn, until)
        print(f"  each to each            a search: {peak:>6} in the busiest second, {mean:>7.1f} a second")
        for text, paused, fanned in (
            ("no pauses, no fan-out", False, False),
            ("pauses, no fan-out", True, False),
            ("pauses and fan-out", True, True),
        ):
            (peak, mean), (way_peak, _) = through_the_client(drawn, until, paused, fanned)
            print(
                f"  {text:<22}  scheduler: {peak:>6} in the busiest second, {mean:>7.1f} a second; "
                f"a search: {way_peak} at most",
                flush=True,
            )
        _mail.time.monotonic = clock


# ---- time to target --------------------------------------------------------------------------


def processor_time(client):
    return client.run(time.process_time)


def confine(worker_number):
    """A core for each worker."""
    cores = sorted(os.sched_getaffinity(0))
    os.sched_setaffinity(0, {cores[worker_number % len(cores)]})


def target(model, energy, runs):
    problem = orvex.read(model)
    seconds = {1: [], 2: []}
    loads = []
    with workers(2) as cluster, Client(cluster, set_as_default=False) as client:
        for number, worker in enumerate(sorted(client.nthreads())):
            client.run(confine, number, workers=[worker])
        arguments = dict(ONE_BLOCK, client=client, target=energy, time_limit=120)
        orvex.distributed.solve(problem, **{**arguments, "time_limit": 0.5})
        for _ in range(runs):
            for count in (1, 2):  # in turns, so that both see the same machine
                before = processor_time(client)
                result = orvex.distributed.solve(problem, searches=count, **arguments)
                after = processor_time(client)
                assert result.energy <= energy, result
                loads.append(result.timings["load"])
                spent = sorted(after[w] - before[w] for w in before)[-count:]
                seconds[count].append(statistics.mean(spent))
    for count, times in seconds.items():
        print(f"{count} workers: {summary(times)}")
    print(f"until searches begin: median {statistics.median(loads):.2f} s by the clock")
    ratios = [one / two for one, two in zip(*seconds.values())]
    draws = [
        statistics.mean(random.choices(seconds[1], k=runs)) / statistics.mean(random.choices(seconds[2], k=runs))
        for _ in range(2000)
    ]
    draws.sort()
    print(
        f"ratio of means {statistics.mean(seconds[1]) / statistics.mean(seconds[2]):.2f} (90 % of resamples "
        f"between {draws[100]:.2f} and {draws[1900]:.2f}); of medians "
        f"{statistics.median(seconds[1]) / statistics.median(seconds[2]):.2f}; "
        f"of pairs, median {statistics.median(ratios):.2f}"
    )


def summary(times):
    quarters = statistics.quantiles(times, n=4)
    return (
        f"mean {statistics.mean(times):.2f} s, deviation {statistics.stdev(times):.2f} s, quartiles "
        + " ".join(f"{q:.2f}" for q in quarters)
        + f", of {len(times)} runs"
    )


def spread(model, energy, runs):
    """Exponential times have a deviation equal to the mean less the start-up, which none is below."""
    problem = orvex.read(model)
    times = []
    for _ in range(runs):
        begin = time.process_time()
        result = orvex.solve(problem, target=energy, time_limit=120, **ONE_BLOCK)
        times.append(time.process_time() - begin)
        assert result.energy <= energy, result
    print(summary(times))
    least, mean = min(times), statistics.mean(times)
    print(f"least {least:.3f} s; an exponential with this least and mean has the quartiles", end=" ")
    print(" ".join(f"{least - (mean - least) * np.log(1 - q):.2f}" for q in (0.25, 0.5, 0.75)))
    print("workers  expected time, the least of as many runs  speed-up")
    for count in (1, 2, 4, 8, 16, 32, 64):
        expected = statistics.mean(min(random.choices(times, k=count)) for _ in range(4000))
        print(f"{count:>7}  {expected:>40.3f} s  {mean / expected:>8.1f}")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("what", choices=("cost", "simulate", "target", "spread"))
    parser.add_argument("model", nargs="?")
    parser.add_argument("energy", nargs="?", type=int)
    parser.add_argument("--seconds", type=float, default=8)
    parser.add_argument("--searches", type=int, default=1000)
    parser.add_argument("--runs", type=int, default=20)
    parser.add_argument("--workers", type=int, nargs="+", default=[2, 4, 16])
    parser.add_argument("--streams", type=int, default=16, help="recorded ones, to draw from")
    given = parser.parse_args()
    dask.config.set({"logging.distributed": "error"})
    if given.what == "cost":
        cost(given.seconds, given.workers)
    elif given.what == "simulate":
        simulate(given.searches, given.seconds, given.streams)
    elif given.what == "target":
        target(given.model, given.energy, given.runs)
    else:
        spread(given.model, given.energy, given.runs)


if __name__ == "__main__":
    main()
