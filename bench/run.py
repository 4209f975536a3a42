#!/usr/bin/env python3
"""Measures the search on this machine's processors and writes docs/performance.md.

The time to the best known energy of benchmark instances, as the program searches them by itself and with the
library alone, and the same with other solvers from PyPI on the same cores under the same limit: ours runs on
all processors; a peer is started once for each processor with different seeds, and the first that reaches
the energy counts. Then flips per second
beside the machine's limit (bench/flips.cpp), by rule, size, form of rows and instruction set, the
growth with processors, and what a run costs beside its search (bench/startup.cpp).
"""
import argparse
import csv
import io
import json
import os
import statistics
import subprocess
import sys
import time
import venv
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests/instances"))
import provided  # noqa: E402
PEER_PACKAGES = ["dwave-samplers", "openjij", "simulated-bifurcation", "matplotlib"]
PEERS = {
    "annealing": "dwave-samplers, simulated annealing, 1000 sweeps a read",
    "tabu": "dwave-samplers, tabu, 0.5 s a read",
    "openjij": "OpenJij, simulated annealing, 1000 sweeps a read",
    "bifurcation": "simulated-bifurcation, discrete, 32 agents, 2000 steps a read",
}
OURS = {"orvex": [], "library": ["--presolve", "off", "--companion", "0"]}
INSTANCES = ["bqp1000-1", "bqp2500-1", "p3000.1", "G43", "K2000", "G22"]
GROWTH_INSTANCES = ["bqp1000-1", "bqp2500-1", "p3000.1", "G43"]


def arguments():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=Path, default=ROOT / "build-bench")
    parser.add_argument("--models", type=Path,
                        help="folder of the instances; by default those that need no download")
    parser.add_argument("--best", type=Path, help="table of best known energies, beside that folder")
    parser.add_argument("--instances", nargs="+", help="all of these that there are by default: "
                        + " ".join(INSTANCES))
    parser.add_argument("--runs", type=int, default=7)
    parser.add_argument("--peer-runs", type=int, default=3, help="of each of the other solvers")
    parser.add_argument("--limit", type=float, default=30, help="seconds of a run")
    parser.add_argument("--sizes", default="256,1024,2000,4096,10240")
    parser.add_argument("--peers", nargs="*", default=list(PEERS), choices=list(PEERS))
    parser.add_argument("--write", type=Path, default=ROOT / "docs/performance.md")
    return parser.parse_args()


def best_energies(args):
    """The best known energy of each instance; makes those that need no download if none are given."""
    if args.models is None:
        args.models = args.build / "models"
        args.models.mkdir(parents=True, exist_ok=True)
        rows = [row for row in provided.rows() if row["instance"] in (args.instances or INSTANCES)]
        for row in rows:
            provided.provide(row, args.build / "app/orvex", args.models)
    else:
        with open(args.best or args.models.parent / "best_known.tsv", encoding="utf-8") as file:
            rows = list(csv.DictReader(file, delimiter="\t"))
    return {row["instance"]: int(row["energy"]) for row in rows}


def peer_python(build, name="peers", packages=PEER_PACKAGES):
    """An environment of its own for the peers and the plots."""
    python = build / name / "bin/python"
    if not python.exists():
        venv.create(build / name, with_pip=True)
        subprocess.run([python, "-m", "pip", "install", "-q", *packages], check=True)
    return python


def flips(args, *options):
    text = subprocess.run([args.build / "bench/orvex_bench_flips", *options], check=True,
                          stdout=subprocess.PIPE, text=True).stdout
    return list(csv.DictReader(io.StringIO(text)))


def startup_table(args):
    text = subprocess.run([args.build / "bench/orvex_bench_startup"], check=True,
                          stdout=subprocess.PIPE, text=True).stdout
    row = next(csv.DictReader(io.StringIO(text)))
    return ("| variables | first run, ms | later run, ms | its search, ms | beside it, ms |\n"
            "| --- | --- | --- | --- | --- |\n"
            f"| {row['variables']} | {row['first_ms']} | {row['again_ms']} | {row['search_ms']} | "
            f"{row['beside_ms']} |")


