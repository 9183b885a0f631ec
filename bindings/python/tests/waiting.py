"""Waiting for what comes in its own time."""

from __future__ import annotations

import time

POLL_S = 0.005


def eventually(condition, seconds=60.0):
    """Whether the condition holds before the time is over; it is asked until then."""
    deadline = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > deadline:
            return False
        time.sleep(POLL_S)
    return True
