// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cmath>
#include <zelvik/World.hpp>
#include <zelvik/object/GeomRecord.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "collision/OdeGuard.hpp"
#include "collision/PairOrder.hpp"
#include "collision/PairSearch.hpp"
#include "solver/ImpulseMemory.hpp"
#include "world/ObjectGeoms.hpp"

namespace zelvik {

namespace {

constexpr size_t kInitialContactGeoms = 1000;
constexpr size_t kMaxRayHits = 200;

dSpaceID createSpace(World::BroadPhase kind) {
  switch (kind) {
    case World::BroadPhase::AUTO:  // keeps the geoms for rays only
    case World::BroadPhase::SIMPLE:
      return dSimpleSpaceCreate(nullptr);
    case World::BroadPhase::SWEEP_AND_PRUNE:
      return dSweepAndPruneSpaceCreate(nullptr, dSAP_AXES_XYZ);
    case World::BroadPhase::QUADTREE: {
      // Cells of 4 m over 128 m x 128 m about the origin; what is larger or further away stands at
      // the root, where all meet all.
      const dVector3 center = {0.0, 0.0, 0.0}, halfExtents = {64.0, 64.0, 64.0};
      return dQuadTreeSpaceCreate(nullptr, center, halfExtents, 5);
    }
    default:
      return dHashSpaceCreate(nullptr);
  }
}

}  // namespace

World::World() {
  init();
}

void World::init() {
  gravity_ = {{0.0, 0.0, -9.81}};
  solver_.setTimeStep(timeStep_);
  acquireOde();
  worldSpace_ = createSpace(broadPhase_);
  rayGeom_ = dCreateRay(nullptr, 1.0);  // in no space: it never takes part in `dSpaceCollide`
  attachGeomRecord(rayGeom_);
  contactGeoms_.resize(kInitialContactGeoms);
  pairSearch_ = std::make_unique<PairSearch>();
  pairOrder_ = std::make_unique<PairOrder>();
  rayHits_.hits.resize(kMaxRayHits);
  wireMaterial_.friction = 0.8;
  wireMaterial_.restitution = 0.0;
  wireMaterial_.restitutionThreshold = 0.0;
}

World::~World() {
  for (Object* object : objectList_) {
    object->destroyCollisionBodies(worldSpace_);
    delete object;
  }
  destroyGeom(rayGeom_);
  dSpaceDestroy(worldSpace_);
  releaseOde();
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
  broadPhase_ = kind;
  renewSpace();
  spaceHasMoved_ = true;
}

/// Puts all geoms, in object order, into a new space, which has no past.
void World::renewSpace() {
  const dSpaceID old = worldSpace_;
  // A space looks for geoms that have moved at its front only, but takes them in as they come.
  dSpaceClean(old);
  worldSpace_ = createSpace(broadPhase_);
  for (const Object* object : objectList_)
    forEachGeom(*object, [&](dGeomID geom) {
      dSpaceRemove(old, geom);
      dSpaceAdd(worldSpace_, geom);
    });
  dSpaceDestroy(old);
}

void World::resetHistory() {
  setBroadPhase(broadPhase_);
  clearContactProblems();
  for (Object* object : objectList_) object->forgetContacts();
  solver_.resetHistory();
  if (impulseMemory_ != nullptr) impulseMemory_->clear();
  solvedTimeStep_ = 0.0;
  worldTime_ = 0.0;
  stepCount_ = 0;
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
