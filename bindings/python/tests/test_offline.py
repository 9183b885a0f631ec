"""What works without an instrument: parameters, computed signals, waveforms, files."""

from __future__ import annotations

import math
from array import array

import header
import pytest

import vrax

MV = 1e-9  # of rounding


def parameters(part):
    """The names of the properties that can be set."""
    kinds = vars(type(part)).items()
    return [name for name, value in kinds if type(value).__name__ == "Parameter"]


VALUES = {
    ("ecg", "dc_offset"): 300,
    ("ecg", "dc_offset_variable_mode"): False,
    ("ecg", "dc_offset_common_mode"): True,
    ("ecg", "input_impedance_mode"): False,
    ("ecg", "sample_rate"): 1000,
    ("ecg", "qt_interval"): 400.0,
    ("ecg", "customized_t_duration"): 200.0,
    ("ecg", "p_duration"): 60.0,
    ("pacing", "rate"): 80,
    ("pacing", "pulse_mode"): 1,
    ("pacing", "overshoot_time_constant"): 4,
    ("disturbances", "baseline_reset_test"): 2,
    ("disturbances", "drift"): True,
    ("disturbances", "ecg_scan"): True,
}
WHOLE = {"special_wave_227", "special_wave_251", "special_wave_247", "ane20000_lead"}


@pytest.mark.parametrize("part", ["ecg", "pacing", "disturbances"])
def test_every_parameter_gives_back_what_was_set(part):
    for name in parameters(getattr(vrax.Instrument(), part)):
        with vrax.listen() as instrument:
            value = VALUES.get((part, name), 2 if name in WHOLE else 1.5)
            if name.endswith("_duration") and (part, name) not in VALUES and part == "ecg":
                value = 110.0
            setattr(getattr(instrument, part), name, value)
            given = getattr(getattr(instrument, part), name)
            assert given == pytest.approx(value), name
            assert isinstance(given, type(value)), name


def test_beats_a_minute_are_sixty_times_the_frequency(offline):
    offline.ecg.rate = 72
    assert offline.ecg.frequency == pytest.approx(1.2)
    assert offline.ecg.rate == pytest.approx(72)


def test_leads_are_switched_one_by_one_and_by_mask(offline):
    assert offline.leads == [0]
    offline.set_lead(3)
    assert offline.lead_mask == 0b1001
    offline.lead_mask = 0b110
    assert offline.leads == [1, 2]


def test_a_rendered_sine_is_a_sine_of_half_the_amplitude(offline):
    offline.ecg.amplitude = 3.0
    offline.ecg.frequency = 5.0
    samples, rate = offline.recordings.render(vrax.OutputFunction.SINE, 1.0, 1000)
    assert (len(samples), rate) == (1000, 1000)
    for i, value in enumerate(samples):
        assert value == pytest.approx(1.5 * math.sin(2 * math.pi * 5.0 * i / rate), abs=1e-6)


@pytest.mark.parametrize("kind", [bytes, bytearray, memoryview])
def test_bytes_are_numbers_and_not_the_memory_of_numbers(offline, kind):
    offline.recordings.set(kind(bytes(range(16))), 250)
    assert offline.recordings.current().samples == array("d", range(16))
    with pytest.raises(ValueError, match="24 values where 12 are needed"):
        offline.respiration.write_baseline_codes(kind(bytes(24)))


def test_a_record_comes_back_sample_for_sample(offline):
    for samples in (array("d", [0.5, -0.25, 1.0]), [0.5, -0.25, 1.0], (0.5, -0.25, 1)):
        offline.recordings.set(samples, 250)
        assert offline.recordings.current() == vrax.Record(array("d", [0.5, -0.25, 1.0]), 250)
    offline.recordings.set(memoryview(array("d", [2.0])), 100)
    assert offline.recordings.current().samples == array("d", [2.0])
    offline.recordings.clear()
    with pytest.raises(vrax.VraxError, match="there is no record"):
        offline.recordings.current()


def test_a_written_waveform_can_be_loaded_again(offline, tmp_path):
    path = tmp_path / "größe.txt"
    offline.waveforms.dump([1000, -2000, 3000], 500, "lead Ä", path)
    assert offline.recordings.text_channels(path) == ["lead Ä"]
    assert offline.recordings.load_text(path) == 3
    samples, rate = offline.recordings.current()
    assert rate == 500
    assert list(samples) == pytest.approx([1.0, -2.0, 3.0])
    with pytest.raises(vrax.VraxError) as caught:
        offline.recordings.load_text(path, 1)
    assert caught.value.code == -7


def test_the_names_of_several_channels_are_read(offline, tmp_path):
    path = tmp_path / "three.txt"
    path.write_text("250\n1\n3\nI,II,V1\n0.1,0.2,0.3\n", encoding="utf-8")
    assert offline.recordings.text_channels(path) == ["I", "II", "V1"]


