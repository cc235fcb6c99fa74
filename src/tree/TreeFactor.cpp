// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <limits>
#include <zelvik/object/ArticulatedSystem/TreeFactor.hpp>

#include "core/Lanes.hpp"
#include "tree/TreeSegments.hpp"

// Packed rows are filled up to multiples of four, and loops run over whole lanes: values after the
// diagonal are computed as well, and no result depends on them.

namespace zelvik {

using Segment = TreePattern::Segment;

void TreeFactor::setPattern(const TreePattern& pattern) {
  pattern_ = &pattern;
  stride_ = laneCount(pattern.size) * kLanes;
  rows_.setZero(pattern.storage);
  factor_.setZero(pattern.storage);
  inversePivot_.setZero(pattern.size);
  chainRows_.assign(pattern.size, nullptr);
  packed_.setZero(stride_ + kLanes);
  z_.setZero(kLanes * stride_);
  x_.setZero(kMostRequests * kLanes * stride_);
}

void TreeFactor::addDiagonal(const double* diagonal) {
  for (size_t k = 0; k < pattern_->size; ++k)
    rows_[pattern_->rowStart[k] + pattern_->position[k]] += diagonal[k];
}

/// Eliminates w rows from the rows of the chain above them.
template <size_t w>
void TreeFactor::eliminate(const Segment& s) {
  double *P[w], *L[w];
  for (size_t r = 0; r < w; ++r) {
    P[r] = rows_.v + pattern_->rowStart[s.first + r];
    L[r] = factor_.v + pattern_->rowStart[s.first + r];
  }
  for (size_t r = w; r-- > 0;) {
    const size_t at = s.depth + r;
    const double pivot = P[r][at];
    const double inverse = pivot > 0.0 ? 1.0 / pivot : std::numeric_limits<double>::quiet_NaN();
    inversePivot_[s.first + r] = inverse;
    for (size_t b = 0; b <= at; b += kLanes) storeLanes(L[r] + b, loadLanes(P[r] + b) * inverse);
    for (size_t q = 0; q < r; ++q) {
      const double f = P[r][s.depth + q];
      for (size_t b = 0; b <= s.depth + q; b += kLanes)
        storeLanes(P[q] + b, loadLanes(P[q] + b) - f * loadLanes(L[r] + b));
    }
  }
  // Four columns at a time through all rows above, so that the lanes of L are read once.
  for (size_t i = s.stretchBegin; i < s.stretchEnd; ++i) {
    const TreePattern::Stretch& stretch = pattern_->stretches[i];
    const size_t* start = pattern_->rowStart.data() + stretch.first;
    const size_t end = stretch.position + stretch.count;
    for (size_t b = 0; b < end; b += kLanes) {
      Lanes l[w];
      for (size_t r = 0; r < w; ++r) l[r] = loadLanes(L[r] + b);
      for (size_t at = b > stretch.position ? b : stretch.position; at < end; ++at) {
        double* row = rows_.v + start[at - stretch.position] + b;
        Lanes sum = loadLanes(row);
        for (size_t r = 0; r < w; ++r) sum -= P[r][at] * l[r];
        storeLanes(row, sum);
      }
    }
  }
}

void TreeFactor::factorise() {
  for (size_t i = pattern_->segments.size(); i-- > 0;)
    withWidth(pattern_->segments[i],
              [&](auto w, const Segment& s) { eliminate<decltype(w)::value>(s); });
}

/// Rows and mirrored columns of w neighbouring velocities.
template <size_t w>
void TreeFactor::multiplySegment(const Segment& s, const double* rows, const double* x,
                                 double* product) {
  const SegmentRows<w> A(*pattern_, s, rows);
  double u[w], sum[w];
  for (size_t r = 0; r < w; ++r) u[r] = x[s.first + r];
  if (isBelowOneRun(s)) {
    const size_t above = pattern_->stretches[s.stretchBegin].first;
    A.dotRun(x + above, sum);
    A.addToRun(u, product + above);
  } else {
    double* chain = pattern_->gatherChain(s, x, packed_.v);
    A.clearAfter(chain);
    A.dotChain(chain, sum);
    A.combineChain(u, chain);
    pattern_->scatterChain(s, chain, 1.0, product);
  }
  for (size_t r = 0; r < w; ++r)
    for (size_t q = 0; q < w; ++q) sum[r] += A.own(r > q ? r : q, r > q ? q : r) * u[q];
  for (size_t r = 0; r < w; ++r) product[s.first + r] = sum[r];
}

void TreeFactor::multiply(const double* rows, const double* x, double* product) {
  for (const Segment& segment : pattern_->segments)
    withWidth(segment, [&](auto w, const Segment& s) {
      multiplySegment<decltype(w)::value>(s, rows, x, product);
    });
}

/// L^T y = x for the rows of a segment, and their part taken out of the chain above.
template <size_t w>
void TreeFactor::solveSegmentUpwards(const Segment& s, double* x) {
  const SegmentRows<w> L(*pattern_, s, factor_.v);
  double y[w];
  for (size_t r = 0; r < w; ++r) y[r] = x[s.first + r];
  for (size_t r = w; r-- > 1;)
    for (size_t q = 0; q < r; ++q) y[q] -= L.own(r, q) * y[r];
  for (size_t r = 0; r < w; ++r) x[s.first + r] = y[r];
  if (isBelowOneRun(s)) {
    for (size_t r = 0; r < w; ++r) y[r] = -y[r];
    L.addToRun(y, x + pattern_->stretches[s.stretchBegin].first);
  } else {
    L.combineChain(y, packed_.v);
    pattern_->scatterChain(s, packed_.v, -1.0, x);
  }
}

/// L x = D^-1 y for the rows of a segment, with x known above.
template <size_t w>
void TreeFactor::solveSegmentDownwards(const Segment& s, double* x) {
  const SegmentRows<w> L(*pattern_, s, factor_.v);
  double sum[w];
  if (isBelowOneRun(s)) {
    L.dotRun(x + pattern_->stretches[s.stretchBegin].first, sum);
  } else {
    const double* chain = pattern_->gatherChain(s, x, packed_.v);
    L.clearAfter(packed_.v);
    L.dotChain(chain, sum);
  }
  for (size_t r = 0; r < w; ++r) {
    double value = x[s.first + r] * inversePivot_[s.first + r] - sum[r];
    for (size_t q = 0; q < r; ++q) value -= L.own(r, q) * x[s.first + q];
    x[s.first + r] = value;
  }
}

void TreeFactor::solve(double* x) {
  for (size_t i = pattern_->segments.size(); i-- > 0;)
    withWidth(pattern_->segments[i],
              [&](auto w, const Segment& s) { solveSegmentUpwards<decltype(w)::value>(s, x); });
  for (const Segment& segment : pattern_->segments)
    withWidth(segment,
              [&](auto w, const Segment& s) { solveSegmentDownwards<decltype(w)::value>(s, x); });
}

namespace {

/// Calls `visit(l, j)` for the entries l of a packed row and the velocities j that they belong to,
/// without that of the row itself: those above the segment, then those inside.
template <typename Visit>
inline void forChain(const TreePattern& p, const Segment& s, size_t k, const double* row,
                     Visit&& visit) {
  for (size_t i = s.stretchBegin; i < s.stretchEnd; ++i) {
    const TreePattern::Stretch stretch = p.stretches[i];
    for (size_t t = 0; t < stretch.count; ++t) visit(row[stretch.position + t], stretch.first + t);
  }
  for (size_t j = s.first; j < k; ++j) visit(row[s.depth + j - s.first], j);
}

/// X(k, c) = -sum_j L(k, j) X(j, c) for 4 m columns from c on.
template <size_t m>
inline void invertColumns(const TreePattern& p, const Segment& s, size_t k, const double* row,
                          size_t c, double* X) {
  const size_t n = p.size;
  Lanes sum[m];
  for (size_t i = 0; i < m; ++i) sum[i] = Lanes{};
  forChain(p, s, k, row, [&](double l, size_t j) {
    const double* Xj = X + j * n + c;
    for (size_t i = 0; i < m; ++i) sum[i] -= l * loadLanes(Xj + kLanes * i);
  });
  for (size_t i = 0; i < m; ++i) storeLanes(X + k * n + c + kLanes * i, sum[i]);
}

}  // namespace

/// From A^-1 = L^-1 D^-1 L^-T, row by row: X(k, c) = -sum_j L(k, j) X(j, c) for c < k, and
/// X(k, k) = 1 / D(k) - sum_j L(k, j) X(k, j), over the chain of k. X is symmetric.
void TreeFactor::invert(double* X) const {
  const TreePattern& p = *pattern_;
  const size_t n = p.size;
  for (const Segment& s : p.segments)
    for (size_t k = s.first; k < s.first + s.count; ++k) {
      const double* row = factor_.v + p.rowStart[k];
      double* Xk = X + k * n;
      size_t c = 0;
      for (; c + 3 * kLanes <= k; c += 3 * kLanes) invertColumns<3>(p, s, k, row, c, X);
      for (; c + kLanes <= k; c += kLanes) invertColumns<1>(p, s, k, row, c, X);
      // The last lanes overlap those before them where four does not divide k.
      if (c < k && k >= kLanes) {
        invertColumns<1>(p, s, k, row, k - kLanes, X);
        c = k;
      }
      for (; c < k; ++c) {
        double sum = 0.0;
        forChain(p, s, k, row, [&](double l, size_t j) { sum -= l * X[j * n + c]; });
        Xk[c] = sum;
      }
      double diagonal = inversePivot_[k];
      forChain(p, s, k, row, [&](double l, size_t j) { diagonal -= l * Xk[j]; });
      Xk[k] = diagonal;
      for (c = 0; c < k; ++c) X[c * n + k] = Xk[c];
    }
}

}  // namespace zelvik
