"""PPG sensor.

The PPG module's own light and photodiodes: drive and trigger levels, ambient light, pulse groups,
what it measures, and continuous sampling. Every call is one command or a few, and waits for a gap
between two packets while a signal plays, or for the next frame (at most 1 s) while photodiode
sampling runs. Where nothing else is said it is not logged.
"""

# Written by tools/generate_native.py from vrax.h; changes belong there.

from __future__ import annotations

from ctypes import POINTER, c_bool, c_int, c_uint16, c_uint32, c_void_p
from typing import TYPE_CHECKING

from vrax.loading import NativeFunction
from vrax.native.types import VRAXOutputPPGCallback, VRAXPPGSamplingCallback

if TYPE_CHECKING:
    from vrax.native.types import Address, Callback, PointerTo

__all__ = [
    "SetPPGTriggerLevel",
    "GetPPGTriggerLevel",
    "ResetPPGTriggerLevel",
    "SetPPGLedLevel",
    "ResetPPGLedLevel",
    "GetAutoTriggerLevelStatus",
    "VRAXEnableDynamicLEDStrength",
    "SetDynamicLight",
    "VRAXSetLEDAmbientLightMode",
    "VRAXGetLEDAmbientLightMode",
    "VRAXReadLEDPulseGroupSetting",
    "VRAXWriteLEDPulseGroupSetting",
    "GetPDStatus",
    "VRAXGetFPGAReport",
    "VRAXEnablePPGSampling",
    "VRAXDisablePPGSampling",
    "VRAXStartPPGSampling",
    "VRAXStopPPGSampling",
    "VRAXRegisterOutputPPGCallback",
]

_SetPPGTriggerLevel: NativeFunction[int] = NativeFunction(
    "SetPPGTriggerLevel", c_int, (c_int, c_int,)
)


def SetPPGTriggerLevel(position: int, level: int) -> int:
    """Sets the trigger level of an LED position. Takes 80 ms.

    Parameters:
        position: 1 to 3
        level: 0 to 255

    Returns:
        0: sent and answered
        -1: no instrument
        -2: no such position
        -3: the level is out of range
        -4: no answer
    """
    return _SetPPGTriggerLevel(position, level)


_GetPPGTriggerLevel: NativeFunction[int] = NativeFunction(
    "GetPPGTriggerLevel", c_int, (c_int,)
)


def GetPPGTriggerLevel(position: int) -> int:
    """Reads the trigger level of an LED position. Takes 80 ms.

    Parameters:
        position: 1 to 3

    Returns:
        the level, 0 to 255
        -1: no instrument
        -2: no such position
        -3: no answer, or one to another question
    """
    return _GetPPGTriggerLevel(position)


_ResetPPGTriggerLevel: NativeFunction[int] = NativeFunction(
    "ResetPPGTriggerLevel", c_int, ()
)


def ResetPPGTriggerLevel() -> int:
    """Gives the positions that have an LED the trigger levels that the module left the factory
    with.

    Returns:
        0: done
        -1: no instrument
        -2: the factory levels cannot be read, or were never written
        -3: what was read is not marked as valid
        -4: a level could not be sent; the rest was not tried
    """
    return _ResetPPGTriggerLevel()


_SetPPGLedLevel: NativeFunction[int] = NativeFunction(
    "SetPPGLedLevel", c_int, (c_int, c_int,)
)


def SetPPGLedLevel(position: int, level: int) -> int:
    """Sets the drive level of the LED at a position. Takes 80 ms.

    Parameters:
        position: 1 to 3
        level: 0 to 255

    Returns:
        0: sent and answered
        -1: no such position
        -2: the level is out of range
        -3: no instrument or no answer
    """
    return _SetPPGLedLevel(position, level)


_ResetPPGLedLevel: NativeFunction[int] = NativeFunction(
    "ResetPPGLedLevel", c_int, ()
)


def ResetPPGLedLevel() -> int:
    """Gives all three positions the drive levels that the module left the factory with; a position
    that has an LED, and 0 there, gets 150.

    Returns:
        0: done
        -1: no instrument, or the factory levels cannot be read or were never written
        -2: what was read is not marked as valid
        -3: a level could not be sent; the rest was not tried
    """
    return _ResetPPGLedLevel()


