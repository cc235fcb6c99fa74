# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Nothing that Python keeps dangles, and a world serves one thread at a time.

The tests are meant to be run under valgrind or the address sanitizer as well: there a view on freed
memory ends them.
"""

from __future__ import annotations

import copy
import gc
import pickle
import threading
import weakref

import numpy as np
import pytest

import zelvik
from conftest import add_quadruped

URDF = zelvik.MODEL_DIR / "quadruped.urdf"
VECTORS = (
    "generalized_coordinate generalized_velocity generalized_force feed_forward_force p_gain "
    "d_gain p_target d_target force_lower_limit force_upper_limit joint_damping joint_friction "
    "rotor_inertia nonlinearities"
).split()


def views_of(robot: zelvik.ArticulatedSystem) -> dict[str, np.ndarray]:
    return {name: getattr(robot, name) for name in VECTORS}


def test_views_outlive_the_removal_of_their_robot(
    world: zelvik.World, robot: zelvik.ArticulatedSystem
) -> None:
    world.integrate(steps=10)
    views = views_of(robot)
    part = views["generalized_coordinate"][7:]
    copies = {name: view.copy() for name, view in views.items()}
    knee, foot, contact = robot.joints["LF_KFE"], robot.frames[-1], robot.contacts[0]
    world.remove_object(robot)
    add_quadruped(world)  # takes the memory if it is free
    world.integrate(steps=5)
    for name, view in views.items():
        np.testing.assert_array_equal(view, copies[name])
    np.testing.assert_array_equal(part, copies["generalized_coordinate"][7:])
    assert contact.depth == contact.depth and contact.pair_object is not None
    assert robot.is_removed and "removed" in repr(robot)
    for use in (
        lambda: robot.dof,
        lambda: robot.generalized_coordinate,
        lambda: knee.position,
        lambda: foot.position,
        lambda: robot.contacts,
        lambda: len(robot.bodies),
        lambda: setattr(robot, "name", "ghost"),
        lambda: world.remove_object(robot),
        lambda: robot.set_external_force([1, 0, 0]),
    ):
        with pytest.raises(ReferenceError, match="removed"):
            use()


def test_views_and_handles_outlive_the_world() -> None:
    world = zelvik.World()
    robot = world.add_articulated_system(URDF)
    q = robot.generalized_coordinate
    knee = robot.joints["LF_KFE"]
    del world, robot
    gc.collect()
    assert knee.robot.world.step_count == 0  # the part keeps all that it is part of
    knee.robot.world.integrate()
    last = q.copy()
    del knee
    gc.collect()
    np.testing.assert_array_equal(q, last)


def test_a_robot_that_python_forgot_is_found_again(world: zelvik.World) -> None:
    q = world.add_articulated_system(URDF).generalized_coordinate
    again = world.objects[0]
    assert isinstance(again, zelvik.ArticulatedSystem)
    assert world.objects[0] is again
    world.remove_object(again)
    assert q.shape == (19,)
    np.testing.assert_array_equal(q[3:7], [1, 0, 0, 0])


def test_cycles_through_a_world_of_ones_own_are_collected() -> None:
    class Scene(zelvik.World):
        def __init__(self) -> None:
            super().__init__(time_step=0.001)
            self.robot = self.add_articulated_system(URDF)
            self.knee = self.robot.joints["LF_KFE"]
            self.view = self.robot.generalized_coordinate
            self.recorder = zelvik.Recorder(self)
            self.parts = [self.robot.joints, self.material_manager, self.contact_solver]
            self.rays = self.ray_test([0, 0, 5], [0, 0, -1])

    scene = Scene()
    assert scene.rays and scene.rays[0].object is scene.robot
    ghost = weakref.ref(scene)
    del scene
    gc.collect()
    assert ghost() is None


def test_between_the_halves_of_a_step(
    world: zelvik.World, robot: zelvik.ArticulatedSystem
) -> None:
    ball = world.add_sphere(0.1, 1.0)
    ball.position = [0, 0, 0.1]
    world.integrate(steps=20)
    with pytest.raises(RuntimeError, match="call integrate1 first"):
        world.integrate2()
    world.integrate1()
    contacts = len(robot.contacts)
    for refused in (
        lambda: world.add_sphere(1.0, 1.0),
        lambda: world.remove_object(ball),
        lambda: setattr(robot, "generalized_coordinate", robot.generalized_coordinate),
        lambda: setattr(ball, "position", [0, 0, 1]),
        lambda: setattr(ball, "body_type", zelvik.BodyType.STATIC),
        lambda: setattr(robot.joints["LF_KFE"], "position", 0.0),
        lambda: setattr(world, "broad_phase", zelvik.BroadPhase.SIMPLE),
        lambda: setattr(world, "time_step", 0.1),
        world.integrate1,
    ):
        with pytest.raises(RuntimeError, match="between"):
            refused()
    robot.p_target = robot.p_target
    robot.set_external_force([0, 0, 1])
    world.integrate2()
    assert contacts > 0
    world.integrate()


def test_another_thread_is_refused_and_python_goes_on() -> None:
    world = zelvik.World(time_step=1e-3)
    world.add_ground()
    for i in range(150):
        world.add_box(0.1, 0.1, 0.1, 1.0).position = [0, 0, 0.05 + 0.1 * i]
    errors: list[str] = []
    thread = threading.Thread(target=world.integrate, args=(100,))
    thread.start()
    counted = 0
    while thread.is_alive():
        counted += 1
        try:
            world.add_sphere(1.0, 1.0)
        except RuntimeError as error:
            errors.append(str(error))
        else:
            break  # between two batches of steps, or too late
    thread.join()
    assert errors and "another thread" in errors[0]
    assert counted > 10  # the interpreter's lock was free meanwhile


def test_worlds_on_threads_equal_worlds_in_turns() -> None:
    def run(results: list[bytes]) -> None:
        world = zelvik.World(time_step=0.0025)
        world.add_ground()
        robot = add_quadruped(world)
        for _ in range(100):
            world.integrate()
        results.append(robot.generalized_coordinate.tobytes())

    results: list[bytes] = []
    threads = [threading.Thread(target=run, args=(results,)) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    run(results)
    assert len(results) == 5 and len(set(results)) == 1


def test_what_cannot_be_pickled_says_so(
    world: zelvik.World, robot: zelvik.ArticulatedSystem
) -> None:
    for thing in (world, robot, robot.joints["LF_KFE"]):
        with pytest.raises(TypeError, match=type(thing).__name__):
            pickle.dumps(thing)
    with pytest.raises(TypeError, match="RayHit"):
        copy.deepcopy(world.ray_test((0, 0, 5), (0, 0, -1), 10)[0])


def test_objects_are_made_by_worlds_only() -> None:
    for kind in (zelvik.Sphere, zelvik.ArticulatedSystem, zelvik.Joint, zelvik.Contact):
        with pytest.raises(TypeError):
            kind()
    with pytest.warns(RuntimeWarning, match="uninitialized"), pytest.raises(TypeError):
        _ = zelvik.Sphere.__new__(zelvik.Sphere).name
    world = zelvik.World()
    with pytest.warns(RuntimeWarning, match="already-initialized"), pytest.raises(TypeError):
        world.__init__()  # type: ignore[misc]
    world.integrate()
