// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <zelvik/contact/BisectionContactSolver.hpp>
#include <zelvik/object/Object.hpp>

#include "contact/ContactLaw.hpp"
#include "contact/ContactPreparation.hpp"
#include "core/StateArchive.hpp"
#include "solver/ContactSweep.hpp"

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

const BisectionContactSolver::Immovable& BisectionContactSolver::getImmovable() const {
  return rows_->immovable();
}

void BisectionContactSolver::setParameters(double relaxation, double reserved1, double reserved2,
                                           int maxIterations, double threshold) {
  relaxation_ = relaxation;
  reservedParam1_ = reserved1;
  reservedParam2_ = reserved2;
  maxIterations_ = maxIterations;
  threshold_ = threshold;
}

void BisectionContactSolver::copyParameters(const BisectionContactSolver& other) {
  setParameters(other.relaxation_, other.reservedParam1_, other.reservedParam2_,
                other.maxIterations_, other.threshold_);
  setERP(other.erp_, other.erp2_);
  setSurfaceLayer(other.surfaceLayer_);
  setTimeStep(other.timeStep_);
}

void BisectionContactSolver::visitState(StateArchive& archive) {
  archive.flags({&forwardSweep_});
}

void BisectionContactSolver::startHistory() {
  loopCounter_ = 0;
  // Memory for any usual limit is reserved at once; entries are appended by the sweeps.
  constexpr int usualSweeps = 1024;
  errorHistory_.reserve(static_cast<size_t>(std::clamp(maxIterations_, 1, usualSweeps)));
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
  const ClosedForm<OneRecord> f =
      closedForm<OneRecord>(OneRecord(p, v), Vec3{}, v - Vec3{{0.0, 0.0, p.targetVelZ_}});
  if (f.opens) {
    p.imp_ *= 1.0 - relaxation_;
    updateObjects(p, old);
    return w * w;
  }
  if (solveClosed(p, f, v)) p.imp_ = relaxation_ * p.imp_ + (1.0 - relaxation_) * old;
  updateObjects(p, old);
  return (f.z + w) * (f.z + w);
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
    const auto entry = static_cast<size_t>(loopCounter_++);
    if (entry == errorHistory_.size()) errorHistory_.emplace_back();
    errorHistory_[entry] = error;
  } while (loopCounter_ < maxIterations_ && error > stoppingError);
}

void BisectionContactSolver::solve(ContactProblemList& problems) {
  startHistory();
  const ContactPreparation preparation = {erp_, erp2_, surfaceLayer_, timeStepInv_};
  for (Single3DContactProblem& p : problems) {
    p.checkRank();
    p.dzzInv_ = 1.0 / p.delassus_(2, 2);
    if (p.rank_ != Single3DContactProblem::JOINT_LIMIT) preparation.prepare(p, normalVelocity(p));
  }
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
  solve(problems, objects, rows_->findContactPairs(problems, objects));
}

void BisectionContactSolver::solve(ContactProblemList& problems,
                                   const std::vector<Object*>& objects,
                                   const std::vector<ContactPair>& pairs) {
  startHistory();
  rows_->build(problems, pairs, objects, {erp_, erp2_, surfaceLayer_, timeStepInv_});
  rows_->handOnInitialImpulses();
  const auto sweep = [this](bool forward) { return rows_->sweep(forward, relaxation_); };
  repeat(problems.size(), sweep);
  if (rows_->restartWhereEnergyIsMade()) {
    loopCounter_ = 0;
    forwardSweep_ = !forwardSweep_;  // the repetition sweeps in the same direction
    repeat(problems.size(), sweep);
  }
  rows_->finish();
}

}  // namespace zelvik::contact
