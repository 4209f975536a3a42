"""One search over a cluster of machines, on Dask.

    >>> from dask.distributed import Client
    >>> import orvex.distributed
    >>> client = Client("tcp://scheduler:8786")                            # doctest: +SKIP
    >>> result = orvex.distributed.solve(problem, client=client)           # doctest: +SKIP

Needs ``pip install orvex[distributed]``. docs/cluster.md shows how a cluster is started, on a laptop, over SSH,
under Slurm and on Kubernetes. ``python -m orvex.distributed FILE --scheduler ADDRESS`` does the same from a
shell.
"""

try:
    import distributed as _  # noqa: F401
except ImportError as error:
    raise ImportError("orvex.distributed needs Dask: pip install 'orvex[distributed]'") from error

from ._result import Result, SearchRow
from ._solve import solve

__all__ = ["Result", "SearchRow", "solve"]
