"""Failures as exceptions: which results are failures, and what they mean."""

from __future__ import annotations

from typing import TYPE_CHECKING, Callable, Optional, TypeVar

from vrax import callbacks
from vrax.native.results import RESULTS

if TYPE_CHECKING:
    from typing_extensions import ParamSpec

    P = ParamSpec("P")

R = TypeVar("R")


class VraxError(Exception):
    """A call failed: the name of the function in C, the code that it gave, and what this code of
    this function means."""

    def __init__(self, function: str, code: int, meaning: str) -> None:
        super().__init__(function, code, meaning)
        self.function = function
        self.code = code
        self.meaning = meaning

    def __str__(self) -> str:
        return f"{self.function} gave {self.code}: {self.meaning}"


def failure(function: str, result: object) -> Optional[str]:
    """What a result means when it is a failure, else None.

    Failures are the negative codes of a function, and 0 or false where the function tells success
    by a single positive result. Other results, those of getters among them, never are.
    """
    table = RESULTS.get(function)
    if table is None or not isinstance(result, int):
        return None
    if result < 0 and min(table) < 0:
        return table.get(result, "a code that the library's header does not list")
    if result == 0 and max(table) > 0 and 0 in table:
        return table[0]
    return None


def check(function: str, result: R) -> R:
    """The result, unless it is a failure."""
    meaning = failure(function, result)
    if meaning is not None:
        assert isinstance(result, int)
        raise VraxError(function, int(result), meaning)
    return result


def call(function: Callable[P, R], *args: P.args, **kwargs: P.kwargs) -> R:
    """Calls a function of vrax.native and raises VraxError when it fails.

    An exception that a callback has raised since the last call is raised first, and the function is
    not called then.
    """
    callbacks.raise_pending()
    return check(function.__name__, function(*args, **kwargs))


def ask(function: Callable[P, R], *args: P.args, **kwargs: P.kwargs) -> R:
    """Calls a function of vrax.native whose every result is an answer, none a failure."""
    callbacks.raise_pending()
    return function(*args, **kwargs)


def end(function: Callable[P, R], *args: P.args, **kwargs: P.kwargs) -> R:
    """Calls a function that ends or undoes something: it is called in any case, and what a callback
    has raised is raised afterwards."""
    result = check(function.__name__, function(*args, **kwargs))
    callbacks.raise_pending()
    return result
