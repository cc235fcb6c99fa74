# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""What calls from Python cost: PYTHONPATH=build/python/package python benchmarks/tools/python_overhead.py

Prints microseconds of processor time for each call, the least and the median of several rounds. A
step from Python is compared with steps inside of one call, which are C++ alone: an empty world,
whose step is short, shows the difference best. A round is short and the least of many counts, since
other programs may run beside it.
"""

from __future__ import annotations

import statistics
import time
from collections.abc import Callable

import numpy as np

import zelvik

ROUNDS, CALLS = 40, 2000


def measure(name: str, work: Callable[[int], None]) -> float:
    """Time of one of the calls that ``work`` makes (us)."""
    work(100)
    rounds = []
    for _ in range(ROUNDS):
        begin = time.thread_time_ns()
        work(CALLS)
        rounds.append((time.thread_time_ns() - begin) / CALLS / 1e3)
    print(f"{name:44s} {min(rounds):8.3f} {statistics.median(rounds):8.3f}")
    return min(rounds)


def loop(call: Callable[[], object]) -> Callable[[int], None]:
    """A call, so many times."""

    def work(count: int) -> None:
        for _ in range(count):
            call()

    return work


def main() -> None:
    print(f"{'':44s} {'least':>8s} {'median':>8s}  (us of processor time)")
    measure("an empty function of Python", loop(lambda: None))

    empty = zelvik.World()
    inside = measure("step of an empty world, in C++", lambda n: empty.integrate(n))
    outside = measure("step of an empty world, from Python", loop(empty.integrate))
    print(f"{'    more':44s} {outside - inside:8.3f}")

    world = zelvik.World(time_step=0.0025)
    world.add_ground()
    robot = world.add_articulated_system(zelvik.MODEL_DIR / "quadruped.urdf")
    posture = np.array([0, 0, 0.4427, 1, 0, 0, 0, *(0, 0.6, -1.2) * 4], dtype=float)
    gain = np.r_[np.zeros(6), np.full(12, 100.0)]
    robot.generalized_coordinate = robot.p_target = posture
    robot.control_mode = zelvik.ControlMode.PD_PLUS_FEED_FORWARD
    robot.p_gain, robot.d_gain = gain, 0.02 * gain
    world.integrate(steps=400)

    def control() -> None:
        robot.p_target = posture
        world.integrate()
        _ = robot.generalized_coordinate

    def calls_of_control(count: int) -> None:  # all but the step
        for _ in range(count):
            robot.p_target = posture
            _ = robot.generalized_coordinate

    inside = measure("step of a standing quadruped, in C++", lambda n: world.integrate(n))
    outside = measure("PD target, step, coordinates, from Python", loop(control))
    print(f"{'    more':44s} {outside - inside:8.3f}")
    measure("PD target and coordinates without the step", calls_of_control)
    measure("generalized_coordinate", loop(lambda: robot.generalized_coordinate))
    knee = robot.joints["LF_KFE"]
    measure("joint.position", loop(lambda: knee.position))
    measure("robot.joints[name].position", loop(lambda: robot.joints["LF_KFE"].position))
    measure("body.position", loop(lambda: robot.bodies[3].position))
    measure("contacts", loop(lambda: robot.contacts))
    measure("mass_matrix", loop(lambda: robot.mass_matrix))
    state = world.save_state()
    measure("save_state(into=state)", loop(lambda: world.save_state(into=state)))
    measure("save_state()", loop(world.save_state))
    measure("restore_state(state)", loop(lambda: world.restore_state(state)))
    measure("clone()", loop(world.clone))


if __name__ == "__main__":
    main()
