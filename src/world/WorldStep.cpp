// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/World.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "core/StageTimer.hpp"
#include "solver/ImpulseMemory.hpp"
#include "world/CollisionSpace.hpp"
#include "world/ContactHistory.hpp"
#include "world/StepContacts.hpp"
#include "world/StepLedger.hpp"
#include "world/StepWatch.hpp"

// One step, as a sequence of loops over the objects in list order.

namespace zelvik {

void World::integrate() {
  integrate1();
  integrate2();
}

void World::integrate1() {
  ZELVIK_STAGES_BEGIN();
  if (warmStart_) storeImpulses();
  contacts_->clear();
  collision_->settleGeoms();
  for (Object* object : objectList_) object->clearPerObjectContact();
  for (Object* object : objectList_)
    if (object->getBodyType() == BodyType::DYNAMIC) object->updateTimeStepIfNecessary(timeStep_);
  for (Object* object : objectList_)
    if (object->getBodyType() != BodyType::STATIC) object->updateCollision();
  ZELVIK_STAGE_DONE("clear, poses of geoms");

  collision_->detect();
  ZELVIK_STAGE_DONE("collision detection");
  contacts_->reserve(collision_->points().size() + stiffWire_.size());
  contacts_->build(collision_->points(), collision_->isSorted(), materialManager_);
  updateWires();
  contacts_->appendWires(stiffWire_);
  ZELVIK_STAGE_DONE("contact records, wires");

  for (Object* object : objectList_)
    if (object->getBodyType() != BodyType::STATIC)
      object->preContactSolverUpdate1(gravity_, timeStep_);
  ZELVIK_STAGE_DONE("first update: mass matrix, nonlinear terms, factorisation, Jacobians");
  for (Object* object : objectList_) object->appendJointLimits(contacts_->list());
  betweenHalves_ = true;
  ZELVIK_STAGE_DONE("joint limits");
}

/// Stores the impulses of the last solve; a second call does nothing.
void World::storeImpulses() {
  if (solvedTimeStep_ > 0.0)
    impulseMemory_->store(contacts_->pairs(), objectList_, solvedTimeStep_, objectChangeCount_);
  solvedTimeStep_ = 0.0;
  impulseMemory_->startStep();
}

void World::integrate2() {
  ZELVIK_STAGES_BEGIN();
  betweenHalves_ = false;
  ++stepCount_;
  worldTime_ += timeStep_;
  solvedTimeStep_ = timeStep_;
  isContactReportOld_ = true;
  if (ledger_ != nullptr) ledger_->open(gravity_);
  if (watch_ != nullptr) watch_->open(objectList_);

  for (Object* object : objectList_)
    if (object->getBodyType() != BodyType::STATIC)
      object->preContactSolverUpdate2(gravity_, timeStep_);
  ZELVIK_STAGE_DONE("second update: free velocity, responses, own blocks");
  for (Object* object : objectList_)
    if (object->getBodyType() == BodyType::DYNAMIC) contacts_->assemble(*object);
  ZELVIK_STAGE_DONE("assembly of problems");

  contacts_->finishAssembly();
  contact::ContactProblemList& problems = contacts_->list();
  if (!problems.empty()) {
    for (contact::Single3DContactProblem& problem : problems) problem.imp_.setZero();
    if (warmStart_)
      impulseMemory_->recall(contacts_->pairs(), objectList_, timeStep_, objectChangeCount_);
    solver_.solve(problems, objectList_, contacts_->pairs());
    if (solver_.getImmovable().body != nullptr) warnOfImmovable();
  }
  ZELVIK_STAGE_DONE("solve");
  if (ledger_ != nullptr) ledger_->bookForces(gravity_, timeStep_);

  for (Object* object : objectList_)
    if (object->getBodyType() != BodyType::STATIC) object->integrate(timeStep_, gravity_);
  ZELVIK_STAGE_DONE("integration, kinematics");
  if (ledger_ != nullptr) ledger_->close(gravity_, timeStep_);
  if (contactHistory_ != nullptr)
    contactHistory_->append(objectList_, objectChangeCount_, timeStep_);
  if (watch_ != nullptr) watch_->close(*this, !problems.empty());
}

/// A second call does nothing.
void World::warnOfImmovable() {
  if (hasWarnedOfImmovable_) return;
  hasWarnedOfImmovable_ = true;
  const auto& [body, massLimit] = solver_.getImmovable();
  MSG_WARN("object " << body->getIndexInWorld() << " ('" << body->getName() << "') has a mass of "
                     << body->getMass(0) << " kg: above " << massLimit
                     << " kg its contact counts as one that nothing moves and is skipped. Use "
                        "setBodyType(BodyType::STATIC) for what shall stay where it is.");
}

void World::updateWires() {
  for (auto& wire : stiffWire_) wire->update();
  for (auto& wire : compliantWire_) wire->update();
  for (auto& wire : compliantWire_) wire->applyTension();
}

}  // namespace zelvik
