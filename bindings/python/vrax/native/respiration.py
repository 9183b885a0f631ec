"""Respiration.

Breathing in two ways. *Impedance respiration* is made by the instrument, or by the external
respiration module where the instrument has one: VRAXEnableRespiration(), then VRAXSetRespiration().
The *respiration algorithm* is computed by the library: a waveform in -1 to 1 that modulates the
beats of OUTPUT_ECG and OUTPUT_CUSTOM_ECG and the pulses of the PPG.

While the external module is present every signal is computed at 5000 samples per second, and with
respiration on each sample carries the resistance of the module. Calls that talk to the instrument
wait for a gap between two packets while a signal plays.
"""

# Written by tools/generate_native.py from vrax.h; changes belong there.

from __future__ import annotations

from ctypes import POINTER, c_double, c_int, c_uint, c_ushort
from typing import TYPE_CHECKING

from vrax.loading import NativeFunction

if TYPE_CHECKING:
    from vrax.native.types import PointerTo

__all__ = [
    "VRAXSetRespiration",
    "VRAXSetCalibrationRespiration",
    "VRAXEnableRespiration",
    "VRAXSetRespirationAlgorithm",
    "VRAXDisableRespireAlgorithm",
    "VRAXSetRespirationRawData",
    "VRAXRespirationModuleIsConnected",
    "VRAXExternalRespiratorySetBaseline",
    "VRAXExternalRespiratorySetDAC",
    "VRAXExternalRespiratorySetBaselineDAC",
    "VRAXExternalRespiratorySetAmplitudeByResistance",
    "VRAXWriteRespirationRWA",
    "VRAXExternalRespiratoryWriteRDAC3",
    "VRAXWriteRespirationBaselineDACTable",
    "ExtRespGetBaselineDAC",
    "ExtRespGetAmplitudeDAC",
]

_VRAXSetRespiration: NativeFunction[int] = NativeFunction(
    "VRAXSetRespiration", c_int, (c_int, c_int, c_int, c_int, c_int,)
)


def VRAXSetRespiration(
    variation: int, rate: int, ratio: int, baseline: int, apneaSeconds: int,
) -> int:
    """Sets the impedance respiration. Breathing starts with VRAXEnableRespiration(); with the
    external module call that first, since the module is told the output lead only while respiration
    is on.

    Apnea covers the last seconds of every minute of play. Without the module the instrument holds
    its breath from the packet on in which they begin; with it the resistance stays as it was.

    Logged as "VRAXSetRespiration(1000, 15, 2, 500, 10);".

    Parameters:
        variation: peak to peak change of the impedance in milliohms, 50 to 10000. The instrument's
            own generator takes it in steps of 100, rounded down.
        rate: breaths per minute, 1 to 200
        ratio: 1 to 5 for inhale:exhale of 1:1 to 1:5
        baseline: ohms: 500, 1000, 1500, 2000 or 2500; with the module also 0, 100, 200, 3000, 3500,
            4000 and 4500. Any other value sends the index of the lowest; the ECG is not attenuated
            then, and with the module the baseline code of the stream stays that of the baseline
            before.
        apneaSeconds: 0 to 60; 60 holds the breath for good

    Returns:
        1: accepted by the instrument
        0: no instrument or an argument out of range (nothing is stored, logged or sent then), or
            not accepted; the values are stored then
    """
    return _VRAXSetRespiration(variation, rate, ratio, baseline, apneaSeconds)


_VRAXSetCalibrationRespiration: NativeFunction[int] = NativeFunction(
    "VRAXSetCalibrationRespiration", c_int, (c_int, c_int,)
)


def VRAXSetCalibrationRespiration(variation: int, baseline: int) -> int:
    """Holds the external module at 50 ohms plus the variation, for calibration, until
    VRAXSetRespiration() is called. Rate, ratio and apnea stay as they are. Not logged.

    Without the module nothing is held: the instrument's own generator is told variation and
    baseline, with the rate and the ratio that were set last. The variation goes out in steps of 100
    as one byte, so that values outside 0 to 25500 wrap.

    Parameters:
        variation: milliohms, not checked
        baseline: as in VRAXSetRespiration()

    Returns:
        1: accepted by the instrument
        0: no instrument (nothing is stored then), or not accepted
    """
    return _VRAXSetCalibrationRespiration(variation, baseline)


_VRAXEnableRespiration: NativeFunction[int] = NativeFunction(
    "VRAXEnableRespiration", c_int, (c_int,)
)


def VRAXEnableRespiration(on: int) -> int:
    """Switches the impedance respiration on or off. Off also sets variation, rate, ratio, baseline
    and apnea to 0. While it is on, the ECG output is divided by what the baseline impedance
    attenuates it.

    The relays follow where they change, and the external module is told that it is off; whether
    either was acknowledged is not looked at.

    Logged as "VRAXEnableRespiration(true);".

    Parameters:
        on: 0 off, anything else on

    Returns:
        1: an instrument is open
        0: stored, but nothing was sent: no instrument is open, or the output was switched off while
            the call waited for its turn
    """
    return _VRAXEnableRespiration(on)


