// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>
#include <zelvik/math.hpp>

namespace zelvik::model {

/// What collides in place of a `collision` mesh. Boxes, spheres, cylinders and capsules of a file
/// collide as they are.
enum class CollisionShape {
  MESH,      ///< the triangles as they are
  HULL,      ///< their convex hull, of at most `Options::largestHull` corners
  PRIMITIVE  ///< the sphere, box, cylinder or capsule that holds the hull with the least volume
};

/// How `addRobot` reads a robot. Lengths in m, angles in rad, masses in kg.
struct Options {
  // ---- files ----

  /// Where `package://name/...` is looked for: folders called `name`, or that hold one. They come
  /// before those of ROS_PACKAGE_PATH, AMENT_PREFIX_PATH and the folders above the file.
  std::vector<std::string> packageDirectories;
  /// Where converted meshes are kept. Empty: `zelvik` in XDG_CACHE_HOME, or else in ~/.cache.
  std::string cacheDirectory;
  /// Triangles that one mesh file may hold.
  std::size_t largestMesh = 10'000'000;
  /// Whether DAE meshes that say Y_UP are turned so that their y points up. Most robots want their
  /// coordinates as they are, whatever the mesh says; one that looks torn apart wants them turned.
  bool turnUpAxis = false;
  /// Whether visual shapes are read. Without them a robot loads faster and is drawn as it collides.
  bool visuals = true;

  // ---- shapes ----

  CollisionShape collisionShape = CollisionShape::HULL;  ///< for every link
  /// For single links, by name.
  std::map<std::string, CollisionShape> collisionShapeOfLink;
  /// Corners of a hull, 4 or more. One that has more loses those that change it least.
  std::size_t largestHull = 64;
  /// Collision material of shapes whose file names none.
  std::string material;
  /// Whether pairs of shapes that overlap by more than 1 mm with all joints at 0 ignore each other.
  bool ignoreInitialOverlaps = true;
  unsigned long collisionGroup = 1;    ///< see `World::addArticulatedSystem`
  unsigned long collisionMask = ~0ul;  ///< see `World::addArticulatedSystem`

  // ---- base and joints ----

  /// Whether the base is bolted to the world. Without a value the file decides: a root link called
  /// "world" is bolted, any other one floats.
  std::optional<bool> fixedBase;
  /// Position of the root link (m, world axes), added to what the file says.
  Vec3 basePosition{};
  /// Orientation of the root link: w, x, y, z.
  Vec4 baseOrientation{{1.0, 0.0, 0.0, 0.0}};
  /// Joint coordinates to begin with (rad or m), by name; 0, or the limit next to it, without.
  std::map<std::string, double> jointPositions;
  /// Joints whose branches come first, in this order; the others follow in that of the file.
  std::vector<std::string> jointOrder;
  /// Damping of joints whose file names none (N s/m or N m s/rad).
  double damping = 0.0;
  /// Rotor inertia of joints whose file names none (kg or kg m^2).
  double armature = 0.0;

  // ---- report ----

  /// Warnings count as errors.
  bool strict = false;
};

}  // namespace zelvik::model
