// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/contact/Single3DContactProblem.hpp>

namespace zelvik::contact {

namespace {

constexpr double kZeroTangentColumn = 1e-15;  ///< norm below which c0 or c1 counts as zero
constexpr double kZeroNormalColumn = 1e-12;   ///< the same for c2, and for D(2,2)^2
static_assert(kZeroNormalColumn ==
              Single3DContactProblem::kLeastMobility * Single3DContactProblem::kLeastMobility);
constexpr double kParallel = 0.99999999999;  ///< squared cosine above which vectors are parallel

/// c^T D c.
double quadraticForm(const Mat33& D, const Vec3& c) {
  return dot(c, D * c);
}

/// The columns of D and what `checkRank` compares of them. Columns are normalised without a guard:
/// one that is exactly zero gives NaN, which makes every comparison false.
struct ColumnGeometry {
  Vec3 c2;
  double norm0, norm1, norm2;
  Vec3 u2;
  Vec3 R0, R1;    ///< parts of u0 and u1 orthogonal to u2
  double s0, s1;  ///< squared cosines of u0 and u1 with u2

  explicit ColumnGeometry(const Mat33& D) {
    const Vec3 c0 = column(D, 0), c1 = column(D, 1);
    c2 = column(D, 2);
    norm0 = norm(c0);
    norm1 = norm(c1);
    norm2 = norm(c2);
    const Vec3 u0 = (1.0 / norm0) * c0, u1 = (1.0 / norm1) * c1;
    u2 = (1.0 / norm2) * c2;
    const double cos0 = dot(u0, u2), cos1 = dot(u1, u2);
    s0 = cos0 * cos0;
    s1 = cos1 * cos1;
    R0 = u0 - cos0 * u2;
    R1 = u1 - cos1 * u2;
  }
};

/// Whether D is of full rank with so wide a margin that rounding cannot matter: the comparisons of
/// the long way, multiplied out. What this leaves open, NaN as well, goes the long way.
bool isClearlyFull(const Mat33& D) {
  constexpr double kSafeSquare = 1e-20, kSine = 1e-6, kCosine = 0.999;  // all squared
  const Vec3 c0 = column(D, 0), c1 = column(D, 1), c2 = column(D, 2);
  const double n0 = squaredNorm(c0), n1 = squaredNorm(c1), n2 = squaredNorm(c2);
  const double c01 = dot(c0, c1), c02 = dot(c0, c2), c12 = dot(c1, c2);
  const double n02 = n0 * n2, n12 = n1 * n2;
  const double sine0 = n02 - c02 * c02, sine1 = n12 - c12 * c12;  // |R0|^2 and |R1|^2, scaled
  const double product = c01 * n2 - c02 * c12;                    // R0 . R1, scaled
  return n0 > kSafeSquare && n1 > kSafeSquare && n2 > kSafeSquare &&
         D(2, 2) * D(2, 2) >= kZeroNormalColumn && sine0 > kSine * n02 && sine1 > kSine * n12 &&
         product * product < kCosine * (sine0 * sine1);
}

}  // namespace

void matrixInversion22(const Mat<2, 2>& in, Mat<2, 2>& out) {
  const double det = std::fma(in(1, 1), in(0, 0), -(in(1, 0) * in(0, 1)));
  const Mat<2, 2> adjugate{{in(1, 1), -in(1, 0), -in(0, 1), in(0, 0)}};
  for (int i = 0; i < 4; ++i) out[i] = adjugate[i] / det;
}

Single3DContactProblem::Single3DContactProblem(const MaterialPairProperties& prop, double x,
                                               double y, double z, double depth)
    : mu_(prop.friction),
      muInv_(1.0 / prop.friction),
      negMuSquared_(-prop.friction * prop.friction),
      restitution_(prop.restitution),
      restitutionThreshold_(prop.restitutionThreshold),
      depth_(depth),
      position_{{x, y, z}} {}

void Single3DContactProblem::setLine(const Mat<3, 1>& c2) {
  rank_ = LINE;
  reducedDzz_ = quadraticForm(delassus_, c2);
}

void Single3DContactProblem::finishPlane(const Mat<3, 1>& b1, const Mat<3, 1>& b2) {
  rank_ = PLANE;
  planeBasis_[0] = (1.0 / norm(b1)) * b1;
  planeBasis_[1] = b2;
  for (int j = 0; j < 2; ++j) {
    const Vec3 image = delassus_ * planeBasis_[j];
    for (int i = 0; i < 2; ++i) delassus22_(i, j) = dot(planeBasis_[i], image);
  }
  matrixInversion22(delassus22_, delassus22Inv_);
}

void Single3DContactProblem::checkRank() {
  if (rank_ == NORMAL_ONLY) reducedDzz_ = 1.0 / delassus_(2, 2);
  if (rank_ == FULL && !isClearlyFull(delassus_)) classifyByColumns();
}

// Kept out of `checkRank`: inlined there, its square roots would be computed before the test that
// makes them unnecessary.
__attribute__((noinline)) void Single3DContactProblem::classifyByColumns() {
  const ColumnGeometry g(delassus_);
  const bool normalDead =
      g.norm2 < kZeroNormalColumn || delassus_(2, 2) * delassus_(2, 2) < kZeroNormalColumn;
  bool plane = false;
  Vec3 b1{};

  // A tangential column that vanishes leaves at most a plane.
  if (g.norm0 < kZeroTangentColumn) {
    if (!(g.norm1 < kZeroTangentColumn) && !(g.s1 > kParallel)) {
      plane = true;
      b1 = g.R1;
    } else if (!normalDead) {
      setLine(g.c2);
      return;
    }
  } else if (g.norm1 < kZeroTangentColumn) {
    if (g.s0 > kParallel && !normalDead) {
      rank_ = LINE;  // `reducedDzz_` stays: the solver's set-up fills it where it is still 0
      return;
    }
    plane = true;
    b1 = g.R0;
  }

  if (normalDead) {
    rank_ = NOTHING_MOVES;
    return;
  }

  // Columns that are parallel to the third, or to each other off the third.
  if (g.s1 > kParallel) {
    if (g.s0 > kParallel && !plane) {
      setLine(g.c2);
      return;
    }
    b1 = g.R0;
  } else if (g.s0 > kParallel) {
    b1 = g.R1;
  } else {
    const double product = dot(g.R0, g.R1);
    const bool parallel = product * product > kParallel * (squaredNorm(g.R0) * squaredNorm(g.R1));
    if (!plane && !parallel) return;  // full rank
    if (!plane) b1 = g.R0;
  }
  finishPlane(b1, g.u2);
}

}  // namespace zelvik::contact
