# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""A quadruped from a URDF file stands on the ground under PD control, is pushed, and is recorded."""

from __future__ import annotations

from pathlib import Path

import numpy as np

from . import MODEL_DIR, ControlMode, FatalError, Recorder, World

_TIME_STEP = 0.0025  # (s)
_STANCE = (0.0, 0.6, -1.2)  # hip, thigh, knee (rad)
_FRAME_STEPS = 7  # about 60 frames a second


def run(seconds: float, push: float, directory: Path) -> int:
    """Run the demo; the status is 0 if the robot stands at the end."""
    world = World(time_step=_TIME_STEP)
    world.add_ground()
    robot = world.add_articulated_system(MODEL_DIR / "quadruped.urdf")
    posture = np.array([0.0, 0.0, 0.45, 1.0, 0.0, 0.0, 0.0, *(_STANCE * 4)])
    gain = np.r_[np.zeros(6), np.full(12, 300.0)]
    robot.generalized_coordinate = posture
    robot.control_mode = ControlMode.PD_PLUS_FEED_FORWARD
    robot.p_gain, robot.d_gain, robot.p_target = gain, 0.02 * gain, posture

    recorder = Recorder(world)
    steps = max(round(seconds / _TIME_STEP), 1)
    for step in range(steps):
        if 0.0 <= world.world_time - 0.5 * seconds < 0.2:
            robot.set_external_force([0.0, push, 0.0])  # for one step
        world.integrate()
        if step % _FRAME_STEPS == 0:
            recorder.capture()

    # What the ground gives in a step carries the weight of the robot.
    carried = sum(contact.impulse[2] for contact in robot.contacts) / _TIME_STEP
    weight = -world.gravity[2] * robot.bodies[0].composite_mass
    height = float(robot.generalized_coordinate[2])
    feet = len({contact.local_body_index for contact in robot.contacts})
    print(f"simulated time            {world.world_time:.2f} s, {world.step_count} steps")
    print(f"base height               {height:.4f} m")
    print(f"feet on the ground        {feet} of 4")
    print(f"force of the ground       {carried:.2f} N, weight {weight:.2f} N")
    try:
        _write(recorder, directory)
    except (OSError, FatalError) as error:
        print(error)
        return 1
    return 0 if feet == 4 and height > 0.3 else 1


def _write(recorder: Recorder, directory: Path) -> None:
    directory.mkdir(parents=True, exist_ok=True)
    picture = directory / "quadruped.png"
    recorder.write_png(picture, contacts=True)
    print(f"picture                   {picture}")
    if not Recorder.has_html_viewer():
        print("replay                    none: built without Node.js")
        return
    replay = directory / "quadruped.html"
    recorder.write_html(replay, title="quadruped")
    print(f"replay                    {replay}")
