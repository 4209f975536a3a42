# %% [markdown]
# # Sudoku
#
# The bit x[r, c, d] says that row r, column c has digit d. Of each field, and of each digit in each row, column
# and block, exactly one bit is 1. Each pair of bits that exclude each other costs 1 and each bit that is set
# gains 1, so that the QUBO is
#
# $$\min \sum_{(a, b) \; \mathrm{exclude}} x_a x_b - \sum_a x_a,$$
#
# and it has the energy -81 where all 81 fields have a digit and no rule is broken; less is not possible. Digits
# that are given away, and the bits that these rule out, are left out before.
#
# `groups=[]` has the search flip bits by themselves: each bit here is in four sets of which one is 1, and moves
# that keep one of them break the others.

# %%
import itertools

import matplotlib.pyplot as plt
import orvex

puzzle = """
8 . . . . . . . .
. . 3 6 . . . . .
. 7 . . 9 . 2 . .
. 5 . . . 7 . . .
. . . . 4 5 7 . .
. . . 1 . . . 3 .
. . 1 . . . . 6 8
. . 8 5 . . . 1 .
. 9 . . . . 4 . .
"""
given = {(r, c): int(digit) for r, row in enumerate(puzzle.split("\n")[1:10])
         for c, digit in enumerate(row.split()) if digit != "."}  # fmt: skip


def units(r, c, d):
    """What may have this digit once only, and the field, which may have one digit only."""
    return {("row", r, d), ("column", c, d), ("block", r // 3, c // 3, d), ("field", r, c)}


taken = {unit for (r, c), d in given.items() for unit in units(r, c, d)}
members = {}
Q = {}
for bit in itertools.product(range(9), range(9), range(1, 10)):
    if not units(*bit) & taken:
        Q[bit, bit] = -1
        for unit in units(*bit):
            for other in members.setdefault(unit, []):
                Q[other, bit] = 1
            members[unit].append(bit)

known = len(given) - 81
result = orvex.solve(Q, groups=[], time_limit=60, target=known)
found = result.energy
solution = {**given, **{(r, c): d for (r, c, d), is_set in result.sample.items() if is_set}}

# %%
everywhere = [units(r, c, d) for (r, c), d in solution.items()]
assert len(solution) == 81 and len(set().union(*everywhere)) == 4 * 81
for r in range(9):
    print(*(solution[r, c] for c in range(9)))

# %%
figure, axes = plt.subplots(figsize=(5, 5), layout="constrained")
for (r, c), d in solution.items():
    axes.text(
        c + 0.5,
        r + 0.5,
        str(d),
        ha="center",
        va="center",
        fontsize=15,
        color="black" if (r, c) in given else "tab:blue",
    )
for k in range(10):
    axes.axhline(k, color="black", linewidth=2 if k % 3 == 0 else 0.5)
    axes.axvline(k, color="black", linewidth=2 if k % 3 == 0 else 0.5)
axes.set(xlim=(0, 9), ylim=(9, 0), xticks=[], yticks=[])
figure.savefig("sudoku.png", dpi=100)
