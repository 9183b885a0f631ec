"""Test signals and disturbances.

What performance standards ask an ECG monitor to withstand.
"""

# Written by tools/generate_native.py from vrax.h; changes belong there.

from __future__ import annotations

from ctypes import c_bool, c_double, c_int

from vrax.loading import NativeFunction

__all__ = [
    "VRAXSetBaselineResetTest",
    "VRAXGetBaselineResetTest",
    "VRAXSetECG2_27_Noise",
    "VRAXGetECG2_27_NoiseFreq",
    "VRAXGetECG2_27_NoiseAmp",
    "VRAXSetNSTNoise",
    "VRAXSetECG2_27_AAMIDriftTest",
    "VRAXGetECG2_27_AAMIDriftTest",
    "VRAXSetECG2_27_AAMIDriftTestAmplitude",
    "VRAXGetECG2_27_AAMIDriftTestAmplitude",
    "VRAXSetECG2_27_AAMIDriftTestFrequency",
    "VRAXGetECG2_27_AAMIDriftTestFrequency",
    "VRAXSetDynamicRangeTest",
    "VRAXGetDynamicRangeTest",
    "VRAXGetDynamicRangeTestAmplitude",
    "VRAXGetDynamicRangeTestFrequency",
    "VRAXSetFrequencyScanSine",
    "VRAXGetFrequencyScanSine",
    "VRAXGetFrequencyScanSineStartFrequency",
    "VRAXGetFrequencyScanSineStopFrequency",
    "VRAXGetFrequencyScanSineDuration",
    "VRAXSetFrequencyScanECG",
    "VRAXGetFrequencyScanECG",
]

_VRAXSetBaselineResetTest: NativeFunction[int] = NativeFunction(
    "VRAXSetBaselineResetTest", c_int, (c_int,)
)


def VRAXSetBaselineResetTest(test: int) -> int:
    """Starts and ends the baseline reset test: a sine of 500 mV on the DC path that overloads the
    monitor.

    Starting selects OUTPUT_SINE. While the test is on, VRAXSetAmplitude() and VRAXSetFrequency()
    are refused; the end of a run ends it. The baseline reset callback is told of every change
    before it is stored. Takes effect with the next cycle; the call returns 100 ms later.

    Logged as "VRAXSetBaselineResetTest(0);", also by the end of a run.

    Parameters:
        test: 0 off, 1 to 4 for 50, 60, 80 and 100 Hz; 0 after a run. Other values are stored and
            give no overload.

    Returns:
        0: stored, or it was so already
        -1: no instrument is open and no connection listener is registered
    """
    return _VRAXSetBaselineResetTest(test)


_VRAXGetBaselineResetTest: NativeFunction[int] = NativeFunction(
    "VRAXGetBaselineResetTest", c_int, ()
)


def VRAXGetBaselineResetTest() -> int:
    """Returns the stored test, 0 when off. Takes no lock."""
    return _VRAXGetBaselineResetTest()


_VRAXSetECG2_27_Noise: NativeFunction[int] = NativeFunction(
    "VRAXSetECG2_27_Noise", c_int, (c_int, c_double,)
)


def VRAXSetECG2_27_Noise(freq: int, amp: float) -> int:
    """Adds mains interference or noise to OUTPUT_ECG, OUTPUT_CUSTOM_ECG and OUTPUT_ANE20000, for
    the tests of IEC 60601-2-27. Takes effect at once.

    Logged as "VRAXSetECG2_27_Noise(0, 0.10);".

    Parameters:
        freq: 0 none; 1 to 8 for 50, 60, 100, 120, 150, 180, 200 and 240 Hz; 9 random noise; other
            values are stored and give none. 0 after a reset.
        amp: millivolts peak to peak, 0.01 to 5; 0.1 after a reset

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
        -2: `amp` is out of range; neither value is stored
    """
    return _VRAXSetECG2_27_Noise(freq, amp)


_VRAXGetECG2_27_NoiseFreq: NativeFunction[int] = NativeFunction(
    "VRAXGetECG2_27_NoiseFreq", c_int, ()
)


def VRAXGetECG2_27_NoiseFreq() -> int:
    """Returns the selector, 0 when off. Takes no lock."""
    return _VRAXGetECG2_27_NoiseFreq()


_VRAXGetECG2_27_NoiseAmp: NativeFunction[float] = NativeFunction(
    "VRAXGetECG2_27_NoiseAmp", c_double, ()
)


def VRAXGetECG2_27_NoiseAmp() -> float:
    """Returns millivolts peak to peak"""
    return _VRAXGetECG2_27_NoiseAmp()


_VRAXSetNSTNoise: NativeFunction[int] = NativeFunction(
    "VRAXSetNSTNoise", c_int, (c_int, c_double,)
)


