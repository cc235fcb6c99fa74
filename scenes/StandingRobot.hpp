// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <zelvik/World.hpp>

namespace zelvik::scenes {

/// A robot that holds its nominal pose by PD control, on its feet on flat ground.
class StandingRobot {
 public:
  /// @param urdf path of the robot's description; a broken one ends in a fatal message
  /// @param dt time step (s)
  explicit StandingRobot(const std::string& urdf, double dt = 0.0025);

  World world;
  Ground* ground = nullptr;
  ArticulatedSystem* robot = nullptr;

  double totalMass() const;  ///< (kg)
  /// Sum over the ground contacts of the last step of the vertical force on the robot (N).
  double groundForce() const;
  /// Ground contacts of the last step.
  size_t groundContacts() const;
  /// Deepest penetration of the last step's contacts (m, 0 or more).
  double deepestPenetration() const;
  /// Angle between the base's z axis and the world's (rad).
  double tilt() const;
  /// Height of the base's origin (m).
  double baseHeight() const;
  /// Restarts from the nominal pose at rest.
  void reset();
};

/// Lowest point of the geoms of a robot in its present pose, by their bounding boxes (m).
double lowestPoint(const ArticulatedSystem& robot);

/// Coordinates of the nominal pose: bent knees where joints are named as those of our quadruped
/// (..._HFE, ..._KFE), zero angles elsewhere, moved inside of the joint limits.
VecDyn nominalPose(const ArticulatedSystem& robot);

/// PD control that holds `pose`. Gains grow with the moment of weight and height, so that a few
/// hundredths of a radian carry the robot.
void holdPoseByPd(ArticulatedSystem& robot, const VecDyn& pose);

}  // namespace zelvik::scenes
