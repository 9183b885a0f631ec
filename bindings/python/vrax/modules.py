"""Respiration, PPG and the PPG module's own light and photodiodes."""

from __future__ import annotations

from ctypes import byref, c_double, c_uint16, c_uint32, c_ushort
from typing import TYPE_CHECKING, Callable, List, Optional, Sized, Tuple, TypeVar

from vrax import native
from vrax.buffers import codes, doubles
from vrax.callbacks import Slot
from vrax.errors import ask, call, end
from vrax.members import command, query

if TYPE_CHECKING:
    from vrax.buffers import Codes, Samples

CHANNELS = 3  # PPG channels, LED types 0, 1 and 2
PHOTODIODES = 4
BASELINES = 12  # of the external respiration module
THIRD_RESISTANCES = 96  # steps of the module's third element
PULSE_GROUP_WORDS = 5  # ten bytes
AUTO_TRIGGER_WORDS = 5
REPORT_VALUES = 18

_sample_slots = [Slot(native.VRAXPPGSamplingCallback) for _ in range(PHOTODIODES)]
_pulse_slots = [Slot(native.VRAXOutputPPGCallback) for _ in range(CHANNELS)]


V = TypeVar("V", bound=Sized)


def _of_length(values: V, expected: int) -> V:
    if len(values) != expected:
        raise ValueError(f"{len(values)} values where {expected} are needed")
    return values


class Respiration:
    """Impedance respiration, the respiration algorithm and the external module."""

    set = staticmethod(command(native.VRAXSetRespiration))
    set_calibration = staticmethod(command(native.VRAXSetCalibrationRespiration))
    set_algorithm = staticmethod(command(native.VRAXSetRespirationAlgorithm))
    disable_algorithm = staticmethod(command(native.VRAXDisableRespireAlgorithm))
    set_baseline = staticmethod(command(native.VRAXExternalRespiratorySetBaseline))
    set_codes = staticmethod(command(native.VRAXExternalRespiratorySetDAC))
    set_baseline_code = staticmethod(command(native.VRAXExternalRespiratorySetBaselineDAC))
    set_resistance = staticmethod(command(native.VRAXExternalRespiratorySetAmplitudeByResistance))
    write_coefficients = staticmethod(command(native.VRAXWriteRespirationRWA))
    baseline_code = staticmethod(query(native.ExtRespGetBaselineDAC))

    @staticmethod
    def enable(on: bool = True) -> None:
        """Switches the impedance respiration on or off. Off sets its parameters to 0."""
        call(native.VRAXEnableRespiration, int(on))

    @property
    def has_module(self) -> bool:
        """Whether the external respiration module is present."""
        return bool(ask(native.VRAXRespirationModuleIsConnected))

    @staticmethod
    def set_samples(ohms: Samples, rate: int) -> None:
        """The resistance that the external module plays over and over, in ohms above 50."""
        taken = doubles(ohms)
        call(native.VRAXSetRespirationRawData, taken, len(taken), rate)

    @staticmethod
    def write_third_resistances(ohms: Samples) -> None:
        """Stores the 96 resistances of the third element in the module's flash. Does not erase."""
        taken = _of_length(doubles(ohms), THIRD_RESISTANCES)
        call(native.VRAXExternalRespiratoryWriteRDAC3, taken)

    @staticmethod
    def write_baseline_codes(values: Codes) -> None:
        """Stores the 12 baseline codes in the module's flash. Does not erase."""
        taken = _of_length(codes(values, c_ushort, "H"), BASELINES)
        call(native.VRAXWriteRespirationBaselineDACTable, taken)

    @staticmethod
    def resistance_codes(ohms: float) -> Tuple[int, int, int]:
        """The three codes that set the external module to a resistance."""
        found = (c_ushort * 3)()
        call(native.ExtRespGetAmplitudeDAC, ohms, found)
        return found[0], found[1], found[2]


class Ppg:
    """The pulse of each of the three channels."""

    set_standard = staticmethod(query(native.VRAXSetPPGStandardWaveform))
    set_standard_pair = staticmethod(query(native.VRAXSetPPGStandardWaveformEx))
    clear = staticmethod(command(native.VRAXClearPPGWaveform))
    set_transit_time = staticmethod(command(native.VRAXSetPTTp))
    set_respiration = staticmethod(command(native.VRAXSetPPGRespirationAlgorithm))
    enable = staticmethod(command(native.VRAXEnablePPGOutput))
    enable_ac_above_dc = staticmethod(command(native.VRAXEnableACAboveDC))

    @staticmethod
    def set(led: int, wave: Optional[native.PPG_WAVEFORM]) -> int:
        """A channel's pulse from a description; None clears the channel. Gives the samples of a
        period."""
        return call(native.SetPPGWaveform, led, byref(wave) if wave is not None else None)

    @staticmethod
    def set_samples(
        led: int, dc: Samples, ac: Samples, rate: float, led_sync: int = 1, invert: int = 0
    ) -> None:
        """A channel's pulse as one period of samples, DC and AC parts in millivolts."""
        taken = doubles(dc), doubles(ac)
        count = len(taken[0])
        if len(taken[1]) != count:
            raise ValueError(f"{count} DC values and {len(taken[1])} AC values")
        call(native.VRAXSetPPGRawData, led, led_sync, invert, count, *taken, rate)

    @staticmethod
    def on_pulse(led: int, function: Optional[Callable[[float, float], None]]) -> None:
        """Registers what is told a channel's pulse (seconds, mV); None removes it.

        Runs on the packet thread and must not call the library, except to stop.
        """
        _pulse_slots[_channel(led, CHANNELS)].register(
            function, lambda callback: call(native.VRAXRegisterOutputPPGCallback, led, callback)
        )


