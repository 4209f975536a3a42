#!/usr/bin/env python3
"""Searches a model with another solver until a target or a time limit, on one core.

    peers.py SOLVER MODEL TARGET LIMIT SEED

Prints one JSON object: reached, seconds (without reading the model), energy. The settings are the
ones that did best in short trials over the benchmark models: many reads of moderate length, and for
structured models with a minute of time the long reads of "long_annealing" and "long_tabu".
"""
import gzip
import itertools
import json
import os
import sys
import time

os.environ["OMP_NUM_THREADS"] = "1"


def read_model(path):
    """Lines "i j weight" after a header line; one energy term each."""
    with gzip.open(path, "rt") as file:
        size = int(file.readline().split()[0])
        terms = [tuple(map(int, line.split()[:3])) for line in file if line.strip()]
    return size, terms


def binary_model(terms):
    import dimod

    model = dimod.BinaryQuadraticModel("BINARY")
    for i, j, weight in terms:
        if i == j:
            model.add_linear(i, weight)
        else:
            model.add_quadratic(i, j, weight)
    return model


def annealing(size, terms):
    """dwave-samplers: simulated annealing, 1000 sweeps a read."""
    from dwave.samplers import SimulatedAnnealingSampler

    model, sampler = binary_model(terms), SimulatedAnnealingSampler()
    return lambda seed, left: sampler.sample(
        model, num_reads=1, num_sweeps=1000, seed=seed).first.energy


def tabu(size, terms):
    """dwave-samplers: tabu search, half a second a read."""
    from dwave.samplers import TabuSampler

    model, sampler = binary_model(terms), TabuSampler()
    return lambda seed, left: sampler.sample(
        model, num_reads=1, timeout=max(1, min(500, int(left * 1000))), seed=seed).first.energy


def long_annealing(size, terms):
    """dwave-samplers: simulated annealing, 1000, 10000 and 100000 sweeps in turns, cut to the time left.

    Each process begins with one of two schedules and changes it after each round of lengths: its own, and a
    linear one that ends at 5 over the median coupling of the spins, which did better in most trials: its own end
    follows from the smallest coupling, and with many different weights most of a read would be frozen.
    """
    import statistics

    from dwave.samplers import SimulatedAnnealingSampler

    model, sampler = binary_model(terms).change_vartype("SPIN"), SimulatedAnnealingSampler()
    hot, cold = sampler.sample(model, num_reads=1, num_sweeps=1).info["beta_range"]
    middle = statistics.median(abs(bias) for bias in model.quadratic.values() if bias)
    schedules = [("geometric", (hot, cold)), ("linear", (hot, max(hot, min(cold, 5 / middle))))]
    lengths, rounds, sweep = (1000, 10000, 100000), itertools.count(), 0

    def read(seed, left):
        nonlocal sweep
        number = next(rounds)
        kind, ends = schedules[(seed + number // len(lengths)) % 2]
        sweeps = lengths[number % len(lengths)]
        if sweep:
            sweeps = max(100, min(sweeps, int(left / sweep)))
        start = time.monotonic()
        energy = sampler.sample(model, num_reads=1, num_sweeps=sweeps, beta_range=ends,
                                beta_schedule_type=kind, seed=seed).first.energy
        sweep = (time.monotonic() - start) / sweeps
        return energy

    return read


def long_tabu(size, terms):
    """dwave-samplers: tabu search, each read a quarter of the time left, at least half a second."""
    from dwave.samplers import TabuSampler

    model, sampler = binary_model(terms), TabuSampler()
    return lambda seed, left: sampler.sample(
        model, num_reads=1, timeout=max(1, int(1000 * min(left, max(0.5, left / 4)))), seed=seed).first.energy


def openjij(size, terms):
    """OpenJij: simulated annealing, 1000 sweeps a read."""
    from openjij import SASampler

    matrix, sampler = {}, SASampler()
    for i, j, weight in terms:
        matrix[i, j] = matrix.get((i, j), 0) + weight
    return lambda seed, left: sampler.sample_qubo(
        matrix, num_reads=1, num_sweeps=1000, seed=seed).first.energy


def bifurcation(size, terms):
    """simulated-bifurcation: discrete, 32 agents, 2000 steps a read."""
    import torch
    import simulated_bifurcation as sb

    torch.set_num_threads(1)
    matrix = torch.zeros((size, size), dtype=torch.float32)
    for i, j, weight in terms:
        matrix[i, j] += weight

    def read(seed, left):
        torch.manual_seed(seed)
        _, value = sb.minimize(matrix, domain="binary", agents=32, max_steps=2000, mode="discrete",
                               early_stopping=False, verbose=False)
        return float(value)

    return read


SOLVERS = {"annealing": annealing, "tabu": tabu, "long_annealing": long_annealing, "long_tabu": long_tabu,
           "openjij": openjij, "bifurcation": bifurcation}


def main():
    solver, path, target, limit, seed = sys.argv[1:]
    read = SOLVERS[solver](*read_model(path))
    target, limit, seed = int(target), float(limit), int(seed)
    best, start = float("inf"), time.monotonic()
    while best > target and time.monotonic() - start < limit:
        best = min(best, read(seed, limit - (time.monotonic() - start)))
        seed += 1000
    print(json.dumps({"reached": bool(best <= target), "seconds": time.monotonic() - start,
                      "energy": int(round(best))}))


if __name__ == "__main__":
    main()
