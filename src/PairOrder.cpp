// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "PairOrder.hpp"

namespace zelvik {

const std::vector<GeomPair>& PairOrder::arrange(const std::vector<GeomPair>& pairs,
                                                size_t objectCount) {
  if (groupOf_.size() < objectCount) groupOf_.resize(objectCount, 0);
  next_.resize(pairs.size() + 1);
  for (size_t i = 0; i < pairs.size(); ++i) next_[i] = static_cast<std::uint32_t>(i + 1);
  next_[pairs.size()] = 0;
  arranged_.clear();
  while (next_[0] != 0) appendGroup(pairs);
  return arranged_;
}

/// The first of the pairs that are left, and of the next ones those that fit.
void PairOrder::appendGroup(const std::vector<GeomPair>& pairs) {
  ++group_;
  const size_t end = arranged_.size() + kGroup;
  std::uint32_t before = 0;
  for (size_t looked = 0; looked < kReach && arranged_.size() < end; ++looked) {
    const std::uint32_t entry = next_[before];
    if (entry == 0) return;
    const GeomPair& pair = pairs[entry - 1];
    if (joinsGroup(pair)) {
      arranged_.push_back(pair);
      next_[before] = next_[entry];
    } else {
      before = entry;
    }
  }
}

bool PairOrder::joinsGroup(const GeomPair& pair) {
  constexpr std::uint32_t nobody = GeomPair::kNobody;
  const std::uint32_t a = pair.firstOwner, b = pair.secondOwner;
  if ((a != nobody && groupOf_[a] == group_) || (b != nobody && groupOf_[b] == group_))
    return false;
  if (a != nobody) groupOf_[a] = group_;
  if (b != nobody) groupOf_[b] = group_;
  return true;
}

}  // namespace zelvik
