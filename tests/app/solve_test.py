"""orvex solve, as its users call it."""
import gzip
import json
import os
import subprocess
import unittest

from support import (PROGRAM, ProgramTest, energy_of, lowest_energy, model_text, orvex, random_weights,
                     read_output)


class Solve(ProgramTest):
    def setUp(self):
        super().setUp()
        self.weights = random_weights(12)
        self.lowest = lowest_energy(12, self.weights)
        self.model = self.write("model.qubo", model_text(12, self.weights))

    def solve(self, *words):
        return orvex("solve", self.model, "--presolve", "off", *words)

    def test_prints_what_it_found(self):
        run = self.solve("--target", self.lowest, "--time-limit", 20)
        self.assertEqual(run.returncode, 0, run.stderr)
        shown = dict(line.split("  ", 1) for line in run.stdout.splitlines())
        shown = {key: value.strip() for key, value in shown.items()}
        self.assertEqual(list(shown), ["energy", "status", "time to solution", "run time", "found by",
                                       "flips", "band", "device"])
        self.assertEqual(int(shown["energy"]), self.lowest)
        self.assertEqual(shown["status"], "target reached")
        self.assertEqual(shown["band"], "qb64_32_32")
        self.assertGreater(int(shown["flips"]), 0)
        self.assertRegex(shown["time to solution"], r"^[0-9.e-]+ s$")

    def test_json_is_one_object_with_the_bits(self):
        run = self.solve("--target", self.lowest, "--time-limit", 20, "--json", "--quiet")
        self.assertEqual(run.stderr, "")
        result = json.loads(run.stdout)
        self.assertEqual(result["energy"], self.lowest)
        self.assertEqual(energy_of(self.weights, result["bits"]), self.lowest)
        self.assertEqual(len(result["bits"]), 12)
        self.assertIs(result["target_reached"], True)
        self.assertEqual(result["size"], 12)
        self.assertEqual(result["version"], "2024-12-29")
        self.assertGreaterEqual(result["runtime"], result["kernel_time"] * 0.5)

    def test_a_run_goes_on_from_a_checkpoint(self):
        file = os.path.join(os.path.dirname(self.model), "run.checkpoint")
        first = self.solve("--time-limit", 0.3, "--checkpoint", file, "--json", "--quiet")
        self.assertEqual(first.returncode, 0, first.stderr)
        best = json.loads(first.stdout)["energy"]
        with open(file, encoding="ascii") as lines:
            self.assertIn(f"solution {best} ", lines.read())
        again = self.solve("--trials", 1, "--resume", file, "--json", "--quiet")
        self.assertEqual(json.loads(again.stdout)["energy"], best)

        self.assert_fails(self.solve("--resume", file + ".none"), 2, "Cannot read")
        self.assert_fails(self.solve("--checkpoint", self.model), 2, "the place of another file")
        other = self.write("other.qubo", model_text(11, random_weights(11)))
        self.assert_fails(orvex("solve", other, "--resume", file), 2, "of another problem")

    def test_energies_are_in_the_numbers_of_the_file(self):
        lowest = self.lowest - self.lowest / 4  # the weights less a quarter have decimals
        entries = "".join(f"{i} {j} {w - w / 4}\n" for (i, j), w in self.weights.items())
        model = self.write("model.coo", "# vartype=BINARY\n" + entries)
        run = orvex("solve", model, "--presolve", "off", "--target", lowest, "--time-limit", 20,
                    "--json")
        self.assertEqual(run.returncode, 0, run.stderr)
        result = json.loads(run.stdout)
        self.assertEqual((result["energy"], result["target"]), (lowest, lowest))
        self.assertEqual((result["scale"], result["largest_error"]), (100, 0))
        self.assertIs(result["target_reached"], True)
        self.assertEqual(result["status"], "target reached")
        self.assertIn(f"best {lowest:g}", run.stderr)

    def test_rounded_coefficients_give_true_energies(self):
        values = [1.7320508075688772, -0.12345678901234568, -1.1102230246251565e-16]
        model = self.write("model.coo", "# vartype=BINARY\n" + "".join(
            f"{i} {i} {value!r}\n" for i, value in enumerate(values)))
        run = orvex("solve", model, "--trials", 100, "--target", 3, "--json")
        self.assertIn("Warning: ", run.stderr)
        result = json.loads(run.stdout)
        true = sum(v for v, bit in zip(values, result["bits"]) if bit == "1")
        self.assertAlmostEqual(result["energy"], true, delta=1e-16)
        self.assertLessEqual(result["energy"], values[1])
        self.assertTrue(0 < result["largest_error"] < 1e-6)
        self.assertIs(result["target_reached"], True)

    def test_a_target_that_is_no_number_is_refused(self):
        self.assert_fails(self.solve("--target", "low"), 2, "the target is a number")

    def test_output_has_bits_and_results(self):
        output = self.folder / "result"
        run = self.solve("--trials", 200, "--output", output)
        self.assertEqual(run.returncode, 0, run.stderr)
        bits, result = read_output(output)
        self.assertEqual(int(result["energy"]), energy_of(self.weights, bits))
        self.assertEqual(result["status"], "trial limit")
        self.assertEqual(result["file"], str(self.model))
        for key in ("tts", "runtime", "kernel_time", "load_time", "total_flips", "band", "device"):
            self.assertIn(key, result)

    def test_a_time_limit_may_have_a_fraction(self):
        result = json.loads(self.solve("--time-limit", 0.4, "--json").stdout)
        self.assertEqual(result["status"], "time limit")
        self.assertGreaterEqual(result["runtime"], 0.39)
        self.assertLess(result["runtime"], 1.0)

    def test_a_whole_time_limit_is_the_librarys(self):
        result = json.loads(self.solve("--time-limit", 1, "--json").stdout)
        self.assertEqual(result["status"], "time limit")
        self.assertGreaterEqual(result["runtime"], 1.0)
        self.assertLess(result["runtime"], 3.0)

    def test_a_target_of_zero_is_a_target(self):
        model = self.write("positive.qubo", model_text(3, {(0, 0): 5, (1, 1): 2, (0, 2): 1}))
        run = orvex("solve", model, "--target", 0, "--time-limit", 60, "--json", "--presolve", "off")
        result = json.loads(run.stdout)
        self.assertEqual((result["status"], result["energy"]), ("target reached", 0))
        self.assertLess(result["runtime"], 30)

    def test_a_target_that_is_out_of_reach(self):
        run = self.solve("--target", self.lowest - 1, "--trials", 100, "--json")
        result = json.loads(run.stdout)
        self.assertEqual(result["status"], "trial limit")
        self.assertIs(result["target_reached"], False)

    def test_a_start_is_not_made_worse(self):
        best = self.folder / "best"
        self.solve("--target", self.lowest, "--time-limit", 20, "--output", best)
        # A single instance and no search to speak of: the start itself is the result.
        run = self.solve("--start", best, "--trials", 1, "--output", best, "--json")
        self.assertEqual(json.loads(run.stdout)["energy"], self.lowest)
        self.assertEqual(int(read_output(best)[1]["energy"]), self.lowest)

    def test_a_start_that_is_none(self):
        self.assert_fails(self.solve("--start", self.write("short", "0101\n")), 2,
                          "a solution of this model has 12 digits; there are 4")
        self.assert_fails(self.solve("--start", self.folder / "missing"), 2, "Cannot read")
        self.assert_fails(self.solve("--start", self.write("empty", "")), 2, "it is empty")
        self.assert_fails(self.solve("--start", self.folder), 2, "Is a directory")

    def test_a_start_is_read_no_further_than_a_solution_goes(self):
        self.assert_fails(self.solve("--start", self.write("long", "01" * 500_000)), 2,
                          "a solution of this model has 12 digits; there are at least 76")
        self.assert_fails(self.solve("--start", "/dev/zero"), 2, "character 1 is neither")

    def test_parameters_reach_the_library(self):
        run = self.solve("--trials", 50, "--json", "--param", "search_cycles=777 33",
                         "--param", "tabu_cycles=5")
        result = json.loads(run.stdout)
        self.assertEqual(result["search_cycles"], [777, 33])
        self.assertEqual(result["tabu_cycles"], 5)

    def test_parameters_go_before_options(self):
        run = self.solve("--time-limit", 60, "--param", "time_limit=1", "--json",
                         "--param", "arithmetic_bits=64")
        result = json.loads(run.stdout)
        self.assertEqual(result["band"], "qb64_32_64")
        self.assertLess(result["runtime"], 20)

    def test_settings_that_the_library_would_refuse(self):
        for setting, text in (("tabu_cycle=1", "tabu_cycles"), ("pool_size=1", "pool_size must"),
                              ("arithmetic_bits=128", "arithmetic_bits must"),
                              ("restart_t0=soon", "restart_t0 must"), ("gpus=99", "gpus must")):
            self.assert_fails(self.solve("--param", setting), 2, text)

    def test_settings_are_looked_at_before_the_file(self):
        run = orvex("solve", self.folder / "missing", "--param", "pool_size=1")
        self.assert_fails(run, 2, "pool_size must")

    def test_the_run_log_is_handed_on(self):
        output = self.folder / "result"
        run = self.solve("--trials", 100, "--param", "log=1", "--json", "--output", output)
        log = json.loads(run.stdout)["log"]
        energies = [energy for seconds, energy in log]
        self.assertEqual(energies, sorted(energies, reverse=True))
        self.assertEqual(energies[-1], json.loads(run.stdout)["energy"])
        self.assertEqual(output.read_text().count("\nlog="), len(log))

    def test_the_librarys_own_display(self):
        run = self.solve("--trials", 100, "--param", "verbose=1")
        self.assertIn("[GPU  0]", run.stderr)
        self.assertNotIn("flips/s", run.stderr)


