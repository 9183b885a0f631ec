"""Recordings from files.

Each loader replaces the record that OUTPUT_ECG_FILE plays by one channel of a file, in millivolts,
and returns the number of its samples. The next run plays it; a run that is on plays 0 mV while the
file is read and then the new samples, with the length of cycle that it started with. No run should
be started, and no parameter set, by another thread meanwhile.

A file that is refused before its samples are looked at leaves the old record in place. The codes
with which it is gone are marked: the record is then empty. Numbers in text are read with a decimal
point in every locale. Not logged.
"""

# Written by tools/generate_native.py from vrax.h; changes belong there.

from __future__ import annotations

from ctypes import POINTER, c_char, c_int, c_char_p
from typing import TYPE_CHECKING, Optional

from vrax.loading import NativeFunction

if TYPE_CHECKING:
    from ctypes import _Pointer

    from vrax.native.types import PointerTo

__all__ = [
    "CheckECGTxtChannel",
    "VRAXLoadECGtxt",
    "LoadECGBin",
    "LoadECGAHA",
    "VRAXLoadECGedf",
    "VRAXLoadECGdat",
]

_CheckECGTxtChannel: NativeFunction[int] = NativeFunction(
    "CheckECGTxtChannel", c_int, (c_char_p, POINTER(POINTER(c_char)),)
)


def CheckECGTxtChannel(path: Optional[bytes], names: PointerTo[_Pointer[c_char]]) -> int:
    """Reads the names of the channels of a text file (see VRAXLoadECGtxt()).

    The rate of the file becomes that of the present record, though nothing is loaded, and the file
    stays open until the process ends. Takes no lock.

    Parameters:
        path: the file
        names: room for as many pointers as the file has channels, of which the first 128 are
            stored: a new string of 128 bytes each, empty where the file has no name, null without
            memory. The caller frees them with free().

    Returns:
        the number of channels that the file announces
        -1: the file cannot be opened, or a pointer is null
        -2: the rate is missing or 0
        -3: the number of samples is missing or 0
        -4: the number of channels is missing, 0 or negative
        -5: the names are missing
    """
    return _CheckECGTxtChannel(path, names)


_VRAXLoadECGtxt: NativeFunction[int] = NativeFunction(
    "VRAXLoadECGtxt", c_int, (c_char_p, c_int,)
)


def VRAXLoadECGtxt(path: Optional[bytes], channel: int) -> int:
    """Loads one channel of a text file.

    Lines: samples per second, number of samples, number of channels, the channels' names, then one
    line of millivolts for each sample; names and values are separated by commas. A line has at most
    127 characters, a longer one goes on as the next. The samples end with the file or with the
    announced number, whichever is first; values are held within 20 mV of zero, and text that is no
    number is 0.

    Parameters:
        path: the file
        channel: from 0

    Returns:
        the number of samples, 0 for a file with a header alone
        -1: the file cannot be opened
        -2: the rate is missing, 0 or outside 100 to 40000
        -3: the number of samples is missing or 0
        -4: the number of channels is missing or 0
        -5: the names are missing
        -6: no memory, or the number of samples is negative, or above a million and eight times what
            the file has bytes for; the old record is gone
        -7: the file has no such channel, or a line has too few fields; with a line the old record
            is gone. When the header lacks the channel, the file stays open until the process ends,
            as with a rate out of range.
    """
    return _VRAXLoadECGtxt(path, channel)


_LoadECGBin: NativeFunction[int] = NativeFunction(
    "LoadECGBin", c_int, (c_char_p,)
)


def LoadECGBin(path: Optional[bytes]) -> int:
    """Loads a binary file: samples per second (16 bits), number of samples (32 bits), then 16-bit
    words of microvolts with a sign, all of it big-endian. The samples end with the file or with the
    announced number, whichever is first; values are held within 20 mV of zero. Takes no API lock.

    Parameters:
        path: the file

    Returns:
        the number of samples, 0 for a file with a header alone
        -1: the file cannot be opened
        -2: the rate is missing or outside 30 to 5000
        -3: the number of samples is missing, 0 or above 20000000
        -4: no memory; the old record is gone
    """
    return _LoadECGBin(path)


_LoadECGAHA: NativeFunction[int] = NativeFunction(
    "LoadECGAHA", c_int, (c_char_p, c_int,)
)


def LoadECGAHA(path: Optional[bytes], channel: int) -> int:
    """Loads one channel of a recording of the AHA database, 250 samples per second, 400 units per
    millivolt.

    A path that ends in ".txt" is text: a line for each sample with the values of both channels,
    separated by commas or spaces. Lines that are blank, have one field, or text that is no number
    in the field of the channel, are left out. A path that ends in ".ecg" is binary: five bytes for
    each sample, a little-endian 16-bit value with a sign for each channel and one byte more. Lower
    case alone. Values are taken as they are. Takes no API lock.

    Parameters:
        path: the file
        channel: 0 or 1

    Returns:
        the number of samples
        -1: `path` is null, shorter than four characters or ends otherwise
        -2: the file cannot be read
        -3: there is no such channel
        -4: the file has no sample; the old record is gone
        -5: no memory; the old record is gone
    """
    return _LoadECGAHA(path, channel)


_VRAXLoadECGedf: NativeFunction[int] = NativeFunction(
    "VRAXLoadECGedf", c_int, (c_char_p, c_int,)
)


def VRAXLoadECGedf(path: Optional[bytes], channel: int) -> int:
    """Loads one signal of an EDF or EDF+ file, taken as microvolts and held within 20 mV of zero.

    The identification fields must have the words that EDF+ demands, and a data record must last
    whole seconds. The rate is the signal's samples per data record divided by its seconds,
    fractions cut off.

    Parameters:
        path: the file
        channel: from 0

    Returns:
        the number of samples
        -1: the file cannot be opened
        -2: the header is short or not accepted
        -3: there is no such signal, it holds annotations, or the number of data records is unknown
        -4: no memory, or the header promises far more than the file holds; the old record is gone
        -5: the rate is outside 100 to 40000; the new record is loaded
    """
    return _VRAXLoadECGedf(path, channel)


_VRAXLoadECGdat: NativeFunction[int] = NativeFunction(
    "VRAXLoadECGdat", c_int, (c_char_p, c_char_p, c_int,)
)


def VRAXLoadECGdat(heaPath: Optional[bytes], datPath: Optional[bytes], channel: int) -> int:
    """Loads one signal of a WFDB (MIT) record in format 212 or 16, in the units of its header,
    which are taken as millivolts. Values are taken as they are.

    Parameters:
        heaPath: the header, text
        datPath: the signal file, whatever file the header names
        channel: from 0

    Returns:
        the number of samples
        -1: the header cannot be opened or is not accepted
        -2: the signal file cannot be opened, or has another format
        -3: there is no such signal
        -4: no samples, no memory, or the header promises far more than the file holds; the old
            record is gone
        -5: the rate is outside 100 to 40000; the new record is loaded
    """
    return _VRAXLoadECGdat(heaPath, datPath, channel)
