#!/usr/bin/env python3
"""Writes the package vrax.native from vrax.h: types, functions, docstrings and result tables.

    generate_native.py vrax.h vrax/native            writes the package
    generate_native.py --check vrax.h vrax/native    tells what differs, status 1 when anything does

What it writes is kept in the tree, so that the package needs neither the header nor this program.
"""

from __future__ import annotations

import re
import sys
import textwrap
from pathlib import Path
from typing import Dict, List

from c_header import Comment, Enumeration, Function, Group, Header, Structure, read_header

WIDTH = 100
NOTICE = "# Written by tools/generate_native.py from vrax.h; changes belong there.\n"

NUMBERS = {
    "bool": ("c_bool", "bool"),
    "int": ("c_int", "int"),
    "unsigned": ("c_uint", "int"),
    "unsigned int": ("c_uint", "int"),
    "unsigned short": ("c_ushort", "int"),
    "unsigned char": ("c_ubyte", "int"),
    "char": ("c_char", "bytes"),
    "double": ("c_double", "float"),
    "long": ("c_long", "int"),
    "size_t": ("c_size_t", "int"),
    "int32_t": ("c_int32", "int"),
    "uint32_t": ("c_uint32", "int"),
    "uint16_t": ("c_uint16", "int"),
}


class Types:
    """The ctypes type and the annotation of each C type."""

    def __init__(self, header: Header) -> None:
        self.callbacks = {callback.name for callback in header.callbacks}
        self.structures = {structure.name for structure in header.structures}
        self.handles = {name for name, _ in header.handles}
        self.numbers = {name: (name, "int") for name, _, _ in header.numbers}

    def native(self, ctype: str) -> str:
        base, stars = self._split(ctype)
        if base == "char" and stars == 1:
            return "c_char_p"
        if base == "void":
            return "c_void_p" if stars else "None"
        if base in self.callbacks or base in self.handles:
            return base
        name = base if base in self.structures else self._number(base)[0]
        for _ in range(stars):
            name = f"POINTER({name})"
        return name

    def annotation(self, ctype: str, returned: bool) -> str:
        base, stars = self._split(ctype)
        if base in self.callbacks:
            return "Callback"
        if base in self.handles:
            return "Optional[int]"
        if base == "char" and stars == 1:
            return "Optional[bytes]"
        if base == "void":
            return "Address" if stars else "None"
        if not stars:
            return base if base in self.structures else self._number(base)[1]
        target = base if base in self.structures else self._number(base)[0]
        for _ in range(stars - 1):
            target = f"_Pointer[{target}]"
        return f"_Pointer[{target}]" if returned else f"PointerTo[{target}]"

    def _number(self, base: str) -> "tuple[str, str]":
        return self.numbers[base] if base in self.numbers else NUMBERS[base]

    @staticmethod
    def _split(ctype: str) -> "tuple[str, int]":
        return ctype.replace("const ", "").replace("*", "").strip(), ctype.count("*")


def plain(text: str) -> str:
    """Without the marks that only the reference needs."""
    return re.sub(r"#(\w+)", r"\1", text).replace("\\", "\\\\")


def wrap(text: str, indent: int, hanging: int = 0) -> List[str]:
    pad = " " * indent
    return textwrap.wrap(
        plain(text), WIDTH, initial_indent=pad, subsequent_indent=pad + " " * hanging,
        break_long_words=False, break_on_hyphens=False,
    )


def paragraph(text: str, indent: int) -> List[str]:
    """A paragraph, or a list that keeps its points."""
    lines: List[str] = []
    for point in re.split(r"\n(?=- |\d\. )", text):
        hanging = 2 if re.match(r"- |\d\. ", point) else 0
        if "|" in point:
            lines += [" " * indent + plain(line) for line in point.split("\n")]
        else:
            lines += wrap(" ".join(point.split()), indent, hanging)
    return lines


