# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""A lidar over generated hills, printed as a picture of distances.

Rays in rows and columns, each row one angle below the horizon. Dark is near, blank is sky; letters
are bodies.
"""

import math

import zelvik

COLUMNS, ROWS, RANGE = 76, 24, 25.0  # (m)
FIELD_OF_VIEW, TOP, BOTTOM = 1.6, 0.12, -0.5  # (rad), level, and above the horizon

world = zelvik.World()
terrain = zelvik.TerrainProperties(
    x_size=50, y_size=50, x_samples=501, y_samples=501, z_scale=6, frequency=0.09, seed=11
)
terrain.fractal_octaves = 4
hills = world.add_terrain(terrain)

box = world.add_box(1.5, 1.5, 2.0, mass=10.0)
box.position = (-14, 3, hills.get_height(-14, 3) + 1.0)
box.name = "B"
sphere = world.add_sphere(0.8, mass=10.0)
sphere.position = (-16, -2.5, hills.get_height(-16, -2.5) + 0.8)
sphere.name = "S"
eye = (-22.0, 0.0, hills.get_height(-22, 0) + 1.5)

depths = []
for row in range(ROWS):
    pitch = TOP + (BOTTOM - TOP) * row / (ROWS - 1)
    line = ""
    for column in range(COLUMNS):
        yaw = FIELD_OF_VIEW * (0.5 - column / (COLUMNS - 1))
        level = math.cos(pitch)
        direction = (level * math.cos(yaw), level * math.sin(yaw), math.sin(pitch))
        hits = world.ray_test(eye, direction, RANGE)  # unsorted
        if not hits:
            line += " "
            continue
        hit = min(hits, key=lambda one: one.distance)
        depths.append(hit.distance)
        line += hit.object.name[:1] or "@%#*+=-:."[min(int(hit.distance / RANGE * 9), 8)]
    print(line)
print(f"{len(depths)} of {ROWS * COLUMNS} rays hit within {RANGE:.0f} m,", end=" ")
print(f"the nearest at {min(depths):.2f} m")
