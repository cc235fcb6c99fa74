// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>

#include "core/Lanes.hpp"

namespace zelvik {

namespace {

/// Columns of the rotation into a contact frame; the fourth values of them mean nothing, nor do
/// those of the columns that are stored: each is overwritten by the next, and the last one's stands
/// in the spare column.
class FrameColumns {
 public:
  explicit FrameColumns(const Mat33& R) : x_(loadLanes(R.v)), y_(loadLanes(R.v + 3)) {
    const Lanes last = loadLanes(R.v + 5);
    z_ = __builtin_shufflevector(last, last, 1, 2, 3, 0);
  }

  /// Jc = R J for the columns first .. size - 1.
  void rotateColumns(const double* J, size_t first, size_t size, double* Jc) const {
    for (size_t e = first; e < size; ++e) {
      const double* column = J + 3 * e;
      storeLanes(Jc + 3 * e, x_ * column[0] + y_ * column[1] + z_ * column[2]);
    }
  }

  /// The six base columns of Jc = R [1, -[r]x], with r the lever arm from the base (world axes).
  void rotateBaseColumns(const double* r, double* Jc) const {
    storeLanes(Jc, x_);
    storeLanes(Jc + 3, y_);
    storeLanes(Jc + 6, z_);
    // R (e_t x r)
    storeLanes(Jc + 9, z_ * r[1] - y_ * r[2]);
    storeLanes(Jc + 12, x_ * r[2] - z_ * r[0]);
    storeLanes(Jc + 15, y_ * r[0] - x_ * r[1]);
  }

