"""docs/python-example.md: its blocks print what stands below them."""

import contextlib
import io
import os
import pathlib
import re
import subprocess

import pytest

PAGE = pathlib.Path(__file__).resolve().parents[2] / "docs" / "python-example.md"


def test_blocks_print_what_the_page_says(tmp_path, monkeypatch):
    pytest.importorskip("pandas")
    pytest.importorskip("geopandas")
    monkeypatch.chdir(tmp_path)
    text = PAGE.read_text(encoding="utf-8")
    arguments = re.search(r"```sh\nkvmission (.*)\n```", text)[1].split()
    subprocess.run([os.environ["KVMISSION"], *arguments, "-q"], check=True)
    blocks, names = re.findall(r"```python\n(.*?)```\n```\n(.*?)```", text, re.S), {}
    for code, expected in blocks:
        with contextlib.redirect_stdout(io.StringIO()) as printed:
            exec(compile(code, PAGE.name, "exec"), names)
        assert printed.getvalue() == expected
    assert len(blocks) == text.count("```python")
