// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <algorithm>
#include <cmath>
#include <zelvik/math.hpp>

// Motions with a closed form, for tests to compare with. SI units, angles in rad; time begins with
// the motion.

namespace zelvik::exact {

constexpr double kGravity = 9.81;  ///< (m/s^2)

/// Flight under a constant acceleration.
struct Ballistic {
  Vec3 start, startVelocity, acceleration;
  Vec3 position(double t) const { return start + t * startVelocity + (0.5 * t * t) * acceleration; }
  Vec3 velocity(double t) const { return startVelocity + t * acceleration; }
};

/// A body dropped from a height above a floor, from which it leaves with `restitution` times the
/// speed of arrival.
struct BouncingBall {
  double height, restitution;
  /// Highest point after a number of bounces.
  double apex(int bounces) const { return height * std::pow(restitution, 2 * bounces); }
  /// When the first point above is reached, after one bounce.
  double firstApexTime() const { return std::sqrt(2.0 * height / kGravity) * (1.0 + restitution); }
};

/// A solid sphere set down with a speed and no spin: it slides, slowed down by friction, until it
/// rolls. Its angular momentum about the ground is kept.
struct RollingSphere {
  double radius, startSpeed, friction;
  double slidingTime() const { return 2.0 / 7.0 * startSpeed / (friction * kGravity); }
  double speed(double t) const {
    return startSpeed - friction * kGravity * std::min(t, slidingTime());
  }
  /// Angular velocity about the axis across the motion.
  double spin(double t) const {
    return 2.5 * friction * kGravity * std::min(t, slidingTime()) / radius;
  }
};

/// A block on an inclined plane, by Coulomb's law. The plane is horizontal and gravity tilted.
struct Incline {
  double slope, friction;
  Vec3 gravity() const { return {{kGravity * std::sin(slope), 0.0, -kGravity * std::cos(slope)}}; }
  double speed(double t) const {
    return t * kGravity * std::max(std::sin(slope) - friction * std::cos(slope), 0.0);
  }
};

/// A point mass on a rod or rope, let go at rest.
struct Pendulum {
  double length, amplitude;
  /// From the start until it hangs straight down.
  double quarterPeriod() const {
    return std::comp_ellint_1(std::sin(0.5 * amplitude)) * std::sqrt(length / kGravity);
  }
  /// At the lowest point.
  double largestSpeed() const {
    return std::sqrt(2.0 * kGravity * length * (1.0 - std::cos(amplitude)));
  }
};

/// A body with two equal moments that turns without a torque: its spin goes round its axis, the z
/// axis of the body, at a constant rate.
struct SymmetricTop {
  double lateral, axial;  ///< moments of inertia
  Vec3 startSpinB;        ///< body axes
  Vec3 spinB(double t) const {
    const double angle = t * (axial - lateral) / lateral * startSpinB[2];
    const double c = std::cos(angle), s = std::sin(angle);
    return {{c * startSpinB[0] - s * startSpinB[1], s * startSpinB[0] + c * startSpinB[1],
             startSpinB[2]}};
  }
};

}  // namespace zelvik::exact
