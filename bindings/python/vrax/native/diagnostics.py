"""Diagnostics.

A log of the calls that set parameters, and a record of the computed samples. None of these calls
takes the API lock or is logged.
"""

# Written by tools/generate_native.py from vrax.h; changes belong there.

from __future__ import annotations

from ctypes import POINTER, c_bool, c_double, c_int, c_char_p
from typing import TYPE_CHECKING, Optional

from vrax.loading import NativeFunction

if TYPE_CHECKING:
    from vrax.native.types import PointerTo

__all__ = [
    "EnableSaveLog",
    "DisableSaveLog",
    "GetSaveLogPath",
    "EnableRecordRaw",
    "DisableRecordRaw",
    "DumpRawData",
]

_EnableSaveLog: NativeFunction[int] = NativeFunction(
    "EnableSaveLog", c_int, (c_char_p,)
)


def EnableSaveLog(path: Optional[bytes]) -> int:
    """Logs from now on: one line for each setter, written as the call itself. Lines are appended;
    the file is opened and closed for each, and a line that cannot be written is dropped.

    Parameters:
        path: at most 511 bytes; the file is made with the first line

    Returns:
        0: on
        -2: `path` is longer or null; the log is now off
    """
    return _EnableSaveLog(path)


_DisableSaveLog: NativeFunction[None] = NativeFunction(
    "DisableSaveLog", None, ()
)


def DisableSaveLog() -> None:
    """Ends the log with an empty line. Does nothing while it is off."""
    _DisableSaveLog()


_GetSaveLogPath: NativeFunction[Optional[bytes]] = NativeFunction(
    "GetSaveLogPath", c_char_p, ()
)


def GetSaveLogPath() -> Optional[bytes]:
    """Returns the path of the log, empty while it is off; valid until the log is switched on or off
    """
    return _GetSaveLogPath()


_EnableRecordRaw: NativeFunction[bool] = NativeFunction(
    "EnableRecordRaw", c_bool, (POINTER(c_double), POINTER(c_double), c_int,)
)


def EnableRecordRaw(ac: PointerTo[c_double], dc: PointerTo[c_double], length: int) -> bool:
    """Records the voltage of every computed sample, from the next one on.

    When the buffers are full nothing more is recorded, but recording stays on until
    DisableRecordRaw(). The packet thread writes the buffers: they must stay valid until then.

    Parameters:
        ac: `length` values: the AC part in millivolts
        dc: `length` values: the DC part in millivolts
        length: samples that each buffer holds. With a null buffer, or a length below 1, recording
            is on but takes nothing.

    Returns:
        true: on
        false: it was on already and goes on with the old buffers
    """
    return _EnableRecordRaw(ac, dc, length)


_DisableRecordRaw: NativeFunction[None] = NativeFunction(
    "DisableRecordRaw", None, ()
)


def DisableRecordRaw() -> None:
    """Ends recording and forgets the buffers: once it has returned they are not written any more.
    """
    _DisableRecordRaw()


_DumpRawData: NativeFunction[int] = NativeFunction(
    "DumpRawData", c_int, (POINTER(c_double), c_int, c_char_p,)
)


def DumpRawData(values: PointerTo[c_double], count: int, path: Optional[bytes]) -> int:
    """Writes values to a text file, one a line with three decimals. An existing file is replaced.

    Parameters:
        values: null is allowed when `count` is 0 or less
        count: number of values; 0 or less makes an empty file
        path: the file

    Returns:
        0: written
        -3: the file cannot be opened, or a needed pointer is null
        -6: a line could not be written; the file stays, partly written
    """
    return _DumpRawData(values, count, path)
