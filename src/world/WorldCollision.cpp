// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <new>
#include <utility>
#include <zelvik/World.hpp>
#include <zelvik/object/GeomRecord.hpp>

#include "collision/PairSearch.hpp"
#include "object/NarrowPhase.hpp"
#include "world/ObjectGeoms.hpp"

// From geoms to raw points: pairs by our own search or by a space of ODE, points by the narrow
// phase.

namespace zelvik {

namespace {

/// Geoms from which on our own search of the pairs of an ODE space is the faster one.
constexpr int kOwnSearchGeoms = 40;
/// Geoms from which on the automatic broad phase sorts them, see docs/performance.md.
constexpr size_t kManyGeoms = 40;

/// Whether the geoms of an object take part: not those of one that was put into the list by hand.
bool isPartOf(dSpaceID space, const Object& object) {
  if (object.getObjectType() == ARTICULATED_SYSTEM) {
    const auto& shapes = static_cast<const ArticulatedSystem&>(object).getCollisionBodies();
    return !shapes.empty() && shapes[0].colObj != nullptr &&
           dGeomGetSpace(shapes[0].colObj) == space;
  }
  const auto& body = static_cast<const SingleBodyObject&>(object);
  return body.getGeomCount() > 0 && dGeomGetSpace(body.getGeom(0)) == space;
}

}  // namespace

/// ODE's callback for a pair whose boxes meet. Nothing may fly through ODE, which would stay locked
/// for ever: an exception is kept and the rest of the pass is skipped.
void nearCallback(void* data, dGeomID o1, dGeomID o2) {
  World& world = *static_cast<World*>(data);
  if (world.collisionError_) return;
  try {
    world.testPair(o1, o2);
  } catch (...) {
    world.collisionError_ = std::current_exception();
  }
}

/// A geom that moves comes to the front of its space, but not if it has moved before since the last
/// look at the space. So all that setters moved since the last step is settled first, and the
/// moving objects then stand in their own order. Before the first step in a space setters may have
/// moved static ones, too: these stand as if they had been there before they were added.
void World::settleGeoms() {
  if (broadPhase_ == BroadPhase::AUTO) return;
  if (spaceHasMoved_) renewSpace();
  spaceHasMoved_ = false;
  dSpaceClean(worldSpace_);
}

/// Whether pairs are found by `PairSearch`, not by the space.
bool World::searchesPairs() const {
  if (broadPhase_ == BroadPhase::AUTO) return true;
  const bool canBe =
      broadPhase_ == BroadPhase::SIMPLE || broadPhase_ == BroadPhase::SWEEP_AND_PRUNE;
  return canBe && dSpaceGetNumGeoms(worldSpace_) >= kOwnSearchGeoms;
}

/// A hash space allocates while it is locked, and an exception in there would leave it so. What it
/// asks for is less than what is tried before, so that memory rather ends here.
void World::collideSpace() {
  if (broadPhase_ == BroadPhase::HASH) {
    constexpr size_t bytesPerGeom = 2048;
    const auto count = static_cast<size_t>(dSpaceGetNumGeoms(worldSpace_));
    void* const volatile probe = ::operator new(count* bytesPerGeom);
    ::operator delete(probe);
  }
  dSpaceCollide(worldSpace_, this, nearCallback);
}

/// Tests the pairs that our own search finds.
void World::collideFoundPairs() {
  const bool isOfSpace = broadPhase_ != BroadPhase::AUTO;
  if (!isOfSpace) listGeoms();
  const auto& pairs = isOfSpace ? pairSearch_->findPairs(worldSpace_)
                                : pairSearch_->findPairs(pairSearch_->geomCount() >= kManyGeoms);
  for (const PairSearch::Pair& pair : pairs) testPair(pair.first, pair.second);
}

/// Geoms of all objects, from the last object and shape to the first, static objects behind all
/// others: an order that the objects alone decide, whatever has been moved when. It is the one of a
/// simple space in which static objects stay where they were put.
void World::listGeoms() {
  pairSearch_->clear();
  for (const bool isStatic : {false, true})
    for (size_t i = objectList_.size(); i-- > 0;) {
      const Object& object = *objectList_[i];
      if ((object.getBodyType() == BodyType::STATIC) != isStatic || !isPartOf(worldSpace_, object))
        continue;
      // Of what is not static as a whole only the root may not be moved by forces.
      const bool isRootDynamic = object.getBodyType(0) == BodyType::DYNAMIC;
      forEachGeomFromLast(object, [&](dGeomID geom, size_t body) {
        pairSearch_->append(geom, body > 0 || isRootDynamic);
      });
    }
}

void World::detectCollisions() {
  numContactGeoms_ = 0;
  if (searchesPairs())
    collideFoundPairs();
  else
    collideSpace();
  for (const Object* object : objectList_) {
    if (object->getObjectType() != HEIGHTMAP) continue;
    const HeightMap& map = static_cast<const HeightMap&>(*object);
    if (!map.isTurned()) continue;
    for (const Object* other : objectList_)
      forEachGeom(*other, [&](dGeomID geom) {
        if (map.isMissedByOde(geom)) nearCallback(this, geom, map.getCollisionObject());
      });
  }
  if (collisionError_) std::rethrow_exception(std::exchange(collisionError_, nullptr));
}

void World::testPair(dGeomID o1, dGeomID o2) {
  const std::set<dGeomID>& ignored = geomRecord(o1).ignoredGeoms;
  if (!ignored.empty() && ignored.count(o2) > 0) return;

  const size_t used = static_cast<size_t>(numContactGeoms_);
  if (contactGeoms_.size() < used + kMaxPointsPerPair)
    contactGeoms_.resize(3 * contactGeoms_.size());
  const int found = collidePair(o1, o2, objectList_, &contactGeoms_[used]);
  for (int i = 0; i < found; ++i) {
    const size_t from = used + static_cast<size_t>(i), to = static_cast<size_t>(numContactGeoms_);
    if (!isUsablePoint(contactGeoms_[from])) continue;
    if (from != to) contactGeoms_[to] = contactGeoms_[from];
    ++numContactGeoms_;
  }
}

}  // namespace zelvik
