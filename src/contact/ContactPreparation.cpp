// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "contact/ContactPreparation.hpp"

#include <algorithm>
#include <cmath>

#include "contact/ContactLaw.hpp"
#include "core/ColumnLanes.hpp"

namespace zelvik::contact {

namespace {

/// Normal impulse per unit of normal velocity at a contact that sticks (kg).
double stickingMass(const Single3DContactProblem& p) {
  if (p.rank_ == Single3DContactProblem::FULL) return p.delassusInv_(2, 2);
  const Mat<2, 1> n{{p.planeBasis_[0][2], p.planeBasis_[1][2]}};
  const Mat<2, 1> k = p.delassus22Inv_ * n;
  return n[0] * k[0] + n[1] * k[1];
}

/// A correction of depth with the velocity t costs a contact that sticks the energy 1/2 t^2 m, with
/// m its sticking mass. Between two bodies of one system that can hardly part, and where a system
/// on a fixed base pushes along a straight limb, m is beyond all bounds, and a centimetre of
/// overlap can cost more energy than the robot has: there the correction falls with the mobility,
/// so that the energy stays below 1/2 t^2 M / 0.1, with M the mass of the system.
void fadeTarget(Single3DContactProblem& p, double correction) {
  const double heaviest = p.systemMass_ / Single3DContactProblem::kLeastSystemMobility;
  const double mass = stickingMass(p);
  if (mass > heaviest && correction > 0.0)
    p.targetVelZ_ -= (1.0 - std::sqrt(heaviest / mass)) * correction;
}

}  // namespace

void ContactPreparation::prepare(Single3DContactProblem& p, double normalVelocity) const {
  using Problem = Single3DContactProblem;
  const Mat33& D = p.delassus_;
  p.muInvDzz_ = D(2, 2) * p.muInv_;

  ContactPreparation rule = *this;
  if (p.rank_ == Problem::NORMAL_ONLY) rule.layer = 0.0;  // a wire has no surface
  const NormalTarget<double> target = rule.target(NormalMotion<double>{
      normalVelocity, p.impactVel_, p.restitution_, p.restitutionThreshold_, p.depth_});
  p.targetVelZ_ = target.velocity;
  p.openingVelZ_ = target.opening;

  // A rank-1 block that was found by a vanishing second column has no form yet.
  if (p.rank_ == Problem::LINE && p.reducedDzz_ == 0.0) {
    const Vec3 c = normalColumn(p);
    p.reducedDzz_ = dot(c, D * c);
  }
  if (p.rank_ != Problem::PLANE && p.rank_ != Problem::FULL) return;

  // M(i,j) = D(i,j) - D(i,2) D(2,j) / D(2,2).
  const Columns33 d = loadColumns(D.v);
  const Lanes x = d.c[0] - d.c[2] * (D(2, 0) * p.dzzInv_);
  const Lanes y = d.c[1] - d.c[2] * (D(2, 1) * p.dzzInv_);
  storeLanes(p.tangentMap_.v, x);
  storeLastColumn(p.tangentMap_.v + 3, x, y);
  if (p.mu_ == 0.0) p.imp_[0] = p.imp_[1] = 0.0;
  if (p.rank_ == Problem::FULL) cholInv<3>(D.v, p.delassusInv_.v);
  if (p.systemMass_ > 0.0) fadeTarget(p, std::min(p.targetVelZ_, -p.depth_ * erp));
}

}  // namespace zelvik::contact
