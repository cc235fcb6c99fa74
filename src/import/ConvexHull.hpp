// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <vector>
#include <zelvik/math.hpp>

#include "MeshData.hpp"

namespace zelvik::model {

/// A convex body: corners, triangles that look outwards, and the planes that bound it.
struct ConvexHull {
  MeshPart mesh;                ///< each vertex is a corner
  std::vector<Vec3> normals;    ///< of the planes, unit, outwards
  std::vector<double> offsets;  ///< normal . x <= offset inside (m)
  double error = 0.0;           ///< how far corners that were left out lie outside (m)

  bool isEmpty() const { return mesh.vertices.empty(); }
  double volume() const;  ///< (m^3)
};

/// The hull of points, with at most `largest` corners; those are left out first that change it
/// least. Empty if the points lie in a plane or are fewer than four. Computed by qhull.
/// C. B. Barber, D. P. Dobkin, H. Huhdanpaa: The Quickhull Algorithm for Convex Hulls, ACM
/// Transactions on Mathematical Software 22 (1996), 469-483.
ConvexHull convexHull(const std::vector<Vec3>& points, std::size_t largest);

}  // namespace zelvik::model
