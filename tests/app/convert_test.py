"""orvex convert, and other formats in orvex solve and orvex check."""
import gzip
import json
import os
import pathlib
import random
import re
import subprocess
import unittest

from support import PROGRAM, SOURCE, ProgramTest, energy_of, model_text, orvex, random_weights

DATA = pathlib.Path(os.environ.get("ORVEX_DATA", SOURCE / "../shared/data"))
BOTH_WAYS = ("orvex", "qbsolv", "maxcut", "biqmac", "orlib", "coo", "matrixmarket", "qs")


def read_model(path):
    """Size and weights of a model file."""
    numbers = [int(word) for word in pathlib.Path(path).read_text(encoding="utf-8").split()]
    entries = numbers[4:]
    return numbers[0], {(i, j): w for i, j, w in zip(entries[::3], entries[1::3], entries[2::3])}


class Convert(ProgramTest):
    def convert(self, source, to="orvex", *words):
        """Converts a file or a text; gives the run and the file."""
        if isinstance(source, str):
            source = self.write("source", source)
        target = self.folder / f"target.{to}"
        return orvex("convert", source, target, "--to", to, *words), target

    def assert_refused(self, run, target, text):
        self.assertEqual(run.returncode, 2, run.stderr)
        self.assertIn(text, run.stderr)
        self.assertEqual(run.stdout, "")
        self.assertFalse(target.exists())
        left = {path.name for path in self.folder.iterdir()} - {"source"}
        self.assertEqual(left, set(), "something was left behind")

    def test_tells_what_the_numbers_of_the_file_mean(self):
        run, target = self.convert("3 2\n1 2 5\n2 3 -1\n", "orvex", "--from", "maxcut")
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        for line in ("written as  orvex", "format      maxcut", "index base  1", "factor      2",
                     "sense       maximised", "offset      0", "equation    cut = -energy",
                     "size        3", "entries     2", "nonzero     5"):
            self.assertIn(line + "\n", run.stdout)
        self.assertEqual(target.read_text(), "3 5 -5 10\n0 0 -5\n0 1 10\n1 1 -4\n1 2 -2\n2 2 1\n")

    def test_json(self):
        run, _ = self.convert("# ObjectiveOffset 7\n2 1\n1 2 3\n", "coo", "--json")
        self.assertEqual(json.loads(run.stdout)["equation"], "objective = energy + 7")
        self.assertEqual(json.loads(run.stdout)["offset"], 7)

    def test_formats_go_there_and_back(self):
        for seed in range(3):
            size = 7 + seed
            weights = {pair: 2 * w for pair, w in random_weights(size, seed=seed).items()
                       if random.Random(str(pair)).random() < 0.6 and w != 0}
            model = self.write("source", model_text(size, weights))
            for name in BOTH_WAYS:
                run, there = self.convert(model, name)
                self.assertEqual(run.returncode, 0, run.stderr)
                back = self.folder / "back"
                run = orvex("convert", there, back, "--from", name, "--to", "orvex")
                self.assertEqual(run.returncode, 0, run.stderr)
                if name != "maxcut":
                    self.assertEqual(read_model(back), (size, weights), name)
                    self.assertEqual(back.read_text(), model.read_text(), name)

    def test_a_model_is_a_graph_with_one_more_vertex(self):
        weights = {(0, 0): 3, (0, 1): -4, (1, 2): 6, (2, 2): -5}
        run, graph = self.convert(model_text(3, weights), "maxcut")
        self.assertEqual(run.returncode, 0, run.stderr)
        numbers = [int(word) for word in graph.read_text().split()]
        self.assertEqual(numbers[:2], [4, 5])
        edges = list(zip(numbers[2::3], numbers[3::3], numbers[4::3]))
        for bits in ("000", "100", "010", "001", "110", "101", "011", "111"):
            sides = bits + "0"
            cut = sum(w for i, j, w in edges if sides[i - 1] != sides[j - 1])
            self.assertEqual(cut, -energy_of(weights, bits))

    def test_a_graph_stays_the_graph_that_it_was(self):
        text = "4 3\n1 2 5\n2 3 -1\n3 4 1\n"
        run, model = self.convert(text, "orvex", "--from", "maxcut")
        self.assertEqual(run.returncode, 0, run.stderr)
        _, graph = self.convert(model, "maxcut")
        self.assertEqual(graph.read_text(), text)

    def test_compressed_both_ways(self):
        source = self.folder / "source.gz"
        with gzip.open(source, "wt") as file:
            file.write("# ObjectiveOffset 0\n2 1\n1 2 3\n")
        target = self.folder / "target.gz"
        run = orvex("convert", source, target, "--to", "qbsolv")
        self.assertEqual(run.returncode, 0, run.stderr)
        with gzip.open(target, "rt") as file:
            self.assertEqual(file.read(), "p qubo 0 2 0 1\n0 1 6\n")

    def test_standard_output(self):
        source = self.write("source", "# vartype=BINARY\n0 1 3\n")
        run = orvex("convert", source, "-", "--to", "orvex")
        self.assertEqual(run.stdout, "2 1 3 3\n0 1 3\n")
        self.assertIn("format      coo\n", run.stderr)

    def test_malformed_files_leave_nothing(self):
        run, target = self.convert("p qubo 0 2 0 1\n0 7 1\n")
        self.assert_refused(run, target, f"Error: {self.folder / 'source'}, line 2: the second node "
                                         "is 7, not from 0 to 1\n")

    def test_decimals_become_integers_with_a_scale(self):
        text = "# vartype=BINARY\n0 0 -1.25\n0 1 2.5\n"
        run, target = self.convert(text)
        for line in ("scale          100", "largest error  0", "equation       objective = energy, "
                     "energy = that of this model / 100"):
            self.assertIn(line + "\n", run.stdout)
        self.assertEqual(target.read_text(), "2 2 -125 250\n0 0 -125\n0 1 250\n")
        target.unlink()
        run, target = self.convert(text, "orvex", "--scale", "exact")
        self.assert_refused(run, target, 'line 2: the bias is "-1.25", but only whole numbers')
        run, target = self.convert(text, "orvex", "--scale", 10)
        self.assert_refused(run, target, "which the scale 10 does not make a whole number")
        run, target = self.convert(text, "orvex", "--scale", "some")
        self.assert_refused(run, target, "the scale is auto, exact or a whole number")

    def test_what_stood_there_stays_when_the_file_is_malformed(self):
        target = self.write("target.orvex", "precious")
        run, _ = self.convert("p qubo 0 2 0 1\n0 1 1.5x\n")
        self.assertEqual(run.returncode, 2)
        self.assertEqual(target.read_text(), "precious")

    def test_what_a_format_cannot_express(self):
        odd = model_text(2, {(0, 1): 3})
        for name in ("maxcut", "biqmac", "orlib", "qs"):
            run, target = self.convert(odd, name)
            self.assert_refused(run, target, "the weight 3 of the variables 0 and 1 (counted from "
                                             "0) is odd; the format " + name)
        for name in ("qaplib", "tsplib"):
            run, target = self.convert(odd, name)
            self.assert_refused(run, target, f"the format {name} can only be read; orvex, qbsolv, ")
        run, target = self.convert(odd, "nonsense")
        self.assert_refused(run, target, 'There is no format "nonsense"')

    def test_a_format_that_contents_do_not_tell(self):
        run, target = self.convert("2 1\n1 2 3\n")
        self.assert_refused(run, target, "Add --from maxcut (in Python, format=\"maxcut\") for ")

    def test_a_target_that_cannot_be_written(self):
        source = self.write("source", "1 0 0 0\n")
        run = orvex("convert", source, self.folder / "no" / "folder", "--to", "coo")
        self.assert_fails(run, 2, "Error: Cannot write")

    def test_the_number_of_variables_survives(self):
        run, coo = self.convert(model_text(5, {(0, 1): 3}), "coo")
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertEqual(coo.read_text(), "# vartype=BINARY\n0 1 3\n4 4 0\n")
        _, back = self.convert(coo, "orvex")
        self.assertEqual(read_model(back), (5, {(0, 1): 3}))


