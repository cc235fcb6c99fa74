// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cmath>
#include <zelvik/World.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "solver/ImpulseMemory.hpp"
#include "world/CollisionSpace.hpp"
#include "world/ContactHistory.hpp"
#include "world/StepContacts.hpp"
#include "world/StepLedger.hpp"
#include "world/StepWatch.hpp"

namespace zelvik {

World::World() {
  init();
}

void World::init() {
  gravity_ = {{0.0, 0.0, -9.81}};
  solver_.setTimeStep(timeStep_);
  collision_ = std::make_unique<CollisionSpace>(objectList_);
  contacts_ = std::make_unique<StepContacts>(objectList_);
}

World::~World() {
  for (Object* object : objectList_) {
    object->destroyCollisionBodies(collision_->space());
    delete object;
  }
}

void World::setTimeStep(double dt) {
  if (!(dt > 0.0 && std::isfinite(dt)) && !toldOfTimeStep_) {
    toldOfTimeStep_ = true;
    MSG_WARN("World::setTimeStep: " << dt << " s is no time step. Told once");
  }
  timeStep_ = dt;
  solver_.setTimeStep(dt);
}

void World::setERP(double erp, double erp2) {
  if (erp < 0.0) MSG_WARN("ERP should be positive");
  solver_.setERP(erp, erp2);
}

void World::setContactSolverParam(double relaxation, double reserved1, double reserved2,
                                  int maxIterations, double threshold) {
  solver_.setParameters(relaxation, reserved1, reserved2, maxIterations, threshold);
}

void World::setDefaultMaterial(double friction, double restitution, double restitutionThreshold) {
  materialManager_.setDefaultMaterialProperties(friction, restitution, restitutionThreshold);
}

void World::setMaterialPairProp(const std::string& a, const std::string& b, double friction,
                                double restitution, double restitutionThreshold) {
  materialManager_.setMaterialPairProp(a, b, friction, restitution, restitutionThreshold);
}

void World::updateMaterialProp(const MaterialManager& manager) {
  if (&manager != &materialManager_) materialManager_ = manager;
}

void World::setContactSurfaceLayer(double depth) {
  if (!(depth >= 0.0 && std::isfinite(depth))) {
    MSG_FATAL("World::setContactSurfaceLayer: the depth must be finite and at least 0, but is "
              << depth);
    return;
  }
  solver_.setSurfaceLayer(depth);
}

void World::setBroadPhase(BroadPhase kind) {
  collision_->setBroadPhase(kind);
}

World::BroadPhase World::getBroadPhase() const {
  return collision_->broadPhase();
}

const RayHitList& World::rayTest(const Mat<3, 1>& start, const Mat<3, 1>& direction, double length,
                                 bool, unsigned long mask) {
  return collision_->castRay(start, direction, length, mask);
}

const contact::ContactProblemList& World::getContactProblems() const {
  return contacts_->problems();
}

void World::contactProblemUpdate(Object* object) {
  if (object == nullptr) {
    MSG_FATAL("World::contactProblemUpdate: Got a nullptr for the object");
    return;
  }
  contacts_->assemble(*object);
  contacts_->couple(*object);
}

void World::resetHistory() {
  setBroadPhase(getBroadPhase());
  contacts_->clear();
  for (Object* object : objectList_) object->forgetContacts();
  solver_.resetHistory();
  if (impulseMemory_ != nullptr) impulseMemory_->clear();
  solvedTimeStep_ = 0.0;
  betweenHalves_ = false;
  worldTime_ = 0.0;
  stepCount_ = 0;
  isContactReportOld_ = true;
}

void World::setWarmStart(bool on) {
  warmStart_ = on;
  if (on && impulseMemory_ == nullptr) impulseMemory_ = std::make_unique<ImpulseMemory>();
  if (impulseMemory_ != nullptr) impulseMemory_->clear();
}

Object* World::getObject(const std::string& name) {
  for (Object* object : objectList_)
    if (object->getName() == name) return object;
  return nullptr;
}

namespace {

/// Whether a wire has two ends; a missing one is fatal.
bool checkWireEnds(const char* operation, const Object* body1, const Object* body2) {
  if (body1 != nullptr && body2 != nullptr) return true;
  MSG_FATAL("World::" << operation << ": Got a nullptr for body " << (body1 == nullptr ? 1 : 2)
                      << " of the wire");
  return false;
}

}  // namespace

StiffLengthConstraint* World::addStiffWire(Object* body1, unsigned long localIdx1, Mat<3, 1> pos1,
                                           Object* body2, unsigned long localIdx2, Mat<3, 1> pos2,
                                           double length) {
  if (!checkWireEnds("addStiffWire", body1, body2)) return nullptr;
  ++objectChangeCount_;
  stiffWire_.push_back(std::make_unique<StiffLengthConstraint>(body1, localIdx1, pos1, body2,
                                                               localIdx2, pos2, length));
  return stiffWire_.back().get();
}

CompliantLengthConstraint* World::addCompliantWire(Object* body1, int localIdx1, Mat<3, 1> pos1,
                                                   Object* body2, int localIdx2, Mat<3, 1> pos2,
                                                   double length, double stiffness) {
  if (!checkWireEnds("addCompliantWire", body1, body2)) return nullptr;
  ++objectChangeCount_;
  compliantWire_.push_back(std::make_unique<CompliantLengthConstraint>(
      body1, localIdx1, pos1, body2, localIdx2, pos2, length, stiffness));
  return compliantWire_.back().get();
}

LengthConstraint* World::getWire(const std::string& name) {
  if (LengthConstraint* wire = getConstraint(name)) return wire;
  for (const auto& wire : compliantWire_)
    if (wire->getName() == name) return wire.get();
  return nullptr;
}

LengthConstraint* World::getConstraint(const std::string& name) {
  for (const auto& wire : stiffWire_)
    if (wire->getName() == name) return wire.get();
  return nullptr;
}

}  // namespace zelvik
