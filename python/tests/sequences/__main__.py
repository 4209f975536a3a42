"""Runs random sequences of calls, each in a process of its own, so that a crash or a hang is found like anything else. A
sequence that fails is shrunk and saved as a trace. In python/tests:

    python -m sequences [--sequences N] [--seed S] [--steps K] [--save FOLDER] [--plant FAULT]
    python -m sequences --replay TRACE [--plant FAULT]
"""

from __future__ import annotations

import argparse
import faulthandler
import os
import pathlib
import shutil
import signal
import sys
import tempfile
import threading
import time
import traceback
from collections.abc import Sequence

from . import world
from .reference import Violation
from .results import rescored
from .steps import Step, random_sequence, read, text_of

_TIME_LIMIT = 60  # seconds for one sequence
_SHRINKING_RUNS = 200


def _play(steps: Sequence[Step], folder: pathlib.Path) -> int:
    """The status of a child that made these calls; why it failed is on standard error."""
    faulthandler.dump_traceback_later(_TIME_LIMIT, exit=True)
    signal.signal(signal.SIGINT, signal.default_int_handler)
    here = world.World(folder)
    for number, step in enumerate(steps, 1):
        try:
            here.run(step)
        except BaseException as failure:
            print(f"step {number}, {step.name}: {type(failure).__name__}: {failure}", file=sys.stderr)
            if not isinstance(failure, Violation):
                traceback.print_exc()
            return 1
    rescored.append()
    return 0


def _failure_of(steps: Sequence[Step], to_the_end: bool = True) -> str:
    """What went wrong; empty if nothing did. The end of an interpreter takes as long as all of the calls, and so is
    left out at times."""
    folder = pathlib.Path(tempfile.mkdtemp(prefix="orvex-sequence-"))
    with tempfile.TemporaryFile() as told:
        child = os.fork()
        if child == 0:
            os.dup2(told.fileno(), 2)
            status = _play(steps, folder)
            for thread in set(threading.enumerate()) - {threading.current_thread()}:
                thread.join()
            if to_the_end:
                sys.exit(status)
            sys.stderr.flush()
            os._exit(status)
        _, status = os.waitpid(child, 0)
        told.seek(0)
        text = told.read().decode(errors="replace")
    shutil.rmtree(folder)
    if status == 0:
        return ""
    if os.WIFSIGNALED(status):
        return f"a signal, {signal.Signals(os.WTERMSIG(status)).name}: {text}"
    return text or f"status {os.WEXITSTATUS(status)}"


def _shrunk(steps: list[Step], to_the_end: bool) -> list[Step]:
    """Leaves out whatever can be left out while it still fails."""
    runs, piece = 0, max(len(steps) // 2, 1)
    while piece >= 1:
        at, before = 0, len(steps)
        while at < len(steps) and runs < _SHRINKING_RUNS:
            fewer = steps[:at] + steps[at + piece :]
            runs += 1
            if fewer and _failure_of(fewer, to_the_end):
                steps = fewer
            else:
                at += piece
        if len(steps) == before or runs >= _SHRINKING_RUNS:
            piece //= 2
    return steps


def _report(
    steps: list[Step], failure: str, seed: int, folder: pathlib.Path, to_the_end: bool
) -> None:
    least = _shrunk(steps, to_the_end)
    again = _failure_of(least, to_the_end) or failure
    file = folder / f"python-{seed}.trace"
    file.write_text(f"# {' '.join(again.split())[:300]}\n{text_of(least)}")
    print(f"The sequence of seed {seed} fails: {failure}")
    print(f"Shrunk to {len(least)} of {len(steps)} steps ({file}):\n{text_of(least)}", end="")


def _parsed() -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="sequences", description="Random sequences of calls.")
    parser.add_argument("--sequences", type=int, default=100)
    parser.add_argument("--seed", type=int, default=time.time_ns())
    parser.add_argument("--steps", type=int, default=30)
    parser.add_argument("--save", type=pathlib.Path, default=pathlib.Path("."))
    parser.add_argument("--replay", type=pathlib.Path)
    parser.add_argument("--plant", default="")
    return parser.parse_args()


def main() -> int:
    options = _parsed()
    world.planted = options.plant
    if options.replay is not None:
        failure = _failure_of(read(options.replay.read_text()))
        print(failure or "nothing is wrong")
        return int(bool(failure))
    print(f"seeds {options.seed} and on, {options.steps} steps each", flush=True)
    for seed in range(options.seed, options.seed + options.sequences):
        steps = random_sequence(seed, options.steps)
        to_the_end = seed % 8 == 0
        failure = _failure_of(steps, to_the_end)
        if failure:
            _report(steps, failure, seed, options.save, to_the_end)
            return 1
    print(f"{options.sequences} sequences, nothing is wrong")
    return 0


if __name__ == "__main__":
    sys.exit(main())
