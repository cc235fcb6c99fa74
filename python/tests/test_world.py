# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Worlds of single bodies, wires, rays and files against what is known exactly."""

from __future__ import annotations

from pathlib import Path

import numpy as np
import pytest

import zelvik

IDENTITY = np.array([1.0, 0.0, 0.0, 0.0])


def test_free_fall_is_a_parabola(world: zelvik.World) -> None:
    ball = world.add_sphere(0.1, 2.0)
    ball.position = [0, 0, 10]
    ball.linear_velocity = np.array([1, 0, 0], dtype=np.float32)
    world.integrate(steps=100)
    dt, n = world.time_step, 100
    assert world.world_time == pytest.approx(n * dt)
    assert world.step_count == n
    # Exact up to the rounding of a hundred sums.
    np.testing.assert_allclose(ball.position, [n * dt, 0, 10 - 9.81 * (n * dt) ** 2 / 2], rtol=1e-12)
    np.testing.assert_allclose(ball.linear_velocity, [1.0, 0.0, -9.81 * n * dt], rtol=1e-12)


def test_contacts_carry_the_weight(world: zelvik.World) -> None:
    ground = world.add_ground()
    box = world.add_box(0.2, 0.3, 0.4, 5.0, material="wood")
    box.position = (0.0, 0.0, 0.2)
    world.integrate(steps=400)
    contacts = box.contacts
    assert len(contacts) == 4
    assert all(contact.pair_object is ground for contact in contacts)
    carried = sum(contact.impulse[2] for contact in contacts) / world.time_step
    assert carried == pytest.approx(5.0 * 9.81, rel=1e-3)  # at rest up to the solver's threshold
    problems = world.contact_problems
    assert problems["impulse"].shape == (4, 3)
    assert problems["impulse"][:, 2].sum() / world.time_step == pytest.approx(carried)
    assert world.contact_solver.loop_counter == len(world.contact_solver.error_history)
    world.remove_object(ground)
    assert [contact.pair_object for contact in contacts] == [None] * 4


def test_quaternions_are_w_x_y_z_and_normalised(world: zelvik.World) -> None:
    box = world.add_box(1.0, 1.0, 1.0, 1.0)
    box.set_pose([1, 2, 3], [2.0, 0.0, 0.0, 2.0])  # a quarter turn about z
    np.testing.assert_allclose(box.orientation, np.array([1, 0, 0, 1]) / np.sqrt(2), rtol=1e-15)
    np.testing.assert_allclose(box.rotation_matrix @ [1, 0, 0], [0, 1, 0], atol=1e-15)
    with pytest.raises(ValueError, match="length 0"):
        box.orientation = np.zeros(4)


def test_materials_of_the_world_and_of_their_own(world: zelvik.World) -> None:
    world.set_default_material(0.5)
    world.set_material_pair_prop("ice", "steel", friction=0.1, restitution=0.3)
    assert world.material_manager.get_material_pair_prop("steel", "ice").friction == 0.1
    assert world.material_manager.get_material_pair_prop("a", "b").friction == 0.5
    other = zelvik.MaterialManager()
    other.set_default_material_properties(0.9)
    world.update_material_prop(other)
    assert world.material_manager.get_material_pair_prop("steel", "ice").friction == 0.9


def test_rays_come_sorted_and_know_their_object(world: zelvik.World) -> None:
    ground = world.add_ground()
    high, low = world.add_sphere(0.5, 1.0), world.add_sphere(0.5, 1.0)
    high.position, low.position = [0, 0, 4], [0, 0, 2]
    hits = world.ray_test([0, 0, 10], [0, 0, -3])
    tops = [hit for hit in hits if hit.normal[2] > 0]
    assert [hit.object for hit in tops] == [high, low, ground]
    np.testing.assert_allclose([hit.distance for hit in tops], [5.5, 7.5, 10.0])
    np.testing.assert_allclose(tops[0].position, [0, 0, 4.5])
    assert world.ray_test([0, 0, 10], [0, 0, -1], length=1.0) == []


