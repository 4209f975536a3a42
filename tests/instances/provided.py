"""The benchmark instances that need no download: one is bundled, the others were published as a generator
whose output `orvex generate` makes byte for byte. provided.tsv lists them with their best known energies.
"""
import csv
import pathlib
import shutil
import subprocess

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUNDLED = "bundled"


def rows():
    """A row for each instance, with the columns of best_known.tsv that matter here."""
    with open(ROOT / "tests/instances/provided.tsv", encoding="utf-8") as file:
        return list(csv.DictReader(file, delimiter="\t"))


def provide(row, program, folder):
    """Puts the file of an instance into a folder unless it is there; returns its path."""
    model = pathlib.Path(folder) / f"{row['instance']}.qubo.gz"
    if model.exists():
        return model
    if row["made_by"] == BUNDLED:
        shutil.copy(ROOT / "examples/data" / model.name, model)
    else:
        subprocess.run([program, "generate", *row["made_by"].split(), model], check=True)
    return model
