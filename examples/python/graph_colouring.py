# %% [markdown]
# # Colouring a map
#
# Give each vertex of a graph one of k colours so that no edge has the same colour at both ends. The bit x[v, c]
# says that vertex v has colour c. The QUBO counts the edges that are wrong,
#
# $$\sum_{(u, v) \in E} \sum_c x_{u, c} \, x_{v, c} + \sum_v A \, (1 - \sum_c x_{v, c})^2,$$
#
# with A = 1 + the degree of the vertex, or more: a colour too many or none saves less.
#
# The graph is the neighbourhood of 80 places on a plane (a Delaunay triangulation), and no edge need be wrong
# with four colours: that is the four colour theorem.

# %%
import matplotlib.pyplot as plt
import networkx as nx
import numpy as np
import orvex
from scipy.spatial import Delaunay

places = np.random.default_rng(7).random((80, 2))
graph = nx.Graph()
for a, b, c in Delaunay(places).simplices.tolist():
    graph.add_edges_from([(a, b), (b, c), (c, a)])
colours = 4


def bit(vertex, colour):
    return colours * vertex + colour


Q = {}
groups = [[bit(v, c) for c in range(colours)] for v in graph]
for v, group in zip(graph, groups):
    penalty = 1 + graph.degree(v)
    for i in group:
        Q[i, i] = -penalty
        for j in group:
            if i < j:
                Q[i, j] = 2 * penalty
constant = sum(1 + graph.degree(v) for v in graph)
for u, v in graph.edges:
    for c in range(colours):
        Q[bit(u, c), bit(v, c)] = 1

known = 0
result = orvex.solve(Q, groups=groups, time_limit=60, target=known - constant)
found = result.energy + constant

chosen = result.x.reshape(-1, colours)
assert (chosen.sum(axis=1) == 1).all()
colour = chosen.argmax(axis=1)
assert found == sum(colour[u] == colour[v] for u, v in graph.edges)
print(f"{graph.number_of_edges()} edges, {colours} colours, {found} edges wrong")

# %%
figure, axes = plt.subplots(figsize=(7, 7), layout="constrained")
nx.draw(
    graph,
    dict(enumerate(places)),
    ax=axes,
    node_size=120,
    edge_color="0.7",
    edgecolors="black",
    node_color=[plt.cm.Set2(int(colour[v])) for v in graph],
)
figure.savefig("graph_colouring.png", dpi=100)