def test_wires_hold_and_go_with_their_bodies(world: zelvik.World) -> None:
    anchor, ball = world.add_sphere(0.1, 1.0), world.add_sphere(0.1, 1.0)
    anchor.body_type = zelvik.BodyType.STATIC
    ball.position = [0, 0, -1]
    rope = world.add_stiff_wire(anchor, [0, 0, 0], ball, [0, 0, 0], 1.0)
    rope.stretch_type, rope.name = 0, "rope"
    spring = world.add_compliant_wire(anchor, [0, 0, 0], ball, [0, 0, 0], 1.0, stiffness=100.0)
    world.integrate(steps=200)
    # It sags by what the correction leaves at rest, far below this.
    np.testing.assert_allclose(ball.position, [0, 0, -1], atol=2e-3)
    assert world.get_wire("rope") is rope and rope.body2 is ball
    assert world.stiff_wires == [rope] and world.compliant_wires == [spring]
    world.remove_object(spring)
    assert world.compliant_wires == []
    world.remove_object(ball)
    with pytest.raises(ReferenceError, match="removed"):
        _ = rope.length
    with pytest.raises(IndexError, match="body index 3 is out of range"):
        world.add_stiff_wire(anchor, [0, 0, 0], anchor, [1, 0, 0], 1.0, local_idx2=3)


def test_terrain_from_an_array(world: zelvik.World) -> None:
    heights = np.add.outer(np.arange(4.0), 10.0 * np.arange(3.0))  # 4 rows along y, 3 columns
    terrain = world.add_height_map(heights, x_size=2.0, y_size=3.0, center=(1.0, 1.5))
    np.testing.assert_array_equal(terrain.heights, heights)
    assert terrain.get_height(2.0, 0.0) == pytest.approx(20.0)
    x, y = np.meshgrid([0.0, 1.0, 2.0], [0.0, 1.0, 2.0, 3.0])
    np.testing.assert_allclose(terrain.get_heights(x, y), heights, atol=1e-12)
    assert terrain.get_normals(x, y).shape == (4, 3, 3)
    hills = world.add_terrain(zelvik.TerrainProperties(x_samples=20, y_samples=30, seed=3))
    assert hills.heights.shape == (30, 20) and np.ptp(hills.heights) > 0.1
    copied = world.add_height_map_copy(hills)
    np.testing.assert_array_equal(copied.heights, hills.heights)


def test_compounds_and_meshes(world: zelvik.World) -> None:
    parts = [
        zelvik.CompoundChild(zelvik.ObjectType.BOX, (0.1, 0.2, 0.3)),
        zelvik.CompoundChild(zelvik.ObjectType.SPHERE, (0.1,), position=(0, 0, 0.3)),
    ]
    compound = world.add_compound(parts, 2.0, [0, 0, 0], np.eye(3))
    assert [(c.object_type, c.size) for c in compound.children] == [
        (zelvik.ObjectType.BOX, (0.1, 0.2, 0.3)),
        (zelvik.ObjectType.SPHERE, (0.1,)),
    ]
    mesh = world.add_mesh(zelvik.MODEL_DIR / "meshes/octahedron.obj", 1.0, np.eye(3), scale=2.0)
    assert mesh.vertices.shape == (6, 3) and mesh.indices.shape == (8, 3)
    assert world.add_mesh_copy(mesh).file_name == mesh.file_name


def test_world_files_are_read_and_written(tmp_path: Path) -> None:
    world = zelvik.World(zelvik.MODEL_DIR / "worlds/compounds.xml")
    assert len(world) > 1
    assert [o.index_in_world for o in world] == list(range(len(world)))
    world.integrate(steps=10)
    file = tmp_path / "snapshot.xml"
    world.export_to_xml(file)
    again = zelvik.World(file)
    assert [type(o) for o in again] == [type(o) for o in world]
    assert again.time_step == world.time_step


def test_pictures_and_replays(world: zelvik.World, tmp_path: Path) -> None:
    world.add_ground()
    world.add_box(0.5, 0.5, 0.5, 1.0).position = [0, 0, 0.25]
    recorder = zelvik.Recorder(world)
    with pytest.raises(zelvik.FatalError, match="nothing has been captured"):
        recorder.render()
    world.integrate()
    recorder.capture()
    image = recorder.render(width=160, height=120, camera=zelvik.Camera(target=(0, 0, 0)))
    assert image.shape == (120, 160, 3) and image.dtype == np.uint8
    assert len(np.unique(image.reshape(-1, 3), axis=0)) > 20  # something is seen
    zelvik.write_png(tmp_path / "a.png", image)
    recorder.write_png(tmp_path / "b.png", width=160, height=120, camera=zelvik.Camera(target=(0, 0, 0)))
    assert (tmp_path / "a.png").read_bytes() == (tmp_path / "b.png").read_bytes()
    recorder.write_replay(tmp_path / "a.replay")
    assert (tmp_path / "a.replay").read_bytes() == recorder.encode_replay()
    if zelvik.Recorder.has_html_viewer():
        recorder.write_html(tmp_path / "a.html", title="a box")
        page = (tmp_path / "a.html").read_text()
        assert page.startswith("<!doctype html>") and len(page) > 100_000
