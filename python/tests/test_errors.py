# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""What is wrong is said in words, as an exception, and the world goes on."""

from __future__ import annotations

import logging
from collections.abc import Callable
from pathlib import Path
from typing import Any

import numpy as np
import pytest

import zelvik
from zelvik._processor import check

IDENTITY = np.eye(3)
LINK = '<link name="{}"><inertial><mass value="1"/><inertia ixx="1" iyy="1" izz="1"/></inertial></link>'


def joint(kind: str, parent: str, child: str, name: str = "j") -> str:
    return (
        f'<joint name="{name}" type="{kind}"><parent link="{parent}"/><child link="{child}"/>'
        '<axis xyz="0 0 1"/></joint>'
    )


def robot(text: str) -> str:
    return f"<robot name='r'>{text}</robot>"


def write(path: Path, text: str | bytes) -> Path:
    path.write_bytes(text if isinstance(text, bytes) else text.encode())
    return path


A_AND_B = LINK.format("a") + LINK.format("b")

FATAL: list[tuple[str, Callable[[zelvik.World, Path], Any]]] = [
    ("radius must be finite", lambda w, d: w.add_sphere(-1.0, 1.0)),
    ("radius must be finite", lambda w, d: w.add_sphere(float("nan"), 1.0)),
    ("lengths must be finite", lambda w, d: w.add_box(1.0, float("inf"), 1.0, 1.0)),
    ("radius and height", lambda w, d: w.add_cylinder(1.0, -2.0, 1.0)),
    ("radius and height", lambda w, d: w.add_capsule(1.0, -2.0, 1.0)),
    ("height must be finite", lambda w, d: w.add_ground(float("inf"))),
    ("less than 2 children", lambda w, d: w.add_compound([], 1.0, [0, 0, 0], IDENTITY)),
    (
        "Unsupported shape: mesh",
        lambda w, d: w.add_compound(
            [zelvik.CompoundChild(zelvik.ObjectType.MESH, ())] * 2, 1.0, [0, 0, 0], IDENTITY
        ),
    ),
    ("is not found", lambda w, d: w.add_mesh(d / "none.obj", 1.0, IDENTITY)),
    ("Only obj files", lambda w, d: w.add_mesh(write(d / "a.stl", "solid"), 1.0, IDENTITY)),
    ("has no faces", lambda w, d: w.add_mesh(write(d / "a.obj", "v 0 0 0\n"), 1.0, IDENTITY)),
    (
        "vertex index 7 is out of range",
        lambda w, d: w.add_mesh(write(d / "b.obj", "v 0 0 0\nf 1 7 1\n"), 1.0, IDENTITY),
    ),
    ("2 or more samples", lambda w, d: w.add_height_map([[1.0, 2.0]], 1.0, 1.0)),
    ("must be finite and above 0", lambda w, d: w.add_height_map(IDENTITY, 0.0, 1.0)),
    ("must be within", lambda w, d: w.add_height_map(IDENTITY, 1.0, 1.0, center=(1e9, 0))),
    ("png", lambda w, d: w.add_height_map_from_png(d / "none.png", 1.0, 1.0, 1.0)),
    ("is not png", lambda w, d: w.add_height_map_from_png(write(d / "c.png", 99 * "x"), 1, 1, 1)),
    ("opening file", lambda w, d: w.add_height_map_from_text(d / "none.txt")),
    ("wrong format", lambda w, d: w.add_height_map_from_text(write(d / "c.txt", "hills"))),
    (
        "at most 1000 octaves",
        lambda w, d: w.add_terrain(zelvik.TerrainProperties(fractal_octaves=2000)),
    ),
    ("depth must be finite", lambda w, d: setattr(w, "contact_surface_layer", -1.0)),
    ("does not exist", lambda w, d: w.add_articulated_system(d / "none.urdf")),
    ("unsupported file type", lambda w, d: w.add_articulated_system(write(d / "r.txt", "x"))),
    ("does not contain node 'robot'", lambda w, d: w.add_articulated_system("<zelvik/>")),
    (
        "unknown body id",
        lambda w, d: w.add_articulated_system(robot(LINK.format("a"))).get_body_idx("b"),
    ),
    (
        "unknown frame id",
        lambda w, d: w.add_articulated_system(robot(LINK.format("a"))).get_frame_position("b"),
    ),
    (
        "only support revolute",
        lambda w, d: w.add_articulated_system(robot(A_AND_B + joint("planar", "a", "b"))),
    ),
    (
        "joint names are not found",
        lambda w, d: w.add_articulated_system(robot(LINK.format("a")), joint_order=["k"]),
    ),
    (
        "child of more than one joint|URDF reader error",
        lambda w, d: w.add_articulated_system(
            robot(A_AND_B + joint("fixed", "a", "b") + joint("fixed", "a", "b", "k"))
        ),
    ),
    (
        "must be fixed or floating",
        lambda w, d: w.add_articulated_system_from_tree(
            zelvik.Link(joint_type=zelvik.JointType.REVOLUTE)
        ),
    ),
    (
        "only for floating base",
        lambda w, d: w.add_articulated_system(
            robot('<link name="world"/>' + LINK.format("a") + joint("fixed", "world", "a"))
        ).base_orientation,
    ),
    ("cannot read file", lambda w, d: zelvik.World(d / "none.xml")),
    ("does not contain node 'zelvik'", lambda w, d: zelvik.World(write(d / "w.xml", "<robot/>"))),
    (
        "Unrecognized body type",
        lambda w, d: zelvik.World(write(d / "v.xml", "<zelvik><objects><torus/></objects></zelvik>")),
    ),
    ("cannot read file", lambda w, d: zelvik.MaterialManager(d / "none.xml")),
]


