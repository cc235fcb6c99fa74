// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Bindings.hpp"

// Mass matrix, Jacobians, frames, energy and model of a robot.

namespace zelvik::python {

namespace {

using Robot = const RobotHandle&;

/// A body by its index or name.
size_t bodyIndex(const ArticulatedSystem& robot, nb::handle body) {
  size_t index = 0;
  std::string name;
  if (nb::try_cast<size_t>(body, index)) {
    if (index >= robot.getBodyCount())
      throwIndexError("body " + std::to_string(index) + " is out of range, the robot has " +
                      std::to_string(robot.getBodyCount()) + " bodies");
    return index;
  }
  if (nb::try_cast<std::string>(body, name)) return robot.getBodyIdx(name);
  throwTypeError("body: expected an index or a name");
}

/// A frame by its index or name.
size_t frameIndex(const ArticulatedSystem& robot, nb::handle frame) {
  size_t index = 0;
  std::string name;
  if (nb::try_cast<size_t>(frame, index)) {
    if (index >= robot.getFrames().size())
      throwIndexError("frame " + std::to_string(index) + " is out of range, the robot has " +
                      std::to_string(robot.getFrames().size()) + " frames");
    return index;
  }
  if (nb::try_cast<std::string>(frame, name)) return robot.getFrameIdxByName(name);
  throwTypeError("frame: expected an index or a name");
}

Mat<3, 1> pointOf(const ArticulatedSystem& robot, size_t body,
                  const std::optional<ArrayLike>& pointW) {
  if (pointW) return readVector<3>(*pointW, "point");
  Mat<3, 1> origin;
  robot.getPosition(body, origin);
  return origin;
}

void bindDynamics(RobotClass& robot) {
  robot
      .def(
          "update_kinematics", [](Robot self) { self.robot().updateKinematics(); },
          "Compute the world poses of all bodies from the coordinates.")
      .def(
          "compute_mass_matrix",
          [](Robot self) {
            ArticulatedSystem& r = self.robotBetweenSteps("compute_mass_matrix");
            MatDyn M;
            M.setZero(r.getDOF(), r.getDOF());
            r.computeMassMatrix(M);
            return toPython(M);
          },
          "Compute the joint-space inertia of the present coordinates, shape (dof, dof).")
      .def(
          "compute_nonlinearities",
          [](Robot self, ArrayLike gravity) {
            ArticulatedSystem& r = self.robotBetweenSteps("compute_nonlinearities");
            VecDyn h;
            h.resize(r.getDOF());
            r.computeNonlinearities(readVector<3>(gravity, "gravity"), h);
            return toPython(h);
          },
          "gravity"_a,
          "Compute gravity, Coriolis and centrifugal forces (N or N m), shape (dof,), and the "
          "body velocities.\n\n"
          "Call `compute_mass_matrix` first, whose results it reads. `gravity` (m/s^2, world "
          "axes).")
      .def_prop_ro(
          "mass_matrix", [](Robot self) { return toPython(self.robot().getMassMatrix()); },
          "M (kg, kg m, kg m^2), shape (dof, dof), as of the last `World.integrate1`, "
          "without damping; a copy.")
      .def_prop_ro(
          "inverse_mass_matrix",
          [](Robot self) { return toPython(self.robot().getInverseMassMatrix()); },
          "Inverse of M plus the implicit damping of the step, shape (dof, dof); a copy.")
      .def_prop_ro(
          "nonlinearities",
          [](RobotHandle& self) { return self.view(RobotVector::NONLINEARITIES); },
          "h (N or N m), shape (dof,), as of the last `World.integrate1`; a read-only "
          "view.")
      .def_prop_ro(
          "generalized_momentum",
          [](Robot self) { return toPython(self.robot().getGeneralizedMomentum()); },
          "M u as of the last step, shape (dof,); a copy.")
      .def(
          "get_dense_jacobian",
          [](Robot self, nb::handle body, const std::optional<ArrayLike>& pointW) {
            const ArticulatedSystem& r = self.robot();
            const size_t index = bodyIndex(r, body);
            MatDyn J;
            J.setZero(3, r.getDOF());
            r.getDenseJacobian(index, pointOf(r, index, pointW), J);
            return toPython(J);
          },
          "body"_a, "point"_a = nb::none(),
          nb::sig("def get_dense_jacobian(self, body: int | str, point: numpy.typing.ArrayLike | "
                  "None = None) -> numpy.typing.NDArray[numpy.float64]"),
          "Get the Jacobian of a world point as if fixed to the body, shape (3, dof).\n\n"
          "Parameters\n----------\nbody : int or str\n    Index or name.\n"
          "point : array_like, shape (3,), optional\n    (m, world axes); by default the body's "
          "origin.")
      .def(
          "get_dense_rotational_jacobian",
          [](Robot self, nb::handle body) {
            const ArticulatedSystem& r = self.robot();
            MatDyn J;
            J.setZero(3, r.getDOF());
            r.getDenseRotationalJacobian(bodyIndex(r, body), J);
            return toPython(J);
          },
          "body"_a,
          nb::sig("def get_dense_rotational_jacobian(self, body: int | str) -> "
                  "numpy.typing.NDArray[numpy.float64]"),
          "Get the angular Jacobian of a body (world axes), shape (3, dof).")
      .def(
          "get_angular_velocity",
          [](Robot self, nb::handle body) {
            const ArticulatedSystem& r = self.robot();
            Mat<3, 1> w;
            r.getAngularVelocity(bodyIndex(r, body), w);
            return toPython(w);
          },
          "body"_a,
          nb::sig("def get_angular_velocity(self, body: int | str) -> "
                  "numpy.typing.NDArray[numpy.float64]"),
          "Get the angular velocity of a body (rad/s, world axes), shape (3,), of the last step.")
      .def(
          "integrate_position",
          [](Robot self, ArrayLike coordinates, ArrayLike velocities, double dt) {
            const ArticulatedSystem& r = self.robot();
            VecDyn gc, rate;
            gc.resize(r.getGeneralizedCoordinateDim());
            rate.resize(r.getDOF());
            readNumbers(coordinates, "coordinates", gc.v, gc.n);
            readNumbers(velocities, "velocities", rate.v, rate.n);
            r.integratePosition(gc, rate, checkFinite(dt, "dt"));
            return toPython(gc);
          },
          "coordinates"_a, "velocities"_a, "dt"_a,
          "Move coordinates by velocities over `dt` (s), quaternions as such; returns the new "
          "ones.")
      .def(
          "set_mass",
          [](Robot self, nb::handle body, double mass) {
            ArticulatedSystem& r = self.robotBetweenSteps("set_mass");
            r.setMass(bodyIndex(r, body), checkFinite(mass, "mass"));
          },
          "body"_a, "mass"_a, nb::sig("def set_mass(self, body: int | str, mass: float) -> None"),
          "Set the mass of a body (kg); its inertia does not change.");
}

void bindFrames(RobotClass& robot) {
  robot
      .def(
          "get_body_idx",
          [](Robot self, const std::string& name) { return self.robot().getBodyIdx(name); },
          "name"_a,
          "Get the index of a body.\n\nRaises\n------\nFatalError\n    For a link that was "
          "merged into its parent, and for an unknown name.")
      .def(
          "get_body_idx_of_link",
          [](Robot self, const std::string& name) { return self.robot().getBodyIdxOfLink(name); },
          "name"_a,
          "Get the index of the body that holds a link: its own, or for a link on fixed joints the "
          "one\nthat it was merged into.\n\nRaises\n------\nFatalError\n    For an unknown name.")
      .def(
          "get_frame_idx_by_name",
          [](Robot self, const std::string& name) { return self.robot().getFrameIdxByName(name); },
          "name"_a,
          "Get the index of a frame.\n\nRaises\n------\nFatalError\n    For an unknown "
          "name.")
      .def(
          "get_frame_position",
          [](Robot self, nb::handle frame) {
            const ArticulatedSystem& r = self.robot();
            Mat<3, 1> out;
            r.getFramePosition(frameIndex(r, frame), out);
            return toPython(out);
          },
          "frame"_a,
          nb::sig("def get_frame_position(self, frame: int | str) -> "
                  "numpy.typing.NDArray[numpy.float64]"),
          "Get the origin of a frame (m, world axes), shape (3,).")
      .def(
          "get_frame_orientation",
          [](Robot self, nb::handle frame) {
            const ArticulatedSystem& r = self.robot();
            Mat<3, 3> out;
            r.getFrameOrientation(frameIndex(r, frame), out);
            return toPython(out);
          },
          "frame"_a,
          nb::sig("def get_frame_orientation(self, frame: int | str) -> "
                  "numpy.typing.NDArray[numpy.float64]"),
          "Get the rotation matrix frame to world, shape (3, 3).")
      .def(
          "get_frame_velocity",
          [](Robot self, nb::handle frame) {
            const ArticulatedSystem& r = self.robot();
            Mat<3, 1> out;
            r.getFrameVelocity(frameIndex(r, frame), out);
            return toPython(out);
          },
          "frame"_a,
          nb::sig("def get_frame_velocity(self, frame: int | str) -> "
                  "numpy.typing.NDArray[numpy.float64]"),
          "Get the velocity of a frame's origin (m/s, world axes), shape (3,), of the last step.")
      .def(
          "get_frame_angular_velocity",
          [](Robot self, nb::handle frame) {
            const ArticulatedSystem& r = self.robot();
            Mat<3, 1> out;
            r.getFrameAngularVelocity(frameIndex(r, frame), out);
            return toPython(out);
          },
          "frame"_a,
          nb::sig("def get_frame_angular_velocity(self, frame: int | str) -> "
                  "numpy.typing.NDArray[numpy.float64]"),
          "Get the angular velocity of the body that a frame is fixed in (rad/s, world axes), "
          "shape (3,), of the last step.");
}

void bindEnergy(RobotClass& robot) {
  robot
      .def(
          "get_potential_energy",
          [](Robot self, ArrayLike gravity) {
            return self.robot().getPotentialEnergy(readVector<3>(gravity, "gravity"));
          },
          "gravity"_a, "Get the potential energy, zero at the world's origin (J).")
      .def_prop_ro(
          "kinetic_energy", [](Robot self) { return self.robot().getKineticEnergy(); },
          "With the mass matrix as last computed (J).")
      .def(
          "get_energy",
          [](Robot self, ArrayLike gravity) {
            return self.robot().getEnergy(readVector<3>(gravity, "gravity"));
          },
          "gravity"_a, "Get potential and kinetic energy (J).")
      .def(
          "get_angular_momentum",
          [](Robot self, ArrayLike point) {
            Mat<3, 1> out;
            self.robot().getAngularMomentum(readVector<3>(point, "reference_point"), out);
            return toPython(out);
          },
          "reference_point"_a,
          "Get the angular momentum about a world point (kg m^2/s, world axes), shape (3,).")
      .def(
          "set_external_force_in",
          [](Robot self, nb::handle body, ArticulatedSystem::Frame forceFrame, ArrayLike force,
             ArticulatedSystem::Frame pointFrame, ArrayLike point) {
            ArticulatedSystem& r = self.robot();
            r.setExternalForce(bodyIndex(r, body), forceFrame, readVector<3>(force, "force"),
                               pointFrame, readVector<3>(point, "point"));
          },
          "body"_a, "force_frame"_a, "force"_a, "point_frame"_a, "point"_a,
          nb::sig("def set_external_force_in(self, body: int | str, force_frame: Frame, force: "
                  "numpy.typing.ArrayLike, point_frame: Frame, point: numpy.typing.ArrayLike) -> "
                  "None"),
          "Add a force (N) at a point (m), each in the axes named, for the next step.")
      .def(
          "clear_external_forces", [](Robot self) { self.robot().clearExternalForces(); },
          "Move the pending forces to the display lists.");
}

void bindModel(RobotClass& robot) {
  robot
      .def_prop_ro(
          "body_names", [](Robot self) { return self.robot().getBodyNames(); }, "By body index.")
      .def_prop_ro(
          "joint_names", [](Robot self) { return self.robot().getJointNames(); },
          "Of the joints that move, in body order; a floating base adds \"ROOT\" in "
          "front.")
      .def_prop_ro(
          "robot_name", [](Robot self) { return self.robot().getRobotName(); },
          "File name of the model; empty for text and for a tree.")
      .def_prop_ro(
          "model_path", [](Robot self) { return self.robot().getModelPath(); },
          "Normalised path of the URDF file; empty for text and for a tree.")
      .def_prop_ro(
          "model_text", [](Robot self) { return self.robot().getModelText(); },
          "The URDF text that was given; empty for a file and for a tree.")
      .def_prop_ro(
          "model_joint_order", [](Robot self) { return self.robot().getModelJointOrder(); },
          "The order of joints that was given with a URDF model; empty for none.")
      .def_prop_ro(
          "model_top_directory", [](Robot self) { return self.robot().getModelTopDirectory(); },
          "Directory of the URDF file.")
      .def_prop_ro(
          "resource_directory", [](Robot self) { return self.robot().getResourceDirectory(); },
          "Directory of the mesh files.")
      .def(
          "export_model_text",
          [](Robot self, const PathArgument& file) { self.robot().exportModelText(file.text); },
          "file"_a,
          "Write the URDF text that the robot was made from.\n\n"
          "Raises\n------\nFatalError\n    For a robot that was not made from text, and for a name "
          "without \".urdf\".")
      .def(
          "ignore_collision_between",
          [](Robot self, nb::handle a, nb::handle b) {
            ArticulatedSystem& r = self.robotBetweenSteps("ignore_collision_between");
            r.ignoreCollisionBetween(bodyIndex(r, a), bodyIndex(r, b));
          },
          "body_a"_a, "body_b"_a,
          nb::sig("def ignore_collision_between(self, body_a: int | str, body_b: int | str) -> "
                  "None"),
          "Let no shape of one body collide with one of the other any more.");
}

}  // namespace

void bindRobotDynamics(RobotClass& robot) {
  bindDynamics(robot);
  bindFrames(robot);
  bindEnergy(robot);
  bindModel(robot);
}

}  // namespace zelvik::python
