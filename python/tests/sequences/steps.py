"""A sequence of calls as data: each step is a name and four numbers, which the world reduces to what is there when
the step comes. Invariant: every list of steps can be run, whatever is left out of it, which is what lets a failing
sequence be shrunk, and every sequence is a text that replays.
"""

from __future__ import annotations

import random
from collections.abc import Iterable
from typing import NamedTuple


class Step(NamedTuple):
    name: str
    numbers: tuple[int, ...]


#: What a sequence consists of, with how often each comes.
STEP_KINDS = {
    "make_problem": 14,
    "change_source": 4,
    "copy_problem": 5,
    "drop_problem": 2,
    "print_problem": 2,
    "energies": 6,
    "presolve": 4,
    "make_settings": 3,
    "set_setting": 8,
    "set_callbacks": 5,
    "solve": 14,
    "solve_from": 8,
    "solve_in_threads": 3,
    "checkpoint": 4,
    "resume": 4,
    "copy_result": 3,
    "change_result": 3,
    "maxcut": 2,
    "sample": 3,
    "refused_call": 6,
}


def random_sequence(seed: int, length: int) -> list[Step]:
    draws = random.Random(seed)
    names = draws.choices(list(STEP_KINDS), list(STEP_KINDS.values()), k=length)
    return [Step(name, tuple(draws.getrandbits(32) for _ in range(4))) for name in names]


def text_of(steps: Iterable[Step]) -> str:
    return "".join(f"{step.name} {' '.join(map(str, step.numbers))}\n" for step in steps)


def read(text: str) -> list[Step]:
    """Reads what text_of() wrote; lines that begin with "#" are skipped."""
    steps = []
    for line in text.splitlines():
        if not line or line.startswith("#"):
            continue
        name, *numbers = line.split()
        if name not in STEP_KINDS or len(numbers) != 4:
            raise ValueError(f"not a step: {line}")
        steps.append(Step(name, tuple(map(int, numbers))))
    return steps
