// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/contact/Single3DContactProblem.hpp>

// The law of one joint limit: the impulse that a visit adds, given the joint's velocity. Each
// function updates the record's `imp_`. `change` is the impulse that the caller applies to the
// joint; the result is the residual of the visit where nothing else is said.

namespace zelvik::contact {

/// @param u velocity of the joint (m/s or rad/s)
inline double enforceAxisLimit(Single3DContactProblem& p, double u, double& change) {
  change = 0.0;
  if (u * p.mu_ > 0.0) return 0.0;  // moves away from the limit
  const double residual = p.targetVelZ_ - u;
  change = residual * p.delassusInv_(0, 0);
  p.imp_[0] += change;
  return residual;
}

/// @param u relative angular velocity (rad/s, body axes)
inline double enforceConeLimit(Single3DContactProblem& p, const Vec3& u, Vec3& change) {
  const Vec3& e = p.planeBasis_[0];
  const double speed = dot(e, u);
  change.setZero();
  if (speed < 0.0) return 0.0;  // turns back
  const double residual = p.targetVelZ_ - speed;
  // The impulse is that of this visit; unlike that of an axis it is not summed up.
  p.imp_ = change = (residual * p.delassusInv_(0, 0)) * e;
  return residual;
}

/// The law of either limit, but that it gives back what it no longer needs.
/// @param push unit vector of the velocities in whose direction the limit pushes
/// @param u of the joint, @param applied impulse at it so far
/// @return the change of the impulse
inline Vec3 changeOfLimit(Single3DContactProblem& p, const Vec3& push, const Vec3& u,
                          const Vec3& applied) {
  const double wanted = dot(push, applied) - dot(push, u) * p.delassusInv_(0, 0);
  p.imp_ = (wanted > 0.0 ? wanted : 0.0) * push;
  return p.imp_ - applied;
}

}  // namespace zelvik::contact
