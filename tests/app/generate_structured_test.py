"""orvex generate: models with a structure, and those whose lowest energy is known."""
import json
import unittest

from support import ProgramTest, generate, orvex


def edges_of(*words):
    """The size and the edges of a kind that is a Max-Cut problem, with their weights."""
    (size, *_), weights = generate(*words)
    return size, {pair: w // 2 for pair, w in weights.items() if pair[0] != pair[1]}


def degrees_of(size, edges):
    degrees = [0] * size
    for i, j in edges:
        degrees[i] += 1
        degrees[j] += 1
    return degrees


class Structures(ProgramTest):
    def test_roads_join_all_vertices_and_have_low_degree(self):
        for degree in (2, 2.6, 3.4):
            size, edges = edges_of("road", "--size", 3000, "--degree", degree, "--seed", 5)
            self.assertAlmostEqual(2 * len(edges) / size, degree, delta=0.03)
            self.assertLessEqual(max(degrees_of(size, edges)), 8)
            leader = list(range(size))

            def find(vertex):
                while leader[vertex] != vertex:
                    leader[vertex] = leader[leader[vertex]]
                    vertex = leader[vertex]
                return vertex
            for i, j in edges:
                leader[find(i)] = find(j)
            self.assertEqual(len({find(vertex) for vertex in range(size)}), 1)

    def test_geometric_graphs_join_near_points(self):
        size, edges = edges_of("geometric", "--size", 2000, "--degree", 12, "--seed", 3)
        state, points = 3, []

        def number():
            nonlocal state
            state = (state * 6364136223846793005 + 1442695040888963407) % 2**64
            return (state >> 32) % 2**20
        for _ in range(size):
            x = number()
            points.append((x, number()))
        square = 12 * 2**40 * 113 // 355 // size
        near = {(i, j) for j in range(size) for i in range(j)
                if (points[i][0] - points[j][0])**2 + (points[i][1] - points[j][1])**2 < square}
        self.assertEqual(set(edges), near)
        self.assertTrue(10 < 2 * len(edges) / size < 12)

    def test_lattices(self):
        def lattice(*words):
            return edges_of("lattice", *words)
        size, edges = lattice("--rows", 2, "--columns", 3)
        self.assertEqual((size, set(edges)), (6, {(0, 1), (1, 2), (3, 4), (4, 5),
                                                  (0, 3), (1, 4), (2, 5)}))
        size, edges = lattice("--rows", 4, "--columns", 5, "--layers", 3, "--closed")
        self.assertEqual((size, degrees_of(size, edges)), (60, [6] * 60))
        self.assertIn((0, 40), edges)  # from the first layer to the last
        self.assertEqual(len(lattice("--rows", 4, "--columns", 5, "--layers", 3)[1]),
                         3 * (3 * 5 + 4 * 4) + 2 * 20)
        closed = edges_of("lattice", "--rows", 5, "--columns", 4, "--closed")[1]
        self.assertEqual(closed, edges_of("torus", "--rows", 5, "--columns", 4)[1])

    def test_gaussian_weights(self):
        words = ["lattice", "--rows", 60, "--columns", 60, "--closed", "--gaussian"]
        weights = list(edges_of(*words, 1, "--deviation", 500)[1].values())
        mean = sum(weights) / len(weights)
        deviation = (sum(w * w for w in weights) / len(weights) - mean**2)**0.5
        self.assertLess(abs(mean), 25)  # of 7200 weights, whose mean deviates by 6
        self.assertTrue(485 < deviation < 515, deviation)
        within = sum(abs(w) <= 500 for w in weights) / len(weights)
        self.assertTrue(0.66 < within < 0.71, within)  # 0.683 of a normal distribution
        self.assertNotEqual(weights, list(edges_of(*words, 2, "--deviation", 500)[1].values()))

    def test_regular_graphs_have_one_degree_nearly_everywhere(self):
        (size, entries, *_), weights = generate("regular", "--size", 2000, "--degree", 5,
                                                "--smallest", 1, "--largest", 9, "--seed", 2)
        degrees = degrees_of(size, [pair for pair in weights if pair[0] != pair[1]])
        self.assertEqual(max(degrees), 5)
        self.assertGreater(degrees.count(5), 1950)
        self.assertEqual(set(weights.values()), set(range(1, 10)))
        self.assertEqual(sum(pair[0] == pair[1] for pair in weights), 2000)

    def test_seeds_differ(self):
        for words in (["road", "--size", 300], ["geometric", "--size", 99, "--degree", 5],
                      ["regular", "--size", 30, "--degree", 3]):
            self.assertNotEqual(generate(*words, "--seed", 1), generate(*words, "--seed", 2))


class KnownAnswers(ProgramTest):
    """The energy that is told is the lowest of all bit vectors."""

    KINDS = (["colouring", "--size", 5, "--colours", 3, "--edges", 7],
             ["colouring", "--size", 7, "--colours", 2, "--density", 100],
             ["knapsack", "--items", 8, "--most", 9],
             ["knapsack", "--items", 1, "--most", 1],
             ["assignment", "--size", 4, "--most", 20],
             ["assignment", "--size", 1],
             ["qap", "--size", 3, "--most", 7],
             ["qap", "--size", 4, "--most", 5],
             ["schedule", "--machines", 2, "--jobs", 3, "--time", 9],
             ["schedule", "--machines", 3, "--jobs", 1, "--time", 4])

    def lowest(self, size, weights):
        """Of all bit vectors, each after the other by one flip."""
        rows = [[0] * size for _ in range(size)]
        for (i, j), w in weights.items():
            rows[i][j] = rows[j][i] = w
        deltas, bits, energy, best = [rows[i][i] for i in range(size)], [0] * size, 0, 0
        for step in range(1, 2**size):
            flipped = (step & -step).bit_length() - 1
            energy += deltas[flipped]
            sign = 1 - 2 * bits[flipped]
            for i in range(size):
                if i != flipped and rows[i][flipped]:
                    deltas[i] += rows[i][flipped] * sign * (1 - 2 * bits[i])
            deltas[flipped] = -deltas[flipped]
            bits[flipped] ^= 1
            best = min(best, energy)
        return best

    def test_they_are_the_lowest(self):
        for words in self.KINDS:
            for seed in (1, 2):
                with self.subTest(words, seed=seed):
                    file = self.folder / "m.qubo"
                    run = orvex("generate", *words, "--seed", seed, file)
                    self.assertEqual((run.returncode, run.stdout), (0, ""), run.stderr)
                    numbers = list(map(int, file.read_text(encoding="utf-8").split()))
                    weights = {(i, j): w for i, j, w in
                               zip(numbers[4::3], numbers[5::3], numbers[6::3])}
                    self.assertEqual(run.stderr,
                                     f"lowest energy  {self.lowest(numbers[0], weights)}\n")

    def test_they_are_found(self):
        for words in (["colouring", "--size", 30, "--colours", 4, "--edges", 60],
                      ["assignment", "--size", 12], ["knapsack", "--items", 40],
                      ["schedule", "--machines", 3, "--jobs", 4, "--time", 50]):
            with self.subTest(words):
                file = self.folder / "m.qubo"
                lowest = orvex("generate", *words, file).stderr.split()[-1]
                run = orvex("solve", file, "--target", lowest, "--time-limit", 20, "--json")
                self.assertEqual(json.loads(run.stdout)["energy"], int(lowest))

    def test_a_colouring_has_as_many_edges_as_asked_for(self):
        run = orvex("generate", "colouring", "--size", 10, "--colours", 3, "--edges", 33, "-")
        weights = [line.split() for line in run.stdout.splitlines()[1:]]
        self.assertEqual(sum(w == "1" for _, _, w in weights), 33 * 3)


if __name__ == "__main__":
    unittest.main()
