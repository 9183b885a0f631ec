"""Connection.

Finding the instrument, keeping it, and ending the connection.
"""

# Written by tools/generate_native.py from vrax.h; changes belong there.

from __future__ import annotations

from ctypes import c_bool, c_int, c_long, c_uint
from typing import TYPE_CHECKING

from vrax.loading import NativeFunction
from vrax.native.types import VRAXConnectedCallback

if TYPE_CHECKING:
    from vrax.native.types import Callback

__all__ = [
    "VRAXInit",
    "VRAXConnect",
    "VRAXFree",
    "VRAXIsConnected",
    "VRAXIsPPGConnected",
    "SetDeviceTimeoutSetting",
    "VRAXGetDeviceHandle",
    "VRAXSetDeviceHandle",
]

_VRAXInit: NativeFunction[bool] = NativeFunction(
    "VRAXInit", c_bool, (VRAXConnectedCallback,)
)


def VRAXInit(callback: Callback) -> bool:
    """Starts the search for an instrument on all ports and returns at once.

    A connect thread tries `/dev/ttyACM0` to `/dev/ttyACM127` about once a second, prepares the
    instrument that it finds, and goes on searching whenever that one is lost, until VRAXFree(). A
    second call replaces the listener and starts nothing.

    Parameters:
        callback: the connection listener, which also allows parameters to be set without an
            instrument; null for none

    Returns:
        true: the connect thread runs
        false: it could not be started
    """
    return _VRAXInit(callback)


_VRAXConnect: NativeFunction[bool] = NativeFunction(
    "VRAXConnect", c_bool, (c_int, c_uint,)
)


def VRAXConnect(port: int, timeoutMs: int) -> bool:
    """Searches an instrument and waits until it is connected and prepared.

    Replaces a listener given to VRAXInit() by one of the library's own. As after VRAXInit(), the
    instrument is found again when it is lost and comes back. Not for use from a callback, which it
    would hold up for the whole wait.

    Parameters:
        port: number n of `/dev/ttyACM<n>`, or -1 for all from 0 to 127
        timeoutMs: the longest wait in milliseconds

    Returns:
        true: connected
        false: the connect thread could not be started, or there was no connection in time;
            VRAXFree() has been called in the second case
    """
    return _VRAXConnect(port, timeoutMs)


_VRAXFree: NativeFunction[None] = NativeFunction(
    "VRAXFree", None, ()
)


def VRAXFree() -> None:
    """Ends the connection: output off, threads stopped, port closed and its lock file removed,
    parameters reset as by VRAXReset().

    Waits for the stop packet of a running signal, for a burn and for the connect thread, which
    first finishes the probe of a port, or the preparation of an instrument that it has just found
    (up to a few seconds with a PPG module). Calls that wait for the instrument are released first.
    Harmless without a connection and when called again; a later VRAXInit() or VRAXConnect() starts
    anew. A connected listener is told false while the call waits. Without a listener the port is
    closed before the parameters are reset: those that need one then stay.

    Logged as the VRAXSetOutputFunction() and VRAXReset() that it calls.
    """
    _VRAXFree()


_VRAXIsConnected: NativeFunction[bool] = NativeFunction(
    "VRAXIsConnected", c_bool, ()
)


def VRAXIsConnected() -> bool:
    """Returns:
        true: an instrument is connected and prepared
        false: it is not: never found, still in preparation, or lost
    """
    return _VRAXIsConnected()


_VRAXIsPPGConnected: NativeFunction[bool] = NativeFunction(
    "VRAXIsPPGConnected", c_bool, ()
)


def VRAXIsPPGConnected() -> bool:
    """Returns:
        true: an instrument is connected and a PPG module is fitted
        false: otherwise
    """
    return _VRAXIsPPGConnected()


_SetDeviceTimeoutSetting: NativeFunction[None] = NativeFunction(
    "SetDeviceTimeoutSetting", None, (c_uint, c_uint,)
)


def SetDeviceTimeoutSetting(readMs: int, writeMs: int) -> None:
    """Sets how long one read and one write on the port may take.

    Takes effect with the next exchange. Then waits once, for up to `readMs`, until the port can be
    read, and once, for up to `writeMs`, until it can be written; without a port it does not wait.
    Takes no lock.

    Parameters:
        readMs: milliseconds; 100 at load
        writeMs: milliseconds; 200 at load
    """
    _SetDeviceTimeoutSetting(readMs, writeMs)


_VRAXGetDeviceHandle: NativeFunction[int] = NativeFunction(
    "VRAXGetDeviceHandle", c_long, ()
)


def VRAXGetDeviceHandle() -> int:
    """Returns the descriptor of the open port, or -1 when none is open; it stays the library's"""
    return _VRAXGetDeviceHandle()


_VRAXSetDeviceHandle: NativeFunction[None] = NativeFunction(
    "VRAXSetDeviceHandle", None, (c_long,)
)


def VRAXSetDeviceHandle(handle: int) -> None:
    """Adopts a port that the application has opened and set to raw mode.

    A handle other than 0 is asked at once to identify itself, which fills the records of this
    group; whether it did shows in VRAXGetSerialNumber(). This is not a connection:
    VRAXIsConnected() stays as it was, and no calibration is loaded: call LoadCalibrationData() or
    ReadDCCalibrationData() before anything is played.

    Parameters:
        handle: an open descriptor, or -1 for none
    """
    _VRAXSetDeviceHandle(handle)
