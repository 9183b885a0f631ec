"""The package against the simulated instrument: bytes and voltages as it received them."""

from __future__ import annotations

import math

import pytest
from waiting import eventually

import vrax
from vrax import native
from vrax.callbacks import Slot

AC_CODE_MV = 1 / 1600  # a code of the AC path
RLD_V = (512 * 3.3 / 1023, 256 * 3.3 / 1023)  # the counts of the simulated instrument
RATE = 1000
PACKETS = 5  # of 700 samples: more than are looked at, whatever still waits in a file buffer
LEFT_OVER = 300  # samples, more than a file buffer and the end of a run hold


def is_packet(exchange):
    return exchange.kind == "stream packet"


def arrived_as(samples, expected):
    """Whether these samples begin with the expected millivolts, to a code. Before them may stand
    what an earlier run left in the instrument's file buffer."""
    return any(
        all(
            abs(sample.ac - value) <= 1.01 * AC_CODE_MV
            for sample, value in zip(samples[start:], expected)
        )
        for start in range(LEFT_OVER)
    )


def test_the_instrument_tells_who_it_is(instrument, simulated):
    assert instrument.is_connected
    assert instrument.information.serial == "TEC1020-250042"
    model = instrument.information.model()
    assert (model.typeLetters, bytes(model.modelCode)) == (b"EC", b"\x10\x20")
    assert (model.sequenceNumber, model.yearOrLot) == (42, 25)
    versions = instrument.information.versions()
    major, minor = versions.firmwareMajor, versions.firmwareMinor
    build, revision = versions.firmwareBuild, versions.firmwareRevision
    assert instrument.information.firmware == f"{major}.{minor}.{build:02}.{revision:02}"
    assert instrument.information.firmware_major == major
    hardware = f"{versions.hardwareMajor}.{versions.hardwareMinor}"
    assert instrument.information.hardware == hardware
    assert instrument.device_handle >= 0


def test_a_sine_arrives_with_its_amplitude_and_frequency(instrument, simulated):
    instrument.ecg.sample_rate = RATE
    instrument.ecg.amplitude = 3.0
    instrument.ecg.frequency = 5.0
    packets = sum(map(is_packet, simulated.exchanges()))
    earlier = len(simulated.samples())
    instrument.play(vrax.OutputFunction.SINE)
    simulated.wait_for(is_packet, packets + PACKETS)
    assert instrument.is_playing
    instrument.stop()
    assert not instrument.is_playing
    expected = [1.5 * math.sin(2 * math.pi * 5.0 * i / RATE) for i in range(RATE)]
    samples = simulated.samples()[earlier:]
    assert len(samples) >= RATE + LEFT_OVER
    assert arrived_as(samples, expected)
    assert {round(sample.dc, 1) for sample in samples} == {0.0}


def test_recorded_samples_are_those_that_arrive(instrument, simulated):
    instrument.ecg.sample_rate = RATE
    earlier = len(simulated.samples())
    packets = sum(map(is_packet, simulated.exchanges()))
    with instrument.diagnostics.record(10 * RATE) as recording:
        instrument.play(vrax.OutputFunction.ECG)
        simulated.wait_for(is_packet, packets + PACKETS)
        instrument.stop()
    computed = recording.ac[:RATE]
    assert max(computed) > 0.8  # a beat is among them
    samples = simulated.samples()[earlier:]
    assert len(samples) >= RATE + LEFT_OVER
    assert arrived_as(samples, computed)


def test_lead_off_writes_its_relay_bits(instrument, simulated):
    def is_lead_off(exchange):
        return exchange.kind == "lead-off relays"

    # The instrument notes an exchange after it has replied, so the notes are waited for.
    before = sum(map(is_lead_off, simulated.exchanges()))
    instrument.electrodes.set_lead_off(1)
    instrument.electrodes.set_lead_off(0)
    on, off = (e.request for e in simulated.wait_for(is_lead_off, before + 2)[before:])
    # Bits 11, 13 and 14 of the relay word, the last three bytes: both of 13 and 14, then 14 alone.
    assert int.from_bytes(on[-3:], "big") & 0x6800 == 0x6000
    assert int.from_bytes(off[-3:], "big") & 0x6800 == 0x4000
    with pytest.raises(vrax.VraxError) as caught:
        instrument.electrodes.set_lead_off(4)
    assert caught.value.code == 0


def test_right_leg_drive_is_read_in_volts(instrument):
    instrument.electrodes.measure_rld(True)
    assert instrument.electrodes.read_rld() == pytest.approx(RLD_V)
    instrument.electrodes.measure_rld(False)


def test_the_manufacturing_block_comes_back_as_it_was_written(instrument):
    block = bytes(range(64))
    instrument.information.write_manufacturing(block)
    assert instrument.information.read_manufacturing() == block
    assert instrument.information.read_manufacturing(4) == block[:4]


