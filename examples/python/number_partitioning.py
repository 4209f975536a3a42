# %% [markdown]
# # Number partitioning
#
# Divide numbers into two heaps whose sums differ least. With C as the sum of all and s as that of the chosen
# ones, (C - 2 s)^2 = C^2 + 4 s (s - C) is to be least, so the QUBO is
#
# $$\min \sum_i a_i (a_i - C) \, x_i + \sum_{i < j} 2 \, a_i a_j \, x_i x_j,$$
#
# whose energy is (difference^2 - C^2) / 4. The sum of these 60 numbers is even, and a table of all sums that
# subsets of them have (Bellman's way) shows that a difference of 0 is possible.

# %%
import matplotlib.pyplot as plt
import numpy as np
import orvex

numbers = np.random.default_rng(11).integers(1_000, 10_000, 60)
total = int(numbers.sum())

sums = 1  # bit s of this number: whether some of the numbers add up to s
for number in numbers.tolist():
    sums |= sums << number
known = min(abs(total - 2 * s) for s in range(total // 2 - 50, total // 2 + 51) if sums >> s & 1)

Q = np.triu(2 * np.outer(numbers, numbers), 1) + np.diag(numbers * (numbers - total))
result = orvex.solve(Q, time_limit=60, target=(known**2 - total**2) // 4)

left, right = int(numbers[result.x].sum()), int(numbers[~result.x].sum())
found = abs(left - right)
assert found**2 == total**2 + 4 * result.energy
print(f"{left} and {right}, a difference of {found}; the least is {known}")

# %%
figure, axes = plt.subplots(figsize=(10, 3), layout="constrained")
for row, heap in enumerate((numbers[result.x], numbers[~result.x])):
    heap = np.sort(heap)[::-1]
    axes.barh(row, heap, left=np.cumsum(heap) - heap, edgecolor="white", color=f"C{row}")
axes.set(yticks=[0, 1], yticklabels=[left, right], xlabel="sum", title=f"a difference of {found}")
figure.savefig("number_partitioning.png", dpi=100)
