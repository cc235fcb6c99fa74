// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cstring>
#include <zelvik/object/ArticulatedSystem/TreeFactor.hpp>

#include "core/Lanes.hpp"
#include "tree/TreeSegments.hpp"

// Responses A^-1 J^T = L^-1 D^-1 L^-T J^T of contacts. A contact's three right sides lie in the
// lanes of one register, whose fourth lane has no meaning. L^-T touches only the chain of the
// contact's body.

namespace zelvik {
namespace {

/// J A^-1 J^T from the columns z of L^-T J^T; one triangle is summed.
class BlockSum {
 public:
  void add(const double* z, const Lanes& scaled) {
    c0_ += scaled * z[0];
    c1_ += scaled * z[1];
    c2_ += scaled * z[2];
  }
  Mat33 get() const {
    return {{c0_[0], c0_[1], c0_[2], c0_[1], c1_[1], c1_[2], c0_[2], c1_[2], c2_[2]}};
  }

 private:
  Lanes c0_{}, c1_{}, c2_{};
};

/// Three rows of `stride` values from the columns x, `width` values apart.
template <size_t width>
inline void transposeColumns(const double* x, size_t stride, double* rows) {
  for (double* end = rows + stride; rows != end; rows += kLanes, x += kLanes * width) {
    Lanes a = loadLanes(x), b = loadLanes(x + width), c = loadLanes(x + 2 * width),
          d = loadLanes(x + 3 * width);
    transposeLanes(a, b, c, d);
    storeLanes(rows, a);
    storeLanes(rows + stride, b);
    storeLanes(rows + 2 * stride, c);
  }
}

/// Whether the columns are a velocity and all above it: those of a contact are, those of a
/// self-collision need not be.
inline bool isWholeChain(const SparseJacobian& J, const TreePattern& pattern) {
  const size_t *idx = J.idx.data(), *end = idx + J.size, *parent = pattern.parent.data();
  size_t above = kNone;
  for (; idx != end; above = *idx++)
    if (parent[*idx] != above) return false;
  return true;
}

}  // namespace

/// z = L^-T J^T for w neighbouring columns of a chain, with z known below them.
template <size_t w>
void TreeFactor::solveChainBlock(const SparseJacobian& J, size_t first) {
  const double* const* rows = chainRows_.data();
  Lanes z[w];
  for (size_t r = 0; r < w; ++r) z[r] = loadLanes(J.v.v + 3 * (first + r));
  for (size_t e = J.size; e-- > first + w;) {
    const double* row = rows[e] + first;
    const Lanes below = loadLanes(z_.v + kLanes * e);
    for (size_t r = 0; r < w; ++r) z[r] -= row[r] * below;
  }
  for (size_t q = w; q-- > 0;) {
    const double* row = rows[first + q] + first;
    for (size_t r = 0; r < q; ++r) z[r] -= row[r] * z[q];
    storeLanes(z_.v + kLanes * (first + q), z[q]);
  }
}

/// z = L^-T J^T for columns that are a whole chain, four values per column: the packed position of
/// a velocity is the place of its column. Four columns at a time; what is left over is at the lower
/// end, where the sums are short.
void TreeFactor::solveChainUpwards(const SparseJacobian& J) {
  const size_t* rowStart = pattern_->rowStart.data();
  for (size_t e = 0; e < J.size; ++e) chainRows_[e] = factor_.v + rowStart[J.idx[e]];
  size_t first = J.size & ~(kLanes - 1);
  switch (J.size - first) {
    case 1:
      solveChainBlock<1>(J, first);
      break;
    case 2:
      solveChainBlock<2>(J, first);
      break;
    case 3:
      solveChainBlock<3>(J, first);
      break;
    default:
      break;
  }
  for (; first > 0; first -= 4) solveChainBlock<4>(J, first - 4);
}

/// z = L^-T J^T for any columns, four values per velocity.
void TreeFactor::solveTreeUpwards(const SparseJacobian& J) {
  const TreePattern& p = *pattern_;
  double* z = z_.v;
  for (size_t k = 0; k < p.size; ++k) storeLanes(z + kLanes * k, Lanes{});
  for (size_t e = 0; e < J.size; ++e) storeLanes(z + kLanes * J.idx[e], loadLanes(J.v.v + 3 * e));
  for (size_t k = p.size; k-- > 0;) {
    const double* row = factor_.v + p.rowStart[k];
    const Lanes zk = loadLanes(z + kLanes * k);
    for (size_t j = p.parent[k]; j != kNone; j = p.parent[j])
      storeLanes(z + kLanes * j, loadLanes(z + kLanes * j) - row[p.position[j]] * zk);
  }
}

/// Writes D^-1 z of one contact into its lanes of x; returns J A^-1 J^T.
template <size_t width>
Mat33 TreeFactor::scaleRequest(const SparseJacobian& J, size_t lane) {
  BlockSum block;
  double* x = x_.v + lane;
  const double *z = z_.v, *inversePivot = inversePivot_.v;
  const auto scale = [&](size_t k) {
    const Lanes scaled = loadLanes(z) * inversePivot[k];
    block.add(z, scaled);
    storeLanes(x + width * k, scaled);
    z += kLanes;
  };
  if (isWholeChain(J, *pattern_)) {
    solveChainUpwards(J);
    const size_t *idx = J.idx.data(), *end = idx + J.size;
    for (; idx != end; ++idx) scale(*idx);
  } else {
    solveTreeUpwards(J);
    for (size_t k = 0, size = pattern_->size; k < size; ++k) scale(k);
  }
  return block.get();
}

/// x = L^-1 x for the rows of a segment, `count` times four values per velocity.
template <size_t w, size_t count>
void TreeFactor::respondSegment(const TreePattern::Segment& s) {
  constexpr size_t width = count * kLanes;
  const double* L[w];
  Lanes sum[w][count];
  double* own = x_.v + width * s.first;
  for (size_t r = 0; r < w; ++r) {
    L[r] = factor_.v + pattern_->rowStart[s.first + r];
    for (size_t c = 0; c < count; ++c) sum[r][c] = loadLanes(own + width * r + kLanes * c);
  }
  for (size_t i = s.stretchBegin; i < s.stretchEnd; ++i) {
    const TreePattern::Stretch& stretch = pattern_->stretches[i];
    const double* x = x_.v + width * stretch.first;
    for (size_t t = stretch.position; t < stretch.position + stretch.count; ++t, x += width)
      for (size_t c = 0; c < count; ++c) {
        const Lanes xc = loadLanes(x + kLanes * c);
        for (size_t r = 0; r < w; ++r) sum[r][c] -= L[r][t] * xc;
      }
  }
  for (size_t r = 0; r < w; ++r)
    for (size_t c = 0; c < count; ++c) {
      for (size_t q = 0; q < r; ++q) sum[r][c] -= L[r][s.depth + q] * sum[q][c];
      storeLanes(own + width * r + kLanes * c, sum[r][c]);
    }
}

template <size_t count>
void TreeFactor::respondBatch(const Request* requests) {
  constexpr size_t width = count * kLanes;
  std::memset(x_.v, 0, width * stride_ * sizeof(double));
  for (size_t c = 0; c < count; ++c)
    *requests[c].block = scaleRequest<width>(*requests[c].J, kLanes * c);
  for (const TreePattern::Segment& segment : pattern_->segments)
    withWidth(segment, [&](auto w, const TreePattern::Segment& s) {
      respondSegment<decltype(w)::value, count>(s);
    });
  for (size_t c = 0; c < count; ++c)
    transposeColumns<width>(x_.v + kLanes * c, stride_, requests[c].response);
}

void TreeFactor::respond(const Request* requests, size_t count) {
  static_assert(kMostRequests == 2);
  if (count == 1) respondBatch<1>(requests);
  if (count == 2) respondBatch<2>(requests);
}

}  // namespace zelvik
