# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Bodies on generated terrain; with the name of a PNG file as argument it also draws them."""

import sys

import numpy as np

import zelvik

world = zelvik.World(time_step=0.005)
recorder = zelvik.Recorder(world)
# Ground of 8 m by 8 m with cells of 10 cm and hills of some 3 m. Equal properties give equal ground.
ground = zelvik.TerrainProperties(x_size=8, y_size=8, x_samples=81, y_samples=81, z_scale=0.6)
ground.frequency, ground.fractal_octaves, ground.seed = 0.3, 4, 8
terrain = world.add_terrain(ground, material="soil")

# Friction goes by the pair of materials; a pair that is not set has the default properties.
world.set_default_material(0.8)
world.set_material_pair_prop("soil", "rubber", 1.0, restitution=0.2)

bodies = {
    "box": world.add_box(0.3, 0.25, 0.2, mass=2.0),
    "sphere": world.add_sphere(0.15, mass=2.0, material="rubber"),
    "capsule": world.add_capsule(0.1, 0.3, mass=2.0),
    "cylinder": world.add_cylinder(0.12, 0.3, mass=2.0),
}
for x, body in zip((-1.5, -0.5, 0.5, 1.5), bodies.values(), strict=True):
    # Orientation first, position after it; the height of the ground is known anywhere.
    body.orientation = (0.9, 0.3, 0.2, -0.1)
    body.position = (x, 0.2, terrain.get_height(x, 0.2) + 0.5)
    body.angular_damping = (0.05, 0.05, 0.05)  # round bodies would roll for long

print("   t     contacts  fastest body")
for step in range(1, 2001):
    world.integrate()
    recorder.capture()
    if step % 400 == 0:
        fastest = max(np.linalg.norm(body.linear_velocity) for body in bodies.values())
        contacts = len(world.contact_problems["depth"])
        print(f"{world.world_time:4.0f} s  {contacts:8d}  {fastest:8.4f} m/s")

print("\nbody          x       y   centre   ground   above the ground along its normal")
for name, body in bodies.items():
    x, y, z = body.com_position
    height, normal = terrain.get_height(x, y), terrain.get_normal(x, y)
    print(f"{name:9s} {x:6.3f}  {y:6.3f}   {z:6.3f}   {height:6.3f}", end="   ")
    print(f"{(z - height) * normal[2]:6.3f} m")
if len(sys.argv) > 1:
    recorder.write_png(sys.argv[1])
