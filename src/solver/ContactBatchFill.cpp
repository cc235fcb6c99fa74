// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <type_traits>

#include "contact/ContactLaw.hpp"
#include "solver/BatchVelocities.hpp"

// From records and bodies to batches, four contacts at once; the fields of the records that the
// solver prepares (target, inverses) are written as well.
//
//   D^-1 = L^-T L^-1,   D = L L^T            Cholesky, for `stick` and `delassusInv_`
//   M = D - D(:,2) D(2,:) / D(2,2)           its first two columns: `tangentMap_`
//   target, opening                          of the normal velocity: `ContactPreparation::target`
//
// Four numbers of a record are read and written at once, and transposed into lanes: lane l of all
// is contact l.

namespace zelvik::contact {

AngularScale::AngularScale(const Mat33& A) {
  const double c0 = std::sqrt(A(0, 0)), c1 = A(1, 0) / c0, c2 = A(2, 0) / c0;
  const double c3 = std::sqrt(A(1, 1) - c1 * c1), c4 = (A(2, 1) - c2 * c1) / c3;
  const double c5 = std::sqrt(A(2, 2) - c2 * c2 - c4 * c4);
  const double least = std::min(c0, std::min(c3, c5));
  if (!(least > 0.0) || !std::isfinite(c0 + c3 + c5)) return;
  xx = c0, yx = c1, zx = c2, yy = c3, zy = c4, zz = c5;
  isFactor = true;
}

namespace {

inline Lanes squareRoot(const Lanes& a) {
  return Lanes{std::sqrt(a[0]), std::sqrt(a[1]), std::sqrt(a[2]), std::sqrt(a[3])};
}

/// What a lane without a contact reads. Made when first needed, which may be before `main`.
const Single3DContactProblem& noProblem() {
  static const Single3DContactProblem problem;
  return problem;
}
constexpr double kNoJacobian[18] = {};
const BodyMass kNoMass;

/// Four values from a place in each of four arrays, transposed.
struct Rows {
  Lanes row[4];

  Rows(const double* a, const double* b, const double* c, const double* d)
      : row{loadLanes(a), loadLanes(b), loadLanes(c), loadLanes(d)} {
    transposeLanes(row[0], row[1], row[2], row[3]);
  }
  Rows(const double* const* p, size_t k) : Rows(p[0] + k, p[1] + k, p[2] + k, p[3] + k) {}
};

inline Lanes gatherOne(const double* const* p, size_t k) {
  return Lanes{p[0][k], p[1][k], p[2][k], p[3][k]};
}

/// C of the bodies of four lanes.
struct ScaleLanes {
  Lanes xx, yx, zx, yy, zy, zz, inverseMass;

  explicit ScaleLanes(const BodyMass* const* m) {
    const Rows a(&m[0]->scale.xx, &m[1]->scale.xx, &m[2]->scale.xx, &m[3]->scale.xx);
    xx = a.row[0], yx = a.row[1], zx = a.row[2], yy = a.row[3];
    zy = Lanes{m[0]->scale.zy, m[1]->scale.zy, m[2]->scale.zy, m[3]->scale.zy};
    zz = Lanes{m[0]->scale.zz, m[1]->scale.zz, m[2]->scale.zz, m[3]->scale.zz};
    inverseMass = Lanes{m[0]->inverseMass, m[1]->inverseMass, m[2]->inverseMass, m[3]->inverseMass};
  }
};

/// Rows of `sign` lever C, for the lever by columns from `jacobian`[9] on.
inline void scaleLever(const double* const* jacobians, const BodyMass* const* masses,
                       const Lanes& sign, Lanes* lever, Lanes& inverseMass) {
  const Rows a(jacobians, 9), b(jacobians, 13);
  const Lanes last = gatherOne(jacobians, 17);
  const Lanes x[3] = {a.row[0], a.row[1], a.row[2]}, y[3] = {a.row[3], b.row[0], b.row[1]},
              z[3] = {b.row[2], b.row[3], last};
  const ScaleLanes C(masses);
  inverseMass = C.inverseMass;
  for (size_t c = 0; c < 3; ++c) {
    lever[3 * c] = sign * (x[c] * C.xx + y[c] * C.yx + z[c] * C.zx);
    lever[3 * c + 1] = sign * (y[c] * C.yy + z[c] * C.zy);
    lever[3 * c + 2] = sign * (z[c] * C.zz);
  }
}

/// Place among the numbers of a record. Four consecutive numbers are read or written at once,
/// whatever fields they belong to.
constexpr size_t placeAt(size_t offset) {
  return offset / sizeof(double);
}
static_assert(std::is_standard_layout_v<Single3DContactProblem>);

inline const double* numbersOf(const Single3DContactProblem& p) {
  return reinterpret_cast<const double*>(&p);
}
inline double* numbersOf(Single3DContactProblem& p) {
  return reinterpret_cast<double*>(&p);
}

/// The problems of four lanes.
struct RecordLanes {
  const Single3DContactProblem* p[kLanes];

