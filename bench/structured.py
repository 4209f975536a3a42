#!/usr/bin/env python3
"""Measures structured models: what the program reaches with the settings that it chooses by itself.

    structured.py --models FOLDER [--runs 5] [--limit 30] [--peer PYTHON] [--instances NAME ...]

Each run ends at the best known energy of FOLDER/../best_known.tsv or at the limit. Beside it, with --peer, an
interpreter that has dwave-samplers anneals the original model on one core for as long, 1000 sweeps a read.
Families that `orvex generate` makes with a known lowest energy are generated and measured too. Prints a table
in Markdown.
"""
import argparse
import csv
import json
import os
import pathlib
import re
import statistics
import subprocess
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
INSTANCES = ("G32 G48 G35 G39 G51 G22 G55 G60 G70 G81 toruspm3-8-50 torusg3-8 t3g5_5555 nug12 nug20 tai20a tai20b "
             "gr17 bayg29").split()
GENERATED = {
    "colouring, 200 vertices, 4 colours": "colouring --size 200 --colours 4 --edges 800",
    "knapsack, 200 items": "knapsack --items 200",
    "assignment, 20 x 20": "assignment --size 20",
    "quadratic assignment, 30": "qap --size 30",
    "schedule, 4 machines": "schedule --machines 4 --jobs 8 --time 500",
}


def arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--program", default=ROOT / "build/app/orvex")
    parser.add_argument("--models", type=pathlib.Path, required=True)
    parser.add_argument("--instances", nargs="+", default=INSTANCES)
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--limit", type=float, default=30, help="seconds of a run")
    parser.add_argument("--peer", help="interpreter with dwave-samplers and dimod")
    parser.add_argument("--generated", action="store_true", help="generated families only")
    return parser.parse_args()


def solve(args, model, target, seed):
    run = subprocess.run([args.program, "solve", model, "--time-limit", str(args.limit), "--target", str(target),
                          "--seed", str(seed), "--json", "--quiet"], check=True, stdout=subprocess.PIPE, text=True)
    return json.loads(run.stdout)


def peer(args, model, target, seed):
    if not args.peer:
        return None
    run = subprocess.run([args.peer, ROOT / "bench/peers.py", "annealing", model, str(target), str(args.limit),
                          str(seed)], check=True, stdout=subprocess.PIPE, text=True)
    return json.loads(run.stdout)["energy"]


def row(args, name, model, target):
    runs = [solve(args, model, target, seed) for seed in range(1, args.runs + 1)]
    energies = [run["energy"] for run in runs]
    times = [run["tts"] if run["energy"] <= target else float("inf") for run in runs]
    reached = sum(energy <= target for energy in energies)
    median = statistics.median(times)
    peers = [peer(args, model, target, seed) for seed in range(1, 1 + (2 if args.peer else 0))]
    cells = [name, runs[0]["size"], runs[0]["searched_size"], target, f"{reached} of {args.runs}",
             f"{median:.2f}" if median < float("inf") else f"> {args.limit:g}",
             int(statistics.median(energies)), max(energies),
             " ".join(sorted({run["found_by"] for run in runs}))]
    if args.peer:
        cells.append(min(peers))
    print("| " + " | ".join(map(str, cells)) + " |", flush=True)


def main():
    args = arguments()
    head = ["model", "variables", "after presolve", "best known", "reached", "median s", "median energy", "worst",
            "found by"] + (["annealing, best of 2"] if args.peer else [])
    print("| " + " | ".join(head) + " |\n|" + " --- |" * len(head), flush=True)
    if not args.generated:
        with open(args.models.parent / "best_known.tsv", encoding="utf-8") as file:
            best = {line["instance"]: int(line["energy"]) for line in csv.DictReader(file, delimiter="\t")}
        for name in args.instances:
            row(args, name, args.models / f"{name}.qubo.gz", best[name])
    with tempfile.TemporaryDirectory() as folder:
        for name, words in GENERATED.items():
            model = os.path.join(folder, "model.qubo.gz")
            told = subprocess.run([args.program, "generate", *words.split(), model], check=True,
                                  stderr=subprocess.PIPE, text=True).stderr
            row(args, name, model, int(re.search(r"lowest energy\s+(-?\d+)", told)[1]))


if __name__ == "__main__":
    main()
