// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "collision/ConvexShape.hpp"

namespace zelvik {

/// How two shapes overlap: moving the first by depth along the normal parts them.
struct Overlap {
  Vec3 normal;   ///< unit, into the first shape
  double depth;  ///< (m)
};

/// Whether two convex shapes overlap, and along which normal. The normal is that of the surface of
/// their Minkowski difference where a ray through the origin leaves it, which is turned until it
/// does so along the normal: the shortest way out, at least of all that are near.
/// G. Snethen, XenoCollide: complex collision made simple, Game Programming Gems 7 (2008).
bool searchPortal(const ConvexShape& a, const ConvexShape& b, Overlap& overlap);

}  // namespace zelvik