_GetAutoTriggerLevelStatus: NativeFunction[bool] = NativeFunction(
    "GetAutoTriggerLevelStatus", c_bool, (POINTER(c_uint16),)
)


def GetAutoTriggerLevelStatus(status: PointerTo[c_uint16]) -> bool:
    """Reads the trigger levels that the module has found by itself.

    Parameters:
        status: five words: the first three as the module sends them, then two levels, which are 0
            while bits 0 and 1 of byte 2 of the record are both set

    Returns:
        true: read
        false: no instrument, no answer, or `status` is null; nothing is stored
    """
    return _GetAutoTriggerLevelStatus(status)


_VRAXEnableDynamicLEDStrength: NativeFunction[bool] = NativeFunction(
    "VRAXEnableDynamicLEDStrength", c_bool, (c_bool,)
)


def VRAXEnableDynamicLEDStrength(on: bool) -> bool:
    """Lets the module follow the strength of the light that it receives with its LEDs. A connection
    and the end of an output switch it off.

    Parameters:
        on: true on, false off

    Returns:
        true: acknowledged
        false: no instrument or no acknowledgement
    """
    return _VRAXEnableDynamicLEDStrength(on)


_SetDynamicLight: NativeFunction[int] = NativeFunction(
    "SetDynamicLight", c_int, (c_int,)
)


def SetDynamicLight(on: int) -> int:
    """Switches the dynamic light. Sends nothing when it is in that state already, as far as is
    known.

    Parameters:
        on: 0 off, anything else on

    Returns:
        0: switched, or nothing to do
        -1: no instrument or no answer
    """
    return _SetDynamicLight(on)


_VRAXSetLEDAmbientLightMode: NativeFunction[int] = NativeFunction(
    "VRAXSetLEDAmbientLightMode", c_int, (c_int,)
)


def VRAXSetLEDAmbientLightMode(mode: int) -> int:
    """Sets the ambient light that the module adds. While a signal plays the answer is not awaited.

    Logged as "SetLEDAmbientLightMode(3);".

    Parameters:
        mode: 0 to 14

    Returns:
        0: sent
        -1: no PPG module
        -2: the mode is out of range; it is not logged
        -3: not sent or no answer
    """
    return _VRAXSetLEDAmbientLightMode(mode)


_VRAXGetLEDAmbientLightMode: NativeFunction[int] = NativeFunction(
    "VRAXGetLEDAmbientLightMode", c_int, ()
)


def VRAXGetLEDAmbientLightMode() -> int:
    """Reads the ambient light mode.

    Returns:
        the mode
        -1: no PPG module
        -2: no answer
        -3: not acknowledged
    """
    return _VRAXGetLEDAmbientLightMode()


_VRAXReadLEDPulseGroupSetting: NativeFunction[bool] = NativeFunction(
    "VRAXReadLEDPulseGroupSetting", c_bool, (POINTER(c_uint16),)
)


def VRAXReadLEDPulseGroupSetting(setting: PointerTo[c_uint16]) -> bool:
    """Reads the LED pulse-group table: ten bytes, a group code for each of eight slots (0 none, 1,
    2, 3) and a 16-bit word in the host's order.

    Parameters:
        setting: byte 0 becomes 3 and the word 0 when the module says that its groups are fixed;
            else byte 0 stays

    Returns:
        true: read
        false: a null pointer, a signal plays or sampling runs, or no acknowledgement; nothing is
            stored
    """
    return _VRAXReadLEDPulseGroupSetting(setting)


_VRAXWriteLEDPulseGroupSetting: NativeFunction[bool] = NativeFunction(
    "VRAXWriteLEDPulseGroupSetting", c_bool, (POINTER(c_uint16),)
)


def VRAXWriteLEDPulseGroupSetting(setting: PointerTo[c_uint16]) -> bool:
    """Writes the LED pulse-group table. Its groups become fixed when byte 0 is not 0 and the word
    is 0.

    Parameters:
        setting: as read; a code other than 1, 2 or 3 counts as 0

    Returns:
        true: acknowledged
        false: a null pointer, a signal plays or sampling runs, or no acknowledgement
    """
    return _VRAXWriteLEDPulseGroupSetting(setting)


_GetPDStatus: NativeFunction[int] = NativeFunction(
    "GetPDStatus", c_int, (POINTER(c_uint32), POINTER(c_uint32), POINTER(c_uint32),
    POINTER(c_uint32), POINTER(c_uint32), POINTER(c_uint32),)
)


