#!/usr/bin/env python3
"""Measures the families of `orvex generate` that have structure, beside annealing and tabu with ten times the time.

    families.py [--runs 3] [--limit 5] [--families WORD ...]

`orvex solve` chooses everything by itself and uses all processors. dwave-samplers' simulated annealing is started
once for each processor with different seeds, and so is its tabu search for models of at most TABU_SIZE variables;
the best of all their reads counts. Their time begins when the model is read and set up; a read that has begun is
finished. bench/peers.py has the settings, "long_annealing" and "long_tabu". Where our energy is proven to be the
lowest, the others may stop when they reach it. Writes the table of docs/performance.md.
"""
import argparse
import gzip
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import run as bench

PACKAGES = ["dwave-samplers"]
PEER_FACTOR = 10
TABU_SIZE = 3500
NO_TARGET = -10**18
FAMILIES = {
    "torus, unit, 55 x 55": "torus --rows 55 --columns 55",
    "torus, signed, 100 x 100": "torus --rows 100 --columns 100 --signs 1",
    "torus, signed, 245 x 245": "torus --rows 245 --columns 245 --signs 1",
    "planar, 10000": "planar --size 10000 --density 99 --seed 1",
    "planar union, 3000": "planar --size 3000 --density 99 --seed 1 --second 2",
    "planar union, signed, 20000": "planar --size 20000 --density 99 --seed 1 --second 2 --signs 1",
    "road, 10000": "road --size 10000",
    "road, Gaussian, 60000": "road --size 60000 --gaussian 1",
    "geometric, 3000": "geometric --size 3000 --degree 8",
    "geometric, Gaussian, 30000": "geometric --size 30000 --degree 8 --gaussian 1",
    "2D lattice, signed, 64 x 64, closed": "lattice --rows 64 --columns 64 --closed --signs 1",
    "2D lattice, Gaussian, 200 x 200, closed": "lattice --rows 200 --columns 200 --closed --gaussian 1",
    "3D lattice, signed, 12 x 12 x 12, closed": "lattice --rows 12 --columns 12 --layers 12 --closed --signs 1",
    "3D lattice, signed, 32 x 32 x 32, closed": "lattice --rows 32 --columns 32 --layers 32 --closed --signs 1",
    "3D lattice, Gaussian, 12 x 12 x 12, closed": "lattice --rows 12 --columns 12 --layers 12 --closed --gaussian 1",
    "3D lattice, Gaussian, 32 x 32 x 32, closed": "lattice --rows 32 --columns 32 --layers 32 --closed --gaussian 1",
    "random graph, unit, 40000": "maxcut --size 40000 --edges 60000",
    "random graph, signed, 5000": "maxcut --size 5000 --edges 12500 --signs 1",
    "regular, degree 6, 3000": "regular --size 3000 --degree 6",
    "regular, degree 3, 60000": "regular --size 60000 --degree 3",
    "sparse, 1000": "sparse --size 1000 --entries 10000",
    "sparse, 50000": "sparse --size 50000 --entries 150000",
}
COLUMNS = ["model", "variables", "couplings", "after presolve", "orvex, median", "worst", "longest run, s", "annealing",
           "tabu", "better"]


def arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=Path, default=bench.ROOT / "build-bench")
    parser.add_argument("--runs", type=int, default=3, help="runs of orvex")
    parser.add_argument("--limit", type=float, default=5, help="seconds of a run of orvex")
    parser.add_argument("--families", nargs="+", default=[""], metavar="WORD",
                        help="beginnings of names; all by default")
    parser.add_argument("--write", type=Path, default=bench.ROOT / "docs/performance.md")
    return parser.parse_args()


def couplings(path):
    """Lines of a model file that are about two variables."""
    with gzip.open(path, "rt") as file:
        next(file)
        return sum(line.split()[0] != line.split()[1] for line in file)


def our_runs(args, name):
    """Results, each with the wall clock of the whole program: reading, presolve and search."""
    results = []
    for seed in range(1, args.runs + 1):
        start = time.monotonic()
        result = bench.solve(args, name, args.limit, options=["--seed", str(seed)])
        results.append(result | {"wall": time.monotonic() - start})
    return results


def row(args, python, name, words):
    file = "model"
    path = args.models / f"{file}.qubo.gz"
    subprocess.run([args.build / "app/orvex", "generate", *words.split(), path], check=True)
    runs = our_runs(args, file)
    energies = [run["energy"] for run in runs]
    median = statistics.median_high(energies)
    proven = all(run["status"] == "optimal" for run in runs)
    others = argparse.Namespace(models=args.models, limit=PEER_FACTOR * args.limit)
    solvers = ["long_annealing"] + (["long_tabu"] if runs[0]["size"] <= TABU_SIZE else [])
    found = [bench.peer_run(others, python, solver, file, median if proven else NO_TARGET, 1)["energy"]
             for solver in solvers]
    better = "equal" if median == min(found) else "orvex" if median < min(found) else "others"
    cells = [name, runs[0]["size"], couplings(path), runs[0]["searched_size"],
             f"{median}{' (proven)' if proven else ''}", max(energies), f"{max(run['wall'] for run in runs):.1f}",
             found[0], found[1] if len(found) > 1 else "", better]
    return "| " + " | ".join(map(str, cells)) + " |"


def main():
    args = arguments()
    python = bench.peer_python(args.build, "peers-families", PACKAGES)
    lines = ["| " + " | ".join(COLUMNS) + " |", "|" + " --- |" * len(COLUMNS)]
    with tempfile.TemporaryDirectory() as folder:
        args.models = Path(folder)
        for name, words in FAMILIES.items():
            if name.startswith(tuple(args.families)):
                lines.append(row(args, python, name, words))
                print(lines[-1], file=sys.stderr, flush=True)
    bench.write_section(args.write, "families", "\n".join(lines))


if __name__ == "__main__":
    main()