@pytest.mark.parametrize(("text", "call"), FATAL, ids=lambda v: v[:30] if isinstance(v, str) else "")
def test_fatal_messages_become_exceptions(
    text: str, call: Callable[[zelvik.World, Path], Any], world: zelvik.World, tmp_path: Path
) -> None:
    ball = world.add_sphere(0.1, 1.0)
    for _ in range(2):
        with pytest.raises(zelvik.FatalError, match=text):
            call(world, tmp_path)
    world.add_ground()
    ball.position = [0, 0, 1]
    world.integrate(steps=3)
    assert ball.position[2] < 1.0


WRONG: list[tuple[type[Exception], str, Callable[[Any, Any], Any]]] = [
    (ValueError, r"p_target: expected shape \(19,\), got \(12,\)", lambda w, r: setattr(r, "p_target", np.zeros(12))),
    (ValueError, r"got \(19, 1\)", lambda w, r: setattr(r, "p_target", np.zeros((19, 1)))),
    (ValueError, "p_gain: entry 3 is nan", lambda w, r: setattr(r, "p_gain", [0, 0, 0, np.nan, *[0] * 14])),
    (ValueError, "entry 0 is infinite", lambda w, r: setattr(w, "gravity", [np.inf, 0, 0])),
    (TypeError, "incompatible function arguments", lambda w, r: setattr(w, "gravity", None)),
    (TypeError, "got str", lambda w, r: setattr(w, "gravity", "down")),
    (TypeError, "got ndarray", lambda w, r: setattr(w, "gravity", np.zeros(3, complex))),
    (TypeError, "got list", lambda w, r: setattr(w, "gravity", [[1], [2, 3], []])),
    (OverflowError, "too large", lambda w, r: setattr(w, "gravity", [10**400, 0, 0])),
    (ValueError, r"joint_limits: expected shape \(18, 2\), got \(36,\)", lambda w, r: setattr(r, "joint_limits", np.zeros(36))),
    (ValueError, r"expected shape \(18, 2\), got \(9, 4\)", lambda w, r: setattr(r, "joint_limits", np.zeros((9, 4)))),
    (ValueError, "time_step: expected a number above 0, got -1", lambda w, r: setattr(w, "time_step", -1)),
    (ValueError, "time_step: expected a finite number, got nan", lambda w, r: setattr(w, "time_step", np.nan)),
    (ValueError, "max_iterations", lambda w, r: w.set_contact_solver_param(max_iterations=0)),
    (IndexError, "body index 13 is out of range, ArticulatedSystem has 13 bodies", lambda w, r: r.get_position(13)),
    (IndexError, "frame 99", lambda w, r: r.get_frame_position(99)),
    (IndexError, "joint -99", lambda w, r: r.joints[-99]),
    (TypeError, "index or a name", lambda w, r: r.get_dense_jacobian(1.5)),
    (ValueError, "belongs to another world", lambda w, r: zelvik.World().remove_object(r)),
    (ValueError, "belongs to another world", lambda w, r: zelvik.World().add_stiff_wire(r, [0] * 3, r, [0] * 3, 1)),
    (TypeError, "incompatible function arguments", lambda w, r: w.remove_object(None)),
    (TypeError, "incompatible function arguments", lambda w, r: w.add_sphere(1.0, "heavy")),
    (TypeError, "incompatible function arguments", lambda w, r: w.add_sphere(1.0, 1.0, group=2**64)),
    (TypeError, "Link.mass: a value of type str", lambda w, r: w.add_articulated_system_from_tree(zelvik.Link(mass="x"))),  # type: ignore[arg-type]
    (AttributeError, "no attribute 'name'", lambda w, r: w.add_articulated_system_from_tree(zelvik.Camera())),
    (ValueError, "stretch_type", lambda w, r: setattr(w.add_stiff_wire(r, [0] * 3, r, [1, 0, 0], 1), "stretch_type", 7)),
]


