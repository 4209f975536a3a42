"""Random sequences of calls of the package, some of each day's; sequences/__main__.py tells more. And that faults which
are planted are found, shrunk to a few steps, and replay."""

import pathlib
import subprocess
import sys

import pytest

HERE = pathlib.Path(__file__).parent


def run(*words) -> subprocess.CompletedProcess:
    """In a process of its own, which has no threads when it forks."""
    return subprocess.run(
        [sys.executable, "-m", "sequences", *map(str, words)],
        cwd=HERE, capture_output=True, text=True, timeout=250,
    )  # fmt: skip


def test_random_sequences_of_calls(tmp_path):
    done = run("--sequences", 12, "--save", tmp_path)
    assert done.returncode == 0, done.stdout + done.stderr


@pytest.mark.parametrize(
    "fault, told, most_steps",
    [
        ("wrong_bit", "its bits have", 2),
        ("unused_bit", "variables without coefficient have the bit 0", 2),
        ("crash", "SIGSEGV", 2),
    ],
)
def test_planted_faults_are_found(fault, told, most_steps, tmp_path):
    found = run(
        "--plant", fault, "--sequences", 200, "--steps", 6, "--seed", 1, "--save", tmp_path
    )
    assert (found.returncode, told in found.stdout) == (1, True), found.stdout + found.stderr
    (trace,) = tmp_path.glob("*.trace")
    lines = trace.read_text().splitlines()
    assert len([line for line in lines if not line.startswith("#")]) <= most_steps
    assert told in run("--plant", fault, "--replay", trace).stdout
    assert run("--replay", trace).returncode == 0
