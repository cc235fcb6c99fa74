// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Bindings.hpp"

namespace zelvik::python {

void bindEnums(nb::module_& m) {
  nb::enum_<BodyType>(m, "BodyType", "How a body takes part in a step.")
      .value("STATIC", BodyType::STATIC, "Never moves.")
      .value("KINEMATIC", BodyType::KINEMATIC,
             "Moves with the velocity that the caller sets, whatever pushes it.")
      .value("DYNAMIC", BodyType::DYNAMIC, "Moves by forces and contacts.");

  nb::enum_<ObjectType>(m, "ObjectType", "What kind of object this is.")
      .value("SPHERE", ObjectType::SPHERE)
      .value("BOX", ObjectType::BOX)
      .value("CYLINDER", ObjectType::CYLINDER)
      .value("CONE", ObjectType::CONE)
      .value("CAPSULE", ObjectType::CAPSULE)
      .value("MESH", ObjectType::MESH)
      .value("GROUND", ObjectType::GROUND)
      .value("COMPOUND", ObjectType::COMPOUND)
      .value("HEIGHTMAP", ObjectType::HEIGHTMAP)
      .value("ARTICULATED_SYSTEM", ObjectType::ARTICULATED_SYSTEM)
      .value("UNRECOGNIZED", ObjectType::UNRECOGNIZED)
      .value("HULL", ObjectType::HULL);

  nb::enum_<World::BroadPhase>(m, "BroadPhase",
                               "How pairs that may touch are found; the contacts are the same set.")
      .value("AUTO", World::BroadPhase::AUTO,
             "All pairs for few shapes, sweep and prune for many (default).")
      .value("HASH", World::BroadPhase::HASH,
             "A hash space, which overlooks a pair now and then that meets at the origin.")
      .value("SIMPLE", World::BroadPhase::SIMPLE, "All pairs.")
      .value("SWEEP_AND_PRUNE", World::BroadPhase::SWEEP_AND_PRUNE,
             "Along x; for many bodies that are spread out.")
      .value("QUADTREE", World::BroadPhase::QUADTREE,
             "Cells of 4 m in a square of 128 m about the origin.");

  nb::enum_<GyroscopicMode>(m, "GyroscopicMode",
                            "How a single body integrates the term w x (I w) of Euler's equation.")
      .value("IMPLICIT_BODY", IMPLICIT_GYROSCOPIC_BODY, "One Newton step in body axes (default).")
      .value("IMPLICIT_WORLD", IMPLICIT_GYROSCOPIC_WORLD,
             "One Newton step in world axes, torque included.")
      .value("EXPLICIT", EXPLICIT_GYROSCOPIC, "Forward Euler; gains energy in a fast spin.")
      .value("NONE", NO_GYROSCOPIC, "Left out.");

  using Robot = ArticulatedSystem;
  nb::enum_<Robot::ControlMode>(m, "ControlMode", "What makes the joint forces of a robot.")
      .value("FEED_FORWARD", Robot::FEED_FORWARD, "`generalized_force` alone.")
      .value("PD_PLUS_FEED_FORWARD", Robot::PD_PLUS_FEED_FORWARD,
             "Plus a PD law on joint targets, integrated implicitly.");

  nb::enum_<Robot::IntegrationScheme>(m, "IntegrationScheme",
                                      "How positions of a robot follow its velocities.")
      .value("TRAPEZOID", Robot::TRAPEZOID, "With the mean of old and new velocity (default).")
      .value("SEMI_IMPLICIT", Robot::SEMI_IMPLICIT, "With the new velocity.")
      .value("EXPLICIT", Robot::EXPLICIT, "With the old velocity.")
      .value("RUNGE_KUTTA_4", Robot::RUNGE_KUTTA_4,
             "Fourth order; free bases and ball joints second.");

  nb::enum_<Robot::Frame>(m, "Frame", "Axes in which a force or a point is given.")
      .value("WORLD", Robot::WORLD_FRAME)
      .value("PARENT", Robot::PARENT_FRAME)
      .value("BODY", Robot::BODY_FRAME);

  nb::enum_<Joint::Type>(m, "JointType", "Motion that a joint leaves free.")
      .value("FIXED", Joint::FIXED)
      .value("REVOLUTE", Joint::REVOLUTE, "Angle (rad); rate about the axis (rad/s).")
      .value("PRISMATIC", Joint::PRISMATIC, "Displacement (m); rate along the axis (m/s).")
      .value("SPHERICAL", Joint::SPHERICAL,
             "Unit quaternion w, x, y, z; angular velocity in child axes (rad/s).")
      .value("FLOATING", Joint::FLOATING,
             "Position (m) and unit quaternion w, x, y, z; linear (m/s) and angular velocity "
             "(rad/s) in world axes.");

  nb::enum_<Shape::Type>(m, "ShapeType", "Shapes of a robot; in brackets what `size` holds (m).")
      .value("BOX", Shape::BOX, "(x, y, z)")
      .value("CYLINDER", Shape::CYLINDER, "(radius, length)")
      .value("SPHERE", Shape::SPHERE, "(radius,)")
      .value("MESH", Shape::MESH, "()")
      .value("CAPSULE", Shape::CAPSULE, "(radius, length of the cylinder part)")
      .value("HULL", Shape::HULL, "()");
}

}  // namespace zelvik::python
