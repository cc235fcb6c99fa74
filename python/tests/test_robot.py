# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Robots: views, names, identities of mechanics, trees made by hand."""

from __future__ import annotations

import numpy as np
import pytest

import zelvik
from conftest import add_quadruped


def test_it_stands_and_views_follow(world: zelvik.World, robot: zelvik.ArticulatedSystem) -> None:
    q, u = robot.generalized_coordinate, robot.generalized_velocity
    assert robot.generalized_coordinate is q  # made once
    before = q.copy()
    robot.set_external_force([0, 30, 0])
    world.integrate()
    assert not np.array_equal(q, before) and u[1] > 0
    world.integrate(steps=799)
    assert q[2] == pytest.approx(0.4427, abs=0.01)
    np.testing.assert_allclose(q, robot.p_target, atol=0.1)
    carried = sum(contact.impulse[2] for contact in robot.contacts) / world.time_step
    assert carried == pytest.approx(9.81 * robot.bodies[0].composite_mass, rel=1e-2)
    with pytest.raises(ValueError, match="read-only"):
        q[0] = 1.0
    with pytest.raises(AttributeError):
        robot.p_traget = q  # type: ignore[attr-defined]


def test_joints_bodies_and_frames_by_name(robot: zelvik.ArticulatedSystem) -> None:
    knee = robot.joints["LF_KFE"]
    assert knee.position == robot.generalized_coordinate[knee.coordinate_slice][0] == -1.2
    assert knee.limits is not None and knee.limits[0] < knee.position
    knee.position = -1.0
    assert robot.generalized_coordinate[9] == -1.0
    assert knee == robot.joints[-1 - robot.joints.names[::-1].index("LF_KFE")]
    assert [joint.name for joint in robot.joints] == robot.joint_names
    assert robot.joints[0].name == "ROOT" and robot.joints[0].type is zelvik.JointType.FLOATING
    with pytest.raises(TypeError, match="'ROOT' has several"):
        _ = robot.joints["ROOT"].position
    with pytest.raises(KeyError, match="no joint is called 'knee', there are ROOT, LF_HAA"):
        robot.joints["knee"]
    assert "LF_KFE" in robot.joints and "knee" not in robot.joints
    assert knee.body.parent is not None and knee.body in knee.body.parent.children
    assert robot.bodies[0].parent is None
    imu = robot.frames["trunk_to_imu"]
    np.testing.assert_allclose(imu.position - robot.bodies[0].position, [0.02, 0, 0.03])
    np.testing.assert_array_equal(imu.position, robot.get_frame_position("trunk_to_imu"))


def test_velocities_are_jacobian_times_generalized_velocity(
    world: zelvik.World, robot: zelvik.ArticulatedSystem
) -> None:
    random = np.random.default_rng(1)
    robot.generalized_velocity = random.normal(size=robot.dof)
    u = robot.generalized_velocity
    world.integrate1()
    foot = robot.frames["LF_FOOT"] if "LF_FOOT" in robot.frames else robot.frames[-1]
    jacobian = robot.get_dense_jacobian(foot.body.index, foot.position)
    turning = robot.get_dense_rotational_jacobian(foot.body.name)
    np.testing.assert_allclose(jacobian @ u, foot.velocity, rtol=0, atol=1e-12)
    np.testing.assert_allclose(turning @ u, foot.angular_velocity, rtol=0, atol=1e-12)
    mass = robot.mass_matrix
    np.testing.assert_array_equal(mass, mass.T)
    assert 0.5 * u @ mass @ u == pytest.approx(robot.kinetic_energy, rel=1e-12)
    world.integrate2()


def test_a_tree_read_from_urdf_gives_the_robot_of_the_urdf(world: zelvik.World) -> None:
    from_file = world.add_articulated_system(zelvik.MODEL_DIR / "humanoid.urdf")
    tree = zelvik.read_urdf_tree(zelvik.MODEL_DIR / "humanoid.urdf")
    from_tree = world.add_articulated_system_from_tree(
        tree, resource_directory=zelvik.MODEL_DIR
    )
    assert from_tree.body_names == from_file.body_names
    assert from_tree.joint_names == from_file.joint_names
    np.testing.assert_array_equal(from_tree.joint_limits, from_file.joint_limits)
    np.testing.assert_array_equal(
        from_tree.compute_mass_matrix(), from_file.compute_mass_matrix()
    )
    assert len(from_tree.collision_bodies) == len(from_file.collision_bodies)
    assert len(from_tree.vis_objects) == len(from_file.vis_objects)


def test_a_pendulum_made_by_hand_keeps_its_period(world: zelvik.World) -> None:
    length = 1.0
    bob = zelvik.Link(
        name="bob",
        mass=1.0,
        com=(0, 0, -length),
        joint_name="hinge",
        joint_type=zelvik.JointType.REVOLUTE,
        joint_axis=(0, 1, 0),
    )
    pendulum = world.add_articulated_system_from_tree(zelvik.Link(name="base", children=[bob]))
    world.time_step = 1e-3
    hinge = pendulum.joints["hinge"]
    hinge.position = 1e-3
    quarter = 0.25 * 2 * np.pi * np.sqrt(length / 9.81)
    world.integrate(steps=round(quarter / world.time_step))
    # Half a step of rounding the time, and the scheme's error of second order.
    assert abs(hinge.position) < 1e-3 * np.sqrt(9.81) * world.time_step
    # Positions by the mean velocity and velocities by the old force multiply the amplitude by
    # 1 + (w dt)^2 / 4 in a step, w^2 = g / length.
    growth = np.exp(9.81 * world.time_step * quarter / 4)
    assert hinge.velocity == pytest.approx(-1e-3 * np.sqrt(9.81) * growth, rel=2e-5)


def test_parameters_go_in_and_come_out(robot: zelvik.ArticulatedSystem) -> None:
    limits = robot.joint_limits
    limits[7] = (-0.5, 0.5)
    robot.joint_limits = limits
    np.testing.assert_array_equal(robot.joint_limits, limits)
    robot.set_force_limits(np.full(18, -np.inf), np.full(18, 20.0))
    assert robot.force_lower_limit[0] == -np.inf and robot.force_upper_limit[17] == 20.0
    robot.springs = [zelvik.JointSpring(body_idx=2, stiffness=5.0, spring_mount=(0.1,))]
    assert robot.springs[0].stiffness == 5.0 and robot.springs[0].spring_mount[0] == 0.1
    robot.integration_scheme = zelvik.IntegrationScheme.SEMI_IMPLICIT
    assert robot.integration_scheme is zelvik.IntegrationScheme.SEMI_IMPLICIT
    robot.bodies["LF_HIP"].mass = 0.75
    assert robot.get_mass(robot.get_body_idx("LF_HIP")) == 0.75
    shape = robot.collision_bodies[0]
    shape.material = "rubber"
    assert robot.collision_bodies[0].material == "rubber"


def test_equal_programs_give_equal_bits() -> None:
    def run() -> bytes:
        world = zelvik.World(time_step=0.0025)
        world.add_ground()
        robot = add_quadruped(world)
        world.add_sphere(0.1, 1.0).position = (0.05, 0.05, 1.0)
        for _ in range(200):
            robot.p_target = robot.p_target + 1e-3 * np.sin(10 * world.world_time)
            world.integrate()
        return robot.generalized_coordinate.tobytes()

    assert run() == run()
