"""Pacing.

The instrument makes the pacemaker pulses itself, from an amplitude and a length that are sent to
it; the stream marks when each begins. So amplitude, length and rate reach the instrument with
VRAXApplyPacing() or the next VRAXSetOutputFunction(), while the timing of the pulses follows with
the next cycle.
"""

# Written by tools/generate_native.py from vrax.h; changes belong there.

from __future__ import annotations

from ctypes import c_double, c_int, c_uint

from vrax.loading import NativeFunction

__all__ = [
    "VRAXSetPacingPulseMode",
    "VRAXGetPacingPulseMode",
    "VRAXSetPacingAmplitude",
    "VRAXGetPacingAmplitude",
    "VRAXSetPacingDuration",
    "VRAXGetPacingDuration",
    "VRAXSetPacingRate",
    "VRAXGetPacingRate",
    "VRAXSetPacingRateSynchronized",
    "VRAXSetOvershootTimeConstant",
    "VRAXGetOvershootTimeConstant",
    "VRAXSetOvershootAmplitude",
    "VRAXGetOvershootAmplitude",
    "VRAXApplyPacing",
]

_VRAXSetPacingPulseMode: NativeFunction[int] = NativeFunction(
    "VRAXSetPacingPulseMode", c_int, (c_int,)
)


def VRAXSetPacingPulseMode(mode: int) -> int:
    """Chooses single or double pulses. Takes effect with the next cycle.

    Logged as "VRAXSetPacingPulseMode(0);".

    Parameters:
        mode: 0 single, 1 double at a distance of 150 ms, 2 double at 250 ms; 0 after a reset. Other
            values are stored and give single pulses.

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
    """
    return _VRAXSetPacingPulseMode(mode)


_VRAXGetPacingPulseMode: NativeFunction[int] = NativeFunction(
    "VRAXGetPacingPulseMode", c_int, ()
)


def VRAXGetPacingPulseMode() -> int:
    """Returns the stored mode"""
    return _VRAXGetPacingPulseMode()


_VRAXSetPacingAmplitude: NativeFunction[int] = NativeFunction(
    "VRAXSetPacingAmplitude", c_int, (c_double,)
)


def VRAXSetPacingAmplitude(amplitude: float) -> int:
    """Sets the height of the pacing pulses. Takes effect with the next cycle; see the group about
    what the instrument is sent.

    Logged as "VRAXSetPacingAmplitude(0);".

    Parameters:
        amplitude: millivolts, -700 to 700; 0 (as after a reset) means no pacing

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
        -2: out of range
    """
    return _VRAXSetPacingAmplitude(amplitude)


_VRAXGetPacingAmplitude: NativeFunction[float] = NativeFunction(
    "VRAXGetPacingAmplitude", c_double, ()
)


def VRAXGetPacingAmplitude() -> float:
    """Returns millivolts"""
    return _VRAXGetPacingAmplitude()


_VRAXSetPacingDuration: NativeFunction[int] = NativeFunction(
    "VRAXSetPacingDuration", c_int, (c_double,)
)


def VRAXSetPacingDuration(duration: float) -> int:
    """Sets the length of the pacing pulses. Takes effect with the next cycle; see the group about
    what the instrument is sent.

    Logged as "VRAXSetPacingDuration(2);".

    Parameters:
        duration: milliseconds, 0.03 to 3; 2.0 after a reset

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
        -2: out of range
    """
    return _VRAXSetPacingDuration(duration)


_VRAXGetPacingDuration: NativeFunction[float] = NativeFunction(
    "VRAXGetPacingDuration", c_double, ()
)


def VRAXGetPacingDuration() -> float:
    """Returns milliseconds"""
    return _VRAXGetPacingDuration()


_VRAXSetPacingRate: NativeFunction[int] = NativeFunction(
    "VRAXSetPacingRate", c_int, (c_uint,)
)


def VRAXSetPacingRate(rate: int) -> int:
    """Paces at a rate of its own and ends the synchronisation with the beat. Takes effect with the
    next cycle.

    Logged as "VRAXSetPacingRate(60);".

    Parameters:
        rate: pulses per minute, 10 to 360; 60 after a reset

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
        -2: out of range
    """
    return _VRAXSetPacingRate(rate)


_VRAXGetPacingRate: NativeFunction[int] = NativeFunction(
    "VRAXGetPacingRate", c_uint, ()
)


def VRAXGetPacingRate() -> int:
    """Returns pulses per minute as last set; not the rate of a synchronised pacer"""
    return _VRAXGetPacingRate()


_VRAXSetPacingRateSynchronized: NativeFunction[int] = NativeFunction(
    "VRAXSetPacingRateSynchronized", c_int, ()
)


def VRAXSetPacingRateSynchronized() -> int:
    """Paces once a beat. In force after a reset.

    Requests no change by itself: the pacing period follows when the next parameter does. Where the
    beat is longer than 6 s or shorter than 1/6 s, the rate of VRAXSetPacingRate() stays in force.

    Logged as "VRAXSetPacingRateSynchronized();".

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
        -2: 60 times the frequency lies outside 10 to 360 per minute
    """
    return _VRAXSetPacingRateSynchronized()


_VRAXSetOvershootTimeConstant: NativeFunction[int] = NativeFunction(
    "VRAXSetOvershootTimeConstant", c_int, (c_uint,)
)


def VRAXSetOvershootTimeConstant(timeConstant: int) -> int:
    """Sets the time constant of the overshoot that follows each pacing pulse. Takes effect with the
    next cycle.

    Logged as "VRAXSetOvershootTimeConstant(0);".

    Parameters:
        timeConstant: milliseconds, 0 to 100; 0 (as after a reset) means no overshoot

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
        -2: out of range
    """
    return _VRAXSetOvershootTimeConstant(timeConstant)


_VRAXGetOvershootTimeConstant: NativeFunction[int] = NativeFunction(
    "VRAXGetOvershootTimeConstant", c_uint, ()
)


def VRAXGetOvershootTimeConstant() -> int:
    """Returns milliseconds"""
    return _VRAXGetOvershootTimeConstant()


_VRAXSetOvershootAmplitude: NativeFunction[int] = NativeFunction(
    "VRAXSetOvershootAmplitude", c_int, (c_double,)
)


def VRAXSetOvershootAmplitude(amplitude: float) -> int:
    """Sets the height of the overshoot, which opposes the pulse. Takes effect at once.

    Logged as "VRAXSetOvershootAmplitude(3.0);" with the value that is stored.

    Parameters:
        amplitude: millivolts, -5 to 5, of which the absolute value is stored; 0 at load, a reset
            leaves it alone

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
        -2: out of range
    """
    return _VRAXSetOvershootAmplitude(amplitude)


_VRAXGetOvershootAmplitude: NativeFunction[float] = NativeFunction(
    "VRAXGetOvershootAmplitude", c_double, ()
)


def VRAXGetOvershootAmplitude() -> float:
    """Returns millivolts, 0 to 5"""
    return _VRAXGetOvershootAmplitude()


_VRAXApplyPacing: NativeFunction[int] = NativeFunction(
    "VRAXApplyPacing", c_int, ()
)


def VRAXApplyPacing() -> int:
    """Sends the pacing settings to the instrument: now, or between two packets while a signal
    plays.

    Not logged.

    Returns:
        1: acknowledged by the instrument, or noted for the packet thread to send
        0: no instrument, or it did not acknowledge
    """
    return _VRAXApplyPacing()
