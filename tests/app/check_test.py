"""orvex check and orvex info."""
import json
import subprocess
import unittest

from support import PROGRAM, ProgramTest, model_text, orvex


class Check(ProgramTest):
    def check(self, text, *words):
        return orvex("check", self.write("model.qubo", text), *words)

    def test_tells_about_a_valid_file(self):
        run = self.check(model_text(3, {(0, 0): -4, (0, 1): 3, (2, 2): 0}))
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        for line in ("size               3", "entries            3", "nonzero            2",
                     "density            33.33 %", "weights            -4 to 3",
                     "weight bits        8", "arithmetic bits    32",
                     "energies within    -4 to 2", "deltas within      -4 to 4",
                     "band               qb64_32_32"):
            self.assertIn(line + "\n", run.stdout)
        self.assertIn("memory of a run    at most 64.2 MiB: model 0.00879 KiB, band's matrix "
                      "0.254 KiB, the rest\n"
                      "rows               sparse, in 0.523 KiB of it\n",
                      run.stdout)

    def test_json_has_plain_numbers(self):
        facts = json.loads(self.check(model_text(2, {(0, 1): -2**40}), "--json").stdout)
        self.assertEqual(facts["lowest_energy_bound"], -2**40)
        self.assertEqual(facts["largest_delta_bound"], 2**40)
        self.assertEqual(facts["arithmetic_bits"], 64)
        self.assertEqual(facts["band"], "qb64_64_64")
        self.assertEqual(facts["memory_model"], 2 * 2 * 8)
        self.assertEqual(facts["memory_record"], 64 * 8 + 4)  # no row is written
        self.assertEqual(facts["rows"], "sparse")
        self.assertEqual(facts["memory_rows"], 65 * 8 + 2 * 16)
        self.assertEqual(facts["warnings"], [])

    def test_more_than_64_bits(self):
        run = self.check(model_text(2, {(0, 0): -2**63, (1, 1): -2**63}), "--json")
        facts = json.loads(run.stdout)
        self.assertEqual(facts["arithmetic_bits"], 128)
        self.assertEqual(facts["lowest_energy_bound"], -2**64)
        self.assertIn("not even 64-bit arithmetic is proven", run.stderr)

    def test_warnings_go_to_standard_error(self):
        run = self.check("2 2 0 3\n0 1 3\n0 1 2\n", "--json")
        self.assertEqual(run.returncode, 0)
        self.assertIn("line 3: a pair is repeated (1 in all)", run.stderr)
        self.assertEqual(len(json.loads(run.stdout)["warnings"]), 1)

    def test_an_invalid_file_has_status_2_and_a_line(self):
        path = self.folder / "model.qubo"
        self.assert_fails(self.check("2 2 0 3\n0 1 3\n0 2 2\n"), 2,
                          f"Error: {path}, line 3: the second index is 2, not from 0 to 1\n")
        self.assert_fails(orvex("check", self.folder / "missing"), 2, "No such file or directory")
        self.assert_fails(orvex("check", self.folder), 2, "Is a directory")

    def test_a_compressed_file_that_is_cut_short(self):
        path = self.write("model.qubo", model_text(40, {(i, i): i * i for i in range(40)}))
        subprocess.run(["gzip", path], check=True)
        packed = self.folder / "model.qubo.gz"
        packed.write_bytes(packed.read_bytes()[:-20])
        self.assert_fails(orvex("check", packed), 2, "the compressed file is cut short")


class Memory(ProgramTest):
    def test_a_model_that_is_too_large_is_refused_before_it_is_read(self):
        path = self.write("large.qubo", f"65536 {2**30} 0 {2**62}\n0 0 1\n")
        machine = json.loads(orvex("info", "--json").stdout)["memory"]
        if machine >= 2 * 65536**2 * 8:
            self.skipTest("this machine has the memory")
        largest = json.loads(orvex("info", "--json").stdout)["largest_model"]
        if largest == 65536:
            self.assert_fails(orvex("solve", path, timeout=5), 2, "a run needs 64.1 GiB of memory")
        if machine < 65536**2 * 8:
            self.assert_fails(orvex("check", path, timeout=5), 2, "takes 32 GiB; this machine has")

    def test_a_sparse_model_takes_no_matrix_until_it_is_searched(self):
        path = self.write("large.qubo", f"1000000 2 0 {2**62}\n0 999999 1\n0 0 {2**62}\n")
        run = orvex("check", path, timeout=20)
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertIn("no band of this build holds the model", run.stderr)


class Info(unittest.TestCase):
    def test_tells_about_the_build(self):
        facts = json.loads(orvex("info", "--json").stdout)
        self.assertEqual(facts["version"], "2024-12-29")
        self.assertEqual(facts["sizes"], sorted(facts["sizes"]))
        self.assertEqual(facts["largest_model"], facts["sizes"][-1])
        self.assertEqual(facts["widths"], ["32/32", "32/64", "64/64"])
        self.assertNotEqual(facts["device"], "")

    def test_shows_it_as_text(self):
        run = subprocess.run([PROGRAM, "info"], capture_output=True, text=True, check=True)
        self.assertEqual(run.stderr, "")
        self.assertIn("widths         32/32 32/64 64/64\n", run.stdout)


if __name__ == "__main__":
    unittest.main()
