"""Ctrl-C: the first ends a run with its best solution, the second ends the process."""
import json
import os
import pty
import select
import signal
import subprocess
import time
import unittest

from support import PROGRAM, ProgramTest, energy_of, model_text, random_weights, read_output


class Interrupt(ProgramTest):
    def setUp(self):
        super().setUp()
        self.weights = random_weights(60)
        self.model = self.write("model.qubo", model_text(60, self.weights))

    def start(self, *words):
        """Starts a run on a terminal and waits until it is under way."""
        master, slave = pty.openpty()
        self.addCleanup(os.close, master)
        process = subprocess.Popen(
            [PROGRAM, "solve", self.model, "--presolve", "off", "--time-limit", "0", *map(str, words)],
            stdout=subprocess.PIPE, stderr=slave, text=True)
        os.close(slave)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.kill)
        shown = b""
        end = time.monotonic() + 60
        while b" | " not in shown:  # the live line: signals are caught from before it on
            self.assertLess(time.monotonic(), end, shown)
            if select.select([master], [], [], 1)[0]:
                shown += os.read(master, 4096)
        return process

    def ends_normally(self, number):
        output = self.folder / "result"
        process = self.start("--json", "--output", output)
        time.sleep(0.5)
        process.send_signal(number)
        result = json.loads(process.communicate(timeout=60)[0])
        self.assertEqual(process.returncode, 0)
        self.assertEqual(result["status"], "interrupted")
        self.assertGreater(result["total_flips"], 0)
        self.assertEqual(result["energy"], energy_of(self.weights, result["bits"]))
        self.assertEqual(read_output(output)[0], result["bits"])

    def test_the_first_interrupt_ends_the_run_with_its_best_solution(self):
        self.ends_normally(signal.SIGINT)

    def test_so_does_a_request_to_terminate(self):
        self.ends_normally(signal.SIGTERM)

    def test_an_interrupt_that_is_ignored_stays_ignored(self):
        old = signal.signal(signal.SIGINT, signal.SIG_IGN)
        try:
            process = self.start("--json", "--trials", "2000")
        finally:
            signal.signal(signal.SIGINT, old)
        process.send_signal(signal.SIGINT)
        result = json.loads(process.communicate(timeout=100)[0])
        self.assertEqual(result["status"], "trial limit")


if __name__ == "__main__":
    unittest.main()
