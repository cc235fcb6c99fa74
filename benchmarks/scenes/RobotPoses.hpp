// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <vector>

#include "NeutralScene.hpp"

namespace zelvik::bench {

/// Pose and velocity of a robot's body (world axes).
struct BodyPose {
  Vec3 position{};     ///< of the frame, which is the joint
  Vec3 com{};          ///< centre of mass
  Mat33 rotation{};    ///< body to world
  Vec3 comVelocity{};  ///< of the centre of mass
  Vec3 angularVelocity{};
  Vec3 jointAxis{};
};

/// Poses of all bodies for given coordinates and velocities, for engines that place bodies one by
/// one. `velocities` may be empty: at rest.
std::vector<BodyPose> robotPoses(const scenes::RobotSetup& robot,
                                 const std::vector<double>& coordinates,
                                 const std::vector<double>& velocities);

/// The coordinates of the robot with all joints at zero and the base at the origin.
std::vector<double> zeroCoordinates(const scenes::RobotSetup& robot);

}  // namespace zelvik::bench
