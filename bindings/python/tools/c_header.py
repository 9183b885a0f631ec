"""Reads vrax.h: its groups, functions, callback types, records and enumerations, with their
comments.

Not a C parser: it knows the header's own manner, one comment before each declaration, and refuses
a header that has more declarations than it has understood.
"""

from __future__ import annotations

import re
from dataclasses import dataclass, field
from typing import List, Optional, Tuple


class HeaderError(Exception):
    """The header holds something that is not understood here."""


@dataclass
class Parameter:
    """A parameter of a function or callback, or a field's type and name."""

    ctype: str
    name: str


@dataclass
class Comment:
    """What a comment says: its paragraphs, its parameters (name, text), what is returned in words
    and the single results (value, text)."""

    paragraphs: List[str] = field(default_factory=list)
    parameters: List[Tuple[str, str]] = field(default_factory=list)
    returns: str = ""
    results: List[Tuple[str, str]] = field(default_factory=list)


@dataclass
class Function:
    name: str
    result: str
    parameters: List[Parameter]
    comment: Comment


@dataclass
class Field:
    ctype: str
    name: str
    count: int
    text: str


@dataclass
class Structure:
    name: str
    fields: List[Field]
    comment: Comment
    size: int = 0


@dataclass
class Enumeration:
    name: str
    members: List[Tuple[str, int, str]]
    comment: Comment


@dataclass
class Group:
    """One @defgroup of the header."""

    name: str
    title: str
    comment: Comment
    functions: List[Function] = field(default_factory=list)


@dataclass
class Header:
    groups: List[Group] = field(default_factory=list)
    callbacks: List[Function] = field(default_factory=list)
    structures: List[Structure] = field(default_factory=list)
    enumerations: List[Enumeration] = field(default_factory=list)
    numbers: List[Tuple[str, str, Comment]] = field(default_factory=list)
    handles: List[Tuple[str, Comment]] = field(default_factory=list)

    def functions(self) -> List[Function]:
        return [function for group in self.groups for function in group.functions]


def _flat(text: str) -> str:
    return " ".join(text.split())


def read_comment(text: str) -> Comment:
    """The parts of a comment, given without its opening and closing marks."""
    lines = [re.sub(r"^\s*\* ?", "", line).rstrip() for line in text.strip().split("\n")]
    parts = re.split(r"^(?=@)", "\n".join(lines).strip(), flags=re.M)
    comment = Comment()
    for part in parts:
        tag = re.match(r"@(\w+)(?:\[[^\]]*\])?\s+", part)
        if tag is None:
            comment.paragraphs += [p for p in re.split(r"\n\s*\n", part.strip()) if p]
            continue
        rest = part[tag.end() :]
        if tag.group(1) == "return":
            comment.returns = _flat(rest)
        elif tag.group(1) in ("param", "retval"):
            name, _, words = rest.partition(" ")
            pairs = comment.parameters if tag.group(1) == "param" else comment.results
            pairs.append((name, _flat(words)))
        else:
            raise HeaderError(f"unknown mark in a comment: {part.splitlines()[0]}")
    return comment


def _parameters(text: str) -> List[Parameter]:
    if _flat(text) in ("", "void"):
        return []
    parameters = []
    for part in text.split(","):
        match = re.fullmatch(r"(.*?[\s*])(\w+)", _flat(part))
        if match is None:
            raise HeaderError(f"unknown parameter: {part}")
        parameters.append(Parameter(match.group(1).strip(), match.group(2)))
    return parameters


def _fields(body: str) -> List[Field]:
    pattern = r"([\w ]+?)\s+(\w+)(?:\[(\d+)\])?;\s*(?:/\*\*<(.*?)\*/)?"
    return [
        Field(m.group(1).strip(), m.group(2), int(m.group(3) or 0), _field_text(m.group(4)))
        for m in re.finditer(pattern, body, re.S)
    ]


def _field_text(text: Optional[str]) -> str:
    return _flat(text or "")


