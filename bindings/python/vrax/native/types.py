"""Records, enumerations and callback types of vrax.h."""

# Written by tools/generate_native.py from vrax.h; changes belong there.

from __future__ import annotations

from ctypes import (
    CFUNCTYPE, Structure, c_bool, c_char, c_double, c_int, c_int32, c_ubyte, c_uint32, c_void_p,
)
from enum import IntEnum
from typing import TYPE_CHECKING, Any, Optional, TypeVar, Union

if TYPE_CHECKING:
    from ctypes import Array, _CArgObject, _CData, _FuncPointer, _Pointer

    _Target = TypeVar("_Target", bound=_CData)
    # What C takes for a pointer: an array, a pointer, byref(), or None for null.
    PointerTo = Union[Array[_Target], _Pointer[_Target], _CArgObject, None]
    Address = Union[Array[Any], _Pointer[Any], _CArgObject, bytes, int, None]
    Callback = Optional[_FuncPointer]

LEDType = c_int32
"""A PPG channel: 0, 1 or 2; 3 stands for "no LED" or "not determined"."""

VRAXSynchronizationSignal = c_void_p
"""A signal that starts runs. Opaque."""


class BurnStage_E(IntEnum):
    """How far a burn is: the first argument of its callback.

    Each value has its name in C and the same without the prefix.
    """

    # before each sector; the value is the percentage
    BURN_ERASE = 1
    ERASE = 1
    # before each frame; the value is the percentage
    BURN_WRITE = 2
    WRITE = 2
    # before each frame; the value is the percentage
    BURN_VERIFY = 3
    VERIFY = 3
    # the instrument is about to restart; the value is 99
    BURN_RESTART = 4
    RESTART = 4
    # the instrument is about to be searched; the value is 100
    BURN_RECONNECT = 5
    RECONNECT = 5
    # 100, or a negative code
    BURN_FINISHED = 6
    FINISHED = 6


class OutputFunction_E(IntEnum):
    """The signals that VRAXSetOutputFunction() selects.

    Each value has its name in C and the same without the prefix.
    """

    # nothing; ends the run
    OUTPUT_OFF = 0
    OFF = 0
    # sine
    OUTPUT_SINE = 1
    SINE = 1
    # symmetric triangle
    OUTPUT_TRIANGLE = 2
    TRIANGLE = 2
    # square wave
    OUTPUT_SQUARE = 3
    SQUARE = 3
    # rectangular pulse with edges of 1 ms
    OUTPUT_RECT_PULSE = 4
    RECT_PULSE = 4
    # triangular pulse; VRAXSetPulseWidth() is its base
    OUTPUT_TRIANGLE_PULSE = 5
    TRIANGLE_PULSE = 5
    # exponential decay, time constant 50 ms
    OUTPUT_EXP_DECAY = 6
    EXP_DECAY = 6
    # standard beat: triangular QRS, half-sine T wave
    OUTPUT_ECG = 7
    ECG = 7
    # a waveform of IEC 60601-2-27, see VRAXSetSpecialWave227()
    OUTPUT_IEC227 = 8
    IEC227 = 8
    # a waveform of IEC 60601-2-51, see VRAXSetSpecialWave251()
    OUTPUT_IEC251 = 9
    IEC251 = 9
    # calibration beat of JJG 1041 with a notched R wave
    OUTPUT_JJG1041 = 10
    JJG1041 = 10
    # the same beat with a single R crest
    OUTPUT_JJG1041_SINGLE_R = 11
    JJG1041_SINGLE_R = 11
    # an upward and a downward exponential step each second
    OUTPUT_BASELINE_PULSE = 12
    BASELINE_PULSE = 12
    # the loaded record, see VRAXLoadECGtxt(), SetRawArray()
    OUTPUT_ECG_FILE = 13
    ECG_FILE = 13
    # beat made of the P, PR, QRS, QT, ST and T parameters
    OUTPUT_CUSTOM_ECG = 14
    CUSTOM_ECG = 14
    # slow ramp of the input dynamic range test
    OUTPUT_INPUT_DYNAMIC_RANGE = 15
    INPUT_DYNAMIC_RANGE = 15
    # a record of IEC 60601-2-47, see VRAXSetSpecialWave247()
    OUTPUT_IEC247 = 16
    IEC247 = 16
    # an ANE20000 lead, see VRAXSetANE20000Lead(), plus noise
    OUTPUT_ANE20000 = 17
    ANE20000 = 17
    # dynamic range ramp of YY 1079, -300 mV to 300 mV
    OUTPUT_YY1079_DYNAMIC_RANGE = 10000
    YY1079_DYNAMIC_RANGE = 10000


