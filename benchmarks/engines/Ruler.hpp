// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/World.hpp>

#include "engines/Engine.hpp"

namespace zelvik::bench {

/// A figure with its name; the unit is part of the name.
using Figures = std::vector<std::pair<std::string, double>>;

/// One measure for all engines: the state that an engine reports is put into a world of the same
/// shapes, which is not stepped but asked for depths, places, energy and momentum.
class Ruler {
 public:
  explicit Ruler(const scenes::NeutralScene& scene);
  /// Takes over the state of an engine.
  void take(const Engine& engine);
  /// Takes over the state of a robot.
  void take(const RobotState& state);

  /// Deepest overlap of any two shapes (m, 0 or more).
  double penetration() const;
  /// Mean over all contacts (m).
  double meanPenetration() const;
  /// Places that must not move while the scene rests (world axes): centres of free bodies, and of
  /// the robot's collision spheres, which are the feet of the quadruped.
  std::vector<Vec3> marks() const;
  /// Mean height of the free bodies (m).
  double meanHeight() const;
  /// Of each foot that touches the plane, the horizontal velocity of the point that touches (m/s).
  std::vector<double> slip() const;
  double kineticEnergy() const;
  /// Linear and angular momentum of the robot, the latter about the origin.
  Mat<6, 1> momentum() const;

 private:
  World world_;
  std::vector<SingleBodyObject*> bodies_;
  ArticulatedSystem* robot_ = nullptr;
  std::vector<dGeomID> feet_;  ///< spheres among the robot's collision bodies
};

/// How the feet of a robot slip on the plane: root mean square over the steps and the feet that
/// touch. A step counts with the coordinates from which it began and the velocities at its end: for
/// these an engine solves its contacts. With the coordinates at its end a foot that sticks would
/// have a velocity of the order of its acceleration times the time step.
class FootSlip {
 public:
  explicit FootSlip(const scenes::NeutralScene& scene) : ruler_(scene) {}
  void add(const std::vector<double>& coordinates, const std::vector<double>& velocities);
  double rootMeanSquare() const;  ///< (m/s); NaN if no foot ever touched

 private:
  Ruler ruler_;
  double sum_ = 0.0;  ///< of squares
  size_t count_ = 0;
};

/// Accuracy of an engine: runs a fresh one through the whole scene and one second more.
Figures accuracyOf(const scenes::NeutralScene& scene, Engine& engine);

/// One step with the targets of that step.
void stepWithTargets(const scenes::NeutralScene& scene, Engine& engine, int step);

}  // namespace zelvik::bench
