// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cmath>
#include <utility>
#include <zelvik/World.hpp>
#include <zelvik/object/GeomRecord.hpp>

#include "collision/CylinderOnPlane.hpp"
#include "collision/OdeGuard.hpp"
#include "collision/PairOrder.hpp"
#include "collision/PairSearch.hpp"
#include "solver/ImpulseMemory.hpp"
#include "world/ObjectGeoms.hpp"

// From geoms to contact records: broad and narrow phase by ODE, then one `Contact` per moving side
// and one problem per point.

namespace zelvik {

namespace {

constexpr int kMaxPointsPerPair = 500;
/// Whether our own search of pairs is the faster one.
bool usesPairSearch(dSpaceID space) {
  const int kind = dSpaceGetClass(space);
  return (kind == dSimpleSpaceClass || kind == dSweepAndPruneSpaceClass) &&
         dSpaceGetNumGeoms(space) >= 40;
}

/// ODE gives NaN or zero normals and NaN depths at exact coincidences; such a point tells nothing.
bool isUsablePoint(const dContactGeom& g) {
  const double length2 =
      g.normal[0] * g.normal[0] + g.normal[1] * g.normal[1] + g.normal[2] * g.normal[2];
  return length2 > 1e-12 && g.depth == g.depth;
}

/// Whether two bodies of one object already have a contact in this step: the walk looks at all
/// neighbours in the list, not only at those that were appended together.
bool selfContactExists(const Object& object, size_t l1, size_t l2) {
  const std::vector<contact::Contact>& contacts = object.getContacts();
  for (size_t j = 0; j + 1 < contacts.size(); ++j) {
    if (contacts[j].pairObjectIndex_ != object.getIndexInWorld()) continue;
    const size_t b1 = contacts[j].localBodyIndex_, b2 = contacts[j + 1].localBodyIndex_;
    if ((b1 == l1 && b2 == l2) || (b1 == l2 && b2 == l1)) return true;
  }
  return false;
}

/// ODE's number for the shape of a geom.
using GeomClass = int;

/// Whether a class needs more than ODE's collider as it stands.
bool needsCare(GeomClass c) {
  return c == dHeightfieldClass || c == dTriMeshClass;
}

/// Two meshes collide by their trees. A mesh of one triangle has none, and ODE would read at null.
bool haveTrees(dGeomID a, dGeomID b) {
  return dGeomTriMeshGetTriangleCount(a) > 1 && dGeomTriMeshGetTriangleCount(b) > 1;
}

/// Points of a geom on a height field that asks for exact contacts; -1 where ODE's collider serves.
/// A geom whose size would make ODE end the process has none.
int collideOnField(dGeomID geom, const HeightMap& map, dContactGeom* points) {
  if (!map.isInReach(geom)) return 0;
  return map.usesExactContacts() ? map.collide(geom, points, kMaxPointsPerPair) : -1;
}

/// Points of our own collider are those of a geom on a field; the pair may be the other way round.
void orderPoints(dGeomID o1, dGeomID o2, bool fieldFirst, dContactGeom* points, int count) {
  for (dContactGeom* point = points; point != points + count; ++point) {
    point->g1 = o1;
    point->g2 = o2;
    for (int i = 0; i < 3 && fieldFirst; ++i) point->normal[i] = -point->normal[i];
  }
}

int collideByOde(dGeomID o1, dGeomID o2, dContactGeom* points) {
  return collideGuarded(o1, o2, kMaxPointsPerPair, points, sizeof(dContactGeom));
}

/// Raw points of a pair with a mesh or height field.
int collideWithCare(dGeomID o1, dGeomID o2, GeomClass c1, GeomClass c2,
                    const std::vector<Object*>& objects, dContactGeom* points) {
  if (c1 == dTriMeshClass && c2 == dTriMeshClass && !haveTrees(o1, o2)) return 0;
  const bool fieldFirst = c1 == dHeightfieldClass;
  if (!fieldFirst && c2 != dHeightfieldClass) {
    const auto lock = lockMeshes();
    return collideByOde(o1, o2, points);
  }
  const auto lock = lockIfMesh(o1, o2);
  const dGeomID field = fieldFirst ? o1 : o2, geom = fieldFirst ? o2 : o1;
  const Object& map = *objects[geomRecord(field).objectIdx];
  const int found = collideOnField(geom, static_cast<const HeightMap&>(map), points);
  if (found < 0) return collideByOde(o1, o2, points);
  orderPoints(o1, o2, fieldFirst, points, found);
  return found;
}

/// Raw points of a pair, o1 before o2, at most `kMaxPointsPerPair`.
int collidePair(dGeomID o1, dGeomID o2, const std::vector<Object*>& objects, dContactGeom* points) {
  const GeomClass c1 = dGeomGetClass(o1), c2 = dGeomGetClass(o2);
  if (needsCare(c1) || needsCare(c2)) return collideWithCare(o1, o2, c1, c2, objects, points);
  const int count = collideByOde(o1, o2, points);
  return count == 1 && (c1 == dCylinderClass || c2 == dCylinderClass)
             ? completeCylinderOnPlane(o1, o2, points)
             : count;
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

void World::detectCollisions() {
  numContactGeoms_ = 0;
  if (usesPairSearch(worldSpace_))
    for (const PairSearch::Pair& pair : pairSearch_->findPairs(worldSpace_))
      testPair(pair.first, pair.second);
  else
    dSpaceCollide(worldSpace_, this, nearCallback);
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

struct World::ContactSides {
  Object& A;
  size_t bodyA;
  bool aIsObjectA;
  Object& B;
  size_t bodyB;
  bool bIsObjectA;
  BodyType typeA = A.getBodyType(bodyA), typeB = B.getBodyType(bodyB);

  bool canMove() const { return typeA == BodyType::DYNAMIC || typeB == BodyType::DYNAMIC; }
};

void World::appendContact(const ContactSides& s, const Mat<3, 3>& frame, const Mat<3, 1>& position,
                          const Mat<3, 1>& normal, double depth,
                          const MaterialPairProperties& material) {
  std::vector<contact::Contact>&contactsA = s.A.getContacts(), &contactsB = s.B.getContacts();
  const int problem = static_cast<int>(contactProblems_.size());
  const size_t a = contactsA.size(), worldA = s.A.getIndexInWorld(), worldB = s.B.getIndexInWorld();
  // The twin of a contact inside one object comes right behind it.
  const size_t b = contactsB.size() + (&s.A == &s.B && s.typeA != BodyType::STATIC ? 1 : 0);
  if (s.typeA != BodyType::STATIC)
    contactsA.emplace_back(frame, position, normal, s.aIsObjectA, problem, a, worldB, s.typeB, b,
                           s.bodyA, depth);
  const size_t twin = s.typeA != BodyType::STATIC ? a : a - 1;
  if (s.typeB != BodyType::STATIC)
    contactsB.emplace_back(frame, position, normal, s.bIsObjectA, problem, b, worldA, s.typeA, twin,
                           s.bodyB, depth);
  contactProblems_.emplace_back(material, position[0], position[1], position[2], depth);
}

void World::buildContacts() {
  listTouchingPairs();
  // A simple space keeps the order of ODE: which bodies are far away then makes no difference to
  // those that touch.
  if (usesPairSearch(worldSpace_) && dSpaceGetClass(worldSpace_) == dSweepAndPruneSpaceClass)
    pairOrder_->arrange(objectList_.size());
  for (const TouchingPair& pair : pairOrder_->pairs()) buildContactsOfPair(pair.first, pair.end);
}

/// The points of a pair come one behind the other.
void World::listTouchingPairs() {
  const auto mover = [this](dGeomID geom) {
    const GeomRecord& record = geomRecord(geom);
    const Object& object = *objectList_[record.objectIdx];
    return object.getBodyType(record.localBodyIdx) == BodyType::DYNAMIC
               ? static_cast<std::uint32_t>(record.objectIdx)
               : TouchingPair::kNobody;
  };
  const auto count = static_cast<std::uint32_t>(numContactGeoms_);
  pairOrder_->clear();
  for (std::uint32_t i = 0, end; i < count; i = end) {
    const dGeomID g1 = contactGeoms_[i].g1, g2 = contactGeoms_[i].g2;
    for (end = i + 1; end < count; ++end)
      if (contactGeoms_[end].g1 != g1 || contactGeoms_[end].g2 != g2) break;
    const TouchingPair pair = {i, end, mover(g1), mover(g2)};
    if (pair.a != TouchingPair::kNobody || pair.b != TouchingPair::kNobody)
      pairOrder_->append(pair);
  }
}

/// From raw points of one pair, from `first` to before `end`.
void World::buildContactsOfPair(size_t first, size_t end) {
  const GeomRecord& r1 = geomRecord(contactGeoms_[first].g1);
  const GeomRecord& r2 = geomRecord(contactGeoms_[first].g2);
  const ContactSides sides = {*objectList_[r1.objectIdx], r1.localBodyIdx, true,
                              *objectList_[r2.objectIdx], r2.localBodyIdx, false};
  const MaterialPairProperties& material =
      materialManager_.getMaterialPairProp(r1.materialName, r2.materialName);
  const ContactGroup group = startGroup(sides, false);
  Vec3 rawNormal{}, normal{};
  Mat33 frame{};
  for (size_t i = first; i < end; ++i) {
    const dContactGeom& g = contactGeoms_[i];
    if (&sides.A == &sides.B && selfContactExists(sides.A, sides.bodyA, sides.bodyB)) break;
    // Most points of a pair share their normal.
    const Vec3 n{{g.normal[0], g.normal[1], g.normal[2]}};
    if (n[0] != rawNormal[0] || n[1] != rawNormal[1] || n[2] != rawNormal[2]) {
      rawNormal = n;
      normal = (1.0 / norm(n)) * n;
      frame = contact::Contact::frameOf(normal);
    }
    appendContact(sides, frame, {{g.pos[0], g.pos[1], g.pos[2]}}, normal, -g.depth, material);
  }
  if (warmStart_) impulseMemory_->appendGroup(group, contactProblems_.size());
}

/// The contacts that are appended next, of a pair or a wire; only a warm start asks for them.
ContactGroup World::startGroup(const ContactSides& s, bool isWire) const {
  if (!warmStart_) return {};
  const Object& holder = s.typeA != BodyType::STATIC ? s.A : s.B;
  const std::uint64_t a = ContactGroup::sideOf(s.A.getIndexInWorld(), s.bodyA);
  const std::uint64_t b = ContactGroup::sideOf(s.B.getIndexInWorld(), s.bodyB);
  return {s.aIsObjectA ? a : b,
          s.aIsObjectA ? b : a,
          static_cast<std::uint32_t>(contactProblems_.size()),
          0,
          static_cast<std::uint32_t>(holder.getIndexInWorld()),
          static_cast<std::uint32_t>(holder.getContacts().size()),
          isWire};
}

void World::appendWireProblems() {
  for (auto& wire : stiffWire_) {
    if (!wire->isActive()) continue;
    // An unresolved gap, whatever the sign of the error: the sign decides which side is A.
    const double stretch = wire->getStretch();
    const bool firstIsA = stretch > 0.0;
    const ContactSides sides = {*wire->getBody1(), wire->getLocalIdx1(), firstIsA,
                                *wire->getBody2(), wire->getLocalIdx2(), !firstIsA};
    if (!sides.canMove()) continue;
    const ContactGroup group = startGroup(sides, true);
    appendContact(sides, contact::Contact::frameOf(wire->getNorm()), wire->getP1(), wire->getNorm(),
                  -std::fabs(stretch), wireMaterial_);
    contactProblems_.back().rank_ = contact::Single3DContactProblem::NORMAL_ONLY;
    if (warmStart_) impulseMemory_->appendGroup(group, contactProblems_.size());
  }
}

}  // namespace zelvik
