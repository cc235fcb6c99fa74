# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""A quadruped stands under PD control."""

import numpy as np

import zelvik

world = zelvik.World(time_step=0.002)
world.add_ground()
robot = world.add_articulated_system(zelvik.MODEL_DIR / "quadruped.urdf")
posture = np.array([0, 0, 0.5, 1, 0, 0, 0, *(0, 0.6, -1.2) * 4])
robot.generalized_coordinate = robot.p_target = posture
robot.control_mode = zelvik.ControlMode.PD_PLUS_FEED_FORWARD
robot.p_gain = gain = np.r_[np.zeros(6), np.full(12, 100.0)]
robot.d_gain = 0.02 * gain
world.integrate(steps=1000)
print(f"base height {robot.generalized_coordinate[2]:.3f} m")
