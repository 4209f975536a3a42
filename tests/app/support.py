"""What the tests of the program share: the program under test, model files, runs of it."""
import itertools
import os
import pathlib
import random
import subprocess
import tempfile
import unittest

PROGRAM = os.environ["ORVEX_PROGRAM"]
SOURCE = pathlib.Path(os.environ["ORVEX_SOURCE"])


def orvex(*words, timeout=120, **options):
    """Runs the program to its end; standard error is no terminal."""
    return subprocess.run([PROGRAM, *map(str, words)], capture_output=True, text=True,
                          timeout=timeout, check=False, **options)


def generate(*words, **options):
    """What a command writes to standard output: (header, weights by pair)."""
    run = orvex("generate", *words, "-", **options)
    assert (run.returncode, run.stderr) == (0, ""), run.stderr
    numbers = list(map(int, run.stdout.split()))
    weights = {(i, j): w for i, j, w in zip(numbers[4::3], numbers[5::3], numbers[6::3])}
    return numbers[:4], weights


def model_text(size, weights, header=None):
    """A model file: weights by pair, header as (entries, smallest, largest)."""
    values = list(weights.values()) or [0]
    entries, smallest, largest = header or (len(weights), min(values), max(values))
    lines = [f"{size} {entries} {smallest} {largest}"]
    lines += [f"{i} {j} {w}" for (i, j), w in weights.items()]
    return "\n".join(lines) + "\n"


def random_weights(size, largest=100, seed=1):
    draw = random.Random(seed)
    return {(i, j): draw.randint(-largest, largest)
            for i in range(size) for j in range(i, size)}


def energy_of(weights, bits):
    return sum(w for (i, j), w in weights.items() if bits[i] == "1" and bits[j] == "1")


def lowest_energy(size, weights):
    return min(energy_of(weights, bits) for bits in itertools.product("01", repeat=size))


def read_output(path):
    """The bits and the results of a file that --output wrote."""
    bits, *lines = pathlib.Path(path).read_text(encoding="utf-8").splitlines()
    return bits, dict(line.split("=", 1) for line in lines)


class ProgramTest(unittest.TestCase):
    """A test with an empty folder of its own."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def write(self, name, text):
        path = self.folder / name
        path.write_text(text, encoding="utf-8")
        return path

    def assert_fails(self, run, status, text):
        self.assertEqual(run.returncode, status, run.stderr)
        self.assertIn(text, run.stderr)
        self.assertEqual(run.stdout, "")
