"""orvex generate: models for experiments."""
import gzip
import hashlib
import json
import os
import resource
import signal
import stat
import subprocess
import time
import unittest

from support import PROGRAM, SOURCE, ProgramTest, generate, orvex

MODELS = SOURCE / "../shared/data/models"

# Published instances that a command makes byte for byte, and the digest of the file.
PUBLISHED = {
    "p3000.1": (
        "palubeckis --size 3000 --density 50 --seed 31000",
        "650f32db6ae5ee7ff0ee34611245773bc503b61c7480a7151cf17788fb38eac3"),
    "K2000": (
        "k2000",
        "2daf86a1f0d00b25ac55a69ef1dfe26e9f4e8d02c55986b3aa506dbc0f84765a"),
    "G1": (
        "maxcut --size 800 --density 6 --seed 8001",
        "1625fa25e49ca017f58484251c358dfa0b16dbb61b7133c927042bdcbcb2b533"),
    "G14": (
        "planar --size 800 --density 99 --seed 8001 --second 8002",
        "e879d38b1de2c28568676c55b23ff9bc4db442e06d35b6e20ec75d9e8bc1d919"),
    "G22": (
        "maxcut --size 2000 --density 1 --seed 20001",
        "2f3f45a8628f0aaf6709ceebb2aaa68b038bce7db0a673a72e147d578accc8d0"),
    "G32": (
        "torus --rows 100 --columns 20 --signs 20003",
        "5e3483a467709a1563dbd242a0506eb56715499d351470765a6b158a6bb0b40a"),
    "G35": (
        "planar --size 2000 --density 99 --seed 20001 --second 20002",
        "2a9d958c244185734a4c9862b857b979b83535af0d2ad0e7fdc879d0b427b2d2"),
    "G39": (
        "planar --size 2000 --density 99 --seed 20001 --second 20002 --signs 20001",
        "573663feba47c4c3ba1b422c861038ed6f1e94b85273570b04626648ebb577c2"),
    "G43": (
        "maxcut --size 1000 --density 2 --seed 10001",
        "6398b658a6c0e70f384c28a82b7767c5e79e755ff46a7da6fe8b32c0bffa5ac3"),
    "G48": (
        "torus --rows 50 --columns 60",
        "41a9785b3030ecac4e0dccf7db7d95bc64f1deec6083e99a1904be7360ea67cd"),
    "G55": (
        "maxcut --size 5000 --edges 12498 --seed 50001",
        "f4dfd88ff0e98c4e91b4985de2d9b053a0b10574f84e12e88e9c408889374f24"),
    "G60": (
        "maxcut --size 7000 --edges 17148 --seed 70001",
        "364e5601c06df9789853338b84248b7ff45b9189b49f52174a96134b8e1ce188"),
    "G70": (
        "maxcut --size 10000 --edges 9999 --seed 100001",
        "08384703be0496482b8fa1fe60d5f7159a9d0d9b1cb222819cddf8b5ac06c449"),
    "G81": (
        "torus --rows 200 --columns 100 --signs 200001",
        "daf2e5d897caef86a3d6b8e135631adafdacb7041422c4587eddc2f30c81fb1d"),
}


class Published(ProgramTest):
    def test_instances_come_out_as_published(self):
        for name, (words, digest) in PUBLISHED.items():
            with self.subTest(name):
                file = self.folder / name
                run = orvex("generate", *words.split(), file)
                self.assertEqual((run.returncode, run.stdout, run.stderr), (0, "", ""))
                text = file.read_bytes()
                self.assertEqual(hashlib.sha256(text).hexdigest(), digest)
                shared = MODELS / f"{name}.qubo.gz"
                if shared.exists():
                    self.assertTrue(text == gzip.decompress(shared.read_bytes()), "differs")


