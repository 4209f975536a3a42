"""A build for GPUs on a machine that has none: every search is refused by an exception, since the library
would end the process. Run by CI with such a build; everything else is tested with one for processors.
"""

import orvex

problem = orvex.Problem({(0, 1): -3})
assert problem.energy([1, 1]) == -3
for settings in ({}, {"gpus": 1}, {"gpus": 2}):
    try:
        orvex.solve(problem, trial_limit=5, **settings)
    except RuntimeError as error:
        assert "there is none that it can use" in str(error), error
    else:
        raise AssertionError("a search began without a GPU")
print("refused")
