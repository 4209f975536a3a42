#!/usr/bin/env python3
"""Every barrier of the kernel is needed, and the race detector knows it.

    races_test.py PROGRAM SOURCE...    PROGRAM is orvex_kernel_races, SOURCE the files of the kernel

The kernel as it is must run without a report. Then the barriers are left out one after the other;
each time the detector must report a race, or a crash, where a thread uses a slot or a bit that another
has yet to name. A barrier that is there for the sake of a simple rule,
because the next operation brings one of its own before anything could go wrong, says so in the
source by the words "redundant:" in its line or in the line above, and is not left out.
"""
import os
import pathlib
import subprocess
import sys

REPORTED = 66
REPORTS = ["ThreadSanitizer: data race", "ThreadSanitizer: SEGV"]
MARK = "redundant:"


def run(program, *arguments):
    environment = dict(os.environ, TSAN_OPTIONS=f"halt_on_error=1:exitcode={REPORTED}")
    return subprocess.run([program, *arguments], env=environment, capture_output=True, text=True,
                          timeout=300)


def main(program, *sources):
    lines = {pathlib.Path(source).name: pathlib.Path(source).read_text().splitlines()
             for source in sources}
    whole = run(program, "--barriers")
    if whole.returncode != 0:
        print(f"the kernel as it is: status {whole.returncode}\n{whole.stderr}")
        return 1
    barriers = [line.split()[1] for line in whole.stdout.splitlines()
                if line.startswith("barrier ")]
    needed = missed = 0
    for barrier in barriers:
        file, number = barrier.split(":")
        here = int(number) - 1
        if MARK in "".join(lines[file][here - 1:here + 1]):
            continue
        needed += 1
        try:
            without = run(program, "--without", barrier)
        except subprocess.TimeoutExpired:
            without = None
        if without is None or without.returncode != REPORTED or not any(
                report in without.stderr for report in REPORTS):
            missed += 1
            print(f"without the barrier at {barrier} no race is reported")
    print(f"{len(barriers)} barriers met, {needed} left out one by one, {missed} not missed")
    return 1 if missed or needed < 30 else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