  explicit RecordLanes(Single3DContactProblem* const* problems) {
    for (size_t l = 0; l < kLanes; ++l) p[l] = problems[l] != nullptr ? problems[l] : &noProblem();
  }
  /// Four numbers of each record, from a place on.
  Rows rows(size_t place) const {
    return {numbersOf(*p[0]) + place, numbersOf(*p[1]) + place, numbersOf(*p[2]) + place,
            numbersOf(*p[3]) + place};
  }
  Lanes at(double Single3DContactProblem::*field) const {
    return Lanes{p[0]->*field, p[1]->*field, p[2]->*field, p[3]->*field};
  }
};

/// Restitution, threshold, impact velocity and depth are consecutive.
constexpr size_t kImpactPlace = placeAt(offsetof(Single3DContactProblem, restitution_));
static_assert(placeAt(offsetof(Single3DContactProblem, restitutionThreshold_)) ==
                  kImpactPlace + 1 &&
              placeAt(offsetof(Single3DContactProblem, impactVel_)) == kImpactPlace + 2 &&
              placeAt(offsetof(Single3DContactProblem, depth_)) == kImpactPlace + 3);

/// The prepared part of four records, its numbers in the order of the fields: the only place that
/// writes it for batches. (`ContactPreparation::prepare` does for rows.)
class PreparedLanes {
 public:
  static constexpr size_t kPlace = placeAt(offsetof(Single3DContactProblem, muInvDzz_)),
                          kCount = 19;

  void setFriction(const Lanes& muInvDzz, const Lanes& muInv, const Lanes& negMuSquared) {
    values_[0] = muInvDzz, values_[1] = muInv, values_[2] = negMuSquared;
  }
  void setDzzInv(const Lanes& dzzInv) { values_[3] = dzzInv; }
  void setTangentMap(const Lanes (&map)[6]) {
    for (size_t k = 0; k < 6; ++k) values_[4 + k] = map[k];
  }
  void setDelassusInv(const LanesSymmetric& A) {
    values_[10] = A.xx, values_[11] = A.xy, values_[12] = A.xz;
    values_[13] = A.xy, values_[14] = A.yy, values_[15] = A.yz;
    values_[16] = A.xz, values_[17] = A.yz, values_[18] = A.zz;
  }
  void writeTo(Single3DContactProblem* const* problems) const {
    writeFour<0>(problems);
    writeFour<4>(problems);
    writeFour<8>(problems);
    writeFour<12>(problems);
    writeFour<kCount - 4>(problems);  // of which the first has been written
  }

 private:
  static_assert(placeAt(offsetof(Single3DContactProblem, muInv_)) == kPlace + 1 &&
                placeAt(offsetof(Single3DContactProblem, negMuSquared_)) == kPlace + 2 &&
                placeAt(offsetof(Single3DContactProblem, dzzInv_)) == kPlace + 3 &&
                placeAt(offsetof(Single3DContactProblem, tangentMap_)) == kPlace + 4 &&
                placeAt(offsetof(Single3DContactProblem, delassusInv_)) == kPlace + 10);

