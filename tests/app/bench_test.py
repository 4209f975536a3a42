"""orvex bench, as its users call it."""
import csv
import io
import json
import unittest

from support import ProgramTest, lowest_energy, model_text, orvex, random_weights


class Bench(ProgramTest):
    def setUp(self):
        super().setUp()
        weights = random_weights(12)
        self.lowest = lowest_energy(12, weights)
        self.model = self.write("model.qubo", model_text(12, weights))

    def bench(self, *words):
        return orvex("bench", self.model, "--presolve", "off", *words)

    def test_counts_the_runs_that_reach_the_target(self):
        run = self.bench("--runs", 6, "--target", self.lowest, "--time-limit", 20, "--json")
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertEqual(run.stderr.count("run "), 6)
        report = json.loads(run.stdout)
        self.assertEqual((report["runs"], report["reached"], report["success_rate"]), (6, 6, 1))
        self.assertIs(report["target_given"], True)
        self.assertEqual((report["best_energy"], report["worst_energy"]), (self.lowest, self.lowest))
        times = [result["time_to_target"] for result in report["results"]]
        self.assertEqual(report["time_least"], min(times))
        self.assertEqual(report["time_greatest"], max(times))
        self.assertTrue(min(times) <= report["time_quartile_1"] <= report["time_median"]
                        <= report["time_quartile_3"] <= max(times))
        self.assertLessEqual(report["tts99"], max(times))
        self.assertLessEqual(report["tts99_low"], report["tts99_high"])

    def test_a_target_that_no_run_reaches_has_no_time(self):
        run = self.bench("--runs", 3, "--target", self.lowest - 1, "--trials", 20, "--json")
        report = json.loads(run.stdout)
        self.assertEqual(report["reached"], 0)
        for key in ("time_least", "time_median", "time_greatest", "tts99", "tts99_low"):
            self.assertIsNone(report[key], key)
        self.assertTrue(all(not result["target_reached"] for result in report["results"]))
        text = self.bench("--runs", 3, "--target", self.lowest - 1, "--trials", 20, "--quiet")
        self.assertEqual(text.stderr, "")
        self.assertIn("0 of 3 runs", text.stdout)
        self.assertIn("not reached", text.stdout)

    def test_without_a_target_the_lowest_energy_stands_for_it(self):
        run = self.bench("--runs", 2, "--trials", 300)
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertIn("the lowest energy of these runs", run.stdout)
        self.assertIn("confidence", run.stdout)

    def test_a_line_for_each_run_is_csv(self):
        run = self.bench("--runs", 3, "--trials", 200, "--csv", "--quiet")
        rows = list(csv.DictReader(io.StringIO(run.stdout)))
        self.assertEqual([row["run"] for row in rows], ["1", "2", "3"])
        self.assertTrue(all(row["status"] == "trial limit" for row in rows))

    def test_runs_must_be_some(self):
        for runs in (0, -1, "many"):
            run = self.bench("--runs", runs)
            self.assertEqual(run.returncode, 2)
            self.assertIn("--runs", run.stderr)


if __name__ == "__main__":
    unittest.main()
