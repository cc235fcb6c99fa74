# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Wires: a pendulum on a rope, a weight on a spring, and a rope that gets taut."""

import math

import numpy as np

import zelvik

ROPE, SPRING = 0, 2  # act while longer than their length, always; 1, the default, is a strut
HOOK, MIDDLE = (0, 0, 2), (0, 0, 0)  # points of the ground and of bodies (m)


def swing() -> None:
    """A stiff wire is one more problem of the contact solver: it holds its length."""
    world = zelvik.World(time_step=0.001)
    bob, before = world.add_sphere(0.05, mass=2.0), 0.1
    bob.position = (before, 0, 1.005)
    rope = world.add_stiff_wire(world.add_ground(), HOOK, bob, MIDDLE, length=1.0)
    rope.stretch_type = ROPE
    crossings: list[float] = []
    while len(crossings) < 5:
        world.integrate()
        x = bob.com_position[0]
        if before > 0 >= x:
            crossings.append(world.world_time)
        before = x
    small = 2 * math.pi * math.sqrt(1 / 9.81)
    print(f"pendulum  period {(crossings[4] - crossings[0]) / 4:.3f} s,", end=" ")
    print(f"small swings 2 pi sqrt(l/g) = {small:.3f} s; length {rope.distance:.5f} m")


def bounce() -> None:
    """A compliant wire is a spring of given stiffness."""
    world = zelvik.World(time_step=0.001)
    weight = world.add_box(0.1, 0.1, 0.1, mass=2.0)
    weight.position, weight.linear_damping = (0, 0, 1), 4.0
    spring = world.add_compliant_wire(world.add_ground(), HOOK, weight, MIDDLE, 1.0, stiffness=300.0)
    spring.stretch_type = SPRING
    world.integrate(10000)
    print(f"spring    hangs {spring.stretch:.5f} m longer, m g / k = {2 * 9.81 / 300:.5f} m;", end=" ")
    print(f"tension {np.linalg.norm(spring.tension2):.3f} N")


def snatch() -> None:
    """A rope between two bodies: slack it does nothing, taut it takes the speed away."""
    world = zelvik.World(time_step=0.001, gravity=(0, 0, 0))
    tug, load = world.add_sphere(0.1, mass=3.0), world.add_sphere(0.1, mass=1.0)
    load.position, tug.linear_velocity = (-0.5, 0, 0), (2, 0, 0)
    world.add_stiff_wire(tug, MIDDLE, load, MIDDLE, length=1.0).stretch_type = ROPE
    world.integrate(1000)
    print(f"towing    tug {tug.linear_velocity[0]:.4f} m/s,", end=" ")
    print(f"load {load.linear_velocity[0]:.4f} m/s; common speed by momentum {2 * 3 / 4:.4f} m/s")


swing()
bounce()
snatch()