  template <size_t k>
  void writeFour(Single3DContactProblem* const* problems) const {
    Lanes a = values_[k], b = values_[k + 1], c = values_[k + 2], d = values_[k + 3];
    transposeLanes(a, b, c, d);
    const Lanes* rows[kLanes] = {&a, &b, &c, &d};
    for (size_t l = 0; l < kLanes; ++l)
      if (problems[l] != nullptr) storeLanes(numbersOf(*problems[l]) + kPlace + k, *rows[l]);
  }

  Lanes values_[kCount];
};

/// From D what the visits need.
struct BlockLanes {
  LanesSymmetric D, inverse;
  Lanes dzzInv, tangentMap[6];

  explicit BlockLanes(const RecordLanes& records) {
    const Rows a = records.rows(placeAt(offsetof(Single3DContactProblem, delassus_)));
    const Rows b = records.rows(placeAt(offsetof(Single3DContactProblem, delassus_)) + 5);
    const auto& p = records.p;
    const Lanes yy = {p[0]->delassus_[4], p[1]->delassus_[4], p[2]->delassus_[4],
                      p[3]->delassus_[4]};
    D = {a.row[0], a.row[1], a.row[2], yy, b.row[2], b.row[3]};
    dzzInv = 1.0 / D.zz;
    const Lanes x = D.xz * dzzInv, y = D.yz * dzzInv;
    tangentMap[0] = D.xx - D.xz * x;
    tangentMap[1] = D.xy - D.yz * x;
    tangentMap[2] = D.xz - D.zz * x;
    tangentMap[3] = D.xy - D.xz * y;
    tangentMap[4] = D.yy - D.yz * y;
    tangentMap[5] = D.yz - D.zz * y;
    invert();
  }

