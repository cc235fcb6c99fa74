# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""A controller on pinocchio's model of the same robot (`pip install pin`): forces of the feet.

Pinocchio has the quaternion as x, y, z, w, velocities of the base in body axes, joints by name.
"""

import numpy as np
import pinocchio as pin  # pyright: ignore[reportMissingImports]

import zelvik

URDF = zelvik.MODEL_DIR / "quadruped.urdf"
world = zelvik.World(time_step=0.002)
world.add_ground()
robot = world.add_articulated_system(URDF)
robot.generalized_coordinate = np.array([0, 0, 0.44, 1, 0, 0, 0, *(0, 0.6, -1.2) * 4])
model = pin.buildModelFromUrdf(str(URDF), pin.JointModelFreeFlyer())
data = model.createData()
# Where pinocchio's joints, those after "universe" and the base, are among our velocities.
order = np.array([robot.joints[name].velocity_slice.start for name in model.names[2:]])
model.armature[6:] = robot.rotor_inertia[order]  # no part of URDF
feet = [model.getFrameId(leg + "_FOOT") for leg in ("LF", "RF", "LH", "RH")]


def convert() -> tuple[np.ndarray, np.ndarray, np.ndarray]:
    """Coordinates and velocities as pinocchio has them, and T of v_pin = T u."""
    q, u = robot.generalized_coordinate, robot.generalized_velocity
    T = np.zeros((model.nv, model.nv))
    T[:3, :3] = T[3:6, 3:6] = robot.bodies[0].rotation_matrix.T
    T[range(6, model.nv), order] = 1.0
    return np.r_[q[:3], q[4:7], q[3], q[order + 1]], T @ u, T


def dynamics() -> tuple[np.ndarray, np.ndarray]:
    """M and h of M du/dt + h = tau in our velocities: dv/dt = T du/dt + dT/dt u."""
    q, v, T = convert()
    M = pin.crba(model, data, q)
    turning = np.r_[-np.cross(v[3:6], v[:3]), np.zeros(model.nv - 3)]
    return T.T @ M @ T, T.T @ (pin.nonLinearEffects(model, data, q, v) + M @ turning)


def torques(wrench: np.ndarray) -> np.ndarray:
    """h - sum of J^T f of the feet, whose forces f have this wrench about the base (world axes)."""
    (q, _, T), axes = convert(), pin.LOCAL_WORLD_ALIGNED
    J = np.vstack([pin.computeFrameJacobian(model, data, q, f, axes)[:3] for f in feet]) @ T
    tau: np.ndarray = dynamics()[1] - J.T @ np.linalg.lstsq(J[:, :6].T, wrench, rcond=None)[0]
    return np.concatenate([np.zeros(6), tau[6:]])


if __name__ == "__main__":
    for _ in range(1000):
        q, u = robot.generalized_coordinate, robot.generalized_velocity
        error = np.r_[-q[:2], 0.43 - q[2], -2 * q[4:7]]  # small angles of the quaternion
        stiffness = np.r_[2000, 2000, 2000, 300, 300, 300]
        wish = dynamics()[1][:6] + stiffness * (error - 0.1 * u[:6])
        robot.feed_forward_force = torques(wish)
        world.integrate()
    print(f"base at {robot.generalized_coordinate[2]:.4f} m, wished 0.43 m")
