"""Signal parameters.

Height, frequency, DC offset and shape of the signal.
"""

# Written by tools/generate_native.py from vrax.h; changes belong there.

from __future__ import annotations

from ctypes import c_bool, c_double, c_int

from vrax.loading import NativeFunction

__all__ = [
    "VRAXSetAmplitude",
    "VRAXGetAmplitude",
    "VRAXSetFrequency",
    "VRAXGetFrequency",
    "VRAXSetDCOffset",
    "VRAXGetDCOffset",
    "VRAXSetDCOffsetVariableMode",
    "VRAXGetDCOffsetVariableMode",
    "VRAXSetDCOffsetCommonMode",
    "VRAXGetDCOffsetCommonMode",
    "SetDCOffsetCommoneMode",
    "VRAXSetPulseWidth",
    "VRAXGetPulseWidth",
    "VRAXSetInputImpedanceMode",
    "VRAXGetInputImpedanceMode",
    "VRAXSetQRSDuration",
    "VRAXGetQRSDuration",
    "VRAXSetTWave",
    "VRAXGetTWave",
    "VRAXSetPDuration",
    "VRAXGetPDuration",
    "VRAXSetPRInterval",
    "VRAXGetPRInterval",
    "VRAXSetQTInterval",
    "VRAXGetQTInterval",
    "VRAXSetPWave",
    "VRAXGetPWave",
    "VRAXSetSTDeviation",
    "VRAXGetSTDeviation",
    "VRAXSetCustomizedTDuration",
    "VRAXGetCustomizedTDuration",
    "VRAXSetSpecialWave227",
    "VRAXGetSpecialWave227",
    "VRAXSetSpecialWave251",
    "VRAXGetSpecialWave251",
    "VRAXSetSpecialWave247",
    "VRAXGetSpecialWave247",
    "VRAXSetANE20000Lead",
    "VRAXGetANE20000Lead",
]

_VRAXSetAmplitude: NativeFunction[int] = NativeFunction(
    "VRAXSetAmplitude", c_int, (c_double,)
)


def VRAXSetAmplitude(amplitude: float) -> int:
    """Sets the height of the signal.

    Peak to peak. In OUTPUT_ECG and OUTPUT_CUSTOM_ECG it is that of the QRS complex: the R wave
    stands 7/8 of it above the baseline, the S wave 1/8 below. Takes effect with the next cycle.
    While the dynamic range test is on, the height is reduced, and the stored value with it, so that
    signal and overlay together stay within 20 mV.

    Logged as "VRAXSetAmplitude(1.00);".

    Parameters:
        amplitude: millivolts, -40 to 40; 1.0 after a reset

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
        -2: out of range
        -3: refused while the baseline reset test is on
    """
    return _VRAXSetAmplitude(amplitude)


_VRAXGetAmplitude: NativeFunction[float] = NativeFunction(
    "VRAXGetAmplitude", c_double, ()
)


def VRAXGetAmplitude() -> float:
    """Returns millivolts. Takes no lock."""
    return _VRAXGetAmplitude()


_VRAXSetFrequency: NativeFunction[int] = NativeFunction(
    "VRAXSetFrequency", c_int, (c_double,)
)


def VRAXSetFrequency(frequency: float) -> int:
    """Sets the frequency of the signal, for ECG signals the heart rate divided by 60.

    Takes effect with the next cycle. Some signals have a ceiling: 5 Hz for OUTPUT_RECT_PULSE,
    OUTPUT_TRIANGLE_PULSE and OUTPUT_EXP_DECAY, 6 Hz for OUTPUT_ECG and OUTPUT_CUSTOM_ECG. A higher
    stored value is cut to it when the signal takes the frequency over, and the frequency callback
    is told.

    Logged as "VRAXSetFrequency(1.00);".

    Parameters:
        frequency: hertz, 0.017 to 500; 1.0 after a reset

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
        -2: out of range, or above 5 Hz while OUTPUT_RECT_PULSE or OUTPUT_TRIANGLE_PULSE is selected
        -3: refused while a frequency scan runs
        -4: refused while the baseline reset test is on
    """
    return _VRAXSetFrequency(frequency)


