"""Firmware.

Replacing the two programs of the instrument: the FPGA image and the program of the MCU.

An image is loaded from a file, which checks it, and then burnt in three passes: erase, write,
verify. After that the instrument restarts, and the library finds it again. A burn runs on the
thread of its caller and returns at its end; a callback tells how far it is and can cancel it.

### Image files

A raw binary image. At byte 118772 four letters tell which program it is, and the four bytes behind
them are its version. The loaded image stays in memory, after a burn too, so that one that failed
can be repeated; a burn takes the image that was loaded when it was called.

### While an image is burnt

- The connection stays: the burn itself closes, searches and opens the port, and sets the relays of
  the instrument. The listener hears nothing, unless the instrument is not found again, or was
  unplugged: then it is told false when the burn is over, and true as soon as it is back.
- A signal that plays stands still and goes on afterwards where it stood; switching it off works all
  the same. Photodiode sampling is stopped, as by VRAXStopPPGSampling().
- A second burn waits until the first is over. VRAXFree() waits as well, so that no half-written
  program is left behind; called from the progress callback it does not wait, the burn goes on to
  its restart, and then ends with -11.
- Keep the instrument plugged in and supplied. An image that is not whole does not run.

Nothing in this group is logged.
"""

# Written by tools/generate_native.py from vrax.h; changes belong there.

from __future__ import annotations

from ctypes import POINTER, c_int, c_char_p
from typing import TYPE_CHECKING, Optional

from vrax.loading import NativeFunction
from vrax.native.types import VRAXBurnCallback

if TYPE_CHECKING:
    from vrax.native.types import Callback, PointerTo

__all__ = [
    "LoadFirmwareFile",
    "BurnFirmware",
    "LoadMcuFile",
    "BurnMcu",
]

_LoadFirmwareFile: NativeFunction[int] = NativeFunction(
    "LoadFirmwareFile", c_int, (c_char_p, POINTER(c_int), POINTER(c_int), POINTER(c_int),
    POINTER(c_int),)
)


def LoadFirmwareFile(
    path: Optional[bytes], version1: PointerTo[c_int], version2: PointerTo[c_int], version3:
    PointerTo[c_int], version4: PointerTo[c_int],
) -> int:
    """Loads an FPGA image for BurnFirmware() and tells its version.

    The file has at least 122880 bytes, of which the first 122880 are taken, and the letters "VRAX".
    Takes the interrupt lock, and waits for the free line as a command does. On failure an image
    that was loaded before stays loaded, and the version is not stored.

    Parameters:
        path: of the file
        version1: first byte of the version, 0 to 255
        version2: second byte
        version3: third byte
        version4: fourth byte

    Returns:
        122880, the size of the image; or a negative code
        -1: the file cannot be opened
        -2: the size of the file cannot be read, or a pointer is null
        -4: there is no memory for the image
        -5: the file could not be read as far as it should go
        -6: the file is too short, or the letters are others
    """
    return _LoadFirmwareFile(path, version1, version2, version3, version4)


_BurnFirmware: NativeFunction[int] = NativeFunction(
    "BurnFirmware", c_int, (VRAXBurnCallback,)
)


def BurnFirmware(callback: Callback) -> int:
    """Burns the loaded FPGA image into the instrument, restarts it and finds it again.

    Holds the API and the interrupt lock from the first frame to the end, so every other call waits.
    Erasing takes 106 frames of 40 ms, writing and verifying 2262 frames each, which is about ten
    seconds in all, and then up to half a minute until the instrument is found. A frame that fails
    while verifying is also printed on standard output.

    A cancel leaves the instrument running the program that it runs, with what was erased and
    written by then: repeat the burn before the instrument is switched off. A cancel at the first
    call leaves the flash untouched. The same holds after every failure before the restart.

    Parameters:
        callback: told of every step; null: nobody is told, and nothing cancels the burn

    Returns:
        0: burnt, verified, restarted and connected again; told as 100
        -1: cancelled, which is not told
        -2: no image is loaded; nothing was touched
        -3: no instrument is connected, or the call was made from a callback other than the
            connection listener; nothing was touched
        -5: a frame could not be sent; told as -5, while verifying as -7
        -6: a frame was not answered in full; told as -6, while verifying as -8
        -9: what was read back is not what was written
        -10: the restart could not be sent
        -11: the instrument was not found within ten attempts on all ports
    """
    return _BurnFirmware(callback)


_LoadMcuFile: NativeFunction[int] = NativeFunction(
    "LoadMcuFile", c_int, (c_char_p, POINTER(c_int), POINTER(c_int), POINTER(c_int),
    POINTER(c_int),)
)


def LoadMcuFile(
    path: Optional[bytes], version1: PointerTo[c_int], version2: PointerTo[c_int], version3:
    PointerTo[c_int], version4: PointerTo[c_int],
) -> int:
    """Loads a program of the MCU for BurnMcu() and tells its version.

    The file may have any size up to 2 GB. It is taken when at least one of its four letters is the
    one that "2TF2" has in that place. Bytes that a short file does not have count as 0. The program
    that was loaded before is dropped first, unless a pointer is null.

    Parameters:
        path: of the file
        version1: first byte of the version, 0 to 255; untouched on failure
        version2: second byte
        version3: third byte
        version4: fourth byte

    Returns:
        the size of the file; or a negative code
        -1: the file cannot be opened
        -2: the size of the file cannot be read, or a pointer is null
        -4: there is no memory for the image, or it has 2 GB or more
        -5: the file could not be read to its end
        -6: all four letters are others
    """
    return _LoadMcuFile(path, version1, version2, version3, version4)


_BurnMcu: NativeFunction[int] = NativeFunction(
    "BurnMcu", c_int, (VRAXBurnCallback,)
)


def BurnMcu(callback: Callback) -> int:
    """Burns the loaded program into the MCU of the instrument, restarts it and finds it again.

    Takes the API and the interrupt lock for one frame at a time; other calls go in between. Erasing
    takes 100 ms for each 1024 bytes; it is followed by a frame for each 32 bytes written and each
    52 verified, and the restart takes 6 seconds before the instrument is searched: about half a
    minute for an image of 120 KB.

    Every burn that has put the MCU into update mode ends with a last callback (BURN_FINISHED, 100),
    whatever its result, and after one that tells the result. A burn that fails or is cancelled
    first sends the MCU back to its application, which it cannot run once its program was erased:
    repeat the burn. A cancel at the first call leaves the program untouched.

    Parameters:
        callback: told of every step; null: nobody is told, and nothing cancels the burn

    Returns:
        0: burnt, verified, restarted and connected again; told as 100
        -1: cancelled
        -2: no program is loaded; nothing was touched
        -3: no instrument is connected, or the call was made from a callback other than the
            connection listener; nothing was touched
        -4: the MCU did not enter update mode; this is not told
        -5: a frame could not be sent; told as -5, while verifying as -7
        -6: a frame was not answered in full; told as -6, while verifying as -8
        -9: what was read back is not what was written
        -11: the instrument was not found within ten attempts on all ports
    """
    return _BurnMcu(callback)
