// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/contact/Single3DContactProblem.hpp>
#include <zelvik/rotation.hpp>

#include "contact/SlidingSearch.hpp"
#include "core/ColumnLanes.hpp"
#include "core/LaneAlgebra.hpp"

// The law of a contact with everything else frozen. With the velocity u that the contact has
// without its own impulse, its impulse p, D its own block and t the target of its normal velocity,
//
//   v = u + D p,   v_n - t = 0 and |p_t| <= mu p_n, or p = 0
//
// has one of three solutions:
//
//   opens    u_n above t (or above 0, whichever is higher):   p = 0
//   sticks   p = -D^-1 (u - t n), if that lies in the cone
//   slides   on the cone, where the velocity is at its target: `slide`
//
// The first two have a closed form for D of rank 3, `closedForm`, which the visits of a batch, of a
// row and of a record call with numbers of their own kind (`FourContacts`, `OneContact`,
// `OneRecord`). Closed contacts of other ranks and without friction take `solveOtherRank`.

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

/// Whether `closedForm` and `slide` are the law of the contact.
inline bool isOrdinary(const Single3DContactProblem& p) {
  using Problem = Single3DContactProblem;
  return p.rank_ == Problem::FULL && !(p.mu_ < Problem::kFrictionless);
}

/// The new impulse, before relaxation, of a closed contact that is not ordinary.
/// @return false if the contact opens for good: the impulse is then zero and not relaxed
inline bool solveOtherRank(Single3DContactProblem& p, const Vec3& v, double z) {
  using Problem = Single3DContactProblem;
  if (p.mu_ < Single3DContactProblem::kFrictionless) {
    p.imp_[2] = -p.delassusInv_(2, 2) * z;
    return true;
  }
  switch (p.rank_) {
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

/// One contact, in the lanes of a register: x, y, z and a zero.
struct OneContact {
  using Vector = Lanes;
  using Number = double;
  using Flag = bool;

  static double normalOf(const Lanes& a) { return a[2]; }
  template <typename Contact>
  static double normalVelocity(double z, const Contact& c) {
    return z + c.target;
  }
  static double dot(const Lanes& a, const Lanes& b) {
    const Lanes product = a * b;
    return product[0] + (product[1] + product[2]);
  }
  static Lanes multiply(const Columns33& A, const Lanes& a) {
    return A.c[0] * spreadLane<0>(a) + (A.c[1] * spreadLane<1>(a) + A.c[2] * spreadLane<2>(a));
  }
  static bool isInCone(const Lanes& p, double cone) {
    const Lanes square = p * p;
    return square[0] + square[1] <= cone * square[2] && p[2] >= 0.0;
  }
};

/// One contact as its record holds it.
struct OneRecord {
  using Vector = Vec3;
  using Number = double;
  using Flag = bool;

  static double normalOf(const Vec3& a) { return a[2]; }
  static double normalVelocity(double, const OneRecord& c) { return c.velocity; }
  static double dot(const Vec3& a, const Vec3& b) { return zelvik::dot(a, b); }
  static Vec3 multiply(const Mat33& A, const Vec3& a) { return -(A * a); }
  static bool isInCone(const Vec3& p, double friction) { return contact::sticks(p, friction); }

  /// @param u velocity without own impulse
  OneRecord(const Single3DContactProblem& p, const Vec3& u)
      : normal(normalColumn(p)),
        stick(p.delassusInv_),
        velocity(u[2]),
        opening(p.openingVelZ_),
        cone(p.mu_) {}

  // See `closedForm`.
  Vec3 normal;
  const Mat33& stick;  ///< D^-1: `multiply` takes the negative
  double velocity, opening;
  double cone;  ///< the friction itself
};

/// Four contacts, a lane for each of them in the registers of x, y and z.
struct FourContacts {
  using Vector = Lanes3;
  using Number = Lanes;
  using Flag = LaneMask;

  static Lanes normalOf(const Lanes3& a) { return a.z; }
  template <typename Contact>
  static Lanes normalVelocity(const Lanes& z, const Contact& c) {
    return z + c.target;
  }
  static Lanes dot(const Lanes3& a, const Lanes3& b) { return a.x * b.x + (a.y * b.y + a.z * b.z); }
  static Lanes3 multiply(const LanesSymmetric& A, const Lanes3& a) {
    return {A.xx * a.x + (A.xy * a.y + A.xz * a.z), A.xy * a.x + (A.yy * a.y + A.yz * a.z),
            A.xz * a.x + (A.yz * a.y + A.zz * a.z)};
  }
  static LaneMask isInCone(const Lanes3& p, const Lanes& cone) {
    return (p.x * p.x + p.y * p.y <= cone * (p.z * p.z)) & (p.z >= 0.0);
  }
};

/// What a visit finds.
template <typename Form>
struct ClosedForm {
  typename Form::Number w;          ///< share of the own impulse in the normal velocity (m/s)
  typename Form::Number z;          ///< normal residual without it (m/s)
  typename Form::Flag opens;        ///< then the impulse becomes zero,
  typename Form::Flag sticks;       ///< then `candidate`; else the contact slides
  typename Form::Vector change;     ///< -D^-1 v, of the impulse
  typename Form::Vector candidate;  ///< impulse after the change
};

/// @param c `normal`, the third column of D; `stick`, -D^-1; `target` and `opening` of the normal
/// velocity; `cone`, what `isInCone` compares with
/// @param p impulse so far
/// @param v velocity with that impulse, minus the target: so -D^-1 v is the change of impulse, and
/// what the contact has need not be taken out first. Where it has been taken out, p is zero.
template <typename Form, typename Contact>
inline ClosedForm<Form> closedForm(const Contact& c, const typename Form::Vector& p,
                                   const typename Form::Vector& v) {
  ClosedForm<Form> f;
  f.w = Form::dot(c.normal, p);
  f.z = Form::normalOf(v) - f.w;
  f.opens = Form::normalVelocity(f.z, c) > c.opening;
  f.change = Form::multiply(c.stick, v);
  f.candidate = p + f.change;
  f.sticks = Form::isInCone(f.candidate, c.cone);
  return f;
}

/// The new impulse of a closed contact, of any rank, before relaxation.
/// @param f closed form for u minus the target, without own impulse: its change is the impulse
/// @return as `solveOtherRank`
inline bool solveClosed(Single3DContactProblem& p, const ClosedForm<OneRecord>& f, const Vec3& u) {
  if (!isOrdinary(p)) return solveOtherRank(p, u, f.z);
  p.imp_ = f.change;
  return f.sticks || slide(p, u, f.z);
}

}  // namespace zelvik::contact
