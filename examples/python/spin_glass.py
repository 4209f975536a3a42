# %% [markdown]
# # A spin glass
#
# Spins of -1 or 1 on a square lattice, each coupled to its four neighbours by a J that is 1 or -1 by chance:
# the energy -sum J s s' has a ground state that cannot satisfy all couplings. With s = 2 x - 1 this is the QUBO
#
# $$\min \sum_{(i, j)} -J_{ij} \, (4 x_i x_j - 2 x_i - 2 x_j + 1),$$
#
# which `orvex` makes itself of a model of spins.
#
# The lattice has 40 x 12 spins and open borders, so that its ground state energy can also be computed column by
# column, over all 4096 states of a column (a transfer matrix).

# %%
import dimod
import matplotlib.pyplot as plt
import numpy as np
import orvex

length, width = 40, 12
random = np.random.default_rng(4)
along = random.choice((-1, 1), (length - 1, width))
across = random.choice((-1, 1), (length, width - 1))

model = dimod.BinaryQuadraticModel("SPIN")
for x in range(length):
    for y in range(width):
        if x + 1 < length:
            model.add_quadratic((x, y), (x + 1, y), -along[x, y])
        if y + 1 < width:
            model.add_quadratic((x, y), (x, y + 1), -across[x, y])

result = orvex.solve(model, time_limit=30)
found = result.energy
spins = np.array([[2 * result.sample[x, y] - 1 for y in range(width)] for x in range(length)])
assert found == -(along * spins[1:] * spins[:-1]).sum() - (across * spins[:, 1:] * spins[:, :-1]).sum()

# %%
states = 1 - 2 * (np.arange(1 << width)[:, None] >> np.arange(width) & 1)
least = np.zeros(1 << width, dtype=int)  # energy of the columns so far, by the state of the last
for x in range(length):
    if x > 0:
        for y in range(width):  # one spin of the column after the other takes its next value
            flipped = least[np.arange(1 << width) ^ 1 << y]
            least = np.minimum(least - along[x - 1, y], flipped + along[x - 1, y])
    least = least - (across[x] * states[:, 1:] * states[:, :-1]).sum(axis=1)
known = int(least.min())
print(f"energy {found} ({result.status}, found by {result.info['found_by']}); the ground state has {known}")

# %% [markdown]
# The picture shows the spins, and as red lines the couplings that no spin can please.

# %%
figure, axes = plt.subplots(figsize=(12, 4), layout="constrained")
axes.imshow(spins.T, cmap="Greys", alpha=0.6)
for x, y in np.argwhere(along * spins[1:] * spins[:-1] < 0):
    axes.plot([x + 0.5, x + 0.5], [y - 0.5, y + 0.5], color="tab:red")
for x, y in np.argwhere(across * spins[:, 1:] * spins[:, :-1] < 0):
    axes.plot([x - 0.5, x + 0.5], [y + 0.5, y + 0.5], color="tab:red")
axes.set(xticks=[], yticks=[], title=f"ground state of energy {found}")
figure.savefig("spin_glass.png", dpi=100)
