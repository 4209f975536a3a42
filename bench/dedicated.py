#!/usr/bin/env python3
"""Measures assignments and a route beside solvers that are made for them, for the same seconds on the same processors.

    dedicated.py [--runs 5] [--limit 20]

`orvex solve` sees the QUBO alone, which it makes of a QAPLIB or TSPLIB file. scipy's quadratic_assignment restarts its
2-opt, or FAQ with 2-opt behind it; OR-Tools' routing does a guided local search. Either is started once for each
processor with different seeds, and the better result counts; bench/dedicated_peers.py has the settings. All costs of
ours are computed again from the assignment or the tour that the bits tell. Writes the table of docs/performance.md.
"""
import argparse
import json
import math
import os
import random
import statistics
import subprocess
import sys
import tempfile
from pathlib import Path

import run as bench

PACKAGES = ["numpy", "scipy", "ortools"]
FACILITIES = 30
CITIES = 48
PEERS = {
    "2opt": "scipy, 2-opt",
    "faq": "scipy, FAQ and 2-opt",
    "route": "OR-Tools, guided local search",
}
COLUMNS = ["problem", "variables", "solver", "best", "median", "worst", "median s to it"]


def arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=Path, default=bench.ROOT / "build-bench")
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--limit", type=float, default=20, help="seconds of a run")
    parser.add_argument("--write", type=Path, default=bench.ROOT / "docs/performance.md")
    return parser.parse_args()


# ---- problems: matrices, and the cost of a permutation


def symmetric(size, numbers):
    """A matrix with an empty diagonal and the numbers, one for each pair, on both sides of it."""
    matrix = [[0] * size for _ in range(size)]
    for a in range(size):
        for b in range(a):
            matrix[a][b] = matrix[b][a] = next(numbers)
    return matrix


def uniform_assignment():
    """Flows and distances from 0 to 99, as E. Taillard drew them (Parallel Computing 17, 1991)."""
    rng = random.Random(1)
    draw = iter(lambda: rng.randrange(100), None)
    return {"flows": symmetric(FACILITIES, draw), "distances": symmetric(FACILITIES, draw)}


def points(seed):
    rng = random.Random(seed)
    return [(rng.randrange(1000), rng.randrange(1000)) for _ in range(CITIES)]


def rounded_distance(a, b):
    """EUC_2D of TSPLIB."""
    return int(math.dist(a, b) + 0.5)