 private:
  Lanes x_, y_, z_;
};

/// v = Jc u: the sum of u[idx[e]] times column e, four values of which are read. Even and odd
/// columns have sums of their own.
inline Vec3 multiply(const SparseJacobian& Jc, const double* u) {
  Lanes even{}, odd{};
  const double* column = Jc.v.v;
  const size_t* idx = Jc.idx.data();
  size_t e = 0;
  for (; e + 2 <= Jc.size; e += 2, column += 6) {
    even += loadLanes(column) * u[idx[e]];
    odd += loadLanes(column + 3) * u[idx[e + 1]];
  }
  if (e < Jc.size) even += loadLanes(column) * u[idx[e]];
  even += odd;
  return {{even[0], even[1], even[2]}};
}

/// u += response^T (x, y, z) over rows of `stride` values.
inline void addResponse(const double* response, size_t stride, const Vec3& p, double* u) {
  const Lanes x = broadcast(p[0]), y = broadcast(p[1]), z = broadcast(p[2]);
  for (size_t k = 0; k < stride; k += kLanes, response += kLanes)
    storeLanes(u + k, loadLanes(u + k) + loadLanes(response) * x +
                          loadLanes(response + stride) * y + loadLanes(response + 2 * stride) * z);
}

}  // namespace

void ArticulatedSystem::preContactSolverUpdate1(const Mat<3, 1>& gravity, double /*dt*/) {
  if (!initialOverlaps_.empty()) warnOfInitialOverlaps();
  const bool mayUseDefault = !hasMetSomething_ || joints_.controlMode != PD_PLUS_FEED_FORWARD;
  integrationScheme_ = mayUseDefault ? defaultIntegrationScheme_ : TRAPEZOID;
  if (integrationScheme_ == RUNGE_KUTTA_4) warnOfRungeKuttaDamping();
  computeMassRows();
  computeGeneralizedMomentum();
  computeNonlinearities(gravity, nonlinearities_);
  factoriseMassMatrix();
  refreshKeptQuantities();
  computeContactJacobians();
}

void ArticulatedSystem::preContactSolverUpdate2(const Mat<3, 1>& gravity, double dt) {
  integrateWithoutContact(gravity, dt);
  gvFree_ = gvTemp_;
  getFullDelassusAndTauStar(dt);
}

void ArticulatedSystem::computeGeneralizedMomentum() {
  factor_.multiply(massRows_.v, gv_.v, generalizedMomentum_.v);
}

void ArticulatedSystem::computeContactJacobians() {
  std::vector<contact::Contact>& contacts = perObjectContact_.contacts_;
  numContacts_ = contacts.size();
  hasMetSomething_ |= numContacts_ > 0;
  if (contactJacobians_.size() < numContacts_) {
    contactJacobians_.resize(numContacts_);
    for (SparseJacobian& jac : contactJacobians_) jac.reserve(tree_.dof);
  }
  for (size_t i = 0; i < numContacts_; ++i) {
    contacts[i].selfCollision_ = false;  // until `mergeSelfCollisions`
    getSparseJacobian_internal(contacts[i].localBodyIndex_, contacts[i].position_,
                               contactJacobians_[i]);
  }
}

/// One column more than there are velocities: the kernels read four values of each.
void ArticulatedSystem::growContactStorage(size_t count) {
  const size_t old = contactFrameJacobians_.size();
  if (old >= count) return;
  contactFrameJacobians_.resize(count);
  contactResponses_.resize(count);
  for (size_t i = old; i < count; ++i) {
    contactFrameJacobians_[i].reserve(tree_.dof + 1);
    contactResponses_[i].setZero(3 * factor_.stride());
  }
}

void ArticulatedSystem::getFullDelassusAndTauStar(double /*dt*/) {
  AlignedVector<DelassusAndTauStar>& rows = perObjectContact_.delassusAndTauStar_;
  if (rows.size() < numContacts_) rows.resize(numContacts_);
  for (DelassusAndTauStar& row : rows) row.blocks.resize(1);
  if (numContacts_ == 0) return;

  mergeSelfCollisions();
  growContactStorage(numContacts_);
  const std::vector<contact::Contact>& contacts = perObjectContact_.contacts_;
  for (size_t i = 0; i < numContacts_; ++i) {
    contactFrameJacobians_[i].size = 0;  // stays so for the twin of a self-collision
    if (!contacts[i].skip_) rotateJacobian(i);
  }
  computeResponses();
  for (size_t i = 0; i < numContacts_; ++i)
    if (!contacts[i].skip_) computeImpactVelocity(i);
}

void ArticulatedSystem::rotateJacobian(size_t contactIdx) {
  const contact::Contact& contact = perObjectContact_.contacts_[contactIdx];
  const SparseJacobian& J = contactJacobians_[contactIdx];
  SparseJacobian& Jc = contactFrameJacobians_[contactIdx];
  const bool hasBaseColumns = tree_.isFloating() && !contact.selfCollision_;
  const FrameColumns R(contact.frame_);
  if (hasBaseColumns) R.rotateBaseColumns(J.v.v + 9, Jc.v.v);
  R.rotateColumns(J.v.v, hasBaseColumns ? 6 : 0, J.size, Jc.v.v);
  Jc.size = J.size;
  for (size_t e = 0; e < J.size; ++e) Jc.idx[e] = J.idx[e];
}

/// Responses M^-1 Jc^T and own blocks Jc M^-1 Jc^T.
void ArticulatedSystem::computeResponses() {
  TreeFactor::Request requests[TreeFactor::kMostRequests];
  size_t count = 0;
  for (size_t i = 0; i < numContacts_; ++i) {
    if (perObjectContact_.contacts_[i].skip_) continue;
    requests[count++] = {&contactFrameJacobians_[i], contactResponses_[i].v,
                         &perObjectContact_.delassusAndTauStar_[i].blocks[0]};
    if (count < TreeFactor::kMostRequests) continue;
    factor_.respond(requests, count);
    count = 0;
  }
  factor_.respond(requests, count);
}

RobotContacts ArticulatedSystem::viewContacts() {
  return {numContacts_,
          contactFrameJacobians_,
          contactResponses_,
          factor_.stride(),
          tree_,
          massInverse_,
          gvTemp_};
}

void ArticulatedSystem::getContactResponse(size_t contactIdx, MatDyn& response) const {
  response.resize(3, tree_.dof);
  const double* rows = contactResponses_[contactIdx].v;
  for (size_t k = 0; k < tree_.dof; ++k)
    for (size_t a = 0; a < 3; ++a) response(a, k) = rows[a * factor_.stride() + k];
}

void ArticulatedSystem::computeImpactVelocity(size_t contactIdx) {
  std::vector<contact::Contact>& contacts = perObjectContact_.contacts_;
  contact::Contact& contact = contacts[contactIdx];
  // The product of n in world axes and w in the contact frame: the restitution term is defined by
  // this value.
  const Vec3 w = multiply(contactFrameJacobians_[contactIdx], gv_.v);
  contact.impactVel_ = dot(row(contact.frame_, 2), w);
  if (contact.selfCollision_) contacts[contact.pairContactIndex_].impactVel_ = contact.impactVel_;
}

// ---- called by the solver at every visit of a contact ----

void ArticulatedSystem::getContactPointVel(size_t contactIdx, Mat<3, 1>& vel) const {
  vel = multiply(contactFrameJacobians_[contactIdx], gvTemp_.v);
}

void ArticulatedSystem::addContactPointVel(size_t contactIdx, Mat<3, 1>& vel) {
  vel += multiply(contactFrameJacobians_[contactIdx], gvTemp_.v);
}

void ArticulatedSystem::subContactPointVel(size_t contactIdx, Mat<3, 1>& vel) {
  vel -= multiply(contactFrameJacobians_[contactIdx], gvTemp_.v);
}

void ArticulatedSystem::updateGenVelWithImpulse(size_t contactIdx, const Mat<3, 1>& impulseChange) {
  if (contactFrameJacobians_[contactIdx].size == 0) return;
  addResponse(contactResponses_[contactIdx].v, factor_.stride(), impulseChange, gvTemp_.v);
}

}  // namespace zelvik
