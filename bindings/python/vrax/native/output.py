"""Output function.

Which signal plays, on which leads, and how it is reset.
"""

# Written by tools/generate_native.py from vrax.h; changes belong there.

from __future__ import annotations

from ctypes import c_bool, c_int, c_uint

from vrax.loading import NativeFunction

__all__ = [
    "VRAXSetOutputFunction",
    "VRAXGetOutputFunction",
    "VRAXIsPlaying",
    "VRAXSetOutputLead",
    "VRAXGetOutputLead",
    "SetAllOutputLead",
    "GetAllOutputLead",
    "VRAXEnableECGOutput",
    "VRAXEnableACAboveDC",
    "VRAXReset",
    "VRAXResetAllLeadOff",
    "VRAXResetEx",
]

_VRAXSetOutputFunction: NativeFunction[int] = NativeFunction(
    "VRAXSetOutputFunction", c_int, (c_int,)
)


def VRAXSetOutputFunction(function: int) -> int:
    """Selects the signal and starts it, or stops.

    A value other than 0 sends the pacing settings, starts the signal's time at 0 and, when nothing
    plays, starts a run. While another signal plays, the new one follows with the next sample, and
    its period and working amplitude with the end of the running cycle (OUTPUT_BASELINE_PULSE: at
    once). OUTPUT_OFF ends the run and returns when the stop packet has been sent; from a callback
    it returns without that wait. It releases calls that wait for the instrument first, so stopping
    always works.

    Logged as "VRAXSetOutputFunction(7);".

    Parameters:
        function: an OutputFunction_E; negative values and 18 to 9999 play 0 mV

    Returns:
        0: selected
        -1: no instrument is open and no connection listener is registered; a run that exists can be
            stopped all the same
    """
    return _VRAXSetOutputFunction(function)


_VRAXGetOutputFunction: NativeFunction[int] = NativeFunction(
    "VRAXGetOutputFunction", c_int, ()
)


def VRAXGetOutputFunction() -> int:
    """Returns the selected output function, an OutputFunction_E; OUTPUT_OFF at load"""
    return _VRAXGetOutputFunction()


_VRAXIsPlaying: NativeFunction[int] = NativeFunction(
    "VRAXIsPlaying", c_int, ()
)


def VRAXIsPlaying() -> int:
    """Returns:
        1: a signal is being streamed, or photodiode sampling runs
        0: neither
    """
    return _VRAXIsPlaying()


_VRAXSetOutputLead: NativeFunction[int] = NativeFunction(
    "VRAXSetOutputLead", c_int, (c_int, c_bool,)
)


def VRAXSetOutputLead(lead: int, on: bool) -> int:
    """Switches one output lead on or off, and the relays with it, at once.

    Logged as "SetOutputLead(0, true);", also when nothing changes.

    Parameters:
        lead: 0 to 31, of which the instrument has 0 to 8; other numbers name no lead and change
            nothing
        on: after a reset lead 0 alone is on

    Returns:
        0: switched, or it was so already
        -1: no instrument is open and no connection listener is registered
    """
    return _VRAXSetOutputLead(lead, on)


_VRAXGetOutputLead: NativeFunction[bool] = NativeFunction(
    "VRAXGetOutputLead", c_bool, (c_int,)
)


def VRAXGetOutputLead(lead: int) -> bool:
    """Parameters:
        lead: 0 to 31; a number outside gives false

    Returns:
        whether the lead is on
    """
    return _VRAXGetOutputLead(lead)


_SetAllOutputLead: NativeFunction[None] = NativeFunction(
    "SetAllOutputLead", None, (c_uint,)
)


def SetAllOutputLead(mask: int) -> None:
    """Switches all output leads, and the relays with them, at once. Not logged.

    Parameters:
        mask: bit n is lead n; 1 at load and after VRAXReset()
    """
    _SetAllOutputLead(mask)


_GetAllOutputLead: NativeFunction[int] = NativeFunction(
    "GetAllOutputLead", c_uint, ()
)


def GetAllOutputLead() -> int:
    """Returns the leads that are on, bit n for lead n"""
    return _GetAllOutputLead()


_VRAXEnableECGOutput: NativeFunction[int] = NativeFunction(
    "VRAXEnableECGOutput", c_int, (c_bool,)
)


def VRAXEnableECGOutput(enable: bool) -> int:
    """Switches the ECG part of the output on or off, at once.

    While it is off, the waveform is 0 mV and no pacing pulse is made; the DC offset is 0 mV too,
    unless a pacing amplitude is set. PPG signals go on.

    Logged as "VRAXEnableECGOutput(true);".

    Parameters:
        enable: true after a reset

    Returns:
        0: stored, with or without an instrument
    """
    return _VRAXEnableECGOutput(enable)


_VRAXEnableACAboveDC: NativeFunction[int] = NativeFunction(
    "VRAXEnableACAboveDC", c_int, (c_bool,)
)


def VRAXEnableACAboveDC(enable: bool) -> int:
    """Chooses whether the amplitude of a PPG signal reaches above its DC level. When it does not, a
    pulse that is set from then on hangs below it: its AC amplitude is taken off the DC level.

    Takes no lock. Not logged.

    Parameters:
        enable: false at load

    Returns:
        0: stored, with or without an instrument
    """
    return _VRAXEnableACAboveDC(enable)


_VRAXReset: NativeFunction[None] = NativeFunction(
    "VRAXReset", None, ()
)


def VRAXReset() -> None:
    """Puts every parameter back to its default, all output leads off, then lead 0 on.

    Switches the output off first. Parameters that already have their default are left alone and
    write no log line, but VRAXSetPacingRateSynchronized() is always called. Without an instrument
    and without a connection listener only the leads, the waveform numbers, the looping of waveforms
    and VRAXEnableECGOutput() are reset. VRAXSetOvershootAmplitude(), VRAXSetCustomizedTDuration()
    and the looping of files are not reset.

    Logged as "VRAXReset();", followed by the lines of the setters that it calls.
    """
    _VRAXReset()


_VRAXResetAllLeadOff: NativeFunction[None] = NativeFunction(
    "VRAXResetAllLeadOff", None, ()
)


def VRAXResetAllLeadOff() -> None:
    """Resets as VRAXReset() does, but leaves all output leads off.

    Logged as "VRAXResetAllLeadOff();", followed by the lines of the setters that it calls.
    """
    _VRAXResetAllLeadOff()


_VRAXResetEx: NativeFunction[None] = NativeFunction(
    "VRAXResetEx", None, ()
)


def VRAXResetEx() -> None:
    """Resets as VRAXReset() does, but leaves the output leads as they are.

    Logged are the lines of the setters that it calls alone.
    """
    _VRAXResetEx()
