// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <zelvik/contact/Single3DContactProblem.hpp>

#include "Lanes.hpp"

// Four contacts of rigid bodies that are visited at once: lane l of every number belongs to contact
// l. No body appears twice, see `SweepOrder`.

namespace zelvik::contact {

/// Velocity of a rigid body in the sweeps, without what `tauStar_` already holds. With the inverse
/// of the inertia J^-1 = C C^T (world axes, C a lower triangle) the angular velocity is C
/// `angular`: then one matrix, (lever C), serves both for the velocity of a contact and,
/// transposed, for what an impulse does.
struct BodyVelocity {
  Lanes linear{};   ///< (m/s, world axes)
  Lanes angular{};  ///< (kg^1/2 m/s)
};

/// C of a rigid body, or 1 where J^-1 has none.
struct AngularScale {
  double xx = 1.0, yx = 0.0, zx = 0.0, yy = 1.0, zy = 0.0, zz = 1.0;
  bool isFactor = false;

  AngularScale() = default;
  explicit AngularScale(const Mat33& inverseInertia);

  /// a C for the row a.
  Vec3 timesC(const Vec3& a) const {
    return {{a[0] * xx + a[1] * yx + a[2] * zx, a[1] * yy + a[2] * zy, a[2] * zz}};
  }
  /// C y
  Vec3 times(const Vec3& y) const {
    return {{xx * y[0], yx * y[0] + yy * y[1], zx * y[0] + zy * y[1] + zz * y[2]}};
  }
  /// C^-1 w
  Vec3 solve(const Vec3& w) const {
    const double x = w[0] / xx, y = (w[1] - yx * x) / yy;
    return {{x, y, (w[2] - zx * x - zy * y) / zz}};
  }
};

/// @tparam sides number of bodies of each contact; a single one has its sign in `frame` and `lever`
template <int sides>
struct ContactBatch {
  Lanes frame[9];            ///< rows: tangent, tangent, normal
  Lanes lever[sides][9];     ///< contact-frame velocity from `BodyVelocity::angular`, B negated
  Lanes inverseMass[sides];  ///< (1/kg)
  Lanes free[3];             ///< velocity without what the bodies hold, minus the target (m/s)
  Lanes stick[6];            ///< -D^-1: xx, xy, xz, yy, yz, zz (kg)
  Lanes normal[3];           ///< third column of D (1/kg)
  Lanes target;              ///< of the normal velocity (m/s)
  Lanes opening;             ///< normal velocity above which a contact opens (m/s)
  Lanes cone;        ///< factor on the square of the normal impulse of a contact that sticks
  Lanes impulse[3];  ///< (N s)
  /// Where the velocities are read, and where they go: lanes without a contact read zeros that
  /// nobody writes.
  std::uint32_t from[sides][kLanes], to[sides][kLanes];
  Single3DContactProblem* problems[kLanes];
  std::uint32_t count;  ///< of lanes in use; what the others hold means nothing

  /// Writes a prepared problem of rank 3 with friction to the next lane.
  void setProblem(size_t lane, Single3DContactProblem& problem);
  /// Writes one of its bodies. @param slot of the body's velocity, @param sign -1 on the B side
  void setBody(size_t lane, size_t side, std::uint32_t slot, double sign, const Mat<3, 6>& G,
               const AngularScale& scale, double inverseMass);

  /// One visit of all lanes. @return what they add to the error of the sweep (m^2/s^2)
  double visit(BodyVelocity* velocities, double relaxation);
  /// Hands the impulses of all lanes to the bodies.
  void handOnImpulses(BodyVelocity* velocities) const;
  void writeImpulses() const;
};

/// Places in the list of velocities: zeros, and what nobody reads; the bodies follow.
constexpr std::uint32_t kZeroSlot = 0, kUnreadSlot = 1, kFirstBodySlot = 2;

}  // namespace zelvik::contact