_VRAXSetRespirationAlgorithm: NativeFunction[int] = NativeFunction(
    "VRAXSetRespirationAlgorithm", c_int, (c_int, c_int, c_int, c_int, c_int, c_int,)
)


def VRAXSetRespirationAlgorithm(
    rate: int, ratio: int, apneaSeconds: int, baselinePercent: int, amplitudePercent: int,
    frequencyPercent: int,
) -> int:
    """Sets the respiration algorithm. The depths are fixed with the amplitude and the frequency
    that are set when this is called. Takes effect at once.

    Logged as "VRAXSetRespirationAlgorithm(15, 2, 10, 20, 10, 5);".

    Parameters:
        rate: breaths per minute, 1 to 200
        ratio: 1 to 5 for inhale:exhale of 1:1 to 1:5
        apneaSeconds: 0 to 60 at the end of every minute; breaths restart with the next
        baselinePercent: shift of the baseline, 0 to 100 percent of the amplitude
        amplitudePercent: change of the beat's height, 0 to 100 percent of the amplitude
        frequencyPercent: change of the heart rate, 0 to 100 percent of the frequency

    Returns:
        1: stored
        0: out of range; nothing changes
    """
    return _VRAXSetRespirationAlgorithm(rate, ratio, apneaSeconds, baselinePercent,
        amplitudePercent, frequencyPercent)


_VRAXDisableRespireAlgorithm: NativeFunction[None] = NativeFunction(
    "VRAXDisableRespireAlgorithm", None, ()
)


def VRAXDisableRespireAlgorithm() -> None:
    """Ends the respiration algorithm: nothing is modulated any more. Takes effect at once.

    Logged as "VRAXDisableRespireAlgorithm();".
    """
    _VRAXDisableRespireAlgorithm()


_VRAXSetRespirationRawData: NativeFunction[int] = NativeFunction(
    "VRAXSetRespirationRawData", c_int, (POINTER(c_double), c_int, c_int,)
)


def VRAXSetRespirationRawData(samples: PointerTo[c_double], count: int, rate: int) -> int:
    """Takes a copy of samples as the resistance that the external module plays, over and over, in
    the place of the breath. ClearRawArray() drops it. Takes effect at once. Not logged.

    Parameters:
        samples: ohms above 50; played within 0 to 10
        count: number of samples, at least 1
        rate: samples per second, at least 1

    Returns:
        1: stored
        0: a null pointer, or `count` or `rate` below 1, or no memory; the old record stays
    """
    return _VRAXSetRespirationRawData(samples, count, rate)


_VRAXRespirationModuleIsConnected: NativeFunction[int] = NativeFunction(
    "VRAXRespirationModuleIsConnected", c_int, ()
)


def VRAXRespirationModuleIsConnected() -> int:
    """Returns 1 when the external respiration module is present, else 0"""
    return _VRAXRespirationModuleIsConnected()


_VRAXExternalRespiratorySetBaseline: NativeFunction[int] = NativeFunction(
    "VRAXExternalRespiratorySetBaseline", c_int, (c_int, c_int,)
)


def VRAXExternalRespiratorySetBaseline(index: int, lead: int) -> int:
    """Selects a baseline of the external module by its index: its baseline setting is written, then
    the baseline code of its four codes. Stops at the first step that fails. Not logged.

    Parameters:
        index: 0 to 11 for 0, 100, 200, 500, 1000, 1500, ... 4500 ohms
        lead: not used: the module is told the lowest of the leads 0 to 2 that are on

    Returns:
        1: done
        0: no instrument or module, or no acknowledgement
    """
    return _VRAXExternalRespiratorySetBaseline(index, lead)


_VRAXExternalRespiratorySetDAC: NativeFunction[int] = NativeFunction(
    "VRAXExternalRespiratorySetDAC", c_int, (c_uint, c_uint, c_uint, c_uint,)
)


def VRAXExternalRespiratorySetDAC(first: int, second: int, third: int, baseline: int) -> int:
    """Sets the four codes of the external module. Codes above 65535 count as 65535. Not logged.

    Parameters:
        first: code of the first resistance
        second: code of the second resistance
        third: code of the third resistance
        baseline: code of the baseline

    Returns:
        1: acknowledged
        0: no instrument or module, or no acknowledgement
    """
    return _VRAXExternalRespiratorySetDAC(first, second, third, baseline)


_VRAXExternalRespiratorySetBaselineDAC: NativeFunction[int] = NativeFunction(
    "VRAXExternalRespiratorySetBaselineDAC", c_int, (c_uint,)
)


