# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Acting on the contacts of the very step that they belong to.

A quadruped with magnetic feet on a wall of 50 degrees: `integrate1` finds the contacts and moves
nothing; each foot that touches is pulled to the wall; `integrate2` solves the contacts with that
pull. Without magnets the robot slides: friction of 0.8 holds up to 38.7 degrees.
"""

import math

import numpy as np

import zelvik

SLOPE = math.radians(50)
WORLD = zelvik.Frame.WORLD


def climb(pull: float) -> float:
    """How far the trunk has gone down the wall in two seconds (m), with this pull per contact (N)."""
    down = (-9.81 * math.sin(SLOPE), 0.0, -9.81 * math.cos(SLOPE))
    world = zelvik.World(time_step=0.002, gravity=down)
    world.add_ground()
    robot = world.add_articulated_system(zelvik.MODEL_DIR / "quadruped.urdf")
    start = np.array([0, 0, 0.4427, 1, 0, 0, 0, *(0, 0.6, -1.2) * 4])
    gain = np.r_[np.zeros(6), np.full(12, 300.0)]
    robot.generalized_coordinate = robot.p_target = start
    robot.control_mode = zelvik.ControlMode.PD_PLUS_FEED_FORWARD
    robot.p_gain, robot.d_gain = gain, 0.03 * gain
    for _ in range(1000):
        world.integrate1()
        for contact in robot.contacts:
            # The normal points towards object A, which the robot may or may not be.
            force = (-pull if contact.object_a else pull) * contact.normal
            robot.set_external_force_in(
                contact.local_body_index, WORLD, force, WORLD, contact.position
            )
        world.integrate2()
    on_wall = sum(contact.impulse[2] for contact in robot.contacts) / world.time_step
    slid = -float(robot.generalized_coordinate[0])
    print(f"{pull:6.0f} N   {len(robot.contacts):8d}   {on_wall:10.1f} N   {slid:8.3f} m")
    return slid


print("magnet     contacts   on the wall   slid down")
climb(0.0)
climb(15.0)
print("strong magnets hold" if abs(climb(60.0)) < 0.1 else "the magnets do not hold")
