// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ode/ode.h>

#include <vector>

#include "Lanes.hpp"

namespace zelvik {

/// The pairs of a simple space that may collide: those that `dSpaceCollide` reports, in its order,
/// at a fraction of its cost for many geoms. It looks at every pair through pointers; here the
/// boxes of all geoms are written out once and compared four at a time.
class PairSearch {
 public:
  struct Pair {
    dGeomID first, second;
  };

  /// Pairs of enabled geoms whose groups and masks match and whose bounding boxes meet. Good until
  /// the next call.
  const std::vector<Pair>& findPairs(dSpaceID space);

 private:
  using Bits = unsigned long __attribute__((vector_size(32)));

  /// Four geoms.
  struct Group {
    Lanes lower[3], upper[3];  ///< corners of the bounding boxes (m, world axes)
    Bits category, collide;    ///< what they are and what they meet; 0 without a geom
  };

  void readGeoms(dSpaceID space);
  void writeGroup(size_t first, Group& group);
  void appendPairsOf(size_t geom);

  std::vector<dGeomID> geoms_;  ///< enabled ones, in the order of the space
  std::vector<Group> groups_;   ///< of the same
  std::vector<Pair> pairs_;
};

}  // namespace zelvik
