#!/usr/bin/env python3
"""Solves a quadratic assignment or a route with a solver that is made for it, on one core, until a time limit.

    dedicated_peers.py SOLVER PROBLEM LIMIT SEED

PROBLEM is a JSON file with the matrix "distances" and, for an assignment, "flows". Prints one JSON object: cost,
and seconds until it was found, from when the problem is read.
"""
import json
import os
import random
import sys
import time

os.environ["OMP_NUM_THREADS"] = os.environ["OPENBLAS_NUM_THREADS"] = "1"


class Best:
    """The least cost so far and when it was found."""

    def __init__(self):
        self.start, self.cost, self.seconds = time.monotonic(), float("inf"), 0.0

    def elapsed(self):
        return time.monotonic() - self.start

    def offer(self, cost):
        if cost < self.cost:
            self.cost, self.seconds = int(cost), self.elapsed()


def assignments(refine_only):
    """scipy: restarts, each from a random assignment by 2-opt, or from a random doubly stochastic matrix by FAQ."""

    def solve(problem, limit, seed):
        import numpy as np
        from scipy.optimize import quadratic_assignment

        flows, distances = np.array(problem["flows"]), np.array(problem["distances"])
        rng, best = np.random.default_rng(seed), Best()
        while best.elapsed() < limit:
            guess = rng.permutation(len(flows))
            if not refine_only:
                guess = quadratic_assignment(flows, distances, method="faq",
                                             options={"P0": "randomized", "rng": rng}).col_ind
            pairs = np.column_stack([np.arange(len(guess)), guess])
            best.offer(quadratic_assignment(flows, distances, method="2opt",
                                            options={"partial_guess": pairs, "rng": rng}).fun)
        return best

    return solve


def route(problem, limit, seed):
    """OR-Tools: guided local search from the cheapest arcs; cities are shuffled, since it draws nothing."""
    from ortools.constraint_solver import pywrapcp, routing_enums_pb2

    cities = list(range(len(problem["distances"])))
    random.Random(seed).shuffle(cities)
    matrix = [[problem["distances"][a][b] for b in cities] for a in cities]
    best = Best()
    routing = pywrapcp.RoutingModel(pywrapcp.RoutingIndexManager(len(cities), 1, 0))
    routing.SetArcCostEvaluatorOfAllVehicles(routing.RegisterTransitMatrix(matrix))
    routing.AddAtSolutionCallback(lambda: best.offer(routing.CostVar().Max()))
    settings = pywrapcp.DefaultRoutingSearchParameters()
    settings.first_solution_strategy = routing_enums_pb2.FirstSolutionStrategy.PATH_CHEAPEST_ARC
    settings.local_search_metaheuristic = routing_enums_pb2.LocalSearchMetaheuristic.GUIDED_LOCAL_SEARCH
    settings.time_limit.FromMilliseconds(int(limit * 1000))
    routing.SolveWithParameters(settings)
    return best


SOLVERS = {"2opt": assignments(True), "faq": assignments(False), "route": route}


def main():
    solver, path, limit, seed = sys.argv[1:]
    with open(path, encoding="utf-8") as file:
        problem = json.load(file)
    best = SOLVERS[solver](problem, float(limit), int(seed))
    print(json.dumps({"cost": best.cost, "seconds": best.seconds}))


if __name__ == "__main__":
    main()
