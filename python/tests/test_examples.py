# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Each example runs, says what it should, and is short."""

from __future__ import annotations

import re
import runpy
import sys
from pathlib import Path

import pytest

FOLDER = Path(__file__).parents[1] / "examples"

WITH_PEERS = {"with_pinocchio"}  # run by tests/peers
# Arguments, and what stands in the output.
EXAMPLES: dict[str, tuple[list[str], str]] = {
    "branching": ([], r"the best, 270 degrees, ends as before to the last bit"),
    "contact_feedback": ([], r"strong magnets hold"),
    "inverse_dynamics": ([], r"inverse dynamics 0\.000"),
    "joint_limits": ([], r"hinge +0\.60.*free hinge +[12]\..*ball +0\.60"),
    "lidar": ([], r"\d\d\d of 1824 rays hit"),
    "materials": ([], r"rubber +0\.90 +0\.000.*cork +0\.50 +0\.2[45]"),
    "pd_control": ([], r"gravity fed forward: [0-9.]+e-(0[5-9]|1)"),
    "pictures": (["{folder}", "0.1"], r"quadruped_on_terrain\.png, [2-9] frames.*\(400, 640, 3\)"),
    "robot_from_urdf": ([], r"together 117\.[678]\d\d N upwards, the weight is 117\.720 N"),
    "ten_lines": ([], r"base height 0\.4[34]"),
    "terrain": (["{folder}/terrain.png"], r"sphere .* 0\.1[45]\d m"),
    "trot": (["--hills"], r"^[3-9]\.\d\d m forward, trunk above 0\.[34]\d m, tilt [12]?\d\.\d deg"),
    "whole_body_forces": ([], r"largest difference [01]\.\d+ N of 117\.72 N weight"),
    "wires": ([], r"towing +tug 1\.(49|50)\d+ m/s, load 1\.(49|50)"),
}


def test_each_example_is_known_and_short() -> None:
    lines = {f.stem: len(f.read_text(encoding="utf-8").splitlines()) for f in FOLDER.glob("*.py")}
    assert lines.keys() == EXAMPLES.keys() | WITH_PEERS
    assert {name: count for name, count in lines.items() if count >= 60} == {}


@pytest.mark.parametrize("name", EXAMPLES)
def test_example(
    name: str,
    tmp_path: Path,
    monkeypatch: pytest.MonkeyPatch,
    capsys: pytest.CaptureFixture[str],
    caplog: pytest.LogCaptureFixture,
) -> None:
    arguments, expected = EXAMPLES[name]
    path = FOLDER / f"{name}.py"
    monkeypatch.setattr(sys, "argv", [str(path), *(a.format(folder=tmp_path) for a in arguments)])
    runpy.run_path(str(path), run_name="__main__")
    output = capsys.readouterr().out
    assert re.search(expected, output, re.DOTALL), output
    assert caplog.records == []  # no warning of the library
