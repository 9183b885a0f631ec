"""Instrument information.

What the instrument and its PPG module are.

Filled when the instrument is identified. When the connection ends, the two models and the versions
of the main unit are cleared. Nothing in this group is logged.
"""

# Written by tools/generate_native.py from vrax.h; changes belong there.

from __future__ import annotations

from ctypes import POINTER, c_bool, c_int, c_uint, c_char_p, c_void_p
from typing import TYPE_CHECKING, Optional

from vrax.loading import NativeFunction
from vrax.native.types import MODEL_INFORMATION

if TYPE_CHECKING:
    from vrax.native.types import VRAXDeviceFeature, VRAXHardwareInformation, Address, PointerTo

__all__ = [
    "VRAXGetDeviceInformation",
    "VRAXGetPPGDeviceInformation",
    "VRAXGetHWInformation",
    "VRAXGetPPGHWInformation",
    "VRAXGetSerialNumber",
    "VRAXGetPPGSerialNumber",
    "VRAXGetFWVersion",
    "GetPPGFwVersion",
    "GetFWMainVer",
    "GetPPGFwMainVer",
    "VRAXGetHWVersion",
    "VRAXGetUSBBusVoltage",
    "VRAXSetDeviceInformation",
    "VRAXSetHWInformation",
    "VRAXReadMfgInfo",
    "VRAXWriteMfgInfo",
    "VRAXGetDeviceFeature",
    "VRAXEnableFPGASampling",
    "VRAXConfigureTransmissionRate",
    "VRAXGetTransmissionRate",
]

_VRAXGetDeviceInformation: NativeFunction[bool] = NativeFunction(
    "VRAXGetDeviceInformation", c_bool, (POINTER(MODEL_INFORMATION),)
)


def VRAXGetDeviceInformation(info: PointerTo[MODEL_INFORMATION]) -> bool:
    """Copies the model of the main unit.

    Parameters:
        info: untouched on failure

    Returns:
        true: copied
        false: no instrument is connected, or `info` is null
    """
    return _VRAXGetDeviceInformation(info)


_VRAXGetPPGDeviceInformation: NativeFunction[bool] = NativeFunction(
    "VRAXGetPPGDeviceInformation", c_bool, (POINTER(MODEL_INFORMATION),)
)


def VRAXGetPPGDeviceInformation(info: PointerTo[MODEL_INFORMATION]) -> bool:
    """Copies the model of the PPG module.

    Parameters:
        info: untouched on failure

    Returns:
        true: copied
        false: no module has identified itself, or `info` is null
    """
    return _VRAXGetPPGDeviceInformation(info)


_VRAXGetHWInformation: NativeFunction[bool] = NativeFunction(
    "VRAXGetHWInformation", c_bool, (c_void_p,)
)


def VRAXGetHWInformation(info: Address) -> bool:
    """Copies the versions of the main unit; zeros without an instrument.

    Parameters:
        info: 24 bytes, a VRAXHardwareInformation

    Returns:
        true: copied
        false: `info` is null
    """
    return _VRAXGetHWInformation(info)


_VRAXGetPPGHWInformation: NativeFunction[bool] = NativeFunction(
    "VRAXGetPPGHWInformation", c_bool, (c_void_p,)
)


def VRAXGetPPGHWInformation(info: Address) -> bool:
    """Copies the versions of the PPG board; zeros until one has told them, and kept when the
    connection ends.

    Parameters:
        info: 24 bytes, a VRAXHardwareInformation

    Returns:
        true: copied
        false: `info` is null
    """
    return _VRAXGetPPGHWInformation(info)


_VRAXGetSerialNumber: NativeFunction[Optional[bytes]] = NativeFunction(
    "VRAXGetSerialNumber", c_char_p, ()
)


def VRAXGetSerialNumber() -> Optional[bytes]:
    """The serial number of the main unit: the letter T, the two type letters, the model code as
    four hexadecimal digits, a hyphen, two digits of the year or lot, four digits of the sequence
    number.

    Returns:
        14 characters, or the empty string when the record is absent or does not fit them; valid
            until the next call of this function
    """
    return _VRAXGetSerialNumber()


