"""How much searches tell one another, and over which ways: the bounds of all traffic, as plain functions.

Invariants, with n searches:

- A search announces something at most every ``pause(n)`` seconds, and searches that begin together take turns,
  so the scheduler sees at most 4 n announcements a second up to 100 searches, and about 400 a second from
  there on.
- A new best is handed out at most every ``ROUND`` seconds. The client and the scheduler pass on one message for
  each of at most ``ways(n)`` ways; the first process of a way hands it on to the rest of it. So no process
  sends more than about the square root of n messages in a round, once there are more than 16 searches.
- So a search receives at most 4 solutions a second, and takes in the best of them only.
"""

from __future__ import annotations

import math
from collections.abc import Sequence
from typing import TypeVar

Item = TypeVar("Item")

#: The least time between two rounds in which new bests are handed out, in seconds.
ROUND = 0.25
#: Announcements that all searches together may make in a second.
ANNOUNCEMENTS = 400
#: A search that finds nothing says so this many pauses after its last announcement.
QUIET = 4
#: Up to this many searches each gets its messages directly.
DIRECT = 16


def pause(searches: int) -> float:
    """Seconds between two announcements of one search."""
    return max(ROUND, searches / ANNOUNCEMENTS)


def ways(searches: int) -> int:
    """Over how many ways a message reaches that many searches."""
    return searches if searches <= DIRECT else max(DIRECT, math.isqrt(searches - 1) + 1)


def split(receivers: Sequence[Item]) -> list[list[Item]]:
    """The ways to the receivers: the first of each hands the message on to the others."""
    count = ways(len(receivers))
    return [list(receivers[k::count]) for k in range(count)]
