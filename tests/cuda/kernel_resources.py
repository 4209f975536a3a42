#!/usr/bin/env python3
"""Holds the assembler's report on the kernels to what was measured before.

    kernel_resources.py TABLE REPORTS            checks every *.ptxas file in the folder REPORTS
    kernel_resources.py --write TABLE REPORTS    enters into TABLE what they say

A kernel may use 64 registers. Bands up to 8192 with 32-bit arithmetic spill nothing. For all others
TABLE holds, for each device, number of bits per thread and pair of widths, the bytes of stack and of
spills, none of which may grow: a private array that is indexed at run time moves to the stack, and
shows here first.
"""
import csv
import re
import sys
from pathlib import Path

MOST_REGISTERS = 64
NO_SPILLS_UP_TO = 8192
COLUMNS = ["stack", "spill_stores", "spill_loads"]

ENTRY = re.compile(r"Compiling entry function '_ZN\d+qb(\d+)_(\d+)_(\d+)5ORVEX\w*' for 'sm_(\d+)'")
FRAME = re.compile(
    r"(\d+) bytes stack frame, (\d+) bytes spill stores, (\d+) bytes spill loads")
USED = re.compile(r"Used (\d+) registers")


def bits_per_thread(size):
    return size // min(1024, max(64, size // 4))


def kernels(text, source):
    """Yields (size, matrix bits, arithmetic bits, device, registers, [stack, stores, loads])."""
    kernel = frame = None
    for line in text.splitlines():
        if found := ENTRY.search(line):
            kernel = tuple(int(number) for number in found.groups())
        elif found := FRAME.search(line):
            frame = [int(number) for number in found.groups()]
        elif found := USED.search(line):
            if kernel is None or frame is None:
                raise ValueError(f"{source}: registers of no kernel: {line}")
            yield *kernel, int(found.group(1)), frame
            kernel = frame = None


def read_reports(folder):
    found = []
    for path in sorted(Path(folder).glob("*.ptxas")):
        of_this = list(kernels(path.read_text(), path))
        if not of_this:
            raise ValueError(f"{path} tells of no kernel")
        found += of_this
    if not found:
        raise ValueError(f"no reports in {folder}")
    return found


def key_of(size, matrix, arith, device):
    return (device, bits_per_thread(size), matrix, arith)


def read_table(path):
    with open(path, newline="") as file:
        return {(int(row["device"]), int(row["bits_per_thread"]), int(row["matrix_bits"]),
                 int(row["arithmetic_bits"])): [int(row[name]) for name in COLUMNS]
                for row in csv.DictReader(file)}


def write_table(path, table):
    with open(path, "w", newline="") as file:
        writer = csv.writer(file, lineterminator="\n")
        writer.writerow(["device", "bits_per_thread", "matrix_bits", "arithmetic_bits"] + COLUMNS)
        for key in sorted(table):
            writer.writerow(list(key) + table[key])


def complaints(found, table):
    """What is wrong with the kernels found, as lines of text."""
    lines = []
    for size, matrix, arith, device, registers, bytes_used in found:
        name = f"qb{size}_{matrix}_{arith} for sm_{device}"
        if registers > MOST_REGISTERS:
            lines.append(f"{name}: {registers} registers, more than {MOST_REGISTERS}")
        if arith == 32 and size <= NO_SPILLS_UP_TO and any(bytes_used[1:]):
            lines.append(f"{name}: spills {bytes_used[1]} bytes, but must not spill")
        expected = table.get(key_of(size, matrix, arith, device))
        if expected is None:
            lines.append(f"{name}: the table has no row for it; enter it with --write")
            continue
        for column, limit, now in zip(COLUMNS, expected, bytes_used):
            if now > limit:
                lines.append(f"{name}: {column} grew from {limit} to {now} bytes")
    return lines


def enter(found, table):
    measured = {}
    for size, matrix, arith, device, _, bytes_used in found:
        key = key_of(size, matrix, arith, device)
        measured[key] = [max(pair) for pair in zip(measured.get(key, bytes_used), bytes_used)]
    table.update(measured)


def main(arguments):
    write = arguments[:1] == ["--write"]
    table_path, reports = arguments[1:] if write else arguments
    found = read_reports(reports)
    if write:
        table = read_table(table_path) if Path(table_path).exists() else {}
        enter(found, table)
        write_table(table_path, table)
        return 0
    lines = complaints(found, read_table(table_path))
    print("\n".join(lines) if lines else f"{len(found)} kernels as before")
    return 1 if lines else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
