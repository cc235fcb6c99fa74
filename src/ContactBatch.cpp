// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "ContactBatch.hpp"

#include <algorithm>
#include <cmath>

#include "ContactLaw.hpp"
#include "LaneAlgebra.hpp"

namespace zelvik::contact {

namespace {

/// Four bodies' values of one vector; the fourth row stays zero.
struct Gathered {
  Lanes3 a;
  Lanes pad;
};

template <Lanes BodyVelocity::*part>
inline Gathered gather(const BodyVelocity* velocities, const std::uint32_t* slots) {
  Gathered g{{velocities[slots[0]].*part, velocities[slots[1]].*part, velocities[slots[2]].*part},
             velocities[slots[3]].*part};
  transposeLanes(g.a.x, g.a.y, g.a.z, g.pad);
  return g;
}

template <Lanes BodyVelocity::*part>
inline void scatter(const Gathered& gathered, const std::uint32_t* slots,
                    BodyVelocity* velocities) {
  Gathered g = gathered;
  transposeLanes(g.a.x, g.a.y, g.a.z, g.pad);
  velocities[slots[0]].*part = g.a.x;
  velocities[slots[1]].*part = g.a.y;
  velocities[slots[2]].*part = g.a.z;
  velocities[slots[3]].*part = g.pad;
}

/// A a for a matrix by rows.
inline Lanes3 multiply(const Lanes* A, const Lanes3& a) {
  return {A[0] * a.x + A[1] * a.y + A[2] * a.z, A[3] * a.x + A[4] * a.y + A[5] * a.z,
          A[6] * a.x + A[7] * a.y + A[8] * a.z};
}

/// A^T a
inline Lanes3 multiplyTransposed(const Lanes* A, const Lanes3& a) {
  return {A[0] * a.x + A[3] * a.y + A[6] * a.z, A[1] * a.x + A[4] * a.y + A[7] * a.z,
          A[2] * a.x + A[5] * a.y + A[8] * a.z};
}

inline Lanes select(const LaneMask& mask, const Lanes& a, const Lanes& b) {
  return mask ? a : b;
}

/// The velocities of the bodies of a batch in registers.
template <int sides>
struct Velocities {
  Gathered linear[sides], angular[sides];

  Velocities(const ContactBatch<sides>& batch, const BodyVelocity* velocities) {
    for (int s = 0; s < sides; ++s) {
      linear[s] = gather<&BodyVelocity::linear>(velocities, batch.from[s]);
      angular[s] = gather<&BodyVelocity::angular>(velocities, batch.from[s]);
    }
  }

  /// Velocity of the contacts minus their targets.
  Lanes3 ofContacts(const ContactBatch<sides>& batch) const {
    Lanes3 difference = linear[0].a;
    if constexpr (sides == 2) difference = difference - linear[1].a;
    Lanes3 v =
        Lanes3{batch.free[0], batch.free[1], batch.free[2]} + multiply(batch.frame, difference);
    for (int s = 0; s < sides; ++s) v += multiply(batch.lever[s], angular[s].a);
    return v;
  }

