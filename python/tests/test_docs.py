# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""The Python code of the pages runs as it stands, each page from its first block to its last."""

from __future__ import annotations

import re
from pathlib import Path
from typing import Any

import pytest

DOCS = Path(__file__).parents[2] / "docs"
BLOCK = re.compile(r"^```python\n(.*?)^```$", re.DOTALL | re.MULTILINE)
PAGES = sorted(p.name for p in DOCS.glob("*.md") if BLOCK.search(p.read_text(encoding="utf-8")))


@pytest.mark.parametrize("page", PAGES)
def test_page(page: str, tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.chdir(tmp_path)
    names: dict[str, Any] = {}
    for i, block in enumerate(BLOCK.findall((DOCS / page).read_text(encoding="utf-8"))):
        exec(compile(block, f"{page}, block {i}", "exec"), names)
    if page == "tutorial-python.md":  # it is what the comments say
        assert abs(names["force"][2] - 117.72) < 0.1 and abs(names["q"][2] - 0.435) < 0.01
