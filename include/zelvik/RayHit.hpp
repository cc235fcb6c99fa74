// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ode/ode.h>

#include <vector>
#include <zelvik/math.hpp>

namespace zelvik {

class Object;

/// One point where a ray meets a geom.
struct RayHit {
  dContactGeom geom{};       ///< depth: distance from the start (m); normal: outward, world axes
  Mat<3, 1> position{};      ///< (m, world axes)
  Object* object = nullptr;  ///< owner of the geom
};

/// Result of `World::rayTest`.
struct RayHitList {
  std::vector<RayHit> hits;  ///< always 200 records; the first `count` are valid, unsorted
  size_t count = 0;          ///< valid records in `hits`
};

}  // namespace zelvik
