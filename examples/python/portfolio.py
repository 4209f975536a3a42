# %% [markdown]
# # A portfolio from real data
#
# Choose k of n shares so that their expected return less their risk is best. With mean returns m and the
# matrix of covariances S, both real numbers, the QUBO is
#
# $$\min \; q \, x' S x - m' x + A \, (k - \sum_i x_i)^2,$$
#
# where q says how much risk matters. Real coefficients are taken as they are: the search rounds them, `orvex`
# tells how far an energy may be off by that, and the energy of the result is added up without rounding.
#
# All 38760 choices of 6 shares out of 20 are few enough to be tried, so the best one is known.

# %%
import itertools

import matplotlib.pyplot as plt
import numpy as np
import orvex

random = np.random.default_rng(2)
n, k, q = 20, 6, 0.5
factors = random.normal(size=(n, 3)) * [0.02, 0.01, 0.008]  # what moves the market, a sector, a country
daily = random.normal(size=(500, 3)) @ factors.T + random.normal(size=(500, n)) * 0.015
daily += random.normal(0.0004, 0.0006, n)
mean, covariance = 250 * daily.mean(axis=0), 250 * np.cov(daily.T)

penalty = float(np.abs(mean).max() + 2 * q * np.abs(covariance).sum(axis=1).max())
Q = q * covariance - np.diag(mean)
Q += penalty * (np.ones((n, n)) - 2 * k * np.eye(n))
constant = penalty * k**2

problem = orvex.Problem(Q)
print(f"energies of the search are off by at most {problem.largest_error:.1g}")
result = orvex.solve(problem, time_limit=2)
chosen = np.flatnonzero(result.x)
found = float(result.energy + constant)


def value(shares):
    return q * covariance[np.ix_(shares, shares)].sum() - mean[list(shares)].sum()


# %%
choices = list(itertools.combinations(range(n), k))
values = np.array([value(choice) for choice in choices])
known = float(values.min())
assert len(chosen) == k and abs(found - value(chosen)) < 1e-9
print(f"shares {chosen.tolist()}: {found:.6f}; the best of {len(choices)} choices has {known:.6f}")

# %%
figure, axes = plt.subplots(figsize=(7, 5), layout="constrained")
sample = random.choice(len(choices), 4000, replace=False)
risk = [np.sqrt(covariance[np.ix_(choices[c], choices[c])].sum()) / k for c in sample]
gain = [mean[list(choices[c])].mean() for c in sample]
axes.scatter(risk, gain, s=2, color="0.6", label="4000 choices")
axes.scatter(
    np.sqrt(covariance[np.ix_(chosen, chosen)].sum()) / k, mean[chosen].mean(), color="tab:red", label="found"
)
axes.set(xlabel="risk", ylabel="expected return", title="6 of 20 shares")
axes.legend()
figure.savefig("portfolio.png", dpi=100)
