"""Signal callbacks.

One callback of each kind; a registration replaces the one before, null removes it. Registering is
not logged and takes effect at once, but a call that is under way when the registration returns may
still be running.
"""

# Written by tools/generate_native.py from vrax.h; changes belong there.

from __future__ import annotations

from ctypes import c_int
from typing import TYPE_CHECKING

from vrax.loading import NativeFunction
from vrax.native.types import (
    VRAXBaselineResetCallback, VRAXOutputSignalCallback, VRAXPacingOutputSignalCallback,
    VRAXStandardWaveformCallback, VRAXSyncDCOffsetCallback, VRAXSyncFrequencyCallback,
    VRAXSyncMainFunctionCallback,
)

if TYPE_CHECKING:
    from vrax.native.types import Callback

__all__ = [
    "VRAXRegisterOutputSignalCallback",
    "VRAXRegisterPacingOutputSignalCallback",
    "VRAXRegisterSyncFrequencyCB",
    "VRAXRegisterSyncDCOffsetCB",
    "VRAXRegisterSyncMainFunctionCB",
    "RegisterStandardWaveformCB",
    "RegisterBaselineResetCB",
]

_VRAXRegisterOutputSignalCallback: NativeFunction[None] = NativeFunction(
    "VRAXRegisterOutputSignalCallback", None, (VRAXOutputSignalCallback, c_int,)
)


def VRAXRegisterOutputSignalCallback(callback: Callback, divider: int) -> None:
    """Registers the display callback.

    Parameters:
        callback: null for none
        divider: the callback sees one sample in every max(1, divider / 4), in whole numbers: 40
            gives every tenth. Cut to the sample rate; 0 and less count as 1.
    """
    _VRAXRegisterOutputSignalCallback(callback, divider)


_VRAXRegisterPacingOutputSignalCallback: NativeFunction[None] = NativeFunction(
    "VRAXRegisterPacingOutputSignalCallback", None, (VRAXPacingOutputSignalCallback,)
)


def VRAXRegisterPacingOutputSignalCallback(callback: Callback) -> None:
    """Registers the callback that draws pacing pulses.

    Parameters:
        callback: null for none
    """
    _VRAXRegisterPacingOutputSignalCallback(callback)


_VRAXRegisterSyncFrequencyCB: NativeFunction[None] = NativeFunction(
    "VRAXRegisterSyncFrequencyCB", None, (VRAXSyncFrequencyCallback,)
)


def VRAXRegisterSyncFrequencyCB(callback: Callback) -> None:
    """Registers the frequency callback.

    Parameters:
        callback: null for none
    """
    _VRAXRegisterSyncFrequencyCB(callback)


_VRAXRegisterSyncDCOffsetCB: NativeFunction[None] = NativeFunction(
    "VRAXRegisterSyncDCOffsetCB", None, (VRAXSyncDCOffsetCallback,)
)


def VRAXRegisterSyncDCOffsetCB(callback: Callback) -> None:
    """Registers the callback of the input dynamic range test.

    Parameters:
        callback: null for none
    """
    _VRAXRegisterSyncDCOffsetCB(callback)


_VRAXRegisterSyncMainFunctionCB: NativeFunction[None] = NativeFunction(
    "VRAXRegisterSyncMainFunctionCB", None, (VRAXSyncMainFunctionCallback,)
)


def VRAXRegisterSyncMainFunctionCB(callback: Callback) -> None:
    """Registers the main function callback.

    Parameters:
        callback: null for none
    """
    _VRAXRegisterSyncMainFunctionCB(callback)


_RegisterStandardWaveformCB: NativeFunction[None] = NativeFunction(
    "RegisterStandardWaveformCB", None, (VRAXStandardWaveformCallback,)
)


def RegisterStandardWaveformCB(callback: Callback) -> None:
    """Registers the callback for the end of a waveform. Takes no lock.

    Parameters:
        callback: null for none
    """
    _RegisterStandardWaveformCB(callback)


_RegisterBaselineResetCB: NativeFunction[None] = NativeFunction(
    "RegisterBaselineResetCB", None, (VRAXBaselineResetCallback,)
)


def RegisterBaselineResetCB(callback: Callback) -> None:
    """Registers the callback of the baseline reset test. Takes no lock.

    Parameters:
        callback: null for none
    """
    _RegisterBaselineResetCB(callback)
