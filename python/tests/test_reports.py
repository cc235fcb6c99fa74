# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Books of energy, contacts that a person can read, and the watch."""

from __future__ import annotations

import json
import logging

import numpy as np
import pytest

import zelvik


def test_the_books_of_a_sliding_box_balance(world: zelvik.World) -> None:
    world.set_default_material(0.4)
    world.add_ground()
    box = world.add_box(0.2, 0.2, 0.2, mass=2.0)
    box.position, box.linear_velocity = (0, 0, 0.1), (3, 0, 0)
    assert world.ledger.whole.before.energy == 0.0
    world.set_ledger()
    world.integrate()
    sum_of_steps = world.ledger.whole
    for _ in range(9):
        world.integrate()
        sum_of_steps += world.ledger.objects[box.index_in_world]
    change = sum_of_steps.after.energy - sum_of_steps.before.energy
    friction = sum_of_steps[zelvik.LedgerCause.FRICTION]
    assert friction.work < -0.5 and friction.work == pytest.approx(change, rel=1e-3)
    assert friction.impulse == pytest.approx([-0.4 * 2 * 9.81 * 0.025, 0, 0], abs=5e-3)
    assert sum_of_steps.before.momentum == pytest.approx([6, 0, 0])
    world.set_ledger(False)
    assert world.ledger.whole.after.kinetic == 0.0


def test_foot_forces_in_three_lines(world: zelvik.World, robot: zelvik.ArticulatedSystem) -> None:
    world.set_contact_history()
    world.integrate(400)
    report = world.contact_report
    forces = [report.get_force(robot, leg + "_FOOT") for leg in ("LF", "RF", "LH", "RH")]
    assert np.sum(forces, axis=0) == pytest.approx(report.get_force(robot), abs=1e-9)
    assert report.get_force(robot)[2] == pytest.approx(117.72, rel=0.05)

    touches = report.touches
    assert len(touches) == 4 and all(len(touch.points) >= 1 for touch in touches)
    assert {touch.objects for touch in touches} <= {
        (robot, world.objects[0]), (world.objects[0], robot)
    }
    assert touches[0].points[0].motion is zelvik.ContactMotion.STICK
    whole = report.sum_up(object=robot, by=world.objects[0])
    assert whole.count == 4 and whole.force == pytest.approx(report.get_force(robot))
    assert report.sum_up(object=robot, material="ice").count == 0

    foot = robot.bodies["LF_SHANK"].index
    history = world.get_contact_history(robot, foot)
    assert history.touches and 0.5 < history.time_in_contact < 1.01
    assert history.largest_force > 30 and history.impulse[2] > 20
    robot.set_base_pos((0, 0, 2))
    world.start_contact_history()
    world.integrate()
    assert report.touches == [] and len(report.ended) == 4
    assert world.get_contact_history(robot, foot).time_in_air == pytest.approx(0.0025)
    stranger = zelvik.World().add_ground()
    for ask in (
        lambda: report.get_force(stranger), lambda: report.sum_up(by=stranger),
        lambda: world.get_contact_history(stranger),
    ):
        with pytest.raises(ValueError, match="another world"):
            ask()


def test_the_watch_tells_what_went_wrong(
    world: zelvik.World, robot: zelvik.ArticulatedSystem, caplog: pytest.LogCaptureFixture
) -> None:
    world.set_watch(speed=20.0)
    world.integrate(50)
    assert world.watch_report is None
    robot.generalized_velocity = np.r_[np.zeros(2), 30.0, np.zeros(15)]
    with caplog.at_level(logging.WARNING, logger="zelvik"):
        world.integrate(2)
    report = world.watch_report
    assert report is not None and report.finding is zelvik.Finding.SPEED
    assert report.object == robot.index_in_world and report.step == 51
    assert report.value == pytest.approx(30, abs=1) and report.limit == 20.0
    assert "too fast" in str(report) and len(caplog.records) == 1
    assert json.loads(report.to_json())["limit"] == 20.0
    world.clear_watch()
    assert world.watch_report is None
