// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ode/ode.h>

#include "collision/ConvexShape.hpp"

namespace zelvik {

/// Points of two shapes in which faces of both overlap.
struct TouchingPoints {
  static constexpr int kMost = 2 * Face::kMostCorners;

  struct Point {
    Vec3 position;  ///< in the middle between both surfaces (m)
    double depth;   ///< along the normal (m), above 0
  };
  int count = 0;
  Point points[kMost];

  void add(const Vec3& position, double depth) {
    if (depth > 0.0 && count < kMost) points[count++] = {position, depth};
  }
  double deepest() const;
  /// Keeps the deepest point and up to `most` - 1 of those that span the largest area with it, seen
  /// along n.
  void keep(int most, const Vec3& n);
};

/// Where the faces in which two shapes meet overlap, seen along n: the corners of the common part,
/// or its ends where one of the faces is a line. Points that are apart are left out.
/// @param n unit, into the shape of `a`
/// @param curvature of the space between two lines, square to them (1/m)
void clipFaces(const Face& a, const Face& b, const Vec3& n, double curvature, TouchingPoints& out);

}  // namespace zelvik
