#!/usr/bin/env python3
"""Solves benchmark instances with the program and judges the results.

Every returned energy is added up again here, from the model file and the bits that the program
wrote. The small and middle-sized families must reach their best known energy; the others must stay
within 1 % of it, but for Max-Cut graphs above 2000 vertices, whose gap is only shown. Exit status 1
when that fails.
"""
import argparse
import csv
import gzip
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import time

import provided

ROOT = pathlib.Path(__file__).resolve().parents[2]
LARGEST_GAP = 1.0  # percent
SOLVED_BY_NAME = {"nug05", "nug12", "burma14", "gr17"}
SOLVED_FAMILIES = {"npp", "qkp"}
SHOWN_ONLY_ABOVE = {"gset": 2000, "maxcut-dense": 2000}

# For CI: one or two of each family, so that a selection of a minute or two sees every kind.
CI = """
bqp50-1 bqp100-1 bqp250-1 bqp500-1 bqp1000-1 bqp1000-2 bqp1000-3 bqp2500-1
gka1a gka10b gka1d gka1e gka5f be100.1 be250.1 g05_60.0 pw05_100.0 w09_100.0
t2g10_5555 t3g5_5555 ising2.5-100_5555 toruspm3-8-50 jeu_100_25_1 jeu_100_100_5 npp_n64 npp_n100w
nug05 nug12 burma14 gr17 G1 G43 tai20a
""".split()
CI_SECONDS = 240  # for all of them


class Wrong(Exception):
    """A result that is no result."""


def must_be_solved(row):
    family = row["family"]
    return (row["instance"] in SOLVED_BY_NAME or family in SOLVED_FAMILIES
            or family.startswith("biqmac_")
            or (family == "beasley" and int(row["n"]) <= 1000))


def is_judged(row):
    return int(row["n"]) <= SHOWN_ONLY_ABOVE.get(row["family"], int(row["n"]))


def count_rescored(right):
    """Adds a line to the file of solutions whose energies were computed again, as the tests do that
    use tests/support/rescored.hpp."""
    if file := os.environ.get("ORVEX_RESCORED"):
        with open(file, "a") as lines:
            lines.write(f"1 {int(not right)}\n")


def energy_of(model, bits):
    """The energy of a solution, and a check that its length is the model's."""
    with gzip.open(model, "rt") as file:
        numbers = list(map(int, file.read().split()))
    if len(bits) != numbers[0] or set(bits) - {"0", "1"}:
        raise Wrong(f"the solution is not {numbers[0]} digits 0 and 1")
    ones = [bit == "1" for bit in bits]
    return sum(w for i, j, w in zip(numbers[4::3], numbers[5::3], numbers[6::3])
               if ones[i] and ones[j])


def solve(program, model, target, seconds):
    """Runs the program and returns what it wrote, its energy checked."""
    with tempfile.TemporaryDirectory() as folder:
        output = os.path.join(folder, "result")
        run = subprocess.run(
            [program, "solve", model, "--target", str(target), "--time-limit", str(seconds),
             "--output", output, "--quiet", "--json"],
            capture_output=True, text=True, timeout=10 * seconds + 120, check=False)
        if run.returncode != 0:
            raise Wrong(f"exit status {run.returncode}: {run.stderr.strip()}")
        with open(output, encoding="utf-8") as file:
            bits, *lines = file.read().splitlines()
    result = dict(line.split("=", 1) for line in lines)
    shown = json.loads(run.stdout)
    energy = energy_of(model, bits)
    count_rescored(energy == int(result["energy"]))
    if not energy == int(result["energy"]) == shown["energy"] or shown["bits"] != bits:
        raise Wrong(f"reports the energy {result['energy']} for bits of energy {energy}")
    result["energy"] = energy
    return result


def verdict(row, gap):
    """What is wrong with a result; empty if nothing is."""
    if must_be_solved(row):
        return "must be solved" if gap > 0 else ""
    return f"gap above {LARGEST_GAP} %" if is_judged(row) and gap >= LARGEST_GAP else ""


def number(text):
    return "" if text == "none" else f"{float(text):.3f}"


