// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Bindings.hpp"
#include "Records.hpp"

// State, control and joint parameters of a robot.

namespace zelvik::python {

namespace {

using Robot = const RobotHandle&;

/// A property on a vector of the robot, read-only.
template <RobotVector which>
Array readView(RobotHandle& self) {
  return self.view(which);
}

/// Reads a vector that has the size of one of the robot's.
VecDyn readLike(const VecDyn& model, ArrayLike values, const char* what,
                Allow allow = Allow::FINITE) {
  VecDyn out;
  out.resize(model.n);
  readNumbers(values, what, out.v, model.n, allow);
  return out;
}

void bindState(RobotClass& robot) {
  robot
      .def_prop_rw(
          "generalized_coordinate", readView<RobotVector::COORDINATE>,
          [](Robot self, ArrayLike values) {
            ArticulatedSystem& r = self.robotBetweenSteps("generalized_coordinate");
            r.setGeneralizedCoordinate(
                readLike(r.getGeneralizedCoordinate(), values, "generalized_coordinate"));
          },
          "Coordinates, shape (generalized_coordinate_dim,); a read-only view.\n\n"
          "A floating base: position (m), unit quaternion w, x, y, z; then the joints in\n"
          "body order: angle (rad), displacement (m), or unit quaternion w, x, y, z.\n"
          "Setting them places the robot and drops its contacts.")
      .def_prop_rw(
          "generalized_velocity", readView<RobotVector::VELOCITY>,
          [](Robot self, ArrayLike values) {
            ArticulatedSystem& r = self.robot();
            r.setGeneralizedVelocity(
                readLike(r.getGeneralizedVelocity(), values, "generalized_velocity"));
          },
          "Velocities, shape (dof,); a read-only view.\n\n"
          "A floating base: linear (m/s), then angular (rad/s), both in world axes; then\n"
          "the joints: rad/s, m/s, or angular velocity in child axes (rad/s).")
      .def_prop_ro(
          "generalized_velocity_dim",
          [](Robot self) { return self.robot().getGeneralizedVelocityDim(); },
          "Number of velocities.")
      .def_prop_ro(
          "generalized_coordinate_dim",
          [](Robot self) { return self.robot().getGeneralizedCoordinateDim(); },
          "Number of coordinates.")
      .def_prop_ro(
          "dof", [](Robot self) { return self.robot().getDOF(); }, "Number of velocities.")
      .def_prop_ro(
          "body_count", [](Robot self) { return self.robot().getBodyCount(); },
          "Bodies of the tree, the root included; bodies on fixed joints count with their "
          "parent.")
      .def(
          "set_base_pos",
          [](Robot self, ArrayLike position) {
            self.robotBetweenSteps("set_base_pos").setBasePos(readVector<3>(position, "position"));
          },
          "position"_a, "Move the root, also a fixed one (m, world axes), shape (3,).")
      .def(
          "set_base_orientation",
          [](Robot self, ArrayLike orientation) {
            ArticulatedSystem& r = self.robotBetweenSteps("set_base_orientation");
            Mat<3, 3> R;
            quatToRotMat(readQuaternion(orientation, "orientation"), R);
            r.setBaseOrientation(R);
          },
          "orientation"_a,
          "Turn the root, also a fixed one: quaternion w, x, y, z, body to world, shape (4,).")
      .def_prop_ro(
          "base_orientation",
          [](Robot self) {
            Mat<4, 1> q;
            self.robot().getBaseOrientation(q);
            return toPython(q);
          },
          "Unit quaternion w, x, y, z of a floating base, shape (4,); a copy.\n\n"
          "Raises\n------\nFatalError\n    For a fixed base.");
}

void bindControl(RobotClass& robot) {
  robot
      .def_prop_rw(
          "control_mode", [](Robot self) { return self.robot().getControlMode(); },
          [](Robot self, ArticulatedSystem::ControlMode mode) {
            self.robot().setControlMode(mode);
          },
          "What makes the joint forces; FEED_FORWARD at first.")
      .def_prop_rw(
          "p_gain", readView<RobotVector::P_GAIN>,
          [](Robot self, ArrayLike values) {
            ArticulatedSystem& r = self.robot();
            r.setPGain(readLike(r.getPGain(), values, "p_gain"));
          },
          "Stiffness of the PD law (N/m or N m/rad), shape (dof,); a read-only view.")
      .def_prop_rw(
          "d_gain", readView<RobotVector::D_GAIN>,
          [](Robot self, ArrayLike values) {
            ArticulatedSystem& r = self.robot();
            r.setDGain(readLike(r.getDGain(), values, "d_gain"));
          },
          "Damping of the PD law (N s/m or N m s/rad), shape (dof,); a read-only view.")
      .def_prop_rw(
          "p_target", readView<RobotVector::P_TARGET>,
          [](Robot self, ArrayLike values) {
            ArticulatedSystem& r = self.robot();
            r.setPTarget(readLike(r.getPTarget(), values, "p_target"));
          },
          "Targets of the PD law, laid out as the coordinates; a read-only view.")
      .def_prop_rw(
          "d_target", readView<RobotVector::D_TARGET>,
          [](Robot self, ArrayLike values) {
            ArticulatedSystem& r = self.robot();
            r.setDTarget(readLike(r.getDTarget(), values, "d_target"));
          },
          "Targets of the PD law, laid out as the velocities; a read-only view.")
      .def_prop_rw(
          "feed_forward_force", readView<RobotVector::FEED_FORWARD>,
          [](Robot self, ArrayLike values) {
            ArticulatedSystem& r = self.robot();
            r.setGeneralizedForce(readLike(r.getFeedForwardForce(), values, "feed_forward_force"));
          },
          "Feed-forward joint forces (N or N m), shape (dof,), kept until set again; a "
          "read-only view.")
      .def_prop_ro("generalized_force", readView<RobotVector::FORCE>,
                   "Joint forces of the last step: control and damping, after limits (N or N m), "
                   "shape (dof,); a read-only view. To apply forces set `feed_forward_force`.")
      .def(
          "set_force_limits",
          [](Robot self, ArrayLike lower, ArrayLike upper) {
            ArticulatedSystem& r = self.robot();
            const VecDyn low = readLike(r.getForceLowerLimit(), lower, "lower", Allow::INFINITE);
            const VecDyn high = readLike(r.getForceUpperLimit(), upper, "upper", Allow::INFINITE);
            r.setForceLimits(low, high);
          },
          "lower"_a, "upper"_a,
          "Bound the sum of feed-forward, PD and damping forces (N or N m), shape (dof,) each.")
      .def_prop_ro("force_lower_limit", readView<RobotVector::LOWER_LIMIT>,
                   "(N or N m), shape (dof,); a read-only view.")
      .def_prop_ro("force_upper_limit", readView<RobotVector::UPPER_LIMIT>,
                   "(N or N m), shape (dof,); a read-only view.");
}

void setJointLimits(Robot self, ArrayLike limits) {
  ArticulatedSystem& r = self.robot();
  const nb::object rows = nb::module_::import_("numpy").attr("asarray")(limits.value);
  const nb::object shape = rows.attr("shape");
  if (!shape.equal(nb::make_tuple(r.getDOF(), 2)))
    throwValueError("joint_limits: expected shape (" + std::to_string(r.getDOF()) + ", 2), got " +
                    nb::cast<std::string>(nb::repr(shape)));
  std::vector<double> flat(2 * r.getDOF());
  const nb::object row = rows.attr("reshape")(-1);
  readNumbers({row}, "joint_limits", flat.data(), flat.size(), Allow::INFINITE);
  std::vector<JointLimit> out(r.getDOF());
  for (size_t i = 0; i < out.size(); ++i) out[i] = {{flat[2 * i], flat[2 * i + 1]}};
  r.setJointLimits(out);
}

void bindJointParameters(RobotClass& robot) {
  robot
      .def_prop_rw(
          "joint_limits",
          [](Robot self) {
            const std::vector<JointLimit>& limits = self.robot().getJointLimits();
            return copyTable(limits.empty() ? nullptr : limits[0].v, limits.size(), 2);
          },
          setJointLimits,
          "Lower and upper limit (rad or m), shape (dof, 2); a copy.\n\n"
          "Equal values: no limit. Only the first row of a joint is read; a spherical joint reads\n"
          "its lower value as its largest angle.")
      .def_prop_rw(
          "joint_damping", readView<RobotVector::DAMPING>,
          [](Robot self, ArrayLike values) {
            ArticulatedSystem& r = self.robot();
            r.setJointDamping(readLike(r.getJointDamping(), values, "joint_damping"));
          },
          "Viscous damping (N s/m or N m s/rad), shape (dof,); a read-only view.")
      .def_prop_ro("joint_friction", readView<RobotVector::FRICTION>,
                   "As read from the model, shape (dof,); stored only; a read-only view.")
      .def_prop_ro("rotor_inertia", readView<RobotVector::ROTOR_INERTIA>,
                   "What is added to the diagonal of M (kg or kg m^2), shape (dof,); a read-only "
                   "view.")
      .def_prop_rw(
          "springs",
          [](Robot self) {
            nb::list out;
            for (const JointSpring& spring : self.robot().getSprings())
              out.append(makeSpring(spring));
            return out;
          },
          [](Robot self, const std::vector<JointSpringRecord>& springs) {
            std::vector<JointSpring> out;
            for (const JointSpringRecord& spring : springs) out.push_back(readSpring(spring.value));
            self.robot().setSprings(out);
          },
          nb::for_getter(nb::sig("def springs(self) -> list[zelvik._records.JointSpring]")),
          "Springs in the joints; copies. Setting them replaces all.")
      .def_prop_rw(
          "integration_scheme", [](Robot self) { return self.robot().getIntegrationScheme(); },
          [](Robot self, ArticulatedSystem::IntegrationScheme scheme) {
            self.robot().setIntegrationScheme(scheme);
          },
          "How positions follow velocities. In PD mode TRAPEZOID takes its place from the "
          "first contact on.");
}

}  // namespace

void bindRobot(RobotClass& robot) {
  bindState(robot);
  bindControl(robot);
  bindJointParameters(robot);
}

}  // namespace zelvik::python
