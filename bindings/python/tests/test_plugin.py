"""The plugin for pytest, as a user runs it: pytest in a folder of its own."""

from __future__ import annotations

import os
import subprocess
import sys

import header
import pytest

from vrax import simulated

USES = "def test_it(instrument):\n    assert instrument.information.serial == 'TEC1020-250042'\n"


@pytest.fixture
def run_pytest(tmp_path):
    """Runs pytest over a test file, beside no instrument unless one is put before it."""

    def run(test, *options, before=(), **environment):
        (tmp_path / "conftest.py").write_text('pytest_plugins = ["vrax.pytest_plugin"]\n')
        (tmp_path / "test_here.py").write_text(test)
        variables = {**os.environ, "PYTHONPATH": str(header.PACKAGE), **environment}
        variables.pop(simulated.FOLDER_VARIABLE, None)
        own = [sys.executable, "-m", "pytest", "-p", "no:cacheprovider", "-q"]
        return subprocess.run(
            [*before, *own, *options, "."],
            cwd=tmp_path, env=variables, capture_output=True, text=True, check=False,
        )

    return run


AGAIN = "again, beside the simulated instrument"


def test_a_plain_run_gets_the_simulated_instrument(run_pytest):
    ended = run_pytest(USES)
    assert ended.returncode == 0, ended.stdout + ended.stderr
    assert AGAIN in ended.stdout
    assert "1 passed" in ended.stdout


def test_a_failure_is_the_status_of_the_run(run_pytest):
    ended = run_pytest("def test_it(instrument):\n    assert not instrument.is_connected\n")
    assert ended.returncode == 1
    assert "1 failed" in ended.stdout


def test_options_select_the_simulated_instrument(run_pytest):
    test = "def test_it(instrument):\n    assert instrument.has_ppg\n"
    assert run_pytest(test, "--vrax-simulated=--ppg 3407").returncode == 0
    assert run_pytest(test).returncode == 1


def test_a_run_that_needs_no_instrument_is_left_alone(run_pytest):
    ended = run_pytest("def test_it():\n    pass\n", VRAX_INSTRUMENT="/nowhere")
    assert ended.returncode == 0
    assert AGAIN not in ended.stdout


def test_a_missing_program_is_told_with_what_to_do(run_pytest):
    ended = run_pytest(USES, VRAX_INSTRUMENT="/nowhere")
    assert ended.returncode == 4
    assert "VRAX_INSTRUMENT" in ended.stderr
    assert "--vrax-port" in ended.stderr


def test_a_port_is_used_as_it_is(run_pytest):
    # An instrument that the plugin does not know of, as a real one would be.
    other = [simulated.program(), "--port", "3", "--serial", "7", "--"]
    test = (
        "def test_real(instrument):\n"
        "    assert instrument.information.serial.endswith('0007')\n"
        "def test_simulated(simulated):\n"
        "    assert False\n"
    )
    for port in ("3", "-1"):
        ended = run_pytest(test, f"--vrax-port={port}", before=other)
        assert ended.returncode == 0, ended.stdout + ended.stderr
        assert AGAIN not in ended.stdout
        assert "1 passed, 1 skipped" in ended.stdout


def test_each_test_starts_with_fresh_parameters_and_no_callbacks(run_pytest):
    test = (
        "import pytest, vrax\n"
        "@pytest.mark.parametrize('number', [1, 2])\n"
        "def test_it(instrument, number):\n"
        "    assert instrument.ecg.amplitude == 1.0\n"
        "    assert not instrument.is_playing\n"
        "    instrument.ecg.amplitude = 2.0\n"
        "    instrument.play(vrax.OutputFunction.SINE)\n"
    )
    ended = run_pytest(test)
    assert "2 passed" in ended.stdout, ended.stdout


def test_what_a_callback_raises_at_the_end_is_told_with_its_test(run_pytest):
    test = (
        "import threading, vrax\n"
        "def test_it(instrument):\n"
        "    called = threading.Event()\n"
        "    def fail(time, mv):\n"
        "        called.set()\n"
        "        raise LookupError\n"
        "    instrument.events.on_signal(fail)\n"
        "    instrument.play(vrax.OutputFunction.SINE)\n"
        "    assert called.wait(60)\n"
    )
    ended = run_pytest(test)
    assert ended.returncode == 1
    assert "LookupError" in ended.stdout
    assert "1 passed, 1 error" in ended.stdout


def test_any_command_runs_beside_the_simulated_instrument():
    code = "import vrax; print(vrax.connect(timeout=30).information.serial)"
    own = [sys.executable, "-m", "vrax.simulated", "--serial", "9", "--"]
    environment = {**os.environ, "PYTHONPATH": str(header.PACKAGE)}
    python = [sys.executable, "-c", code]
    ended = subprocess.run(
        own + python, env=environment, capture_output=True, text=True, check=False
    )
    assert (ended.returncode, ended.stdout) == (0, "TEC1020-250009\n"), ended.stderr
    status = subprocess.run([*own, "sh", "-c", "exit 7"], env=environment, check=False)
    assert status.returncode == 7
