"""Whether this machine has the memory that a problem takes."""

from __future__ import annotations

from ._library import support


def gib(amount: int) -> str:
    """A number of bytes, for messages."""
    return f"{amount / 2**30:.2f} GiB"


def expect_memory(needed: int, what: str, there: int = 0) -> None:
    """Refuses what this machine cannot hold at present; so much of the need is `there` already."""
    machine = support.orvex_python_machine_memory()
    free = support.orvex_python_free_memory()
    if needed > machine or needed - there > free:
        raise MemoryError(
            f"{what} {gib(needed)} of memory; this machine has {gib(machine)}, of which "
            f"{gib(free)} are free"
        )