def docstring(comment: Comment, indent: int) -> List[str]:
    """The comment as a docstring, with its quotes."""
    pad = " " * indent
    paragraphs = list(comment.paragraphs)
    returns = comment.returns
    if not paragraphs and not comment.parameters and not comment.results:
        paragraphs, returns = ["Returns " + returns], ""
    lines: List[str] = []
    for text in paragraphs or [""]:
        lines += paragraph(text, indent) if lines else paragraph('"""' + text, indent)
        lines += [""]
    if comment.parameters:
        lines += [pad + "Parameters:"]
        for name, text in comment.parameters:
            lines += wrap(f"{name}: {text}", indent + 4, 4)
        lines += [""]
    if returns or comment.results:
        lines += [pad + "Returns:"]
        lines += wrap(returns, indent + 4, 4) if returns else []
        for value, text in comment.results:
            lines += wrap(f"{value}: {text}", indent + 4, 4)
        lines += [""]
    lines.pop()
    if not paragraphs:  # the quotes go before the first heading
        lines[:3] = [pad + '"""' + lines[2].strip()]
    if len(lines) == 1 and len(lines[0]) + 3 <= WIDTH and not lines[0].endswith('"'):
        return [lines[0] + '"""']
    return lines + [pad + '"""']


def function_text(function: Function, types: Types) -> str:
    result = types.annotation(function.result, returned=True)
    arguments = "".join(types.native(p.ctype) + ", " for p in function.parameters).rstrip()
    handle = f"_{function.name}"
    head = f"{handle}: NativeFunction[{result}] = NativeFunction("
    lines = [head]
    lines += wrap(f'"{function.name}", {types.native(function.result)}, ({arguments})', 4)
    lines += [")", "", ""]
    parameters = [
        f"{p.name}: {types.annotation(p.ctype, returned=False)}" for p in function.parameters
    ]
    one_line = f"def {function.name}({', '.join(parameters)}) -> {result}:"
    if len(one_line) <= WIDTH:
        lines += [one_line]
    else:
        lines += [f"def {function.name}("] + wrap(", ".join(parameters) + ",", 4)
        lines += [f") -> {result}:"]
    lines += docstring(function.comment, 4)
    call = f"{handle}({', '.join(p.name for p in function.parameters)})"
    give = "" if result == "None" else "return "
    lines += textwrap.wrap(give + call, WIDTH, initial_indent="    ", subsequent_indent=" " * 8)
    return "\n".join(lines) + "\n"


def used(names: List[str], text: str) -> List[str]:
    return [name for name in names if re.search(rf"\b{name}\b", text)]


def import_lines(module: str, names: List[str], indent: int) -> List[str]:
    pad = " " * indent
    line = f"{pad}from {module} import {', '.join(names)}"
    if len(line) <= WIDTH:
        return [line]
    return [f"{pad}from {module} import ("] + wrap(", ".join(names) + ",", indent + 4) + [pad + ")"]


def group_text(group: Group, types: Types) -> str:
    body = "\n\n".join(function_text(function, types) for function in group.functions)
    native = "".join(types.native(p.ctype) + " " for f in group.functions for p in f.parameters)
    native += "".join(types.native(f.result) + " " for f in group.functions)
    own = sorted(types.structures | types.callbacks | types.handles | set(types.numbers))
    ctypes_names = used(["POINTER"] + sorted({name for name, _ in NUMBERS.values()})
                        + ["c_char_p", "c_void_p"], native)
    lines = docstring(Comment([group.title + "."] + group.comment.paragraphs), 0)
    lines += ["", NOTICE, "from __future__ import annotations", ""]
    if ctypes_names:
        lines += [f"from ctypes import {', '.join(ctypes_names)}"]
    own_native = used(own, native)
    own_noted = [name for name in used(own, body) if name not in own_native]
    own_noted += used(["Address", "Callback", "PointerTo"], body)
    pointer = used(["_Pointer"], body)
    names = (["TYPE_CHECKING"] if own_noted or pointer else []) + used(["Optional"], body)
    if names:
        lines += [f"from typing import {', '.join(names)}"]
    lines += ["", "from vrax.loading import NativeFunction"]
    if own_native:
        lines += import_lines("vrax.native.types", own_native, 0)
    if own_noted or pointer:
        lines += ["", "if TYPE_CHECKING:"]
        lines += ["    from ctypes import _Pointer", ""] if pointer else []
        lines += import_lines("vrax.native.types", own_noted, 4) if own_noted else []
    lines += ["", "__all__ = ["]
    lines += [f'    "{function.name}",' for function in group.functions] + ["]", "", ""]
    return "\n".join(lines) + body


