"""Random sequences of calls of the package, a few of the many (sequences/__main__.py tells more), and faults that are
planted for them and for the tests that compute energies again.
"""

import pathlib
import subprocess
import sys

import pytest

import orvex

HERE = pathlib.Path(__file__).parent


def run(*words) -> subprocess.CompletedProcess:
    """In a process of its own, which has no threads when it forks."""
    return subprocess.run(
        [sys.executable, "-m", "sequences", *map(str, words)],
        cwd=HERE, capture_output=True, text=True, timeout=250,
    )  # fmt: skip


def test_random_sequences_of_calls(tmp_path):
    done = run("--sequences", 8, "--save", tmp_path)
    assert done.returncode == 0, done.stdout + done.stderr


@pytest.mark.parametrize("fault, told", [("wrong_bit", "its bits have"), ("crash", "SIGSEGV")])
def test_planted_faults_are_found(fault, told, tmp_path):
    planted = ("--plant", fault)
    found = run(*planted, "--sequences", 99, "--steps", 5, "--seed", 1, "--save", tmp_path)
    assert (found.returncode, told in found.stdout) == (1, True), found.stdout + found.stderr
    (trace,) = tmp_path.glob("*.trace")
    steps = [line for line in trace.read_text().splitlines() if not line.startswith("#")]
    assert len(steps) == 2  # a problem, and a search
    if fault == "wrong_bit":
        assert told in run(*planted, "--replay", trace).stdout
        assert run("--replay", trace).returncode == 0


def test_energies_that_are_not_those_of_their_bits_are_noticed(tmp_path, monkeypatch):
    class Wrong(orvex.Problem):
        def energy(self, x):
            return super().energy(x) + 1

    counts = tmp_path / "counts"
    monkeypatch.setenv("ORVEX_RESCORED", str(counts))  # not to those of the other tests
    orvex.solve(orvex.Problem([[-1]]), target=-1)
    with pytest.raises(AssertionError):
        orvex.solve(Wrong([[-1]]), target=-1)
    assert counts.read_text() == "1 0\n1 1\n"
