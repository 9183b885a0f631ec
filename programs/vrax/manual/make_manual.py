#!/usr/bin/env python3
"""Writes the manual pages of vrax and vrax-instrument from their own --help.

A page has what the help says; examples and what else needs words stand in NAME.man beside this
file and are put behind it. So a page never tells of an option that the program does not have.
"""

import argparse
import pathlib
import re
import subprocess

FOLDER = pathlib.Path(__file__).parent


class Help:
    """The help of one command: its texts, and its sections with their entries."""

    def __init__(self, program, commands):
        done = subprocess.run([program, *commands, "--help"], check=True, text=True,
                              stdout=subprocess.PIPE)
        self.description, self.usage, self.footer, self.sections = [], "", [], {}
        self.section = None
        self.last_line = ""
        for line in done.stdout.splitlines():
            self.take(line)
            self.last_line = line

    def take(self, line):
        heading = re.fullmatch(r" *([A-Z][^.]*):|\[Option Group: (.*)\]", line)
        entry = re.fullmatch(r" {2,4}(\S.*)", line)
        if line.startswith("Usage: "):
            self.usage = line.removeprefix("Usage: ")
        elif not self.usage:
            self.description.append(line)
        elif heading and (heading[2] or heading[1]) and not line.startswith("  Needs"):
            if not line.startswith(" "):  # "  Options:" stands within a group
                self.section = self.sections.setdefault(heading[2] or heading[1], [])
        elif line.startswith("[") or re.match(r"  \[", line):
            return
        elif self.section is not None and entry and len(line) - len(line.lstrip()) < 10:
            self.section.append(split_entry(line))
        elif self.section is not None and line.startswith(" " * 10):
            self.continue_entry(line.strip())
        elif line.strip() or self.footer:
            self.section = None
            self.footer.append(line)

    def continue_entry(self, told):
        """What is told of an entry begins in the next line when its name leaves no room."""
        is_first = re.fullmatch(r" {2,4}(\S.*)", self.last_line)
        if is_first:
            self.section[-1] = [self.last_line.strip(), told]
        else:
            self.section[-1][1] += " " + told


def split_entry(line):
    """The name of an entry and what is told of it, which begins in column 30."""
    text = line.strip()
    indent = len(line) - len(line.lstrip())
    column = 28 + indent
    if len(line) > column and line[column - 1] == " ":
        return [line[:column].strip(), line[column:].strip()]
    return [text, ""]


def escape(text):
    text = text.replace("\\", "\\e").replace("-", "\\-")
    return "\\&" + text if text[:1] in (".", "'") else text


def paragraphs(lines):
    """Lines as they stand where they are indented, else filled."""
    before = ""
    for line in lines:
        if not line.strip():
            yield ".PP"
        elif line.startswith(" "):
            yield from (".br",) if before.strip() else ()
            yield escape(line.strip())
        else:
            yield escape(line)
        before = line


def tidy(lines):
    """No paragraph break before a heading, after one, or twice."""
    kept = []
    for line in lines:
        if line == ".PP" and (not kept or kept[-1].startswith((".S", ".PP"))):
            continue
        if line.startswith((".S", ".TP")) and kept and kept[-1] == ".PP":
            kept.pop()
        kept.append(line)
    while kept and kept[-1] == ".PP":
        kept.pop()
    return kept


def items(section, entries):
    for entry, told in entries:
        if section != "Positionals" and not entry.startswith("-"):
            continue  # what an option group tells of itself
        word, _, argument = entry.partition(" ")
        yield ".TP"
        yield f"\\fB{escape(word)}\\fR" + (f" {escape(argument)}" if argument else "")
        yield escape(told) if told else "\\&"


def options(help_text):
    for name, entries in help_text.sections.items():
        if name != "Subcommands" and entries:
            yield f".SH {name.upper()}"
            yield from items(name, entries)


def commands_below(program, words, help_text):
    """Every command below this one, with its usage, its texts and its options."""
    for name, told in help_text.sections.get("Subcommands", []):
        below = Help(program, words + [name])
        yield f".SS {escape(below.usage)}"
        yield escape(told)
        yield from (".PP",) if below.sections else ()
        for section, entries in below.sections.items():
            if section != "Subcommands":
                yield from items(section, [e for e in entries if not e[0].startswith("-h,")])


def one_line(text):
    """A description as the line of NAME: the first clause, in lower case, without a full stop."""
    clause = re.split(r"[:.](?:\s|$)", text)[0]
    return clause[:1].lower() + clause[1:]


def write_page(out, name, program, words, arguments, see_also):
    help_text = Help(program, words)
    description = [line for line in help_text.description if line.strip()]
    usage = help_text.usage
    command = " ".join([program.name, *words])
    lines = [f'.TH {name.upper()} 1 "{arguments.date}" "vrax {arguments.version}" "vrax"',
             ".SH NAME", f"{escape(name)} \\- {escape(one_line(description[0]))}", ".SH SYNOPSIS",
             f"\\fB{escape(command)}\\fR {escape(usage.removeprefix(command).strip())}",
             ".SH DESCRIPTION", *paragraphs(help_text.description)]
    if not words and "Subcommands" in help_text.sections:
        lines += [".SH COMMANDS"]
        for entry, told in help_text.sections["Subcommands"]:
            lines += [".TP", f"\\fBvrax\\-{entry}\\fR(1)", escape(told)]
    elif "Subcommands" in help_text.sections:
        lines += [".SH COMMANDS", *commands_below(program, words, help_text)]
    lines += options(help_text)
    footer = [line for line in help_text.footer if not line.startswith("Help for a command")]
    if any(line.strip() for line in footer):
        lines += [".SH NOTES", *paragraphs(footer)]
    extra = FOLDER / f"{name}.man"
    if extra.exists():
        lines += extra.read_text().splitlines()
    lines += [".SH SEE ALSO", ", ".join(f"\\fB{escape(page)}\\fR({section})"
                                        for page, section in see_also if page != name)]
    (out / f"{name}.1").write_text("\n".join(tidy(lines)) + "\n")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--vrax", type=pathlib.Path, required=True)
    parser.add_argument("--instrument", type=pathlib.Path, required=True)
    parser.add_argument("--out", type=pathlib.Path, required=True)
    parser.add_argument("--version", required=True)
    parser.add_argument("--date", required=True)
    arguments = parser.parse_args()
    out = arguments.out
    out.mkdir(parents=True, exist_ok=True)
    for old in out.glob("vrax*.1"):
        old.unlink()
    names = [entry for entry, _ in Help(arguments.vrax, []).sections["Subcommands"]]
    see_also = [("vrax", 1), ("vrax-instrument", 1), ("libvrax", 3)]
    write_page(out, "vrax", arguments.vrax, [], arguments, see_also)
    for name in names:
        write_page(out, f"vrax-{name}", arguments.vrax, [name], arguments, see_also)
    write_page(out, "vrax-instrument", arguments.instrument, [], arguments, see_also)


if __name__ == "__main__":
    main()