def GetPDStatus(
    a: PointerTo[c_uint32], b: PointerTo[c_uint32], c: PointerTo[c_uint32], d: PointerTo[c_uint32],
    e: PointerTo[c_uint32], f: PointerTo[c_uint32],
) -> int:
    """Reads three pairs of photodiode values. Takes 80 ms.

    The second value of a pair counts the whole of the byte that both share, 0 to 4335, unlike the
    12-bit values of VRAXGetFPGAReport().

    Parameters:
        a: first pair: this one and `b`
        b: 16 times the second byte plus the third
        c: second pair
        d: second pair
        e: third pair
        f: third pair

    Returns:
        0: all six stored
        -1: no instrument
        -2: a signal plays or photodiode sampling runs
        -3: a null pointer or no answer
        -4: not acknowledged, or the module reports a fault
    """
    return _GetPDStatus(a, b, c, d, e, f)


_VRAXGetFPGAReport: NativeFunction[bool] = NativeFunction(
    "VRAXGetFPGAReport", c_bool, (c_void_p,)
)


def VRAXGetFPGAReport(report: Address) -> bool:
    """Reads one sampling status of the module's photodiodes.

    Parameters:
        report: 18 doubles: 6 or 0 for the first status flag, five zeros, the first and then the
            second values of three pairs (0 to 4095), the first values times the module's ratio
            factors of row 0, the second ones times those of row 1

    Returns:
        true: read
        false: no instrument, no answer, or `report` is null; nothing is stored
    """
    return _VRAXGetFPGAReport(report)


_VRAXEnablePPGSampling: NativeFunction[int] = NativeFunction(
    "VRAXEnablePPGSampling", c_int, (c_int, VRAXPPGSamplingCallback,)
)


def VRAXEnablePPGSampling(channel: int, callback: Callback) -> int:
    """Makes ready for photodiode sampling and sets the listener of one photodiode.

    Parameters:
        channel: 0 to 3; with any other number no listener is set
        callback: null for none

    Returns:
        0: done
        -1: no instrument
        -2: no PPG module
        -3: a signal plays, sampling runs, or an image is burnt
    """
    return _VRAXEnablePPGSampling(channel, callback)


_VRAXDisablePPGSampling: NativeFunction[int] = NativeFunction(
    "VRAXDisablePPGSampling", c_int, ()
)


def VRAXDisablePPGSampling() -> int:
    """Stops the instrument's sampling and removes all listeners. Sampling still counts as running
    until VRAXStopPPGSampling().

    Returns:
        0: done
        -1: no answer; everything stays as it was
    """
    return _VRAXDisablePPGSampling()


_VRAXStartPPGSampling: NativeFunction[int] = NativeFunction(
    "VRAXStartPPGSampling", c_int, ()
)


def VRAXStartPPGSampling() -> int:
    """Starts sampling of the photodiodes that have a listener; of all four when more than two have
    one. Takes 80 ms. While it runs, PPG waveforms cannot be changed.

    Returns:
        0: running
        -1: no instrument
        -2: no PPG module
        -3: a signal plays, sampling runs, or an image is burnt
        -4: VRAXEnablePPGSampling() is missing, or the instrument did not acknowledge
    """
    return _VRAXStartPPGSampling()


_VRAXStopPPGSampling: NativeFunction[None] = NativeFunction(
    "VRAXStopPPGSampling", None, ()
)


def VRAXStopPPGSampling() -> None:
    """Stops sampling, whether the instrument answers or not. No listener is told after it returns.
    """
    _VRAXStopPPGSampling()


_VRAXRegisterOutputPPGCallback: NativeFunction[None] = NativeFunction(
    "VRAXRegisterOutputPPGCallback", None, (c_int, VRAXOutputPPGCallback,)
)


def VRAXRegisterOutputPPGCallback(led: int, callback: Callback) -> None:
    """Sets the listener of a PPG channel's pulse. It is told as often as that of
    VRAXRegisterOutputSignalCallback(), while the channel's output is enabled.

    Parameters:
        led: 0, 1 or 2; anything else is ignored
        callback: null for none
    """
    _VRAXRegisterOutputPPGCallback(led, callback)
