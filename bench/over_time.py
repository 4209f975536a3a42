#!/usr/bin/env python3
"""Draws docs/over_time.svg: the best energy over time of the library alone, the companion alone and both.

    over_time.py --models FOLDER [--limit 20] [--runs 3] [--instances NAME ...]

Presolve is off, so that the curves show the searches. Each curve is the median over the runs of the distance to the
best known energy of FOLDER/../best_known.tsv, in per cent. Needs matplotlib.
"""
import argparse
import bisect
import csv
import json
import pathlib
import statistics
import subprocess

ROOT = pathlib.Path(__file__).resolve().parent.parent
WHO = {"library": "0", "both": "0.5", "companion": "1"}


def arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--program", default=ROOT / "build/app/orvex")
    parser.add_argument("--models", type=pathlib.Path, required=True)
    parser.add_argument("--instances", nargs="+", default=["G81", "G60", "tai20a"])
    parser.add_argument("--runs", type=int, default=3)
    parser.add_argument("--limit", type=float, default=20, help="seconds of a run")
    parser.add_argument("--presolve", default="off", choices=["off", "auto"])
    parser.add_argument("--write", type=pathlib.Path, default=ROOT / "docs/over_time.svg")
    return parser.parse_args()


def history(args, model, share, seed):
    """Times and energies of the bests of a run."""
    run = subprocess.run([args.program, "solve", model, "--time-limit", str(args.limit), "--companion", share,
                          "--seed", str(seed), "--presolve", args.presolve, "--quiet", "--trace", "-", "--output", "/dev/null"],
                         check=True, stdout=subprocess.PIPE, text=True)
    bests = [json.loads(line) for line in run.stdout.splitlines() if line.startswith('{"event":"improved"')]
    return [best["time"] for best in bests], [best["energy"] for best in bests]


def distance_at(run, time, best):
    """Per cent above the best known energy; 100 before there was a solution."""
    times, energies = run
    known = bisect.bisect_right(times, time)
    return 100 * (energies[known - 1] - best) / abs(best) if known else 100


def main():
    args = arguments()
    import matplotlib

    matplotlib.use("svg")
    import matplotlib.pyplot as plot

    with open(args.models.parent / "best_known.tsv", encoding="utf-8") as file:
        best = {line["instance"]: int(line["energy"]) for line in csv.DictReader(file, delimiter="\t")}
    times = [args.limit * 10 ** (-3 + 3 * k / 120) for k in range(121)]
    figure, sides = plot.subplots(1, len(args.instances), figsize=(9, 3.5), squeeze=False)
    for axes, name in zip(sides[0], args.instances):
        for who, share in WHO.items():
            runs = [history(args, args.models / f"{name}.qubo.gz", share, 1 + run) for run in range(args.runs)]
            curve = [statistics.median(distance_at(run, time, best[name]) for run in runs) for time in times]
            axes.plot(times, curve, label=who, drawstyle="steps-post")
            print(f"{name}, {who}: {curve[-1]:.3f} % above the best known energy after {args.limit:g} s", flush=True)
        axes.set(title=name, xscale="log", xlabel="seconds")
        axes.set_yscale("symlog", linthresh=0.01)
        axes.set_ylim(bottom=0)
    sides[0][0].set_ylabel("% above the best known energy")
    sides[0][0].legend()
    figure.tight_layout()
    figure.savefig(args.write, metadata={"Date": None})


if __name__ == "__main__":
    main()
