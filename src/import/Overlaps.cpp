// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Overlaps.hpp"

#include <zelvik/object/GeomRecord.hpp>

namespace zelvik::model {

namespace {

/// Whether one body is the nearest above the other that has a mass: such pairs never collide.
bool areNeighbours(const ArticulatedSystem& system, std::size_t a, std::size_t b) {
  std::size_t above = system.getParents()[b];
  while (above != kNone && above != a && system.getMass(above) == 0.0)
    above = system.getParents()[above];
  return above == a;
}

}  // namespace

std::vector<std::string> ignoredOverlaps(const ArticulatedSystem& system) {
  std::vector<std::string> pairs;
  const std::vector<CollisionDefinition>& shapes = system.getCollisionBodies();
  for (std::size_t j = 1; j < shapes.size(); ++j)
    for (std::size_t i = 0; i < j; ++i) {
      const std::size_t a = shapes[i].localIdx, b = shapes[j].localIdx;
      if (a == b || geomRecord(shapes[i].colObj).ignoredGeoms.count(shapes[j].colObj) == 0)
        continue;
      if (areNeighbours(system, a, b) || areNeighbours(system, b, a)) continue;
      pairs.push_back("'" + shapes[i].colName + "' and '" + shapes[j].colName + "'");
    }
  return pairs;
}

}  // namespace zelvik::model
