"""What vrax.h and exports.map say, read a second time and more simply than by the generator."""

from __future__ import annotations

import re
from pathlib import Path
from typing import Dict, List

PACKAGE = Path(__file__).resolve().parents[1]
API = PACKAGE.parents[1] / "src" / "api"
HEADER = API / "vrax.h"
EXPORTS = API / "exports.map"


def without_comments(text: str) -> str:
    return re.sub(r"/\*.*?\*/", "", text, flags=re.S)


def declarations() -> Dict[str, str]:
    """The declaration of each exported function, in one line."""
    text = without_comments(HEADER.read_text(encoding="utf-8"))
    found = re.findall(r"^VRAX_API ([^;]*?\b(\w+)\([^;]*\));", text, flags=re.M)
    return {name: " ".join(declaration.split()) for declaration, name in found}


def comments() -> Dict[str, str]:
    """The comment before each exported function."""
    text = HEADER.read_text(encoding="utf-8")
    pattern = r"/\*\*((?:(?!\*/).)*)\*/\nVRAX_API [^(]*?(\w+)\("
    return {name: comment for comment, name in re.findall(pattern, text, flags=re.S)}


def exported() -> List[str]:
    """The names of the export list."""
    text = without_comments(EXPORTS.read_text(encoding="utf-8"))
    body = text[text.index("global:") + len("global:") : text.index("local:")]
    return [name.strip() for name in body.split(";") if name.strip()]
