# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""The quadruped trots over flat ground, or over hills with --hills: an open loop of fixed paths of
the feet below the hips.
"""

import math
import sys

import numpy as np

import zelvik

LINK, HEIGHT, FOOT_RADIUS = 0.25, 0.40, 0.03  # thigh and shank, hip above the foot (m)
PERIOD, STRIDE, LIFT = 0.40, 0.16, 0.07  # of a stride (s), paths of a foot (m)


def leg_angles(x: float, z: float) -> tuple[float, float, float]:
    """HAA, HFE, KFE (rad) of a leg whose foot is x in front of the hip and z below it (m)."""
    knee = -2 * math.acos(min(math.hypot(x, z) / (2 * LINK), 1.0))
    return 0.0, math.atan2(-x, z) - 0.5 * knee, knee


def posture(t: float) -> np.ndarray:
    """Posture at time t (s): diagonal legs move together, half of the time in the air."""
    q, size = [0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0], min(t, 1.0)  # grows in the first second
    for leg in range(4):
        phase = (t / PERIOD + (0.0 if leg in (0, 3) else 0.5)) % 1.0
        swing = 2 * phase - 1  # 0 to 1 in the air
        x, lift = 0.5 - 2 * phase, 0.0
        if swing >= 0:
            x, lift = -0.5 * math.cos(math.pi * swing), math.sin(math.pi * swing)
        q += leg_angles(size * STRIDE * x, HEIGHT - size * LIFT * lift)
    return np.array(q)


world = zelvik.World(time_step=0.0025)
hills = None
if "--hills" in sys.argv:
    ground = zelvik.TerrainProperties(x_size=20, y_size=20, x_samples=201, y_samples=201)
    ground.z_scale, ground.frequency, ground.seed = 0.5, 0.2, 4
    hills = world.add_terrain(ground)
else:
    world.add_ground()
robot = world.add_articulated_system(zelvik.MODEL_DIR / "quadruped.urdf")
start = posture(0.0)
start[2] = (hills.get_height(0, 0) if hills else 0.0) + HEIGHT + FOOT_RADIUS
robot.generalized_coordinate = start
robot.control_mode = zelvik.ControlMode.PD_PLUS_FEED_FORWARD
robot.p_gain = gain = np.r_[np.zeros(6), np.full(12, 150.0)]
robot.d_gain = 0.02 * gain
q = robot.generalized_coordinate  # follows the robot
lowest, most_tilt = 1.0, 0.0
for _ in range(4800):
    robot.p_target = posture(world.world_time)
    world.integrate()
    lowest = min(lowest, q[2] - (hills.get_height(q[0], q[1]) if hills else 0.0))
    most_tilt = max(most_tilt, math.acos(robot.bodies[0].rotation_matrix[2, 2]))
print(f"{q[0]:.2f} m forward, trunk above {lowest:.2f} m, tilt {math.degrees(most_tilt):.1f} deg")
