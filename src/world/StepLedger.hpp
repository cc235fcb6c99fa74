// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <memory>
#include <vector>
#include <zelvik/Ledger.hpp>
#include <zelvik/object/CompliantLengthConstraint.hpp>
#include <zelvik/object/Object.hpp>

#include "object/LedgerDraft.hpp"

namespace zelvik {

/// Keeps the books of a world: called at three moments of each step. Nothing of it is state: the
/// next step reads none of it.
class StepLedger {
 public:
  /// @param objects,wires of the world; outlive this
  StepLedger(const std::vector<Object*>& objects,
             const std::vector<std::unique_ptr<CompliantLengthConstraint>>& wires)
      : objects_(objects), wires_(wires) {}

  /// Before anything of `World::integrate2` has changed.
  void open(const Vec3& gravity);
  /// When all impulses are known and nothing has moved.
  void bookForces(const Vec3& gravity, double dt);
  /// When everything has moved.
  void close(const Vec3& gravity, double dt);
  const Ledger& ledger() const { return ledger_; }

 private:
  bool isBooked(size_t index) const { return objects_[index]->getBodyType() == BodyType::DYNAMIC; }
  void bookWireForces();
  double wireEnergy(bool afterStep) const;
  static void closeBalance(const LedgerDraft& draft, bool hasFixedBase);
  void sumUp();

  const std::vector<Object*>& objects_;
  const std::vector<std::unique_ptr<CompliantLengthConstraint>>& wires_;
  Ledger ledger_;
  std::vector<LedgerDraft> drafts_;  ///< by world index; without an account for who has none
  double wireEnergyBefore_ = 0.0;    ///< (J)
};

}  // namespace zelvik
