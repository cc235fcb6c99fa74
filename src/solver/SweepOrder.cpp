// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "solver/SweepOrder.hpp"

#include <algorithm>

#include "collision/ContactPair.hpp"

namespace zelvik::contact {

void SweepOrder::clear(size_t objectCount) {
  stops_.clear();
  next_.assign(objectCount, 0);
  for (const Kind kind : {SINGLE, ONE_BODY, TWO_BODIES}) {
    counts_[kind] = 0;
    open_[kind].assign(1, 0);
  }
}

const SweepOrder::Stop& SweepOrder::insert(Kind kind, std::uint32_t a, std::uint32_t b) {
  constexpr std::uint32_t kNobody = ContactPair::kNobody;
  std::uint32_t first = a == kNobody ? 0 : next_[a];
  if (b != kNobody) first = std::max(first, next_[b]);
  const auto end = static_cast<std::uint32_t>(stops_.size());
  std::uint32_t place = kind == SINGLE ? end : findOpen(kind, first);
  if (place == end) place = append(kind);
  Stop& stop = stops_[place];
  if (++stop.count == kRoom) open_[kind][place] = place + 1;
  if (a != kNobody) next_[a] = place + 1;
  if (b != kNobody) next_[b] = place + 1;
  return stop;
}

std::uint32_t SweepOrder::append(Kind kind) {
  const auto place = static_cast<std::uint32_t>(stops_.size());
  stops_.push_back({kind, 0, counts_[kind]++});
  for (const Kind other : {ONE_BODY, TWO_BODIES}) {
    if (other != kind) open_[other][place] = place + 1;
    open_[other].push_back(place + 1);
  }
  return place;
}

std::uint32_t SweepOrder::findOpen(Kind kind, std::uint32_t first) {
  std::vector<std::uint32_t>& open = open_[kind];
  while (open[first] != first) first = open[first] = open[open[first]];
  return first;
}

}  // namespace zelvik::contact
