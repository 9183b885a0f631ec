"""Calibration data.

The ECG DC table holds 4001 16-bit DAC codes, entry i for a DC offset of i - 2000 mV; 0xFFFF marks
an entry that was never programmed. It is filled at every connection from the host file
"calibration.dat", else from the instrument's flash, else with a straight line. The file holds the
4001 codes in little-endian order, 8002 bytes in all; a shorter one counts as absent. Nothing in
this group is logged.
"""

# Written by tools/generate_native.py from vrax.h; changes belong there.

from __future__ import annotations

from ctypes import POINTER, c_bool, c_int, c_long, c_size_t, c_uint, c_ushort, c_char_p, c_void_p
from typing import TYPE_CHECKING, Optional

from vrax.loading import NativeFunction

if TYPE_CHECKING:
    from ctypes import _Pointer

    from vrax.native.types import Address, PointerTo

__all__ = [
    "SetCalibrationDataPath",
    "SaveCalibrationData",
    "LoadCalibrationData",
    "GetCalibrationCache",
    "GetCalibrationCacheEx",
    "ClearCalibrationCache",
    "ValidateDCCalibrationData",
    "ReadDCCalibrationData",
    "WriteDCCalibrationData",
    "ClearDCCalibrationData",
    "GetPPGDCTable",
]

_SetCalibrationDataPath: NativeFunction[None] = NativeFunction(
    "SetCalibrationDataPath", None, (c_char_p,)
)


def SetCalibrationDataPath(path: Optional[bytes]) -> None:
    """Sets the directory of "calibration.dat". Used from the next access on.

    Parameters:
        path: put before the file name as it is, so it ends with a '/'; at most 511 characters, a
            longer one is cut. Null or empty: the working directory (as at load).
    """
    _SetCalibrationDataPath(path)


_SaveCalibrationData: NativeFunction[int] = NativeFunction(
    "SaveCalibrationData", c_int, (c_char_p,)
)


def SaveCalibrationData(dir: Optional[bytes]) -> int:
    """Writes the ECG DC table to "calibration.dat" in a directory.

    Parameters:
        dir: put before the file name as it is, so it ends with a '/'

    Returns:
        0: written
        -1: the file cannot be opened, or `dir` is null
    """
    return _SaveCalibrationData(dir)


_LoadCalibrationData: NativeFunction[int] = NativeFunction(
    "LoadCalibrationData", c_int, ()
)


def LoadCalibrationData() -> int:
    """Takes the ECG DC table from "calibration.dat" in the set directory.

    Returns:
        0: taken; the next DC level uses it
        -1: the file is missing or short (the table stays), or one of its entries 1000 to 2999 is
            255 (the table is then the straight line)
    """
    return _LoadCalibrationData()


_GetCalibrationCache: NativeFunction[_Pointer[c_ushort]] = NativeFunction(
    "GetCalibrationCache", POINTER(c_ushort), (POINTER(c_int),)
)


def GetCalibrationCache(count: PointerTo[c_int]) -> _Pointer[c_ushort]:
    """Reads "calibration.dat" from the set directory into the library's cache.

    Parameters:
        count: 4001, or 0 when null is returned

    Returns:
        the codes, valid until the next call of this function, of ClearCalibrationCache() or of
            LoadCalibrationData(), and at most until the next connection; null when the file is
            missing or short, or `count` is null
    """
    return _GetCalibrationCache(count)


_GetCalibrationCacheEx: NativeFunction[int] = NativeFunction(
    "GetCalibrationCacheEx", c_int, (c_void_p, c_uint,)
)


def GetCalibrationCacheEx(buffer: Address, size: int) -> int:
    """Reads "calibration.dat" from the set directory into a buffer of the application.

    Parameters:
        buffer: room for 4001 codes of 16 bits; untouched on failure
        size: its room in codes, at least 4001

    Returns:
        4001: copied
        0: `size` is too small, `buffer` is null, no directory is set, or the file is missing or
            short
    """
    return _GetCalibrationCacheEx(buffer, size)


_ClearCalibrationCache: NativeFunction[int] = NativeFunction(
    "ClearCalibrationCache", c_int, ()
)


def ClearCalibrationCache() -> int:
    """Drops the cache and deletes "calibration.dat" in the set directory.

    Returns:
        0: the file is deleted
        -1: it could not be deleted; the cache is dropped all the same
    """
    return _ClearCalibrationCache()


_ValidateDCCalibrationData: NativeFunction[bool] = NativeFunction(
    "ValidateDCCalibrationData", c_bool, ()
)


def ValidateDCCalibrationData() -> bool:
    """Returns:
        true: every entry of the ECG DC table from -500 mV to 500 mV is programmed
        false: one of them is 0xFFFF
    """
    return _ValidateDCCalibrationData()


_ReadDCCalibrationData: NativeFunction[bool] = NativeFunction(
    "ReadDCCalibrationData", c_bool, ()
)


def ReadDCCalibrationData() -> bool:
    """Reads the ECG DC table from the instrument's flash.

    Returns:
        true: read; the next DC level uses it
        false: no instrument, or it did not answer in full: the table then holds what was read, and
            zeros
    """
    return _ReadDCCalibrationData()


_WriteDCCalibrationData: NativeFunction[bool] = NativeFunction(
    "WriteDCCalibrationData", c_bool, (POINTER(c_uint), c_long,)
)


def WriteDCCalibrationData(values: PointerTo[c_uint], count: int) -> bool:
    """Replaces the ECG DC table, writes it to the instrument's flash, and then to "calibration.dat"
    in the set directory.

    The flash is not erased: call ClearDCCalibrationData() first. Writing takes about 12 seconds (46
    ms for every 16 codes). A file that cannot be written does not make the call fail.

    Parameters:
        values: the codes; the low 16 bits of each count
        count: 4001

    Returns:
        true: written to the flash
        false: `count` is not 4001 or `values` is null (nothing has changed), or the flash could not
            be written (the table in memory is replaced, the file is not)
    """
    return _WriteDCCalibrationData(values, count)


_ClearDCCalibrationData: NativeFunction[bool] = NativeFunction(
    "ClearDCCalibrationData", c_bool, ()
)


def ClearDCCalibrationData() -> bool:
    """Erases the ECG DC tables in the instrument's flash, then drops the cache and deletes
    "calibration.dat" as ClearCalibrationCache() does. The table in memory stays.

    Returns:
        true: erased
        false: an erase failed; cache and file stay
    """
    return _ClearDCCalibrationData()


_GetPPGDCTable: NativeFunction[int] = NativeFunction(
    "GetPPGDCTable", c_size_t, (c_int, c_void_p, c_size_t,)
)


def GetPPGDCTable(row: int, buffer: Address, n: int) -> int:
    """Copies the start of a row of the PPG DC table (3001 16-bit codes, one for each millivolt).

    The limit counts bytes, not codes, so no more than the first 1500 codes and one byte of a row
    can be had.

    Parameters:
        row: 0 to 2
        buffer: room for `n` bytes
        n: bytes wanted; more than 3001 counts as 3001

    Returns:
        the number of bytes copied; 0 for another row or a null buffer
    """
    return _GetPPGDCTable(row, buffer, n)