def test_the_hardware_version_is_written_into_the_flash(instrument, simulated):
    before = instrument.information.versions()
    instrument.information.set_hardware(7, 9)
    simulated.wait_for(lambda e: e.kind == "flash write" and bytes((7, 9)) in e.request)
    instrument.information.set_hardware(before.hardwareMajor, before.hardwareMinor)


def test_calibration_is_read_from_the_flash(instrument, tmp_path):
    instrument.calibration.read()
    assert instrument.calibration.is_valid is False
    instrument.calibration.save(f"{tmp_path}/")
    # The flash of a simulated instrument is erased there: 4001 words.
    assert (tmp_path / "calibration.dat").read_bytes() == b"\xff" * 8002


def test_a_run_waits_for_its_synchronisation_signal(instrument, simulated):
    signal = vrax.SynchronizationSignal()
    signal.use()
    packets = sum(map(is_packet, simulated.exchanges()))
    try:
        instrument.play(vrax.OutputFunction.SINE)
        before = len(simulated.exchanges())
        instrument.electrodes.measure_rld(False)  # some traffic, in which a packet would show
        assert not any(map(is_packet, simulated.exchanges()[before:]))
        signal.set()
        simulated.wait_for(is_packet, packets + 2)
    finally:
        instrument.stop()
        signal.use_none()


def test_the_listener_is_told_that_the_instrument_goes_and_comes(simulated, calls):
    told = calls()
    with vrax.listen(told) as instrument:
        told.wait(1)
        simulated.tell("unplug")
        told.wait(2)
        assert not instrument.is_connected
        simulated.tell("plug")
        assert told.wait(3) == [(True,), (False,), (True,)]


def test_a_command_that_is_not_acknowledged_is_an_error(instrument, simulated):
    simulated.tell("wrong-ack all")
    with pytest.raises(vrax.VraxError) as caught:
        # Until the control line was read.
        eventually(lambda: instrument.electrodes.measure_rld(True))
    assert caught.value.meaning == "no instrument (nothing is logged then), or no acknowledgement"
    simulated.tell("clear")

    def is_acknowledged():
        try:
            instrument.electrodes.measure_rld(False)
        except vrax.VraxError:
            return False
        return True

    assert eventually(is_acknowledged)


def test_an_image_tells_its_version_and_is_not_burnt_after_a_cancel(instrument, tmp_path):
    instrument.firmware.load_fpga(image(tmp_path))
    seen = []
    with pytest.raises(vrax.VraxError) as caught:
        instrument.firmware.burn_fpga(lambda stage, value: seen.append((stage, value)) or True)
    assert caught.value.code == -1
    assert seen == [(vrax.BurnStage.ERASE, 0)]


def test_an_exception_of_the_progress_cancels_the_burn_and_is_raised(instrument, tmp_path):
    def fail(stage, value):
        raise LookupError(stage)

    instrument.firmware.load_fpga(image(tmp_path))
    with pytest.raises(LookupError):
        instrument.firmware.burn_fpga(fail)
    assert instrument.is_connected


def test_the_result_of_a_burn_comes_before_what_another_callback_raised(instrument, tmp_path):
    def fail(connected):
        raise LookupError

    other = Slot(native.VRAXConnectedCallback)
    other.register(fail, lambda callback: None)

    def cancel(stage, value):
        other._run(True)
        return True

    instrument.firmware.load_fpga(image(tmp_path))
    with pytest.raises(vrax.VraxError) as caught:
        instrument.firmware.burn_fpga(cancel)
    assert caught.value.code == -1
    with pytest.raises(LookupError):
        instrument.ecg.amplitude = 1.0


def test_a_burn_goes_through_its_stages_and_finds_the_instrument_again(instrument, tmp_path):
    assert instrument.firmware.load_fpga(image(tmp_path)) == vrax.Version(4, 3, 2, 1)
    instrument.set_port_timeouts(1.0, 1.0)  # for a busy machine; each of 5000 frames is awaited
    seen = []
    try:
        instrument.firmware.burn_fpga(lambda stage, value: seen.append((stage, value)))
    finally:
        instrument.set_port_timeouts(0.1, 0.2)
    stages = list(dict.fromkeys(stage for stage, _ in seen))
    assert stages == list(vrax.BurnStage)
    assert seen[-1] == (vrax.BurnStage.FINISHED, 100)
    assert instrument.is_connected


def test_an_image_that_is_none_is_refused(instrument, tmp_path):
    path = tmp_path / "short.bin"
    path.write_bytes(b"VRAX")
    with pytest.raises(vrax.VraxError) as caught:
        instrument.firmware.load_fpga(path)
    assert caught.value.code == -6


def image(folder):
    """An FPGA image of version 4.3.2.1."""
    content = bytearray(122880)
    content[118772:118780] = b"VRAX" + bytes((4, 3, 2, 1))
    path = folder / "image.bin"
    path.write_bytes(content)
    return path