def VRAXSetNSTNoise(record: int, gain: float) -> int:
    """Adds a noise-stress record to every output function: electrode motion, baseline wander or
    muscle artefact. It repeats after some 1805 s. Not logged.

    Parameters:
        record: 0 none, 1 electrode motion (em), 2 baseline wander (bw), 3 muscle artefact (ma);
            other numbers are stored and add nothing. None after a reset.
        gain: factor, 0.1 to 10; 1 after a reset

    Returns:
        0: stored, with or without an instrument
        -1: refused while a signal plays
        -2: gain out of range
    """
    return _VRAXSetNSTNoise(record, gain)


_VRAXSetECG2_27_AAMIDriftTest: NativeFunction[int] = NativeFunction(
    "VRAXSetECG2_27_AAMIDriftTest", c_int, (c_bool,)
)


def VRAXSetECG2_27_AAMIDriftTest(on: bool) -> int:
    """Adds the AAMI baseline drift, a slow triangle, to OUTPUT_ECG and OUTPUT_CUSTOM_ECG. Takes
    effect at once.

    Logged as "VRAXSetECG2_27_AAMIDriftTest(false);".

    Parameters:
        on: false after a reset

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
    """
    return _VRAXSetECG2_27_AAMIDriftTest(on)


_VRAXGetECG2_27_AAMIDriftTest: NativeFunction[bool] = NativeFunction(
    "VRAXGetECG2_27_AAMIDriftTest", c_bool, ()
)


def VRAXGetECG2_27_AAMIDriftTest() -> bool:
    """Returns whether the drift is added"""
    return _VRAXGetECG2_27_AAMIDriftTest()


_VRAXSetECG2_27_AAMIDriftTestAmplitude: NativeFunction[int] = NativeFunction(
    "VRAXSetECG2_27_AAMIDriftTestAmplitude", c_int, (c_double,)
)


def VRAXSetECG2_27_AAMIDriftTestAmplitude(amplitude: float) -> int:
    """Sets the height of the baseline drift. Takes effect at once.

    Logged as "VRAXSetECG2_27_AAMIDriftTestAmplitude(4.0);".

    Parameters:
        amplitude: millivolts peak to peak, 1 to 8; 4.0 after a reset

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
        -2: out of range
    """
    return _VRAXSetECG2_27_AAMIDriftTestAmplitude(amplitude)


_VRAXGetECG2_27_AAMIDriftTestAmplitude: NativeFunction[float] = NativeFunction(
    "VRAXGetECG2_27_AAMIDriftTestAmplitude", c_double, ()
)


def VRAXGetECG2_27_AAMIDriftTestAmplitude() -> float:
    """Returns millivolts peak to peak"""
    return _VRAXGetECG2_27_AAMIDriftTestAmplitude()


_VRAXSetECG2_27_AAMIDriftTestFrequency: NativeFunction[int] = NativeFunction(
    "VRAXSetECG2_27_AAMIDriftTestFrequency", c_int, (c_double,)
)


def VRAXSetECG2_27_AAMIDriftTestFrequency(frequency: float) -> int:
    """Sets the frequency of the baseline drift. Takes effect at once.

    Logged as "VRAXSetECG2_27_AAMIDriftTestFrequency(0.10);".

    Parameters:
        frequency: hertz, 0.05 to 2; 0.1 after a reset

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
        -2: out of range
    """
    return _VRAXSetECG2_27_AAMIDriftTestFrequency(frequency)


_VRAXGetECG2_27_AAMIDriftTestFrequency: NativeFunction[float] = NativeFunction(
    "VRAXGetECG2_27_AAMIDriftTestFrequency", c_double, ()
)


def VRAXGetECG2_27_AAMIDriftTestFrequency() -> float:
    """Returns hertz, computed from the stored wavelength"""
    return _VRAXGetECG2_27_AAMIDriftTestFrequency()


_VRAXSetDynamicRangeTest: NativeFunction[int] = NativeFunction(
    "VRAXSetDynamicRangeTest", c_int, (c_bool, c_bool, c_double, c_double,)
)


def VRAXSetDynamicRangeTest(on: bool, triangle: bool, amplitude: float, frequency: float) -> int:
    """Starts and ends the dynamic range test: a small sine on top of a triangle or square wave.

    On selects OUTPUT_TRIANGLE or OUTPUT_SQUARE, off selects OUTPUT_OFF, without waiting for the end
    of the run. The sum is kept within 5 mV either side for the triangle and 20 mV for the square;
    see also VRAXSetAmplitude(). Takes effect with the next cycle.

    Logged as "VRAXSetDynamicRangeTest(false, true, 1.0, 40);".

    Parameters:
        on: false after a reset
        triangle: true for the triangle, false for the square wave; true after a reset
        amplitude: millivolts peak to peak of the small sine, 0 to 10; 1.0 after a reset
        frequency: hertz of the small sine, 1 to 60; 40 after a reset

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
        -2: `amplitude` is out of range; nothing is stored
        -3: `frequency` is out of range; nothing is stored
    """
    return _VRAXSetDynamicRangeTest(on, triangle, amplitude, frequency)