def test_a_binary_file_is_loaded(offline, tmp_path):
    path = tmp_path / "beat.bin"
    microvolts = (1000, -1500)
    body = b"".join(value.to_bytes(2, "big", signed=True) for value in microvolts)
    path.write_bytes((250).to_bytes(2, "big") + (2).to_bytes(4, "big") + body)
    assert offline.recordings.load_binary(path) == 2
    assert list(offline.recordings.current().samples) == pytest.approx([1.0, -1.5])


@pytest.mark.parametrize(
    "load",
    [
        lambda files, path: files.load_binary(path),
        lambda files, path: files.load_edf(path, 0),
        lambda files, path: files.load_wfdb(path, path, 0),
        lambda files, path: files.load_text(path, 0),
        lambda files, path: files.text_channels(path),
    ],
)
def test_a_missing_file_is_told_as_minus_one(offline, tmp_path, load):
    with pytest.raises(vrax.VraxError) as caught:
        load(offline.recordings, tmp_path / "missing.ecg")
    assert caught.value.code == -1


def test_the_built_in_waveforms_have_the_sizes_of_the_header(offline, tmp_path):
    assert offline.waveforms.iec251(0).rate == 1000
    assert len(offline.waveforms.iec251(15).samples) == 1000
    assert offline.waveforms.iec227(0).rate == 720
    pattern = offline.waveforms.iec247(1)
    assert (len(pattern.samples), pattern.rate) == (3996, 1000)
    assert pattern.samples[10] == pytest.approx(offline.waveforms.iec247_point(1, 0.010))
    for number in (-1, 16):
        with pytest.raises(vrax.VraxError, match="no such waveform"):
            offline.waveforms.iec251(number)
    offline.waveforms.dump_iec251(2, tmp_path / "cal.txt")
    assert offline.recordings.load_text(tmp_path / "cal.txt") == 1000


def test_setters_are_logged_and_the_path_is_told(offline, tmp_path):
    path = tmp_path / "calls.log"
    offline.diagnostics.log(path)
    assert offline.diagnostics.log_path == str(path)
    offline.ecg.amplitude = 2.0
    offline.diagnostics.stop_log()
    assert offline.diagnostics.log_path == ""
    assert path.read_text(encoding="utf-8").splitlines()[0] == "VRAXSetAmplitude(2.00);"


def test_values_are_dumped_with_three_decimals(offline, tmp_path):
    offline.diagnostics.dump([1.0, -0.5], tmp_path / "values.txt")
    assert (tmp_path / "values.txt").read_text(encoding="utf-8").split() == ["1.000", "-0.500"]
    offline.diagnostics.dump([], tmp_path / "empty.txt")
    assert (tmp_path / "empty.txt").read_text(encoding="utf-8") == ""


def test_computed_samples_are_recorded_until_the_end_of_the_block(offline, calls):
    points = calls()
    offline.ecg.amplitude = 2.0
    offline.events.on_signal(points)
    with offline.diagnostics.record(100000) as recording:
        with pytest.raises(vrax.VraxError):
            offline.diagnostics.record(10)  # one at a time
        offline.play(vrax.OutputFunction.SQUARE)
        points.wait(2000)
        offline.stop()
    assert 2000 <= len(recording.ac) <= 100000
    assert len(recording.dc) == len(recording.ac)
    # After the stop a few samples of 0 mV may follow.
    assert {round(abs(value), 9) for value in recording.ac[:2000]} == {1.0}
    assert set(recording.dc) == {0.0}


def test_the_interface_has_the_version_of_the_header(offline):
    text = header.HEADER.read_text(encoding="utf-8")
    assert f'version of the library\'s interface, "{offline.information.interface}"' in text


def test_the_device_features_are_those_of_the_default_record(offline):
    features = offline.information.features()
    assert (features.ppgAcMin, features.ppgAcMax) == (0.75, 30.0)
    assert (features.ppgDcMin, features.ppgDcMax) == (100.0, 3000.0)
    assert list(features.reserved9) == [8, 8]


def test_the_calibration_file_is_written_and_read_with_4001_codes(offline, tmp_path):
    folder = f"{tmp_path}/"
    offline.calibration.save(folder)
    offline.calibration.set_path(folder)
    try:
        words = array("H", (tmp_path / "calibration.dat").read_bytes())
        assert len(words) == 4001
        assert offline.calibration.file_codes() == words
        assert offline.calibration.read_file() == words
        offline.calibration.clear_file()
        with pytest.raises(vrax.VraxError, match="missing or short"):
            offline.calibration.file_codes()
    finally:
        offline.calibration.set_path("")
