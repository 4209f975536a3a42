"""``python -m orvex.distributed FILE --scheduler ADDRESS``: a search over a cluster from a shell, with the
formats and options of the program ``orvex solve``, its files, and its exit statuses.
"""

from __future__ import annotations

import argparse
import json
import os
import signal
import sys
import warnings
from collections.abc import Sequence
from contextlib import ExitStack
from fractions import Fraction
from pathlib import Path
from typing import Any

import numpy as np

from .. import OrvexError, Problem, engine_version, read
from .._checkpoint import CheckpointWarning
from ._result import Result
from ._solve import ENDLESS, solve

_REFUSED, _BAD_INPUT, _NOT_WRITTEN = 1, 2, 4


def _number(text: str) -> int | float | Fraction:
    try:
        number = Fraction(text)
    except (ValueError, ZeroDivisionError):
        raise argparse.ArgumentTypeError(f"a number is expected, not {text!r}") from None
    return int(number) if number.denominator == 1 else number


def _seconds(text: str) -> float:
    seconds = float(_number(text))
    if seconds < 0:
        raise argparse.ArgumentTypeError("a time limit is not negative")
    return seconds or ENDLESS


def _scale(text: str) -> int | str:
    return int(text) if text.isdecimal() else text


def _share(text: str) -> float | str:
    return text if text == "auto" else float(_number(text))


def _setting(text: str) -> tuple[str, Any]:
    """KEY=VALUE; of numbers where they are numbers."""
    key, equals, value = text.partition("=")
    if not equals or not key:
        raise argparse.ArgumentTypeError(f"--param takes KEY=VALUE, not {text!r}")
    parts: list[Any] = []
    for part in value.split():
        for kind in (int, float, str):
            try:
                parts.append(kind(part))
                break
            except ValueError:
                pass
    return key, parts[0] if len(parts) == 1 else tuple(parts)


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(
        prog="python -m orvex.distributed",
        description="Solves a QUBO problem on all workers of a Dask cluster: minimises the sum over i <= j of "
        "W[i][j] x[i] x[j].",
        epilog="Without --time-limit, --target and --trials a run takes 10 seconds. Ctrl-C ends it and still "
        "prints and writes the best solution. docs/cluster.md shows how a cluster is started.",
    )
    add = parser.add_argument
    add("file", metavar="FILE", help="file of a problem, plain or compressed (.gz)")
    where = parser.add_argument_group("cluster")
    where.add_argument("--scheduler", metavar="ADDRESS", help="address of a Dask scheduler, such as tcp://host:8786")
    where.add_argument("--scheduler-file", metavar="FILE", help="file in which a scheduler left its address")
    where.add_argument("--searches", type=int, metavar="N", help="how many searches; by default one for each worker")
    for name, text in (("ca-file", "certificate of the authority"), ("cert", "certificate"), ("key", "its key")):
        where.add_argument(f"--tls-{name}", metavar="FILE", help=f"{text}, for a scheduler at tls://")
    add("--time-limit", type=_seconds, metavar="SECONDS", help="end after this many seconds; 0: no limit")
    add("--target", type=_number, metavar="ENERGY", help="end at this energy or below, in the numbers of the file")
    add("--trials", type=int, metavar="N", help="end each search after this many instances")
    add("--param", type=_setting, action="append", default=[], metavar="KEY=VALUE",
        help="a parameter of the library; may be repeated")  # fmt: skip
    add("--presolve", choices=("auto", "off", "full"), default="auto", help="exact reductions before the search")
    add("--companion", type=_share, default="auto", metavar="SHARE", help="share of the processors, or auto")
    add("--groups", metavar="FILE", help="one-hot groups: a line of variables for each")
    add("--start", metavar="FILE", help="begin with the solution in this file")
    add("--output", metavar="FILE", help="write the solution and its results here")
    add("--checkpoint", metavar="FILE", help="keep the best solutions in this file while the search goes on")
    add("--resume", metavar="FILE", help="begin with the solutions that --checkpoint left in this file")
    add("--from", dest="format", metavar="FORMAT", help="format of the file, if its contents leave it open")
    add("--instance", type=int, metavar="K", help="which of the file's instances")
    add("--penalty", type=int, metavar="P", help="penalty of a broken constraint")
    add("--sense", choices=("min", "max"), help="whether to minimise or maximise, if the format leaves it open")
    add("--scale", type=_scale, default="auto", metavar="SCALE", help="how decimals become integers")
    add("--json", action="store_true", help="result as one JSON object on standard output")
    add("--quiet", action="store_true", help="show no progress and no warnings")
    return parser


