"""Faults that are planted into what the library gives back are found, shrunk to a few steps, and
their traces replay; without the fault the same trace finds nothing."""
import pathlib
import subprocess
import sys
import tempfile
import unittest

PROGRAM = sys.argv.pop(1)


def run(*words):
    return subprocess.run([PROGRAM, *map(str, words)], capture_output=True, text=True)


class Planted(unittest.TestCase):
    def assert_found(self, fault, expected, most_steps):
        with tempfile.TemporaryDirectory() as folder:
            found = run("--plant", fault, "--sequences", 200, "--seed", 1, "--save", folder)
            self.assertEqual(found.returncode, 1, found.stdout)
            self.assertIn(expected, found.stdout)
            trace, = pathlib.Path(folder).glob("*.trace")
            steps = [line for line in trace.read_text().splitlines() if line[0] != "#"]
            self.assertLessEqual(len(steps), most_steps)
            again = run("--plant", fault, "--replay", trace)
            self.assertEqual(again.returncode, 1)
            self.assertIn(expected, again.stdout)
            self.assertEqual(run("--replay", trace).returncode, 0)

    def test_a_wrong_bit(self):
        self.assert_found("wrong_bit", "its bits have", 4)

    def test_a_bit_above_the_last_variable(self):
        self.assert_found("filler", "no bit is set above the last variable", 3)

    def test_a_crash(self):
        self.assert_found("crash", "a signal", 3)


if __name__ == "__main__":
    unittest.main()
