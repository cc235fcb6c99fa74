# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Scenes that several tests share."""

from __future__ import annotations

import numpy as np
import pytest

import zelvik

STANCE = (0.0, 0.6, -1.2)


def add_quadruped(world: zelvik.World) -> zelvik.ArticulatedSystem:
    """A quadruped that holds its stance by PD control."""
    robot = world.add_articulated_system(zelvik.MODEL_DIR / "quadruped.urdf")
    posture = np.array([0.0, 0.0, 0.4427, 1.0, 0.0, 0.0, 0.0, *(STANCE * 4)])
    gain = np.r_[np.zeros(6), np.full(12, 100.0)]
    robot.generalized_coordinate = posture
    robot.control_mode = zelvik.ControlMode.PD_PLUS_FEED_FORWARD
    robot.p_gain, robot.d_gain, robot.p_target = gain, 0.02 * gain, posture
    return robot


@pytest.fixture
def world() -> zelvik.World:
    """An empty world."""
    return zelvik.World(time_step=0.0025)


@pytest.fixture
def robot(world: zelvik.World) -> zelvik.ArticulatedSystem:
    """A quadruped on the ground."""
    world.add_ground()
    return add_quadruped(world)
