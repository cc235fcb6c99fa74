// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <utility>
#include <vector>
#include <zelvik/math.hpp>

namespace zelvik::scenes {

/// Scenes as plain data, so that several engines can build the same one. Units: m, kg, s, rad, N;
/// world axes with z up; quaternions are (w, x, y, z).

enum class ShapeKind {
  SPHERE,   ///< size: radius
  BOX,      ///< size: full lengths
  CAPSULE,  ///< size: radius, length of the cylinder part
  CYLINDER  ///< size: radius, length
};

/// A single rigid body of one homogeneous shape.
struct FreeBody {
  ShapeKind shape = ShapeKind::SPHERE;
  Vec3 size{};
  double mass = 1.0;
  Vec3 position{};
  Vec4 quaternion{{1.0, 0.0, 0.0, 0.0}};
  Vec3 velocity{};
  Vec3 force{};  ///< at the centre of mass, in every step (N, world axes)
};

/// Principal moments of the homogeneous body about its centre (kg m^2).
Vec3 momentsOf(const FreeBody& body);

/// An articulated robot with its state and its controller. Coordinates and velocities are laid out
/// as `ArticulatedSystem` lays them out.
struct RobotSetup {
  std::string urdf;  ///< path, or the text itself
  std::vector<double> coordinates, velocities;
  bool holdsPose = false;        ///< whether the PD law acts
  std::vector<double> pGain;     ///< per velocity (N m/rad)
  std::vector<double> dGain;     ///< per velocity (N m s/rad)
  double targetAmplitude = 0.0;  ///< of the sine that moves some of the targets (rad)
  double targetFrequency = 0.0;  ///< (Hz)
  /// Coordinates whose targets move, with the factor of the amplitude.
  std::vector<std::pair<size_t, double>> movingTargets;
  bool collides = true;  ///< with the ground and with itself
};

/// Square grid of heights about the origin, row by row, row 0 at low y.
struct TerrainGrid {
  size_t samples = 0;  ///< per side; 0: no terrain
  double size = 0.0;   ///< side (m)
  std::vector<double> heights;
};

struct NeutralScene {
  std::string name;
  std::vector<FreeBody> bodies;
  std::vector<RobotSetup> robots;  ///< none or one
  bool hasGround = true;           ///< plane z = 0
  TerrainGrid terrain;
  Vec3 gravity{{0.0, 0.0, -9.81}};
  double friction = 0.8;
  double restitution = 0.0;
  double dt = 0.0025;
  int warmUpSteps = 0;  ///< before the clock starts
  int steps = 0;        ///< under the clock

  double weight() const;  ///< of everything that moves (N)
  /// Targets of the PD law at a time: the initial coordinates, some of them moved.
  std::vector<double> targetsAt(double time) const;
};

/// Builds a scene by its name; an unknown one gives a scene without a name.
NeutralScene neutralScene(const std::string& name);

/// All names: those of the timing first, then those of the accuracy.
const std::vector<std::string>& neutralSceneNames();

}  // namespace zelvik::scenes
