// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "scenes/RobotPoses.hpp"

#include <zelvik/World.hpp>

namespace zelvik::bench {

std::vector<BodyPose> robotPoses(const scenes::RobotSetup& robot,
                                 const std::vector<double>& coordinates,
                                 const std::vector<double>& velocities) {
  World world;
  ArticulatedSystem& system = *world.addArticulatedSystem(robot.urdf, ZELVIK_MODEL_DIR);
  system.setGeneralizedCoordinate(coordinates.data(), coordinates.size());
  system.setGeneralizedVelocity(velocities.data(), velocities.size());
  world.integrate1();
  std::vector<BodyPose> poses(system.getBodyCount());
  for (size_t i = 0; i < poses.size(); ++i) {
    BodyPose& pose = poses[i];
    Vec3 velocity;
    system.getPosition(i, pose.position);
    system.getOrientation(i, pose.rotation);
    system.getVelocity(i, velocity);
    system.getAngularVelocity(i, pose.angularVelocity);
    pose.com = system.getComPositions()[i];
    pose.comVelocity = velocity + cross(pose.angularVelocity, pose.com - pose.position);
    pose.jointAxis = system.getJointAxes()[i];
  }
  return poses;
}

std::vector<double> zeroCoordinates(const scenes::RobotSetup& robot) {
  World world;
  const ArticulatedSystem& system = *world.addArticulatedSystem(robot.urdf, ZELVIK_MODEL_DIR);
  std::vector<double> zero(system.getGeneralizedCoordinateDim(), 0.0);
  for (size_t i = 0; i < system.getBodyCount(); ++i) {
    const size_t first = system.getGcStart()[i];
    if (system.getJointType(i) == Joint::FLOATING) zero[first + 3] = 1.0;
    if (system.getJointType(i) == Joint::SPHERICAL) zero[first] = 1.0;
  }
  return zero;
}

}  // namespace zelvik::bench
