// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <string>
#include <vector>
#include <zelvik/World.hpp>

namespace zelvik::scenes {

/// Properties of generated hills in a square with square cells.
/// @param size side of the square (m)
/// @param cell side of a cell (m)
/// @param height range of the heights (m)
TerrainProperties hills(double size, double cell, double height, std::uint32_t seed = 7);

/// A closed cube of 12 triangles about its centre, faces outward, as `Mesh` takes it.
/// @param side (m)
void cubeMesh(double side, std::vector<float>& vertices, std::vector<unsigned int>& indices);

/// A closed sphere of 2 (rings - 1) segments triangles, faces outward, as OBJ text.
std::string sphereObj(double radius, int rings, int segments);

/// The mesh of `cubeMesh` as OBJ text.
std::string cubeObj(double side);

/// Points spread over the surface of a box, sphere, capsule, cylinder or mesh, edges and corners
/// included (m, body frame).
std::vector<Vec3> surfacePoints(const SingleBodyObject& body);

/// How far the deepest of the points lies below the terrain, measured along the terrain's normal
/// (m); negative above it.
double sinking(const HeightMap& terrain, const SingleBodyObject& body,
               const std::vector<Vec3>& pointsB);

/// A row of a box, a sphere, a capsule, a cylinder and a mesh cube over hills.
class BodiesOnTerrain {
 public:
  /// @param cell side of the terrain's cells (m)
  /// @param meshFile OBJ file of a cube of 0.3 m
  /// @param exactContacts see `HeightMap::setExactContacts`
  BodiesOnTerrain(double cell, const std::string& meshFile, std::uint32_t seed = 7,
                  bool exactContacts = true);

  World world;
  HeightMap* terrain = nullptr;
  std::vector<SingleBodyObject*> bodies;

  /// Sinking of a body of the row, see above (m).
  double sinkingOf(size_t i) const { return sinking(*terrain, *bodies[i], points_[i]); }

 private:
  void place(SingleBodyObject* body);
  std::vector<std::vector<Vec3>> points_;
};

/// Our quadruped on hills of 0.1 m cells, holding its nominal pose.
class RobotOnTerrain {
 public:
  /// @param urdf path of the robot's description
  /// @param dt time step (s)
  /// @param exactContacts see `HeightMap::setExactContacts`
  explicit RobotOnTerrain(const std::string& urdf, double dt = 0.0025, bool exactContacts = true);

  World world;
  HeightMap* terrain = nullptr;
  ArticulatedSystem* robot = nullptr;

  /// Height of the base's origin above the ground below it (m).
  double clearance() const;
  /// Angle between the base's z axis and the world's (rad).
  double tilt() const;
  /// How deep the deepest foot lies in the ground (m); negative above it. A foot is a collision
  /// sphere.
  double deepestFoot() const;
};

}  // namespace zelvik::scenes