_VRAXGetPPGSerialNumber: NativeFunction[Optional[bytes]] = NativeFunction(
    "VRAXGetPPGSerialNumber", c_char_p, ()
)


def VRAXGetPPGSerialNumber() -> Optional[bytes]:
    """The serial number of the PPG module, in the form of VRAXGetSerialNumber().

    Returns:
        14 characters, or the empty string when the record is absent or does not fit them; valid
            until the next call of this function
    """
    return _VRAXGetPPGSerialNumber()


_VRAXGetFWVersion: NativeFunction[Optional[bytes]] = NativeFunction(
    "VRAXGetFWVersion", c_char_p, ()
)


def VRAXGetFWVersion() -> Optional[bytes]:
    """The firmware version of the main unit, such as "2.1.04.17": major, minor, and two digits each
    of build and revision.

    Returns:
        "0.0.00.00" without an instrument; valid until the next call of this function
    """
    return _VRAXGetFWVersion()


_GetPPGFwVersion: NativeFunction[Optional[bytes]] = NativeFunction(
    "GetPPGFwVersion", c_char_p, ()
)


def GetPPGFwVersion() -> Optional[bytes]:
    """The firmware version of the PPG board, in the form of VRAXGetFWVersion().

    Returns:
        "0.0.00.00" until a board has told its version; valid until the next call of this function
    """
    return _GetPPGFwVersion()


_GetFWMainVer: NativeFunction[int] = NativeFunction(
    "GetFWMainVer", c_uint, ()
)


def GetFWMainVer() -> int:
    """Returns the major firmware number of the main unit; 0 without an instrument"""
    return _GetFWMainVer()


_GetPPGFwMainVer: NativeFunction[int] = NativeFunction(
    "GetPPGFwMainVer", c_uint, ()
)


def GetPPGFwMainVer() -> int:
    """Returns the major firmware number of the PPG board; 0 until one has told it"""
    return _GetPPGFwMainVer()


_VRAXGetHWVersion: NativeFunction[Optional[bytes]] = NativeFunction(
    "VRAXGetHWVersion", c_char_p, ()
)


def VRAXGetHWVersion() -> Optional[bytes]:
    """The hardware version of the main unit, such as "1.2".

    Returns:
        "0.0" without an instrument; valid until the next call of this function
    """
    return _VRAXGetHWVersion()


_VRAXGetUSBBusVoltage: NativeFunction[int] = NativeFunction(
    "VRAXGetUSBBusVoltage", c_uint, ()
)


def VRAXGetUSBBusVoltage() -> int:
    """Asks the instrument for the voltage on its USB supply.

    Returns:
        0 to 255 on the instrument's own scale; also 0 when it does not answer
    """
    return _VRAXGetUSBBusVoltage()


_VRAXSetDeviceInformation: NativeFunction[bool] = NativeFunction(
    "VRAXSetDeviceInformation", c_bool, (POINTER(MODEL_INFORMATION),)
)


def VRAXSetDeviceInformation(info: PointerTo[MODEL_INFORMATION]) -> bool:
    """Writes the model of the main unit into the instrument's flash. For manufacture.

    Erases the flash area of the record and writes it anew; the hardware version stays. Needs an
    open port, not a finished connection.

    Parameters:
        info: the LED types are not stored

    Returns:
        true: written and acknowledged; the library's copy of the record is replaced
        false: no port is open, `info` is null, or a step was not answered as it should be; after
            the erase the record in the instrument may be lost
    """
    return _VRAXSetDeviceInformation(info)


_VRAXSetHWInformation: NativeFunction[bool] = NativeFunction(
    "VRAXSetHWInformation", c_bool, (c_int, c_int,)
)


