"""The fixture `instrument` for pytest: simulated by default, real with --vrax-port.

The simulated instrument stands in a private /dev, which a process can only be started in. So when a
collected test uses one of the fixtures, pytest starts again beside the simulated instrument, with
the same arguments; its first header and collection are seen twice. Nothing happens to a run that
uses none, and nothing when pytest was started by `python3 -m vrax.simulated` in the first place.
"""

from __future__ import annotations

import os
import shlex
import subprocess
import sys
from typing import Iterator, List, Optional

import pytest

from vrax import simulated as beside
from vrax.instrument import ANY_PORT, Instrument, connect

FIXTURES = {"instrument", "simulated"}
SCRIPTS = {"pytest", "pytest-3", "py.test", "py.test-3"}
CONNECT_S = 30.0


def pytest_addoption(parser: pytest.Parser) -> None:
    """The options of the command line and of the configuration file."""
    group = parser.getgroup("vrax", "patient-signal simulator")
    group.addoption("--vrax-port", type=int, metavar="N",
                    help="use the real instrument on /dev/ttyACM<N>; -1 for any port")
    group.addoption("--vrax-simulated", metavar="OPTIONS",
                    help="options of the simulated instrument, such as '--ppg 3407'")
    group.addoption("--vrax-record", action="store_true", default=None,
                    help="let the simulated instrument keep every sample")
    parser.addini("vrax_simulated", "options of the simulated instrument", default="")
    parser.addini("vrax_record", "let the simulated instrument keep every sample", type="bool")


def _port(config: pytest.Config) -> Optional[int]:
    port: Optional[int] = config.getoption("--vrax-port")
    return port


def _options(config: pytest.Config) -> List[str]:
    given = config.getoption("--vrax-simulated")
    options = shlex.split(config.getini("vrax_simulated") if given is None else given)
    is_recorded = config.getoption("--vrax-record") or config.getini("vrax_record")
    return options + ([beside.RECORD] if is_recorded else [])


def _needs_start(session: pytest.Session) -> bool:
    config = session.config
    if _port(config) is not None or beside.Simulated.here() is not None:
        return False
    # Collection errors are pytest's to tell, and the workers of a distributed run have no terminal.
    if session.testsfailed or config.option.collectonly or hasattr(config, "workerinput"):
        return False
    return any(FIXTURES & set(getattr(item, "fixturenames", ())) for item in session.items)


def pytest_runtestloop(session: pytest.Session) -> None:
    """Starts pytest again beside the simulated instrument, when a test needs it. Plugins are asked
    before pytest's own loop."""
    if _needs_start(session):
        try:
            beside.program()
        except FileNotFoundError as error:
            raise pytest.UsageError(f"{error} With --vrax-port none is needed.") from None
        _start_again(session.config)


def _start_again(config: pytest.Config) -> None:
    own = [sys.argv[0]] if os.path.basename(sys.argv[0]) in SCRIPTS else ["-m", "pytest"]
    # The interpreter's own options, such as -X and -W, belong to the second start as well.
    flags = subprocess._args_from_interpreter_flags()  # type: ignore[attr-defined]
    command = [sys.executable, *flags, *own, *config.invocation_params.args]
    capture = config.pluginmanager.getplugin("capturemanager")
    if capture is not None:
        capture.stop_global_capturing()
    sys.stdout.write("\n== again, beside the simulated instrument ==\n")
    sys.stdout.flush()
    sys.stderr.flush()
    os.chdir(config.invocation_params.dir)
    start = [sys.executable, beside.__file__, *_options(config), "--", *command]
    os.execv(sys.executable, [os.fspath(word) for word in start])


@pytest.fixture
def instrument(request: pytest.FixtureRequest) -> Iterator[Instrument]:
    """A connected instrument with the parameters of a fresh start, closed after the test."""
    port = _port(request.config)
    if port is None and beside.Simulated.here() is None:
        pytest.fail(
            "there is no simulated instrument in a worker of a distributed run: give --vrax-port, "
            "or run without distribution"
        )
    connected = connect(None if port in (None, ANY_PORT) else port, timeout=CONNECT_S)
    try:
        connected.reset()
        yield connected
    finally:
        connected.close()


@pytest.fixture
def simulated(request: pytest.FixtureRequest) -> beside.Simulated:
    """The simulated instrument: control lines, and what it was sent. Skips with a real one."""
    here = beside.Simulated.here()
    if _port(request.config) is not None or here is None:
        pytest.skip("needs the simulated instrument")
    return here
