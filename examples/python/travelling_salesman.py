# %% [markdown]
# # A travelling salesman
#
# Visit each of n cities once and come home by the shortest way. The bit x[c, p] says that city c is the p-th
# on the tour; the first stays where it is, since a tour may begin anywhere. The QUBO is the length
#
# $$\sum_p \sum_{c \ne d} \mathrm{distance}(c, d) \, x_{c, p} \, x_{d, p + 1}$$
#
# and a penalty for each city that is not at exactly one place, and each place that has not exactly one city:
# A (1 - sum)^2. A penalty of the longest distance twice over is enough: a city too many or too few never
# saves more. Named as `groups`, cities and places need no detour over the penalties: the search swaps them.
#
# The cities are those of Ulysses's odyssey, ulysses16 of TSPLIB. Its shortest tour is 6859 kilometres.

# %%
import itertools
import math

import matplotlib.pyplot as plt
import numpy as np
import orvex

places = np.array(
    [
        (38.24, 20.42),
        (39.57, 26.15),
        (40.56, 25.32),
        (36.26, 23.12),
        (33.48, 10.54),
        (37.56, 12.19),
        (38.42, 13.11),
        (37.52, 20.44),
        (41.23, 9.10),
        (41.17, 13.05),
        (36.08, -5.21),
        (38.47, 15.13),
        (38.15, 15.35),
        (37.51, 15.17),
        (35.49, 14.32),
        (39.36, 19.56),
    ]
)  # degrees and minutes of latitude and longitude


def kilometres(a, b):
    """As TSPLIB measures them on its globe."""

    def radians(value):
        degrees = int(value)
        return 3.141592 * (degrees + 5 * (value - degrees) / 3) / 180

    (north_a, east_a), (north_b, east_b) = map(lambda place: tuple(map(radians, place)), (a, b))
    q1 = math.cos(east_a - east_b)
    q2, q3 = math.cos(north_a - north_b), math.cos(north_a + north_b)
    return int(6378.388 * math.acos(0.5 * ((1 + q1) * q2 - (1 - q1) * q3)) + 1)


n = len(places)
distance = np.array([[0 if i == j else kilometres(places[i], places[j]) for j in range(n)] for i in range(n)])

# %% [markdown]
# The tour begins in city 0. The others are numbered from 1, as are their places.

# %%
cities = range(1, n)
bit = {(city, place): k for k, (city, place) in enumerate(itertools.product(cities, cities))}
Q = np.zeros((len(bit), len(bit)), dtype=int)
for c in cities:
    Q[bit[c, 1], bit[c, 1]] += distance[0, c]
    Q[bit[c, n - 1], bit[c, n - 1]] += distance[c, 0]
    for d in cities:
        if c != d:
            for place in range(1, n - 1):
                Q[bit[c, place], bit[d, place + 1]] += distance[c, d]

penalty = 2 * int(distance.max())
groups = [[bit[c, p] for p in cities] for c in cities] + [[bit[c, p] for c in cities] for p in cities]
for group in groups:
    for i in group:
        Q[i, i] -= penalty
        for j in group:
            Q[i, j] += penalty * (i != j)
constant = penalty * len(groups)

known = 6859
result = orvex.solve(Q, groups=groups, time_limit=60, target=known - constant)
found = result.energy + constant

chosen = result.x.reshape(n - 1, n - 1)
assert (chosen.sum(axis=0) == 1).all() and (chosen.sum(axis=1) == 1).all()
tour = [0, *(1 + int(chosen[:, place].argmax()) for place in range(n - 1))]
assert found == sum(distance[a, b] for a, b in zip(tour, tour[1:] + tour[:1]))
print(f"{found} km by {' '.join(str(city + 1) for city in tour)}; the shortest is {known} km")

# %%
figure, axes = plt.subplots(figsize=(10, 5), layout="constrained")
way = places[tour + tour[:1]]
axes.plot(way[:, 1], way[:, 0], "o-", color="tab:blue")
for city, (north, east) in enumerate(places):
    axes.annotate(str(city + 1), (east, north), textcoords="offset points", xytext=(5, 5))
axes.set_xlabel("east")
axes.set_ylabel("north")
axes.set_title(f"ulysses16: {found} km")
figure.savefig("travelling_salesman.png", dpi=100)
