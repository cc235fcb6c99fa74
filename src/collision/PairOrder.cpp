// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "collision/PairOrder.hpp"

#include <algorithm>
#include <utility>

namespace zelvik {

/// Pairs of which each waits for the one before, since they have an object in common.
size_t PairOrder::longestWait(const std::vector<ContactPair>& pairs, size_t objectCount) {
  constexpr std::uint32_t nobody = ContactPair::kNobody;
  waits_.assign(objectCount, 0);
  std::uint32_t longest = 0;
  for (const ContactPair& pair : pairs) {
    const std::uint32_t a = pair.sides[0].mover(), b = pair.sides[1].mover();
    const std::uint32_t before = std::max(a != nobody ? waits_[a] : 0, b != nobody ? waits_[b] : 0);
    if (a != nobody) waits_[a] = before + 1;
    if (b != nobody) waits_[b] = before + 1;
    longest = std::max(longest, before + 1);
  }
  return longest;
}

void PairOrder::arrange(std::vector<ContactPair>& pairs, size_t objectCount) {
  if (pairs.size() >= kGroup * longestWait(pairs, objectCount)) return;
  if (groupOf_.size() < objectCount) groupOf_.resize(objectCount, 0);
  next_.resize(pairs.size() + 1);
  for (size_t i = 0; i < pairs.size(); ++i) next_[i] = static_cast<std::uint32_t>(i + 1);
  next_[pairs.size()] = 0;
  arranged_.clear();
  while (next_[0] != 0) appendGroup(pairs);
  std::swap(pairs, arranged_);
}

/// The first of the pairs that are left, and of the next ones those that fit.
void PairOrder::appendGroup(const std::vector<ContactPair>& pairs) {
  ++group_;
  const size_t end = arranged_.size() + kGroup;
  std::uint32_t before = 0;
  for (size_t looked = 0; looked < kReach && arranged_.size() < end; ++looked) {
    const std::uint32_t entry = next_[before];
    if (entry == 0) return;
    const ContactPair& pair = pairs[entry - 1];
    if (joinsGroup(pair)) {
      arranged_.push_back(pair);
      next_[before] = next_[entry];
    } else {
      before = entry;
    }
  }
}

bool PairOrder::joinsGroup(const ContactPair& pair) {
  constexpr std::uint32_t nobody = ContactPair::kNobody;
  const std::uint32_t a = pair.sides[0].mover(), b = pair.sides[1].mover();
  if ((a != nobody && groupOf_[a] == group_) || (b != nobody && groupOf_[b] == group_))
    return false;
  if (a != nobody) groupOf_[a] = group_;
  if (b != nobody) groupOf_[b] = group_;
  return true;
}

}  // namespace zelvik