_VRAXGetDynamicRangeTest: NativeFunction[bool] = NativeFunction(
    "VRAXGetDynamicRangeTest", c_bool, ()
)


def VRAXGetDynamicRangeTest() -> bool:
    """Returns whether the dynamic range test is on"""
    return _VRAXGetDynamicRangeTest()


_VRAXGetDynamicRangeTestAmplitude: NativeFunction[float] = NativeFunction(
    "VRAXGetDynamicRangeTestAmplitude", c_double, ()
)


def VRAXGetDynamicRangeTestAmplitude() -> float:
    """Returns millivolts peak to peak of the small sine"""
    return _VRAXGetDynamicRangeTestAmplitude()


_VRAXGetDynamicRangeTestFrequency: NativeFunction[float] = NativeFunction(
    "VRAXGetDynamicRangeTestFrequency", c_double, ()
)


def VRAXGetDynamicRangeTestFrequency() -> float:
    """Returns hertz of the small sine"""
    return _VRAXGetDynamicRangeTestFrequency()


_VRAXSetFrequencyScanSine: NativeFunction[int] = NativeFunction(
    "VRAXSetFrequencyScanSine", c_int, (c_bool, c_int, c_double, c_double,)
)


def VRAXSetFrequencyScanSine(on: bool, seconds: int, start: float, stop: float) -> int:
    """Starts and ends a frequency scan of OUTPUT_SINE, upwards or downwards.

    The frequency moves from `start` to `stop` in the given time; the frequency callback is told
    after each packet. The scan ends itself at `stop` and switches the output off. On selects
    OUTPUT_SINE and tells the main function callback; off selects OUTPUT_OFF, without waiting for
    the end of the run, and tells it too. Takes effect at once.

    Logged as "VRAXSetFrequencyScanSine(true, 0.67, 150.00, 30);": on, start, stop, seconds.

    Parameters:
        on: false after a reset
        seconds: 10 to 180; 30 after a reset
        start: hertz, 0.67 to 500; 0.67 after a reset
        stop: hertz, 0.67 to 500; 150 after a reset

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
        -2: `start` is out of range; nothing is stored
        -3: `stop` is out of range; nothing is stored
        -4: `seconds` is out of range; nothing is stored
    """
    return _VRAXSetFrequencyScanSine(on, seconds, start, stop)


_VRAXGetFrequencyScanSine: NativeFunction[bool] = NativeFunction(
    "VRAXGetFrequencyScanSine", c_bool, ()
)


def VRAXGetFrequencyScanSine() -> bool:
    """Returns whether a sine scan is selected"""
    return _VRAXGetFrequencyScanSine()


_VRAXGetFrequencyScanSineStartFrequency: NativeFunction[float] = NativeFunction(
    "VRAXGetFrequencyScanSineStartFrequency", c_double, ()
)


def VRAXGetFrequencyScanSineStartFrequency() -> float:
    """Returns hertz"""
    return _VRAXGetFrequencyScanSineStartFrequency()


_VRAXGetFrequencyScanSineStopFrequency: NativeFunction[float] = NativeFunction(
    "VRAXGetFrequencyScanSineStopFrequency", c_double, ()
)


def VRAXGetFrequencyScanSineStopFrequency() -> float:
    """Returns hertz"""
    return _VRAXGetFrequencyScanSineStopFrequency()


_VRAXGetFrequencyScanSineDuration: NativeFunction[int] = NativeFunction(
    "VRAXGetFrequencyScanSineDuration", c_int, ()
)


def VRAXGetFrequencyScanSineDuration() -> int:
    """Returns seconds"""
    return _VRAXGetFrequencyScanSineDuration()


_VRAXSetFrequencyScanECG: NativeFunction[int] = NativeFunction(
    "VRAXSetFrequencyScanECG", c_int, (c_bool,)
)


def VRAXSetFrequencyScanECG(on: bool) -> int:
    """Starts and ends a frequency scan of OUTPUT_ECG from 0.05 Hz to 0.5 Hz in 30 seconds.

    Works as VRAXSetFrequencyScanSine() does, whose start and stop frequencies it overwrites.

    Logged as "SetFreqScanECG(true);".

    Parameters:
        on: false after a run

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
    """
    return _VRAXSetFrequencyScanECG(on)


_VRAXGetFrequencyScanECG: NativeFunction[bool] = NativeFunction(
    "VRAXGetFrequencyScanECG", c_bool, ()
)


def VRAXGetFrequencyScanECG() -> bool:
    """Returns whether an ECG scan is selected"""
    return _VRAXGetFrequencyScanECG()