def VRAXExternalRespiratorySetBaselineDAC(code: int) -> int:
    """Sets the baseline code of the external module; the other three codes stay. Not logged.

    Parameters:
        code: codes above 65535 count as 65535

    Returns:
        1: acknowledged
        0: no instrument or module, or no acknowledgement
    """
    return _VRAXExternalRespiratorySetBaselineDAC(code)


_VRAXExternalRespiratorySetAmplitudeByResistance: NativeFunction[int] = NativeFunction(
    "VRAXExternalRespiratorySetAmplitudeByResistance", c_int, (c_double,)
)


def VRAXExternalRespiratorySetAmplitudeByResistance(ohms: float) -> int:
    """Sets the external module to a resistance: the first three of its codes, those that
    ExtRespGetAmplitudeDAC() gives. The baseline code stays. Not logged.

    Parameters:
        ohms: the resistance, about 50 to 60

    Returns:
        1: acknowledged
        0: no instrument or module, or no acknowledgement
    """
    return _VRAXExternalRespiratorySetAmplitudeByResistance(ohms)


_VRAXWriteRespirationRWA: NativeFunction[int] = NativeFunction(
    "VRAXWriteRespirationRWA", c_int, (c_double, c_double, c_double, c_double,)
)


def VRAXWriteRespirationRWA(first: float, second: float, correction: float, reserved: float) -> int:
    """Stores the coefficients of the external module in its flash and takes them over. Does not
    erase. Not logged.

    Only with the external module, which is not checked: a PPG module keeps its own calibration in
    the same place (photodiode ratios, AC ranges), and that is overwritten.

    Parameters:
        first: ohms in series with the first programmable resistance
        second: ohms in series with the second one
        correction: of the choice of the third resistance
        reserved: kept with the others

    Returns:
        1: stored
        0: no instrument, or a part was not acknowledged; the coefficients in force stay
    """
    return _VRAXWriteRespirationRWA(first, second, correction, reserved)


_VRAXExternalRespiratoryWriteRDAC3: NativeFunction[int] = NativeFunction(
    "VRAXExternalRespiratoryWriteRDAC3", c_int, (POINTER(c_double),)
)


def VRAXExternalRespiratoryWriteRDAC3(ohms: PointerTo[c_double]) -> int:
    """Stores the resistances of the module's third element in its flash and takes them over. Takes
    more than a second, in which no packet goes out. Does not erase. Not logged.

    Only with the external module, which is not checked: a PPG module keeps its own calibration in
    the same place (DC levels), and that is overwritten.

    Parameters:
        ohms: 96 values

    Returns:
        1: stored
        0: no instrument, a null pointer, or a part was not acknowledged; the table in force stays
    """
    return _VRAXExternalRespiratoryWriteRDAC3(ohms)


_VRAXWriteRespirationBaselineDACTable: NativeFunction[int] = NativeFunction(
    "VRAXWriteRespirationBaselineDACTable", c_int, (POINTER(c_ushort),)
)


def VRAXWriteRespirationBaselineDACTable(codes: PointerTo[c_ushort]) -> int:
    """Stores the baseline codes of the external module in its flash and takes them over. Does not
    erase. Not logged.

    Only with the external module, which is not checked: a PPG module keeps its own calibration in
    the same place (photodiode ratios, transmission rates), and that is overwritten.

    Parameters:
        codes: 12 codes, for 0, 100, 200, 500, 1000, 1500, ... 4500 ohms

    Returns:
        1: stored
        0: no instrument, a null pointer, or a part was not acknowledged; the table in force stays
    """
    return _VRAXWriteRespirationBaselineDACTable(codes)


_ExtRespGetBaselineDAC: NativeFunction[int] = NativeFunction(
    "ExtRespGetBaselineDAC", c_ushort, (c_int,)
)


def ExtRespGetBaselineDAC(index: int) -> int:
    """The baseline code of an index, from the table of the external module. Takes no lock.

    Parameters:
        index: 0 to 11; below counts as 0, above as 11

    Returns:
        the code; 0 until a table has been loaded
    """
    return _ExtRespGetBaselineDAC(index)


_ExtRespGetAmplitudeDAC: NativeFunction[int] = NativeFunction(
    "ExtRespGetAmplitudeDAC", c_ushort, (c_double, POINTER(c_ushort),)
)


def ExtRespGetAmplitudeDAC(ohms: float, codes: PointerTo[c_ushort]) -> int:
    """The three codes that set the external module to a resistance: parallel branches, two of 1024
    steps and one of 96. Takes no lock.

    Parameters:
        ohms: the resistance
        codes: the codes of the first, second and third resistance; all 0 for 0 ohms and while the
            module's table is not loaded

    Returns:
        the first code; 0 when `codes` is null
    """
    return _ExtRespGetAmplitudeDAC(ohms, codes)
