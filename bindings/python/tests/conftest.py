"""Fixtures of these tests."""

from __future__ import annotations

import threading

import pytest

import vrax

WAIT_S = 60.0


@pytest.fixture
def offline():
    """Parameters and signals without an instrument."""
    with vrax.listen() as instrument:
        yield instrument


class Calls:
    """A callback that keeps what it was called with, and can be awaited."""

    def __init__(self, act=None):
        self.seen = []
        self._act = act
        self._changed = threading.Condition()

    def __call__(self, *arguments):
        with self._changed:
            self.seen.append((threading.get_ident(), arguments))
            self._changed.notify_all()
        if self._act is not None:
            self._act(*arguments)

    def wait(self, count=1):
        """The arguments of the calls, as soon as there are so many."""
        with self._changed:
            assert self._changed.wait_for(lambda: len(self.seen) >= count, WAIT_S)
            return [arguments for _, arguments in self.seen]


@pytest.fixture
def calls():
    """Makes callbacks that can be awaited."""
    return Calls