def structure_text(structure: Structure, types: Types) -> str:
    lines = [f"class {structure.name}(Structure):"]
    doc = docstring(structure.comment, 4)
    if len(doc) == 1:
        doc = [doc[0][:-3]] + ['    """']
    lines += doc[:-1] + ["", "    Fields:"]
    for field in structure.fields:
        lines += wrap(f"{field.name}: {field.text}" if field.text else field.name, 8, 4)
    lines += ['    """', "", f"    SIZE = {structure.size}", "    _fields_ = ["]
    for field in structure.fields:
        ctype = types.native(field.ctype) + (f" * {field.count}" if field.count else "")
        lines += [f'        ("{field.name}", {ctype}),']
    lines += ["    ]", "", "    if TYPE_CHECKING:"]
    for field in structure.fields:
        annotation = types.annotation(field.ctype, returned=False)
        if field.count:
            is_text = annotation == "bytes"
            annotation = "bytes" if is_text else f"Array[{types.native(field.ctype)}]"
        lines += [f"        {field.name}: {annotation}"]
    return "\n".join(lines) + "\n"


def enumeration_text(enumeration: Enumeration) -> str:
    names = [name for name, _, _ in enumeration.members]
    prefix = names[0][: names[0].index("_") + 1]
    lines = [f"class {enumeration.name}(IntEnum):"]
    doc = docstring(enumeration.comment, 4)
    lines += [doc[0][:-3], "", "    Each value has its name in C and the same without the prefix.",
              '    """', ""]
    for name, value, text in enumeration.members:
        lines += wrap("# " + text, 4)
        lines += [f"    {name} = {value}", f"    {name.replace(prefix, '', 1)} = {value}"]
    return "\n".join(lines) + "\n"


TYPES_HEAD = '''"""Records, enumerations and callback types of vrax.h."""

{notice}
from __future__ import annotations

from ctypes import (
{ctypes}
)
from enum import IntEnum
from typing import TYPE_CHECKING, Any, Optional, TypeVar, Union

if TYPE_CHECKING:
    from ctypes import Array, _CArgObject, _CData, _FuncPointer, _Pointer

    _Target = TypeVar("_Target", bound=_CData)
    # What C takes for a pointer: an array, a pointer, byref(), or None for null.
    PointerTo = Union[Array[_Target], _Pointer[_Target], _CArgObject, None]
    Address = Union[Array[Any], _Pointer[Any], _CArgObject, bytes, int, None]
    Callback = Optional[_FuncPointer]

'''


def types_text(header: Header, types: Types) -> str:
    blocks = []
    for name, base, comment in header.numbers:
        blocks.append(f"{name} = {types.native(base)}\n" + "\n".join(docstring(comment, 0)) + "\n")
    for name, comment in header.handles:
        blocks.append(f"{name} = c_void_p\n" + "\n".join(docstring(comment, 0)) + "\n")
    blocks += ["\n" + enumeration_text(enumeration) for enumeration in header.enumerations]
    blocks += ["\n" + structure_text(structure, types) for structure in header.structures]
    callbacks = []
    for callback in header.callbacks:
        kinds = [types.native(callback.result)]
        kinds += [types.native(parameter.ctype) for parameter in callback.parameters]
        arguments = ", ".join(f"{p.ctype} {p.name}" for p in callback.parameters)
        comment = Comment([f"Called with ({arguments})."] + callback.comment.paragraphs,
                          callback.comment.parameters, callback.comment.returns)
        callbacks.append(f"{callback.name} = CFUNCTYPE({', '.join(kinds)})\n"
                         + "\n".join(docstring(comment, 0)) + "\n")
    body = "\n".join(blocks) + "\n\n" + "\n".join(callbacks)
    names = ["CFUNCTYPE", "Structure"]
    names += used(sorted({name for name, _ in NUMBERS.values()}) + ["c_char_p", "c_void_p"], body)
    imports = "\n".join(wrap(", ".join(names) + ",", 4))
    return TYPES_HEAD.format(notice=NOTICE, ctypes=imports) + body


