// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/Ledger.hpp>
#include <zelvik/contact/Contact.hpp>

namespace zelvik {

/// The account of an object while its step runs.
struct LedgerDraft {
  LedgerAccount* account = nullptr;
  // Compliant wires, by the world.
  Vec3 wireForce{}, wireMoment{};  ///< their sum (N), and about the origin of the world (N m)
  double compliantWork = 0.0;      ///< of these wires (J)
  Vec3 com{};                      ///< before the step (m)
  // Of a single body, before the solve.
  Vec3 velocity{}, rate{};     ///< (m/s, rad/s)
  Vec3 force{}, torque{};      ///< wires included, about the centre of mass (N, N m)
  Vec3 drag{}, angularDrag{};  ///< impulses (N s, N m s)
  /// Forces that go with the object act on the way of its centre of mass: at its beginning if
  /// positions follow the new velocity (0), at its middle if they follow the mean of both (1/2), at
  /// its end if they follow the old one (1). So the scheme's own step has the angular momentum.
  double shiftShare = 0.0;
  Vec3 shift{};  ///< that share of the way (m)

  LedgerEntry& of(LedgerAccount::Cause cause) { return (*account)[cause]; }
  /// Books an impulse (N s) at a point of the world (m).
  void push(LedgerAccount::Cause cause, const Vec3& point, const Vec3& impulse) {
    LedgerEntry& entry = of(cause);
    entry.impulse += impulse;
    entry.twist += cross(point, impulse);
  }
  /// What the impulse of a contact is booked as along its tangents; that of a wire has none.
  static LedgerAccount::Cause tangentialCause(const contact::Contact& contact) {
    return isWire(contact) ? LedgerAccount::WIRES : LedgerAccount::FRICTION;
  }
  /// The same along the normal.
  static LedgerAccount::Cause normalCause(const contact::Contact& contact) {
    return isWire(contact) ? LedgerAccount::WIRES : LedgerAccount::NORMAL;
  }
  static bool isWire(const contact::Contact& contact) { return contact.shapeIndex_ == kNone; }
};

}  // namespace zelvik
