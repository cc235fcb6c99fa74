// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ode/ode.h>

#include <vector>

namespace zelvik {

class Object;

constexpr int kMaxPointsPerPair = 500;

/// Whether a raw point is usable: ODE gives NaN or zero normals and NaN depths at exact
/// coincidences.
inline bool isUsablePoint(const dContactGeom& g) {
  const double length2 =
      g.normal[0] * g.normal[0] + g.normal[1] * g.normal[1] + g.normal[2] * g.normal[2];
  return length2 > 1e-12 && g.depth == g.depth;
}

/// Raw points of a pair of geoms, o1 before o2: by ODE's colliders where they serve, and by our own
/// on height fields. Geoms of size zero, which ODE's spaces pass over, have none.
/// @param objects by `GeomRecord::objectIdx`, read for height fields only
/// @param points room for `kMaxPointsPerPair`
/// @return number of points written
[[nodiscard]] int collidePair(dGeomID o1, dGeomID o2, const std::vector<Object*>& objects,
                              dContactGeom* points);

}  // namespace zelvik
