// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/object/ArticulatedSystem/TreeFactor.hpp>

#include "core/Lanes.hpp"

namespace zelvik {
namespace {

constexpr size_t kLongestSegment = 4;

}  // namespace

void TreePattern::build(const std::vector<size_t>& parentOf) {
  size = parentOf.size();
  parent = parentOf;
  rowStart.assign(size, 0);
  position.assign(size, 0);
  segments.clear();
  stretches.clear();
  storage = 0;
  std::vector<size_t> childCount(size, 0);
  for (size_t k = 0; k < size; ++k) {
    const size_t p = parent[k];
    if (p != kNone) {
      position[k] = position[p] + 1;
      ++childCount[p];
    }
    rowStart[k] = storage;
    storage += (position[k] / 4 + 1) * 4;
  }
  for (size_t first = 0; first < size;) {
    size_t end = first + 1;
    while (end < size && end - first < kLongestSegment && parent[end] == end - 1 &&
           childCount[end - 1] == 1)
      ++end;
    addSegment(first, end);
    first = end;
  }
}

void TreePattern::addSegment(size_t first, size_t end) {
  Segment segment{first, end - first, position[first], stretches.size(), 0};
  // The chain above, from the root: stretches are found from below, so each goes to the front.
  for (size_t k = parent[first]; k != kNone;) {
    size_t start = k;
    while (parent[start] != kNone && parent[start] == start - 1) --start;
    const Stretch stretch{position[start], start, k - start + 1};
    stretches.insert(stretches.begin() + static_cast<std::ptrdiff_t>(segment.stretchBegin),
                     stretch);
    k = parent[start];
  }
  segment.stretchEnd = stretches.size();
  segments.push_back(segment);
}

void TreePattern::pack(const double* dense, double* rows) const {
  for (size_t k = 0; k < size; ++k)
    for (size_t j = k; j != kNone; j = parent[j])
      rows[rowStart[k] + position[j]] = dense[k * size + j];
}

void TreePattern::unpack(const double* rows, double* dense) const {
  for (size_t k = 0; k < size; ++k)
    for (size_t j = k; j != kNone; j = parent[j])
      dense[k * size + j] = dense[j * size + k] = rows[rowStart[k] + position[j]];
}

double* TreePattern::gatherChain(const Segment& s, const double* x, double* packed) const {
  for (size_t r = s.stretchBegin; r < s.stretchEnd; ++r)
    copyStretch(x + stretches[r].first, stretches[r].count, packed + stretches[r].position);
  return packed;
}

void TreePattern::scatterChain(const Segment& s, const double* packed, double factor,
                               double* x) const {
  for (size_t r = s.stretchBegin; r < s.stretchEnd; ++r)
    addStretch(packed + stretches[r].position, factor, stretches[r].count, x + stretches[r].first);
}

}  // namespace zelvik
