"""Callbacks from the library's threads into Python.

Each kind of callback has one slot with one C function that lives as long as the process. It calls
whatever Python function the slot holds at that moment, so a function can be exchanged or removed
while the library is calling, and is let go as soon as it is removed.

An exception in a callback cannot go up into the library. It is kept with its traceback, and raised
by the next call into the package; until then the function that raised it is not called again, so
that no exception is lost.
"""

from __future__ import annotations

import threading
from typing import Any, Callable, List, Optional

_lock = threading.Lock()
_slots: "List[Slot]" = []


class Slot:
    """One place of the library where a callback can be registered."""

    def __init__(self, kind: Any, answer_on_error: Optional[int] = None) -> None:
        """
        Parameters:
            kind: the callback type of vrax.native
            answer_on_error: what the library is given after an exception, where it asks something
        """
        self._function: Optional[Callable[..., Any]] = None
        self._error: Optional[BaseException] = None
        self._answer_on_error = answer_on_error
        self._native = kind(self._run)
        with _lock:
            _slots.append(self)

    def register(
        self, function: Optional[Callable[..., Any]], register: Callable[[Any], object]
    ) -> None:
        """Takes a function, or none, and registers what stands for it. When that fails the slot
        keeps what it had."""
        before, self._function = self._function, function
        try:
            register(self._native if function is not None else None)
        except BaseException:
            self._function = before
            raise

    def release(self) -> None:
        """Lets the function go, where the library has forgotten the registration by itself."""
        self._function = None

    def _run(self, *arguments: Any) -> Any:
        function = self._function
        if function is None or self._error is not None:
            return self._answer_on_error
        try:
            return function(*arguments)
        except BaseException as error:
            with _lock:
                if self._error is None:
                    self._error = error
            return self._answer_on_error

    def raise_error(self) -> None:
        """Raises what the function of this slot has raised, if it has."""
        with _lock:
            error = self.take_error()
        if error is not None:
            raise error

    def take_error(self) -> Optional[BaseException]:
        """The exception that is kept, and forgets it. Under the module's lock."""
        error, self._error = self._error, None
        return error


def raise_pending() -> None:
    """Raises what a callback has raised, if any has; one exception a call."""
    with _lock:
        error = next((slot.take_error() for slot in _slots if slot._error is not None), None)
    if error is not None:
        raise error
