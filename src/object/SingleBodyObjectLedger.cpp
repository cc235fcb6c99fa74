// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/object/SingleBodyObject.hpp>

#include "object/LedgerDraft.hpp"

// The books of one rigid body. With v, w before and v', w' after a step that begins at the pose
// (c, R), the step's own equation at that pose is
//
//   m (v' - v) = sum p,   I (w' - w) = sum l + gyroscopic term,
//
// so that 1/2 (v + v') . p + 1/2 (w + w') . l is exactly what an impulse (p, l) adds to the kinetic
// energy there. What the motion to the new pose then changes remains: the gyroscopic term, which
// the turn of the inertia takes back up to the error of the scheme, and the height that v' gains
// over (v + v') / 2 where contacts make positions follow v'.

namespace zelvik {

void SingleBodyObject::takeBalance(const Mat<3, 1>& gravity, LedgerBalance& balance) const {
  const Vec3 spin = rot_ * (bodyInertia_ * transposeMul(rot_, angVel_));
  balance.momentum = mass_ * linVel_;
  balance.spin = cross(comPos_, balance.momentum) + spin;
  balance.kinetic = 0.5 * (dot(balance.momentum, linVel_) + dot(spin, angVel_));
  balance.gravity = -mass_ * dot(gravity, comPos_);
}

void SingleBodyObject::openAccount(const Mat<3, 1>& gravity, LedgerDraft& draft) const {
  takeBalance(gravity, draft.account->before);
  draft.velocity = linVel_;
  draft.rate = angVel_;
  draft.com = comPos_;
}

void SingleBodyObject::bookForces(double dt, LedgerDraft& draft) const {
  draft.force = force_;
  draft.torque = torque_;
  if (linearDamping_ > 0.0) draft.drag = (-mass_ * dragShare(dt)) * linVelOld_;
  if (angularDamping_[0] > 0.0) draft.angularDrag = -(worldInertia_ * angularDragLoss(dt));
  // As in `integratePosition`.
  const bool flies = perObjectContact_.contacts_.empty() && !constraintForceApplied_;
  draft.shiftShare = flies ? 0.5 : 0.0;
}

void SingleBodyObject::closeAccount(const Mat<3, 1>& gravity, double dt, LedgerDraft& draft) const {
  using Account = LedgerAccount;
  takeBalance(gravity, draft.account->after);
  const Vec3 velocity = 0.5 * (draft.velocity + linVel_), rate = 0.5 * (draft.rate + angVel_);
  const Vec3& com = draft.com;
  const auto book = [&](Account::Cause cause, const Vec3& impulse, const Vec3& turn) {
    draft.push(cause, com, impulse);
    draft.of(cause).twist += turn;
    const double work = dot(impulse, velocity) + dot(turn, rate);
    if (cause != Account::GRAVITY) draft.of(cause).work += work;
    return work;
  };
  const Vec3 wireTorque = draft.wireMoment - cross(com, draft.wireForce);
  book(Account::GRAVITY, (dt * mass_) * gravity, {});
  book(Account::DAMPING, draft.drag, draft.angularDrag);
  draft.compliantWork = book(Account::WIRES, dt * draft.wireForce, dt * wireTorque);
  book(Account::EXTERNAL, dt * (draft.force - draft.wireForce), dt * (draft.torque - wireTorque));
  for (const contact::Contact& c : perObjectContact_.contacts_) {
    Vec3 impulse;
    c.getImpulse(impulse);
    const Vec3 normal = dot(impulse, c.normal_) * c.normal_, tangential = impulse - normal;
    const Vec3 slip = velocity + cross(rate, c.position_ - com);
    draft.push(draft.normalCause(c), c.position_, normal);
    draft.of(draft.normalCause(c)).work += dot(normal, slip);
    draft.push(draft.tangentialCause(c), c.position_, tangential);
    draft.of(draft.tangentialCause(c)).work += dot(tangential, slip);
  }
  draft.shift = draft.shiftShare * (comPos_ - com);
}

}  // namespace zelvik
