# %% [markdown]
# # Models of another library
#
# Programs around QUBOs often state their models with dimod. `OrvexSampler` and `OrvexCQMSampler` take these as
# they are.
#
# **A model without constraints.** dimod makes spin glasses of overlapping loops of couplings, each of which
# cannot please all of its spins, in such a way that the ground state is known beforehand: all spins up. The
# QUBO follows from the spins by s = 2 x - 1.

# %%
import dimod
import matplotlib.pyplot as plt
import networkx as nx
import orvex

lattice = nx.convert_node_labels_to_integers(nx.grid_2d_graph(16, 16))
model = dimod.generators.frustrated_loop(lattice, 60, seed=5, plant_solution=True)
ground = model.energy(dict.fromkeys(model.variables, 1))

samples = orvex.OrvexSampler(time_limit=10, target=ground).sample(model, num_reads=20)
energy = samples.first.energy
print(f"{len(model.variables)} spins: energy {energy}; the ground state has {ground}")

# %% [markdown]
# **A model with constraints.** A file of linear programming: which machines should be bought, and how many of
# each, for the most work? Whole numbers become bits, and what the shop and the purse allow become penalties, for
# which `OrvexCQMSampler` finds the weights. Its answer is in the file's own variables.

# %%
model_with_constraints = dimod.lp.loads("""
Maximize
 work: 7 drills + 12 lathes + 16 mills + 3 saws + 2 crane
Subject To
 purse: 30 drills + 55 lathes + 80 mills + 12 saws + 9 crane <= 400
 floor: 2 drills + 3 lathes + 4 mills + saws <= 23
 lifting: mills - 5 crane <= 0
Bounds
 0 <= drills <= 9
 0 <= lathes <= 9
 0 <= mills <= 9
 0 <= saws <= 9
General
 drills lathes mills saws
Binary
 crane
End
""")
answer = orvex.OrvexCQMSampler(time_limit=3).sample_cqm(model_with_constraints)
best = answer.first
print({name: int(count) for name, count in best.sample.items()}, "work", -best.energy, answer.info["status"])

# %% [markdown]
# Both answers are checked: the first against the planted ground state, the second by dimod's own check, and
# against all choices.

# %%
assert model_with_constraints.check_feasible(best.sample)
counts = [
    (d, l, m, s, c)
    for d in range(10)
    for l in range(10)
    for m in range(10)
    for s in range(10)
    for c in (0, 1)
    if 30 * d + 55 * l + 80 * m + 12 * s + 9 * c <= 400 and 2 * d + 3 * l + 4 * m + s <= 23 and m <= 5 * c
]
most = max(7 * d + 12 * l + 16 * m + 3 * s + 2 * c for d, l, m, s, c in counts)
found, known = (energy, -best.energy), (ground, most)
print("work of", most, "is the most")

# %%
figure, (left, right) = plt.subplots(1, 2, figsize=(11, 4), layout="constrained")
left.plot(range(1, len(samples) + 1), samples.record.energy, "o")
left.axhline(ground, color="tab:red", linestyle=":", label="planted ground state")
left.set(xlabel="solution", ylabel="energy", title="20 distinct solutions")
left.legend()
right.bar([str(name) for name in best.sample], best.sample.values())
right.set(title=f"work {-best.energy:g}")
figure.savefig("dimod_model.png", dpi=100)
