// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cstring>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>

namespace zelvik {

namespace {

/// Jc = R J for the columns first .. size - 1.
void rotateColumns(const Mat33& R, const double* J, size_t first, size_t size, double* Jc) {
  for (size_t e = first; e < size; ++e) {
    const double x = J[3 * e], y = J[3 * e + 1], z = J[3 * e + 2];
    Jc[3 * e] = R[0] * x + R[3] * y + R[6] * z;
    Jc[3 * e + 1] = R[1] * x + R[4] * y + R[7] * z;
    Jc[3 * e + 2] = R[2] * x + R[5] * y + R[8] * z;
  }
}

/// The six base columns of Jc = R [1, -[r]x], with r the lever arm from the base (world axes).
void rotateBaseColumns(const Mat33& R, const double* r, double* Jc) {
  for (size_t i = 0; i < 9; ++i) Jc[i] = R[i];
  for (size_t i = 0; i < 3; ++i) {
    // column 3 + t of row i: R_i . (e_t x r)
    Jc[9 + i] = R[6 + i] * r[1] - R[3 + i] * r[2];
    Jc[12 + i] = R[i] * r[2] - R[6 + i] * r[0];
    Jc[15 + i] = R[3 + i] * r[0] - R[i] * r[1];
  }
}

/// Columns k .. k + width - 1 of the response (M^-1 Jc^T)^T. M^-1 is symmetric, so its rows are
/// read as columns, which are contiguous; the block is as wide as a vector register.
template <size_t width>
void respond(const SparseJacobian& Jc, const double* Minv, size_t dof, size_t k, double* response) {
  double x[width] = {}, y[width] = {}, z[width] = {};
  const double* column = Jc.v.v;
  const size_t* idx = Jc.idx.data();
  for (size_t e = 0; e < Jc.size; ++e, column += 3) {
    const double* m = Minv + idx[e] * dof + k;
    const double jx = column[0], jy = column[1], jz = column[2];
    for (size_t t = 0; t < width; ++t) x[t] += m[t] * jx;
    for (size_t t = 0; t < width; ++t) y[t] += m[t] * jy;
    for (size_t t = 0; t < width; ++t) z[t] += m[t] * jz;
  }
  for (size_t t = 0; t < width; ++t) {
    response[3 * (k + t)] = x[t];
    response[3 * (k + t) + 1] = y[t];
    response[3 * (k + t) + 2] = z[t];
  }
}

/// The whole response; the last block overlaps the one before where 4 does not divide dof.
void computeResponse(const SparseJacobian& Jc, const double* Minv, size_t dof, double* response) {
  if (dof < 4) {
    for (size_t k = 0; k < dof; ++k) respond<1>(Jc, Minv, dof, k, response);
    return;
  }
  for (size_t k = 0; k + 4 <= dof; k += 4) respond<4>(Jc, Minv, dof, k, response);
  if (dof % 4 != 0) respond<4>(Jc, Minv, dof, dof - 4, response);
}

/// D = Jc response^T. D is symmetric, one triangle is summed.
void ownBlock(const SparseJacobian& Jc, const double* response, Mat33& D) {
  double d00 = 0, d10 = 0, d20 = 0, d11 = 0, d21 = 0, d22 = 0;
  const double* column = Jc.v.v;
  const size_t* idx = Jc.idx.data();
  for (size_t e = 0; e < Jc.size; ++e, column += 3) {
    const double* r = response + 3 * idx[e];
    d00 += column[0] * r[0];
    d10 += column[1] * r[0];
    d20 += column[2] * r[0];
    d11 += column[1] * r[1];
    d21 += column[2] * r[1];
    d22 += column[2] * r[2];
  }
  D = {{d00, d10, d20, d10, d11, d21, d20, d21, d22}};
}

/// Two doubles in one register. The two loops that the solver runs at every visit are written with
/// it: their lists are short, and what compilers make of the plain form (gathers over columns, long
/// shuffles) costs more than it saves.
using Pair = double __attribute__((vector_size(16)));

inline Pair load(const double* p) {
  Pair a;
  std::memcpy(&a, p, sizeof a);
  return a;
}

/// v = Jc u: the sum of u[idx[e]] times column e. Even and odd columns have sums of their own.
inline Vec3 multiply(const SparseJacobian& Jc, const double* u) {
  Pair xy0{}, xy1{};
  double z0 = 0.0, z1 = 0.0;
  const double* column = Jc.v.v;
  const size_t* idx = Jc.idx.data();
  size_t e = 0;
  for (; e + 2 <= Jc.size; e += 2, column += 6) {
    const double u0 = u[idx[e]], u1 = u[idx[e + 1]];
    xy0 += load(column) * u0;
    z0 += column[2] * u0;
    xy1 += load(column + 3) * u1;
    z1 += column[5] * u1;
  }
  if (e < Jc.size) {
    const double rate = u[idx[e]];
    xy0 += load(column) * rate;
    z0 += column[2] * rate;
  }
  xy0 += xy1;
  return {{xy0[0], xy0[1], z0 + z1}};
}

/// u[k] += response(:, k) . (x, y, z) for all k, two at a time.
inline void addResponse(const double* response, double x, double y, double z, size_t dof,
                        double* u) {
  size_t k = 0;
  for (; k + 2 <= dof; k += 2, response += 6) {
    const Pair a = load(response), b = load(response + 2), c = load(response + 4);
    const Pair rx = __builtin_shufflevector(a, b, 0, 3);
    const Pair ry = __builtin_shufflevector(a, c, 1, 2);
    const Pair rz = __builtin_shufflevector(b, c, 0, 3);
    const Pair sum = load(u + k) + rx * x + ry * y + rz * z;
    std::memcpy(u + k, &sum, sizeof sum);
  }
  if (k < dof) u[k] += response[0] * x + response[1] * y + response[2] * z;
}

}  // namespace

void ArticulatedSystem::preContactSolverUpdate1(const Mat<3, 1>& gravity, double /*dt*/) {
  const bool mayUseDefault = contactJacobians_.empty() || controlMode_ != PD_PLUS_FEED_FORWARD;
  integrationScheme_ = mayUseDefault ? defaultIntegrationScheme_ : TRAPEZOID;
  computeMassMatrix(massMatrix_);
  computeGeneralizedMomentum();
  computeNonlinearities(gravity, nonlinearities_);
  computeSparseInverse(massMatrix_, massInverse_);
  computeContactJacobians();
}

void ArticulatedSystem::preContactSolverUpdate2(const Mat<3, 1>& gravity, double dt) {
  integrateWithoutContact(gravity, dt);
  gvFree_ = gvTemp_;
  getFullDelassusAndTauStar(dt);
}

void ArticulatedSystem::computeGeneralizedMomentum() {
  // p = M u; M(i, j) differs from zero only where j is on the chain of i, or the reverse.
  generalizedMomentum_.setZero();
  for (size_t i = 0; i < dof_; ++i) {
    double sum = massMatrix_(i, i) * gv_[i];
    for (size_t j = dofParent_[i]; j != kNone; j = dofParent_[j]) {
      sum += massMatrix_(i, j) * gv_[j];
      generalizedMomentum_[j] += massMatrix_(i, j) * gv_[i];
    }
    generalizedMomentum_[i] += sum;
  }
}

void ArticulatedSystem::computeContactJacobians() {
  const std::vector<contact::Contact>& contacts = perObjectContact_.contacts_;
  numContacts_ = contacts.size();
  if (contactJacobians_.size() < numContacts_) {
    contactJacobians_.resize(numContacts_);
    for (SparseJacobian& jac : contactJacobians_) jac.reserve(dof_);
  }
  for (size_t i = 0; i < numContacts_; ++i)
    getSparseJacobian_internal(contacts[i].localBodyIndex_, contacts[i].position_,
                               contactJacobians_[i]);
}

void ArticulatedSystem::growContactStorage() {
  const size_t old = contactFrameJacobians_.size();
  if (old < numContacts_) contactFrameJacobians_.resize(numContacts_);
  for (size_t i = old; i < numContacts_; ++i) contactFrameJacobians_[i].reserve(dof_);
  const size_t oldResponses = contactResponses_.size();
  if (oldResponses < numContacts_) contactResponses_.resize(numContacts_);
  for (size_t i = oldResponses; i < numContacts_; ++i) contactResponses_[i].setZero(3, dof_);
}

void ArticulatedSystem::getFullDelassusAndTauStar(double /*dt*/) {
  AlignedVector<DelassusAndTauStar>& rows = perObjectContact_.delassusAndTauStar_;
  if (rows.size() < numContacts_) rows.resize(numContacts_);
  for (DelassusAndTauStar& row : rows) row.blocks.resize(1);
  if (numContacts_ == 0) return;

  mergeSelfCollisions();
  growContactStorage();
  std::vector<contact::Contact>& contacts = perObjectContact_.contacts_;
  for (size_t i = 0; i < numContacts_; ++i) {
    contactFrameJacobians_[i].size = 0;  // stays so for the twin of a self-collision
    if (!contacts[i].skip_) assembleContact(i);
  }
  for (size_t i = 0; i < numContacts_; ++i)
    if (!contacts[i].skip_) computeImpactVelocity(i);
}

void ArticulatedSystem::assembleContact(size_t contactIdx) {
  const contact::Contact& contact = perObjectContact_.contacts_[contactIdx];
  const SparseJacobian& J = contactJacobians_[contactIdx];
  SparseJacobian& Jc = contactFrameJacobians_[contactIdx];
  const bool hasBaseColumns = jointType_[0] == Joint::FLOATING && !contact.selfCollision_;
  const size_t first = hasBaseColumns ? 6 : 0;
  if (hasBaseColumns) rotateBaseColumns(contact.frame_, J.v.v + 9, Jc.v.v);
  rotateColumns(contact.frame_, J.v.v, first, J.size, Jc.v.v);
  Jc.size = J.size;
  for (size_t e = 0; e < J.size; ++e) Jc.idx[e] = J.idx[e];

  double* response = contactResponses_[contactIdx].v;
  computeResponse(Jc, massInverse_.v, dof_, response);
  ownBlock(Jc, response, perObjectContact_.delassusAndTauStar_[contactIdx].blocks[0]);
}

void ArticulatedSystem::computeImpactVelocity(size_t contactIdx) {
  std::vector<contact::Contact>& contacts = perObjectContact_.contacts_;
  contact::Contact& contact = contacts[contactIdx];
  // n . w, with w in the contact frame and n in world axes: so is the value defined that the
  // restitution term reads.
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
  addResponse(contactResponses_[contactIdx].v, impulseChange[0], impulseChange[1], impulseChange[2],
              dof_, gvTemp_.v);
}

}  // namespace zelvik