class OtherCommands(ProgramTest):
    def test_solve_tells_the_objective_in_the_files_own_sense(self):
        graph = self.write("graph", "3 3\n1 2 5\n2 3 4\n1 3 -1\n")
        run = orvex("solve", graph, "--from", "maxcut", "--target", -9, "--time-limit", 20)
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertIn("energy            -9\nobjective         9\n", run.stdout)
        self.assertIn("format maxcut, indices from 1, weight of a pair 2 x its entry, maximised, cut "
                      "= -energy\n", run.stderr)
        output = self.folder / "out"
        run = orvex("solve", graph, "--from", "maxcut", "--target", -9, "--time-limit", 20, "--json",
                    "--output", output)
        result = json.loads(run.stdout)
        self.assertEqual((result["energy"], result["objective"]), (-9, 9))
        self.assertEqual((result["format"], result["sense"]), ("maxcut", "maximised"))
        self.assertIn("\nobjective=9\n", output.read_text())

    def test_solve_tells_costs_with_their_offset(self):
        data = self.write("two.dat", "2\n1 3\n4 0\n0 5\n7 9\n")
        run = orvex("solve", data, "--trials", 200, "--json")
        result = json.loads(run.stdout)
        self.assertEqual((result["objective"], result["bits"]), (43, "1001"))
        self.assertEqual(result["energy"], 43 - result["offset"])
        self.assertEqual(result["note"], "penalty 26, proven to be enough")

    def test_check_tells_the_format(self):
        data = self.write("two.dat", "2\n1 3\n4 0\n0 5\n7 2\n")
        run = orvex("check", data, "--penalty", 30)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertIn("equation           cost = energy + 120\n", run.stdout)
        self.assertIn("note               penalty 30, proven to be enough\n", run.stdout)

    def test_instances_and_senses(self):
        data = self.write("bqp", "2\n1 1\n1 1 3\n1 1\n1 1 -4\n")
        facts = json.loads(orvex("check", data, "--instance", 2, "--json").stdout)
        self.assertEqual((facts["note"], facts["largest_weight"]), ("instance 2 of 2", 4))
        self.assert_fails(orvex("check", data), 2, "there are 2 instances")
        qubo = self.write("q", "p qubo 0 1 1 0\n0 0 5\n")
        facts = json.loads(orvex("check", qubo, "--sense", "max", "--json").stdout)
        self.assertEqual((facts["equation"], facts["factor"]), ("value = -energy", -1))
        self.assertEqual(orvex("check", qubo, "--sense", "up").returncode, 2)

    def test_a_pipe_in_another_format(self):
        run = orvex("check", "/dev/stdin", "--json", input="# ObjectiveOffset 1\n1 1\n1 1 2\n")
        self.assertEqual(json.loads(run.stdout)["format"], "qs")


