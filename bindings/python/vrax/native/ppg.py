"""PPG waveforms.

The pulse of each of the three channels (LED types 0, 1 and 2): a period of samples in two parts, a
DC level and the pulse itself (AC). It is synthesised from a description or taken from the
application, and played beside the ECG while VRAXEnablePPGOutput() is on. The stream then runs at
10000 samples a second. Waveforms need no instrument; they are made for the module that is known
when they are set, and its ranges hold (VRAXGetDeviceFeature()). With module 0x3307 or 0x3407 levels
are converted, so that they come out of its finger probe. An instrument without a PPG module has no
ranges: while it is connected, descriptions are refused with -5.

Channels 0 and 1 share a place in the stream: with a module, it carries the one of the module's
first LED. Channel 2 has a place of its own.

A reset clears the channels, switches them off, and ends synchronisation and modulation. Memory that
is not there for a waveform ends the process.
"""

# Written by tools/generate_native.py from vrax.h; changes belong there.

from __future__ import annotations

from ctypes import POINTER, c_bool, c_double, c_int
from typing import TYPE_CHECKING

from vrax.loading import NativeFunction
from vrax.native.types import PPG_WAVEFORM

if TYPE_CHECKING:
    from vrax.native.types import PointerTo

__all__ = [
    "SetPPGWaveform",
    "VRAXSetPPGStandardWaveform",
    "VRAXSetPPGStandardWaveformEx",
    "VRAXSetPPGRawData",
    "VRAXClearPPGWaveform",
    "VRAXSetPTTp",
    "VRAXSetPPGRespirationAlgorithm",
    "VRAXEnablePPGOutput",
]

_SetPPGWaveform: NativeFunction[int] = NativeFunction(
    "SetPPGWaveform", c_int, (c_int, POINTER(PPG_WAVEFORM),)
)


def SetPPGWaveform(led: int, wave: PointerTo[PPG_WAVEFORM]) -> int:
    """Sets a channel's pulse from a description, or clears the channel.

    Takes no lock: do not call it on several threads at once. Not logged. Once a channel has been
    given raw data, a description keeps its character of raw data until the channel is cleared: the
    pulse is not synchronised to the ECG, and its period is a whole number of samples.

    Parameters:
        led: 0 to 2
        wave: copied; null clears the channel, also while a signal plays, and forgets its
            description

    Returns:
        samples of a period (10000 a second), above 0
        0: cleared, or a frequency that is no number
        -1: a signal plays or photodiode sampling runs
        -2: another channel
        -3: another shape
        -4: frequency out of range
        -5: DC level out of range
        -6: AC amplitude out of range
        -7: no memory; the old pulse stays
    """
    return _SetPPGWaveform(led, wave)


_VRAXSetPPGStandardWaveform: NativeFunction[int] = NativeFunction(
    "VRAXSetPPGStandardWaveform", c_int, (c_int, c_int, c_int, c_int, c_double, c_double, c_double,)
)


def VRAXSetPPGStandardWaveform(
    led: int, waveform: int, ledSync: int, invert: int, frequency: float, dc: float, ac: float,
) -> int:
    """Sets a channel's pulse to a standard shape: the standard pulse peaks at 15 % of the period,
    has its notch (56 % of the amplitude) at 36 % and its dicrotic wave (64 %) at 46 %.

    Logged as "VRAXSetPPGStandardWaveform(0, 3, 1, 0, 1.00, 1000, 10.00);".

    Parameters:
        led: 0 to 2
        waveform: 0 sine, 1 triangle, 2 square, 3 standard pulse
        ledSync: as in PPG_WAVEFORM
        invert: as in PPG_WAVEFORM
        frequency: hertz, 0.16 to 5.0
        dc: millivolts
        ac: millivolts peak to peak

    Returns:
        as SetPPGWaveform()
    """
    return _VRAXSetPPGStandardWaveform(led, waveform, ledSync, invert, frequency, dc, ac)


_VRAXSetPPGStandardWaveformEx: NativeFunction[int] = NativeFunction(
    "VRAXSetPPGStandardWaveformEx", c_int, (c_int, c_int, c_int, c_int, c_int, c_int, c_int, c_int,
    c_double, c_double, c_double, c_double, c_double, c_double,)
)