def _members(body: str) -> List[Tuple[str, int, str]]:
    pattern = r"(\w+) = (-?\d+),?\s*/\*\*<(.*?)\*/"
    found = re.finditer(pattern, body, re.S)
    return [(m.group(1), int(m.group(2)), _flat(m.group(3))) for m in found]


def _declaration_end(text: str, start: int) -> int:
    depth = 0
    for at in range(start, len(text)):
        if text[at] == "{":
            depth += 1
        elif text[at] == "}":
            depth -= 1
        elif text[at] == ";" and depth == 0:
            return at
    raise HeaderError(f"no end of: {text[start:start + 60]}")


def _take_typedef(header: Header, declaration: str, comment: Comment) -> None:
    record = re.fullmatch(r"typedef (struct|enum) \w+ \{(.*)\} (\w+)", declaration, re.S)
    callback = re.fullmatch(r"typedef (\w+) \(\*(\w+)\)\((.*)\)", declaration, re.S)
    handle = re.fullmatch(r"typedef struct \w+\* (\w+)", declaration)
    number = re.fullmatch(r"typedef (\w+) (\w+)", declaration)
    if record and record.group(1) == "struct":
        header.structures.append(Structure(record.group(3), _fields(record.group(2)), comment))
    elif record:
        header.enumerations.append(
            Enumeration(record.group(3), _members(record.group(2)), comment)
        )
    elif callback:
        parameters = _parameters(callback.group(3))
        header.callbacks.append(Function(callback.group(2), callback.group(1), parameters, comment))
    elif handle:
        header.handles.append((handle.group(1), comment))
    elif number:
        header.numbers.append((number.group(2), number.group(1), comment))
    else:
        raise HeaderError(f"unknown type: {declaration}")


def _take_function(header: Header, declaration: str, comment: Comment) -> None:
    match = re.fullmatch(r"VRAX_API (.*?)(\w+)\((.*)\)", declaration, re.S)
    if match is None or not header.groups:
        raise HeaderError(f"unknown function: {declaration}")
    header.groups[-1].functions.append(
        Function(match.group(2), match.group(1).strip(), _parameters(match.group(3)), comment)
    )


def _take_group(header: Header, text: str) -> None:
    match = re.search(r"@defgroup (\w+) ([^\n]+)\n(.*)@\{", text, re.S)
    if match is None:
        raise HeaderError(f"unknown group: {text}")
    header.groups.append(Group(match.group(1), match.group(2), read_comment(match.group(3))))


def read_header(text: str) -> Header:
    """Everything that the header declares."""
    header = Header()
    at = 0
    while (start := text.find("/**", at)) >= 0:
        end = text.index("*/", start)
        body = text[start + 3 : end]
        at = end + 2
        following = re.compile(r"\s*(VRAX_API|typedef) ").match(text, at)
        if "@defgroup" in body:
            _take_group(header, body)
        elif following is not None and not body.startswith("<"):
            stop = _declaration_end(text, at)
            declaration = text[at:stop].strip()
            take = _take_function if following.group(1) == "VRAX_API" else _take_typedef
            take(header, declaration, read_comment(body))
            at = stop
    _take_sizes(header, text)
    _refuse_what_was_missed(header, text)
    return header


def _take_sizes(header: Header, text: str) -> None:
    sizes = dict(re.findall(r"^VRAX_CHECK_SIZE\((\w+), (\d+)\);", text, re.M))
    for structure in header.structures:
        structure.size = int(sizes[structure.name])


def _refuse_what_was_missed(header: Header, text: str) -> None:
    understood = len(header.callbacks) + len(header.structures) + len(header.enumerations)
    understood += len(header.numbers) + len(header.handles)
    for mark, count in (("VRAX_API ", len(header.functions())), ("typedef ", understood)):
        declared = len(re.findall("^" + mark, text, re.M))
        if declared != count:
            raise HeaderError(f"{declared} times '{mark}' in the header, {count} understood")
