# %% [markdown]
# # Max-Cut on a graph
#
# Divide the vertices of a graph in two so that as many edges as possible run between the parts. With a bit
# for each vertex, the edge between i and j is cut where x_i + x_j - 2 x_i x_j is 1, so the QUBO is
#
# $$\min \sum_{(i, j) \in E} w_{ij} \, (2 x_i x_j - x_i - x_j),$$
#
# whose energy is the cut with the other sign. `orvex.maxcut` states it for graphs of networkx. The graph is
# G43 of the G-set, with 1000 vertices and 9990 edges; the best cut that anyone has published is 6660.

# %%
import gzip
from pathlib import Path

import matplotlib.pyplot as plt
import networkx as nx
import orvex

data = Path(globals().get("__file__", "examples/python/max_cut.py")).parents[1] / "data"
graph = nx.Graph()
with gzip.open(data / "G43.txt.gz", "rt") as file:
    size, edges = map(int, file.readline().split())
    graph.add_nodes_from(range(1, size + 1))
    for line in file:
        u, v, weight = map(int, line.split())
        graph.add_edge(u, v, weight=weight)

known = 6660
cut = orvex.maxcut(graph, time_limit=60, target=known)
found = cut.value
print(f"cut {found} of {len(graph.edges)} edges; best known {known}")

# %% [markdown]
# The cut is counted again from its edges. The picture shows the matrix of the graph with the vertices of each
# part together: what is cut are the two blocks off the diagonal, which are denser.

# %%
assert found == sum(graph.edges[edge]["weight"] for edge in cut.edges)

order = [*sorted(cut.parts[0]), *sorted(cut.parts[1])]
figure, (left, right) = plt.subplots(1, 2, figsize=(11, 5), layout="constrained")
left.spy(nx.to_scipy_sparse_array(graph, nodelist=order), markersize=0.4, color="0.2")
border = len(cut.parts[0]) - 0.5
left.axhline(border, color="tab:red")
left.axvline(border, color="tab:red")
left.set_title(f"{len(cut.parts[0])} and {len(cut.parts[1])} vertices, {found} edges cut")
cut.result.plot(right)
right.axhline(-known, color="tab:red", linestyle=":", label="best known")
right.legend()
figure.savefig("max_cut.png", dpi=100)
