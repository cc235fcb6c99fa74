# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""The command line: the robot of the demo stands after its push, and what it says is there."""

from __future__ import annotations

from pathlib import Path

import pytest

import zelvik
from zelvik.__main__ import main


def test_the_demo_stands_and_writes(tmp_path: Path, capsys: pytest.CaptureFixture[str]) -> None:
    assert main(["demo", "--seconds", "2", "--record", str(tmp_path)]) == 0
    assert "feet on the ground        4 of 4" in capsys.readouterr().out
    assert (tmp_path / "quadruped.png").stat().st_size > 1000
    assert (tmp_path / "quadruped.html").exists() == zelvik.Recorder.has_html_viewer()
    with pytest.raises(SystemExit):
        main(["demo", "--seconds", "-1"])
