// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cmath>
#include <zelvik/World.hpp>

#include "world/ContactHistory.hpp"
#include "world/StepLedger.hpp"
#include "world/StepWatch.hpp"

// What a world tells of its steps to those who ask: books, contacts, what went wrong.

namespace zelvik {

void World::setLedger(bool on) {
  if (on != (ledger_ != nullptr))
    ledger_ = on ? std::make_unique<StepLedger>(objectList_, compliantWire_) : nullptr;
}

const Ledger& World::getLedger() const {
  static const Ledger none;
  return ledger_ != nullptr ? ledger_->ledger() : none;
}

void World::setWatch(const WatchLimits& limits) {
  if (std::isfinite(limits.energyGain)) setLedger(true);
  watch_ = std::make_unique<StepWatch>(limits);
}

void World::clearWatch() {
  watch_.reset();
}

const WatchReport* World::getWatchReport() const {
  return watch_ != nullptr ? watch_->report() : nullptr;
}

const ContactReport& World::getContactReport() const {
  if (contactReport_ == nullptr) contactReport_ = std::make_unique<ContactReport>();
  if (!isContactReportOld_ || betweenHalves_) return *contactReport_;
  contactReport_->write(objectList_, solvedTimeStep_);
  isContactReportOld_ = false;
  return *contactReport_;
}

void World::setContactHistory(bool on) {
  contactHistory_ = on ? std::make_unique<ContactHistory>() : nullptr;
}

void World::startContactHistory() {
  if (contactHistory_ != nullptr) contactHistory_->startInterval();
}

const BodyContactHistory& World::getContactHistory(const Object& object, size_t body) const {
  static const BodyContactHistory none;
  const BodyContactHistory* found =
      contactHistory_ != nullptr ? contactHistory_->find(object.getIndexInWorld(), body) : nullptr;
  return found != nullptr ? *found : none;
}

}  // namespace zelvik
