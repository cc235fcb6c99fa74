// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <vector>
#include <zelvik/object/ArticulatedSystem/JointAndBodies.hpp>

#include "NeutralScene.hpp"

namespace zelvik::scenes {

/// A collision shape of a robot's body. Pose in the body frame.
struct ModelShape {
  ShapeKind kind = ShapeKind::SPHERE;
  Vec3 size{};  ///< see `ShapeKind`
  Vec3 position{};
  Mat33 rotation = Mat33::identity();
};

/// A body of a robot with the joint above it, bodies on fixed joints merged. The body frame has its
/// origin at the joint.
struct ModelBody {
  std::string name;
  int parent = -1;
  Joint::Type joint = Joint::FLOATING;
  Vec3 position{};                     ///< of the frame at coordinate zero (parent frame)
  Mat33 rotation = Mat33::identity();  ///< body to parent at coordinate zero
  Vec3 axis{};                         ///< unit, body frame
  double mass = 0.0;
  Vec3 com{};       ///< body frame
  Mat33 inertia{};  ///< about the centre of mass, body axes
  double damping = 0.0, rotorInertia = 0.0;
  double lower = 0.0, upper = 0.0;  ///< limits; equal: none; a spherical joint has `lower` only
  double effort = 0.0;              ///< largest force of control and damping; infinite: none
  size_t firstVelocity = 0, firstCoordinate = 0;
  std::vector<ModelShape> shapes;
};

/// The bodies of a robot in depth-first order, as zelvik merges them, for engines that read no
/// URDF or another dialect of it.
std::vector<ModelBody> flatModel(const RobotSetup& robot);

/// Rotation (columns: axes, right-handed) and principal moments of an inertia.
void principalAxes(const Mat33& inertia, Mat33& axes, Vec3& moments);

}  // namespace zelvik::scenes