class Arithmetic(ProgramTest):
    """Wider arithmetic where 32 bits are not proven to be enough; energies are exact."""

    def solve(self, weights, *words):
        size = 1 + max(max(pair) for pair in weights)
        model = self.write("model.qubo", model_text(size, weights))
        lowest = lowest_energy(size, weights)
        run = orvex("solve", model, "--target", lowest, "--time-limit", 20, "--json",
                    "--presolve", "off", *words)
        self.assertEqual(run.returncode, 0, run.stderr)
        result = json.loads(run.stdout)
        self.assertEqual(result["energy"], lowest)
        self.assertEqual(energy_of(weights, result["bits"]), lowest)
        return result["band"]

    def test_32_bits_where_they_are_proven(self):
        self.assertEqual(self.solve(random_weights(10, 1_000_000)), "qb64_32_32")

    def test_64_bits_for_energies(self):
        self.assertEqual(self.solve(random_weights(10, 2_000_000_000)), "qb64_32_64")

    def test_64_bits_for_weights(self):
        self.assertEqual(self.solve(random_weights(10, 10**15)), "qb64_64_64")

    def test_the_lowest_weight_of_32_bits(self):
        weights = {(0, 0): 2**31 - 1, (1, 1): 7, (0, 1): -2**31, (2, 2): -1}
        self.assertEqual(self.solve(weights), "qb64_64_64")

    def test_energies_that_may_overflow_are_refused_before_the_run(self):
        model = self.write("wide.qubo", model_text(3, {(0, 0): -2_000_000_000,
                                                       (1, 1): -2_000_000_000}))
        run = orvex("solve", model, "--param", "arithmetic_bits=32", "--time-limit", 20)
        self.assert_fails(run, 2, "arithmetic_bits=32 is not enough: energies of this problem may "
                          "need 64 bits")


