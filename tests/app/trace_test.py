"""orvex solve --trace: what a run did, second by second."""
import json
import unittest

from support import ProgramTest, model_text, orvex, random_weights


class Trace(ProgramTest):
    def setUp(self):
        super().setUp()
        self.model = self.write("model.qubo", model_text(60, random_weights(60)))

    def trace(self, *words):
        file = self.folder / "run.jsonl"
        run = orvex("solve", self.model, "--presolve", "off", "--json", "--trace", file, *words)
        self.assertEqual(run.returncode, 0, run.stderr)
        lines = [json.loads(line) for line in file.read_text(encoding="utf-8").splitlines()]
        return lines, json.loads(run.stdout)

    def test_tells_settings_bests_states_and_result_in_order(self):
        lines, result = self.trace("--time-limit", 2.2, "--param", "pool_size=20")
        begin, *between, end = lines
        self.assertEqual((begin["event"], begin["trace"], end["event"]), ("begin", 1, "end"))
        self.assertEqual((begin["size"], begin["time_limit"], begin["target"]), (60, 2.2, None))
        self.assertEqual(begin["parameters"]["pool_size"], "20")
        self.assertEqual(begin["band"], result["band"])
        self.assertEqual({line["event"] for line in between}, {"improved", "state"})
        energies = [line["energy"] for line in between if line["event"] == "improved"]
        self.assertEqual(energies, sorted(energies, reverse=True))
        self.assertEqual((energies[-1], end["energy"]), (result["energy"], result["energy"]))
        self.assertEqual((end["status"], end["flips"]), (result["status"], result["total_flips"]))
        states = [line for line in between if line["event"] == "state"]
        self.assertEqual([int(state["time"]) for state in states], [1, 2])
        self.assertNotIn("companion", end)

    def test_a_state_tells_each_island_and_what_was_used(self):
        lines, _ = self.trace("--time-limit", 1.2)
        begin, last = lines[0], lines[-1]
        for state in lines:
            if state["event"] not in ("state", "end"):
                continue
            self.assertEqual(len(state["islands"]), begin["islands"])
            for counts in (state["rules"], state["generators"]):
                self.assertAlmostEqual(sum(counts.values()), state["results"], delta=begin["blocks"])
            self.assertEqual(min(island["best"] for island in state["islands"]), state["best"])
            self.assertEqual(sum(island["flips"] for island in state["islands"]), state["flips"])
        self.assertEqual(sum(last["rules"].values()), last["results"])
        self.assertEqual(len(last["rules"]), 5)
        self.assertEqual(len(last["generators"]), 10)

    def test_the_companion_has_its_own_best(self):
        lines, result = self.trace("--companion", 0.5, "--time-limit", 1.2)
        self.assertEqual(lines[0]["companion_threads"], result["companion_threads"])
        self.assertGreater(lines[-1]["companion"]["flips"], 0)
        self.assertGreaterEqual(lines[-1]["companion"]["best"], result["energy"])
        lines, _ = self.trace("--companion", 1, "--time-limit", 1.2, "--seed", 7)
        self.assertIs(lines[0]["library"], False)
        self.assertEqual(lines[0]["seed"], 7)
        self.assertEqual(lines[-1]["islands"], [])

    def test_energies_are_those_of_the_problem(self):
        # A path: presolve takes it out; and a ring with a tail, of which it leaves the ring.
        model = self.write("path.coo", "# vartype=BINARY\n" + "".join(
            f"{i} {i} {-1.5 - i / 4}\n{i} {i + 1} 2.25\n" for i in range(20)))
        file = self.folder / "path.jsonl"
        run = orvex("solve", model, "--time-limit", 2, "--trace", file, "--json")
        lines = [json.loads(line) for line in file.read_text(encoding="utf-8").splitlines()]
        energy = json.loads(run.stdout)["energy"]
        self.assertEqual([line["event"] for line in lines], ["begin", "improved", "end"])
        self.assertEqual((lines[1]["energy"], lines[2]["energy"], lines[2]["best"]), (energy,) * 3)
        self.assertEqual(lines[2]["status"], "optimal")
        self.assertGreater(len(lines[0]["presolve_rules"]), 0)

    def test_goes_to_standard_output_if_asked(self):
        run = orvex("solve", self.model, "--trials", 100, "--trace", "-", "--quiet")
        events = [json.loads(line)["event"] for line in run.stdout.splitlines()]
        self.assertEqual((events[0], events[-1]), ("begin", "end"))
        self.assertIn("energy", run.stderr)

    def test_that_cannot_be_written_does_not_cost_the_result(self):
        run = orvex("solve", self.model, "--trials", 100, "--trace", "/dev/full")
        self.assertEqual(run.returncode, 4)
        self.assertIn("Cannot write all of the trace", run.stderr)
        self.assertIn("energy", run.stdout)
        self.assert_fails(orvex("solve", self.model, "--trace", self.folder), 2, "Cannot write")


if __name__ == "__main__":
    unittest.main()
