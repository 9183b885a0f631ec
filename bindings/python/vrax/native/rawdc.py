"""Raw DC codes.

DC levels given as converter codes, for calibration. Not logged by themselves.
"""

# Written by tools/generate_native.py from vrax.h; changes belong there.

from __future__ import annotations

from ctypes import c_int, c_uint

from vrax.loading import NativeFunction

__all__ = [
    "SetDcDac",
    "PlayFixedDCByDAC",
]

_SetDcDac: NativeFunction[int] = NativeFunction(
    "SetDcDac", c_int, (c_int,)
)


def SetDcDac(code: int) -> int:
    """Sends a fixed code to the DC converter in place of the calibrated DC level, from the next
    sample to the end of the run. Switches the variable mode on and the relays at once.

    Parameters:
        code: 0 to 65535

    Returns:
        1: stored
        0: out of range; nothing has changed
    """
    return _SetDcDac(code)


_PlayFixedDCByDAC: NativeFunction[int] = NativeFunction(
    "PlayFixedDCByDAC", c_int, (c_uint,)
)


def PlayFixedDCByDAC(code: int) -> int:
    """Plays a constant DC level: switches the output off, pauses 20 ms, sets the code as SetDcDac()
    does, the amplitude to 0, and plays OUTPUT_SQUARE.

    Logged are the lines of the setters that it calls.

    Parameters:
        code: 0 to 65535

    Returns:
        1: it plays
        0: `code` is out of range, or a setter refused; the output is off in the first case
    """
    return _PlayFixedDCByDAC(code)
