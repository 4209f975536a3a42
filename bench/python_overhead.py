#!/usr/bin/env python3
"""Measures what orvex.solve costs beside the search: run it with a Python that has orvex and scipy.

Each case is solved in processes of their own, since the first problem of a process costs most, as it
does in a script that solves one. "added" is the time of the call less that of the search, which begins
when the library has the problem; at its end the memory of both is given back. The medians of the runs
are shown, in milliseconds, with the least of them. "shortest" is the whole of a call that ends after
the first start instance, and "processor" the processor time of that, which other work on the machine
disturbs less. Then the highest memory of a process, what stated the problem not counted, beside what
orvex.Problem.memory foretells for it.
"""
import argparse
import json
import statistics
import subprocess
import sys
import time

LIMITS = {"dense 2000": 20, "sparse 10000": 300}  # milliseconds, at most
LARGE = "dense 20000"


def problems():
    """The cases by name, as functions that state a problem."""
    import numpy
    import scipy.sparse

    random = numpy.random.default_rng(1)

    def dense(size):
        matrix = random.integers(-100, 101, (size, size))
        for i in range(1, size):
            matrix[i, :i] = 0
        return matrix

    def sparse(size, entries):
        rows, columns = random.integers(0, size, (2, entries))
        weights = random.integers(1, 101, entries)
        return scipy.sparse.coo_array((weights, (numpy.minimum(rows, columns),
                                                 numpy.maximum(rows, columns))), (size, size))

    def pairs(size, entries):
        matrix = sparse(size, entries).tocsr().tocoo()
        return {(int(i), int(j)): int(w) for i, j, w in zip(matrix.row, matrix.col, matrix.data)}

    def symmetric(size):
        upper = dense(size)
        return upper + numpy.triu(upper, 1).T

    return {
        "dense 2000": lambda: dense(2000),
        "dense 2000, symmetric": lambda: symmetric(2000),
        "dense 2000, 8 bits": lambda: dense(2000).astype(numpy.int8),
        "dense 2000, floats": lambda: dense(2000).astype(float),
        "dense 10000": lambda: dense(10000),
        "sparse 10000": lambda: sparse(10000, 50_000),
        "pairs 2000": lambda: pairs(2000, 50_000),
        LARGE: lambda: dense(20_000),
    }


def memory_of_process(key):
    """A figure of this process, in bytes: VmRSS, or VmHWM, the highest of it."""
    with open("/proc/self/status", encoding="ascii") as file:
        return next(int(line.split()[1]) * 1024 for line in file if line.startswith(key))


def measure(case, seconds):
    """One call in this process."""
    import warnings

    import orvex

    warnings.simplefilter("ignore", orvex.LargeProblemWarning)
    problem = problems()[case]()
    with open("/proc/self/clear_refs", "w", encoding="ascii") as file:
        file.write("5")  # the highest memory is counted from here on
    before = memory_of_process("VmRSS")
    begin = time.perf_counter()
    result = orvex.solve(problem, time_limit=seconds)
    total = time.perf_counter() - begin
    memory = memory_of_process("VmHWM") - before
    timings = result.timings
    return {"build": timings["build"], "load": timings["load"], "search": timings["search"],
            "added": total - timings["search"], "memory": memory,
            "foretold": orvex.Problem(problem).memory}


def shortest(case):
    """The shortest call in this process."""
    import warnings

    import orvex

    warnings.simplefilter("ignore", orvex.LargeProblemWarning)
    problem = problems()[case]()
    begin, processor = time.perf_counter(), time.process_time()
    orvex.solve(problem, trial_limit=1, search_cycles=(1, 1))
    return {"shortest": time.perf_counter() - begin, "processor": time.process_time() - processor}


def in_new_process(what, case, seconds):
    run = subprocess.run([sys.executable, __file__, what, case, "--seconds", str(seconds)],
                         check=True, stdout=subprocess.PIPE, text=True)
    return json.loads(run.stdout)


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("cases", nargs="*", help=f"all but {LARGE!r} by default, which takes some GiB")
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--seconds", type=float, default=1, help="of a search")
    for what in ("--one", "--shortest"):
        parser.add_argument(what, help=argparse.SUPPRESS)
    args = parser.parse_args()
    if args.one:
        print(json.dumps(measure(args.one, args.seconds)))
        return 0
    if args.shortest:
        print(json.dumps(shortest(args.shortest)))
        return 0
    times_shown = ("build", "load", "added", "search", "shortest", "processor")
    print("| problem | build | load | added | least | limit | shortest | processor | search | MiB | "
          "foretold |")
    print("| --- " * 11 + "|")
    too_slow = False
    for case in args.cases or [case for case in problems() if case != LARGE]:
        runs = [in_new_process("--one", case, args.seconds) |
                in_new_process("--shortest", case, args.seconds) for _ in range(args.runs)]
        median = {key: statistics.median(run[key] for run in runs) for key in runs[0]}
        times = {key: 1e3 * median[key] for key in times_shown}
        limit = LIMITS.get(case)
        too_slow |= limit is not None and times["added"] > limit
        least = 1e3 * min(run["added"] for run in runs)
        mib = {key: median[key] / 2**20 for key in ("memory", "foretold")}
        print(f"| {case} | {times['build']:.1f} | {times['load']:.1f} | {times['added']:.1f} | "
              f"{least:.1f} | {limit or ''} | {times['shortest']:.1f} | {times['processor']:.1f} | "
              f"{times['search']:.0f} | "
              f"{mib['memory']:.0f} | {mib['foretold']:.0f} |", flush=True)
    return 1 if too_slow else 0


if __name__ == "__main__":
    sys.exit(main())