@unittest.skipUnless((DATA / "formats").is_dir(), f"there are no instances in {DATA}")
class Published(ProgramTest):
    """Files of public collections, and the models that they are."""

    def test_they_become_the_models(self):
        for name, model, words in (
                ("G14.txt.gz", "G14", ["--from", "maxcut"]),
                ("G43.txt.gz", "G43", ["--from", "maxcut"]),
                ("pw05_100.0.gz", "pw05_100.0", ["--from", "maxcut"]),
                ("bqp50_1.qubo.gz", "bqp50-1", ["--sense", "max"]),
                ("gka1a.sparse.gz", "gka1a", []),
                ("nug12.dat", "nug12", []),
                ("ulysses16.tsp", "ulysses16", [])):
            target = self.folder / "model"
            run = orvex("convert", DATA / "formats" / name, target, "--to", "orvex", *words)
            self.assertEqual(run.returncode, 0, run.stderr)
            with gzip.open(DATA / "models" / f"{model}.qubo.gz") as file:
                self.assertEqual(target.read_bytes(), file.read(), name)

    def test_offsets_are_those_of_the_best_known_values(self):
        rows = [line.split("\t") for line in (DATA / "best_known.tsv").read_text().splitlines()]
        table = {row[0]: dict(zip(rows[0], row)) for row in rows[1:]}
        for name, file in (("nug12", "nug12.dat"), ("ulysses16", "ulysses16.tsp")):
            facts = json.loads(orvex("check", DATA / "formats" / file, "--json").stdout)
            self.assertEqual(facts["offset"], int(table[name]["offset"]))

    def test_a_published_assignment_has_its_cost(self):
        words = (DATA / "formats" / "nug12.sln").read_text().split()
        size, cost = int(words[0]), int(words[1])
        bits = ["0"] * size * size
        for thing, place in enumerate(words[2:]):
            bits[thing * size + int(place) - 1] = "1"
        start = self.write("start", "".join(bits) + "\n")
        run = orvex("solve", DATA / "formats" / "nug12.dat", "--start", start, "--target",
                    cost - 3552, "--time-limit", 20, "--json")
        self.assertEqual(json.loads(run.stdout)["objective"], cost)


class Documentation(ProgramTest):
    """Every format has its section in docs/formats.md, whose example is read as it says."""

    PAGE = (SOURCE / "docs/formats.md").read_text(encoding="utf-8")
    SECTION = re.compile(r"^### `(\w+)`(.*?)(?=^##)", re.DOTALL | re.MULTILINE)
    BLOCK = re.compile(r"^```\n(.*?)^```$", re.DOTALL | re.MULTILINE)

    def test_every_format_is_there(self):
        shown = orvex("convert", "--help").stdout
        names = re.sub(r"\s+", " ", shown)
        names = re.search(r"leave it open: ([a-z, ]*[a-z])", names).group(1).split(", ")
        self.assertEqual(names, [name for name, _ in self.SECTION.findall(self.PAGE)])

    def test_examples_are_read_as_the_page_says(self):
        for name, section in self.SECTION.findall(self.PAGE):
            example, facts, model = self.BLOCK.findall(section)
            source = self.write("example", example)
            target = self.folder / "model"
            words = ["convert", source, target, "--from", name, "--to", "orvex"]
            options = re.search(r"`(--[a-z]+ \w+)` here", section)
            run = orvex(*words, *(options.group(1).split() if options else []))
            self.assertEqual(run.returncode, 0, f"{name}: {run.stderr}")
            for line in facts.splitlines():
                self.assertIn(line + "\n", run.stdout, name)
            self.assertEqual(target.read_text(), model, name)

    def test_written_formats_are_marked(self):
        shown = re.sub(r"\s+", " ", orvex("convert", "--help").stdout)
        written = re.search(r"format to write: ([a-z, ]*[a-z])", shown).group(1).split(", ")
        for name, section in self.SECTION.findall(self.PAGE):
            self.assertEqual("Only read." in section, name not in written, name)


if __name__ == "__main__":
    unittest.main()
