// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/World.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "solver/ImpulseMemory.hpp"
#include "world/CollisionSpace.hpp"
#include "world/ObjectGeoms.hpp"
#include "world/StepLedger.hpp"

namespace zelvik {

std::unique_ptr<World> World::clone() const {
  if (!canSaveState("clone")) return nullptr;
  auto copy = std::make_unique<World>();
  copy->copyParameters(*this);
  if (!copy->copyObjects(*this)) return nullptr;
  copy->copyWires(*this);
  saveState(hashedState_);
  copy->restoreState(hashedState_);
  return copy;
}

/// All that a state does not hold, but for objects and wires.
void World::copyParameters(const World& other) {
  gravity_ = other.gravity_;
  timeStep_ = other.timeStep_;
  solver_.copyParameters(other.solver_);
  if (other.warmStart_) setWarmStart(true);
  setLedger(other.ledger_ != nullptr);
  if (other.getBroadPhase() != getBroadPhase()) setBroadPhase(other.getBroadPhase());
  materialManager_ = other.materialManager_;
  configFile_ = other.configFile_;
  hasWarnedOfImmovable_ = other.hasWarnedOfImmovable_;
  toldOfTimeStep_ = other.toldOfTimeStep_;
  toldOfForce_ = other.toldOfForce_;
}

/// Returns false after a fatal message.
bool World::copyObjects(const World& other) {
  objectList_.reserve(other.objectList_.size());
  for (const Object* source : other.objectList_) {
    std::unique_ptr<Object> object = source->copy();
    if (object == nullptr) {
      MSG_FATAL("World::clone: object " << source->getIndexInWorld() << ", a "
                                        << objectTypeToString(source->getObjectType())
                                        << ", is of a class that has no copies");
      return false;
    }
    object->shareForceWarning(&toldOfForce_);
    objectList_.push_back(object.get());
    if (isPartOf(other.collision_->space(), *source))
      forEachGeom(*object, [&](dGeomID geom) { dSpaceAdd(collision_->space(), geom); });
    object.release();
  }
  objectChangeCount_ = other.objectChangeCount_;
  return true;
}

void World::copyWires(const World& other) {
  const auto twin = [this](const Object* object) {
    return object == nullptr ? nullptr : objectList_[object->getIndexInWorld()];
  };
  for (const auto& source : other.stiffWire_) {
    stiffWire_.push_back(std::make_unique<StiffLengthConstraint>(*source));
    stiffWire_.back()->rejoin(twin(source->getBody1()), twin(source->getBody2()));
  }
  for (const auto& source : other.compliantWire_) {
    compliantWire_.push_back(std::make_unique<CompliantLengthConstraint>(*source));
    compliantWire_.back()->rejoin(twin(source->getBody1()), twin(source->getBody2()));
  }
}

}  // namespace zelvik
