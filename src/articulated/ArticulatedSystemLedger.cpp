// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>

#include "articulated/TreePasses.hpp"
#include "core/Lanes.hpp"
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

/// Sum over velocities, four at a time: `term` takes a function that reads a list there.
template <typename Term>
inline double sumOver(size_t count, Term&& term) {
  Lanes lanes{};
  size_t k = 0;
  for (; k + kLanes <= count; k += kLanes)
    lanes += term([k](const VecDyn& list) { return loadLanes(list.v + k); });
  double sum = sumOfLanes(lanes);
  for (; k < count; ++k) sum += term([k](const VecDyn& list) { return list[k]; });
  return sum;
}

/// Jc u; of each column four values are read.
inline Vec3 velocityOf(const SparseJacobian& Jc, const VecDyn& u) {
  Lanes sum{};
  for (size_t e = 0; e < Jc.size; ++e) sum += loadLanes(Jc.v.v + 3 * e) * u[Jc.idx[e]];
  return {{sum[0], sum[1], sum[2]}};
}

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
  const double rotors = sumOver(
      tree_.dof, [this](auto at) { return at(joints_.rotorInertia) * (at(gv_) * at(gv_)); });
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

/// A free base has M u at hand, the first six values of which are the momentum, about its origin.
void ArticulatedSystem::openAccount(const Mat<3, 1>& gravity, LedgerDraft& draft) const {
  LedgerBalance& before = draft.account->before;
  if (!tree_.isFloating()) {
    draft.com = takeBalance(gravity, before);
    return;
  }
  const double* p = generalizedMomentum_.v;
  const Vec3 massMoment = passes_->massMoment();
  before.kinetic =
      0.5 * sumOver(tree_.dof, [this](auto at) { return at(generalizedMomentum_) * at(gv_); });
  before.gravity = -dot(gravity, massMoment);
  before.springs = springEnergy();
  before.momentum = {{p[0], p[1], p[2]}};
  before.spin = cross(kinematics_.positionW[0], before.momentum) + Vec3{{p[3], p[4], p[5]}};
  const double mass = tree_.compositeMass[0];
  draft.com = (mass > 0.0 ? 1.0 / mass : 0.0) * massMoment;
}

void ArticulatedSystem::bookForces(const Mat<3, 1>& gravity, double dt, LedgerDraft& draft) {
  if (meanVelocity_.n != tree_.dof) meanVelocity_.setZero(tree_.dof);
  for (size_t k = 0; k < tree_.dof; ++k) meanVelocity_[k] = 0.5 * (gv_[k] + gvTemp_[k]);
  draft.push(LedgerAccount::GRAVITY, draft.com, (dt * tree_.compositeMass[0]) * gravity);
  bookJointForces(dt, draft);
  bookOutsideForces(dt, draft);
  draft.of(LedgerAccount::WIRES).impulse = dt * draft.wireForce;
  draft.of(LedgerAccount::WIRES).twist = dt * draft.wireMoment;
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
  // D u' is on the left side; with `RUNGE_KUTTA_4` it stands in no force.
  const bool isImplicit = integrationScheme_ < RUNGE_KUTTA_4;
  const double implicit = isImplicit ? 1.0 : 0.0;
  const auto all = [&](auto at) {
    return dt * at(generalizedForce_) - implicit * (at(dampedDiagonal_) * at(gvTemp_));
  };
  const auto damping = [&](auto at) { return -dt * at(joints_.damping) * at(meanVelocity_); };
  const double lost = sumOver(tree_.dof, [&](auto at) { return damping(at) * at(meanVelocity_); });
  double active = sumOver(tree_.dof, [&](auto at) { return all(at) * at(meanVelocity_); }) - lost;
  for (const JointSpring& spring : joints_.springs)
    for (size_t t = 0; isImplicit && t < tree_.dofOfBody[spring.bodyIdx]; ++t) {
      const double u = meanVelocity_[tree_.dofStart[spring.bodyIdx] + t];
      active += 0.5 * dt * dt * spring.stiffness * u * u;
    }
  draft.of(LedgerAccount::ACTUATION).work = active;
  draft.of(LedgerAccount::DAMPING).work = lost;
  if (!tree_.isFloating()) return;
  Vec3 force, moment, drag, turn;
  for (size_t k = 0; k < 6; ++k) {
    const auto at = [k](const VecDyn& list) { return list[k]; };
    (k < 3 ? drag : turn)[k % 3] = damping(at);
    (k < 3 ? force : moment)[k % 3] = all(at) - damping(at);
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
    const Vec3 impulse = (c.objectA_ ? 1.0 : -1.0) * c.contactProblem_->imp_;
    const Vec3 velocity = velocityOf(contactFrameJacobians_[i], meanVelocity_);
    LedgerEntry &normal = draft.of(draft.normalCause(c)),
                &tangential = draft.of(draft.tangentialCause(c));
    const double normalWork = impulse[2] * velocity[2], work = dot(impulse, velocity);
    normal.work += normalWork;
    tangential.work += work - normalWork;
    sum += work;
    if (c.selfCollision_) continue;  // both sides are in it: no momentum
    const Vec3 along = impulse[2] * row(c.frame_, 2);
    const Vec3 across = transposeMul(c.frame_, impulse) - along;
    normal.impulse += along;
    normal.twist += cross(c.position_, along);
    tangential.impulse += across;
    tangential.twist += cross(c.position_, across);
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
