"""Whether this machine has the memory that a problem takes."""

from __future__ import annotations

from ._library import support


def gib(amount: int) -> str:
    """A number of bytes, for messages."""
    return f"{amount / 2**30:.2f} GiB"


def expect_memory(needed: int, what: str) -> None:
    """Refuses what this machine cannot hold at present."""
    machine = support.orvex_python_machine_memory()
    free = support.orvex_python_free_memory()
    if needed > min(machine, free):
        raise MemoryError(
            f"{what} {gib(needed)} of memory; this machine has {gib(machine)}, of which "
            f"{gib(free)} are free"
        )


def expect_device_memory(needed: int, gpus: int) -> None:
    """Refuses what a GPU cannot hold at present; `gpus` are used, or with 0 all."""
    free = support.orvex_python_device_memory(gpus)
    if needed > free:
        raise MemoryError(f"this problem takes {gib(needed)} on each GPU, where {gib(free)} are free")
