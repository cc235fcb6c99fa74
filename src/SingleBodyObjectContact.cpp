// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <utility>
#include <zelvik/object/SingleBodyObject.hpp>

#include "Lanes.hpp"

// Response of one rigid body to its contacts. Notation, per contact: R is the contact's `frame_`
// with rows t_c, p its position, a = comPos - p its arm, [a] the cross product matrix, J the world
// inertia, v and w the velocities. The velocity of the contact point is v + w x (p - comPos) =
// v + a x w.

namespace zelvik {
namespace {

/// From this number on blocks for every pair cost more than queries of the velocity.
constexpr size_t kMaxContactsWithBlocks = 4;

// The two products that the solver asks for at every visit, in whole registers.

/// G u. Columns of three values are read four at a time, the last one from one value before.
inline Vec3 multiply(const Mat<3, 6>& G, const Mat<6, 1>& u) {
  const double* g = G.v;
  const Lanes last = __builtin_shufflevector(loadLanes(g + 14), loadLanes(g + 14), 1, 2, 3, 0);
  const Lanes a = loadLanes(g) * u[0] + loadLanes(g + 9) * u[3];
  const Lanes b = loadLanes(g + 3) * u[1] + loadLanes(g + 12) * u[4];
  const Lanes v = (loadLanes(g + 6) * u[2] + last * u[5]) + (a + b);
  return {{v[0], v[1], v[2]}};
}

/// u += B p.
inline void addProduct(const Mat<6, 3>& B, const Vec3& p, Mat<6, 1>& u) {
  const double* b = B.v;
  storeLanes(u.v, loadLanes(u.v) + loadLanes(b) * p[0] + loadLanes(b + 6) * p[1] +
                      loadLanes(b + 12) * p[2]);
  storePair(u.v + 4, loadPair(u.v + 4) + loadPair(b + 4) * p[0] + loadPair(b + 10) * p[1] +
                         loadPair(b + 16) * p[2]);
}

}  // namespace

void SingleBodyObject::preContactSolverUpdate1(const Mat<3, 1>&, double) {
  updateWorldInertia();
  const std::vector<contact::Contact>& contacts = perObjectContact_.contacts_;
  const size_t count = contacts.size();
  fullDelassus_ = count <= kMaxContactsWithBlocks || bodyType_ == BodyType::KINEMATIC;
  resizeBlockRows(count);
  contactArm_.resize(count);
  for (size_t i = 0; i < count; ++i) contactArm_[i] = comPos_ - contacts[i].position_;
  computeContactMaps();
  computeOwnBlocks();
}

/// Sizes the list of rows; rows that drop out lend their memory to those that come later.
void SingleBodyObject::resizeBlockRows(size_t count) {
  AlignedVector<DelassusAndTauStar>& rows = perObjectContact_.delassusAndTauStar_;
  while (rows.size() > count) {
    spareBlockRows_.push_back(std::move(rows.back().blocks));
    rows.pop_back();
  }
  while (rows.size() < count) {
    rows.emplace_back();
    if (spareBlockRows_.empty()) {
      rows.back().blocks.reserve(kMaxContactsWithBlocks);
      continue;
    }
    rows.back().blocks = std::move(spareBlockRows_.back());
    spareBlockRows_.pop_back();
  }
}

/// Per contact the rows of G = R [1, [p - com]x^T] and the columns of B = M^-1 G^T: what gives the
/// contact's velocity, and what an impulse does.
void SingleBodyObject::computeContactMaps() {
  const std::vector<contact::Contact>& contacts = perObjectContact_.contacts_;
  contactImpulseMap_.resize(contacts.size());
  contactJacobian_.resize(contacts.size());
  for (size_t i = 0; i < contacts.size(); ++i) {
    Mat<6, 3>& impulseMap = contactImpulseMap_[i];
    Mat<3, 6>& G = contactJacobian_[i];
    for (int c = 0; c < 3; ++c) {
      const Vec3 t = row(contacts[i].frame_, c);
      const Vec3 lever = cross(t, contactArm_[i]);  // (p - comPos) x t_c
      const Vec3 spin = worldInertiaInv_ * lever;
      for (int k = 0; k < 3; ++k) {
        impulseMap(k, c) = invMass_ * t[k];
        impulseMap(3 + k, c) = spin[k];
        G(c, k) = t[k];
        G(c, 3 + k) = lever[k];
      }
    }
  }
}

/// D = G B = R ([a]^T J^-1 [a]) R^T + 1/m
void SingleBodyObject::computeOwnBlocks() {
  const size_t count = perObjectContact_.contacts_.size();
  AlignedVector<DelassusAndTauStar>& rows = perObjectContact_.delassusAndTauStar_;
  for (size_t i = 0; i < count; ++i) {
    rows[i].blocks.resize(fullDelassus_ ? count : 1);
    Mat33& D = rows[i].blocks[fullDelassus_ ? i : 0];
    for (int c = 0; c < 3; ++c)
      for (int r = 0; r <= c; ++r) {
        double sum = r == c ? invMass_ : 0.0;
        for (int k = 3; k < 6; ++k) sum += contactJacobian_[i](r, k) * contactImpulseMap_[i](k, c);
        D(r, c) = D(c, r) = sum;
      }
  }
}

void SingleBodyObject::preContactSolverUpdate2(const Mat<3, 1>& gravity, double dt) {
  computeFreeVelocities(gravity, dt);
  computeImpactVelocities();
  if (fullDelassus_) {
    if (bodyType_ == BodyType::DYNAMIC) computeCouplingBlocks();
    computeTauStar();
  } else {
    startFromFreeVelocity();
  }
  visForcesCurrent_ = !externalForceFlags_.empty();
  if (!visForcesCurrent_) return;
  clearVisForces();
  copyPendingForcesToVis();
  clearPendingForces();
}

/// n . (v + a x w) before the solve
void SingleBodyObject::computeImpactVelocities() {
  std::vector<contact::Contact>& contacts = perObjectContact_.contacts_;
  for (size_t i = 0; i < contacts.size(); ++i)
    contacts[i].impactVel_ =
        dot(row(contacts[i].frame_, 2), linVel_ + cross(contactArm_[i], angVel_));
}

/// G_i B_j for i < j, and its transpose
void SingleBodyObject::computeCouplingBlocks() {
  const size_t count = perObjectContact_.contacts_.size();
  AlignedVector<DelassusAndTauStar>& rows = perObjectContact_.delassusAndTauStar_;
  for (size_t i = 0; i + 1 < count; ++i)
    for (size_t j = i + 1; j < count; ++j) {
      const Mat33 B = contactJacobian_[i] * contactImpulseMap_[j];
      rows[i].blocks[j] = B;
      rows[j].blocks[i] = transpose(B);
    }
}

/// tauStar = R (v + a x w) with the free velocities
void SingleBodyObject::computeTauStar() {
  const std::vector<contact::Contact>& contacts = perObjectContact_.contacts_;
  AlignedVector<DelassusAndTauStar>& rows = perObjectContact_.delassusAndTauStar_;
  for (size_t i = 0; i < contacts.size(); ++i)
    rows[i].tauStar = contacts[i].frame_ * (linVelFree_ + cross(contactArm_[i], angVelFree_));
}

/// In the mode without blocks the whole free velocity comes through `genVel_`.
void SingleBodyObject::startFromFreeVelocity() {
  for (int k = 0; k < 3; ++k) {
    genVel_[k] = linVelFree_[k];
    genVel_[3 + k] = angVelFree_[k];
  }
  for (DelassusAndTauStar& row : perObjectContact_.delassusAndTauStar_) row.tauStar.setZero();
}

void SingleBodyObject::getContactPointVel(size_t contactIdx, Mat<3, 1>& vel) const {
  vel = multiply(contactJacobian_[contactIdx], genVel_);
}

void SingleBodyObject::addContactPointVel(size_t contactIdx, Mat<3, 1>& vel) {
  vel += multiply(contactJacobian_[contactIdx], genVel_);
}

void SingleBodyObject::subContactPointVel(size_t contactIdx, Mat<3, 1>& vel) {
  vel -= multiply(contactJacobian_[contactIdx], genVel_);
}

void SingleBodyObject::updateGenVelWithImpulse(size_t contactIdx, const Mat<3, 1>& impulseChange) {
  addProduct(contactImpulseMap_[contactIdx], impulseChange, genVel_);
}

}  // namespace zelvik