class Files(ProgramTest):
    """Names that a shell would not leave alone, kinds of files, and places to write to."""

    def test_a_compressed_file_with_any_name(self):
        weights = random_weights(5)
        name = self.folder / "a b$(touch marker);`touch marker`'\".gz"
        with gzip.open(name, "wt") as file:
            file.write(model_text(5, weights))
        run = orvex("solve", name, "--trials", 50, "--json", cwd=self.folder)
        self.assertEqual(json.loads(run.stdout)["energy"], lowest_energy(5, weights))
        self.assertFalse((self.folder / "marker").exists())

    def test_a_pipe(self):
        weights = random_weights(5)
        run = orvex("solve", "/dev/stdin", "--trials", 50, "--json", input=model_text(5, weights))
        self.assertEqual(json.loads(run.stdout)["energy"], lowest_energy(5, weights))

    def test_one_variable(self):
        model = self.write("one.qubo", model_text(1, {(0, 0): -3}))
        run = orvex("solve", model, "--trials", 20, "--json")
        self.assertEqual(json.loads(run.stdout)["bits"], "1")

    def test_an_output_that_cannot_be_written_is_told_before_the_run(self):
        model = self.write("model.qubo", model_text(1, {(0, 0): -3}))
        for output in (self.folder, self.folder / "missing" / "result"):
            run = orvex("solve", model, "--output", output)
            self.assert_fails(run, 2, f"Error: Cannot write {output}")

    def test_an_output_that_fails_after_the_run(self):
        model = self.write("model.qubo", model_text(1, {(0, 0): -3}))
        run = orvex("solve", model, "--trials", 20, "--output", "/dev/full")
        self.assertEqual(run.returncode, 4)
        self.assertIn("energy", run.stdout)
        self.assertIn("Error: Cannot write /dev/full", run.stderr)


    def test_standard_output_that_cannot_be_written(self):
        model = self.write("model.qubo", model_text(1, {(0, 0): -3}))
        for words in (["solve", model, "--trials", "20"], ["check", model], ["info"]):
            with open("/dev/full", "w", encoding="utf-8") as full:
                run = subprocess.run([PROGRAM, *words], stdout=full, stderr=subprocess.PIPE,
                                     text=True, check=False)
            self.assertEqual(run.returncode, 4)
            self.assertIn("Error: Cannot write to standard output", run.stderr)


