"""Synchronised start.

A run that is given a signal sends its first packet only when the signal has been set, so that it
starts at the application's mark, together with other equipment. Not logged.
"""

# Written by tools/generate_native.py from vrax.h; changes belong there.

from __future__ import annotations

from typing import Optional

from vrax.loading import NativeFunction
from vrax.native.types import VRAXSynchronizationSignal

__all__ = [
    "VRAXCreateSynchronizationSignal",
    "VRAXSetSynchronizationSignal",
    "VRAXSynchronizationSignalSetEvent",
    "VRAXSynchronizationSignalResetEvent",
]

_VRAXCreateSynchronizationSignal: NativeFunction[Optional[int]] = NativeFunction(
    "VRAXCreateSynchronizationSignal", VRAXSynchronizationSignal, ()
)


def VRAXCreateSynchronizationSignal() -> Optional[int]:
    """Makes a signal, not set.

    The caller owns it. It is small and lives until the process ends; there is no call that frees
    it, so make one and use it again.

    Returns:
        the signal, or null when there is no memory
    """
    return _VRAXCreateSynchronizationSignal()


_VRAXSetSynchronizationSignal: NativeFunction[None] = NativeFunction(
    "VRAXSetSynchronizationSignal", None, (VRAXSynchronizationSignal,)
)


def VRAXSetSynchronizationSignal(signal: Optional[int]) -> None:
    """Chooses the signal for which the next run waits. It waits without time limit; switching the
    output off ends it all the same.

    Parameters:
        signal: a signal, or null for none (as at load)
    """
    _VRAXSetSynchronizationSignal(signal)


_VRAXSynchronizationSignalSetEvent: NativeFunction[None] = NativeFunction(
    "VRAXSynchronizationSignalSetEvent", None, (VRAXSynchronizationSignal,)
)


def VRAXSynchronizationSignalSetEvent(signal: Optional[int]) -> None:
    """Sets a signal: runs that wait for it start, and later ones do not wait until it is reset.
    Takes no lock.

    Parameters:
        signal: null does nothing
    """
    _VRAXSynchronizationSignalSetEvent(signal)


_VRAXSynchronizationSignalResetEvent: NativeFunction[None] = NativeFunction(
    "VRAXSynchronizationSignalResetEvent", None, (VRAXSynchronizationSignal,)
)


def VRAXSynchronizationSignalResetEvent(signal: Optional[int]) -> None:
    """Resets a signal: runs wait for it again. Takes no lock.

    Parameters:
        signal: null does nothing
    """
    _VRAXSynchronizationSignalResetEvent(signal)
