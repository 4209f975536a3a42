#!/usr/bin/env python3
"""Ctrl-C at any moment of a search: the program ends soon, with its best solution, however large the problem is.

    tests/endurance/interrupts.py PROGRAM [--runs N] [--size N] [--seed S]

Sizes go up to --size; every fifth problem has it. What is measured is the time from the signal to the end of the
process, in which the search ends, the result is written and the memory is given back; and how long the process
worked in it, which tells a machine that is busy from an end that takes long.
"""
import argparse
import json
import os
import pathlib
import pty
import random
import resource
import select
import signal
import statistics
import subprocess
import sys
import tempfile
import time

MOST = 0.2  # seconds from the signal to the end


def problem(size, draws):
    """Weights with some neighbours for each variable, all of them for small problems."""
    weights = {}
    for _ in range(size * min(size, 16)):
        i, j = sorted((draws.randrange(size), draws.randrange(size)))
        weights[i, j] = draws.randint(-10, 10)
    return weights


def write(weights, size, file):
    lines = "".join(f"{i} {j} {w}\n" for (i, j), w in weights.items())
    file.write_text(f"{size} {len(weights)} -10 10\n{lines}")


def under_way(program, file):
    """A run whose display says that it searches; signals are caught from before that on."""
    master, slave = pty.openpty()
    process = subprocess.Popen(
        [program, "solve", file, "--time-limit", "0", "--presolve", "off", "--json"],
        stdout=subprocess.PIPE, stderr=slave, text=True,
        preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL))
    os.close(slave)
    shown = b""
    end = time.monotonic() + 120
    while b" | " not in shown:
        if time.monotonic() > end or process.poll() is not None:
            process.kill()
            raise SystemExit(f"no search began: {shown.decode(errors='replace')}")
        if select.select([master], [], [], 1)[0]:
            shown += os.read(master, 4096)
    return process, master


def work_of(process):
    """Seconds for which the processors have worked on it."""
    after_name = pathlib.Path(f"/proc/{process.pid}/stat").read_text().rpartition(")")[2].split()
    return sum(map(int, after_name[11:13])) / os.sysconf("SC_CLK_TCK")


def work_of_all():
    """The same of all processes that have ended."""
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def lateness(program, file, weights, delay):
    """Seconds from the signal to the end, and the work in them."""
    before = work_of_all()
    process, master = under_way(program, file)
    time.sleep(delay)
    worked = work_of(process)
    sent = time.monotonic()
    process.send_signal(signal.SIGINT)
    output, _ = process.communicate(timeout=100)
    late = time.monotonic() - sent
    worked = work_of_all() - before - worked
    os.close(master)
    result = json.loads(output)
    ones = {i for i, bit in enumerate(result["bits"]) if bit == "1"}
    energy = sum(w for (i, j), w in weights.items() if i in ones and j in ones)
    assert process.returncode == 0 and result["status"] == "interrupted", output[:500]
    assert energy == result["energy"], f"the energy is {energy}, not {result['energy']}"
    return late, worked


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("--runs", type=int, default=200)
    parser.add_argument("--size", type=int, default=10000)
    parser.add_argument("--seed", type=int, default=time.time_ns() % 10**6)
    options = parser.parse_args()
    draws = random.Random(options.seed)
    late = []
    with tempfile.TemporaryDirectory() as folder:
        file = pathlib.Path(folder) / "model.qubo"
        for k in range(options.runs):
            size = options.size if k % 5 == 0 else draws.randint(2, options.size)
            weights = problem(size, draws)
            write(weights, size, file)
            late.append((*lateness(options.program, file, weights, draws.uniform(0, 2)), size))
    times = sorted(seconds for seconds, _, _ in late)
    print(f"Ctrl-C: {options.runs} runs up to {options.size} variables (seed {options.seed}) end within "
          f"{statistics.median(times):.3f} s at the median, {times[len(times) * 99 // 100]:.3f} s in 99 of 100, "
          f"{times[-1]:.3f} s at most ({max(late)[2]} variables); the process works "
          f"{max(work for _, work, _ in late):.3f} s of it at most")
    if times[-1] > MOST:
        print(f"  TOO MUCH: the end comes more than {MOST} s behind the signal")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
