#!/usr/bin/env python3
"""Measures what presolve is worth: searches with and without it, and annealing of what it leaves.

    presolve_gain.py --models FOLDER [--runs 5] [--limit 20] [--peer PYTHON] [--peer-runs 2]

Every instance of FOLDER of which presolve takes something, and generated models that are sparse in different ways,
are searched with and without presolve, else with the settings that the program chooses by itself. A run ends at the
best known energy of FOLDER/../best_known.tsv, or at the limit; generated models have none, and three runs each.
With --peer, an interpreter that has dwave-samplers, models are annealed as they are and as presolve leaves them, as
long and on the same cores. Prints a table in Markdown.
"""
import argparse
import csv
import json
import os
import pathlib
import statistics
import subprocess
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
GENERATED = {
    "road, 20000": "road --size 20000",
    "planar, 5000": "planar --size 5000 --density 90",
    "geometric, 20000": "geometric --size 20000 --degree 6",
    "sparse, 20000": "sparse --size 20000 --entries 60000",
    "random graph, 20000": "maxcut --size 20000 --edges 25000",
}
GENERATED_RUNS = 3
NO_TARGET = -2**62


def arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--program", default=ROOT / "build/app/orvex")
    parser.add_argument("--models", type=pathlib.Path, required=True)
    parser.add_argument("--instances", nargs="+", help="these alone, no generated models")
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--limit", type=float, default=20, help="seconds of a run")
    parser.add_argument("--peer", help="interpreter with dwave-samplers and dimod")
    parser.add_argument("--peer-runs", type=int, default=2)
    return parser.parse_args()


def solve(args, model, target, presolve, limit, seed=1):
    run = subprocess.run([args.program, "solve", model, "--time-limit", str(limit), "--target", str(target),
                          "--presolve", presolve, "--seed", str(seed), "--json", "--quiet"],
                         check=True, stdout=subprocess.PIPE, text=True)
    return json.loads(run.stdout)


def anneal(args, model, target):
    """The best of processes with different seeds, one for each core and run."""
    cores = len(os.sched_getaffinity(0))
    energies = []
    for first in range(0, args.peer_runs * cores, cores):
        processes = [subprocess.Popen([args.peer, ROOT / "bench/peers.py", "annealing", model, str(target),
                                       str(args.limit), str(first + core)], stdout=subprocess.PIPE, text=True)
                     for core in range(cores)]
        energies.append(min(json.loads(process.communicate()[0])["energy"] for process in processes))
    return energies


def reduced(args, model, folder):
    """The file of what presolve leaves, and what is to be added to its energies."""
    left = os.path.join(folder, "left.qubo.gz")
    subprocess.run([args.program, "presolve", model, left], check=True, stdout=subprocess.DEVNULL)
    with open(f"{left}.back", encoding="utf-8") as file:
        return left, int(file.read().splitlines()[1].split()[3])


def of_runs(energies):
    """Median and worst, or one number where all are the same."""
    median, worst = statistics.median_high(energies), max(energies)
    return f"{median}" if median == worst == min(energies) else f"{median} ({min(energies)} to {worst})"


def seconds_of(runs, target, limit):
    median = statistics.median(run["tts"] if run["energy"] <= target else float("inf") for run in runs)
    return f"{median:.2f}" if median < float("inf") else f"> {limit:g}"


def row(args, name, model, target, folder):
    first = solve(args, model, target, "auto", 0.5)
    if first["searched_size"] == first["size"]:
        return  # presolve has taken nothing: both searches are the same
    runs = {presolve: [] for presolve in ("auto", "off")}
    for seed in range(1, args.runs + 1):
        for presolve in runs:
            runs[presolve].append(solve(args, model, target, presolve, args.limit, seed))
    left = runs["auto"][0]["searched_size"]
    cells = [name, first["size"], left]
    for presolve in ("off", "auto"):
        cells.append(of_runs([run["energy"] for run in runs[presolve]]))
        if target > NO_TARGET:
            cells.append(seconds_of(runs[presolve], target, args.limit))
        else:
            cells.append("optimal" if runs[presolve][0]["status"] == "optimal" else "")
    if args.peer:
        cells.append(of_runs(anneal(args, model, target)))
    if args.peer and left:
        rest, offset = reduced(args, model, folder)
        cells.append(of_runs([energy + offset for energy in anneal(args, rest, target - offset)]))
    elif args.peer:
        cells.append("")
    print("| " + " | ".join(map(str, cells)) + " |", flush=True)


def main():
    args = arguments()
    head = ["model", "variables", "left", "energy without", "s", "energy with presolve", "s"] + (
        ["annealing", "annealing what is left"] if args.peer else [])
    print("| " + " | ".join(head) + " |\n|" + " --- |" * len(head), flush=True)
    with open(args.models.parent / "best_known.tsv", encoding="utf-8") as file:
        best = {line["instance"]: int(line["energy"]) for line in csv.DictReader(file, delimiter="\t")}
    with tempfile.TemporaryDirectory() as folder:
        for name in args.instances or sorted(best):
            row(args, name, args.models / f"{name}.qubo.gz", best[name], folder)
        for name, words in {} if args.instances else GENERATED.items():
            model = os.path.join(folder, "model.qubo.gz")
            subprocess.run([args.program, "generate", *words.split(), model], check=True, stderr=subprocess.DEVNULL)
            args.runs = GENERATED_RUNS
            row(args, name, model, NO_TARGET, folder)


if __name__ == "__main__":
    main()
