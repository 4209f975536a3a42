"""What a run shows while it runs: one live line on a terminal, plain lines elsewhere."""
import os
import pty
import re
import subprocess
import unittest

from support import PROGRAM, ProgramTest, model_text, orvex, random_weights


class Display(ProgramTest):
    def setUp(self):
        super().setUp()
        self.model = self.write("model.qubo", model_text(60, random_weights(60)))

    def on_a_terminal(self, *words):
        """Standard output, and what the terminal on standard error got."""
        master, slave = pty.openpty()
        self.addCleanup(os.close, master)
        process = subprocess.Popen([PROGRAM, "solve", self.model, "--presolve", "off", *words],
                                   stdout=subprocess.PIPE, stderr=slave, text=True)
        os.close(slave)
        shown = b""
        try:
            while chunk := os.read(master, 4096):
                shown += chunk
        except OSError:  # the other end is closed
            pass
        output = process.communicate(timeout=60)[0]
        self.assertEqual(process.returncode, 0)
        return output, shown.decode()

    def test_a_terminal_has_a_live_line(self):
        output, shown = self.on_a_terminal("--time-limit", "2")
        head, *lines = shown.split("\r\x1b[K")
        self.assertIn("60 variables, 1830 entries\r\n", head)
        self.assertIn("search: band qb64_32_32, 8-bit rows", head)
        self.assertEqual(lines[-1], "", "the line goes at the end")
        drawn = lines[:-1]
        self.assertGreaterEqual(len(drawn), 5)
        self.assertLessEqual(len(drawn), 25, "no more than about ten a second")
        self.assertRegex(drawn[0], r"^0\.0 s, 2\.0 s left \| no result yet \| 0\.00 flips/s$")
        last = re.fullmatch(r"([\d.]+) s, ([\d.]+) s left \| best (-\d+) found at [\d.]+ s \| "
                            r"[\d.]+ [kM]?flips/s", drawn[-1])
        self.assertTrue(last, drawn[-1])
        self.assertAlmostEqual(float(last[2]), max(2.0 - float(last[1]), 0.0), delta=0.11)
        self.assertIn(f"energy            {last[3]}\n", output)

    def test_a_log_has_plain_lines(self):
        run = orvex("solve", self.model, "--presolve", "off", "--time-limit", "1")
        model, search, *lines = run.stderr.splitlines()
        self.assertIn("60 variables", model)
        self.assertIn("band qb64_32_32", search)
        self.assertTrue(lines)
        energies = []
        for line in lines:
            match = re.fullmatch(r" *[\d.]+ s  best (-\d+)  [\d.]+ [kM]?flips/s", line)
            self.assertTrue(match, line)
            energies.append(int(match[1]))
        self.assertEqual(energies, sorted(energies, reverse=True))
        self.assertIn(f"energy            {energies[-1]}\n", run.stdout)

    def test_quiet_shows_nothing(self):
        self.assertEqual(self.on_a_terminal("--time-limit", "0.3", "--quiet")[1], "")
        repeated = self.write("repeated.qubo", "2 2 0 3\n0 1 3\n0 1 2\n")
        self.assertEqual(orvex("solve", repeated, "--trials", "20", "--quiet").stderr, "")
        self.assertIn("Warning: ", orvex("solve", repeated, "--trials", "20").stderr)


if __name__ == "__main__":
    unittest.main()
