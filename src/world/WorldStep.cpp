// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/World.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "core/StageTimer.hpp"
#include "solver/ImpulseMemory.hpp"

// One step, as a sequence of sweeps over the objects in list order.

namespace zelvik {

namespace {

/// A wire that can move nothing, since both ends are on one body or an end has lost its contacts
/// between the halves, would take an infinite impulse.
void takeOutIfNothingMoves(contact::Single3DContactProblem& p) {
  using contact::Single3DContactProblem;
  if (p.rank_ == Single3DContactProblem::NORMAL_ONLY && p.delassus_(2, 2) == 0.0)
    p.rank_ = Single3DContactProblem::NOTHING_MOVES;
}

}  // namespace

void World::integrate() {
  integrate1();
  integrate2();
}

void World::integrate1() {
  ZELVIK_STAGES_BEGIN();
  if (warmStart_) storeImpulses();
  clearContactProblems();
  settleGeoms();
  for (Object* object : objectList_) object->clearPerObjectContact();
  for (Object* object : objectList_)
    if (object->getBodyType() == BodyType::DYNAMIC) object->updateTimeStepIfNecessary(timeStep_);
  for (Object* object : objectList_)
    if (object->getBodyType() != BodyType::STATIC) object->updateCollision();
  ZELVIK_STAGE_DONE("clear, poses of geoms");

  detectCollisions();
  ZELVIK_STAGE_DONE("collision detection");
  contactProblems_.reserve(static_cast<size_t>(numContactGeoms_) + stiffWire_.size());
  buildContacts();
  updateWires();
  wireProblems_[0] = contactProblems_.size();
  appendWireProblems();
  wireProblems_[1] = contactProblems_.size();
  ZELVIK_STAGE_DONE("contact records, wires");

  for (Object* object : objectList_)
    if (object->getBodyType() != BodyType::STATIC)
      object->preContactSolverUpdate1(gravity_, timeStep_);
  ZELVIK_STAGE_DONE("first update: mass matrix, nonlinear terms, factorisation, Jacobians");
  for (Object* object : objectList_) object->appendJointLimits(contactProblems_);
  ZELVIK_STAGE_DONE("joint limits");
}

/// Of the last solve, once.
void World::storeImpulses() {
  if (solvedTimeStep_ > 0.0)
    impulseMemory_->store(objectList_, solvedTimeStep_, objectChangeCount_);
  solvedTimeStep_ = 0.0;
  impulseMemory_->clearGroups();
}

void World::integrate2() {
  ZELVIK_STAGES_BEGIN();
  ++stepCount_;
  worldTime_ += timeStep_;
  solvedTimeStep_ = timeStep_;

  for (Object* object : objectList_)
    if (object->getBodyType() != BodyType::STATIC)
      object->preContactSolverUpdate2(gravity_, timeStep_);
  ZELVIK_STAGE_DONE("second update: free velocity, responses, own blocks");
  for (Object* object : objectList_)
    if (object->getBodyType() == BodyType::DYNAMIC) contactProblemUpdate(object);
  ZELVIK_STAGE_DONE("assembly of problems");

  if (!contactProblems_.empty()) {
    for (contact::Single3DContactProblem& problem : contactProblems_) problem.imp_.setZero();
    for (size_t i = wireProblems_[0]; i < wireProblems_[1]; ++i)
      takeOutIfNothingMoves(contactProblems_[i]);
    if (warmStart_) impulseMemory_->recall(objectList_, timeStep_, objectChangeCount_);
    solver_.solve(contactProblems_, objectList_);
    if (solver_.getImmovable().body != nullptr) warnOfImmovable();
  }
  ZELVIK_STAGE_DONE("solve");

  for (Object* object : objectList_)
    if (object->getBodyType() != BodyType::STATIC) object->integrate(timeStep_, gravity_);
  ZELVIK_STAGE_DONE("integration, kinematics");
}

/// Once.
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
