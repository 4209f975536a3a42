"""Interrupts that get lost. Ctrl-C raises KeyboardInterrupt wherever the main thread is just then; where that is the
end of an object's life (`__del__`, a weak reference's callback), Python drops what is raised, and a search would go on.
"""

from __future__ import annotations

import signal
import threading
from types import FrameType, TracebackType


class Interrupts:
    """Notes interrupts for as long as it is entered. Outside of the main thread there are none to note."""

    def __init__(self) -> None:
        self.came = False  #: whether KeyboardInterrupt was raised, even if nobody got it

    def __enter__(self) -> Interrupts:
        self._before = None
        if threading.current_thread() is threading.main_thread():
            before = signal.getsignal(signal.SIGINT)
            if callable(before):
                self._before = before
                signal.signal(signal.SIGINT, self._handle)
        return self

    def _handle(self, number: int, frame: FrameType | None) -> None:
        assert self._before is not None
        try:
            self._before(number, frame)
        except KeyboardInterrupt:
            self.came = True
            raise

    def __exit__(
        self,
        kind: type[BaseException] | None,
        error: BaseException | None,
        traceback: TracebackType | None,
    ) -> None:
        if self._before is not None:
            signal.signal(signal.SIGINT, self._before)

    def expect_none(self) -> None:
        """Raises what got lost."""
        if self.came:
            raise KeyboardInterrupt