class MODEL_INFORMATION(Structure):
    """The model of a unit: the main unit or a module.

    Fields:
        typeLetters: 'A','P' for the PPG module, 'E','R' for the external respiration module; zeros
            when there is no such unit
        modelCode: high byte first
        sequenceNumber: the instrument keeps its low 16 bits
        yearOrLot: the instrument keeps its low 8 bits
        ledTypes: LED 1, 2 and 3
    """

    SIZE = 24
    _fields_ = [
        ("typeLetters", c_char * 2),
        ("modelCode", c_ubyte * 2),
        ("sequenceNumber", c_uint32),
        ("yearOrLot", c_uint32),
        ("ledTypes", LEDType * 3),
    ]

    if TYPE_CHECKING:
        typeLetters: bytes
        modelCode: Array[c_ubyte]
        sequenceNumber: int
        yearOrLot: int
        ledTypes: Array[LEDType]


class VRAXHardwareInformation(Structure):
    """Versions of a unit, as VRAXGetHWInformation() and VRAXGetPPGHWInformation() copy them.

    Fields:
        firmwareMajor: firmware version, first number
        firmwareMinor: second number
        firmwareBuild: third number
        firmwareRevision: fourth number
        hardwareMajor: hardware version, first number
        hardwareMinor: second number
    """

    SIZE = 24
    _fields_ = [
        ("firmwareMajor", c_uint32),
        ("firmwareMinor", c_uint32),
        ("firmwareBuild", c_uint32),
        ("firmwareRevision", c_uint32),
        ("hardwareMajor", c_uint32),
        ("hardwareMinor", c_uint32),
    ]

    if TYPE_CHECKING:
        firmwareMajor: int
        firmwareMinor: int
        firmwareBuild: int
        firmwareRevision: int
        hardwareMajor: int
        hardwareMinor: int


class VRAXDeviceFeature(Structure):
    """Capabilities of the PPG module, as VRAXGetDeviceFeature() copies them: ten cells of 8 bytes.

    The values in brackets are those of the default record. Cells named `reserved` carry their
    module's values, which the library passes on and does not use.

    Fields:
        reserved0: cell 0 (1, 0)
        reserved1: first half of cell 1 (0)
        photodiodeChannels: second half of cell 1 (0); more than 1: a second photodiode
        reserved2: cell 2 (0, 0)
        ppgAcMin: lowest PPG AC amplitude, mV peak to peak (0.75)
        ppgAcMax: highest PPG AC amplitude, mV peak to peak (30.0)
        ppgDcMin: lowest PPG DC level, mV (100.0)
        ppgDcMax: highest PPG DC level, mV (3000.0)
        reserved7: cell 7 (0.025)
        reserved8: cell 8 (30.0)
        reserved9: cell 9 (8, 8)
    """

    SIZE = 80
    _fields_ = [
        ("reserved0", c_int32 * 2),
        ("reserved1", c_int32),
        ("photodiodeChannels", c_int32),
        ("reserved2", c_int32 * 2),
        ("ppgAcMin", c_double),
        ("ppgAcMax", c_double),
        ("ppgDcMin", c_double),
        ("ppgDcMax", c_double),
        ("reserved7", c_double),
        ("reserved8", c_double),
        ("reserved9", c_int32 * 2),
    ]

    if TYPE_CHECKING:
        reserved0: Array[c_int32]
        reserved1: int
        photodiodeChannels: int
        reserved2: Array[c_int32]
        ppgAcMin: float
        ppgAcMax: float
        ppgDcMin: float
        ppgDcMax: float
        reserved7: float
        reserved8: float
        reserved9: Array[c_int32]


