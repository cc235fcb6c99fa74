# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Materials: friction and restitution belong to pairs of names.

Blocks slide on a slope, balls bounce; both are compared with what the textbook says.
"""

import math

import zelvik

G = 9.81  # (m/s^2)


def slide() -> None:
    """Distances after one second on a slope of 20 degrees: the gravity is tilted, not the ground."""
    slope = math.radians(20)
    down = (G * math.sin(slope), 0.0, -G * math.cos(slope))
    world = zelvik.World(time_step=0.001, gravity=down)
    world.add_ground(material="slope")
    frictions = {"ice": 0.05, "wood": 0.3, "rubber": 0.9}
    blocks = {}
    for row, (name, friction) in enumerate(frictions.items()):
        world.set_material_pair_prop("slope", name, friction)
        blocks[name] = world.add_box(0.2, 0.2, 0.1, mass=1.0, material=name)
        blocks[name].position = (0, row, 0.0499)
    world.integrate(1000)
    print("block    friction   slid (m)   textbook (m)")
    for name, friction in frictions.items():
        a = G * max(math.sin(slope) - friction * math.cos(slope), 0.0)
        print(f"{name:8s} {friction:8.2f} {blocks[name].com_position[0]:10.4f} {0.5 * a:14.4f}")


def bounce() -> None:
    """Height of the first bounce of balls dropped from 1 m."""
    world = zelvik.World(time_step=0.0005)
    world.erp = world.erp2 = 0.0  # the latter is added to every coefficient of restitution
    world.add_ground(material="floor")
    # For names that the table does not know, then for two that it does.
    world.set_default_material(0.8, restitution=0.25, restitution_threshold=0.001)
    world.set_material_pair_prop("floor", "glass", 0.4, 0.9, 0.001)
    world.set_material_pair_prop("floor", "cork", 0.6, 0.5, 0.001)
    restitutions = {"glass": 0.9, "cork": 0.5, "clay": 0.25}
    balls = {name: world.add_sphere(0.1, mass=1.0, material=name) for name in restitutions}
    for row, ball in enumerate(balls.values()):
        ball.position = (0, row, 1.1)
    highest = dict.fromkeys(balls, 0.0)
    for _ in range(2000):
        world.integrate()
        if world.world_time > math.sqrt(2 / G) + 0.002:  # all have bounced
            for name, ball in balls.items():
                highest[name] = max(highest[name], float(ball.com_position[2]) - 0.1)
    print("\nball     restitution   bounces to (m)   textbook (m)")
    for name, e in restitutions.items():
        print(f"{name:8s} {e:11.2f} {highest[name]:16.4f} {e * e:14.4f}")


slide()
bounce()
