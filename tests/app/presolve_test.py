"""What exact reductions and the companion bring to orvex solve, and orvex presolve and restore."""
import json
import random
import unittest

from support import (ProgramTest, energy_of, lowest_energy, model_text, orvex,
                     read_output)


def tree(size, seed=1):
    """Weights on a random tree, which the rules take apart to nothing."""
    draw = random.Random(seed)
    weights = {(i, i): draw.randint(-9, 9) for i in range(size)}
    weights |= {(draw.randrange(i), i): draw.randint(-9, 9) for i in range(1, size)}
    return weights


def sparse(size, couplings, seed=1):
    draw = random.Random(seed)
    weights = {}
    while len(weights) < couplings:
        i, j = sorted(draw.sample(range(size), 2))
        weights[i, j] = draw.choice([-1, 1])
    return weights


class Presolve(ProgramTest):
    def test_solve_ends_with_a_proof_where_nothing_is_left(self):
        weights = tree(14)
        model = self.write("tree.qubo", model_text(14, weights))
        run = orvex("solve", model, "--json")
        result = json.loads(run.stdout)
        self.assertEqual(result["status"], "optimal")
        self.assertEqual(result["energy"], lowest_energy(14, weights))
        self.assertEqual(result["bound"], result["energy"])
        self.assertEqual(result["found_by"], "presolve")
        self.assertEqual(result["searched_size"], 0)
        self.assertIsNone(result["band"])
        self.assertEqual(energy_of(weights, result["bits"]), result["energy"])
        self.assertIn("presolve: 0 variables and 0 couplings are left", run.stderr)

    def test_a_tree_beyond_every_band_is_solved(self):
        weights = tree(200_000)
        model = self.write("tree.qubo", model_text(200_000, weights))
        result = json.loads(orvex("solve", model, "--json", "--quiet").stdout)
        self.assertEqual(result["status"], "optimal")
        self.assertEqual(result["energy"], energy_of(weights, result["bits"]))

    def test_what_is_written_leads_back_to_the_model(self):
        weights = sparse(400, 700)
        model = self.write("model.qubo", model_text(400, weights))
        reduced, solution = self.folder / "reduced.qubo", self.folder / "reduced.sol"
        told = json.loads(orvex("presolve", model, reduced, "--json").stdout)
        self.assertLess(told["presolved_size"], 400)
        self.assertEqual(told["way_back"], f"{reduced}.back")
        run = orvex("solve", reduced, "--time-limit", 1, "--output", solution, "--quiet")
        self.assertEqual(run.returncode, 0, run.stderr)
        found = int(read_output(solution)[1]["energy"])
        restored = self.folder / "restored.sol"
        self.assertEqual(orvex("restore", told["way_back"], solution, restored).returncode, 0)
        energy = energy_of(weights, restored.read_text().strip())
        self.assertLessEqual(energy * told["factor"], found + told["offset"])

    def test_a_way_back_that_is_none_is_refused(self):
        back = self.write("x.back", "rubbish")
        self.assert_fails(orvex("restore", back, back, self.folder / "out"), 2, "x.back")
        self.assert_fails(orvex("restore", self.folder / "none", back, self.folder / "out"), 2,
                          "Cannot read")

    def test_check_tells_what_would_be_left(self):
        model = self.write("tree.qubo", model_text(300, tree(300)))
        facts = json.loads(orvex("check", model, "--json").stdout)
        self.assertEqual(facts["presolved_size"], 0)
        self.assertIn("0 variables, 0 couplings", orvex("check", model).stdout)


class Companion(ProgramTest):
    def setUp(self):
        super().setUp()
        self.weights = sparse(600, 1800)
        self.model = self.write("model.qubo", model_text(600, self.weights))

    def solve(self, *words):
        run = orvex("solve", self.model, "--time-limit", 1, "--json", "--quiet", *words)
        self.assertEqual(run.returncode, 0, run.stderr)
        result = json.loads(run.stdout)
        self.assertEqual(energy_of(self.weights, result["bits"]), result["energy"])
        return result

    def test_searches_what_is_sparse(self):
        result = self.solve()
        self.assertGreater(result["companion_flips"], 0)
        self.assertIn(result["found_by"], ("companion", "merge"))

    def test_has_the_share_that_is_asked_for(self):
        self.assertEqual(self.solve("--companion", 0)["companion_flips"], 0)
        alone = self.solve("--companion", 1)
        self.assertIsNone(alone["band"])
        both = self.solve("--companion", 0.5)
        self.assertIsNotNone(both["band"])
        self.assertGreater(both["companion_flips"], 0)
        self.assertGreater(both["total_flips"], 0)

    def test_refuses_shares_and_groups_that_are_wrong(self):
        self.assert_fails(orvex("solve", self.model, "--companion", "much"), 2, "--companion")
        self.assert_fails(orvex("solve", self.model, "--companion", 2), 2, "from 0 to 1")
        for text, message in (("0 600\n", "line 1"), ("3\n", "two variables"), ("1 1\n", "twice"),
                              ("0 x\n", "line 1")):
            groups = self.write("groups", text)
            self.assert_fails(orvex("solve", self.model, "--groups", groups), 2, message)

    def test_takes_groups(self):
        groups = self.write("groups", "# two of them\n0 1 2\n<= 3 4 5\n")
        self.assertEqual(self.solve("--groups", groups, "--presolve", "off")["groups"], 2)


if __name__ == "__main__":
    unittest.main()
