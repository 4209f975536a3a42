# %% [markdown]
# # Quadratic assignment
#
# Twelve departments are to be put on a floor of three rows of four rooms, so that people walk the least: the
# flow between two departments times the distance of their rooms, summed over all pairs. The bit x[d, r] says
# that department d gets room r. The QUBO is
#
# $$\sum_{d \ne e} \sum_{r \ne s} \mathrm{flow}(d, e) \, \mathrm{distance}(r, s) \, x_{d, r} \, x_{e, s}$$
#
# and a penalty A (1 - sum)^2 for each department and each room. A is what moving one department can save
# at most: its flows, largest first, over the largest distances.
#
# The instance is nug12 of QAPLIB (Nugent, Vollmann and Ruml), whose optimum is 578.

# %%
import matplotlib.pyplot as plt
import numpy as np
import orvex

flow = np.array([
    [0, 5, 2, 4, 1, 0, 0, 6, 2, 1, 1, 1], [5, 0, 3, 0, 2, 2, 2, 0, 4, 5, 0, 0],
    [2, 3, 0, 0, 0, 0, 0, 5, 5, 2, 2, 2], [4, 0, 0, 0, 5, 2, 2, 10, 0, 0, 5, 5],
    [1, 2, 0, 5, 0, 10, 0, 0, 0, 5, 1, 1], [0, 2, 0, 2, 10, 0, 5, 1, 1, 5, 4, 0],
    [0, 2, 0, 2, 0, 5, 0, 10, 5, 2, 3, 3], [6, 0, 5, 10, 0, 1, 10, 0, 0, 0, 5, 0],
    [2, 4, 5, 0, 0, 1, 5, 0, 0, 0, 10, 10], [1, 5, 2, 0, 5, 5, 2, 0, 0, 0, 5, 0],
    [1, 0, 2, 5, 1, 4, 3, 5, 10, 5, 0, 2], [1, 0, 2, 5, 1, 0, 3, 0, 10, 0, 2, 0],
])  # fmt: skip
rooms = np.array([(row, column) for row in range(3) for column in range(4)])
distance = np.abs(rooms[:, None] - rooms).sum(axis=2)
n = len(flow)

# %%
Q = np.kron(flow, distance)  # department d in room r is bit n d + r
penalty = int(max((np.sort(row) * np.sort(distance.max(axis=0))).sum() for row in 2 * flow))
bits = np.arange(n * n).reshape(n, n)
groups = [*bits.tolist(), *bits.T.tolist()]
for group in groups:
    Q[np.ix_(group, group)] += penalty
    Q[group, group] -= 2 * penalty
constant = penalty * len(groups)

known = 578
result = orvex.solve(Q, groups=groups, time_limit=60, target=known - constant)
found = result.energy + constant

chosen = result.x.reshape(n, n)
assert (chosen.sum(axis=0) == 1).all() and (chosen.sum(axis=1) == 1).all()
room = chosen.argmax(axis=1)
assert found == (flow * distance[np.ix_(room, room)]).sum()
print(f"cost {found}; the optimum is {known}")

# %%
figure, axes = plt.subplots(figsize=(8, 6), layout="constrained")
for d in range(n):
    for e in range(d):
        if flow[d, e]:
            (y0, x0), (y1, x1) = rooms[room[[d, e]]] + 0.12 * np.array([[d % 3 - 1, d % 2], [e % 3 - 1, e % 2]])
            axes.plot([x0, x1], [y0, y1], color="tab:blue", linewidth=flow[d, e] / 2, alpha=0.5)
for d in range(n):
    row, column = rooms[room[d]]
    axes.text(column, row, str(d + 1), ha="center", va="center", bbox={"boxstyle": "circle", "facecolor": "white"})
axes.set(xlim=(-0.5, 3.5), ylim=(2.5, -0.5), xticks=[], yticks=[], title=f"nug12: cost {found}")
figure.savefig("quadratic_assignment.png", dpi=100)
