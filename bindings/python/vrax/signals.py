"""The signal: its parameters, pacing, test signals and disturbances, electrodes."""

from __future__ import annotations

from ctypes import byref, c_double
from typing import Tuple

from vrax import native
from vrax.errors import call
from vrax.members import Parameter, Reading, command


class Ecg:
    """Height, frequency, DC offset and shape of the signal."""

    amplitude = Parameter(native.VRAXGetAmplitude, native.VRAXSetAmplitude)
    frequency = Parameter(native.VRAXGetFrequency, native.VRAXSetFrequency)
    dc_offset = Parameter(native.VRAXGetDCOffset, native.VRAXSetDCOffset)
    dc_offset_variable_mode = Parameter(
        native.VRAXGetDCOffsetVariableMode, native.VRAXSetDCOffsetVariableMode
    )
    dc_offset_common_mode = Parameter(
        native.VRAXGetDCOffsetCommonMode, native.VRAXSetDCOffsetCommonMode
    )
    pulse_width = Parameter(native.VRAXGetPulseWidth, native.VRAXSetPulseWidth)
    input_impedance_mode = Parameter(
        native.VRAXGetInputImpedanceMode, native.VRAXSetInputImpedanceMode
    )
    qrs_duration = Parameter(native.VRAXGetQRSDuration, native.VRAXSetQRSDuration)
    t_wave = Parameter(native.VRAXGetTWave, native.VRAXSetTWave)
    p_duration = Parameter(native.VRAXGetPDuration, native.VRAXSetPDuration)
    pr_interval = Parameter(native.VRAXGetPRInterval, native.VRAXSetPRInterval)
    qt_interval = Parameter(native.VRAXGetQTInterval, native.VRAXSetQTInterval)
    p_wave = Parameter(native.VRAXGetPWave, native.VRAXSetPWave)
    st_deviation = Parameter(native.VRAXGetSTDeviation, native.VRAXSetSTDeviation)
    customized_t_duration = Parameter(
        native.VRAXGetCustomizedTDuration, native.VRAXSetCustomizedTDuration
    )
    special_wave_227 = Parameter(native.VRAXGetSpecialWave227, native.VRAXSetSpecialWave227)
    special_wave_251 = Parameter(native.VRAXGetSpecialWave251, native.VRAXSetSpecialWave251)
    special_wave_247 = Parameter(native.VRAXGetSpecialWave247, native.VRAXSetSpecialWave247)
    ane20000_lead = Parameter(native.VRAXGetANE20000Lead, native.VRAXSetANE20000Lead)
    sample_rate = Parameter(native.VRAXGetSampleRate, native.VRAXSetSampleRate)
    enable = staticmethod(command(native.VRAXEnableECGOutput))

    @property
    def rate(self) -> float:
        """Beats per minute: 60 times the frequency."""
        return self.frequency * 60.0

    @rate.setter
    def rate(self, beats: float) -> None:
        self.frequency = beats / 60.0


class RawDc:
    """DC levels as codes of the converter, for calibration."""

    set_code = staticmethod(command(native.SetDcDac))
    play_code = staticmethod(command(native.PlayFixedDCByDAC))


class Pacing:
    """The pulses of a pacemaker. What the instrument makes itself it is told by apply(), or when
    the next signal starts."""

    pulse_mode = Parameter(native.VRAXGetPacingPulseMode, native.VRAXSetPacingPulseMode)
    amplitude = Parameter(native.VRAXGetPacingAmplitude, native.VRAXSetPacingAmplitude)
    duration = Parameter(native.VRAXGetPacingDuration, native.VRAXSetPacingDuration)
    rate = Parameter(native.VRAXGetPacingRate, native.VRAXSetPacingRate)
    overshoot_time_constant = Parameter(
        native.VRAXGetOvershootTimeConstant, native.VRAXSetOvershootTimeConstant
    )
    overshoot_amplitude = Parameter(
        native.VRAXGetOvershootAmplitude, native.VRAXSetOvershootAmplitude
    )
    synchronize = staticmethod(command(native.VRAXSetPacingRateSynchronized))
    apply = staticmethod(command(native.VRAXApplyPacing))


class Disturbances:
    """Test signals and disturbances that a monitor has to withstand."""

    baseline_reset_test = Parameter(
        native.VRAXGetBaselineResetTest, native.VRAXSetBaselineResetTest
    )
    set_noise = staticmethod(command(native.VRAXSetECG2_27_Noise))
    noise_selector = Reading(native.VRAXGetECG2_27_NoiseFreq)
    noise_amplitude = Reading(native.VRAXGetECG2_27_NoiseAmp)
    set_noise_stress = staticmethod(command(native.VRAXSetNSTNoise))
    drift = Parameter(native.VRAXGetECG2_27_AAMIDriftTest, native.VRAXSetECG2_27_AAMIDriftTest)
    drift_amplitude = Parameter(
        native.VRAXGetECG2_27_AAMIDriftTestAmplitude, native.VRAXSetECG2_27_AAMIDriftTestAmplitude
    )
    drift_frequency = Parameter(
        native.VRAXGetECG2_27_AAMIDriftTestFrequency, native.VRAXSetECG2_27_AAMIDriftTestFrequency
    )
    set_dynamic_range_test = staticmethod(command(native.VRAXSetDynamicRangeTest))
    dynamic_range_test = Reading(native.VRAXGetDynamicRangeTest)
    dynamic_range_amplitude = Reading(native.VRAXGetDynamicRangeTestAmplitude)
    dynamic_range_frequency = Reading(native.VRAXGetDynamicRangeTestFrequency)
    set_sine_scan = staticmethod(command(native.VRAXSetFrequencyScanSine))
    sine_scan = Reading(native.VRAXGetFrequencyScanSine)
    sine_scan_start = Reading(native.VRAXGetFrequencyScanSineStartFrequency)
    sine_scan_stop = Reading(native.VRAXGetFrequencyScanSineStopFrequency)
    sine_scan_seconds = Reading(native.VRAXGetFrequencyScanSineDuration)
    ecg_scan = Parameter(native.VRAXGetFrequencyScanECG, native.VRAXSetFrequencyScanECG)


class Electrodes:
    """Lead-off and right-leg drive."""

    set_lead_off = staticmethod(command(native.VRAXSetLeadOff))
    measure_rld = staticmethod(command(native.VRAXMeasureRLD))

    @staticmethod
    def read_rld() -> Tuple[float, float]:
        """Both values of the right-leg drive measurement, in volts from 0 to 3.3."""
        first, second = c_double(), c_double()
        call(native.VRAXReadRLD, byref(first), byref(second))
        return first.value, second.value
