# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Saved moments, clones and deep copies."""

from __future__ import annotations

import copy
import pickle
from typing import Any

import numpy as np
import pytest
import zelvik

Robot = zelvik.ArticulatedSystem


def run(world: zelvik.World, steps: int = 50) -> int:
    world.integrate(steps)
    return world.state_hash


def test_a_saved_moment_continues_to_the_last_bit(world: zelvik.World, robot: Robot) -> None:
    world.integrate(20)
    view = robot.generalized_coordinate
    state = world.save_state()
    there, expected = view.copy(), run(world)
    assert (view != there).any()
    for again in (state, copy.copy(state), copy.deepcopy(state), pickle.loads(pickle.dumps(state))):
        world.restore_state(again)
        assert (view == there).all() and world.state_hash == again.hash == state.hash
        assert run(world) == expected

    later = world.save_state()
    assert later != state and later != 3
    assert world.save_state(into=state) is state and state == later
    assert zelvik.State.from_bytes(bytes(state)) == zelvik.State(state.to_bytes()) == state
    assert len(state) == len(state.to_bytes()) and f"{state.hash:#018x}" in repr(state)
    assert zelvik.State().is_empty and zelvik.State().hash == 0


def test_what_is_no_state_of_this_world_changes_nothing(
    world: zelvik.World, robot: Robot
) -> None:
    world.integrate(3)
    state, before = world.save_state(), world.state_hash
    other = zelvik.World()
    for wrong in (zelvik.State(), other.save_state()):
        with pytest.raises(zelvik.FatalError, match="World::restoreState"):
            world.restore_state(wrong)
    damaged = bytearray(state.to_bytes())
    damaged[-20] ^= 1
    for data in (bytes(damaged), state.to_bytes()[:-1], b"", b"nothing"):
        with pytest.raises(zelvik.FatalError, match="State::fromBytes"):
            zelvik.State.from_bytes(data)
    calls: list[Any] = [world.restore_state, world.save_state, zelvik.State]
    for call in calls:
        with pytest.raises((TypeError, RuntimeError)):
            call(3)
    assert world.state_hash == before
    world.integrate1()
    assert world.is_between_halves
    for half in (world.save_state, world.clone, lambda: world.restore_state(state)):
        with pytest.raises(RuntimeError, match="integrate1"):
            half()
    world.integrate2()
    with pytest.raises(TypeError):
        hash(state)


def test_a_clone_goes_on_by_itself(world: zelvik.World, robot: Robot) -> None:
    world.integrate(20)
    twin = world.clone()
    other = twin.objects[robot.index_in_world]
    assert type(other) is Robot and other is not robot and other.world is twin
    assert run(world) == run(twin)
    other.generalized_coordinate = robot.generalized_coordinate + 0.0
    other.set_base_pos((0, 0, 3))
    assert robot.generalized_coordinate[2] < 1
    del world, robot
    twin.integrate(10)


class Environment(zelvik.World):
    """A world with what a user keeps beside it."""

    def __init__(self) -> None:
        super().__init__(time_step=0.002)
        self.add_ground()
        self.robot = self.add_articulated_system(zelvik.MODEL_DIR / "quadruped.urdf")
        self.robot.set_base_pos((0, 0, 0.6))
        self.ball = self.add_sphere(0.1, 1.0)
        self.ball.position = (1, 0, 2)
        self.wires = [
            self.add_stiff_wire(self.ball, (0, 0, 0), self.robot, (0, 0, 0), 1.5),
            self.add_compliant_wire(self.ball, (0, 0, 0), self.robot, (0, 0, 0), 1.5, 100.0),
        ]
        self.knee = self.robot.joints["LF_KFE"]
        self.target = np.zeros(3)


def test_a_deep_copy_holds_the_twins() -> None:
    env = Environment()
    env.integrate(10)
    twin = copy.deepcopy(env)
    assert type(twin) is Environment and twin.robot.world is twin
    assert twin.robot is twin.objects[env.robot.index_in_world]
    assert twin.knee.robot is twin.robot and twin.knee.index == env.knee.index
    assert [type(w) for w in twin.wires] == [type(w) for w in env.wires]
    assert len({*map(id, twin.wires), *map(id, env.wires)}) == 4
    twin.target += 1
    assert (env.target == 0).all()
    assert run(env) == run(twin)
    twin.wires[0].length = 0.5
    assert env.wires[0].length == 1.5
    lonely, joints = copy.deepcopy((env.robot, env.robot.joints))
    assert joints["LF_KFE"].robot is lonely and lonely.world is not env
