// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <vector>
#include <zelvik/SparseJacobian.hpp>
#include <zelvik/export.hpp>
#include <zelvik/math.hpp>

namespace zelvik {

/// Where a symmetric matrix over the velocities of a tree can differ from zero: entry (k, j) only
/// if j lies on the chain from k to the root, or the reverse.
///
/// Row k of such a matrix is kept packed: one value per velocity on the chain of k, from the root
/// to k itself. A velocity has the same position in the rows of all of its descendants, so that
/// sums of rows run over contiguous memory. Rows start at multiples of four values and fill up to
/// the next.
struct ZELVIK_API TreePattern {
  /// A stretch of a chain whose velocities are neighbours.
  struct Stretch {
    size_t position;  ///< in the packed rows
    size_t first;     ///< velocity
    size_t count;     ///< of velocities
  };
  /// At most four neighbouring velocities without a branch between them.
  struct Segment {
    size_t first;         ///< velocity
    size_t count;         ///< of velocities
    size_t depth;         ///< packed position of the first
    size_t stretchBegin;  ///< in `stretches`: the chain above the segment, from the root
    size_t stretchEnd;    ///< one past the last of these stretches
  };

  size_t size = 0;                 ///< velocities
  size_t storage = 0;              ///< values of all packed rows
  std::vector<size_t> rowStart;    ///< of each packed row
  std::vector<size_t> position;    ///< packed position of each velocity
  std::vector<size_t> parent;      ///< the next velocity towards the root, or `kNone`
  std::vector<Segment> segments;   ///< of all velocities, from the root
  std::vector<Stretch> stretches;  ///< of the chains above all segments

  /// @param parentOf per velocity the next one towards the root, with a lower index, or `kNone`
  void build(const std::vector<size_t>& parentOf);

  /// Row k out of the columns of a dense symmetric matrix, whose lower triangle is not read.
  void pack(const double* dense, double* rows) const;
  /// The entries of the pattern to both triangles of a dense matrix; others are left as they are.
  void unpack(const double* rows, double* dense) const;
  /// Values of x on the chain above a segment, to their packed positions. Returns `packed`.
  double* gatherChain(const Segment& segment, const double* x, double* packed) const;
  /// x += factor times the packed values, on the chain above a segment.
  void scatterChain(const Segment& segment, const double* packed, double factor, double* x) const;

 private:
  void addSegment(size_t first, size_t end);
};

/// Factorisation A = L^T D L along a tree, with L of unit diagonal and D diagonal, from the leaves
/// to the root, which fills in nothing (R. Featherstone, Rigid Body Dynamics Algorithms, section
/// 6.5 and 8.3). What it solves equals the dense solution to rounding.
///
/// Nothing is allocated after `setPattern`, and nothing fails: a pivot that is not positive stands
/// for a matrix that is not positive definite and gives NaN.
class ZELVIK_API TreeFactor {
 public:
  /// Chains that `respond` takes at once.
  static constexpr size_t kMostRequests = 2;

  /// What one contact asks of `respond`.
  struct Request {
    const SparseJacobian* J;  ///< ascending indices; one column more is allocated than used
    double* response;         ///< 3 rows of `stride` values: row a is A^-1 (row a of J)^T
    Mat<3, 3>* block;         ///< J A^-1 J^T, symmetric to the last bit
  };

  /// @param pattern must outlive the factor
  void setPattern(const TreePattern& pattern);
  /// @param pattern an equal one, to which a copy of a factor goes over
  void movePattern(const TreePattern& pattern) { pattern_ = &pattern; }
  /// Length of a row of a response: `size` rounded up to a multiple of four. The surplus is zero.
  size_t stride() const { return stride_; }

  /// Packed rows of the matrix that `factorise` takes.
  double* rows() { return rows_.v; }
  /// Adds `size` values to the diagonal of `rows`.
  void addDiagonal(const double* diagonal);
  /// Consumes `rows`.
  void factorise();
  /// Entry k of D as of the last `factorise`; NaN if it was not positive.
  double pivot(size_t k) const { return 1.0 / inversePivot_.v[k]; }
  /// product = A x for packed rows of a matrix.
  void multiply(const double* rows, const double* x, double* product);
  /// x = A^-1 x; x has `size` entries.
  void solve(double* x);
  /// Full inverse, `size` square, both triangles.
  void invert(double* inverse) const;
  /// Responses of up to `kMostRequests` contacts.
  void respond(const Request* requests, size_t count);

 private:
  template <size_t w>
  void eliminate(const TreePattern::Segment& segment);
  template <size_t w>
  void multiplySegment(const TreePattern::Segment& segment, const double* rows, const double* x,
                       double* product);
  template <size_t w>
  void solveSegmentUpwards(const TreePattern::Segment& segment, double* x);
  template <size_t w>
  void solveSegmentDownwards(const TreePattern::Segment& segment, double* x);
  template <size_t w>
  void solveChainBlock(const SparseJacobian& J, size_t first);
  void solveChainUpwards(const SparseJacobian& J);
  void solveTreeUpwards(const SparseJacobian& J);
  template <size_t width>
  Mat<3, 3> scaleRequest(const SparseJacobian& J, size_t lane);
  template <size_t w, size_t count>
  void respondSegment(const TreePattern::Segment& segment);
  template <size_t count>
  void respondBatch(const Request* requests);

  const TreePattern* pattern_ = nullptr;
  size_t stride_ = 0;
  VecDyn rows_;                           ///< of A, overwritten by the elimination
  VecDyn factor_;                         ///< packed rows of L
  VecDyn inversePivot_;                   ///< of D^-1
  std::vector<const double*> chainRows_;  ///< rows of L of one chain
  VecDyn packed_;                         ///< values on one chain
  VecDyn z_;                              ///< four values per velocity: L^-T J^T of one contact
  VecDyn x_;                              ///< `kMostRequests` times four values per velocity
};

}  // namespace zelvik
