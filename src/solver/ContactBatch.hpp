// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <span>
#include <zelvik/contact/Single3DContactProblem.hpp>

#include "contact/ContactPreparation.hpp"
#include "core/LaneAlgebra.hpp"

// Four contacts of rigid bodies that are visited at once: lane l of every number belongs to contact
// l. No body appears twice, see `SweepOrder`. Points of a pair of bodies follow each other, so
// consecutive batches often have the same bodies; they make up a run, in which the velocities of
// the bodies stay in lanes.
//
// Symbols of one contact, in its own frame (rows of F: tangents t1, t2 and the normal n), between
// the bodies a and b, with r the way from the centre of mass to the point:
//
//   v = free + F (u_a - u_b) + L_a w_a - L_b w_b    velocity minus the target, all impulses applied
//   L = F [r]x^T C,   J^-1 = C C^T                  so w = C^-1 (angular velocity): `AngularScale`
//   u += F^T dp / m,  w += L^T dp                    what a change dp of impulse does to body a
//
// F is `frame`, L is `lever`. What dp is: `closedForm` and `slide` (contact/ContactLaw.hpp).

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

/// What the sweeps read of a rigid body.
struct BodyMass {
  AngularScale scale;
  double inverseMass = 0.0;  ///< (1/kg)
};

/// Places in the list of velocities: zeros stand first, the bodies follow.
constexpr std::uint32_t kZeroSlot = 0, kFirstBodySlot = 1;

/// Whose contacts a batch holds. Lanes without a contact refer to zeros.
template <int sides>
struct BatchMembers {
  Single3DContactProblem* problems[kLanes];  ///< null for none
  const double* jacobians[sides][kLanes];    ///< 18 values each
  const BodyMass* masses[sides][kLanes];
  Lanes sign;  ///< of the first side

  BatchMembers();
};

/// The bodies of a batch or a run: slots of their velocities.
template <int sides>
struct BatchBodies {
  std::uint32_t slots[sides][kLanes];

  BatchBodies();
  /// Adds those of a batch that may join a run with these.
  /// @return false, with nothing changed, if a lane has another body or one that another lane has
  bool merge(const BatchBodies& other);
};

/// @tparam sides number of bodies of each contact; a single one has its sign in `frame` and `lever`
template <int sides>
struct ContactBatch {
  Lanes frame[9];            ///< rows: tangent, tangent, normal
  Lanes lever[sides][9];     ///< contact-frame velocity from `BodyVelocity::angular`, B negated
  Lanes inverseMass[sides];  ///< (1/kg)
  Lanes3 free;               ///< velocity without what the bodies hold, minus the target (m/s)
  LanesSymmetric stick;      ///< -D^-1 (kg)
  Lanes3 normal;             ///< third column of D (1/kg)
  Lanes target;              ///< of the normal velocity (m/s)
  Lanes opening;             ///< normal velocity above which a contact opens (m/s)
  Lanes cone;      ///< factor on the square of the normal impulse of a contact that sticks
  Lanes3 impulse;  ///< (N s)
  Single3DContactProblem* problems[kLanes];  ///< null for none: all numbers of the lane are zero
  unsigned used;                             ///< bit l is set if lane l has a contact

  /// Writes problems of rank 3 with friction and their bodies, and prepares their records.
  /// @param velocities at the start
  void fill(const BatchMembers<sides>& members, const BatchBodies<sides>& bodies,
            const BodyVelocity* velocities, const ContactPreparation& preparation);
  void writeImpulses() const;

 private:
  void clearLane(size_t lane);
  void fillBodies(const BatchMembers<sides>& members);
  void fillProblems(const Lanes& normalVelocity, const ContactPreparation& preparation);
};

/// Batches of a run and its bodies.
template <int sides>
struct ContactRun {
  std::span<ContactBatch<sides>> batches;
  const BatchBodies<sides>& bodies;

  /// One visit of all batches, from the first to the last or backwards.
  /// @return what they add to the error of the sweep (m^2/s^2)
  double visit(bool forward, BodyVelocity* velocities, double relaxation) const;
  /// Hands the impulses of all lanes to the bodies.
  void handOnImpulses(BodyVelocity* velocities) const;
};

}  // namespace zelvik::contact
