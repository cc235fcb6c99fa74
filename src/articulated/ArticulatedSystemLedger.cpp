// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>

#include "articulated/TreePasses.hpp"
#include "object/LedgerDraft.hpp"

// The books of one articulated system. A step solves, at the coordinates before it,
//
//   M (u' - u) = dt (F + Q - h) - D u' + J^T p,   F = ff + P e - D/dt u + ... (clamped),
//
// with forces from outside Q, the implicit diagonal D of damping, gains and springs, and impulses p
// of contacts, wires and limits. The product of each term with m = 1/2 (u + u') is its work, and
// their sum the change of the kinetic energy there, to rounding. D/dt u and D u' together are
// dt (d + dGain + dt/2 (k + pGain)) m: of this -dt d m is the damping's share, and what belongs to
// springs goes with their energy. The remainder is what the motion to the new coordinates changes.
// `RUNGE_KUTTA_4` books the forces of its first stage.

namespace zelvik {

namespace {

/// f . J u
double powerOf(const Vec3& f, const SparseJacobian& J, const VecDyn& u) {
  double power = 0.0;
  for (size_t e = 0; e < J.size; ++e) {
    const double* column = J.v.v + 3 * e;
    power += (f[0] * column[0] + f[1] * column[1] + f[2] * column[2]) * u[J.idx[e]];
  }
  return power;
}

}  // namespace

/// @return centre of mass
Vec3 ArticulatedSystem::takeBalance(const Mat<3, 1>& gravity, LedgerBalance& balance) const {
  const TreeMotion motion = passes_->computeMotion(gv_.v);
  double rotors = 0.0;
  for (size_t k = 0; k < tree_.dof; ++k) rotors += joints_.rotorInertia[k] * (gv_[k] * gv_[k]);
  balance.kinetic = motion.kinetic + 0.5 * rotors;
  balance.gravity = -dot(gravity, motion.massMoment);
  balance.springs = springEnergy();
  balance.momentum = motion.momentum;
  balance.spin = motion.spin;
  const double mass = tree_.compositeMass[0];
  return (mass > 0.0 ? 1.0 / mass : 0.0) * motion.massMoment;
}

/// The potential of the forces in `addSpringForces`, with their signs.
double ArticulatedSystem::springEnergy() const {
  double energy = 0.0;
  for (const JointSpring& spring : joints_.springs) {
    const double* q = gc_.v + tree_.gcStart[spring.bodyIdx];
    if (tree_.jointType[spring.bodyIdx] == Joint::SPHERICAL) {
      const double* t = spring.mount;
      const double cosine = q[0] * t[0] + q[1] * t[1] + q[2] * t[2] + q[3] * t[3];
      const double angle = 2.0 * std::acos(std::min(1.0, cosine));
      energy += 0.5 * spring.stiffness * angle * angle;
    } else if (tree_.jointType[spring.bodyIdx] != Joint::FLOATING) {
      const double stretch = q[0] - spring.mount[0];
      energy -= 0.5 * spring.stiffness * stretch * stretch;
    }
  }
  return energy;
}

void ArticulatedSystem::openAccount(const Mat<3, 1>& gravity, LedgerDraft& draft) const {
  draft.com = takeBalance(gravity, draft.account->before);
}

void ArticulatedSystem::bookForces(const Mat<3, 1>& gravity, double dt, LedgerDraft& draft) {
  if (meanVelocity_.n != tree_.dof) meanVelocity_.setZero(tree_.dof);
  for (size_t k = 0; k < tree_.dof; ++k) meanVelocity_[k] = 0.5 * (gv_[k] + gvTemp_[k]);
  draft.push(LedgerAccount::GRAVITY, draft.com, (dt * tree_.compositeMass[0]) * gravity);
  bookJointForces(dt, draft);
  bookOutsideForces(dt, draft);
  draft.push(LedgerAccount::WIRES, {}, dt * draft.wireForce);
  draft.of(LedgerAccount::WIRES).twist += dt * draft.wireMoment;
  if (integrationScheme_ == RUNGE_KUTTA_4)  // impulses act at once, before the first stage
    for (size_t k = 0; k < tree_.dof; ++k)
      meanVelocity_[k] = gv_[k] + 0.5 * (gvTemp_[k] - gvFree_[k]);
  const double contacts = bookContacts(draft);
  if (!jointLimitProblems_.empty())
    draft.of(LedgerAccount::LIMITS).work = workOfConstraints() - contacts;
  constexpr double shares[] = {0.5, 0.0, 1.0, 0.5};  // by `IntegrationScheme`
  draft.shiftShare = shares[integrationScheme_];
}

void ArticulatedSystem::bookJointForces(double dt, LedgerDraft& draft) const {
  // Of a matrix-free step: D u' is on the left side, and with `RUNGE_KUTTA_4` in no force.
  const bool isImplicit = integrationScheme_ < RUNGE_KUTTA_4;
  const auto damping = [&](size_t k) { return -dt * joints_.damping[k] * meanVelocity_[k]; };
  const auto actuation = [&](size_t k) {
    const double implicit = isImplicit ? dampedDiagonal_[k] * gvTemp_[k] : 0.0;
    return dt * generalizedForce_[k] - implicit - damping(k);
  };
  double active = 0.0, lost = 0.0;
  for (size_t k = 0; k < tree_.dof; ++k) {
    active += actuation(k) * meanVelocity_[k];
    lost += damping(k) * meanVelocity_[k];
  }
  for (const JointSpring& spring : joints_.springs)
    for (size_t t = 0; isImplicit && t < tree_.dofOfBody[spring.bodyIdx]; ++t) {
      const double u = meanVelocity_[tree_.dofStart[spring.bodyIdx] + t];
      active += 0.5 * dt * dt * spring.stiffness * u * u;
    }
  draft.of(LedgerAccount::ACTUATION).work = active;
  draft.of(LedgerAccount::DAMPING).work = lost;
  if (!tree_.isFloating()) return;
  Vec3 force, moment, drag, turn;
  for (size_t i = 0; i < 3; ++i) {
    force[i] = actuation(i);
    moment[i] = actuation(3 + i);
    drag[i] = damping(i);
    turn[i] = damping(3 + i);
  }
  draft.push(LedgerAccount::ACTUATION, kinematics_.positionW[0], force);
  draft.of(LedgerAccount::ACTUATION).twist += moment;
  draft.push(LedgerAccount::DAMPING, kinematics_.positionW[0], drag);
  draft.of(LedgerAccount::DAMPING).twist += turn;
}

void ArticulatedSystem::bookOutsideForces(double dt, LedgerDraft& draft) const {
  LedgerEntry& external = draft.of(LedgerAccount::EXTERNAL);
  for (size_t i = 0; i < externalForceVectors_.size(); ++i) {
    const Vec3 impulse = dt * externalForceVectors_[i];
    external.work += powerOf(impulse, externalForceJacobians_[i], meanVelocity_);
    if (externalForceFlags_[i])
      draft.push(LedgerAccount::EXTERNAL, externalForcePositions_[i], impulse);
    else
      external.twist += impulse;
  }
  for (size_t i = 0; i < constraintForces_.size(); ++i)
    draft.compliantWork +=
        powerOf(dt * constraintForces_[i], constraintJacobians_[i], meanVelocity_);
  draft.of(LedgerAccount::WIRES).work += draft.compliantWork;
}

/// @return work of all contacts and stiff wires (J)
double ArticulatedSystem::bookContacts(LedgerDraft& draft) const {
  double sum = 0.0;
  for (size_t i = 0; i < numContacts_; ++i) {
    const contact::Contact& c = perObjectContact_.contacts_[i];
    if (c.contactProblem_ == nullptr || c.skip_) continue;
    const Vec3 impulse = c.objectA_ ? c.contactProblem_->imp_ : -c.contactProblem_->imp_;
    const double normal =
        powerOf({{0.0, 0.0, impulse[2]}}, contactFrameJacobians_[i], meanVelocity_);
    const double tangential =
        powerOf({{impulse[0], impulse[1], 0.0}}, contactFrameJacobians_[i], meanVelocity_);
    draft.of(draft.normalCause(c)).work += normal;
    draft.of(draft.tangentialCause(c)).work += tangential;
    sum += normal + tangential;
    if (c.selfCollision_) continue;  // both sides are in it: no momentum
    const Vec3 normalW = impulse[2] * row(c.frame_, 2);
    draft.push(draft.normalCause(c), c.position_, normalW);
    draft.push(draft.tangentialCause(c), c.position_, transposeMul(c.frame_, impulse) - normalW);
  }
  return sum;
}

/// Work of all impulses of the solve, limits included: m . (M + D) (u' - u without impulses). A
/// limit does not keep the sum of its impulses.
double ArticulatedSystem::workOfConstraints() {
  VecDyn &change = rhs_, &impulse = externalForceGeneralized_;  // both are free by now
  for (size_t k = 0; k < tree_.dof; ++k) change[k] = gvTemp_[k] - gvFree_[k];
  factor_.multiply(massRows_.v, change.v, impulse.v);
  const VecDyn& diagonal = implicitDiagonal();
  double work = 0.0;
  for (size_t k = 0; k < tree_.dof; ++k)
    work += meanVelocity_[k] * (impulse[k] + diagonal[k] * change[k]);
  return work;
}

void ArticulatedSystem::closeAccount(const Mat<3, 1>& gravity, LedgerDraft& draft) const {
  const Vec3 com = takeBalance(gravity, draft.account->after);
  draft.shift = draft.shiftShare * (com - draft.com);
}

}  // namespace zelvik
