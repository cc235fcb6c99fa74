// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "world/StepLedger.hpp"

#include <algorithm>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/object/SingleBodyObject.hpp>

namespace zelvik {

namespace {

bool isRobot(const Object& object) {
  return object.getObjectType() == ARTICULATED_SYSTEM;
}
ArticulatedSystem& robot(Object& object) {
  return static_cast<ArticulatedSystem&>(object);
}
SingleBodyObject& body(Object& object) {
  return static_cast<SingleBodyObject&>(object);
}

/// An account is a row of numbers, which makes sums of accounts short.
constexpr size_t kNumbers = sizeof(LedgerAccount) / sizeof(double);
static_assert(kNumbers == 2 * 10 + LedgerAccount::kCauses * 7);

void clear(LedgerAccount& account) {
  std::fill_n(reinterpret_cast<double*>(&account), kNumbers, 0.0);
}

void addNumbers(const LedgerAccount& from, LedgerAccount& to) {
  const double* a = reinterpret_cast<const double*>(&from);
  double* sum = reinterpret_cast<double*>(&to);
  for (size_t i = 0; i < kNumbers; ++i) sum[i] += a[i];
}

/// What the entries before `last` leave of the change.
LedgerEntry remainderOf(const LedgerAccount& account, int last) {
  LedgerEntry rest{account.after.energy() - account.before.energy(),
                   account.after.momentum - account.before.momentum,
                   account.after.spin - account.before.spin};
  for (int i = 0; i < last; ++i) {
    rest.work -= account.entries[i].work;
    rest.impulse -= account.entries[i].impulse;
    rest.twist -= account.entries[i].twist;
  }
  return rest;
}

double stretchNow(const LengthConstraint& wire) {
  Vec3 end1, end2;
  wire.getBody1()->getPosition(wire.getLocalIdx1(), wire.getLocalPos1(), end1);
  wire.getBody2()->getPosition(wire.getLocalIdx2(), wire.getLocalPos2(), end2);
  return norm(end2 - end1) - wire.getLength();
}

/// As `LengthConstraint::update` decides.
bool wouldAct(const LengthConstraint& wire, double stretch) {
  if (wire.getStretchType() == 0) return stretch > 0.0;
  if (wire.getStretchType() == 1) return stretch < 0.0;
  return wire.getStretchType() == 2 || wire.isActive();
}

}  // namespace

LedgerAccount& LedgerAccount::operator+=(const LedgerAccount& next) {
  const LedgerBalance first = before;
  addNumbers(next, *this);
  before = first;
  after = next.after;
  return *this;
}

void StepLedger::open(const Vec3& gravity) {
  ledger_.objects.resize(objects_.size());
  drafts_.resize(objects_.size());
  for (size_t i = 0; i < objects_.size(); ++i) {
    if (drafts_[i].account != nullptr || isBooked(i)) clear(ledger_.objects[i]);
    drafts_[i].account = nullptr;
    if (!isBooked(i)) continue;
    drafts_[i] = {};
    drafts_[i].account = &ledger_.objects[i];
    if (isRobot(*objects_[i]))
      robot(*objects_[i]).openAccount(gravity, drafts_[i]);
    else
      body(*objects_[i]).openAccount(gravity, drafts_[i]);
  }
  clear(ledger_.whole);
  wireEnergyBefore_ = wireEnergy(false);
}

/// As `CompliantLengthConstraint::applyTension` hands them on.
void StepLedger::bookWireForces() {
  const auto pull = [&](const Object& object, const Vec3& point, const Vec3& force) {
    LedgerDraft& draft = drafts_[object.getIndexInWorld()];
    draft.wireForce += force;
    draft.wireMoment += cross(point, force);
  };
  for (const auto& wire : wires_) {
    if (!wire->isActive()) continue;
    pull(*wire->getBody1(), wire->getP1(), wire->getTension1());
    pull(*wire->getBody2(), wire->getP2(), wire->getTension2());
  }
}

/// @param afterStep at the present poses instead of those of the last `update`
double StepLedger::wireEnergy(bool afterStep) const {
  double energy = 0.0;
  for (const auto& wire : wires_) {
    if (wire->getBody1() == nullptr) continue;
    double stretch = wire->getStretch();
    bool acts = wire->isActive();
    if (afterStep) {
      stretch = stretchNow(*wire);
      acts = wouldAct(*wire, stretch);
    }
    if (acts) energy += 0.5 * wire->getStiffness() * stretch * stretch;
  }
  return energy;
}

void StepLedger::bookForces(const Vec3& gravity, double dt) {
  bookWireForces();
  for (size_t i = 0; i < objects_.size(); ++i) {
    if (drafts_[i].account == nullptr) continue;
    if (isRobot(*objects_[i]))
      robot(*objects_[i]).bookForces(gravity, dt, drafts_[i]);
    else
      body(*objects_[i]).bookForces(dt, drafts_[i]);
  }
}

void StepLedger::close(const Vec3& gravity, double dt) {
  for (size_t i = 0; i < objects_.size(); ++i) {
    if (drafts_[i].account == nullptr) continue;
    Object& object = *objects_[i];
    if (isRobot(object))
      robot(object).closeAccount(gravity, drafts_[i]);
    else
      body(object).closeAccount(gravity, dt, drafts_[i]);
    closeBalance(drafts_[i], isRobot(object) && object.getBodyType(0) == BodyType::STATIC);
  }
  sumUp();
}

void StepLedger::closeBalance(const LedgerDraft& draft, bool hasFixedBase) {
  LedgerAccount& account = *draft.account;
  for (const auto cause : {LedgerAccount::GRAVITY, LedgerAccount::ACTUATION, LedgerAccount::DAMPING,
                           LedgerAccount::EXTERNAL})
    account[cause].twist += cross(draft.shift, account[cause].impulse);
  if (hasFixedBase) {
    account[LedgerAccount::BASE] = remainderOf(account, LedgerAccount::BASE);
    account[LedgerAccount::BASE].work = 0.0;
  }
  account[LedgerAccount::INTEGRATION] = remainderOf(account, LedgerAccount::INTEGRATION);
}

/// The energy of compliant wires is in the whole: their work on objects is none on it.
void StepLedger::sumUp() {
  LedgerAccount& whole = ledger_.whole;
  for (const LedgerDraft& draft : drafts_) {
    if (draft.account == nullptr) continue;
    addNumbers(*draft.account, whole);
    whole[LedgerAccount::WIRES].work -= draft.compliantWork;
  }
  whole.before.wires = wireEnergyBefore_;
  whole.after.wires = wireEnergy(true);
  whole[LedgerAccount::INTEGRATION] = remainderOf(whole, LedgerAccount::INTEGRATION);
}

}  // namespace zelvik
