# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Whole-body control by Jacobians: the quadruped stands without any joint targets.

A wrench on the trunk is wished for, shared among the feet, and mapped to joint torques by the
transposed Jacobians of the feet; the contacts then show the forces that were asked for.
"""

import math

import numpy as np

import zelvik

LEGS = ["LF", "RF", "LH", "RH"]

world = zelvik.World(time_step=0.002)
world.add_ground()
robot = world.add_articulated_system(zelvik.MODEL_DIR / "quadruped.urdf")
robot.generalized_coordinate = np.array([0, 0, 0.4427, 1, 0, 0, 0, *(0, 0.6, -1.2) * 4])
q, u, h = robot.generalized_coordinate, robot.generalized_velocity, robot.nonlinearities
weight = 9.81 * robot.bodies[0].composite_mass
feet = {leg: robot.frames[leg + "_SHANK_TO_FOOT"] for leg in LEGS}


def foot_force(height: float, rate: float, arm: np.ndarray) -> np.ndarray:
    """What the ground is to give a foot (N): weight, springs to height and level, dampers."""
    vertical = weight + 2000 * (height - q[2]) + 200 * (rate - u[2])
    roll_moment = -300 * 2 * q[4] - 20 * u[3]  # small angles of the quaternion
    pitch_moment = -300 * 2 * q[5] - 20 * u[4]
    tilting = (roll_moment * arm[1] - pitch_moment * arm[0]) / (arm[0] ** 2 + arm[1] ** 2)
    return np.array([-25 * u[0], -25 * u[1], 0.25 * (vertical + tilting)])


wished = {}
for step in range(1, 2001):
    t = world.world_time  # squats by 3 cm, twice in four seconds
    height, rate = 0.4427 + 0.03 * math.sin(math.pi * t), 0.03 * math.pi * math.cos(math.pi * t)
    world.integrate1()
    torque = h.copy()  # h - sum of J^T f, where f is what the ground does to a foot
    for leg, foot in feet.items():
        wished[leg] = foot_force(height, rate, foot.position - robot.bodies[0].position)
        torque -= robot.get_dense_jacobian(leg + "_SHANK", foot.position).T @ wished[leg]
    torque[:6] = 0.0  # the base gets none
    robot.feed_forward_force = torque
    world.integrate2()
    if step % 250 == 0:
        print(f"{t:3.1f} s   wished height {height:.4f} m, height {q[2]:.4f} m")

print("foot   wished Fz (N)   contact Fz (N)")
measured = dict.fromkeys(LEGS, 0.0)
for contact in robot.contacts:
    measured[robot.body_names[contact.local_body_index][:2]] += contact.impulse[2] / 0.002
for leg in LEGS:
    print(f"{leg:6s} {wished[leg][2]:13.2f} {measured[leg]:16.2f}")
worst = max(abs(measured[leg] - wished[leg][2]) for leg in LEGS)
print(f"largest difference {worst:.2f} N of {weight:.2f} N weight")
