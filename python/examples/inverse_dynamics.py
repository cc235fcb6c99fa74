# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Inverse dynamics control: the arm follows fast sine waves.

With M, h and the damping of the model the torque that gives the wished acceleration is computed in
every step; a PD law of equal gains shows what is lost without them.
"""

import math

import numpy as np

import zelvik

STIFFNESS, DAMPING = 100.0, 20.0  # of the error (1/s^2), (1/s)
PHASE = 0.5 * np.arange(6)
REST = np.zeros(2)  # the fingers


def wish_at(t: float) -> tuple[np.ndarray, np.ndarray, np.ndarray]:
    """Coordinates, velocities and accelerations: joints swing by 0.5 rad at 0.5 Hz, in turn."""
    w = math.pi
    angle = w * t - PHASE
    q, u, du = 0.5 * np.sin(angle), 0.5 * w * np.cos(angle), -0.5 * w * w * np.sin(angle)
    return np.r_[q, REST], np.r_[u, REST], np.r_[du, REST]


def follow(with_model: bool) -> float:
    """Largest error of a joint after the first second (rad)."""
    world = zelvik.World(time_step=0.001)
    arm = world.add_articulated_system(zelvik.MODEL_DIR / "arm.urdf")
    q, u = arm.generalized_coordinate, arm.generalized_velocity  # follow the arm
    arm.generalized_coordinate, arm.generalized_velocity, _ = wish_at(0.0)
    worst = 0.0
    for _ in range(5000):
        world.integrate1()  # M and h of the present state
        q_wish, u_wish, du_wish = wish_at(world.world_time)
        law = STIFFNESS * (q_wish - q) + DAMPING * (u_wish - u)
        if with_model:
            torque = arm.mass_matrix @ (du_wish + law) + arm.nonlinearities + arm.joint_damping * u
        else:
            torque = arm.mass_matrix.diagonal() * law  # each joint for itself
        arm.feed_forward_force = torque
        world.integrate2()
        if world.world_time > 1.0:
            worst = max(worst, float(np.abs(q - wish_at(world.world_time)[0])[:6].max()))
    return worst


pd, model = follow(False), follow(True)
print(f"largest error: PD alone {pd:.4f} rad, inverse dynamics {model:.6f} rad,", end=" ")
print(f"{pd / model:.0f} times smaller")