def _read_groups(path: str, base: int) -> list[list[int]]:
    groups = []
    for number, line in enumerate(Path(path).read_text().splitlines(), 1):
        words = line.partition("#")[0].split()
        if not words:
            continue
        if words[0] == "<=":
            raise ValueError(f"{path}, line {number}: groups of at most one are known to orvex solve alone")
        try:
            groups.append([int(word) - base for word in words])
        except ValueError:
            raise ValueError(f"{path}, line {number}: a group consists of variables") from None
    return groups


def _read_start(path: str, size: int) -> Any:
    with open(path, encoding="ascii", errors="replace") as file:
        digits = file.readline(size + 64).strip()
    if len(digits) != size or set(digits) - {"0", "1"}:
        raise ValueError(f"{path}, line 1: a solution of this problem has {size} digits 0 and 1")
    return np.array([digit == "1" for digit in digits])


def _expect_writable(path: str) -> None:
    """Before a long run is spent."""
    checked = path if os.path.exists(path) else os.path.dirname(path) or "."
    if os.path.isdir(path) or not os.access(checked, os.W_OK):
        raise OSError(f"Cannot write {path}")


def _report(problem: Problem, result: Result, given: argparse.Namespace) -> dict[str, Any]:
    source = problem.source
    assert source is not None
    info = result.info
    report: dict[str, Any] = {
        "file": given.file, "size": problem.size, "energy": result.energy, "objective": result.objective,
        "format": source.format, "index_base": source.index_base, "factor": source.factor,
        "sense": source.sense, "offset": source.offset, "equation": source.equation,
        "status": result.status, "bound": result.bound, "found_by": info.get("found_by") or None,
    }  # fmt: skip
    if problem.scale != 1:
        report.update(scale=problem.scale, largest_error=problem.largest_error)
    if given.target is not None:
        report.update(target=_plain(given.target), target_reached=bool(result.energy <= given.target))
    report.update(
        tts=round(result.history[-1][0], 6), runtime=round(result.timings["search"], 6),
        load_time=round(result.timings["build"] + result.timings["load"], 6),
        total_flips=int(info.get("total_flips") or 0), device=info.get("gpu") or None,
        version=engine_version(), searches=[row._asdict() for row in result.searches],
    )  # fmt: skip
    return report


def _plain(number: Any) -> Any:
    return float(number) if isinstance(number, Fraction) else number


def _text(value: Any) -> str:
    if isinstance(value, bool):
        return str(value).lower()
    return "none" if value is None else str(value)


def _write(path: str, digits: str, report: dict[str, Any]) -> None:
    """The bits in the first line, the report as key=value lines below."""
    lines = [digits]
    for key, value in report.items():
        if key == "searches":
            lines += [
                "search=" + " ".join(f"{k}:{_text(v)}" for k, v in row.items()) for row in value
            ]
        else:
            lines.append(f"{key}={_text(value)}")
    Path(path).write_text("\n".join(lines) + "\n")


