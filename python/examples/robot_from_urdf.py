# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""A robot from a URDF file: what becomes of its links, and the forces with which it touches the
ground. An argument names the file.
"""

import sys

import zelvik

world = zelvik.World(time_step=0.002)
world.add_ground()
robot = world.add_articulated_system(
    sys.argv[1] if len(sys.argv) > 1 else zelvik.MODEL_DIR / "quadruped.urdf"
)
print(f"{robot.body_count} bodies, {robot.generalized_coordinate_dim} coordinates,", end=" ")
print(f"{robot.dof} velocities")
print("body              parent             mass (kg)   joint")
for body in robot.bodies:
    parent = body.parent.name if body.parent else "-"
    print(f"{body.name:16s}  {parent:16s} {body.mass:11.3f}   {body.joint_type.name.lower()}")
print("frame                on body            at (m, in the body)")
for frame in robot.frames:
    print(f"{frame.name:20s} {frame.body.name:16s}   {frame.position_in_body.round(3)}")

if robot.bodies[0].joint_type is zelvik.JointType.FLOATING:
    # A floating base begins with position and quaternion; limp, it lies down.
    robot.set_base_pos((0, 0, 0.5))
world.integrate(3000)
print(f"after {world.world_time:.0f} s:")
vertical = 0.0
for contact in robot.contacts:
    if contact.skip:  # the second record of a contact of the robot with itself
        continue
    force = contact.impulse / world.time_step  # on this robot (N, world axes)
    name = robot.body_names[contact.local_body_index]
    other = contact.pair_object
    print(f"{name:16s} touches {other!r} at {contact.position.round(3)} with {force.round(3)} N")
    if not contact.self_collision:
        vertical += force[2]
mass = sum(body.mass for body in robot.bodies)
print(f"together {vertical:.3f} N upwards, the weight is {9.81 * mass:.3f} N")
