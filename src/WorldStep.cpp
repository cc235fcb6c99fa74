// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/World.hpp>

// One step, as a sequence of sweeps over the objects in list order.

namespace zelvik {

void World::integrate() {
  integrate1();
  integrate2();
}

void World::integrate1() {
  clearContactProblems();
  for (Object* object : objectList_) object->clearPerObjectContact();
  for (Object* object : objectList_)
    if (object->getBodyType() == BodyType::DYNAMIC) object->updateTimeStepIfNecessary(timeStep_);
  for (Object* object : objectList_)
    if (object->getBodyType() != BodyType::STATIC) object->updateCollision();

  detectCollisions();
  contactProblems_.reserve(static_cast<size_t>(numContactGeoms_) + stiffWire_.size());
  buildContacts();
  updateWires();
  appendWireProblems();

  for (Object* object : objectList_)
    if (object->getBodyType() != BodyType::STATIC)
      object->preContactSolverUpdate1(gravity_, timeStep_);
  for (Object* object : objectList_) object->appendJointLimits(contactProblems_);
}

void World::integrate2() {
  ++stepCount_;
  worldTime_ += timeStep_;

  for (Object* object : objectList_)
    if (object->getBodyType() != BodyType::STATIC)
      object->preContactSolverUpdate2(gravity_, timeStep_);
  for (Object* object : objectList_)
    if (object->getBodyType() == BodyType::DYNAMIC) contactProblemUpdate(object);

  if (!contactProblems_.empty()) {
    for (contact::Single3DContactProblem& problem : contactProblems_) problem.imp_.setZero();
    solver_.solve(contactProblems_);
  }

  for (Object* object : objectList_)
    if (object->getBodyType() != BodyType::STATIC) object->integrate(timeStep_, gravity_);
}

void World::updateWires() {
  for (auto& wire : stiffWire_) wire->update();
  for (auto& wire : compliantWire_) wire->update();
  for (auto& wire : compliantWire_) wire->applyTension();
}

}  // namespace zelvik
