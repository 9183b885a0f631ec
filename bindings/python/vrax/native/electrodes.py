"""Lead-off and right-leg drive.

Bits of the instrument's relay word. They hold until the library next refreshes its relays: with a
change of leads, offset or impedance, and when a signal is selected, changes or ends. The library
then forgets them, and the instrument does with the next relay command that differs from the one
before. While a signal plays these calls wait for a gap between two packets.
"""

# Written by tools/generate_native.py from vrax.h; changes belong there.

from __future__ import annotations

from ctypes import POINTER, c_bool, c_double, c_int
from typing import TYPE_CHECKING

from vrax.loading import NativeFunction

if TYPE_CHECKING:
    from vrax.native.types import PointerTo

__all__ = [
    "VRAXSetLeadOff",
    "VRAXMeasureRLD",
    "VRAXReadRLD",
]

_VRAXSetLeadOff: NativeFunction[int] = NativeFunction(
    "VRAXSetLeadOff", c_int, (c_int,)
)


def VRAXSetLeadOff(mode: int) -> int:
    """Simulates a lead-off condition, together with the present output leads.

    Logged as "VRAXSetLeadOff(1);".

    Parameters:
        mode: 0: none (bits 11 and 13 off, 14 as it was); 1: bits 13 and 14; 2: bit 13 without 14;
            3: bit 11 in addition to what is set

    Returns:
        1: the instrument answered
        0: no instrument, another mode (nothing is sent or logged then), or no answer
    """
    return _VRAXSetLeadOff(mode)


_VRAXMeasureRLD: NativeFunction[int] = NativeFunction(
    "VRAXMeasureRLD", c_int, (c_bool,)
)


def VRAXMeasureRLD(on: bool) -> int:
    """Switches the measurement of the right-leg drive on or off. Off is the command that ends
    photodiode sampling, too.

    Logged as "VRAXMeasureRLD(true);".

    Parameters:
        on: true on, false off

    Returns:
        1: acknowledged by the instrument
        0: no instrument (nothing is logged then), or no acknowledgement
    """
    return _VRAXMeasureRLD(on)


_VRAXReadRLD: NativeFunction[int] = NativeFunction(
    "VRAXReadRLD", c_int, (POINTER(c_double), POINTER(c_double),)
)


def VRAXReadRLD(first: PointerTo[c_double], second: PointerTo[c_double]) -> int:
    """Reads both values of the right-leg drive measurement. Not logged.

    Parameters:
        first: volts, 0 to 3.3: 10-bit counts times 3.3 / 1023
        second: likewise

    Returns:
        1: read
        0: no instrument, a null pointer, or no acknowledgement; nothing is stored
    """
    return _VRAXReadRLD(first, second)