_VRAXGetFrequency: NativeFunction[float] = NativeFunction(
    "VRAXGetFrequency", c_double, ()
)


def VRAXGetFrequency() -> float:
    """Returns hertz; during a frequency scan the present frequency. Takes no lock."""
    return _VRAXGetFrequency()


_VRAXSetDCOffset: NativeFunction[int] = NativeFunction(
    "VRAXSetDCOffset", c_int, (c_int,)
)


def VRAXSetDCOffset(offset: int) -> int:
    """Sets the DC offset of the signal. The level takes effect at once, the relays that it needs
    follow with the next cycle.

    Logged as "VRAXSetDCOffset(0);".

    Parameters:
        offset: millivolts, -1000 to 1000; 0 after a reset. With the variable mode off the
            instrument has no other levels than -300, 0 and 300.

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
        -2: out of range
    """
    return _VRAXSetDCOffset(offset)


_VRAXGetDCOffset: NativeFunction[int] = NativeFunction(
    "VRAXGetDCOffset", c_int, ()
)


def VRAXGetDCOffset() -> int:
    """Returns millivolts; OUTPUT_YY1079_DYNAMIC_RANGE overwrites it as its ramp goes"""
    return _VRAXGetDCOffset()


_VRAXSetDCOffsetVariableMode: NativeFunction[int] = NativeFunction(
    "VRAXSetDCOffsetVariableMode", c_int, (c_bool,)
)


def VRAXSetDCOffsetVariableMode(variable: bool) -> int:
    """Chooses the source of the DC offset: the calibrated converter with any level (true), or a
    fixed level of -300 mV or 300 mV (false). Takes effect with the next cycle.

    Logged as "VRAXSetDCOffsetVariableMode(true);".

    Parameters:
        variable: true after a reset

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
    """
    return _VRAXSetDCOffsetVariableMode(variable)


_VRAXGetDCOffsetVariableMode: NativeFunction[bool] = NativeFunction(
    "VRAXGetDCOffsetVariableMode", c_bool, ()
)


def VRAXGetDCOffsetVariableMode() -> bool:
    """Returns true for any level, false for the fixed levels"""
    return _VRAXGetDCOffsetVariableMode()


_VRAXSetDCOffsetCommonMode: NativeFunction[int] = NativeFunction(
    "VRAXSetDCOffsetCommonMode", c_int, (c_bool,)
)


def VRAXSetDCOffsetCommonMode(common: bool) -> int:
    """Applies the DC offset in common mode, or not. Switches the relays at once.

    Logged as "VRAXSetDCOffsetCommonMode(false);".

    Parameters:
        common: false after a reset

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
    """
    return _VRAXSetDCOffsetCommonMode(common)


_VRAXGetDCOffsetCommonMode: NativeFunction[bool] = NativeFunction(
    "VRAXGetDCOffsetCommonMode", c_bool, ()
)


def VRAXGetDCOffsetCommonMode() -> bool:
    """Returns whether the DC offset is applied in common mode"""
    return _VRAXGetDCOffsetCommonMode()


_SetDCOffsetCommoneMode: NativeFunction[int] = NativeFunction(
    "SetDCOffsetCommoneMode", c_int, (c_int,)
)


def SetDCOffsetCommoneMode(common: int) -> int:
    """VRAXSetDCOffsetCommonMode() for callers without a boolean type; the name is spelt so.

    Parameters:
        common: its low 8 bits count: 0 is false, anything else true

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
    """
    return _SetDCOffsetCommoneMode(common)


_VRAXSetPulseWidth: NativeFunction[int] = NativeFunction(
    "VRAXSetPulseWidth", c_int, (c_double,)
)