def VRAXSetHWInformation(major: int, minor: int) -> bool:
    """Writes the hardware version of the main unit into the instrument's flash. For manufacture.

    Works as VRAXSetDeviceInformation() does; the model stays.

    Parameters:
        major: 0 to 255
        minor: 0 to 255

    Returns:
        true: written and acknowledged
        false: no port is open, or a step was not answered as it should be
    """
    return _VRAXSetHWInformation(major, minor)


_VRAXReadMfgInfo: NativeFunction[bool] = NativeFunction(
    "VRAXReadMfgInfo", c_bool, (c_void_p, c_int,)
)


def VRAXReadMfgInfo(buffer: Address, length: int) -> bool:
    """Reads the manufacturing data block of the ECG board. Needs an open port.

    Parameters:
        buffer: zeroed, then filled as far as the instrument answers
        length: bytes; more than 64 counts as 64

    Returns:
        true: read
        false: no port is open, `buffer` is null, `length` is negative, or the instrument did not
            answer
    """
    return _VRAXReadMfgInfo(buffer, length)


_VRAXWriteMfgInfo: NativeFunction[bool] = NativeFunction(
    "VRAXWriteMfgInfo", c_bool, (c_void_p, c_int,)
)


def VRAXWriteMfgInfo(buffer: Address, length: int) -> bool:
    """Erases and writes the manufacturing data block of the ECG board. Needs an open port.

    Parameters:
        buffer: the data
        length: bytes; more than 64 counts as 64

    Returns:
        true: written
        false: no port is open, `buffer` is null, `length` is negative, or the instrument did not
            answer; after the erase the old block is lost
    """
    return _VRAXWriteMfgInfo(buffer, length)


_VRAXGetDeviceFeature: NativeFunction[None] = NativeFunction(
    "VRAXGetDeviceFeature", None, (c_void_p,)
)


def VRAXGetDeviceFeature(feature: Address) -> None:
    """Copies the capabilities of the PPG module.

    The default record at load and for modules that are not in the library's list; all zero once an
    instrument was identified that has no module, or whose firmware (below 1.3) tells of none.

    Parameters:
        feature: 80 bytes, a VRAXDeviceFeature; null does nothing
    """
    _VRAXGetDeviceFeature(feature)


_VRAXEnableFPGASampling: NativeFunction[bool] = NativeFunction(
    "VRAXEnableFPGASampling", c_bool, (c_bool,)
)


def VRAXEnableFPGASampling(enable: bool) -> bool:
    """Switches the signal strength detection of the PPG module.

    Parameters:
        enable: true on, false off

    Returns:
        true: acknowledged
        false: no port is open or the instrument did not acknowledge
    """
    return _VRAXEnableFPGASampling(enable)


_VRAXConfigureTransmissionRate: NativeFunction[bool] = NativeFunction(
    "VRAXConfigureTransmissionRate", c_bool, (c_int,)
)


def VRAXConfigureTransmissionRate(mode: int) -> bool:
    """Selects the transmission rate of the PPG board of module 0x3407 and writes what changes.

    The rates are those of the module's factory record.

    Parameters:
        mode: 0 to 5; values outside are taken as the nearest of these

    Returns:
        true: written, nothing to write, or another module
        false: a write failed; the rest was not tried
    """
    return _VRAXConfigureTransmissionRate(mode)


_VRAXGetTransmissionRate: NativeFunction[bool] = NativeFunction(
    "VRAXGetTransmissionRate", c_bool, (c_int, POINTER(c_uint), POINTER(c_uint),)
)


def VRAXGetTransmissionRate(channel: int, a: PointerTo[c_uint], b: PointerTo[c_uint]) -> bool:
    """Tells the two transmission rate values of a channel in the selected mode, for module 0x3407.

    Parameters:
        channel: 1 to 3
        a: untouched on failure
        b: untouched on failure

    Returns:
        true: both stored
        false: another module or none, `channel` is outside its range, or a pointer is null
    """
    return _VRAXGetTransmissionRate(channel, a, b)