def grid_assignment():
    """Sites on a grid of 5 x 6, and flows of which most are small, as in offices and on boards."""
    rng = random.Random(2)
    sites = [(site // 6, site % 6) for site in range(FACILITIES)]
    distances = [[abs(a[0] - b[0]) + abs(a[1] - b[1]) for b in sites] for a in sites]
    draw = iter(lambda: int(100 * rng.random() ** 4), None)
    return {"flows": symmetric(FACILITIES, draw), "distances": distances}


def hidden_assignment():
    """Flows and distances of which a hidden assignment joins the largest with the least: nothing is cheaper."""
    rng = random.Random(3)
    pairs = FACILITIES * (FACILITIES - 1) // 2
    places = rng.sample(range(pairs), pairs)
    flows, distances = [0] * pairs, [0] * pairs
    for place, flow, distance in zip(places, sorted((rng.randrange(1, 100) for _ in places), reverse=True),
                                     sorted(rng.randrange(1, 100) for _ in places)):
        flows[place], distances[place] = flow, distance
    distances = symmetric(FACILITIES, iter(distances))
    site = rng.sample(range(FACILITIES), FACILITIES)
    return {"flows": symmetric(FACILITIES, iter(flows)), "distances": [[distances[a][b] for b in site] for a in site]}


def random_route():
    places = points(4)
    return {"places": places, "distances": [[rounded_distance(a, b) for b in places] for a in places]}


def cost(problem, order):
    """Of an assignment, the site of each facility; of a route, the place of each city in it."""
    size, distances = len(order), problem["distances"]
    if "flows" in problem:
        return sum(problem["flows"][a][b] * distances[order[a]][order[b]] for a in range(size) for b in range(size))
    tour = sorted(range(size), key=order.__getitem__)
    return sum(distances[tour[k - 1]][tour[k]] for k in range(size))


def write_problem(problem, folder):
    """The problem in the format of its library; returns the words that tell the program how to read it."""
    path = folder / "problem.txt"
    if "flows" in problem:
        rows = [" ".join(map(str, row)) for key in ("flows", "distances") for row in problem[key]]
        path.write_text("\n".join([str(len(problem["flows"])), *rows, ""]))
        return [path, "--from", "qaplib"]
    head = ["TYPE: TSP", f"DIMENSION: {CITIES}", "EDGE_WEIGHT_TYPE: EUC_2D", "NODE_COORD_SECTION"]
    rows = [f"{city} {x} {y}" for city, (x, y) in enumerate(problem["places"], 1)]
    path.write_text("\n".join([*head, *rows, "EOF", ""]))
    return [path, "--from", "tsplib"]


PROBLEMS = {
    f"assignment, {FACILITIES}, uniform": (uniform_assignment, ["2opt", "faq"]),
    f"assignment, {FACILITIES}, grid": (grid_assignment, ["2opt", "faq"]),
    f"assignment, {FACILITIES}, hidden": (hidden_assignment, ["2opt", "faq"]),
    f"route, {CITIES} cities": (random_route, ["route"]),
}

# ---- solvers: cost, and seconds until it was found


def our_run(args, problem, words, seed):
    result = json.loads(subprocess.run(
        [args.build / "app/orvex", "solve", *words, "--time-limit", str(args.limit), "--seed", str(seed), "--json",
         "--quiet"], check=True, stdout=subprocess.PIPE, text=True).stdout)
    size = math.isqrt(result["size"])
    rows = [result["bits"][k:k + size] for k in range(0, size * size, size)]
    order = [row.find("1") for row in rows]
    if any(row.count("1") != 1 for row in rows) or len(set(order)) != size:
        return {"cost": math.inf, "seconds": math.inf}
    assert cost(problem, order) == result["objective"]
    return {"cost": result["objective"], "seconds": result["presolve_time"] + result["tts"]}


def peer_run(args, python, solver, folder, seed):
    processes = [subprocess.Popen([python, bench.ROOT / "bench/dedicated_peers.py", solver, folder / "problem.json",
                                   str(args.limit), str(seed + core)], stdout=subprocess.PIPE, text=True)
                 for core in range(len(os.sched_getaffinity(0)))]
    results = [json.loads(process.communicate()[0]) for process in processes]
    return min(results, key=lambda result: (result["cost"], result["seconds"]))


def row(name, variables, solver, runs):
    costs = [run["cost"] for run in runs]
    seconds = statistics.median(run["seconds"] for run in runs)
    cells = [name, variables, solver, min(costs), statistics.median_high(costs), max(costs), f"{seconds:.2f}"]
    return "| " + " | ".join(map(str, cells)) + " |"


def main():
    args = arguments()
    python = bench.peer_python(args.build, "peers-dedicated", PACKAGES)
    lines = ["| " + " | ".join(COLUMNS) + " |", "|" + " --- |" * len(COLUMNS)]
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        for title, (make, peers) in PROBLEMS.items():
            problem = make()
            words = write_problem(problem, folder)
            (folder / "problem.json").write_text(json.dumps(problem))
            runs = {solver: [] for solver in ["orvex", *peers]}
            for number in range(args.runs):  # solvers take turns, so that a slow hour hits them all
                for solver in runs:
                    runs[solver].append(our_run(args, problem, words, 1 + number) if solver == "orvex" else
                                        peer_run(args, python, solver, folder, 1 + 100 * number))
            for solver in runs:
                lines.append(row(title, len(problem["distances"]) ** 2, PEERS.get(solver, solver), runs[solver]))
                print(lines[-1], file=sys.stderr, flush=True)
    bench.write_section(args.write, "dedicated", "\n".join(lines))


if __name__ == "__main__":
    main()