  void handOn(const ContactBatch<sides>& batch, const Lanes3& change, BodyVelocity* velocities) {
    const Lanes3 push = multiplyTransposed(batch.frame, change);
    for (int s = 0; s < sides; ++s) {
      const Lanes factor = s == 0 ? batch.inverseMass[s] : -batch.inverseMass[s];
      linear[s].a += factor * push;
      angular[s].a += multiplyTransposed(batch.lever[s], change);
      scatter<&BodyVelocity::linear>(linear[s], batch.to[s], velocities);
      scatter<&BodyVelocity::angular>(angular[s], batch.to[s], velocities);
    }
  }
};

/// Contacts that slide, one after the other: replaces their changes.
/// @param which bit l is set if lane l slides, @param start impulses that would stick, @param v
/// velocities minus targets with the impulses applied, @param z normal residuals without them
template <int sides>
__attribute__((noinline)) void slideLanes(const ContactBatch<sides>& batch, unsigned which,
                                          const Lanes3& start, const Lanes3& v, const Lanes& z,
                                          double relaxation, Lanes3& change) {
  for (; which != 0; which &= which - 1) {
    const auto l = static_cast<size_t>(std::countr_zero(which));
    Single3DContactProblem& p = *batch.problems[l];
    const Vec3 old = {{batch.impulse[0][l], batch.impulse[1][l], batch.impulse[2][l]}};
    Vec3 u = getLane(v, l);
    u[2] += batch.target[l];
    p.imp_ = getLane(start, l);
    const double share = slide(p, u - p.delassus_ * old, z[l]) ? relaxation : 1.0;
    setLane(change, l, share * (p.imp_ - old));
  }
}

}  // namespace

AngularScale::AngularScale(const Mat33& A) {
  const double c0 = std::sqrt(A(0, 0)), c1 = A(1, 0) / c0, c2 = A(2, 0) / c0;
  const double c3 = std::sqrt(A(1, 1) - c1 * c1), c4 = (A(2, 1) - c2 * c1) / c3;
  const double c5 = std::sqrt(A(2, 2) - c2 * c2 - c4 * c4);
  const double least = std::min(c0, std::min(c3, c5));
  if (!(least > 0.0) || !std::isfinite(c0 + c3 + c5)) return;
  xx = c0, yx = c1, zx = c2, yy = c3, zy = c4, zz = c5;
  isFactor = true;
}

template <int sides>
void ContactBatch<sides>::setProblem(size_t lane, Single3DContactProblem& p) {
  count = static_cast<std::uint32_t>(lane + 1);
  problems[lane] = &p;
  const int stickIdx[6] = {0, 3, 6, 4, 7, 8};
  for (int k = 0; k < 6; ++k) stick[k][lane] = -p.delassusInv_[stickIdx[k]];
  for (int k = 0; k < 3; ++k) {
    free[k][lane] = p.tauStar_[k];
    normal[k][lane] = p.delassus_(k, 2);
    impulse[k][lane] = p.imp_[k];
  }
  free[2][lane] -= p.targetVelZ_;
  target[lane] = p.targetVelZ_;
  opening[lane] = p.openingVelZ_;
  cone[lane] = p.mu_ * p.mu_ * kConeTolerance;
}

template <int sides>
void ContactBatch<sides>::setBody(size_t lane, size_t side, std::uint32_t slot, double sign,
                                  const Mat<3, 6>& G, const AngularScale& scale, double massInv) {
  from[side][lane] = to[side][lane] = slot;
  inverseMass[side][lane] = massInv;
  for (int c = 0; c < 3; ++c) {
    const Vec3 K = sign * scale.timesC({{G(c, 3), G(c, 4), G(c, 5)}});
    for (int k = 0; k < 3; ++k) lever[side][3 * c + k][lane] = K[k];
    if (side > 0) continue;
    for (int k = 0; k < 3; ++k) frame[3 * c + k][lane] = sign * G(c, k);
  }
}

template <int sides>
double ContactBatch<sides>::visit(BodyVelocity* velocities, double relaxation) {
  Velocities<sides> bodies(*this, velocities);
  const Lanes3 v = bodies.ofContacts(*this);
  const Lanes3 old = {impulse[0], impulse[1], impulse[2]};
  const Lanes w = normal[0] * old.x + (normal[1] * old.y + normal[2] * old.z);
  const Lanes z = v.z - w;  // without the own impulses

  // What would stick is p - D^-1 v; what opens has no impulse.
  Lanes3 change = {stick[0] * v.x + (stick[1] * v.y + stick[2] * v.z),
                   stick[1] * v.x + (stick[3] * v.y + stick[4] * v.z),
                   stick[2] * v.x + (stick[4] * v.y + stick[5] * v.z)};
  const Lanes3 candidate = old + change;
  const LaneMask opens = z + target > opening;
  const LaneMask isInCone = (candidate.x * candidate.x + candidate.y * candidate.y <=
                             cone * (candidate.z * candidate.z)) &
                            (candidate.z >= 0.0);
  const Lanes r = broadcast(relaxation);
  change = {r * select(opens, -old.x, change.x), r * select(opens, -old.y, change.y),
            r * select(opens, -old.z, change.z)};
  const unsigned slides = lanesSet(~(opens | isInCone)) & ((1u << count) - 1u);
  if (slides != 0) slideLanes(*this, slides, candidate, v, z, relaxation, change);

  impulse[0] = old.x + change.x;
  impulse[1] = old.y + change.y;
  impulse[2] = old.z + change.z;
  bodies.handOn(*this, change, velocities);
  const Lanes error = select(opens, w, v.z);
  const Lanes squares = error * error;
  if (count == kLanes) return sumOfLanes(squares);
  double sum = 0.0;
  for (size_t l = 0; l < count; ++l) sum += squares[l];
  return sum;
}

template <int sides>
void ContactBatch<sides>::handOnImpulses(BodyVelocity* velocities) const {
  const auto isAny = (impulse[0] != 0.0) | (impulse[1] != 0.0) | (impulse[2] != 0.0);
  if (lanesSet(isAny) == 0) return;
  Velocities<sides> bodies(*this, velocities);
  bodies.handOn(*this, {impulse[0], impulse[1], impulse[2]}, velocities);
}

template <int sides>
void ContactBatch<sides>::writeImpulses() const {
  for (size_t l = 0; l < count; ++l)
    problems[l]->imp_ = {{impulse[0][l], impulse[1][l], impulse[2][l]}};
}

template struct ContactBatch<1>;
template struct ContactBatch<2>;

}  // namespace zelvik::contact