def VRAXSetPulseWidth(width: float) -> int:
    """Sets the width of the pulse signals. Takes effect with the next cycle.

    OUTPUT_BASELINE_PULSE sets it to 50 ms. Logged as "VRAXSetPulseWidth(100);".

    Parameters:
        width: milliseconds, 1 to 300; 100 after a reset

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
        -2: out of range
    """
    return _VRAXSetPulseWidth(width)


_VRAXGetPulseWidth: NativeFunction[float] = NativeFunction(
    "VRAXGetPulseWidth", c_double, ()
)


def VRAXGetPulseWidth() -> float:
    """Returns milliseconds"""
    return _VRAXGetPulseWidth()


_VRAXSetInputImpedanceMode: NativeFunction[int] = NativeFunction(
    "VRAXSetInputImpedanceMode", c_int, (c_bool,)
)


def VRAXSetInputImpedanceMode(mode: bool) -> int:
    """Sets the input impedance mode, whose relay is on while the mode is off. Switches the relays
    at once.

    Logged as "VRAXSetInputImpedanceMode(true);".

    Parameters:
        mode: true after a reset

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
    """
    return _VRAXSetInputImpedanceMode(mode)


_VRAXGetInputImpedanceMode: NativeFunction[bool] = NativeFunction(
    "VRAXGetInputImpedanceMode", c_bool, ()
)


def VRAXGetInputImpedanceMode() -> bool:
    """Returns the stored mode"""
    return _VRAXGetInputImpedanceMode()


_VRAXSetQRSDuration: NativeFunction[int] = NativeFunction(
    "VRAXSetQRSDuration", c_int, (c_double,)
)


def VRAXSetQRSDuration(duration: float) -> int:
    """Sets the length of the QRS complex of OUTPUT_ECG and OUTPUT_CUSTOM_ECG. Takes effect at once.

    Where the cycle is too short for the whole beat, ST segment, T wave and QRS are shortened, in
    this order. Logged as "VRAXSetQRSDuration(100);".

    Parameters:
        duration: milliseconds, 5 to 200; 100 after a reset

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
        -2: out of range
    """
    return _VRAXSetQRSDuration(duration)


_VRAXGetQRSDuration: NativeFunction[float] = NativeFunction(
    "VRAXGetQRSDuration", c_double, ()
)


def VRAXGetQRSDuration() -> float:
    """Returns milliseconds"""
    return _VRAXGetQRSDuration()


_VRAXSetTWave: NativeFunction[int] = NativeFunction(
    "VRAXSetTWave", c_int, (c_double,)
)


def VRAXSetTWave(height: float) -> int:
    """Sets the height of the T wave of OUTPUT_ECG and OUTPUT_CUSTOM_ECG. Takes effect at once.

    Logged as "VRAXSetTWave(0.2);".

    Parameters:
        height: millivolts, 0 to 5; 0.2 after a reset

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
        -2: out of range
    """
    return _VRAXSetTWave(height)


_VRAXGetTWave: NativeFunction[float] = NativeFunction(
    "VRAXGetTWave", c_double, ()
)


def VRAXGetTWave() -> float:
    """Returns millivolts"""
    return _VRAXGetTWave()


_VRAXSetPDuration: NativeFunction[int] = NativeFunction(
    "VRAXSetPDuration", c_int, (c_double,)
)


def VRAXSetPDuration(duration: float) -> int:
    """Sets the length of the P wave of OUTPUT_CUSTOM_ECG. Takes effect at once.

    Logged as "VRAXSetPDuration(100);".

    Parameters:
        duration: milliseconds, 50 to 100; 100 after a reset. A short PR interval can make it
            shorter, see VRAXSetPRInterval().

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
        -2: out of range
    """
    return _VRAXSetPDuration(duration)


_VRAXGetPDuration: NativeFunction[float] = NativeFunction(
    "VRAXGetPDuration", c_double, ()
)


def VRAXGetPDuration() -> float:
    """Returns milliseconds"""
    return _VRAXGetPDuration()