@pytest.mark.parametrize(("kind", "text", "call"), WRONG)
def test_wrong_arguments_are_named(
    kind: type[Exception],
    text: str,
    call: Callable[[Any, Any], Any],
    world: zelvik.World,
    robot: zelvik.ArticulatedSystem,
) -> None:
    with pytest.raises(kind, match=text):
        call(world, robot)
    world.integrate()


@pytest.mark.parametrize("dtype", [np.float32, np.float64, np.int64, np.uint8, np.bool_, ">f8"])
def test_arrays_of_all_kinds_are_read(dtype: Any, world: zelvik.World) -> None:
    values = np.zeros(6, dtype)
    values[::2] = [1, 0, 1]
    world.gravity = values[::2]  # not contiguous
    np.testing.assert_array_equal(world.gravity, [1, 0, 1])
    world.gravity = [np.float32(0.5), True, 2]  # type: ignore[assignment]
    np.testing.assert_array_equal(world.gravity, [0.5, 1, 2])


def test_warnings_and_information_go_to_logging(
    world: zelvik.World, tmp_path: Path, caplog: pytest.LogCaptureFixture
) -> None:
    caplog.set_level(logging.INFO, logger="zelvik")
    world.erp = -1.0
    world.export_to_xml(tmp_path / "no/such/directory.xml")
    levels = [(record.name, record.levelname) for record in caplog.records]
    assert levels == [("zelvik", "WARNING"), ("zelvik", "INFO"), ("zelvik", "WARNING")]
    assert "ERP should be positive (World.cpp:" in caplog.records[0].getMessage()
    assert "failed to save file" in caplog.records[2].getMessage()


def test_a_state_that_is_no_number_passes(world: zelvik.World) -> None:
    world.add_ground()
    heavy = world.add_sphere(0.1, 1e-300)
    heavy.position = [0, 0, 0.05]
    heavy.set_external_force([1e300, 0, 0])
    world.integrate(steps=10)
    assert not np.isfinite(heavy.position).all()
    assert world.ray_test([0, 0, 1], [0, 0, -1])[0].distance == 1.0


def test_old_processors_are_told(tmp_path: Path) -> None:
    check(write(tmp_path / "new", "processor: 0\nflags : fpu avx avx2 fma\n"))
    check(tmp_path / "none")
    with pytest.raises(ImportError, match="lacks avx2 and fma; build it"):
        check(write(tmp_path / "old", "processor: 0\nflags\t\t: fpu avx\n"))
