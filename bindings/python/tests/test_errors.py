"""Refused calls become exceptions with the code and its meaning; nothing else does."""

from __future__ import annotations

import os
import subprocess
import sys
from array import array
from ctypes import c_double, c_int

import header
import pytest

import vrax
from vrax import loading
from vrax.errors import failure
from vrax.loading import NativeFunction


def test_a_refused_value_tells_function_code_and_meaning_and_the_old_one_stays(offline):
    offline.ecg.amplitude = 40.0
    with pytest.raises(vrax.VraxError) as caught:
        offline.ecg.amplitude = 40.01
    assert caught.value.function == "VRAXSetAmplitude"
    assert caught.value.code == -2
    assert caught.value.meaning == "out of range"
    assert str(caught.value) == "VRAXSetAmplitude gave -2: out of range"
    assert offline.ecg.amplitude == 40.0


def test_a_function_takes_as_many_arguments_as_in_c():
    with pytest.raises(TypeError, match="VRAXSetAmplitude takes 1 arguments, 2 were given"):
        NativeFunction("VRAXSetAmplitude", c_int, (c_double,))(1.0, 2.0)


def test_the_end_of_a_forked_process_does_not_end_the_connection_of_its_parent():
    ended = []
    loading._end(lambda: ended.append("child"), os.getpid() + 1)
    loading._end(lambda: ended.append("own"), os.getpid())
    assert ended == ["own"]


def test_without_a_connection_parameters_are_refused_with_minus_one():
    ended = run("import vrax; vrax.Instrument().pacing.rate = 60")
    assert ended.stderr.strip().splitlines()[-1] == (
        "vrax.errors.VraxError: VRAXSetPacingRate gave -1: "
        "no instrument is open and no connection listener is registered"
    )


def test_connecting_to_nothing_fails_after_the_timeout():
    with pytest.raises(vrax.VraxError) as caught:
        vrax.connect(timeout=0.2)
    assert (caught.value.function, caught.value.code) == ("VRAXConnect", 0)


@pytest.mark.parametrize(
    "function, result, is_failure",
    [
        ("VRAXSetAmplitude", 0, False),
        ("VRAXSetAmplitude", -3, True),
        ("VRAXSetAmplitude", -77, True),  # in no table, and negative all the same
        ("VRAXGetDCOffset", -300, False),
        ("VRAXApplyPacing", 1, False),
        ("VRAXApplyPacing", 0, True),
        ("VRAXReadMfgInfo", True, False),
        ("VRAXReadMfgInfo", False, True),
        ("GetCalibrationCacheEx", 4001, False),
        ("GetCalibrationCacheEx", 0, True),
        ("SetPPGWaveform", 10000, False),
        ("SetPPGWaveform", 0, False),
        ("VRAXSetPPGStandardWaveformEx", -4, True),
        ("DumpIEC251Waveform", -3, True),
        ("VRAXGetFrequency", 0.0, False),
        ("VRAXFree", None, False),
    ],
)
def test_failures_are_negative_codes_and_zero_where_success_is_positive(
    function, result, is_failure
):
    assert (failure(function, result) is not None) == is_failure


def test_functions_that_refer_to_another_have_its_meanings():
    assert failure("VRAXSetPPGStandardWaveform", -4) == "frequency out of range"
    assert failure("DumpIEC247Waveform", -6) == failure("DumpIEC227Waveform", -6)


def test_a_reading_cannot_be_set(offline):
    with pytest.raises(AttributeError):
        offline.disturbances.noise_selector = 1


def test_a_number_of_the_wrong_kind_never_reaches_the_library(offline):
    with pytest.raises(TypeError, match="VRAXSetDCOffset"):
        offline.ecg.dc_offset = 1.5
    assert offline.ecg.dc_offset == 0


def test_a_wrong_number_of_samples_is_refused_before_the_library_reads_them(offline):
    with pytest.raises(ValueError):
        offline.ppg.set_samples(0, [1.0, 2.0], [1.0], 100.0)
    with pytest.raises(ValueError):
        offline.respiration.write_baseline_codes(array("H", [1, 2, 3]))
    with pytest.raises(ValueError):
        offline.sensor.write_pulse_groups(b"123")


def run(code, **environment):
    """A Python of its own, with the package."""
    environment = {**os.environ, "PYTHONPATH": str(header.PACKAGE), **environment}
    return subprocess.run(
        [sys.executable, "-c", code], env=environment, capture_output=True, text=True, check=False
    )


def test_a_missing_library_is_told_with_what_to_do():
    ended = run("import vrax; vrax.connect()", VRAX_LIBRARY="/nowhere/libvrax.so")
    assert ended.returncode == 1
    last = ended.stderr.strip().splitlines()[-1]
    assert last.startswith("vrax.loading.LibraryNotFoundError: libvrax cannot be loaded (/nowhere")
    assert "VRAX_LIBRARY" in last


def test_the_package_is_imported_and_documented_without_the_library():
    ended = run(
        "import vrax.native; print(vrax.native.VRAXSetAmplitude.__doc__)",
        VRAX_LIBRARY="/nowhere/libvrax.so",
    )
    assert ended.returncode == 0
    assert "millivolts, -40 to 40" in ended.stdout


def test_a_library_that_is_another_one_is_told_so():
    ended = run("import vrax; vrax.connect()", VRAX_LIBRARY="libm.so.6")
    assert ended.returncode == 1
    last = ended.stderr.strip().splitlines()[-1]
    assert last.startswith("vrax.loading.LibraryNotFoundError: libm.so.6 has no VRAX")
