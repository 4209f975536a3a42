"""Pictures of what searches did, from their traces (docs/traces.md).

    $ orvex solve model.qubo --trace run.jsonl
    $ python -m orvex.report run.jsonl -o run.html

The page needs no network; several traces on one page compare runs. In a notebook the same pictures are
:func:`figures` of a result, or of several. Needs plotly: ``pip install "orvex[report]"``.
"""

from __future__ import annotations

from ._figures import figures
from ._page import page, write
from ._runs import Run, TraceError, read_trace, run_of

__all__ = ["Run", "TraceError", "figures", "page", "read_trace", "run_of", "write"]