class Kinds(ProgramTest):
    def test_dense(self):
        header, weights = generate("dense", "--size", 30, "--seed", 7, "--smallest", -3,
                                   "--largest", 5)
        state, expected = 7, {}
        for i in range(30):
            for j in range(i, 30):
                state = (state * 6364136223846793005 + 1442695040888963407) % 2**64
                expected[i, j] = (state >> 32) % 9 - 3
        expected = {pair: w for pair, w in expected.items() if w != 0}
        self.assertEqual(weights, expected)
        self.assertEqual(header, [30, len(expected), -3, 5])

    def test_sparse_has_as_many_entries_as_asked_for(self):
        for entries in (0, 1, 100, 819, 820):
            header, weights = generate("sparse", "--size", 40, "--entries", entries,
                                       "--smallest", -2, "--largest", 1)
            self.assertEqual((header[:2], len(weights)), ([40, entries], entries))
            self.assertLessEqual(set(weights.values()), {-2, -1, 1})
        self.assertEqual(len(generate("sparse", "--size", 40, "--density", 50)[1]), 410)
        self.assertEqual(generate("sparse", "--size", 40, "--entries", 0)[0], [40, 0, 0, 0])

    def test_sparse_takes_every_pair_equally_often(self):
        counts = dict.fromkeys(((i, j) for i in range(4) for j in range(i, 4)), 0)
        for seed in range(400):
            for pair in generate("sparse", "--size", 4, "--entries", 3, "--seed", seed)[1]:
                counts[pair] += 1
        for pair, count in counts.items():  # 120 expected, with a deviation of 9
            self.assertTrue(75 < count < 165, f"{pair}: {count}")

    def test_the_lowest_energy_of_a_graph_is_minus_its_greatest_cut(self):
        for words in (["maxcut", "--size", 9, "--edges", 20, "--seed", 3, "--signs", 4],
                      ["torus", "--rows", 3, "--columns", 4], ["k2000", "--size", 7],
                      ["planar", "--size", 8, "--density", 80]):
            (size, *_), weights = generate(*words)
            edges = {pair: w // 2 for pair, w in weights.items() if pair[0] != pair[1]}
            for bits in range(2 ** size):
                side = [bits >> i & 1 for i in range(size)]
                cut = sum(w for (i, j), w in edges.items() if side[i] != side[j])
                energy = sum(w for (i, j), w in weights.items() if side[i] and side[j])
                self.assertEqual(energy, -cut)

    def test_graphs_have_the_edges_that_are_asked_for(self):
        def edges(*words):
            weights = generate(*words)[1]
            return {pair: w // 2 for pair, w in weights.items() if pair[0] != pair[1]}

        self.assertEqual(len(edges("maxcut", "--size", 30, "--edges", 435)), 435)
        self.assertEqual(len(edges("maxcut", "--size", 30, "--density", 10)), 44)  # of 43.5
        self.assertEqual(len(edges("planar", "--size", 30, "--density", 100)), 84)
        self.assertEqual(len(edges("planar", "--size", 30, "--density", 50)), 42)
        self.assertEqual(len(edges("torus", "--rows", 5, "--columns", 3)), 30)
        self.assertEqual(set(edges("k2000", "--size", 30).values()), {-1, 1})
        plain = ["maxcut", "--size", 30, "--edges", 200]
        self.assertEqual(set(edges(*plain).values()), {1})
        self.assertEqual(set(edges(*plain, "--signs", 2).values()), {-1, 1})
        self.assertEqual(edges(*plain).keys(), edges(*plain, "--signs", 2).keys())

    def test_seeds_differ(self):
        for words in (["dense", "--size", 9], ["sparse", "--size", 9, "--entries", 9],
                      ["maxcut", "--size", 9, "--edges", 18], ["k2000", "--size", 9],
                      ["planar", "--size", 9, "--density", 70],
                      ["palubeckis", "--size", 9, "--density", 50]):
            self.assertNotEqual(generate(*words, "--seed", 1), generate(*words, "--seed", 2))


class Files(ProgramTest):
    def test_a_name_in_gz_is_compressed(self):
        plain, packed = self.folder / "m.qubo", self.folder / "m.qubo.gz"
        for file in (plain, packed):
            orvex("generate", "dense", "--size", 50, file)
        self.assertEqual(gzip.decompress(packed.read_bytes()), plain.read_bytes())

    def test_check_reads_what_is_made(self):
        file = self.folder / "m.qubo"
        orvex("generate", "sparse", "--size", 500, "--entries", 900, file)
        facts = json.loads(orvex("check", file, "--json").stdout)
        self.assertEqual((facts["size"], facts["entries"], facts["nonzero"]), (500, 900, 900))
        self.assertEqual(facts["warnings"], [])

    def test_a_link_stays_and_its_file_is_replaced(self):
        file, link = self.write("m.qubo", "old"), self.folder / "link"
        link.symlink_to(file)
        mask = os.umask(0o027)
        self.addCleanup(os.umask, mask)
        orvex("generate", "dense", "--size", 3, link)
        self.assertTrue(link.is_symlink())
        self.assertTrue(file.read_text(encoding="utf-8").startswith("3 "))
        self.assertEqual(stat.S_IMODE(file.stat().st_mode), 0o640)

    def test_what_cannot_be_written_leaves_the_old_file(self):
        def small_files_only():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (1000, 1000))

        file = self.write("m.qubo", "old")
        run = orvex("generate", "dense", "--size", 300, file, preexec_fn=small_files_only)
        self.assert_fails(run, 4, f"Error: Cannot write {file}: File too large")
        self.assertEqual([path.read_text(encoding="utf-8") for path in self.folder.iterdir()],
                         ["old"])
        run = orvex("generate", "dense", "--size", 300, "/dev/full")
        self.assert_fails(run, 4, "Cannot write /dev/full: No space left on device")

    def test_ctrl_c_leaves_nothing_behind(self):
        with subprocess.Popen([PROGRAM, "generate", "dense", "--size", "65536",
                               self.folder / "m.qubo"]) as process:
            while not list(self.folder.iterdir()):
                time.sleep(0.01)
            process.send_signal(signal.SIGINT)
            self.assertEqual(process.wait(), -signal.SIGINT)
        self.assertEqual(list(self.folder.iterdir()), [])


class Refusals(ProgramTest):
    def test_wrong_parameters_write_nothing(self):
        for words, text in (
                ("dense OUT", "--size is required"),
                ("dense --size 0 OUT", "--size is 0, not from 1 to 65536"),
                ("dense --size 65537 OUT", "--size is 65537, not from 1 to 65536"),
                ("dense --size 1e3 OUT", "--size = 1e3"),
                ("dense --size 4 --smallest 5 --largest 4 OUT", "--smallest is above --largest"),
                ("dense --size 4 --smallest 0 --largest 4294967296 OUT", "4294967296 or more apart"),
                ("dense --size 4", "OUT is required"),
                ("sparse --size 5 OUT", "one of --entries and --density must be given"),
                ("sparse --size 5 --entries 3 --density 4 OUT", "one of --entries and --density"),
                ("sparse --size 5 --entries 16 OUT", "--entries is 16, not from 0 to 15"),
                ("sparse --size 5 --entries 1 --smallest 0 --largest 0 OUT", "allow only 0"),
                ("palubeckis --size 5 OUT", "--density is required"),
                ("palubeckis --size 5 --density nan OUT", "from 0 to 100, per cent"),
                ("palubeckis --size 5 --density 50 --seed 0 OUT", "--seed is 0, not from 1 to"),
                ("maxcut --size 5 --density 101 OUT", "from 0 to 100, per cent"),
                ("maxcut --size 5 --edges 11 OUT", "--edges is 11, not from 0 to 10"),
                ("maxcut --size 5 --edges 4 --signs -1 OUT", "--signs is -1, not from 0"),
                ("torus --rows 2 --columns 9 OUT", "--rows is 2, not from 3 to"),
                ("torus --rows 300 --columns 300 OUT", "--rows times --columns is 90000"),
                ("planar --size 2 --density 50 OUT", "--size is 2, not from 3 to 65536"),
                ("road --size 9 --degree 5 OUT", "from 2 to 4"),
                ("geometric --size 9 --degree 9 OUT", "--degree is 9, not from 1 to 8"),
                ("lattice --rows 2 --columns 9 --closed OUT", "lengths of 1 or of 3 and more"),
                ("lattice --rows 99 --columns 99 --layers 99 OUT", "--layers is 970299"),
                ("lattice --rows 9 --columns 9 --signs 1 --gaussian 1 OUT", "exclude each other"),
                ("lattice --rows 9 --columns 9 --gaussian 1 --deviation 0 OUT", "--deviation is 0"),
                ("regular --size 9 --degree 9 OUT", "--degree is 9, not from 1 to 8"),
                ("colouring --size 5 --colours 3 --edges 9 OUT", "--edges is 9, not from 0 to 8"),
                ("knapsack --items 1001 OUT", "--items is 1001, not from 1 to 1000"),
                ("assignment --size 257 OUT", "--size is 257, not from 1 to 256"),
                ("qap --size 3 --most 10001 OUT", "--most is 10001, not from 1 to 10000"),
                ("schedule --machines 50 --jobs 30 --time 60 OUT", "is 75000, not from 4 to"),
                ("schedule --machines 2 --jobs 9 --time 8 OUT", "--time is 8, not from 9 to"),
                ("k2000 --seed 2147483648 OUT", "--seed is 2147483648, not from 0"),
                ("nonsense --size 5 OUT", "nonsense"),
                ("", "name a kind of model")):
            with self.subTest(words):
                words = words.replace("OUT", str(self.folder / "m.qubo"))
                self.assert_fails(orvex("generate", *words.split()), 2, text)
                self.assertEqual(list(self.folder.iterdir()), [])

    def test_a_place_that_cannot_be_written(self):
        for place, text in ((self.folder, "a directory"),
                            (self.folder / "none/m.qubo", "No such file or directory")):
            run = orvex("generate", "dense", "--size", 4, place)
            self.assert_fails(run, 2, f"Error: Cannot write {place}: {text}")


if __name__ == "__main__":
    unittest.main()
