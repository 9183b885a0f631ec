"""Header, export list and binding name the same functions, with the same words."""

from __future__ import annotations

import inspect
import re

import header

from vrax import native
from vrax.loading import NativeFunction

# VRAXSetDCOffsetCommonMode() for languages without a boolean type.
ONLY_NATIVE = {"SetDCOffsetCommoneMode"}


def bound_functions():
    """The functions of vrax.native by name."""
    return dict(inspect.getmembers(native, inspect.isfunction))


def test_header_export_list_and_binding_name_the_same_functions():
    declared = set(header.declarations())
    assert len(declared) > 100
    assert set(header.exported()) == declared
    assert set(bound_functions()) == declared


def test_every_handle_is_bound_to_the_function_of_its_name():
    for name, function in bound_functions().items():
        handle = inspect.getmodule(function).__dict__["_" + name]
        assert isinstance(handle, NativeFunction)
        assert handle.name == name
        assert len(handle.arguments) == len(inspect.signature(function).parameters)


def test_every_parameter_and_result_of_the_header_is_in_the_docstring():
    for name, comment in header.comments().items():
        text = " ".join(bound_functions()[name].__doc__.split())
        for parameter in re.findall(r"@param(?:\[[\w,]+\])?\s+(\w+)", comment):
            assert f"{parameter}: " in text, (name, parameter)
        for value in re.findall(r"@retval\s+(\S+)", comment):
            assert f"{value}: " in text, (name, value)
        for value in re.findall(r"\d+(?:\.\d+)?", comment):
            assert value in text, (name, value)


def test_every_listed_code_has_a_meaning():
    for name, comment in header.comments().items():
        listed = re.findall(r"@retval\s+(\S+)", comment)
        codes = {{"true": 1, "false": 0}.get(value, value) for value in listed}
        codes = {int(code) for code in codes}
        if codes:
            assert set(native.RESULTS[name]) == codes
            assert all(native.RESULTS[name].values()), name


def test_every_function_can_be_reached_without_the_native_names():
    sources = [path.read_text(encoding="utf-8") for path in (header.PACKAGE / "vrax").glob("*.py")]
    used = set(re.findall(r"\bnative\.(\w+)", "\n".join(sources)))
    assert set(header.declarations()) - used == ONLY_NATIVE
