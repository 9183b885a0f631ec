"""The plug-in modules; what a run without the module cannot show is skipped."""

from __future__ import annotations

import pytest
from waiting import eventually

import vrax


@pytest.fixture
def ppg(instrument):
    """An instrument with a PPG module: pytest --vrax-simulated='--ppg 3407'."""
    if not instrument.has_ppg:
        pytest.skip("needs a PPG module")
    return instrument


@pytest.fixture
def breathing(instrument):
    """An instrument with the external module: pytest --vrax-simulated=--respiration."""
    if not instrument.respiration.has_module:
        pytest.skip("needs the external respiration module")
    return instrument


def test_without_a_module_its_calls_are_refused(instrument):
    if not instrument.has_ppg:
        with pytest.raises(vrax.VraxError) as caught:
            instrument.sensor.set_ambient_light_mode(3)
        assert (caught.value.code, caught.value.meaning) == (-1, "no PPG module")
    if not instrument.respiration.has_module:
        with pytest.raises(vrax.VraxError) as caught:
            instrument.respiration.set_baseline_code(1)
        assert caught.value.code == 0


def test_levels_of_the_sensor_come_back_as_they_were_set(ppg):
    ppg.sensor.set_trigger_level(1, 77)
    assert ppg.sensor.trigger_level(1) == 77
    ppg.sensor.set_ambient_light_mode(3)
    assert ppg.sensor.ambient_light_mode() == 3
    with pytest.raises(vrax.VraxError) as caught:
        ppg.sensor.set_led_level(1, 256)
    assert (caught.value.code, caught.value.meaning) == (-2, "the level is out of range")


def test_a_pulse_group_table_comes_back_as_it_was_written(ppg):
    table = bytes((1, 2, 3, 0, 1, 2, 3, 0)) + (5).to_bytes(2, "little")
    ppg.sensor.write_pulse_groups(table)
    # Byte 0 is told only of groups that are fixed.
    assert ppg.sensor.read_pulse_groups()[1:] == table[1:]


def test_status_and_report_have_their_numbers(ppg):
    assert len(ppg.sensor.photodiode_status()) == 6
    report = ppg.sensor.report()
    assert len(report) == 18
    assert report[0] in (0.0, 6.0)
    assert report[1:6] == [0.0] * 5
    assert len(ppg.sensor.auto_trigger_status()) == 5


def test_photodiode_samples_come_until_sampling_is_stopped(ppg, calls):
    samples = calls()
    ppg.sensor.on_sample(2, samples)
    ppg.sensor.start_sampling()
    assert ppg.is_playing
    seen = samples.wait(100)
    ppg.sensor.stop_sampling()
    assert not ppg.is_playing
    count = len(samples.seen)
    assert {channel for channel, _, _ in seen} == {2}
    ppg.sensor.disable_sampling()
    assert len(samples.seen) == count


def test_a_refused_registration_leaves_the_listener_before_in_place(ppg, calls):
    told, refused = calls(), calls()
    ppg.sensor.on_sample(2, told)
    ppg.sensor.start_sampling()
    with pytest.raises(vrax.VraxError) as caught:
        ppg.sensor.on_sample(2, refused)
    assert caught.value.code == -3  # sampling runs
    told.wait(len(told.seen) + 100)
    ppg.sensor.stop_sampling()
    ppg.sensor.disable_sampling()
    assert not refused.seen


def test_a_pulse_is_told_with_its_levels(ppg, calls):
    points = calls()
    wave = vrax.PPG_WAVEFORM(waveform=2, frequency=1.0, dc=1000.0, ac=10.0, ledSync=1)
    assert ppg.ppg.set(0, wave) == 10000
    ppg.ppg.enable(0, True)
    ppg.ppg.on_pulse(0, points)
    ppg.play(vrax.OutputFunction.SINE)
    seen = points.wait(20000)
    ppg.stop()
    levels = [value for _, value in seen]
    assert max(levels) - min(levels) == pytest.approx(10.0, rel=0.01)


def test_what_is_out_of_the_range_of_a_pulse_is_told(ppg):
    with pytest.raises(vrax.VraxError) as caught:
        ppg.ppg.set_standard(0, 3, 1, 0, 6.0, 1000.0, 10.0)
    assert (caught.value.code, caught.value.meaning) == (-4, "frequency out of range")
    ppg.ppg.set_samples(1, [1000.0, 1001.0], [1.0, 2.0], 100.0)
    assert ppg.ppg.set(1, None) == 0


def test_the_module_keeps_its_baseline_codes(breathing):
    codes = list(range(100, 1300, 100))
    breathing.respiration.write_baseline_codes(codes)
    assert [breathing.respiration.baseline_code(index) for index in range(12)] == codes


def test_a_resistance_has_three_codes_within_their_elements(breathing):
    first, second, third = breathing.respiration.resistance_codes(55.0)
    assert 0 < first < 1024
    assert 0 <= second < 1024
    assert 0 <= third < 96
    breathing.respiration.set_resistance(55.0)


def test_breathing_sets_the_baseline_of_the_module_and_its_code(breathing, simulated):
    def requests(kind):
        return [exchange.request for exchange in simulated.exchanges() if exchange.kind == kind]

    breathing.respiration.enable()
    written = len(requests("respiration module write"))
    breathing.respiration.set(1000, 15, 2, 500, 10)
    assert eventually(lambda: len(requests("respiration module write")) > written)
    # 500 ohms are the module's baseline 3; lead code 1 is lead I.
    assert requests("respiration baseline write")[-1] == bytes((0xCC, 0xFF, 0x0E, 0x00, 3, 1))
    code = breathing.respiration.baseline_code(3)
    assert requests("respiration module write")[-1][10:12] == code.to_bytes(2, "big")
    with pytest.raises(vrax.VraxError) as caught:
        breathing.respiration.set(1000, 201, 2, 500, 10)
    assert caught.value.code == 0
