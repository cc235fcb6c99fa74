# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Joint limits: a hinge that falls against its stop, a ball joint with a cone of free motion.

Both from trees assembled in code. A limit stops a joint as hard as a contact: it takes the speed away
and does not push back what has gone too far, which is at most some one and a half steps of motion.
"""

import math

import numpy as np

import zelvik

LIMIT = 0.6  # (rad)


def pendulum(kind: zelvik.JointType, limits: tuple[float, float]) -> zelvik.Link:
    """A bar of 0.5 m and 1 kg below a joint on a fixed base, 1 m above the ground."""
    bar = zelvik.Link("bar", joint_name="joint", joint_type=kind, joint_axis=(0, 1, 0))
    bar.mass, bar.com = 1.0, (0, 0, -0.25)
    bar.inertia = np.diag([0.25 / 12, 0.25 / 12, 0.0005])
    bar.joint_limit = limits  # of a ball joint: the largest angle, or -1 for none
    base = zelvik.Link("base", joint_type=zelvik.JointType.FIXED, joint_position=(0, 0, 1))
    base.mass, base.inertia = 1.0, np.eye(3)
    base.children = [bar]
    return base


def swing(name: str, kind: zelvik.JointType, limits: tuple[float, float]) -> None:
    """Swing for three seconds; gravity pulls sideways, against the limit."""
    world = zelvik.World(time_step=0.001, gravity=(-9, 2, -4))
    system = world.add_articulated_system_from_tree(pendulum(kind, limits))
    bar = system.bodies["bar"]
    largest = hit = stopped = angle = 0.0
    for _ in range(3000):
        speed = float(np.linalg.norm(system.generalized_velocity))
        world.integrate()
        angle = math.acos(min(max(bar.rotation_matrix[2, 2], -1.0), 1.0))
        largest = max(largest, angle)
        if hit == 0.0 and angle > LIMIT:
            hit, stopped = world.world_time, speed
    told = "no limit"
    if hit > 0.0 and largest < 1.0:
        told = f"hit at {hit:.3f} s with {stopped:.3f} rad/s, {largest - LIMIT:.1e} rad too far"
    print(f"{name:12s} {largest:12.4f} {angle:14.4f}   {told}")


print("joint         largest (rad)   at the end (rad)")
swing("hinge", zelvik.JointType.REVOLUTE, (-LIMIT, LIMIT))
swing("free hinge", zelvik.JointType.REVOLUTE, (0.0, 0.0))  # equal values: no limit
swing("ball", zelvik.JointType.SPHERICAL, (LIMIT, 0.0))
swing("free ball", zelvik.JointType.SPHERICAL, (-1.0, 0.0))
