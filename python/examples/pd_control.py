# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""PD control of an arm: three ways to hold a pose against gravity.

A PD law alone gives way by the torque of gravity over its gain; gravity fed forward takes the error
away.
"""

import numpy as np

import zelvik

POSE = np.array([0.3, 0.8, 0.9, -0.2, 0.5, 0.1, 0.0, 0.0])  # six joints, two fingers (rad, m)


def hold(stiffness: float, feed_gravity_forward: bool) -> float:
    """Largest error of a joint (rad) after five seconds, from the stretched arm on."""
    world = zelvik.World(time_step=0.002)
    arm = world.add_articulated_system(zelvik.MODEL_DIR / "arm.urdf")
    gain = np.r_[np.full(6, stiffness), 200.0, 200.0]
    # The law is part of the implicit step: gains far above what an explicit one bears are stable.
    arm.control_mode = zelvik.ControlMode.PD_PLUS_FEED_FORWARD
    arm.p_gain, arm.d_gain, arm.p_target = gain, 0.1 * gain, POSE
    coordinates, gravity_terms = arm.generalized_coordinate, arm.nonlinearities  # follow the arm
    settled = error = 0.0
    for _ in range(2500):
        world.integrate1()  # nonlinear terms of the present state
        if feed_gravity_forward:
            arm.feed_forward_force = gravity_terms
        world.integrate2()
        error = float(np.abs(coordinates - POSE)[:6].max())
        if error > 0.01:
            settled = world.world_time
    fed = "gravity" if feed_gravity_forward else "nothing"
    torque = np.abs(arm.generalized_force[:6]).max()
    when = f"{settled:.2f} s" if error < 0.01 else "never"
    print(f"{stiffness:9.0f}   {fed:12s} {error:12.6f} rad   {torque:12.2f} N m   {when}")
    return error


print("stiffness   fed forward       error         largest torque   within 0.01 rad after")
soft, stiff, compensated = hold(200.0, False), hold(2000.0, False), hold(200.0, True)
print(f"ten times the stiffness: error {soft / stiff:.1f} times smaller;", end=" ")
print(f"gravity fed forward: {compensated:.1e} rad")
