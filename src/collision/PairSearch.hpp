// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ode/ode.h>

#include <cstdint>
#include <vector>

#include "core/Lanes.hpp"

namespace zelvik {

/// The pairs of geoms that may collide: those whose groups and masks match and whose bounding boxes
/// meet. ODE's spaces read each pair through pointers; here the boxes of all geoms are written out
/// once and compared four at a time.
///
/// Either each geom is compared with all, or geoms are sorted along x and each is compared with
/// those that begin before it ends. Pairs come in the order of the first geom's place in the list,
/// or of where they begin; in both cases the geom that stands before the other in the list is the
/// first. Nothing that was found before has an influence.
class PairSearch {
 public:
  /// Geoms from which on sorting them is faster than comparing each with all, and this search
  /// faster than those of ODE's spaces: measured, see docs/performance.md.
  static constexpr size_t kManyGeoms = 40;

  struct GeomPair {
    dGeomID first, second;  ///< as they stand in the list
  };

  ///@{
  /// The list of geoms: `clear`, `append` each of them, `findPairs`. Disabled geoms are left out,
  /// and so are pairs of two of which neither belongs to a dynamic body. The pairs are good until
  /// the next call.
  void clear();
  void append(dGeomID geom, bool isDynamic);
  size_t geomCount() const { return list_.size(); }
  const std::vector<GeomPair>& findPairs(bool sorted);
  ///@}

  /// Whether the last call sorted.
  bool isSorted() const { return wereSorted_; }

 private:
  using Bits = unsigned long __attribute__((vector_size(32)));

  struct Listed {
    dGeomID geom;
    unsigned long moves;  ///< see `Group::moves`
    bool operator==(const Listed&) const = default;
  };
  /// Where a geom begins, and its place in the list.
  struct Begin {
    double x;
    std::uint32_t place;
  };
  /// Four geoms.
  struct Group {
    Lanes lower[3], upper[3];  ///< corners of the bounding boxes (m, world axes)
    Bits category, collide;    ///< what they are and what they meet; 0 without a geom
    Bits moves;                ///< all ones for those of dynamic bodies
  };

  static bool isBefore(const Begin& a, const Begin& b);
  void sortBegins();
  void startBegins();
  template <bool sorted>
  const std::vector<GeomPair>& findPairs();
  template <bool sorted>
  std::uint32_t placeOf(size_t i) const;
  template <bool sorted>
  void writeGroup(size_t first, Group& group);
  template <bool sorted>
  void appendPairsOf(size_t geom);

  std::vector<Listed> list_;      ///< enabled geoms, in the order in which they were given
  std::vector<Listed> lastList_;  ///< for which `begins_` is sorted
  bool wereSorted_ = false;
  std::vector<Begin> begins_;  ///< in the order of a sorted search
  std::vector<Group> groups_;  ///< in the order of the search
  std::vector<GeomPair> pairs_;
};

}  // namespace zelvik