def VRAXSetPPGStandardWaveformEx(
    led1: int, waveform1: int, ledSync1: int, invert1: int, led2: int, waveform2: int, ledSync2:
    int, invert2: int, frequency1: float, dc1: float, ac1: float, frequency2: float, dc2: float,
    ac2: float,
) -> int:
    """Sets two channels as VRAXSetPPGStandardWaveform() does. With module 0x3407, when the
    amplitudes fall into different AC ranges of the module (from 15 mV, from 1.5 mV, below), all
    four levels are first multiplied by one factor that brings both into one range, which keeps the
    ratio of the two channels' AC to DC parts.

    Not logged. The parameters of either channel are those of VRAXSetPPGStandardWaveform().

    Parameters:
        led1: the first channel
        waveform1: its shape
        ledSync1: its trigger position
        invert1: whether it is inverted
        led2: the second channel
        waveform2: its shape
        ledSync2: its trigger position
        invert2: whether it is inverted
        frequency1: its hertz
        dc1: its DC level
        ac1: its AC amplitude
        frequency2: its hertz
        dc2: its DC level
        ac2: its AC amplitude

    Returns:
        the first channel's result when it is negative, and the second is left alone; otherwise the
            second's. As SetPPGWaveform().
    """
    return _VRAXSetPPGStandardWaveformEx(led1, waveform1, ledSync1, invert1, led2, waveform2,
        ledSync2, invert2, frequency1, dc1, ac1, frequency2, dc2, ac2)


_VRAXSetPPGRawData: NativeFunction[int] = NativeFunction(
    "VRAXSetPPGRawData", c_int, (c_int, c_int, c_int, c_int, POINTER(c_double), POINTER(c_double),
    c_double,)
)


def VRAXSetPPGRawData(
    led: int, ledSync: int, invert: int, count: int, dc: PointerTo[c_double], ac:
    PointerTo[c_double], sampleRate: float,
) -> int:
    """Sets a channel's pulse to the application's samples: one period, repeated.

    Not logged.

    Parameters:
        led: 0 to 2
        ledSync: LED synchronisation byte, sent as it is
        invert: not 0: the AC part is turned upside down; 1: the graph callback sees it upright
        count: samples in each array, at least 1
        dc: millivolts
        ac: millivolts; cut to 0 to the highest AC amplitude of the module
        sampleRate: samples per second, above 0

    Returns:
        0: copied
        -1: a signal plays or photodiode sampling runs
        -2: another channel
        -3: `count` is below 1
        -4: `dc` is null
        -5: `ac` is null
        -6: `sampleRate` is 0 or below
        -7: no memory; the old pulse stays
    """
    return _VRAXSetPPGRawData(led, ledSync, invert, count, dc, ac, sampleRate)


_VRAXClearPPGWaveform: NativeFunction[None] = NativeFunction(
    "VRAXClearPPGWaveform", None, (c_int,)
)


def VRAXClearPPGWaveform(led: int) -> None:
    """Clears a channel's waveform, at once, also while it plays: its codes are 0 then. Not logged.

    Parameters:
        led: 0 to 2; others are ignored
    """
    _VRAXClearPPGWaveform(led)


_VRAXSetPTTp: NativeFunction[None] = NativeFunction(
    "VRAXSetPTTp", None, (c_int,)
)


def VRAXSetPTTp(ms: int) -> None:
    """Synchronises the pulses to the ECG: the peak comes so long after the R wave of OUTPUT_ECG or
    OUTPUT_CUSTOM_ECG. At once. Pulses should then have the rate of the ECG. Raw data, the other
    output functions, and a switched-off ECG are not synchronised.

    Logged as "VRAXSetPTTp(200);".

    Parameters:
        ms: pulse transit time, any; below 0 (-1 at load): not synchronised
    """
    _VRAXSetPTTp(ms)


_VRAXSetPPGRespirationAlgorithm: NativeFunction[bool] = NativeFunction(
    "VRAXSetPPGRespirationAlgorithm", c_bool, (c_int, c_int, c_int,)
)


def VRAXSetPPGRespirationAlgorithm(
    baselinePercent: int, amplitudePercent: int, frequencyPercent: int,
) -> bool:
    """Lets the breathing of VRAXSetRespirationAlgorithm() modulate the pulses, at once.

    Takes no lock. Not logged.

    Parameters:
        baselinePercent: of the AC amplitude, added to the DC and the AC part
        amplitudePercent: of both parts
        frequencyPercent: of the ECG rate, which the pulse rate is then taken from: it is half of it
            for each channel that is switched on

    Returns:
        true: stored; all three are 0 at load
        false: one is outside 0 to 100; nothing has changed
    """
    return _VRAXSetPPGRespirationAlgorithm(baselinePercent, amplitudePercent, frequencyPercent)


_VRAXEnablePPGOutput: NativeFunction[int] = NativeFunction(
    "VRAXEnablePPGOutput", c_int, (c_int, c_bool,)
)


def VRAXEnablePPGOutput(led: int, enable: bool) -> int:
    """Switches a channel's output on or off, with the next run.

    Logged as "VRAXEnablePPGOutput(0, true);".

    Parameters:
        led: 0 to 2
        enable: false at load

    Returns:
        0: stored
        -1: a signal plays or photodiode sampling runs
        -2: another channel
    """
    return _VRAXEnablePPGOutput(led, enable)
