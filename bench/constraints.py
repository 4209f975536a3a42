#!/usr/bin/env python3
"""Measures models with constraints: OrvexCQMSampler beside annealing of dimod's own penalised problem, and beside
a MIP solver for the true optimum.

    constraints.py [--limit 10] [--proof 60] [--seeds 3] [--family NAME ...] [--only orvex]

Needs dimod, dwave-samplers, highspy and the package orvex. For each model, one after the other and all for the
same seconds: orvex with its defaults on all processors, the same without its small steps between searches, and
simulated annealing of what dimod.cqm_to_bqm makes with its default multiplier (1000 sweeps a read, a process on
each processor); then HiGHS with its defaults until it has a proof, or for the seconds of --proof. Prints a table
in Markdown: the least energies of solutions that keep all constraints by dimod's own check, the share of
annealing's reads that do, and HiGHS's seconds.
"""

import argparse
import concurrent.futures
import os
import time

import dimod
import numpy as np

# ---- models


def knapsack(seed, items=300):
    """Items of 10 to 100 with values near their weights, and half of the room."""
    rng = np.random.default_rng(seed)
    weights = rng.integers(10, 101, items)
    values = weights + rng.integers(-9, 11, items)
    return dimod.generators.knapsack(values.tolist(), weights.tolist(), int(weights.sum() // 2))


def assignment(seed, agents=8, jobs=40):
    """Generalised assignment: each job to one agent, whose hours are limited; costs fall where hours rise."""
    rng = np.random.default_rng(seed)
    hours = rng.integers(5, 26, (agents, jobs))
    costs = 30 - hours + rng.integers(0, 11, (agents, jobs))
    room = [int(0.8 * hours[a].sum() / agents) for a in range(agents)]
    cqm = dimod.ConstrainedQuadraticModel()
    x = {(a, j): dimod.Binary(f"x_{a}_{j}") for a in range(agents) for j in range(jobs)}
    cqm.set_objective(dimod.quicksum(int(costs[k]) * v for k, v in x.items()))
    for j in range(jobs):
        cqm.add_discrete([f"x_{a}_{j}" for a in range(agents)], label=f"job_{j}")
    for a in range(agents):
        cqm.add_constraint(
            dimod.quicksum(int(hours[a, j]) * x[a, j] for j in range(jobs)) <= room[a], label=f"agent_{a}"
        )
    return cqm


def permutation(seed, size=20):
    """Assignment of as many jobs as agents, one each: a matching of least cost."""
    rng = np.random.default_rng(seed)
    costs = rng.integers(1, 100, (size, size))
    cqm = dimod.ConstrainedQuadraticModel()
    x = {(a, j): dimod.Binary(f"x_{a}_{j}") for a in range(size) for j in range(size)}
    cqm.set_objective(dimod.quicksum(int(costs[k]) * v for k, v in x.items()))
    for j in range(size):
        cqm.add_discrete([f"x_{a}_{j}" for a in range(size)], label=f"job_{j}")
    for a in range(size):
        cqm.add_constraint(dimod.quicksum(x[a, j] for j in range(size)) == 1, label=f"agent_{a}")
    return cqm


def bin_packing(seed, items=25, bins=10):
    """Items of 20 to 70 into as few bins of 150 as will do."""
    rng = np.random.default_rng(seed)
    weights = rng.integers(20, 71, items)
    cqm = dimod.ConstrainedQuadraticModel()
    y = [dimod.Binary(f"y_{b}") for b in range(bins)]
    x = {(i, b): dimod.Binary(f"x_{i}_{b}") for i in range(items) for b in range(bins)}
    cqm.set_objective(dimod.quicksum(y))
    for i in range(items):
        cqm.add_discrete([f"x_{i}_{b}" for b in range(bins)], label=f"item_{i}")
    for b in range(bins):
        cqm.add_constraint(
            dimod.quicksum(int(weights[i]) * x[i, b] for i in range(items)) - 150 * y[b] <= 0, label=f"bin_{b}"
        )
    return cqm


def schedule(seed, jobs=15, slots=20, machines=2):
    """Jobs of 1 to 4 hours on like machines, for the least weighted sum of ends."""
    rng = np.random.default_rng(seed)
    length = rng.integers(1, 5, jobs)
    weight = rng.integers(1, 10, jobs)
    slots = max(slots, int(length.sum() // machines + 4))
    cqm = dimod.ConstrainedQuadraticModel()
    x = {(j, t): dimod.Binary(f"x_{j}_{t}") for j in range(jobs) for t in range(slots - length[j] + 1)}
    cqm.set_objective(dimod.quicksum(int(weight[j] * (t + length[j])) * v for (j, t), v in x.items()))
    for j in range(jobs):
        cqm.add_discrete([f"x_{k}_{t}" for k, t in x if k == j], label=f"job_{j}")
    for now in range(slots):
        busy = [v for (j, t), v in x.items() if t <= now < t + length[j]]
        cqm.add_constraint(dimod.quicksum(busy) <= machines, label=f"slot_{now}")
    return cqm


def quadratic_assignment(seed, size=12):
    """Sites on a plane, and flows of 0 to 9 between what is put there."""
    rng = np.random.default_rng(seed)
    sites = rng.integers(0, 50, (size, 2))
    distances = np.abs(sites[:, None] - sites).sum(axis=2)
    flows = np.triu(rng.integers(0, 10, (size, size)), 1)
    cqm = dimod.ConstrainedQuadraticModel()
    x = [[f"x_{thing}_{site}" for site in range(size)] for thing in range(size)]
    cost = dimod.BinaryQuadraticModel("BINARY")
    for a in range(size):
        for b in range(a + 1, size):
            for s, t in np.argwhere(distances * flows[a, b]):
                cost.add_quadratic(x[a][s], x[b][t], int(flows[a, b] * distances[s, t]))
    cqm.set_objective(cost)
    for k in range(size):
        cqm.add_discrete(x[k], label=f"thing_{k}")
        cqm.add_constraint([(x[thing][k], 1) for thing in range(size)] + [(-1,)], "==", label=f"site_{k}")
    return cqm


FAMILIES = {
    "knapsack, 300 items": knapsack,
    "assignment, 20 to 20": permutation,
    "generalised assignment, 40 jobs, 8 agents": assignment,
    "bin packing, 25 items, 10 bins": bin_packing,
    "scheduling, 15 jobs, 2 machines": schedule,
    "quadratic assignment, 12 to 12": quadratic_assignment,
}


# ---- solvers: each gives the least energy that keeps all constraints, or None


def best_of(samples):
    feasible = samples.record.energy[samples.record.is_feasible]
    return float(feasible.min()) if len(feasible) else None


def by_orvex(cqm, limit, small_steps=True):
    import orvex
    from orvex._cqm_polish import Polish

    works_on = Polish.works_on
    if not small_steps:
        Polish.works_on = staticmethod(lambda model: False)
    samples = orvex.OrvexCQMSampler().sample_cqm(cqm, time_limit=limit)
    Polish.works_on = staticmethod(works_on)
    return best_of(samples), samples.info["status"] == "optimal"


def anneal(make, model, limit, seed):
    """One processor's reads until the time is over."""
    from dwave.samplers import SimulatedAnnealingSampler

    cqm = make(model)
    begin = time.perf_counter()
    bqm, invert = dimod.cqm_to_bqm(cqm)
    sampler = SimulatedAnnealingSampler()
    best, reads, kept = None, 0, 0
    while time.perf_counter() - begin < limit:
        sample = sampler.sample(bqm, num_reads=1, num_sweeps=1000, seed=seed + 7919 * reads).first.sample
        values = invert(sample)
        reads += 1
        if cqm.check_feasible(values):
            kept += 1
            energy = cqm.objective.energy(values)
            best = energy if best is None else min(best, energy)
    return best, reads, kept


def by_annealing(make, model, limit):
    workers = len(os.sched_getaffinity(0))
    with concurrent.futures.ProcessPoolExecutor(workers) as pool:
        told = list(pool.map(anneal, [make] * workers, [model] * workers, [limit] * workers, range(workers)))
    energies = [best for best, _, _ in told if best is not None]
    return min(energies, default=None), sum(t[2] for t in told) / max(1, sum(t[1] for t in told))


def by_highs(cqm, limit):
    """Linear models are stated to it as they are; products of bits that cost something become variables."""
    import highspy

    solver = highspy.Highs()
    solver.setOptionValue("output_flag", False)
    solver.setOptionValue("time_limit", float(limit))
    columns = {
        v: solver.addVariable(
            lb=cqm.lower_bound(v),
            ub=cqm.upper_bound(v),
            obj=cqm.objective.get_linear(v) if v in cqm.objective.variables else 0.0,
            type=highspy.HighsVarType.kInteger,
        )
        for v in cqm.variables
    }
    for constraint in cqm.constraints.values():
        total = sum(bias * columns[v] for v, bias in constraint.lhs.iter_linear())
        rhs = constraint.rhs - constraint.lhs.offset
        sense = constraint.sense.name
        solver.addConstr(total == rhs if sense == "Eq" else total <= rhs if sense == "Le" else total >= rhs)
    for u, v, bias in cqm.objective.iter_quadratic():
        assert bias > 0
        product = solver.addVariable(lb=0, ub=1, obj=bias)
        solver.addConstr(product >= columns[u] + columns[v] - 1)
    begin = time.perf_counter()
    solver.run()
    seconds = time.perf_counter() - begin
    optimal = solver.getModelStatus() == highspy.HighsModelStatus.kOptimal
    energy = solver.getInfo().objective_function_value + cqm.objective.offset
    return energy, optimal, seconds


def text(energy):
    return "none" if energy is None else f"{energy:g}"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--limit", type=float, default=10, help="seconds for each")
    parser.add_argument("--proof", type=float, default=60, help="seconds for the proof")
    parser.add_argument("--seeds", type=int, default=3)
    parser.add_argument("--family", nargs="+", help="beginnings of names")
    parser.add_argument("--only", choices=("orvex",), help="no other solver")
    args = parser.parse_args()
    print(
        "| model | variables | constraints | orvex | without small steps | annealing | reads that keep all | HiGHS | "
        "its seconds |"
    )
    print("|" + " --- |" * 9, flush=True)
    for name, make in FAMILIES.items():
        if args.family and not name.startswith(tuple(args.family)):
            continue
        for seed in range(1, args.seeds + 1):
            cqm = make(seed)
            ours, proven = by_orvex(cqm, args.limit)
            searches, _ = by_orvex(cqm, args.limit, small_steps=False)
            cells = [
                f"{name}, seed {seed}",
                len(cqm.variables),
                len(cqm.constraints),
                text(ours) + (" (proven)" if proven else ""),
                text(searches),
            ]
            if not args.only:
                theirs, share = by_annealing(make, seed, args.limit)
                energy, optimal, seconds = by_highs(cqm, args.proof)
                cells += [
                    text(theirs),
                    f"{share:.0%}",
                    text(energy) + ("" if optimal else " (not proven)"),
                    f"{seconds:.2f}",
                ]
            print("| " + " | ".join(map(str, cells)) + " |", flush=True)


if __name__ == "__main__":
    main()
