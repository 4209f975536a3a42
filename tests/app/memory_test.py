"""Memory that is refused, at whatever moment, ends the program with its message and its status."""
import concurrent.futures
import itertools
import os
import unittest

from support import ProgramTest, model_text, orvex

ALLOCATOR = os.environ["ORVEX_FAILING_ALLOCATOR"]
MESSAGE = "Error: not enough memory\n"


class Memory(ProgramTest):
    def run_failing(self, words, number, from_there_on):
        """A run whose allocation of that number fails; None where there are not that many."""
        report = self.folder / f"report{number}"
        environment = {**os.environ, "LD_PRELOAD": ALLOCATOR, "ORVEX_FAIL_AT": str(number),
                       "ORVEX_FAIL_REPORT": str(report)}
        if from_there_on:
            environment["ORVEX_FAIL_ON"] = "1"
        run = orvex(*words, env=environment)
        if not report.exists():
            return None
        report.unlink()
        return run

    def assert_each_is_told(self, *words, from_there_on=False):
        """Every allocation of a run is refused in turn. A run may do without, and is then right."""
        expected = orvex(*words)
        self.assertEqual(expected.returncode, 0, expected.stderr)
        told = reached = 0
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            for first in itertools.count(1, 64):
                numbers = range(first, first + 64)
                runs = list(pool.map(lambda n: self.run_failing(words, n, from_there_on), numbers))
                for number, run in zip(numbers, runs):
                    with self.subTest(number=number):
                        if run is None:
                            continue
                        reached += 1
                        if run.returncode == 0:
                            self.assertEqual(run.stdout.split("\n")[0],
                                             expected.stdout.split("\n")[0])
                            continue
                        self.assertEqual(run.returncode, 1, run.stderr)
                        self.assertIn(MESSAGE, run.stderr)
                        self.assertEqual(run.stderr.count("Error"), 1)
                        told += 1
                if None in runs:
                    break
        self.assertGreater(reached, 500, "allocations of the program and the library")
        self.assertGreater(told, 0.9 * reached, "only few can be done without")

    def setUp(self):
        super().setUp()
        self.model = self.write("m.qubo", model_text(3, {(0, 0): -1, (0, 2): 2, (1, 2): -3}))

    def test_check(self):
        self.assert_each_is_told("check", self.model)

    def test_check_with_nothing_left(self):
        self.assert_each_is_told("check", self.model, from_there_on=True)

    def test_solve(self):
        self.assert_each_is_told("solve", self.model, "--trials", 1, "--presolve", "off")


if __name__ == "__main__":
    unittest.main()
