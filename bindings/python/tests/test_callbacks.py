"""Callbacks from the library's threads: kept, exchanged, released, and their exceptions."""

from __future__ import annotations

import gc
import threading
import weakref

import pytest
from waiting import eventually

import vrax


class Listener:
    """Something whose end can be seen."""

    def __call__(self, time, millivolts):
        pass


def test_points_of_the_signal_come_on_another_thread_with_time_and_millivolts(offline, calls):
    points = calls()
    offline.ecg.amplitude = 2.0
    offline.events.on_signal(points)
    offline.play(vrax.OutputFunction.SQUARE)
    seen = points.wait(100)
    offline.stop()
    # A square wave of 2 mV peak to peak has no other values.
    assert {round(abs(millivolts), 9) for _, millivolts in seen} == {1.0}
    assert seen[0][0] < seen[99][0]
    assert threading.get_ident() not in {thread for thread, _ in points.seen}


def test_a_callback_that_only_the_library_knows_of_is_kept_alive(offline):
    told = threading.Event()
    offline.events.on_signal(lambda time, millivolts: told.set())
    gc.collect()
    offline.play(vrax.OutputFunction.SINE)
    assert told.wait(60.0)


def test_a_removed_callback_is_released():
    with vrax.listen() as instrument:
        listener = Listener()
        seen = weakref.ref(listener)
        instrument.events.on_signal(listener)
        del listener
        gc.collect()
        assert seen() is not None
        instrument.events.on_signal(None)
        gc.collect()
        assert seen() is None


def test_closing_releases_every_callback():
    instrument = vrax.listen()
    listener = Listener()
    seen = weakref.ref(listener)
    instrument.events.on_pacing(listener)
    instrument.ppg.on_pulse(1, listener)
    del listener
    instrument.close()
    gc.collect()
    assert seen() is None


def test_callbacks_are_exchanged_while_the_library_calls_them(offline, calls):
    offline.play(vrax.OutputFunction.SINE)
    for _ in range(50):
        points = calls()
        offline.events.on_signal(points)
        points.wait(1)


def test_what_a_callback_raises_is_raised_by_the_next_call_once(offline, calls):
    def fail(time, millivolts):
        raise LookupError(f"at {time:.0f} s")

    points = calls(fail)
    offline.events.on_signal(points)
    offline.play(vrax.OutputFunction.SINE)
    points.wait(1)
    with pytest.raises(LookupError, match="at 0 s") as caught:
        # The callback may still be on its way out.
        eventually(lambda: setattr(offline.ecg, "amplitude", 2.0))
    assert caught.traceback[-1].name == "fail"
    offline.events.on_signal(None)
    try:
        assert offline.ecg.amplitude in (1.0, 2.0)
    except LookupError:
        # It was called again between the two calls above, and that was kept as well.
        assert offline.ecg.amplitude in (1.0, 2.0)


def test_a_callback_that_has_raised_rests_until_that_was_seen(offline, calls):
    def fail(time, millivolts):
        raise LookupError

    others = calls()
    points = calls(fail)
    offline.events.on_signal(points)
    offline.ppg.set_standard(0, 0, 1, 0, 1.0, 1000.0, 10.0)
    offline.ppg.enable(0, True)
    offline.ppg.on_pulse(0, others)
    offline.play(vrax.OutputFunction.SINE)
    others.wait(1000)
    assert len(points.seen) == 1
    with pytest.raises(LookupError):
        offline.stop()


def test_stopping_and_closing_are_done_before_a_kept_exception_is_raised(calls):
    def fail(time, millivolts):
        raise LookupError

    instrument = vrax.listen()
    points = calls(fail)
    instrument.events.on_signal(points)
    instrument.play(vrax.OutputFunction.SINE)
    points.wait(1)
    with pytest.raises(LookupError):
        instrument.stop()
    assert instrument.function == vrax.OutputFunction.OFF
    instrument.play(vrax.OutputFunction.SINE)
    points.wait(2)
    with pytest.raises(LookupError):
        instrument.close()
    assert instrument.function == vrax.OutputFunction.OFF


def test_what_the_block_raises_comes_before_what_a_callback_raised(calls):
    def fail(time, millivolts):
        raise LookupError

    points = calls(fail)
    with pytest.raises(ZeroDivisionError) as caught, vrax.listen() as instrument:
        instrument.events.on_signal(points)
        instrument.play(vrax.OutputFunction.SINE)
        points.wait(1)
        raise ZeroDivisionError
    assert isinstance(caught.value.__context__, LookupError)


def test_a_signal_may_be_stopped_from_a_callback(offline, calls):
    points = calls(lambda time, millivolts: offline.stop())
    offline.events.on_signal(points)
    offline.play(vrax.OutputFunction.SINE)
    points.wait(1)
    assert eventually(lambda: not offline.is_playing)
    assert offline.function == vrax.OutputFunction.OFF


def test_a_callback_that_was_refused_is_released(offline):
    refused = Listener()
    seen = weakref.ref(refused)
    with pytest.raises(vrax.VraxError) as caught:
        offline.sensor.on_sample(0, refused)
    assert caught.value.code == -1  # no instrument
    del refused, caught
    gc.collect()
    assert seen() is None


def test_the_scan_of_a_sine_tells_the_main_function(offline, calls):
    told = calls()
    offline.events.on_main_function(told)
    offline.disturbances.set_sine_scan(True, 10, 1.0, 5.0)
    (function, _), *_ = told.wait(1)
    assert function == vrax.OutputFunction.SINE
    assert offline.disturbances.sine_scan
    assert offline.disturbances.sine_scan_stop == 5.0