def result_table(function: Function, functions: Dict[str, Function]) -> Dict[int, str]:
    """What each single result of a function means; those of another where it refers to that."""
    table = {
        {"true": 1, "false": 0}[value] if value in ("true", "false") else int(value): plain(text)
        for value, text in function.comment.results
    }
    reference = re.search(r"\b[Aa]s (\w+)\(\)\.?$", function.comment.returns)
    if not table and reference is not None:
        return result_table(functions[reference.group(1)], functions)
    return table


def results_text(header: Header) -> str:
    functions = {function.name: function for function in header.functions()}
    lines = ['"""What the single results of each function mean; true is 1, false 0."""', "", NOTICE,
             "from __future__ import annotations", "", "from typing import Dict", "",
             "RESULTS: Dict[str, Dict[int, str]] = {"]
    for name, function in functions.items():
        table = result_table(function, functions)
        if not table:
            continue
        lines += [f'    "{name}": {{']
        for code, text in table.items():
            pieces = textwrap.wrap(text.replace('"', '\\"'), 80, drop_whitespace=False)
            if len(pieces) == 1:
                lines += [f'        {code}: "{pieces[0]}",']
                continue
            lines += [f"        {code}: ("] + [f'            "{piece}"' for piece in pieces]
            lines += ["        ),"]
        lines += ["    },"]
    return "\n".join(lines) + "\n}\n"


def package(header: Header) -> Dict[str, str]:
    """The text of each file of the package."""
    types = Types(header)
    files = {f"{group.name}.py": group_text(group, types) for group in header.groups}
    files["types.py"] = types_text(header, types)
    files["results.py"] = results_text(header)
    lines = ['"""Every function of vrax.h under its own name, with the results that C gives.', "",
             "Nothing is checked here and nothing raised: vrax itself does that.", '"""', "",
             NOTICE]
    names = sorted(group.name for group in header.groups)
    lines += [f"from vrax.native.{name} import *" for name in names]
    lines += ["from vrax.native.results import RESULTS as RESULTS"]
    own = [callback.name for callback in header.callbacks]
    own += [structure.name for structure in header.structures]
    own += [enumeration.name for enumeration in header.enumerations]
    own += [name for name, _, _ in header.numbers] + [name for name, _ in header.handles]
    lines += ["from vrax.native.types import ("]
    lines += [f"    {name} as {name}," for name in sorted(own)] + [")"]
    files["__init__.py"] = "\n".join(lines) + "\n"
    return files


def differences(files: Dict[str, str], folder: Path) -> List[str]:
    """The files that are missing, not as they should be, or not of the package."""
    present = {path.name for path in folder.glob("*.py")}
    wrong = [name for name, text in files.items()
             if name not in present or (folder / name).read_text(encoding="utf-8") != text]
    return sorted(set(wrong) | (present - set(files)))


def main(arguments: List[str]) -> int:
    is_check = "--check" in arguments
    paths = [Path(word) for word in arguments if word != "--check"]
    if len(paths) != 2:
        print(__doc__, file=sys.stderr)
        return 2
    files = package(read_header(paths[0].read_text(encoding="utf-8")))
    different = differences(files, paths[1])
    for name in different:
        if is_check:
            print(f"{paths[1] / name} is not what vrax.h gives", file=sys.stderr)
        elif name in files:
            paths[1].mkdir(parents=True, exist_ok=True)
            (paths[1] / name).write_text(files[name], encoding="utf-8")
        else:
            (paths[1] / name).unlink()
    return 1 if is_check and different else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
