// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "core/LaneAlgebra.hpp"
#include "solver/ContactBatch.hpp"

// The velocities of the bodies of a batch or a run, four bodies at once.

namespace zelvik::contact {

/// Four bodies' values of one vector.
template <Lanes BodyVelocity::*part>
inline Lanes3 gather(const BodyVelocity* velocities, const std::uint32_t* slots) {
  Lanes a = velocities[slots[0]].*part, b = velocities[slots[1]].*part,
        c = velocities[slots[2]].*part, d = velocities[slots[3]].*part;
  transposeLanes(a, b, c, d);
  return {a, b, c};
}

/// The fourth values become zero.
template <Lanes BodyVelocity::*part>
inline void scatter(const Lanes3& gathered, const std::uint32_t* slots, BodyVelocity* velocities) {
  Lanes a = gathered.x, b = gathered.y, c = gathered.z, d{};
  transposeLanes(a, b, c, d);
  velocities[slots[0]].*part = a;
  velocities[slots[1]].*part = b;
  velocities[slots[2]].*part = c;
  velocities[slots[3]].*part = d;
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

/// Velocities of the bodies of a run.
template <int sides>
struct Velocities {
  Lanes3 linear[sides], angular[sides];

  Velocities(const BatchBodies<sides>& bodies, const BodyVelocity* velocities) {
    for (int s = 0; s < sides; ++s) {
      linear[s] = gather<&BodyVelocity::linear>(velocities, bodies.slots[s]);
      angular[s] = gather<&BodyVelocity::angular>(velocities, bodies.slots[s]);
    }
  }

  /// Velocity of the contacts minus their targets.
  Lanes3 ofContacts(const ContactBatch<sides>& batch) const {
    Lanes3 difference = linear[0];
    if constexpr (sides == 2) difference = difference - linear[1];
    Lanes3 v = batch.free + multiply(batch.frame, difference);
    for (int s = 0; s < sides; ++s) v += multiply(batch.lever[s], angular[s]);
    return v;
  }

  void add(const ContactBatch<sides>& batch, const Lanes3& change) {
    const Lanes3 push = multiplyTransposed(batch.frame, change);
    for (int s = 0; s < sides; ++s) {
      const Lanes factor = s == 0 ? batch.inverseMass[s] : -batch.inverseMass[s];
      linear[s] += factor * push;
      angular[s] += multiplyTransposed(batch.lever[s], change);
    }
  }

  void handOn(const BatchBodies<sides>& bodies, BodyVelocity* velocities) const {
    for (int s = 0; s < sides; ++s) {
      scatter<&BodyVelocity::linear>(linear[s], bodies.slots[s], velocities);
      scatter<&BodyVelocity::angular>(angular[s], bodies.slots[s], velocities);
    }
  }
};

}  // namespace zelvik::contact
