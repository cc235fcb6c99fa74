# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Records a world and draws it: a picture, a replay in one HTML file, and pixels for other programs.

Arguments: a folder, and how long the world runs (s).
"""

import sys
from pathlib import Path

import numpy as np

import zelvik

folder = Path(sys.argv[1] if len(sys.argv) > 1 else ".")
seconds = float(sys.argv[2]) if len(sys.argv) > 2 else 2.0

world = zelvik.World(time_step=0.0025)
ground = zelvik.TerrainProperties(x_size=6, y_size=6, x_samples=121, y_samples=121, z_scale=0.4)
ground.frequency, ground.seed = 0.5, 5
hills = world.add_terrain(ground)
robot = world.add_articulated_system(zelvik.MODEL_DIR / "quadruped.urdf")
robot.name = "quadruped"
height = hills.get_heights(np.linspace(-0.4, 0.4, 9), np.linspace(-0.4, 0.4, 9)).max()
posture = np.array([0, 0, height + 0.5, 1, 0, 0, 0, *(0, 0.6, -1.2) * 4])
robot.generalized_coordinate = robot.p_target = posture
robot.control_mode = zelvik.ControlMode.PD_PLUS_FEED_FORWARD
robot.p_gain = gain = np.r_[np.zeros(6), np.full(12, 200.0)]
robot.d_gain = 0.02 * gain

recorder = zelvik.Recorder(world)
for step in range(round(seconds / world.time_step)):
    world.integrate()
    if step % 7 == 0:  # some 60 frames a second
        recorder.capture()

camera = zelvik.Camera(azimuth=-0.75, elevation=0.28, follow="quadruped")
picture = folder / "quadruped_on_terrain.png"
recorder.write_png(picture, camera=camera, contacts=True, width=640, height=380)
print(f"{picture.name}, {recorder.frame_count} frames")
if zelvik.Recorder.has_html_viewer():
    recorder.write_html(picture.with_suffix(".html"), title="quadruped")
    print(picture.with_suffix(".html").name)
pixels = recorder.render(camera=camera, dark=True)  # (400, 640, 3), uint8
print(f"pixels of shape {pixels.shape}, mean {pixels.mean():.0f} of 255")
