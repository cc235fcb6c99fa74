// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/contact/Single3DContactProblem.hpp>
#include <zelvik/rotation.hpp>

#include "contact/SlidingSearch.hpp"

// The law of one contact with everything else frozen: what its impulse becomes, given the velocity
// that it would have without it.

namespace zelvik::contact {

inline constexpr double kConeTolerance = 1.0000001;  ///< on (mu p_n)^2, for a contact that sticks

/// Third column of D: the velocity change per unit of normal impulse.
inline Vec3 normalColumn(const Single3DContactProblem& p) {
  return column(p.delassus_, 2);
}

/// Candidate for ranks 2 and 3: the impulse that brings the velocity u to zero in the subspace that
/// the block reaches.
inline Vec3 stickingImpulse(const Single3DContactProblem& p, const Vec3& u) {
  if (p.rank_ == Single3DContactProblem::FULL) return -(p.delassusInv_ * u);
  const Vec3 &b1 = p.planeBasis_[0], &b2 = p.planeBasis_[1];
  const Mat<2, 1> a = p.delassus22Inv_ * Mat<2, 1>{{dot(b1, u), dot(b2, u)}};
  return -(a[0] * b1 + a[1] * b2);
}

inline bool sticks(const Vec3& i, double mu) {
  const double limit = mu * i[2];
  return i[0] * i[0] + i[1] * i[1] <= limit * limit * kConeTolerance && i[2] >= 0.0;
}

/// What the new impulse of a closed contact is before relaxation.
/// @return false if the contact opens for good: the impulse is then zero and not relaxed
inline bool solveClosed(Single3DContactProblem& p, const Vec3& v, double z) {
  using Problem = Single3DContactProblem;
  if (p.mu_ < Single3DContactProblem::kFrictionless) {
    p.imp_[2] = -p.delassusInv_(2, 2) * z;
    return true;
  }
  switch (p.rank_) {
    case Problem::FULL:
    case Problem::PLANE: {
      p.imp_ = stickingImpulse(p, {{v[0], v[1], z}});
      if (sticks(p.imp_, p.mu_)) return true;
      return slide(p, v, z);
    }
    case Problem::LINE: {
      const Vec3 c = normalColumn(p);
      p.imp_ = (-dot(c, Vec3{{v[0], v[1], z}}) / p.reducedDzz_) * c;
      return true;
    }
    case Problem::NORMAL_ONLY:
      p.imp_[2] = -z * p.reducedDzz_;
      return true;
    default:
      return true;
  }
}

}  // namespace zelvik::contact
