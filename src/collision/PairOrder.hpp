// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "collision/ContactPair.hpp"

namespace zelvik {

/// An order of pairs in which neighbours have no moving object in common, as far as a look at the
/// next `kReach` pairs finds such an order: the sweeps visit contacts four at a time, and those of
/// one object wait for each other. Otherwise pairs stay near their places, since along a pile
/// impulses travel faster if its contacts are visited one after the other. For the same reason all
/// stays as it is where enough pairs can go side by side anyway.
class PairOrder {
 public:
  static constexpr size_t kGroup = 4;   ///< pairs that shall have no object in common
  static constexpr size_t kReach = 16;  ///< pairs that are looked at for a group

  /// Puts the pairs into the order. @param objectCount objects are numbered from 0
  void arrange(std::vector<ContactPair>& pairs, size_t objectCount);

 private:
  size_t longestWait(const std::vector<ContactPair>& pairs, size_t objectCount);
  bool joinsGroup(const ContactPair& pair);
  void appendGroup(const std::vector<ContactPair>& pairs);

  std::vector<ContactPair> arranged_;
  std::vector<std::uint32_t> next_;     ///< of the pairs that are left; 0 is the head of the list
  std::vector<std::uint64_t> groupOf_;  ///< by object: the last group with it
  std::vector<std::uint32_t> waits_;    ///< by object: length of its chain of waiting pairs
  std::uint64_t group_ = 0;             ///< number of the present one, never used again
};

}  // namespace zelvik
