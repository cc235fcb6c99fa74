#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Ratios of zelvik to the engine of each target, measured in turns: turns.py BUILD_DIR ROUNDS [SCENE ...]

For a machine on which others come and go: a round takes a second or so per scene, so both engines see
the same machine. Prints the ratio of the minima over all rounds, and of the ratios of single rounds
the median with the first and last tenth."""
import json
import statistics
import subprocess
import sys

# Scene, the other engine with its setting, settings of zelvik.
TARGETS = [
    ("S1", "mujoco", "default", ["default", "broad=simple", "broad=simple,threshold=1e-12"]),
    ("S1m", "mujoco", "default",
     ["default", "broad=simple", "broad=simple,layer=1e-5,threshold=1e-12"]),
    ("S2", "mujoco", "default", ["default", "broad=simple"]),
    ("S3", "mujoco", "default", ["broad=simple,warm=1,erp=20,iterations=10"]),
    ("S6-standing", "mujoco", "default", ["broad=simple"]),
    ("S6-falling", "mujoco", "default", ["broad=simple"]),
    ("S9", "mujoco", "default", ["broad=simple"]),
    ("S5", "bullet", "default", ["broad=sap,warm=1,erp=1,iterations=6,layer=2e-5"]),
    ("S4-216-boxes", "bullet", "default",
     ["broad=sap,warm=1,erp=15,iterations=8,layer=1e-5",
      "broad=sap,warm=1,erp=20,iterations=10,layer=2e-5",
      "broad=sap,warm=1,erp=20,iterations=12,layer=2e-5"]),
    ("S4-216-spheres", "ode", "space=sap", ["broad=sap,warm=1,erp=60,iterations=10"]),
]


def least_time(build, engine, scene, setting):
    """Of three runs (CPU us per step)."""
    out = subprocess.run([f"{build}/bin/bench_{engine}", "--scene", scene, "--setting", setting,
                          "--runs", "3", "--no-accuracy"],
                         capture_output=True, text=True, check=True).stdout
    return json.loads(out)["cpu_us_per_step"]["min"]


def main():
    build, rounds, scenes = sys.argv[1], int(sys.argv[2]), sys.argv[3:]
    targets = [target for target in TARGETS if not scenes or target[0] in scenes]
    times = {}
    for _ in range(rounds):
        for scene, engine, setting, ours in targets:
            other = least_time(build, engine, scene, setting)
            for own in ours:
                pair = (least_time(build, "zelvik", scene, own), other)
                times.setdefault((scene, own, engine), []).append(pair)
    for (scene, own, engine), pairs in times.items():
        least, least_other = (min(column) for column in zip(*pairs))
        ratios = sorted(other / time for time, other in pairs)
        tenth = len(ratios) // 10
        print(f"{scene:15} {own:46} {least:8.2f}, {engine} {least_other:8.2f}: minima "
              f"{least_other / least:.2f}, rounds {statistics.median(ratios):.2f} "
              f"({ratios[tenth]:.2f} to {ratios[-1 - tenth]:.2f})")


if __name__ == "__main__":
    main()
