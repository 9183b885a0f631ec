"""The package, its generator and the example of the README are typed."""

from __future__ import annotations

import importlib.util
import re
import subprocess
import sys

import header
import pytest


def readme_example():
    """The first example in Python of the README."""
    text = (header.PACKAGE / "README.md").read_text(encoding="utf-8")
    return re.search(r"```python\n(.*?)```", text, re.S).group(1)


def test_the_example_of_the_readme_compiles_and_has_ten_lines():
    example = readme_example()
    compile(example, "README.md", "exec")
    assert len([line for line in example.splitlines() if line.strip()]) <= 10


def test_package_and_generator_and_example_are_strictly_typed(tmp_path):
    if importlib.util.find_spec("mypy") is None:
        pytest.skip("mypy is not installed (Debian: python3-mypy)")
    example = tmp_path / "example.py"
    example.write_text(readme_example(), encoding="utf-8")
    tools = sorted(str(path) for path in (header.PACKAGE / "tools").glob("*.py"))
    for files in (["-p", "vrax"], tools, [str(example)]):
        command = [sys.executable, "-m", "mypy", "--strict", "--cache-dir", str(tmp_path / "cache")]
        checked = subprocess.run(
            command + files, cwd=header.PACKAGE, capture_output=True, text=True, check=False
        )
        assert checked.returncode == 0, checked.stdout + checked.stderr
