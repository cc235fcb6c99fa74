// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <limits>
#include <zelvik/contact/Single3DContactProblem.hpp>

#include "core/Lanes.hpp"

// What the visits of a problem read and what stays the same in a solve: the target of the normal
// velocity, by one template for a contact or four, and what follows from the own block D. Batches
// compute the latter for four contacts at once (ContactBatchFill.cpp).

namespace zelvik::contact {

/// Of one contact (`double`) or four (`Lanes`), see the record's fields of these names.
template <typename T>
struct NormalMotion {
  T velocity;  ///< at the start, with no impulse applied (m/s)
  T impact, restitution, threshold, depth;
};

template <typename T>
struct NormalTarget {
  T velocity;  ///< aimed for (m/s)
  T opening;   ///< above which the contact opens (m/s)
};

struct ContactPreparation {
  double erp;          ///< (1/s)
  double erp2;         ///< added to every coefficient of restitution
  double layer;        ///< overlap that contacts keep (m)
  double timeStepInv;  ///< (1/s)

  /// Bounce above the threshold, and a share of the penetration. With a surface layer only what is
  /// beyond it is taken out; where the overlap is less, the contact comes down to the layer within
  /// the step, unless it bounces.
  template <typename T>
  NormalTarget<T> target(const NormalMotion<T>& m) const {
    const T zero{};
    const T bounce = (m.velocity - 2.0 * m.impact - m.threshold) * (m.restitution + erp2);
    const T push = bounce < zero ? zero : bounce;
    if (!(layer > 0.0)) return {push - m.depth * erp, zero};
    const T lowest = zero + std::numeric_limits<double>::lowest();
    const T missing = m.depth + layer;
    T down = -missing * timeStepInv;
    down = down < lowest ? lowest : down;  // finite also for a step of no length
    const auto keeps = missing > zero, bounces = bounce > zero;
    const T within = bounces ? bounce : down;
    return {keeps ? within : push - missing * erp, keeps ? (bounces ? zero : down) : zero};
  }

  /// Fills the fields that the solver prepares in a record of any rank but that of a joint limit.
  /// @param normalVelocity at the start, with no impulse applied (m/s)
  void prepare(Single3DContactProblem& problem, double normalVelocity) const;
};

}  // namespace zelvik::contact
