// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <vector>
#include <zelvik/export.hpp>
#include <zelvik/math.hpp>

namespace zelvik {

/// What `World::setWatch` looks for after each step. An infinite limit is not looked for; values
/// that are not finite always are.
struct WatchLimits {
  /// Energy of an object that appears from nowhere in a step: `LedgerAccount::INTEGRATION` above
  /// this (J) and above `energyShare` of the kinetic energy before.
  double energyGain = 1.0;
  double energyShare = 0.2;    ///< see `energyGain`
  double depth = 0.05;         ///< of an overlap (m)
  double speed = 100.0;        ///< of a body, a base or a slider (m/s)
  double rate = 1000.0;        ///< of the same or a hinge (rad/s)
  size_t unsolvedSteps = 100;  ///< in a row in which the solver stops at its limit; 0: not counted
};

/// What a watch has found.
struct ZELVIK_API WatchReport {
  /// Kind of finding.
  enum Finding {
    NOT_FINITE,  ///< a velocity or coordinate
    ENERGY,      ///< from nowhere
    DEPTH,       ///< of an overlap
    SPEED,       ///< of a body or joint
    UNSOLVED     ///< contacts, for many steps
  };
  Finding finding = NOT_FINITE;  ///< see `Finding`
  size_t step = 0;               ///< `World::getStepCount` after the step
  double time = 0.0;             ///< `World::getWorldTime` after it (s)
  double timeStep = 0.0;         ///< (s)
  size_t object = kNone;         ///< place in the world's list; `kNone` for a finding of the solver
  size_t body = kNone;           ///< inside of the object
  std::string objectName;        ///< empty without one, as are the next two
  std::string bodyName;          ///< of a robot
  std::string jointName;         ///< above that body
  std::string quantity;          ///< with its unit
  double value = 0.0;            ///< of the quantity
  double limit = 0.0;            ///< of the quantity
  /// Of the object before the step: coordinates and velocities of a robot; position of the centre
  /// of mass, quaternion (w, x, y, z), linear and angular velocity of a body.
  std::vector<double> lastCoordinates;
  std::vector<double> lastVelocities;  ///< see `lastCoordinates`
  std::vector<std::string>
      acted;  ///< contacts of the object in the step, and limits beyond which it is
  std::vector<std::string> causes;  ///< what may be behind it, the likeliest first

  /// In words, of several lines.
  std::string toText() const;
  /// As one JSON object; numbers that are not finite are null.
  std::string toJson() const;
};

}  // namespace zelvik
