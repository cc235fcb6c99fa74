// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <random>
#include <vector>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>

namespace zelvik::scenes {

/// Random numbers that are the same on every machine.
class RandomSource {
 public:
  explicit RandomSource(std::uint32_t seed) : engine_(seed) {}
  /// Uniform in [lower, upper).
  double uniform(double lower, double upper) {
    return lower + (upper - lower) * static_cast<double>(engine_()) / 4294967296.0;
  }
  Vec3 vector(double size) {
    const double x = uniform(-size, size), y = uniform(-size, size), z = uniform(-size, size);
    return {{x, y, z}};
  }
  Vec3 unitVector();
  Vec4 unitQuaternion();
  Mat33 rotation();

 private:
  std::mt19937 engine_;
};

struct RandomTreeOptions {
  size_t bodies = 6;  ///< with the root
  bool floatingBase = false;
  /// Joint types to draw from, below the root.
  std::vector<Joint::Type> joints = {Joint::REVOLUTE, Joint::PRISMATIC, Joint::SPHERICAL};
  bool rotorInertia = true;
  bool chain = false;  ///< every body hangs on the one before it
};

/// A tree with random shape, masses (0.5 to 3 kg), full inertia tensors, joint offsets, joint
/// orientations and axes. Bodies are named "body0", ... and joints "joint0", ... in depth-first
/// order, so that the names follow the body indices. No shapes, no damping, no limits.
Child randomTree(std::uint32_t seed, const RandomTreeOptions& options);

/// Random coordinates (angles and displacements within 1.5, unit quaternions) and velocities
/// (within 2).
void randomiseState(ArticulatedSystem& system, std::uint32_t seed);

}  // namespace zelvik::scenes
