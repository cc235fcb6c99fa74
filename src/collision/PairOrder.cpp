// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "collision/PairOrder.hpp"

#include <algorithm>
#include <utility>

namespace zelvik {

/// Pairs of which each waits for the one before, since they have an object in common.
size_t PairOrder::longestWait(size_t objectCount) {
  constexpr std::uint32_t nobody = TouchingPair::kNobody;
  waits_.assign(objectCount, 0);
  std::uint32_t longest = 0;
  for (const TouchingPair& pair : pairs_) {
    const std::uint32_t before =
        std::max(pair.a != nobody ? waits_[pair.a] : 0, pair.b != nobody ? waits_[pair.b] : 0);
    if (pair.a != nobody) waits_[pair.a] = before + 1;
    if (pair.b != nobody) waits_[pair.b] = before + 1;
    longest = std::max(longest, before + 1);
  }
  return longest;
}

void PairOrder::arrange(size_t objectCount) {
  if (pairs_.size() >= kGroup * longestWait(objectCount)) return;
  if (groupOf_.size() < objectCount) groupOf_.resize(objectCount, 0);
  next_.resize(pairs_.size() + 1);
  for (size_t i = 0; i < pairs_.size(); ++i) next_[i] = static_cast<std::uint32_t>(i + 1);
  next_[pairs_.size()] = 0;
  arranged_.clear();
  while (next_[0] != 0) appendGroup();
  std::swap(pairs_, arranged_);
}

/// The first of the pairs that are left, and of the next ones those that fit.
void PairOrder::appendGroup() {
  ++group_;
  const size_t end = arranged_.size() + kGroup;
  std::uint32_t before = 0;
  for (size_t looked = 0; looked < kReach && arranged_.size() < end; ++looked) {
    const std::uint32_t entry = next_[before];
    if (entry == 0) return;
    const TouchingPair& pair = pairs_[entry - 1];
    if (joinsGroup(pair)) {
      arranged_.push_back(pair);
      next_[before] = next_[entry];
    } else {
      before = entry;
    }
  }
}

bool PairOrder::joinsGroup(const TouchingPair& pair) {
  constexpr std::uint32_t nobody = TouchingPair::kNobody;
  if ((pair.a != nobody && groupOf_[pair.a] == group_) ||
      (pair.b != nobody && groupOf_[pair.b] == group_))
    return false;
  if (pair.a != nobody) groupOf_[pair.a] = group_;
  if (pair.b != nobody) groupOf_[pair.b] = group_;
  return true;
}

}  // namespace zelvik
