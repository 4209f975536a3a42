"""The page of one trace, or of several: python -m orvex.report FILE... -o run.html"""

from __future__ import annotations

import argparse
import sys

from ._page import write
from ._runs import TraceError


def main(arguments: list[str] | None = None) -> int:
    """Does what the command line says; returns the exit status."""
    parser = argparse.ArgumentParser(
        prog="python -m orvex.report",
        description="Draws what searches did, on a page that needs no network.",
        epilog="Traces are written by orvex solve --trace FILE and by orvex.solve(..., trace=FILE).",
    )
    parser.add_argument("traces", nargs="+", metavar="FILE", help="trace of a run; several are compared")
    parser.add_argument("-o", "--output", required=True, metavar="PAGE", help="the page; - is standard output")
    parser.add_argument("--title", help="of the page; by default it names the runs")
    given = parser.parse_args(arguments)
    try:
        write(given.output, given.traces, given.title)
    except (TraceError, ImportError, OSError) as error:
        print(f"Error: {error}", file=sys.stderr)
        return 2
    return 0


if __name__ == "__main__":
    sys.exit(main())
