"""Checkpoints: files that hold the best solutions of a problem, for another search to go on from. The
library writes and checks them; docs/command-line.md defines the file.
"""

from __future__ import annotations

import ctypes
import os
from typing import TYPE_CHECKING, Union

import numpy as np

from ._library import failure, support
from ._model import Words

if TYPE_CHECKING:
    from ._problem import Problem

Path = Union[str, "os.PathLike[str]"]


class CheckpointWarning(UserWarning):
    """A checkpoint is not up to date, and why. The search went on without it."""


def read_checkpoint(problem: Problem, path: Path) -> list[Words]:
    """The solutions in a file, the best first."""
    found = support.orvex_python_read_checkpoint(problem._model.pointer, os.fsencode(path))
    if not found:
        raise failure()
    size = problem._no_words().nbytes
    try:
        return [
            np.frombuffer(
                ctypes.string_at(support.orvex_python_kept_words(found, k), size), dtype=np.uint64
            )
            for k in range(support.orvex_python_kept(found))
        ]
    finally:
        support.orvex_python_free_kept(found)


class Checkpoint:
    """A file that is kept up with what was found; to be closed."""

    def __init__(self, problem: Problem, path: Path) -> None:
        self._problem = problem
        self._writer = support.orvex_python_open_checkpoint(
            problem._model.pointer, os.fsencode(path)
        )
        if not self._writer:
            raise failure()

    def note(self, words: Words) -> None:
        """A solution that was found; nothing waits for the disk."""
        if support.orvex_python_note(self._writer, self._problem._model.pointer, words.ctypes.data):
            raise failure()

    def close(self) -> str:
        """Writes what is missing. Returns why the file is not up to date, or nothing."""
        return os.fsdecode(support.orvex_python_close_checkpoint(self._writer))