class Table:
    """Rows for the screen as they come, and for the document at the end."""
    HEAD = ["instance", "n", "best known", "reached", "gap %", "time to solution, s", "flips"]
    WIDTHS = [20, 6, 14, 14, 8, 20, 12]

    def __init__(self):
        self.rows = []
        self.show(self.HEAD)

    def show(self, cells, remark=""):
        line = cells[0].ljust(self.WIDTHS[0])
        line += "".join(cell.rjust(width) for cell, width in zip(cells[1:], self.WIDTHS[1:]))
        print(line + ("  " + remark if remark else ""), flush=True)

    def add(self, cells, remark):
        self.rows.append(cells)
        self.show(cells, remark)

    def markdown(self):
        lines = ["| " + " | ".join(self.HEAD) + " |", "|---" + "|---:" * (len(self.HEAD) - 1) + "|"]
        lines += ["| " + " | ".join(cells) + " |" for cells in self.rows]
        return "\n".join(lines) + "\n"


def document(table, seconds, device):
    return f"""# Benchmark instances

What one run of at most {seconds:g} seconds reaches on each benchmark instance, on {os.cpu_count()} processors
({device}), written by

```
make instances
```

A run ends when it reaches the best known energy; the time to solution is the moment at which the
best solution was found. Each energy was computed again from the bits and the model file. Runs are
random: times and gaps vary. A negative gap is an energy below the best known
one in the list.
Flips are those of the library: none where presolve or the companion found it first.

Without a folder of instances, `make instances` uses those that need no download: the bundled one and
those that `orvex generate` makes as they were published ([generators.md](generators.md)).
`make instances MODELS=FOLDER` takes FOLDER/NAME.qubo.gz for every NAME in the table `best_known.tsv` beside
that folder (columns instance, family, n, energy). The rows below come from public collections: the G-set and
torus graphs of Max-Cut, the OR-Library and the Biq Mac Library, QAPLIB and TSPLIB with penalties for broken
constraints, quadratic knapsack and number partitioning problems, in the [conventions](formats.md) of the
readers of their formats.

{table.markdown()}"""


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("names", nargs="*", help="instances; all by default")
    parser.add_argument("--program", default=str(ROOT / "build/app/orvex"))
    parser.add_argument("--models", type=pathlib.Path,
                        help="folder of the instances; by default those that need no download")
    parser.add_argument("--best-known", type=pathlib.Path, help="beside the models' folder")
    parser.add_argument("--time-limit", type=int, default=20, help="seconds for each instance")
    parser.add_argument("--ci", action="store_true",
                        help=f"a selection, in at most {CI_SECONDS} seconds")
    parser.add_argument("--write", type=pathlib.Path, help="the document to write")
    return parser.parse_args()


def known_rows(args):
    if args.models is None:
        return provided.rows(), "provided.tsv"
    best_known = args.best_known or args.models.parent / "best_known.tsv"
    if not best_known.is_file():
        sys.exit(f"there is no {best_known}; --models names the folder of the instances")
    with open(best_known, encoding="utf-8") as file:
        return list(csv.DictReader(file, delimiter="\t")), best_known


def chosen_rows(args):
    rows, table = known_rows(args)
    names = args.names or (CI if args.ci else [])
    unknown = set(names) - {row["instance"] for row in rows}
    if unknown:
        sys.exit(f"not in {table}: {' '.join(sorted(unknown))}")
    return [row for row in rows if not names or row["instance"] in names]


def main():
    args = arguments()
    with tempfile.TemporaryDirectory() as made:
        return judge(args, made)


def judge(args, made):
    table, failures, device = Table(), [], ""
    end = time.monotonic() + (CI_SECONDS if args.ci else float("inf"))
    for row in chosen_rows(args):
        name, target = row["instance"], int(row["energy"])
        # What the machine did not get to within the time is a failure like any other.
        seconds = int(min(args.time_limit, end - time.monotonic()))
        if seconds < 1:
            failures.append(f"{name}: no time is left for it")
            continue
        try:
            model = (args.models / f"{name}.qubo.gz" if args.models
                     else provided.provide(row, args.program, made))
            result = solve(args.program, model, target, seconds)
        except (Wrong, subprocess.TimeoutExpired) as error:
            failures.append(f"{name}: {error}")
            print(failures[-1], flush=True)
            continue
        device = result["device"]
        gap = 100.0 * (result["energy"] - target) / abs(target)
        wrong = verdict(row, gap)
        if wrong:
            failures.append(f"{name}: {wrong}")
        if gap < 0:
            wrong = "below the best known energy: check it twice"
        table.add([name, row["n"], str(target), str(result["energy"]), f"{gap:.3f}",
                   number(result["tts"]), result["total_flips"]], wrong)

    if args.write:
        args.write.write_text(document(table, args.time_limit, device), encoding="utf-8")
    print(f"{len(table.rows)} results, {len(failures)} failures")
    for failure in failures:
        print("  " + failure)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
