// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <vector>
#include <zelvik/export.hpp>
#include <zelvik/math.hpp>

namespace zelvik {

/// The energy (J) and momentum (world axes) of an object or a world at one moment.
struct LedgerBalance {
  double kinetic = 0.0;  ///< rotors included
  double gravity = 0.0;  ///< -m g . c, zero at the origin of the world
  double springs = 0.0;  ///< of joints, zero at rest
  double wires = 0.0;    ///< of compliant wires that act; in the account of the world alone
  Mat<3, 1> momentum{};  ///< (N s)
  Mat<3, 1> spin{};      ///< angular momentum about the origin of the world (N m s)

  /// Sum of the four (J).
  double energy() const { return kinetic + gravity + springs + wires; }
};

/// What one cause has done in a step.
struct LedgerEntry {
  double work = 0.0;    ///< (J)
  Mat<3, 1> impulse{};  ///< (N s, world axes)
  Mat<3, 1> twist{};    ///< angular impulse about the origin of the world (N m s, world axes)
};

/// The energy and momentum of an object or a world before and after a step, and what changed them:
/// `after - before` is the sum of all entries.
struct LedgerAccount {
  /// What moves energy and momentum.
  enum Cause {
    GRAVITY,     ///< momentum only: its work goes on between kinetic energy and that of height
    ACTUATION,   ///< joint forces: feed-forward and PD, after force limits
    DAMPING,     ///< of joints, and drag of single bodies
    NORMAL,      ///< contacts along their normals
    FRICTION,    ///< contacts along their tangents
    LIMITS,      ///< of joints: work only
    WIRES,       ///< stiff ones; in the account of an object compliant ones, too
    EXTERNAL,    ///< forces and torques that a caller set
    BASE,        ///< what holds a fixed base, and all that remains of its momentum: no work
    INTEGRATION  ///< what remains: the error of the integration scheme
  };
  static constexpr int kCauses = INTEGRATION + 1;  ///< number of causes

  LedgerBalance before;          ///< the step
  LedgerBalance after;           ///< the step
  LedgerEntry entries[kCauses];  ///< by `Cause`

  ///@{
  /// What a cause has done.
  LedgerEntry& operator[](Cause cause) { return entries[cause]; }
  const LedgerEntry& operator[](Cause cause) const { return entries[cause]; }
  ///@}
  /// Takes in the account of the step that follows: `before` stays.
  ZELVIK_API LedgerAccount& operator+=(const LedgerAccount& next);
};

/// The books of the last step of a world: docs/ledger.md says what each scheme leaves in the
/// remainder. Work is impulse times the mean of the velocities before and after the step, which is
/// exact for the step's own equation.
///
/// Static and kinematic objects are not in the books: what they do is the work of contacts.
struct Ledger {
  LedgerAccount whole;                 ///< of all dynamic objects and the wires
  std::vector<LedgerAccount> objects;  ///< by world index; zeros for those that are not dynamic
};

}  // namespace zelvik
