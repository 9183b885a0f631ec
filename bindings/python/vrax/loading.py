"""Finds libvrax.so, and calls into it.

The library is loaded with the first call, so that the package can be imported, read and checked
without it.
"""

from __future__ import annotations

import atexit
import ctypes
import ctypes.util
import os
import threading
from typing import Any, Generic, List, Optional, Sequence, TypeVar, cast

R = TypeVar("R")

# The version of the interface that vrax.h describes.
SONAME = "libvrax.so.1"
VARIABLE = "VRAX_LIBRARY"

_lock = threading.Lock()
_library: Optional[ctypes.CDLL] = None


class LibraryNotFoundError(OSError):
    """libvrax.so cannot be loaded, or is not the one that this package is for."""


def _candidates() -> List[str]:
    chosen = os.environ.get(VARIABLE)
    if chosen:
        return [chosen]
    found = ctypes.util.find_library("vrax")
    return [SONAME] if found is None or found == SONAME else [SONAME, found]


def load() -> ctypes.CDLL:
    """The library: the file that the environment variable VRAX_LIBRARY names, else libvrax.so.1
    where the dynamic linker finds it. Loaded once.

    When the interpreter ends, the connection is ended first, so that no thread of the library calls
    into an interpreter that is gone.
    """
    global _library
    with _lock:
        if _library is None:
            library = _open()
            atexit.register(_end, _look_up(library, "VRAXFree"), os.getpid())
            _library = library
        return _library


def _end(free: Any, process: int) -> None:
    # A child of fork() has neither the threads of the library nor the lock of the port.
    if os.getpid() == process:
        free()


def _open() -> ctypes.CDLL:
    reasons = []
    for name in _candidates():
        try:
            return ctypes.CDLL(name)
        except OSError as error:
            reasons.append(str(error))
    raise LibraryNotFoundError(
        f"libvrax cannot be loaded ({'; '.join(reasons)}). Install it, or name the file in the "
        f"environment variable {VARIABLE}."
    )


def _look_up(library: ctypes.CDLL, name: str) -> Any:
    try:
        return getattr(library, name)
    except AttributeError:
        raise LibraryNotFoundError(
            f"{library._name} has no {name}: it is another library, or another version of libvrax"
        ) from None


class NativeFunction(Generic[R]):
    """A function of the library with its exact types, looked up with its first call."""

    def __init__(self, name: str, result: Any, arguments: Sequence[Any]) -> None:
        self.name = name
        self.result = result
        self.arguments = tuple(arguments)
        self._function: Any = None

    def __call__(self, *arguments: object) -> R:
        if len(arguments) != len(self.arguments):
            raise TypeError(
                f"{self.name} takes {len(self.arguments)} arguments, {len(arguments)} were given"
            )
        if self._function is None:
            function = _look_up(load(), self.name)
            function.restype = self.result
            function.argtypes = self.arguments
            self._function = function
        # ctypes takes None for a null pointer, but not for a null function.
        given = [
            kind() if value is None and self._is_callback(kind) else value
            for kind, value in zip(self.arguments, arguments)
        ]
        try:
            return cast(R, self._function(*given))
        except ctypes.ArgumentError as error:
            raise TypeError(f"{self.name}: {error}") from None

    @staticmethod
    def _is_callback(kind: Any) -> bool:
        return isinstance(kind, type) and issubclass(kind, ctypes._CFuncPtr)  # type: ignore