_VRAXSetPRInterval: NativeFunction[int] = NativeFunction(
    "VRAXSetPRInterval", c_int, (c_double,)
)


def VRAXSetPRInterval(interval: float) -> int:
    """Sets the time from the start of the P wave to the start of the QRS complex of
    OUTPUT_CUSTOM_ECG. Takes effect at once.

    An interval below 50 ms makes the P wave as short as itself; one of 50 ms or more makes a P wave
    that is shorter than 50 ms that long again. Logged as "VRAXSetPRInterval(160);".

    Parameters:
        interval: milliseconds, 0 to 200; 160 after a reset

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
        -2: out of range
    """
    return _VRAXSetPRInterval(interval)


_VRAXGetPRInterval: NativeFunction[float] = NativeFunction(
    "VRAXGetPRInterval", c_double, ()
)


def VRAXGetPRInterval() -> float:
    """Returns milliseconds"""
    return _VRAXGetPRInterval()


_VRAXSetQTInterval: NativeFunction[int] = NativeFunction(
    "VRAXSetQTInterval", c_int, (c_double,)
)


def VRAXSetQTInterval(interval: float) -> int:
    """Sets the time from the start of the QRS complex to the end of the T wave of
    OUTPUT_CUSTOM_ECG. Takes effect at once.

    Where QRS complex and T wave do not fit into it, ST segment and T wave are left out. Logged as
    "VRAXSetQTInterval(350);".

    Parameters:
        interval: milliseconds, 100 to 900; 350 after a reset

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
        -2: out of range
    """
    return _VRAXSetQTInterval(interval)


_VRAXGetQTInterval: NativeFunction[float] = NativeFunction(
    "VRAXGetQTInterval", c_double, ()
)


def VRAXGetQTInterval() -> float:
    """Returns milliseconds"""
    return _VRAXGetQTInterval()


_VRAXSetPWave: NativeFunction[int] = NativeFunction(
    "VRAXSetPWave", c_int, (c_double,)
)


def VRAXSetPWave(height: float) -> int:
    """Sets the height of the P wave of OUTPUT_CUSTOM_ECG. Takes effect at once.

    Logged as "VRAXSetPWave(0.2);".

    Parameters:
        height: millivolts, 0 to 2; 0.2 after a reset

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
        -2: out of range
    """
    return _VRAXSetPWave(height)


_VRAXGetPWave: NativeFunction[float] = NativeFunction(
    "VRAXGetPWave", c_double, ()
)


def VRAXGetPWave() -> float:
    """Returns millivolts"""
    return _VRAXGetPWave()


_VRAXSetSTDeviation: NativeFunction[int] = NativeFunction(
    "VRAXSetSTDeviation", c_int, (c_double,)
)


def VRAXSetSTDeviation(deviation: float) -> int:
    """Sets the level of the ST segment of OUTPUT_CUSTOM_ECG. Takes effect at once.

    Logged as "SetSTDeviation(0.00);".

    Parameters:
        deviation: millivolts, -2 to 2; 0 after a reset

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
        -2: out of range
    """
    return _VRAXSetSTDeviation(deviation)


_VRAXGetSTDeviation: NativeFunction[float] = NativeFunction(
    "VRAXGetSTDeviation", c_double, ()
)


def VRAXGetSTDeviation() -> float:
    """Returns millivolts"""
    return _VRAXGetSTDeviation()


_VRAXSetCustomizedTDuration: NativeFunction[int] = NativeFunction(
    "VRAXSetCustomizedTDuration", c_int, (c_double,)
)


def VRAXSetCustomizedTDuration(duration: float) -> int:
    """Sets the length of the T wave of OUTPUT_CUSTOM_ECG. Takes effect with the next cycle.

    Logged as "SetCustomizedTDuration(180);".

    Parameters:
        duration: milliseconds, 100 to 900; 180 at load, a reset leaves it alone

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
        -2: out of range
    """
    return _VRAXSetCustomizedTDuration(duration)