def growth_table(args, best):
    """Runs of the library alone on the first 1, 2, 4, ... processors: flips per second, times to the best known."""
    processors = sorted(os.sched_getaffinity(0))
    counts = [2**i for i in range(len(processors).bit_length()) if 2**i < len(processors)]
    counts.append(len(processors))
    lines = ["| instance | processors | Mflips/s | to one processor | median, s |",
             "| --- | --- | --- | --- | --- |"]
    for instance in (name for name in GROWTH_INSTANCES if name in best):
        speeds = []
        for count in counts:
            first = ["taskset", "-c", ",".join(map(str, processors[:count]))]
            result = solve(args, instance, 5, first, OURS["library"])
            speeds.append(result["total_flips"] / result["kernel_time"] / 1e6)
            times = summary([our_run(args, instance, best[instance], seed, first, OURS["library"])
                             for seed in range(1, 1 + args.runs)])
            lines.append(f"| {instance} | {count} | {speeds[-1]:.2f} | "
                         f"{speeds[-1] / speeds[0]:.2f} | "
                         f"{seconds_text(times['median'], args.limit)} |")
    return "\n".join(lines)


def solve(args, instance, limit, command=(), options=()):
    return json.loads(subprocess.run(
        [*command, args.build / "app/orvex", "solve", "--quiet", "--json", "--time-limit",
         str(limit), *options, args.models / f"{instance}.qubo.gz"],
        check=True, stdout=subprocess.PIPE, text=True).stdout)


def our_run(args, instance, target, seed, command=(), options=()):
    result = solve(args, instance, args.limit, command,
                   ["--target", str(target), "--seed", str(seed), *options])
    return {"reached": result["target_reached"], "seconds": result["tts"],
            "energy": result["energy"]}


def peer_run(args, python, solver, instance, target, seed):
    processes = [
        subprocess.Popen([python, ROOT / "bench/peers.py", solver,
                          args.models / f"{instance}.qubo.gz", str(target), str(args.limit),
                          str(seed + core)], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                         text=True)
        for core in range(len(os.sched_getaffinity(0)))]
    results, running = [], list(processes)
    while running and not any(result["reached"] for result in results):
        time.sleep(0.005)
        for process in [p for p in running if p.poll() is not None]:
            running.remove(process)
            results.append(json.loads(process.stdout.read()))
    for process in running:
        process.kill()
        process.wait()
    in_time = [r["seconds"] for r in results if r["reached"] and r["seconds"] <= args.limit]
    return {"reached": bool(in_time), "seconds": min(in_time, default=args.limit),
            "energy": min(r["energy"] for r in results)}


def summary(runs):
    """Success, then quartiles of the time, runs without success counting as endless."""
    times = sorted(r["seconds"] if r["reached"] else float("inf") for r in runs)
    quartile = lambda share: times[min(int(share * len(times)), len(times) - 1)]
    return {"reached": sum(r["reached"] for r in runs), "runs": len(runs),
            "low": quartile(0.25), "median": statistics.median_low(times), "high": quartile(0.75),
            "energy": min(r["energy"] for r in runs)}


def seconds_text(seconds, limit):
    return f"> {limit:g}" if seconds == float("inf") else f"{seconds:.3g}"


def times_table(args, times):
    lines = ["| instance | solver | reached | median, s | quartiles, s | best energy |",
             "| --- | --- | --- | --- | --- | --- |"]
    for (instance, solver), s in times.items():
        text = [seconds_text(s[key], args.limit) for key in ("low", "median", "high")]
        lines.append(f"| {instance} | {solver} | {s['reached']} of {s['runs']} | {text[1]} | "
                     f"{text[0]} to {text[2]} | {s['energy']} |")
    return "\n".join(lines)


def flips_table(rows):
    lines = ["| n | model | rows | deltas | instructions | rule | ns per flip | limit, ns | ratio |",
             "| --- | --- | --- | --- | --- | --- | --- | --- | --- |"]
    for row in rows:
        lines.append("| " + " | ".join(row[key] for key in (
            "n", "model", "rows", "deltas", "instructions", "rule", "ns_per_flip", "limit_ns",
            "ratio")) + " |")
    return "\n".join(lines)