def _show(report: dict[str, Any]) -> None:
    shown: dict[str, Any] = {"energy": report["energy"]}
    if report["format"] != "orvex":
        shown["objective"] = report["objective"]
    shown.update({
        "status": report["status"], "time to solution": f"{report['tts']} s",
        "run time": f"{report['runtime']} s", "flips": report["total_flips"],
    })  # fmt: skip
    for key, value in shown.items():
        print(f"{key:<18}{_text(value)}")
    names = ("search", "worker", "status", "best", "results", "received", "flips", "restarts")
    rows = [names, *(tuple(_text(row[name]) for name in names) for row in report["searches"])]
    widths = [max(len(row[k]) for row in rows) for k in range(len(names))]
    for row in rows:
        print("  ".join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip())


def _client(given: argparse.Namespace) -> Any:
    from distributed import Client
    from distributed.security import Security

    if given.scheduler is None and given.scheduler_file is None:
        return None
    security = None
    if given.tls_ca_file or given.tls_cert or given.tls_key:
        security = Security(
            tls_ca_file=given.tls_ca_file, tls_client_cert=given.tls_cert,
            tls_client_key=given.tls_key, require_encryption=True,
        )  # fmt: skip
    return Client(
        given.scheduler, scheduler_file=given.scheduler_file, security=security, set_as_default=False
    )


def _search(given: argparse.Namespace) -> int:
    if given.scheduler and given.scheduler_file:
        raise ValueError("--scheduler and --scheduler-file both say where the scheduler is")
    if given.output:
        _expect_writable(given.output)
    problem = read(
        given.file, given.format, instance=given.instance, penalty=given.penalty, sense=given.sense,
        scale=given.scale,
    )  # fmt: skip
    assert problem.source is not None
    starts = [_read_start(given.start, problem.size)] if given.start else []
    groups = _read_groups(given.groups, problem.source.index_base) if given.groups else None
    presolve: Any = {"auto": True, "off": False, "full": "full"}[given.presolve]
    with ExitStack() as stack:
        client = _client(given)
        if client is not None:
            stack.enter_context(client)
        unwritten = stack.enter_context(warnings.catch_warnings(record=True))
        assert unwritten is not None
        warnings.simplefilter("always", CheckpointWarning)
        result = solve(
            problem, client=client, searches=given.searches, time_limit=given.time_limit,
            target=given.target, trial_limit=given.trials, starts=starts, progress=not given.quiet,
            presolve=presolve, companion=given.companion, groups=groups, checkpoint=given.checkpoint,
            resume=given.resume, **dict(given.param),
        )  # fmt: skip
    status = 0
    for warning in unwritten:
        failed = issubclass(warning.category, CheckpointWarning)
        status = _NOT_WRITTEN if failed else status
        if failed or not given.quiet:
            print(f"{'Error' if failed else 'Warning'}: {warning.message}", file=sys.stderr)
    report = _report(problem, result, given)
    digits = "".join("1" if bit else "0" for bit in result.x)
    if given.json:
        print(json.dumps({**report, "bits": digits}))
    else:
        _show(report)
    if given.output:
        try:
            _write(given.output, digits, report)
        except OSError as error:
            print(f"Error: Cannot write {given.output}: {error.strerror}", file=sys.stderr)
            status = _NOT_WRITTEN
    return status


def _interrupt(*_: object) -> None:
    raise KeyboardInterrupt


def main(words: Sequence[str] | None = None) -> int:
    """The program; returns its exit status."""
    given = _parser().parse_args(words)
    before = signal.signal(signal.SIGTERM, _interrupt)  # as a batch system sends before it kills
    try:
        return _search(given)
    except KeyboardInterrupt:  # before there was anything to end
        return 128 + signal.SIGINT
    except MemoryError as error:
        print(f"Error: {error or 'not enough memory'}", file=sys.stderr)
        return _REFUSED
    except OrvexError as error:
        print(f"Error: {error}", file=sys.stderr)
        return _REFUSED
    except (ValueError, TypeError, OSError) as error:
        print(f"Error: {error}", file=sys.stderr)
        return _BAD_INPUT
    finally:
        signal.signal(signal.SIGTERM, before)


if __name__ == "__main__":
    sys.exit(main())