_VRAXGetCustomizedTDuration: NativeFunction[float] = NativeFunction(
    "VRAXGetCustomizedTDuration", c_double, ()
)


def VRAXGetCustomizedTDuration() -> float:
    """Returns milliseconds"""
    return _VRAXGetCustomizedTDuration()


_VRAXSetSpecialWave227: NativeFunction[int] = NativeFunction(
    "VRAXSetSpecialWave227", c_int, (c_int,)
)


def VRAXSetSpecialWave227(number: int) -> int:
    """Selects the waveform of OUTPUT_IEC227, at once.

    The three VRAXSetSpecialWave calls share one number: the last call wins, and the output function
    decides which table it is looked up in. Logged as "SetSpecialWave227(0);".

    Parameters:
        number: 0 to 9; 0 after a reset. Other numbers are stored and play 0 mV.

    Returns:
        0: stored, with or without an instrument
    """
    return _VRAXSetSpecialWave227(number)


_VRAXGetSpecialWave227: NativeFunction[int] = NativeFunction(
    "VRAXGetSpecialWave227", c_int, ()
)


def VRAXGetSpecialWave227() -> int:
    """Returns the number that the three VRAXSetSpecialWave calls share"""
    return _VRAXGetSpecialWave227()


_VRAXSetSpecialWave251: NativeFunction[int] = NativeFunction(
    "VRAXSetSpecialWave251", c_int, (c_int,)
)


def VRAXSetSpecialWave251(number: int) -> int:
    """Selects the waveform of OUTPUT_IEC251, at once; shares its number with
    VRAXSetSpecialWave227().

    Logged as "SetSpecialWave251(0);".

    Parameters:
        number: 0 to 15; 0 after a reset. Other numbers are stored and play 0 mV.

    Returns:
        0: stored, with or without an instrument
    """
    return _VRAXSetSpecialWave251(number)


_VRAXGetSpecialWave251: NativeFunction[int] = NativeFunction(
    "VRAXGetSpecialWave251", c_int, ()
)


def VRAXGetSpecialWave251() -> int:
    """Returns the number that the three VRAXSetSpecialWave calls share"""
    return _VRAXGetSpecialWave251()


_VRAXSetSpecialWave247: NativeFunction[int] = NativeFunction(
    "VRAXSetSpecialWave247", c_int, (c_int,)
)


def VRAXSetSpecialWave247(number: int) -> int:
    """Selects the record of OUTPUT_IEC247, at once; shares its number with VRAXSetSpecialWave227().

    Logged as "SetSpecialWave247(0);".

    Parameters:
        number: 0 to 4; 0 after a reset. Other numbers are stored and play 0 mV.

    Returns:
        0: stored, with or without an instrument
    """
    return _VRAXSetSpecialWave247(number)


_VRAXGetSpecialWave247: NativeFunction[int] = NativeFunction(
    "VRAXGetSpecialWave247", c_int, ()
)


def VRAXGetSpecialWave247() -> int:
    """Returns the number that the three VRAXSetSpecialWave calls share"""
    return _VRAXGetSpecialWave247()


_VRAXSetANE20000Lead: NativeFunction[int] = NativeFunction(
    "VRAXSetANE20000Lead", c_int, (c_int,)
)


def VRAXSetANE20000Lead(lead: int) -> int:
    """Selects the lead of OUTPUT_ANE20000, at once. Not logged.

    Parameters:
        lead: 0 to 8; 0 after a reset

    Returns:
        0: stored, with or without an instrument
        -1: out of range
    """
    return _VRAXSetANE20000Lead(lead)


_VRAXGetANE20000Lead: NativeFunction[int] = NativeFunction(
    "VRAXGetANE20000Lead", c_int, ()
)


def VRAXGetANE20000Lead() -> int:
    """Returns the lead, 0 to 8"""
    return _VRAXGetANE20000Lead()
