// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "PairSearch.hpp"

namespace zelvik {

/// An order of pairs in which neighbours have no moving object in common, as far as a look at the
/// next `kReach` pairs finds such an order: the sweeps visit contacts four at a time, and those of
/// one object wait for each other. Otherwise pairs stay near their places, since along a pile
/// impulses travel faster if its contacts are visited one after the other.
class PairOrder {
 public:
  static constexpr size_t kGroup = 4;   ///< pairs that shall have no object in common
  static constexpr size_t kReach = 16;  ///< pairs that are looked at for a group

  /// The same pairs. @param objectCount owners are numbered from 0
  const std::vector<GeomPair>& arrange(const std::vector<GeomPair>& pairs, size_t objectCount);

 private:
  bool joinsGroup(const GeomPair& pair);
  void appendGroup(const std::vector<GeomPair>& pairs);

  std::vector<GeomPair> arranged_;
  std::vector<std::uint32_t> next_;     ///< of the pairs that are left; 0 is the head of the list
  std::vector<std::uint64_t> groupOf_;  ///< by object: the last group with it
  std::uint64_t group_ = 0;             ///< number of the present one, never used again
};

}  // namespace zelvik