class PPG_WAVEFORM(Structure):
    """Description of a pulse. Zero the whole record before filling it. The fields that are marked
    so do not shape the pulse: they are kept, within the ranges given.

    Fields:
        waveform: 0 sine, 1 triangle, 2 square, 3 standard pulse
        frequency: pulse rate in hertz, 0.16 to 5.0
        dc: DC level in millivolts (100 to 3000): the top of the pulse, or its bottom with
            VRAXEnableACAboveDC()
        ac: millivolts peak to peak (0.75 to 30; to 300 with 0x3407)
        notchLevel: standard pulse: height of the dicrotic notch, mV
        dicroticLevel: standard pulse: height of the dicrotic wave, mV
        levelOffset: kept: mV, from 0 on
        t1: standard pulse: time of the peak, ms from the start of the cycle; the library fills it
            for the other shapes
        t2: standard pulse: time of the notch, ms
        t3: standard pulse: time of the dicrotic wave, ms
        timeBase: kept
        ledSync: LED synchronisation: 2, or anything else for 1
        invert: not 0: upside down. Only the standard pulse is turned over; for the other shapes the
            graph callback alone sees it turned.
        stepAmplitude: kept: mV, 0 to 2; 0 without steps
        stepCount: kept: 0 to 7
        variationMode: kept; 3: the percentage is not limited
        variationRate: kept
        variationPercent: kept: -16 to what the AC range leaves
        variationCycles: kept: 1 to 5
        reserved: not read
    """

    SIZE = 128
    _fields_ = [
        ("waveform", c_int32),
        ("frequency", c_double),
        ("dc", c_double),
        ("ac", c_double),
        ("notchLevel", c_double),
        ("dicroticLevel", c_double),
        ("levelOffset", c_double),
        ("t1", c_int32),
        ("t2", c_int32),
        ("t3", c_int32),
        ("timeBase", c_int32),
        ("ledSync", c_int32),
        ("invert", c_int32),
        ("stepAmplitude", c_double),
        ("stepCount", c_int32),
        ("variationMode", c_int32),
        ("variationRate", c_int32),
        ("variationPercent", c_double),
        ("variationCycles", c_int32),
        ("reserved", c_int32 * 3),
    ]

    if TYPE_CHECKING:
        waveform: int
        frequency: float
        dc: float
        ac: float
        notchLevel: float
        dicroticLevel: float
        levelOffset: float
        t1: int
        t2: int
        t3: int
        timeBase: int
        ledSync: int
        invert: int
        stepAmplitude: float
        stepCount: int
        variationMode: int
        variationRate: int
        variationPercent: float
        variationCycles: int
        reserved: Array[c_int32]


VRAXConnectedCallback = CFUNCTYPE(None, c_bool)
"""Called with (bool connected).

Told when the instrument has been found and prepared (true) and when it has gone (false).

Runs on the connect thread with no lock held. Every setter may be called from it. VRAXFree() is safe
too: it returns without waiting for the connect thread, which ends after the listener has returned.
"""

VRAXBurnCallback = CFUNCTYPE(c_int, c_int, c_int)
"""Called with (int stage, int value).

Told how far a burn is, and asked whether it goes on.

The percentage is 100 times the address in the image by the size of the image, rounded down; it
begins anew with each stage and ends each with 100. The addresses 102400 to 116735 of the FPGA image
are left out: they hold the instrument's calibration and manufacturing data.

Runs on the thread that called the burn; for BurnFirmware() under the API and the interrupt lock,
for BurnMcu() with no lock held. Every call may be made from it but a burn, which fails with -3;
calls that talk to the instrument put their command between two frames. None of them waits for a
thread of the library.

Parameters:
    stage: a BurnStage_E
    value: the percentage or code of that stage

Returns:
    1 cancels the burn during the stages 1 to 3; everything else, and every answer during the
        others, lets it go on
"""

