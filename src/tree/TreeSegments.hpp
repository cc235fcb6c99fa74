// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <type_traits>
#include <zelvik/object/ArticulatedSystem/TreeFactor.hpp>

#include "core/Lanes.hpp"

namespace zelvik {

/// Calls `kernel` with the width of a segment as a constant.
template <typename Kernel>
inline void withWidth(const TreePattern::Segment& s, Kernel&& kernel) {
  switch (s.count) {
    case 1:
      return kernel(std::integral_constant<size_t, 1>{}, s);
    case 2:
      return kernel(std::integral_constant<size_t, 2>{}, s);
    case 3:
      return kernel(std::integral_constant<size_t, 3>{}, s);
    default:
      return kernel(std::integral_constant<size_t, 4>{}, s);
  }
}

/// Whether the velocities above a segment are neighbours; then its rows meet a vector as it stands.
inline bool isBelowOneRun(const TreePattern::Segment& s) {
  return s.stretchEnd - s.stretchBegin == 1;
}

/// The packed rows of a segment of w velocities.
template <size_t w>
class SegmentRows {
 public:
  SegmentRows(const TreePattern& pattern, const TreePattern::Segment& s, const double* rows)
      : depth_(s.depth) {
    for (size_t r = 0; r < w; ++r) row_[r] = rows + pattern.rowStart[s.first + r];
  }

  /// Entry of two velocities of the segment, q <= r.
  double own(size_t r, size_t q) const { return row_[r][depth_ + q]; }

  /// Writes zeros after the end of a packed chain, so that whole lanes of it can be multiplied.
  void clearAfter(double* chain) const { storeLanes(chain + depth_, Lanes{}); }

  /// sum[r] = row r . chain, above the segment.
  void dotChain(const double* chain, double (&sum)[w]) const {
    Lanes lanes[w] = {};
    for (size_t b = 0; b < depth_; b += kLanes) {
      const Lanes x = loadLanes(chain + b);
      for (size_t r = 0; r < w; ++r) lanes[r] += loadLanes(row_[r] + b) * x;
    }
    for (size_t r = 0; r < w; ++r) sum[r] = sumOfLanes(lanes[r]);
  }

  /// chain = sum of u[r] times row r.
  void combineChain(const double (&u)[w], double* chain) const {
    for (size_t b = 0; b < depth_; b += kLanes) {
      Lanes sum = u[0] * loadLanes(row_[0] + b);
      for (size_t r = 1; r < w; ++r) sum += u[r] * loadLanes(row_[r] + b);
      storeLanes(chain + b, sum);
    }
  }

  /// The same as `dotChain` for a chain whose velocities are neighbours, from `x` on.
  void dotRun(const double* x, double (&sum)[w]) const {
    size_t b = 0;
    if (depth_ < kLanes) {
      for (size_t r = 0; r < w; ++r) sum[r] = 0.0;
    } else {
      Lanes lanes[w];
      const Lanes first = loadLanes(x);
      for (size_t r = 0; r < w; ++r) lanes[r] = loadLanes(row_[r]) * first;
      for (b = kLanes; b + kLanes <= depth_; b += kLanes) {
        const Lanes next = loadLanes(x + b);
        for (size_t r = 0; r < w; ++r) lanes[r] += loadLanes(row_[r] + b) * next;
      }
      for (size_t r = 0; r < w; ++r) sum[r] = sumOfLanes(lanes[r]);
    }
    if ((depth_ & 2) != 0) {
      const TwoLanes next = loadTwo(x + b);
      for (size_t r = 0; r < w; ++r) {
        const TwoLanes product = loadTwo(row_[r] + b) * next;
        sum[r] += product[0] + product[1];
      }
      b += 2;
    }
    if ((depth_ & 1) != 0)
      for (size_t r = 0; r < w; ++r) sum[r] += row_[r][b] * x[b];
  }

  /// x += sum of u[r] times row r, for such a chain.
  void addToRun(const double (&u)[w], double* x) const {
    size_t b = 0;
    for (; b + kLanes <= depth_; b += kLanes) {
      Lanes sum = loadLanes(x + b);
      for (size_t r = 0; r < w; ++r) sum += u[r] * loadLanes(row_[r] + b);
      storeLanes(x + b, sum);
    }
    if ((depth_ & 2) != 0) {
      TwoLanes sum = loadTwo(x + b);
      for (size_t r = 0; r < w; ++r) sum += u[r] * loadTwo(row_[r] + b);
      storeTwo(x + b, sum);
      b += 2;
    }
    if ((depth_ & 1) != 0)
      for (size_t r = 0; r < w; ++r) x[b] += u[r] * row_[r][b];
  }

 private:
  const double* row_[w];
  size_t depth_;
};

}  // namespace zelvik