class CommandLine(ProgramTest):
    def test_wrong_usage_has_status_2(self):
        model = self.write("model.qubo", model_text(1, {(0, 0): -3}))
        for words in ([], ["solve"], ["unknown"], ["solve", model, "--target", "x"],
                      ["solve", model, "--time-limit", "-1"], ["solve", model, "--trials", "0"],
                      ["solve", model, "--param", "novalue"], ["solve", model, "--nonsense"],
                      ["solve", model, "--time-limit", "nan"], ["solve", model, "second"]):
            run = orvex(*words)
            self.assertEqual((run.returncode, run.stdout), (2, ""), words)
            self.assertNotEqual(run.stderr, "")

    def test_help_and_version(self):
        self.assertIn("orvex solve model.qubo.gz --time-limit 60", orvex("--help").stdout)
        for words in (["--help"], ["solve", "--help"], ["check", "--help"], ["info", "--help"]):
            self.assertEqual(orvex(*words).returncode, 0)
        self.assertRegex(orvex("--version").stdout, r"^orvex [0-9.]+, engine 2024-12-29\n$")

    def test_a_parameter_takes_one_word(self):
        model = self.write("model.qubo", model_text(1, {(0, 0): -3}))
        run = orvex("solve", "--param", "trial_limit=20", model)
        self.assertEqual(run.returncode, 0, run.stderr)


if __name__ == "__main__":
    unittest.main()
