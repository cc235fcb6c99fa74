// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ode/ode.h>

#include <cstdint>
#include <vector>

#include "core/Lanes.hpp"

namespace zelvik {

/// The pairs of a simple or a sweep-and-prune space that may collide: those that `dSpaceCollide`
/// reports, at a fraction of its cost for many geoms. It reads each pair through pointers; here the
/// boxes of all geoms are written out once and compared four at a time.
class PairSearch {
 public:
  struct Pair {
    dGeomID first, second;  ///< as they stand in the space
  };

  /// Pairs of enabled geoms whose groups and masks match and whose bounding boxes meet. Good until
  /// the next call.
  ///
  /// In a simple space each geom is compared with all, and the pairs have ODE's order. In a
  /// sweep-and-prune space geoms are sorted along x and each is compared with those that begin
  /// before it ends; pairs are ordered by where their geoms begin.
  const std::vector<Pair>& findPairs(dSpaceID space);

 private:
  using Bits = unsigned long __attribute__((vector_size(32)));

  /// Where a geom begins, and its place in the space.
  struct Begin {
    double x;
    std::uint32_t place;
  };
  /// Four geoms.
  struct Group {
    Lanes lower[3], upper[3];  ///< corners of the bounding boxes (m, world axes)
    Bits category, collide;    ///< what they are and what they meet; 0 without a geom
  };

  void readGeoms(dSpaceID space, bool sorted);
  static bool isBefore(const Begin& a, const Begin& b);
  void sortBegins();
  void writeGroup(size_t first, Group& group);
  template <bool sorted>
  void appendPairsOf(size_t geom);

  std::vector<dGeomID> geoms_;                  ///< enabled ones, in the order of the space
  std::vector<dGeomID> lastGeoms_;              ///< those for which `begins_` is sorted
  bool areOthers_ = true, wereSorted_ = false;  ///< than in the last call
  std::vector<Begin> begins_;                   ///< in the order of the search
  std::vector<Group> groups_;                   ///< of the same
  std::vector<Pair> pairs_;
};

}  // namespace zelvik
