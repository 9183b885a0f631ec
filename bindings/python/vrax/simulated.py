"""The simulated instrument: running a command beside it, and asking it what it was sent.

    python3 -m vrax.simulated [OPTIONS] -- COMMAND [ARGUMENTS]

runs COMMAND with a private /dev, where /dev/ttyACM0 is the simulated instrument, and ends with its
status. OPTIONS are those of the program vrax-instrument, such as --ppg 3407. The program is the one
that the environment variable VRAX_INSTRUMENT names, else vrax-instrument on the path. No root is
needed where user namespaces are allowed.
"""

from __future__ import annotations

import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path
from typing import Callable, List, NamedTuple, Optional, Sequence

# Nothing of this package is imported here: the plugin for pytest starts this file by its path.

PROGRAM = "vrax-instrument"
PROGRAM_VARIABLE = "VRAX_INSTRUMENT"
FOLDER_VARIABLE = "VRAX_SIMULATED"
RECORD = "--record"
POLL_S = 0.01


def program() -> str:
    """The program vrax-instrument; FileNotFoundError when there is none."""
    chosen = os.environ.get(PROGRAM_VARIABLE) or shutil.which(PROGRAM)
    if not chosen or not os.access(chosen, os.X_OK):
        raise FileNotFoundError(
            f"the simulated instrument ({chosen or PROGRAM}) is not there. Install it, or name the "
            f"program in the environment variable {PROGRAM_VARIABLE}."
        )
    return chosen


def run(options: Sequence[str], command: Sequence[str], record: bool = False) -> int:
    """Runs a command beside the simulated instrument and gives its status.

    Parameters:
        options: of vrax-instrument
        command: the program and its arguments
        record: keeps every sample for Simulated.samples(), a megabyte for each second that plays
    """
    with tempfile.TemporaryDirectory(prefix="vrax-") as folder:
        files = ["--control", f"{folder}/control", "--trace", f"{folder}/trace"]
        files += [RECORD, f"{folder}/samples"] if record else []
        environment = {**os.environ, FOLDER_VARIABLE: folder}
        child = subprocess.Popen([program(), *files, *options, "--", *command], env=environment)
        # What the terminal sends reaches the command as well; it decides what comes of it.
        before = signal.signal(signal.SIGINT, signal.SIG_IGN)
        try:
            return child.wait()
        finally:
            signal.signal(signal.SIGINT, before)


class Exchange(NamedTuple):
    """A request that the instrument took, and its reply."""

    seconds: float
    kind: str
    request: bytes  # empty for stream packets
    reply: Optional[bytes]
    text: str


class Sample(NamedTuple):
    """A sample of the stream, in millivolts as the instrument made them from the codes."""

    seconds: float
    dc: float
    ac: float
    marker: bool
    pulse: float


class Simulated:
    """The simulated instrument beside which this process runs."""

    def __init__(self, folder: str) -> None:
        self._folder = Path(folder)

    @classmethod
    def here(cls) -> "Optional[Simulated]":
        """The one of this process, or None when it does not run beside one."""
        folder = os.environ.get(FOLDER_VARIABLE)
        return cls(folder) if folder else None

    def tell(self, line: str) -> None:
        """Gives it a control line: "unplug", "plug", "silence 3", "late 50 on stream"..."""
        with open(self._folder / "control", "w", encoding="utf-8") as control:
            control.write(line + "\n")

    def exchanges(self) -> List[Exchange]:
        """Every exchange so far, refused requests left out."""
        found: List[Exchange] = []
        for line in self._lines("trace"):
            seconds, mark, rest = line[:12].strip(), line[13:14], line[15:]
            if mark == ">":
                kind, _, words = rest.partition(": ")
                request = b"" if kind == "stream packet" else _bytes(words)
                found.append(Exchange(float(seconds), kind, request, None, rest))
            elif mark == "<" and found and seconds:
                found[-1] = found[-1]._replace(reply=_bytes(rest.partition(" after ")[0]))
        return found

    def wait_for(
        self, wanted: Callable[[Exchange], bool], count: int = 1, timeout: float = 20.0
    ) -> List[Exchange]:
        """The exchanges that are wanted, as soon as there are so many; TimeoutError otherwise."""
        deadline = time.monotonic() + timeout
        while True:
            found = [exchange for exchange in self.exchanges() if wanted(exchange)]
            if len(found) >= count:
                return found
            if time.monotonic() > deadline:
                raise TimeoutError(f"{len(found)} of {count} exchanges within {timeout} s")
            time.sleep(POLL_S)

    def samples(self) -> List[Sample]:
        """The samples so far; the last few are still to be written. Needs a recording."""
        if not (self._folder / "samples").exists():
            raise RuntimeError("nothing is recorded: run(record=True), pytest --vrax-record")
        rows = [line.split(",") for line in self._lines("samples")[1:]]
        return [
            Sample(float(row[0]), float(row[1]), float(row[2]), row[3] == "1", float(row[4]))
            for row in rows
        ]

    def _lines(self, name: str) -> List[str]:
        text = (self._folder / name).read_text(encoding="utf-8")
        return text[: text.rfind("\n") + 1].splitlines()


def _bytes(words: str) -> bytes:
    """The bytes of a trace, where "00 x60" stands for so many zeros at the end."""
    shown, _, zeros = words.partition("00 x")
    return bytes.fromhex(shown) + bytes(int(zeros or 0))


def main(arguments: List[str]) -> int:
    """The command line."""
    if "--" not in arguments or arguments[-1] == "--":
        print((__doc__ or "").strip(), file=sys.stderr)
        return 0 if arguments in (["--help"], ["-h"]) else 2
    at = arguments.index("--")
    options, command = arguments[:at], arguments[at + 1 :]
    # A plain --record is for Simulated.samples(); with a file it is vrax-instrument's.
    record = options[-1:] == [RECORD]
    try:
        return run(options[:-1] if record else options, command, record)
    except FileNotFoundError as error:
        print(f"vrax.simulated: {error}", file=sys.stderr)
        return 127


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
