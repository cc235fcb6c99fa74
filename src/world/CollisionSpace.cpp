// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "world/CollisionSpace.hpp"

#include <new>
#include <utility>
#include <zelvik/object/GeomRecord.hpp>

#include "collision/OdeGuard.hpp"
#include "object/NarrowPhase.hpp"
#include "world/ObjectGeoms.hpp"

// From geoms to raw points: pairs by our own search or by a space of ODE, points by the narrow
// phase.

namespace zelvik {

namespace {

/// Raw points for which a new world has room; the list grows with the step that has more.
constexpr size_t kInitialPoints = 1000;
/// Hits that one ray can report; further ones are dropped.
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

CollisionSpace::CollisionSpace(const std::vector<Object*>& objects) : objects_(objects) {
  acquireOde();
  space_ = createSpace(broadPhase_);
  rayGeom_ = dCreateRay(nullptr, 1.0);  // in no space: it never takes part in `dSpaceCollide`
  attachGeomRecord(rayGeom_);
  points_.resize(kInitialPoints);
  rayHits_.hits.resize(kMaxRayHits);
}

CollisionSpace::~CollisionSpace() {
  destroyGeom(rayGeom_);
  dSpaceDestroy(space_);
  releaseOde();
}

void CollisionSpace::setBroadPhase(World::BroadPhase kind) {
  broadPhase_ = kind;
  renewSpace();
}

/// Puts all geoms, in object order, into a new space, which has no past.
void CollisionSpace::renewSpace() {
  const dSpaceID old = space_;
  // A space looks for moved geoms at its front only, but takes new ones in wherever they stand.
  dSpaceClean(old);
  space_ = createSpace(broadPhase_);
  for (const Object* object : objects_)
    forEachGeom(*object, [&](dGeomID geom) {
      dSpaceRemove(old, geom);
      dSpaceAdd(space_, geom);
    });
  dSpaceDestroy(old);
}

/// ODE's callback for a pair whose boxes meet. No exception may cross ODE: its space would stay
/// locked. It is kept, and the rest of the pass is skipped.
void CollisionSpace::nearCallback(void* space, dGeomID o1, dGeomID o2) {
  CollisionSpace& self = *static_cast<CollisionSpace*>(space);
  if (self.error_) return;
  try {
    self.testPair(o1, o2);
  } catch (...) {
    self.error_ = std::current_exception();
  }
}

void CollisionSpace::rethrow() {
  if (error_) std::rethrow_exception(std::exchange(error_, nullptr));
}

/// Whether the geoms of static objects stand in a hash space as they were put into it: the last one
/// first.
bool CollisionSpace::areStaticGeomsInOrder() const {
  const int count = dSpaceGetNumGeoms(space_);
  const GeomRecord* last = nullptr;
  for (int i = 0; i < count; ++i) {
    const GeomRecord& record = geomRecord(dSpaceGetGeom(space_, i));
    if (objects_[record.objectIdx]->getBodyType() != BodyType::STATIC) continue;
    if (last != nullptr &&
        (record.objectIdx > last->objectIdx ||
         (record.objectIdx == last->objectIdx && record.shapeIdx > last->shapeIdx)))
      return false;
    last = &record;
  }
  return true;
}

/// A geom that moves comes to the front of its space, but not if it has moved before since the last
/// look at the space. So all that setters moved since the last step is settled first, and the
/// moving objects then stand in their own order; static ones that setters or removals have put out
/// of theirs are put back. A quadtree keeps an order of its own.
void CollisionSpace::settleGeoms() {
  if (searchesPairs()) return;
  if (broadPhase_ == World::BroadPhase::HASH && !areStaticGeomsInOrder()) renewSpace();
  dSpaceClean(space_);
}

/// Whether pairs are found by `PairSearch`, not by the space.
bool CollisionSpace::searchesPairs() const {
  return broadPhase_ == World::BroadPhase::AUTO || broadPhase_ == World::BroadPhase::SIMPLE ||
         broadPhase_ == World::BroadPhase::SWEEP_AND_PRUNE;
}

/// A hash space allocates while it is locked, and an exception there would leave it locked. So more
/// memory than it needs is allocated and freed before: if there is too little, the exception comes
/// here, where nothing is locked.
void CollisionSpace::collideSpace() {
  if (broadPhase_ == World::BroadPhase::HASH) {
    constexpr size_t bytesPerGeom = 2048;
    const auto count = static_cast<size_t>(dSpaceGetNumGeoms(space_));
    void* const volatile probe = ::operator new(count* bytesPerGeom);
    ::operator delete(probe);
  }
  dSpaceCollide(space_, this, nearCallback);
}

/// Tests the pairs that our own search finds.
void CollisionSpace::collideFoundPairs() {
  listGeoms();
  const bool areMany = search_.geomCount() >= PairSearch::kManyGeoms;
  const bool sorted = broadPhase_ == World::BroadPhase::SWEEP_AND_PRUNE ||
                      (broadPhase_ == World::BroadPhase::AUTO && areMany);
  for (const PairSearch::GeomPair& pair : search_.findPairs(sorted))
    testPair(pair.first, pair.second);
}

/// Geoms of all objects, from the last object and shape to the first, static objects after all
/// others: an order that the objects alone decide, whatever has been moved when. It is the one of a
/// simple space in which static objects stay where they were put.
void CollisionSpace::listGeoms() {
  search_.clear();
  for (const bool isStatic : {false, true})
    for (size_t i = objects_.size(); i-- > 0;) {
      const Object& object = *objects_[i];
      if ((object.getBodyType() == BodyType::STATIC) != isStatic || !isPartOf(space_, object))
        continue;
      // Of what is not static as a whole only the root may not be moved by forces.
      const bool isRootDynamic = object.getBodyType(0) == BodyType::DYNAMIC;
      forEachGeomFromLast(object, [&](dGeomID geom, size_t body) {
        search_.append(geom, body > 0 || isRootDynamic);
      });
    }
}

void CollisionSpace::detect() {
  pointCount_ = 0;
  if (searchesPairs())
    collideFoundPairs();
  else
    collideSpace();
  testMissedPairs();
  rethrow();
}

/// Tests pairs with turned height fields, whose boxes ODE computes too small.
void CollisionSpace::testMissedPairs() {
  for (const Object* object : objects_) {
    if (object->getObjectType() != HEIGHTMAP) continue;
    const HeightMap& map = static_cast<const HeightMap&>(*object);
    if (!map.isTurned()) continue;
    for (const Object* other : objects_)
      forEachGeom(*other, [&](dGeomID geom) {
        if (map.isMissedByOde(geom)) nearCallback(this, geom, map.getCollisionObject());
      });
  }
}

void CollisionSpace::testPair(dGeomID o1, dGeomID o2) {
  const std::set<dGeomID>& ignored = geomRecord(o1).ignoredGeoms;
  if (!ignored.empty() && ignored.count(o2) > 0) return;

  const size_t used = pointCount_;
  if (points_.size() < used + kMaxPointsPerPair) points_.resize(3 * points_.size());
  const int found = collidePair(o1, o2, objects_, &points_[used]);
  for (int i = 0; i < found; ++i) {
    const size_t from = used + static_cast<size_t>(i), to = pointCount_;
    if (!isUsablePoint(points_[from])) continue;
    if (from != to) points_[to] = points_[from];
    ++pointCount_;
  }
}

}  // namespace zelvik
