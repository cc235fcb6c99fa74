// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <limits>
#include <zelvik/contact/BisectionContactSolver.hpp>
#include <zelvik/object/Object.hpp>

#include "ColumnLanes.hpp"
#include "ContactLaw.hpp"
#include "ContactSweep.hpp"

namespace zelvik::contact {

namespace {

/// v = contact velocity without this problem's own impulse (contact frame).
inline Vec3 velocityWithoutOwnImpulse(Single3DContactProblem& p) {
  Vec3 v = p.tauStar_;
  const size_t count = p.otherBlocks_.size();
  for (size_t k = 0; k < count; ++k) {
    const Mat33& B = p.otherBlocks_[k];
    const Vec3& q = p.otherProblems_[k]->imp_;
    v[0] += B[0] * q[0] + B[3] * q[1] + B[6] * q[2];
    v[1] += B[1] * q[0] + B[4] * q[1] + B[7] * q[2];
    v[2] += B[2] * q[0] + B[5] * q[1] + B[8] * q[2];
  }
  if (p.objA_ != nullptr) p.objA_->addContactPointVel(p.contactIdxA_, v);
  if (p.objB_ != nullptr) p.objB_->subContactPointVel(p.contactIdxB_, v);
  if (p.hasAppliedDelassus_) v -= p.appliedDelassus_ * p.imp_;
  return v;
}

/// Normal velocity before any impulse.
inline double normalVelocity(const Single3DContactProblem& p) {
  Vec3 v = p.tauStar_;
  if (p.objA_ != nullptr) p.objA_->addContactPointVel(p.contactIdxA_, v);
  if (p.objB_ != nullptr) p.objB_->subContactPointVel(p.contactIdxB_, v);
  return v[2];
}

/// Hands the change of impulse to the objects that are queried. A change of exactly zero, as of a
/// contact that stays open, has nothing to hand on.
inline void updateObjects(Single3DContactProblem& p, const Vec3& old) {
  if (p.objA_ == nullptr && p.objB_ == nullptr) return;
  const Vec3 delta = p.imp_ - old;
  if (delta[0] == 0.0 && delta[1] == 0.0 && delta[2] == 0.0) return;
  if (p.objA_ != nullptr) p.objA_->updateGenVelWithImpulse(p.contactIdxA_, delta);
  if (p.objB_ != nullptr) p.objB_->updateGenVelWithImpulse(p.contactIdxB_, -delta);
}

}  // namespace

BisectionContactSolver::BisectionContactSolver() : rows_(std::make_unique<ContactSweep>()) {}

BisectionContactSolver::~BisectionContactSolver() = default;

void BisectionContactSolver::setParameters(double relaxation, double reserved1, double reserved2,
                                           int maxIterations, double threshold) {
  relaxation_ = relaxation;
  reservedParam1_ = reserved1;
  reservedParam2_ = reserved2;
  maxIterations_ = maxIterations;
  threshold_ = threshold;
}

/// Target of a contact while a surface layer is kept: the part of the overlap beyond the layer is
/// taken out; where the overlap is less, the contact comes down to the layer within the step,
/// unless it bounces. A wire has no surface.
void BisectionContactSolver::keepSurfaceLayer(Single3DContactProblem& p, double bounce) const {
  if (p.rank_ == Single3DContactProblem::NORMAL_ONLY) return;
  const double missing = surfaceLayer_ + p.depth_;
  if (missing > 0.0 && bounce > 0.0)
    p.targetVelZ_ = bounce;
  else if (missing > 0.0)  // finite also for a step of no length
    p.targetVelZ_ = p.openingVelZ_ =
        std::max(-missing * timeStepInv_, std::numeric_limits<double>::lowest());
  else
    p.targetVelZ_ = std::max(bounce, 0.0) - missing * erp_;
}

/// @param normalVelocity at the start, with no impulse applied (m/s)
void BisectionContactSolver::prepareProblem(Single3DContactProblem& p,
                                            double normalVelocity) const {
  const Mat33& D = p.delassus_;
  p.muInvDzz_ = D(2, 2) * p.muInv_;

  // Target of the normal velocity: bounce above the threshold, and a share of the penetration.
  const double bounce =
      (normalVelocity - 2.0 * p.impactVel_ - p.restitutionThreshold_) * (p.restitution_ + erp2_);
  p.targetVelZ_ = std::max(bounce, 0.0) - p.depth_ * erp_;
  p.openingVelZ_ = 0.0;
  if (surfaceLayer_ > 0.0) keepSurfaceLayer(p, bounce);

  // A rank-1 block that was found by a vanishing second column has no form yet.
  if (p.rank_ == Single3DContactProblem::LINE && p.reducedDzz_ == 0.0) {
    const Vec3 c = normalColumn(p);
    p.reducedDzz_ = dot(c, D * c);
  }
  if (p.rank_ != Single3DContactProblem::PLANE && p.rank_ != Single3DContactProblem::FULL) return;

  // M(i,j) = D(i,j) - D(i,2) D(2,j) / D(2,2).
  const Columns33 d = loadColumns(D.v);
  const Lanes x = d.c[0] - d.c[2] * (D(2, 0) * p.dzzInv_);
  const Lanes y = d.c[1] - d.c[2] * (D(2, 1) * p.dzzInv_);
  storeLanes(p.tangentMap_.v, x);
  storeLastColumn(p.tangentMap_.v + 3, x, y);
  if (p.mu_ == 0.0) p.imp_[0] = p.imp_[1] = 0.0;
  if (p.rank_ == Single3DContactProblem::FULL) cholInv<3>(D.v, p.delassusInv_.v);
}

/// @param normalVelocity of a problem by its place, see `prepareProblem`
template <typename NormalVelocity>
void BisectionContactSolver::prepare(ContactProblemList& problems, NormalVelocity normalVelocity) {
  loopCounter_ = 0;
  const size_t historySize = static_cast<size_t>(std::max(maxIterations_, 1));
  if (historySize > errorHistory_.size()) errorHistory_.resize(historySize);
  for (size_t i = 0; i < problems.size(); ++i) {
    Single3DContactProblem& p = problems[i];
    p.checkRank();
    p.dzzInv_ = 1.0 / p.delassus_(2, 2);
    if (p.rank_ != Single3DContactProblem::JOINT_LIMIT) prepareProblem(p, normalVelocity(i));
  }
}

/// One visit of a problem; returns what it adds to the error of the sweep.
double BisectionContactSolver::visit(Single3DContactProblem& p) const {
  if (p.rank_ == Single3DContactProblem::NOTHING_MOVES) return 0.0;
  if (p.rank_ == Single3DContactProblem::JOINT_LIMIT) {
    const double r = p.objA_->enforceJointLimits(p);
    return r * r;
  }
  const Vec3 old = p.imp_;
  const Vec3 v = velocityWithoutOwnImpulse(p);
  const double w = dot(normalColumn(p), old);

  if (v[2] > p.openingVelZ_) {  // opens
    p.imp_ *= 1.0 - relaxation_;
    updateObjects(p, old);
    return w * w;
  }
  const double z = v[2] - p.targetVelZ_;
  if (solveClosed(p, v, z)) p.imp_ = relaxation_ * p.imp_ + (1.0 - relaxation_) * old;
  updateObjects(p, old);
  return (z + w) * (z + w);
}

/// Sweeps in one direction, until the error is small enough or the limit is reached.
template <typename Sweep>
void BisectionContactSolver::repeat(size_t problemCount, Sweep sweep) {
  const double stoppingError = static_cast<double>(problemCount) * threshold_;
  const bool forward = forwardSweep_;
  forwardSweep_ = !forwardSweep_;

  double error;
  do {
    error = sweep(forward);
    errorHistory_[loopCounter_] = error;
    ++loopCounter_;
  } while (loopCounter_ < maxIterations_ && error > stoppingError);
}

void BisectionContactSolver::solve(ContactProblemList& problems) {
  prepare(problems, [&](size_t i) { return normalVelocity(problems[i]); });
  repeat(problems.size(), [&](bool forward) {
    double error = 0.0;
    if (forward)
      for (Single3DContactProblem& p : problems) error += visit(p);
    else
      for (size_t i = problems.size(); i-- > 0;) error += visit(problems[i]);
    return error;
  });
}

void BisectionContactSolver::solve(ContactProblemList& problems,
                                   const std::vector<Object*>& objects) {
  rows_->listSides(problems, objects);
  prepare(problems, [&](size_t i) { return rows_->normalVelocity(problems[i], i); });
  rows_->build(problems, objects);
  rows_->handOnInitialImpulses();
  repeat(problems.size(), [this](bool forward) { return rows_->sweep(forward, relaxation_); });
  rows_->finish();
}

}  // namespace zelvik::contact
