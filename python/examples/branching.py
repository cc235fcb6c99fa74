# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Branches from one moment: eight pushes tried from the same saved state.

A standing quadruped is kicked sideways, and the push on its trunk that leaves it nearest to where it
stood is kept. A saved state is all that the world needs: the best branch, taken once more, ends with
the same bits.
"""

import math

import numpy as np

import zelvik

world = zelvik.World(time_step=0.002)
world.add_ground()
robot = world.add_articulated_system(zelvik.MODEL_DIR / "quadruped.urdf")
start = np.array([0, 0, 0.4427, 1, 0, 0, 0, *(0, 0.6, -1.2) * 4])
gain = np.r_[np.zeros(6), np.full(12, 300.0)]
robot.generalized_coordinate = robot.p_target = start
robot.control_mode = zelvik.ControlMode.PD_PLUS_FEED_FORWARD
robot.p_gain, robot.d_gain = gain, 0.03 * gain
world.integrate(250)
kick = np.zeros(18)
kick[1] = 1.2  # to the left (m/s)
robot.generalized_velocity = kick


def push(direction: float) -> float:
    """Push for 0.1 s and wait for 1 s: how far the trunk is from where it stood (m)."""
    force = (150 * math.cos(direction), 150 * math.sin(direction), 0)  # (N)
    for _ in range(50):
        robot.set_external_force(force)
        world.integrate()
    world.integrate(500)
    return float(np.linalg.norm(robot.generalized_coordinate[:3] - (0, 0, 0.43)))


moment = world.save_state()
print(f"a state of {len(moment)} bytes at {world.world_time:.1f} s")
ends = {}
for degrees in range(0, 360, 45):
    world.restore_state(moment)
    ends[degrees] = push(math.radians(degrees)), world.state_hash
    print(f"push at {degrees:4d} degrees: {ends[degrees][0]:.3f} m away")
best = min(ends, key=lambda degrees: ends[degrees][0])
world.restore_state(moment)
push(math.radians(best))
same = world.state_hash == ends[best][1]
print(f"the best, {best} degrees, ends {'as before to the last bit' if same else 'ELSEWHERE'}")
