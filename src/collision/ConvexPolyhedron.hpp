// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>
#include <zelvik/math.hpp>

namespace zelvik {

/// A convex polyhedron about its centroid, as points of contact are found on it. It never changes,
/// so geoms of the same shape share one.
struct ConvexPolyhedron {
  static constexpr size_t kMostCorners = 256;

  /// A flat part of the surface: all points with normal . x = offset.
  struct Facet {
    Vec3 normal;    ///< unit, outwards
    double offset;  ///< (m), from the centroid
    size_t first;   ///< of its corners in `loops`
    size_t count;
  };

  size_t cornerCount = 0;
  /// x of four corners, y of them, z of them, then the next four (m, from the centroid); the last
  /// corner again where there is no fourth.
  std::vector<double> lanes;
  std::vector<Facet> facets;
  std::vector<size_t> loops;  ///< corners of the facets, counter-clockwise from outside
  double innerRadius = 0.0;   ///< of a ball about the centroid that lies inside (m)

  Vec3 centroid{};      ///< in the frame in which the corners were given (m)
  double volume = 0.0;  ///< (m^3)
  Mat33 inertia{};      ///< about the centroid at a density of 1 kg/m^3 (kg m^2)

  Vec3 corner(size_t k) const {
    const double* x = lanes.data() + 12 * (k / 4) + k % 4;
    return {{x[0], x[4], x[8]}};
  }
  /// The corner farthest along d. @param along its coordinate along d
  size_t farthest(const Vec3& d, double& along) const;
};

/// Checks that triangles bound a convex body and makes it. Corners at one place are one, triangles
/// in one plane become one facet, and corners inside of facets and edges are left out.
/// @param corners x, y, z each (m), finite
/// @param triangles three corners each, from 0 and in range, counter-clockwise from outside
/// @param problem what is wrong, if something is
/// @return null if something is wrong
std::shared_ptr<const ConvexPolyhedron> makeConvexPolyhedron(
    const std::vector<double>& corners, const std::vector<unsigned int>& triangles,
    std::string& problem);

}  // namespace zelvik