VRAXPPGSamplingCallback = CFUNCTYPE(None, c_int, c_int, c_int)
"""Called with (int channel, int value, int status).

A sample of a photodiode: its number, 0 to 3, the value, 0 to 65535, and the status byte of its
record.

Runs on the poll thread under the library's interrupt lock: it must not call a function that sends a
command.
"""

VRAXOutputPPGCallback = CFUNCTYPE(None, c_double, c_double)
"""Called with (double time, double value).

The pulse of a PPG channel as it is played: seconds since the start, mV, upright and before the
respiration modulates it.

Runs on the thread that builds the packets, under the library's interrupt lock.
"""

VRAXOutputSignalCallback = CFUNCTYPE(None, c_double, c_double)
"""Called with (double time, double mv).

A point of the ECG signal, for display.

Runs on the packet thread with the interrupt lock held (for the first packet of a run: the API lock
too), so it comes before the point is output, a packet's points in one burst. Must not call the
library, except to stop (see the file's overview).

Parameters:
    time: seconds since the signal was selected
    mv: the ECG value in millivolts, with noise and overshoot, without the DC offset
"""

VRAXPacingOutputSignalCallback = CFUNCTYPE(None, c_double, c_double)
"""Called with (double time, double amplitude).

A corner of a pacing pulse, for display: four calls for each pulse draw its rectangle.

Runs on the packet thread with the interrupt lock held (for the first packet of a run: the API lock
too). Must not call the library, except to stop.

Parameters:
    time: seconds since the signal was selected
    amplitude: millivolts: 0, the pacing amplitude twice, 0
"""

VRAXSyncFrequencyCallback = CFUNCTYPE(None, c_double, c_double)
"""Called with (double frequency, double second).

Told when the library itself has changed the frequency.

Comes when a frequency is cut to the ceiling of the signal (`second` is 2.0), after every packet of
a frequency scan, and at its end (`frequency` is -1.0, `second` the stop frequency).

Runs on the packet thread with the interrupt lock held, or on the thread of a setter, with the API
lock held, when that setter made the cut. Must not call the library, except to stop.

Parameters:
    frequency: hertz, or -1.0 at the end of a scan
    second: 2.0 after a cut, the graph time in seconds during a scan, the stop frequency in hertz at
        its end
"""

VRAXSyncDCOffsetCallback = CFUNCTYPE(None, c_int, c_double, c_double)
"""Called with (int dc, double newDC, double previous).

Told when the input dynamic range test moves its DC level.

Runs on the packet thread with the interrupt lock held, and on the thread that calls
GetRawDataArrayEx(). Must not call the library, except to stop.

Parameters:
    dc: the new level in whole millivolts; -300 also at the ramp's start and end
    newDC: the new level in millivolts; at the start and the end the time limit in seconds, 0.0003
        and 1220.0003
    previous: the level before in millivolts; at the start and the end the time in seconds
"""

VRAXSyncMainFunctionCallback = CFUNCTYPE(None, c_int, c_double)
"""Called with (int function, double value).

Told when a frequency scan switches the output function itself.

Runs on the thread that calls the setter with the API lock held, or at the end of a scan on the
packet thread with the interrupt lock held. Must not call the library, except to stop.

Parameters:
    function: the new output function, OUTPUT_OFF at the end
    value: the change of the frequency with each sample in hertz when a scan starts; when a sine
        scan ends its stop frequency, when an ECG scan ends 0
"""

VRAXStandardWaveformCallback = CFUNCTYPE(None, c_double, c_double)
"""Called with (double t, double period).

Told when a waveform or record that plays once has come to its end; the output is then switched off.

Runs on the packet thread with the interrupt lock held, and on the thread that calls
GetRawDataArrayEx(). Must not call the library, except to stop.

Parameters:
    t: seconds since the signal was selected
    period: its length in seconds
"""

VRAXBaselineResetCallback = CFUNCTYPE(None, c_int)
"""Called with (int test).

Told of each change of the baseline reset test, before it is stored.

Runs on the thread that calls VRAXSetBaselineResetTest(), at the end of a run on the play thread,
with the API lock held. Must not wait for another thread that calls the library.

Parameters:
    test: the new value
"""