PLOTS = """
import json, sys
import matplotlib
matplotlib.use("svg")
import matplotlib.pyplot as plot
data = json.load(sys.stdin)

figure, axes = plot.subplots(figsize=(8, 4))
solvers = list(dict.fromkeys(entry["solver"] for entry in data["times"]))
instances = list(dict.fromkeys(entry["instance"] for entry in data["times"]))
for number, solver in enumerate(solvers):
    medians = [next((min(e["median"], data["limit"]) for e in data["times"]
                     if e["solver"] == solver and e["instance"] == i), 0) for i in instances]
    places = [x + number * 0.8 / len(solvers) for x in range(len(instances))]
    axes.bar(places, medians, 0.8 / len(solvers), label=solver)
axes.axhline(data["limit"], color="grey", linewidth=0.8)
axes.set_yscale("log")
axes.set_xticks([x + 0.3 for x in range(len(instances))], instances)
axes.set_ylabel("median seconds to the best known energy")
axes.legend()
figure.tight_layout()
figure.savefig(data["folder"] + "/times.svg", metadata={"Date": None})

figure, sides = plot.subplots(1, 2, figsize=(8, 4), sharey=True)
for axes, model, rows in zip(sides, ("dense", "sparse"), ("8-bit", "sparse")):
    of_form = [row for row in data["flips"] if row["model"] == model and row["rows"] == rows]
    for rule in dict.fromkeys(row["rule"] for row in of_form):
        points = [row for row in of_form if row["rule"] == rule]
        axes.plot([int(row["n"]) for row in points], [float(row["ns_per_flip"]) for row in points],
                  marker="o", label=rule)
    points = [row for row in of_form if row["rule"] == of_form[0]["rule"]]
    axes.plot([int(row["n"]) for row in points], [float(row["limit_ns"]) for row in points],
              color="grey", linestyle="--", label="limit")
    axes.set(xscale="log", yscale="log", xlabel="variables", title=rows + " rows")
sides[0].set_ylabel("nanoseconds a flip")
sides[0].legend()
figure.tight_layout()
figure.savefig(data["folder"] + "/flips.svg", metadata={"Date": None})
"""


def write_plots(args, python, times, flip_rows):
    entries = [{"instance": instance, "solver": solver, "median": min(s["median"], 1e9)}
               for (instance, solver), s in times.items()]
    subprocess.run([python, "-c", PLOTS], check=True, text=True,
                   input=json.dumps({"times": entries, "limit": args.limit, "flips": flip_rows,
                                     "folder": str(args.write.parent)}))


def write_section(path, name, text):
    """Replaces what is between the two marks of a section; the rest is written by hand."""
    begin, end = f"<!-- {name} -->\n", f"<!-- end of {name} -->"
    page = path.read_text()
    before, rest = page.split(begin)
    path.write_text(before + begin + text + "\n" + end + rest.split(end)[1])


def main():
    args = arguments()
    python = peer_python(args.build)
    best = best_energies(args)
    args.instances = args.instances or [name for name in INSTANCES if name in best]
    solvers = [*OURS, *args.peers]
    runs = {(instance, solver): [] for instance in args.instances for solver in solvers}
    for round_number in range(args.runs):  # solvers take turns, so that a slow hour hits them all
        for instance, solver in runs:
            if solver in args.peers and round_number >= args.peer_runs:
                continue
            target = best[instance]
            run = (our_run(args, instance, target, 1 + round_number, options=OURS[solver]) if solver in OURS else
                   peer_run(args, python, solver, instance, target, 1 + 100 * round_number))
            runs[instance, solver].append(run)
            print(round_number, instance, solver, run, file=sys.stderr, flush=True)
    times = {key: summary(results) for key, results in runs.items()}
    write_section(args.write, "times", times_table(args, times))
    flip_rows = flips(args, args.sizes)
    write_section(args.write, "flips", flips_table(flip_rows))
    write_plots(args, python, times, flip_rows)
    write_section(args.write, "sets",
                  flips_table(flips(args, "1024", "0,1,2,3,4", "8-bit,sparse", "all")))
    write_section(args.write, "growth", growth_table(args, best))
    write_section(args.write, "startup", startup_table(args))


if __name__ == "__main__":
    main()
