// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <vector>
#include <zelvik/export.hpp>
#include <zelvik/object/SingleBodyObject.hpp>

namespace zelvik {

/// Solid convex polyhedron. Its contacts are as those of a box, where a mesh of the same triangles
/// has those of its triangles; on meshes and height maps it collides as a mesh.
///
/// Centre of mass and inertia are those of the solid; the body's origin is that of the corners.
class ZELVIK_API ConvexHull : public SingleBodyObject {
 public:
  /// @param corners x, y, z of each (m, body axes); those that no triangle names and those inside
  ///   of faces do not matter
  /// @param triangles three corners each, from 0, counter-clockwise seen from outside, as
  ///   programs for convex hulls give them; those in one plane become one face
  /// @param mass (kg)
  ///
  /// Fatal, and no collision shape: arrays and indices as for a `Mesh`, and "ConvexHull: *what*":
  /// a surface that is not closed, not convex (by more than 1e-5 of its size) or turned inside out,
  /// or encloses nothing, with the corners; more than 256 corners.
  ConvexHull(const std::vector<double>& corners, const std::vector<unsigned int>& triangles,
             double mass);
  ~ConvexHull() override;

  /// x, y, z per corner (m, body axes), as given but for unused ones.
  const std::vector<double>& getCorners() const { return corners_; }
  /// Three corners per triangle, from 0.
  const std::vector<unsigned int>& getTriangles() const { return triangles_; }
  std::unique_ptr<Object> copy() const override;

 private:
  ConvexHull(const ConvexHull&) = default;  // for `copy`

  std::vector<double> corners_;
  // ODE keeps pointers into both arrays: they neither move nor change while the geom lives.
  std::vector<unsigned int> triangles_;
  std::vector<float> vertices_;  ///< `corners_`, as ODE reads them
  NotCopied<dTriMeshDataID> meshData_;
};

}  // namespace zelvik
