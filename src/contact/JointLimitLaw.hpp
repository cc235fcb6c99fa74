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

/// The same of a limit that gives back what it no longer needs.
/// @return the change of the impulse
inline double changeOfAxisLimit(Single3DContactProblem& p, double u) {
  const double old = p.imp_[0], wanted = old + (p.targetVelZ_ - u) * p.delassusInv_(0, 0);
  p.imp_[0] = wanted * p.mu_ > 0.0 ? wanted : 0.0;
  return p.imp_[0] - old;
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

}  // namespace zelvik::contact