class Sensor:
    """The PPG module's own light and photodiodes."""

    set_trigger_level = staticmethod(command(native.SetPPGTriggerLevel))
    trigger_level = staticmethod(query(native.GetPPGTriggerLevel))
    reset_trigger_levels = staticmethod(command(native.ResetPPGTriggerLevel))
    set_led_level = staticmethod(command(native.SetPPGLedLevel))
    reset_led_levels = staticmethod(command(native.ResetPPGLedLevel))
    enable_dynamic_led_strength = staticmethod(command(native.VRAXEnableDynamicLEDStrength))
    set_ambient_light_mode = staticmethod(command(native.VRAXSetLEDAmbientLightMode))
    ambient_light_mode = staticmethod(query(native.VRAXGetLEDAmbientLightMode))
    start_sampling = staticmethod(command(native.VRAXStartPPGSampling))

    @staticmethod
    def set_dynamic_light(on: bool) -> None:
        """Switches the dynamic light; sends nothing when it is in that state already."""
        call(native.SetDynamicLight, int(on))

    @staticmethod
    def auto_trigger_status() -> List[int]:
        """The trigger levels that the module has found by itself: five words."""
        words = (c_uint16 * AUTO_TRIGGER_WORDS)()
        call(native.GetAutoTriggerLevelStatus, words)
        return list(words)

    @staticmethod
    def read_pulse_groups() -> bytes:
        """The LED pulse-group table: eight group codes and a word, ten bytes."""
        words = (c_uint16 * PULSE_GROUP_WORDS)()
        call(native.VRAXReadLEDPulseGroupSetting, words)
        return bytes(words)

    @staticmethod
    def write_pulse_groups(table: bytes) -> None:
        """Writes the LED pulse-group table, ten bytes."""
        _of_length(table, 2 * PULSE_GROUP_WORDS)
        words = (c_uint16 * PULSE_GROUP_WORDS).from_buffer_copy(table)
        call(native.VRAXWriteLEDPulseGroupSetting, words)

    @staticmethod
    def photodiode_status() -> Tuple[int, int, int, int, int, int]:
        """Three pairs of photodiode values."""
        a, b, c, d, e, f = [c_uint32() for _ in range(6)]
        call(native.GetPDStatus, byref(a), byref(b), byref(c), byref(d), byref(e), byref(f))
        return a.value, b.value, c.value, d.value, e.value, f.value

    @staticmethod
    def report() -> List[float]:
        """One sampling status of the photodiodes: 18 numbers."""
        values = (c_double * REPORT_VALUES)()
        call(native.VRAXGetFPGAReport, values)
        return list(values)

    @staticmethod
    def on_sample(channel: int, function: Optional[Callable[[int, int, int], None]]) -> None:
        """Makes ready for sampling and registers what is told the samples of a photodiode (number,
        value, status byte); None for nobody.

        Runs on the poll thread and must not call anything that sends a command.
        """
        _sample_slots[_channel(channel, PHOTODIODES)].register(
            function, lambda callback: call(native.VRAXEnablePPGSampling, channel, callback)
        )

    @staticmethod
    def disable_sampling() -> None:
        """Stops the instrument's sampling and removes all listeners; sampling still counts as
        running until stop_sampling()."""
        end(native.VRAXDisablePPGSampling)
        release_sampling()

    @staticmethod
    def stop_sampling() -> None:
        """Stops sampling, whether the instrument answers or not. No listener is told after it."""
        end(native.VRAXStopPPGSampling)


def release_sampling() -> None:
    """Lets the listeners of the photodiodes go."""
    for slot in _sample_slots:
        slot.release()


def remove_pulse_listeners() -> None:
    """Removes the listeners of the PPG channels."""
    for led, slot in enumerate(_pulse_slots):
        native.VRAXRegisterOutputPPGCallback(led, None)
        slot.release()


def _channel(number: int, count: int) -> int:
    if not 0 <= number < count:
        raise ValueError(f"{number} is not 0 to {count - 1}")
    return number