 private:
  /// By the Cholesky factor L: D^-1 = L^-T L^-1.
  void invert() {
    const Lanes a = 1.0 / squareRoot(D.xx), l10 = D.xy * a, l20 = D.xz * a;
    const Lanes b = 1.0 / squareRoot(D.yy - l10 * l10), l21 = (D.yz - l20 * l10) * b;
    const Lanes c = 1.0 / squareRoot(D.zz - l20 * l20 - l21 * l21);
    // L^-1 by rows: (a), (m10, b), (m20, m21, c)
    const Lanes m10 = -l10 * a * b, m21 = -l21 * b * c, m20 = -(l20 * a + l21 * m10) * c;
    inverse.xx = a * a + m10 * m10 + m20 * m20;
    inverse.xy = m10 * b + m20 * m21;
    inverse.xz = m20 * c;
    inverse.yy = b * b + m21 * m21;
    inverse.yz = m21 * c;
    inverse.zz = c * c;
  }
};

}  // namespace

template <int sides>
BatchMembers<sides>::BatchMembers() : problems{}, sign{} {
  for (int s = 0; s < sides; ++s)
    for (size_t l = 0; l < kLanes; ++l) {
      jacobians[s][l] = kNoJacobian;
      masses[s][l] = &kNoMass;
    }
}

template <int sides>
BatchBodies<sides>::BatchBodies() {
  for (auto& side : slots)
    for (std::uint32_t& slot : side) slot = kZeroSlot;
}

template <int sides>
bool BatchBodies<sides>::merge(const BatchBodies& other) {
  BatchBodies merged = *this;
  for (size_t l = 0; l < kLanes; ++l) {
    if (other.slots[0][l] == kZeroSlot) continue;
    const bool isNew = slots[0][l] == kZeroSlot;
    for (int s = 0; s < sides; ++s) {
      const std::uint32_t slot = other.slots[s][l];
      if (!isNew && slot != slots[s][l]) return false;
      merged.slots[s][l] = slot;
      for (const auto& side : slots)
        for (const std::uint32_t taken : side)
          if (isNew && taken == slot) return false;
    }
  }
  *this = merged;
  return true;
}

template <int sides>
void ContactBatch<sides>::fill(const BatchMembers<sides>& m, const BatchBodies<sides>& bodies,
                               const BodyVelocity* velocities,
                               const ContactPreparation& preparation) {
  used = 0;
  for (size_t l = 0; l < kLanes; ++l) {
    problems[l] = m.problems[l];
    used |= problems[l] != nullptr ? 1u << l : 0u;
  }
  fillBodies(m);
  const Rows tau = RecordLanes(problems).rows(placeAt(offsetof(Single3DContactProblem, tauStar_)));
  free = {tau.row[0], tau.row[1], tau.row[2]};
  const Velocities<sides> start(bodies, velocities);
  fillProblems(start.ofContacts(*this).z, preparation);
  for (size_t l = 0; l < kLanes; ++l)
    if (problems[l] == nullptr) clearLane(l);
}

/// A lane without a contact holds zeros, whatever the parameters of the solver make of zeros.
template <int sides>
void ContactBatch<sides>::clearLane(size_t lane) {
  target[lane] = opening[lane] = 0.0;
  setLane(free, lane, Vec3{});
  setLane(stick, lane, Mat33{});
}

template <int sides>
void ContactBatch<sides>::fillBodies(const BatchMembers<sides>& m) {
  const Rows a(m.jacobians[0], 0), b(m.jacobians[0], 4);
  const Lanes last = gatherOne(m.jacobians[0], 8);
  const Lanes columns[9] = {a.row[0], a.row[1], a.row[2], a.row[3], b.row[0],
                            b.row[1], b.row[2], b.row[3], last};
  for (size_t r = 0; r < 3; ++r)
    for (size_t c = 0; c < 3; ++c) frame[3 * r + c] = m.sign * columns[3 * c + r];
  scaleLever(m.jacobians[0], m.masses[0], m.sign, lever[0], inverseMass[0]);
  if constexpr (sides == 2)
    scaleLever(m.jacobians[1], m.masses[1], broadcast(-1.0), lever[1], inverseMass[1]);
}

template <int sides>
void ContactBatch<sides>::fillProblems(const Lanes& normalVelocity,
                                       const ContactPreparation& preparation) {
  const RecordLanes records(problems);
  const Rows bounce = records.rows(kImpactPlace);
  const NormalTarget<Lanes> aim = preparation.target(NormalMotion<Lanes>{
      normalVelocity, bounce.row[2], bounce.row[0], bounce.row[1], bounce.row[3]});
  target = aim.velocity;
  opening = aim.opening;
  free.z -= target;
  const Lanes mu = records.at(&Single3DContactProblem::mu_);
  cone = mu * mu * kConeTolerance;
  const Rows impulses = records.rows(placeAt(offsetof(Single3DContactProblem, imp_)));
  impulse = {impulses.row[0], impulses.row[1], impulses.row[2]};

  const BlockLanes block(records);
  const LanesSymmetric& inv = block.inverse;
  normal = {block.D.xz, block.D.yz, block.D.zz};
  stick = {-inv.xx, -inv.xy, -inv.xz, -inv.yy, -inv.yz, -inv.zz};

  const Rows friction = records.rows(PreparedLanes::kPlace);
  PreparedLanes prepared;
  prepared.setFriction(block.D.zz * friction.row[1], friction.row[1], friction.row[2]);
  prepared.setDzzInv(block.dzzInv);
  prepared.setTangentMap(block.tangentMap);
  prepared.setDelassusInv(inv);
  prepared.writeTo(problems);
  for (size_t l = 0; l < kLanes; ++l)
    if (problems[l] != nullptr) {
      problems[l]->targetVelZ_ = target[l];
      problems[l]->openingVelZ_ = opening[l];
    }
}

template struct BatchMembers<1>;
template struct BatchMembers<2>;
template struct BatchBodies<1>;
template struct BatchBodies<2>;
template void ContactBatch<1>::fill(const BatchMembers<1>&, const BatchBodies<1>&,
                                    const BodyVelocity*, const ContactPreparation&);
template void ContactBatch<2>::fill(const BatchMembers<2>&, const BatchBodies<2>&,
                                    const BodyVelocity*, const ContactPreparation&);

}  // namespace zelvik::contact
