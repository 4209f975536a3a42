"""All that a sequence of calls has made so far, and its steps. Each makes its calls and looks at their results; what does
not hold is raised as a Violation. Invariant: a step makes only calls that callers may make, or that the package must
refuse.
"""

from __future__ import annotations

import contextlib
import copy
import io
import os
import pathlib
import pickle
import signal
import threading
from typing import Any, Callable

import networkx
import numpy as np

import orvex

from . import forms, refusals
from .pairs import Numbers, ProblemPair, ResultPair, SettingsPair, chosen
from .questions import SETTINGS, SHORT, OnPurpose, Receiver, question
from .reference import Number, Table, require
from .results import look_at, rescored
from .steps import Step

#: What is planted on purpose, to see that it is found: "wrong_bit", "crash" or nothing.
planted = ""

_MOST = 5
#: Forms whose variables without coefficient are not searched.
_KNOWING = ("sparse", "mapping", "labels", "bqm")


class World:
    def __init__(self, folder: pathlib.Path) -> None:
        self._folder = folder
        self._problems: list[ProblemPair] = []
        self._settings: list[SettingsPair] = []
        self._results: list[ResultPair] = []
        self._checkpoints: dict[pathlib.Path, tuple[Table, Number]] = {}

    def run(self, step: Step) -> None:
        getattr(self, "_" + step.name)(step.numbers)
        for pair in self._problems:
            self._check(pair, step.numbers)
        for result in self._results:
            require(
                pickle.dumps(result.real) == result.data, "a result stays as it is while others are made"
            )

    # ---- problems

    def _check(self, pair: ProblemPair, numbers: Numbers) -> None:
        x = np.random.default_rng(numbers).integers(0, 2, pair.real.size).astype(bool)
        told, true = pair.real.energy(x), pair.energy(x)
        require(
            told == true and type(told) is type(true),
            f"{pair.form}: the energy of some bits is {true!r}, not {told!r}",
        )

    def _add(self, pair: ProblemPair) -> None:
        place = {label: k for k, label in enumerate(pair.table.labels)}
        require(pair.real.size == pair.table.size, f"{pair.form}: all variables are there")
        require(
            len(pair.real.variables) == pair.table.size and set(pair.real.variables) == set(place),
            f"{pair.form}: each variable has its label",
        )
        pair.order = np.array([place[label] for label in pair.real.variables])
        if not pair.table.rounded:
            require(pair.real.largest_error == 0, f"{pair.form}: nothing was rounded")
        self._problems = [*self._problems, pair][-_MOST:]

    def _make_problem(self, numbers: Numbers) -> None:
        given = forms.random_given(numbers, self._folder)
        if numbers[0] % 2:
            real = orvex.Problem(given.problem, scale=given.scale)
        elif given.form == "file":
            real = orvex.read(given.problem, "orvex")
        else:
            real = orvex.Problem(given.problem, **({} if given.scale is None else {"scale": given.scale}))
        self._add(ProblemPair(real, given.table, given.form, given.problem))

    def _change_source(self, numbers: Numbers) -> None:
        pair = chosen(self._problems, numbers[0])
        if pair is not None and pair.given is not None:
            forms.change(pair.given)
            pair.given = None

    def _copy_problem(self, numbers: Numbers) -> None:
        pair = chosen(self._problems, numbers[0])
        if pair is None:
            return
        ways: list[Callable[[Any], Any]] = [
            copy.copy, copy.deepcopy, *(lambda p, k=k: pickle.loads(pickle.dumps(p, k)) for k in (2, 5))
        ]  # fmt: skip
        real = ways[numbers[1] % 4](pair.real)
        require(repr(real) == repr(pair.real), "a copy looks like the problem")
        require(real.memory == pair.real.memory, "a copy takes as much")
        self._add(ProblemPair(real, pair.table, pair.form))

    def _drop_problem(self, numbers: Numbers) -> None:
        if self._problems:
            self._problems.pop(numbers[0] % len(self._problems))

    def _print_problem(self, numbers: Numbers) -> None:
        pair = chosen(self._problems, numbers[0])
        if pair is None:
            return
        require(f": {pair.real.size} variables, " in repr(pair.real), "a problem tells its size")
        require(pair.real.memory > 0, "a problem tells its memory")

    def _energies(self, numbers: Numbers) -> None:
        pair = chosen(self._problems, numbers[0])
        if pair is None:
            return
        draws = np.random.default_rng(numbers)
        for kind in ("?", "i1", "u8", "f4", "f8"):
            x = draws.integers(0, 2, pair.real.size).astype(kind)
            given = x.tolist() if numbers[1] % 2 else x
            require(pair.real.energy(given) == pair.energy(x.astype(bool)), f"energies of {kind}")

    def _presolve(self, numbers: Numbers) -> None:
        pair = chosen(self._problems, numbers[0])
        if pair is None:
            return
        left = pair.real.presolve(full=bool(numbers[1] % 2))
        slack = 2 * pair.real.largest_error + pair.table.slack()
        draws = np.random.default_rng(numbers)
        require((left.problem is None) == left.optimal, "either something is left or nothing")
        promised: Number = left.offset
        x = np.zeros(0, dtype=bool)
        if left.problem is not None:
            x = draws.integers(0, 2, left.problem.size).astype(bool)
            promised = left.problem.energy(x) + left.offset
        restored = pair.energy(left.restore(x))
        require(restored <= promised + slack, "what is restored is as good as it promises")
        whole = draws.integers(0, 2, pair.real.size).astype(bool)
        again = pair.energy(left.restore(left.project(whole)))
        require(again <= pair.energy(whole) + slack, "a projection loses nothing")
        optimum = pair.table.optimum()
        if optimum is not None:
            require(left.bound is None or left.bound <= optimum + slack, "a bound is below all")
            if left.optimal:
                require(abs(restored - optimum) <= slack, "what is left of nothing is an optimum")

    # ---- settings

    def _make_settings(self, numbers: Numbers) -> None:
        self._settings = [*self._settings, SettingsPair()][-_MOST:]

    def _set_setting(self, numbers: Numbers) -> None:
        if not self._settings:
            self._make_settings(numbers)
        settings = self._settings[numbers[0] % len(self._settings)].settings
        choices = SETTINGS[numbers[1] % len(SETTINGS)]
        name, value = choices[numbers[2] % len(choices)]
        for other, _ in choices:
            settings.pop(other, None)
        settings[name] = value

    def _set_callbacks(self, numbers: Numbers) -> None:
        if not self._settings:
            self._make_settings(numbers)
        self._settings[numbers[0] % len(self._settings)].requests = numbers[1:3]

    # ---- searches

    def _question(
        self, pair: ProblemPair, numbers: Numbers, alone: bool = True
    ) -> tuple[dict[str, Any], Receiver | None]:
        settings = chosen(self._settings, numbers[1]) or SettingsPair()
        return question(pair, settings, numbers, alone)

    def _search(
        self, pair: ProblemPair, arguments: dict[str, Any], receiver: Receiver | None
    ) -> orvex.Result | None:
        """Searches and looks at the result; None where a callback raised what it was to raise."""
        try:
            result = orvex.solve(pair.real, **arguments)
        except OnPurpose:
            require(receiver is not None and "raise" in receiver.asked, "only what was raised is raised")
            return None
        require(
            receiver is None or "raise" not in receiver.asked, "what a callback raises is raised again"
        )
        if planted == "crash":
            os.kill(os.getpid(), signal.SIGSEGV)
        if planted == "wrong_bit" and len(result.x) > 2:
            result.x[2] = result.solutions[-1][2] = not result.x[2]
        rescored.solutions += 1
        try:
            look_at(result, pair, arguments, set() if receiver is None else receiver.asked)
        except Exception:
            rescored.mismatches += 1
            raise
        if pair.form in _KNOWING:
            require(not result.x[~_used(pair)].any(), "variables without coefficient have the bit 0")
        return result

    def _keep(self, result: orvex.Result | None, pair: ProblemPair) -> None:
        if result is not None:
            kept = ResultPair(result, pair, pickle.dumps(result))
            self._results = [*self._results, kept][-_MOST:]

    def _solve(self, numbers: Numbers) -> None:
        pair = chosen(self._problems, numbers[0])
        if pair is not None:
            self._keep(self._search(pair, *self._question(pair, numbers)), pair)

    def _solve_from(self, numbers: Numbers) -> None:
        pair = chosen(self._problems, numbers[0])
        if pair is None:
            return
        arguments, receiver = self._question(pair, numbers)
        draws = np.random.default_rng(numbers)
        given = [draws.integers(0, 2, pair.real.size) for _ in range(1 + numbers[2] % 3)]
        given += [
            result.real.x for result in self._results if result.problem.table is pair.table
        ]
        starts = given[: 1 + numbers[3] % len(given)]
        hints = given[len(starts) :]
        result = self._search(pair, {**arguments, "starts": starts, "hints": hints}, receiver)
        self._keep(result, pair)

    def _solve_in_threads(self, numbers: Numbers) -> None:
        """Two searches at a time, of one problem or of two."""
        failures: list[BaseException] = []

        def search(pair: ProblemPair, question: Any) -> None:
            try:
                self._search(pair, *question)
            except BaseException as failure:
                failures.append(failure)

        pairs = [pair for k in (0, 2) if (pair := chosen(self._problems, numbers[k]))]
        questions = [
            self._question(pair, (*numbers[:3], numbers[3] + k), alone=False)
            for k, pair in enumerate(pairs)
        ]
        threads = [threading.Thread(target=search, args=both) for both in zip(pairs, questions)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        for failure in failures:
            raise failure

    # ---- checkpoints

    def _checkpoint(self, numbers: Numbers) -> None:
        """Into a new file, or one that is there: of this problem or of another."""
        pair = chosen(self._problems, numbers[0])
        if pair is None:
            return
        files = [self._folder / f"run-{len(self._checkpoints)}.checkpoint", *self._checkpoints]
        file = files[numbers[2] % len(files)]
        table, best = self._checkpoints.get(file, (pair.table, None))
        arguments, _ = self._question(pair, numbers)
        for name in ("callback", "pulse"):
            arguments.pop(name, None)
        before = file.read_bytes() if file.exists() else b""
        try:
            result = self._search(pair, {**arguments, "checkpoint": file}, None)
        except ValueError as refusal:
            require(table is not pair.table, f"a checkpoint of the problem itself is kept up: {refusal}")
            require("would take the place of another" in str(refusal), str(refusal))
            require(file.read_bytes() == before, "what is of another problem stays as it is")
            return
        assert result is not None
        require(file.read_text().endswith("\n"), "a checkpoint is there to its end")
        if table is pair.table:
            best = result.energy if best is None else min(best, result.energy)
            self._checkpoints[file] = (pair.table, best)
        else:  # the two cannot be told apart
            self._checkpoints.pop(file)
        self._keep(result, pair)

    def _resume(self, numbers: Numbers) -> None:
        pair = chosen(self._problems, numbers[0])
        file = chosen(list(self._checkpoints), numbers[2])
        if pair is None or file is None:
            return
        table, best = self._checkpoints[file]
        arguments, receiver = self._question(pair, numbers)
        try:
            result = self._search(pair, {**arguments, "resume": file}, receiver)
        except ValueError as refusal:
            require(table is not pair.table, f"a checkpoint of the problem itself is read: {refusal}")
            require("another problem" in str(refusal), str(refusal))
            return
        if result is not None and table is pair.table:
            slack = 2 * pair.real.largest_error + pair.table.slack()
            require(result.history[0][0] == 0.0, "what was kept is there from the beginning")
            require(result.history[0][1] <= best + slack, "a checkpoint keeps the best")
            require(result.energy <= best + slack, "a search that goes on loses nothing")

    # ---- results

    def _copy_result(self, numbers: Numbers) -> None:
        pair = chosen(self._results, numbers[0])
        if pair is None:
            return
        same = (copy.copy, copy.deepcopy, lambda r: pickle.loads(pickle.dumps(r)))[numbers[1] % 3](pair.real)
        require(same == pair.real and str(same) == str(pair.real), "a copy is the same result")
        require(repr(same) == repr(pair.real), "a copy looks the same")

    def _change_result(self, numbers: Numbers) -> None:
        """A result is its caller's: what it held is in nothing else."""
        if not self._results:
            return
        pair = self._results.pop(numbers[0] % len(self._results))
        for x in (pair.real.x, *pair.real.solutions, *(found.x for found in pair.real.best)):
            if x.flags.writeable:
                x[:] = ~x
        pair.real.history.clear()
        pair.real.info.clear()

    # ---- callers of the search

    def _maxcut(self, numbers: Numbers) -> None:
        size = 2 + numbers[0] % 30
        graph = networkx.gnp_random_graph(size, 0.3, seed=numbers[1])
        for k, (u, v) in enumerate(graph.edges):
            if (numbers[2] + k) % 3:
                graph.edges[u, v]["weight"] = (numbers[2] + 7 * k) % 21 - 10
        cut = orvex.maxcut(graph, time_limit=SHORT)
        rescored.solutions += 1
        left, right = cut.parts
        require(left | right == set(graph.nodes) and not left & right, "a cut divides the nodes")
        value = sum(w for u, v, w in graph.edges(data="weight", default=1) if (u in left) != (v in left))
        rescored.mismatches += int(value != cut.value)
        require(value == cut.value, "a cut's value is that of its edges")

    def _sample(self, numbers: Numbers) -> None:
        bqm, table = forms.random_bqm(numbers, self._folder)
        reads = 1 + numbers[0] % 5
        samples = orvex.OrvexSampler(time_limit=SHORT).sample(bqm, num_reads=reads)
        rescored.solutions += len(samples)
        require(1 <= len(samples) <= reads, "there are as many samples as asked for")
        for sample, energy in samples.data(["sample", "energy"]):
            bits = np.array([sample[label] > 0 for label in table.labels])
            right = abs(table.energy(bits) - energy) <= 1e-9 * (1 + abs(energy)) + table.slack()
            rescored.mismatches += int(not right)
            require(right, "a sample's energy is that of its bits")

    def _refused_call(self, numbers: Numbers) -> None:
        pair = chosen(self._problems, numbers[0])
        with contextlib.redirect_stderr(io.StringIO()):
            refusals.outside(None if pair is None else pair.real, numbers[1], self._folder)


def _used(pair: ProblemPair) -> np.ndarray:
    """Which variables have a coefficient; all where none has."""
    there = pair.table.table != 0
    there |= not there.any()
    return (there.any(axis=0) | there.any(axis=1))[pair.order]
