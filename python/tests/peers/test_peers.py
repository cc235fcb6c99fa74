# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""What pages and examples say of other libraries, with these."""

from __future__ import annotations

import copy
import re
import runpy
import shutil
from pathlib import Path
from typing import Any

import numpy as np
import pytest

import zelvik

ROOT = Path(__file__).parents[3]
TABLE = (ROOT / "docs" / "coming-from-python.md").read_text(encoding="utf-8")
ROWS = [re.split(r" *\| *", line)[1:-1] for line in TABLE.splitlines() if line.startswith("| ")]


def names_for(column: str) -> dict[str, Any]:
    """What the lines of a column take for granted."""
    if column == "zelvik":
        return {"zelvik": zelvik, "np": np, "start": None}
    if column == "mujoco":
        mujoco = pytest.importorskip("mujoco")
        model = mujoco.MjSpec.from_file("a.urdf")
        model.body("trunk").add_freejoint()
        model.worldbody.add_geom(type=mujoco.mjtGeom.mjGEOM_PLANE, size=[5, 5, 0.1])
        model.compile()
        Path("a.xml").write_text(model.to_xml(), encoding="utf-8")
        return {"mujoco": mujoco, "np": np, "copy": copy}
    if column == "pybullet":
        return {"p": pytest.importorskip("pybullet")}
    if column == "pinocchio":
        return {"pin": pytest.importorskip("pinocchio"), "np": np}
    return {"gym": pytest.importorskip("gymnasium")}


@pytest.mark.parametrize("column", ROWS[0][1:])
def test_column(column: str, tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.chdir(tmp_path)
    shutil.copy(zelvik.MODEL_DIR / "quadruped.urdf", "a.urdf")
    names = names_for(column)
    lines = [row[ROWS[0].index(column)] for row in ROWS[1:]]
    for line in lines:
        if code := re.match(r"`(.+?)`", line):
            exec(compile(code[1], line, "exec"), names)
    assert sum(bool(line) for line in lines) > 5
    if column in ("zelvik", "mujoco", "pinocchio"):
        assert np.shape(names["M"]) == (18, 18) and len(names["h"]) == 18


def test_pinocchio_has_the_same_dynamics() -> None:
    pytest.importorskip("pinocchio")
    example = runpy.run_path(str(ROOT / "python" / "examples" / "with_pinocchio.py"))
    world, robot, pin = example["world"], example["robot"], example["pin"]
    random = np.random.default_rng(3)
    for _ in range(20):
        q, u = robot.generalized_coordinate.copy(), random.normal(size=18)
        q[3:7] = random.normal(size=4)
        q[3:7] /= np.linalg.norm(q[3:7])
        q[7:] = random.uniform(-1, 1, 12)
        robot.generalized_coordinate, robot.generalized_velocity = q, u
        M, h = example["dynamics"]()
        np.testing.assert_allclose(robot.compute_mass_matrix(), M, atol=1e-12)
        np.testing.assert_allclose(robot.compute_nonlinearities(world.gravity), h, atol=1e-10)
        J = np.vstack([
            robot.get_dense_jacobian(leg + "_SHANK", robot.frames[leg + "_SHANK_TO_FOOT"].position)
            for leg in ("LF", "RF", "LH", "RH")
        ])
        wrench = random.normal(size=6)
        tau = h - J.T @ np.linalg.pinv(J[:, :6].T) @ wrench
        np.testing.assert_allclose(example["torques"](wrench)[6:], tau[6:], atol=1e-9)
    assert pin.computeTotalMass(example["model"]) == pytest.approx(12.0)


def test_the_controller_stands(capsys: pytest.CaptureFixture[str]) -> None:
    pytest.importorskip("pinocchio")
    path = ROOT / "python" / "examples" / "with_pinocchio.py"
    runpy.run_path(str(path), run_name="__main__")
    assert "base at 0.4300 m" in capsys.readouterr().out
