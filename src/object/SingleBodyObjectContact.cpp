// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <utility>
#include <zelvik/object/SingleBodyObject.hpp>

#include "core/ColumnLanes.hpp"

// Response of one rigid body to its contacts. Notation, per contact: R is the contact's `frame_`
// with rows t_c, p its position, a = comPos - p its arm, [a] the cross product matrix, J the world
// inertia, v and w the velocities. The velocity of the contact point is v + w x (p - comPos) =
// v + a x w.

namespace zelvik {
namespace {

/// Above this number of contacts blocks for every pair cost more than queries of the velocity.
constexpr size_t kMaxContactsWithBlocks = 4;

constexpr Lanes kUnit[3] = {{1.0, 0.0, 0.0, 0.0}, {0.0, 1.0, 0.0, 0.0}, {0.0, 0.0, 1.0, 0.0}};

inline Mat<6, 1> joined(const Vec3& linear, const Vec3& angular) {
  return {{linear[0], linear[1], linear[2], angular[0], angular[1], angular[2]}};
}

// Products in whole registers.

/// G u.
inline Vec3 multiply(const Mat<3, 6>& G, const Mat<6, 1>& u) {
  const double* g = G.v;
  const Lanes a = loadLanes(g) * u[0] + loadLanes(g + 9) * u[3];
  const Lanes b = loadLanes(g + 3) * u[1] + loadLanes(g + 12) * u[4];
  const Lanes v = (loadLanes(g + 6) * u[2] + loadLastColumn(g + 15) * u[5]) + (a + b);
  return {{v[0], v[1], v[2]}};
}

/// u += B p.
inline void addProduct(const Mat<6, 3>& B, const Vec3& p, Mat<6, 1>& u) {
  const double* b = B.v;
  storeLanes(u.v, loadLanes(u.v) + loadLanes(b) * p[0] + loadLanes(b + 6) * p[1] +
                      loadLanes(b + 12) * p[2]);
  storeTwo(u.v + 4, loadTwo(u.v + 4) + loadTwo(b + 4) * p[0] + loadTwo(b + 10) * p[1] +
                        loadTwo(b + 16) * p[2]);
}

/// The normal's row of G times u.
inline double multiplyLastRow(const Mat<3, 6>& G, const Mat<6, 1>& u) {
  return (G[2] * u[0] + G[5] * u[1] + G[8] * u[2]) + (G[11] * u[3] + G[14] * u[4] + G[17] * u[5]);
}

/// G = [R, lever]
inline void storeJacobian(const Columns33& R, const Columns33& lever, Mat<3, 6>& G) {
  for (size_t k = 0; k < 3; ++k) storeLanes(G.v + 3 * k, R.c[k]);
  storeLanes(G.v + 9, lever.c[0]);
  storeLanes(G.v + 12, lever.c[1]);
  storeLastColumn(G.v + 15, lever.c[1], lever.c[2]);
}

/// B = [push, spin]^T
inline void storeImpulseMap(const Columns33& push, const Columns33& spin, Mat<6, 3>& B) {
  Lanes a = push.c[0], b = push.c[1], c = push.c[2], d = spin.c[0];
  transposeLanes(a, b, c, d);
  const Lanes even = __builtin_shufflevector(spin.c[1], spin.c[2], 0, 4, 2, 6);
  const Lanes odd = __builtin_shufflevector(spin.c[1], spin.c[2], 1, 5, 3, 7);
  storeLanes(B.v, a);
  storeLanes(B.v + 6, b);
  storeLanes(B.v + 12, c);
  storeTwo(B.v + 4, TwoLanes{even[0], even[1]});
  storeTwo(B.v + 10, TwoLanes{odd[0], odd[1]});
  storeTwo(B.v + 16, TwoLanes{even[2], even[3]});
}

/// lever J, for a symmetric J
inline Columns33 multiply(const Columns33& lever, const Mat33& J) {
  return {{multiply(lever, J[0], J[1], J[2]), multiply(lever, J[3], J[4], J[5]),
           multiply(lever, J[6], J[7], J[8])}};
}

/// G B
inline Columns33 multiply(const Mat<3, 6>& G, const Mat<6, 3>& B) {
  const Columns33 R = loadColumns(G.v), lever = loadColumns(G.v + 9);
  const double* b = B.v;
  return {{multiply(R, b[0], b[1], b[2]) + multiply(lever, b[3], b[4], b[5]),
           multiply(R, b[6], b[7], b[8]) + multiply(lever, b[9], b[10], b[11]),
           multiply(R, b[12], b[13], b[14]) + multiply(lever, b[15], b[16], b[17])}};
}

}  // namespace

void SingleBodyObject::preContactSolverUpdate1(const Mat<3, 1>&, double) {
  updateWorldInertia();
  const size_t count = perObjectContact_.contacts_.size();
  fullDelassus_ = count <= kMaxContactsWithBlocks || bodyType_ == BodyType::KINEMATIC;
  resizeBlockRows(count);
  if (count > 0) computeContactMaps();
}

/// Sizes the list of rows and the rows. Rows that are no longer needed keep their memory for those
/// that come later.
void SingleBodyObject::resizeBlockRows(size_t count) {
  AlignedVector<DelassusAndTauStar>& rows = perObjectContact_.delassusAndTauStar_;
  const size_t blockCount = fullDelassus_ ? count : 1;
  if (rows.size() == count && (count == 0 || rows[0].blocks.size() == blockCount)) return;
  for (; rows.size() > count; rows.pop_back())
    if (rows.back().blocks.hasMany()) spareBlockRows_.push_back(std::move(rows.back().blocks));
  rows.resize(count);
  for (DelassusAndTauStar& row : rows) {
    if (blockCount > 1 && !row.blocks.hasMany()) takeSpareMemory(row.blocks);
    row.blocks.resize(blockCount);
  }
}

/// Gives memory for several blocks to a row.
void SingleBodyObject::takeSpareMemory(DelassusRow& row) {
  if (spareBlockRows_.empty()) return row.resize(kMaxContactsWithBlocks);
  row = std::move(spareBlockRows_.back());
  spareBlockRows_.pop_back();
}

/// Per contact G = R [1, [p - com]x^T], what gives the contact's velocity, and with B = M^-1 G^T
/// the own block D = G B = R ([a]^T J^-1 [a]) R^T + 1/m.
void SingleBodyObject::computeContactMaps() {
  const std::vector<contact::Contact>& contacts = perObjectContact_.contacts_;
  const size_t count = contacts.size();
  contactArm_.resize(count);
  contactJacobian_.resize(count);
  areImpulseMapsMade_ = fullDelassus_;
  if (fullDelassus_) contactImpulseMap_.resize(count);
  DelassusAndTauStar* rows = perObjectContact_.delassusAndTauStar_.data();
  const double m = mapMassInv_ = invMass_;
  const Mat33 J = mapInertiaInv_ = worldInertiaInv_;
  for (size_t i = 0; i < count; ++i) {
    const Vec3 a = comPos_ - contacts[i].position_;
    contactArm_[i] = a;
    const Columns33 R = loadColumns(contacts[i].frame_.v);
    const Lanes &x = R.c[0], &y = R.c[1], &z = R.c[2];
    // In row c: (p - comPos) x t_c = t_c x a, and J^-1 times it.
    const Columns33 lever = {{y * a[2] - z * a[1], z * a[0] - x * a[2], x * a[1] - y * a[0]}};
    storeJacobian(R, lever, contactJacobian_[i]);

    const Columns33 spin = multiply(lever, J);
    if (fullDelassus_) storeImpulseMap({{m * x, m * y, m * z}}, spin, contactImpulseMap_[i]);

    const Columns33 D = multiplyTransposed(lever, spin);
    storeColumns(
        rows[i].blocks[fullDelassus_ ? i : 0].v,
        mirroredLower({{D.c[0] + m * kUnit[0], D.c[1] + m * kUnit[1], D.c[2] + m * kUnit[2]}}));
  }
}

/// B = M^-1 G^T per contact. Without blocks the sweeps hardly need it: it is made when first asked
/// for.
void SingleBodyObject::makeImpulseMaps() {
  if (areImpulseMapsMade_) return;
  areImpulseMapsMade_ = true;
  const size_t count = contactJacobian_.size();
  contactImpulseMap_.resize(count);
  for (size_t i = 0; i < count; ++i) {
    const double* G = contactJacobian_[i].v;
    const Columns33 R = loadColumns(G);
    storeImpulseMap({{mapMassInv_ * R.c[0], mapMassInv_ * R.c[1], mapMassInv_ * R.c[2]}},
                    multiply(loadColumns(G + 9), mapInertiaInv_), contactImpulseMap_[i]);
  }
}

/// Whether mass, inertia or orientation were set after the maps had been made.
bool SingleBodyObject::areContactMapsStale() const {
  if (perObjectContact_.contacts_.empty()) return false;
  bool isEqual = mapMassInv_ == invMass_;
  for (size_t k = 0; k < 9; ++k) isEqual &= mapInertiaInv_[k] == worldInertiaInv_[k];
  return !isEqual;
}

void SingleBodyObject::preContactSolverUpdate2(const Mat<3, 1>& gravity, double dt) {
  if (areContactMapsStale()) computeContactMaps();
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
  const Mat<6, 1> u = joined(linVel_, angVel_);
  for (size_t i = 0; i < contacts.size(); ++i)
    contacts[i].impactVel_ = multiplyLastRow(contactJacobian_[i], u);
}

/// G_i B_j for i < j, and its transpose
void SingleBodyObject::computeCouplingBlocks() {
  makeImpulseMaps();
  const size_t count = perObjectContact_.contacts_.size();
  AlignedVector<DelassusAndTauStar>& rows = perObjectContact_.delassusAndTauStar_;
  for (size_t i = 0; i + 1 < count; ++i)
    for (size_t j = i + 1; j < count; ++j) {
      const Columns33 B = multiply(contactJacobian_[i], contactImpulseMap_[j]);
      storeColumns(rows[i].blocks[j].v, B);
      storeColumns(rows[j].blocks[i].v, transposed(B));
    }
}

/// tauStar = R (v + a x w) with the free velocities
void SingleBodyObject::computeTauStar() {
  AlignedVector<DelassusAndTauStar>& rows = perObjectContact_.delassusAndTauStar_;
  const Mat<6, 1> u = joined(linVelFree_, angVelFree_);
  for (size_t i = 0; i < rows.size(); ++i) rows[i].tauStar = multiply(contactJacobian_[i], u);
}

/// In the mode without blocks the whole free velocity comes through `genVel_`.
void SingleBodyObject::startFromFreeVelocity() {
  genVel_ = joined(linVelFree_, angVelFree_);
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
  makeImpulseMaps();
  addProduct(contactImpulseMap_[contactIdx], impulseChange, genVel_);
}

/// Velocities after the contact solve.
void SingleBodyObject::applyContactImpulses() {
  if (fullDelassus_) {
    genVel_ = joined(linVelFree_, angVelFree_);
    makeImpulseMaps();
    const std::vector<contact::Contact>& contacts = perObjectContact_.contacts_;
    for (size_t i = 0; i < contacts.size(); ++i) {
      const contact::Contact& c = contacts[i];
      if (c.contactProblem_ == nullptr) continue;
      const Vec3& p = c.contactProblem_->imp_;
      addProduct(contactImpulseMap_[i], c.objectA_ ? p : -p, genVel_);
    }
  }
  linVel_ = {{genVel_[0], genVel_[1], genVel_[2]}};
  angVel_ = {{genVel_[3], genVel_[4], genVel_[5]}};
}

}  // namespace zelvik
