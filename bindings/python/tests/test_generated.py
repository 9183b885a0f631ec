"""The package vrax.native is what its generator makes of the header, and so are its types."""

from __future__ import annotations

import ctypes
import re
import shutil
import subprocess
import sys

import header
import pytest

from vrax import native
from vrax.native import types

GENERATOR = header.PACKAGE / "tools" / "generate_native.py"
NATIVE = header.PACKAGE / "vrax" / "native"

C_NAMES = {
    ctypes.c_bool: "_Bool",
    ctypes.c_char: "char",
    ctypes.c_ubyte: "unsigned char",
    ctypes.c_ushort: "unsigned short",
    ctypes.c_int: "int",
    ctypes.c_uint: "unsigned int",
    ctypes.c_long: "long",
    ctypes.c_ulong: "unsigned long",
    ctypes.c_double: "double",
    ctypes.c_char_p: "char*",
    ctypes.c_void_p: "void*",
    None: "void",
}
RECORDS = (
    types.MODEL_INFORMATION,
    types.VRAXHardwareInformation,
    types.VRAXDeviceFeature,
    types.PPG_WAVEFORM,
)


def check(header_path, folder):
    """The generator's comparison, as a finished process."""
    command = [sys.executable, str(GENERATOR), "--check", str(header_path), str(folder)]
    return subprocess.run(command, capture_output=True, text=True, check=False)


def test_package_is_what_the_header_gives():
    compared = check(header.HEADER, NATIVE)
    assert (compared.returncode, compared.stderr) == (0, "")


@pytest.mark.parametrize(
    "old, new, file",
    [
        ("VRAXSetAmplitude(double amplitude)", "VRAXSetAmplitude(int amplitude)", "signal.py"),
        ("millivolts, -40 to 40", "millivolts, -41 to 40", "signal.py"),
        ("refused while a frequency scan runs", "refused", "results.py"),
        ("OUTPUT_SINE = 1,", "OUTPUT_SINE = 2,", "types.py"),
        ("int32_t timeBase; ", "double timeBase; ", "types.py"),
    ],
)
def test_a_change_of_the_header_is_noticed(tmp_path, old, new, file):
    text = header.HEADER.read_text(encoding="utf-8")
    assert text.count(old) >= 1
    changed = tmp_path / "vrax.h"
    changed.write_text(text.replace(old, new), encoding="utf-8")
    compared = check(changed, NATIVE)
    assert compared.returncode == 1
    assert file in compared.stderr


def test_a_file_that_is_not_of_the_package_is_noticed(tmp_path):
    folder = tmp_path / "native"
    shutil.copytree(NATIVE, folder)
    (folder / "older.py").write_text("", encoding="utf-8")
    assert "older.py" in check(header.HEADER, folder).stderr


def test_a_declaration_that_is_not_understood_is_refused(tmp_path):
    text = header.HEADER.read_text(encoding="utf-8")
    changed = tmp_path / "vrax.h"
    # Without a comment before it.
    text = text.replace("#undef VRAX_CHECK_SIZE", "VRAX_API int VRAXNew(void);\n")
    changed.write_text(text, encoding="utf-8")
    assert "HeaderError" in check(changed, NATIVE).stderr


def c_type(kind, has_const, text):
    """The C type that a ctypes type stands for."""
    const = "const " if has_const else ""
    if "VRAXSynchronizationSignal" in text:
        return "VRAXSynchronizationSignal"
    if kind in C_NAMES:
        return const + C_NAMES[kind]
    if isinstance(kind, type) and issubclass(kind, ctypes._CFuncPtr):
        results = [kind._restype_, *kind._argtypes_]
        names = [C_NAMES[part] for part in results]
        return f"{names[0]} (*)({', '.join(names[1:])})"
    if issubclass(kind, ctypes.Structure):
        return const + kind.__name__
    return f"{const}{c_type(kind._type_, False, '')}*"


def prototype_assertion(name, declaration):
    """A line of C that compiles when the binding's types are those of the header."""
    handle = sys.modules[getattr(native, name).__module__].__dict__["_" + name]
    result_text, parameters = declaration.split(name + "(")
    texts = parameters.rstrip(")").split(",")
    kinds = [
        c_type(kind, "const" in text, text) for kind, text in zip(handle.arguments, texts)
    ]
    result = c_type(handle.result, "const" in result_text, result_text)
    pointer = f"{result} (*)({', '.join(kinds) or 'void'})"
    same = f"__builtin_types_compatible_p(__typeof__(&{name}), {pointer})"
    return f'_Static_assert({same}, "{name}");\n'


def test_the_compiler_finds_the_types_of_every_function_and_record_in_the_binding(tmp_path):
    compiler = shutil.which("cc") or shutil.which("gcc")
    if compiler is None:
        pytest.skip("there is no C compiler")
    text = f'#include <stddef.h>\n#include "{header.HEADER}"\n'
    for name, declaration in header.declarations().items():
        text += prototype_assertion(name, declaration)
    for record in RECORDS:
        text += f'_Static_assert(sizeof({record.__name__}) == {ctypes.sizeof(record)}, "size");\n'
        for field, _ in record._fields_:
            offset = getattr(record, field).offset
            place = f"offsetof({record.__name__}, {field})"
            text += f'_Static_assert({place} == {offset}, "{field}");\n'
    source = tmp_path / "types.c"
    source.write_text(text, encoding="utf-8")
    command = [compiler, "-std=gnu11", "-fsyntax-only", str(source)]
    compiled = subprocess.run(command, capture_output=True, text=True, check=False)
    assert (compiled.returncode, compiled.stderr) == (0, "")


def test_output_functions_and_burn_stages_have_the_values_of_the_header():
    text = header.without_comments(header.HEADER.read_text(encoding="utf-8"))
    found = {name: int(value) for name, value in re.findall(r"\b([A-Z]\w+) = (\d+)", text)}
    bound = {**types.OutputFunction_E.__members__, **types.BurnStage_E.__members__}
    assert len(found) == 25
    assert {name: int(bound[name]) for name in found} == found
    assert bound["ECG"] == found["OUTPUT_ECG"]
