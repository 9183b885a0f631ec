"""What the parts of an Instrument are made of: properties and methods that are one function of the
library each, with that function's documentation."""

from __future__ import annotations

import functools
from typing import TYPE_CHECKING, Any, Callable, Generic, Optional, Type, TypeVar, Union, overload

from vrax.errors import ask, call

if TYPE_CHECKING:
    from typing_extensions import ParamSpec

    P = ParamSpec("P")

R = TypeVar("R")
T = TypeVar("T")


class Reading(Generic[T]):
    """A property that can be read."""

    def __init__(self, get: Callable[[], T]) -> None:
        self._get = get
        self.__doc__ = get.__doc__

    @overload
    def __get__(self, instance: None, owner: Type[Any]) -> "Reading[T]": ...

    @overload
    def __get__(self, instance: object, owner: Type[Any]) -> T: ...

    def __get__(self, instance: Optional[object], owner: Type[Any]) -> Union["Reading[T]", T]:
        if instance is None:
            return self
        value: T = ask(self._get)
        return value

    def __set__(self, instance: object, value: Any) -> None:
        raise AttributeError(f"{self._get.__name__} has no counterpart that sets")


class Parameter(Generic[T]):
    """A property that can be read and set; VraxError when the library refuses the value."""

    def __init__(self, get: Callable[[], T], set: Callable[[T], object]) -> None:
        self._get = get
        self._set = set
        self.__doc__ = set.__doc__

    @overload
    def __get__(self, instance: None, owner: Type[Any]) -> "Parameter[T]": ...

    @overload
    def __get__(self, instance: object, owner: Type[Any]) -> T: ...

    def __get__(self, instance: Optional[object], owner: Type[Any]) -> Union["Parameter[T]", T]:
        if instance is None:
            return self
        value: T = ask(self._get)
        return value

    def __set__(self, instance: object, value: T) -> None:
        call(self._set, value)


def command(function: Callable[P, object]) -> Callable[P, None]:
    """A method that does something, or raises VraxError."""

    @functools.wraps(function)
    def run(*args: P.args, **kwargs: P.kwargs) -> None:
        call(function, *args, **kwargs)

    return run


def query(function: Callable[P, R]) -> Callable[P, R]:
    """A method that gives what the library gives, or raises VraxError."""

    @functools.wraps(function)
    def run(*args: P.args, **kwargs: P.kwargs) -> R:
        return call(function, *args, **kwargs)

    return run


def text(value: Optional[bytes]) -> str:
    """A string of the library."""
    return (value or b"").decode("utf-8", "surrogateescape")
