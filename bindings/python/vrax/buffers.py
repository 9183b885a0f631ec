"""Samples and codes between Python and C, without a package for arrays: sequences, array.array and
whatever else has a buffer of the right kind."""

from __future__ import annotations

import ctypes
import os
from array import array
from typing import TYPE_CHECKING, Any, Sequence, Type, Union

if TYPE_CHECKING:
    from ctypes import Array, _Pointer

    Samples = Union[Sequence[float], array[float], memoryview]
    Codes = Union[Sequence[int], array[int], memoryview]
    Path = Union[str, bytes, os.PathLike[str], os.PathLike[bytes]]


def doubles(samples: Samples) -> Array[ctypes.c_double]:
    """The samples for a parameter of type double*."""
    return _take(ctypes.c_double, "d", samples)


def codes(values: Codes, kind: Type[Any], typecode: str) -> Array[Any]:
    """Whole numbers for a parameter of type kind*; OverflowError for one that does not fit."""
    return _take(kind, typecode, values)


def _take(kind: Type[Any], typecode: str, values: Any) -> Array[Any]:
    taken = values if isinstance(values, array) and values.typecode == typecode else None
    if taken is None:
        if isinstance(values, (bytes, bytearray)):
            values = memoryview(values)  # array takes bytes as the memory of its numbers
        taken = array(typecode, values)
    buffer: Array[Any] = (kind * len(taken)).from_buffer(taken)
    return buffer


def copied(pointer: _Pointer[Any], count: int, typecode: str) -> array[Any]:
    """A copy of what belongs to the library."""
    result: array[Any] = array(typecode)
    result.frombytes(ctypes.string_at(pointer, count * result.itemsize))
    return result


def path_bytes(path: Path) -> bytes:
    """A path as the library takes it."""
    return os.fsencode(path)
