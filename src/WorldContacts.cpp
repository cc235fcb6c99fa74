// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cmath>
#include <utility>
#include <zelvik/World.hpp>
#include <zelvik/object/GeomRecord.hpp>

#include "CylinderOnPlane.hpp"
#include "OdeGuard.hpp"

// From geoms to contact records: broad and narrow phase by ODE, then one `Contact` per moving side
// and one problem per point.

namespace zelvik {

namespace {

constexpr int kMaxPointsPerPair = 500;

/// ODE gives NaN or zero normals and NaN depths at exact coincidences; such a point tells nothing.
bool isUsablePoint(const dContactGeom& g) {
  const double length2 =
      g.normal[0] * g.normal[0] + g.normal[1] * g.normal[1] + g.normal[2] * g.normal[2];
  return length2 > 1e-12 && g.depth == g.depth;
}

/// Whether a height field among the two would make ODE end the process for the size of the other.
bool isOutOfReach(dGeomID o1, dGeomID o2, const std::vector<Object*>& objects) {
  if (dGeomGetClass(o1) == dHeightfieldClass) std::swap(o1, o2);
  if (dGeomGetClass(o2) != dHeightfieldClass) return false;
  const Object& field = *objects[geomRecord(o2).objectIdx];
  return !static_cast<const HeightMap&>(field).isInReach(o1);
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

/// Points of a geom on a height field that asks for exact contacts; -1 where ODE's collider serves.
int collideOnField(dGeomID geom, dGeomID field, const std::vector<Object*>& objects,
                   dContactGeom* points) {
  const HeightMap& map = static_cast<const HeightMap&>(*objects[geomRecord(field).objectIdx]);
  return map.usesExactContacts() ? map.collide(geom, points, kMaxPointsPerPair) : -1;
}

/// Two meshes collide by their trees. A mesh of one triangle has none, and ODE would read at null.
bool haveTrees(dGeomID a, dGeomID b) {
  if (dGeomGetClass(a) != dTriMeshClass || dGeomGetClass(b) != dTriMeshClass) return true;
  return dGeomTriMeshGetTriangleCount(a) > 1 && dGeomTriMeshGetTriangleCount(b) > 1;
}

/// Raw points of a pair, o1 before o2, at most `kMaxPointsPerPair`.
int collidePair(dGeomID o1, dGeomID o2, const std::vector<Object*>& objects, dContactGeom* points) {
  if (!haveTrees(o1, o2)) return 0;
  const auto lock = lockIfMesh(o1, o2);
  const bool fieldFirst = dGeomGetClass(o1) == dHeightfieldClass;
  const dGeomID field = fieldFirst ? o1 : o2, geom = fieldFirst ? o2 : o1;
  const int found =
      dGeomGetClass(field) == dHeightfieldClass ? collideOnField(geom, field, objects, points) : -1;
  if (found < 0) {
    const int count = collideGuarded(o1, o2, kMaxPointsPerPair, points, sizeof(dContactGeom));
    return count == 1 ? completeCylinderOnPlane(o1, o2, points) : count;
  }
  for (dContactGeom* point = points; point != points + found; ++point) {
    point->g1 = o1;
    point->g2 = o2;
    for (int i = 0; i < 3 && fieldFirst; ++i) point->normal[i] = -point->normal[i];
  }
  return found;
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
  dSpaceCollide(worldSpace_, this, nearCallback);
  for (const Object* object : objectList_) {
    if (object->getObjectType() != HEIGHTMAP) continue;
    const HeightMap& map = static_cast<const HeightMap&>(*object);
    if (!map.isTurned()) continue;
    for (int i = 0; i < dSpaceGetNumGeoms(worldSpace_); ++i) {
      const dGeomID geom = dSpaceGetGeom(worldSpace_, i);
      if (map.isMissedByOde(geom)) nearCallback(this, geom, map.getCollisionObject());
    }
  }
  if (collisionError_) std::rethrow_exception(std::exchange(collisionError_, nullptr));
}

void World::testPair(dGeomID o1, dGeomID o2) {
  const std::set<dGeomID>& ignored = geomRecord(o1).ignoredGeoms;
  if (!ignored.empty() && ignored.count(o2) > 0) return;
  if (isOutOfReach(o1, o2, objectList_)) return;

  const size_t used = static_cast<size_t>(numContactGeoms_);
  if (contactGeoms_.size() < used + kMaxPointsPerPair)
    contactGeoms_.resize(3 * contactGeoms_.size());
  const int found = collidePair(o1, o2, objectList_, &contactGeoms_[used]);
  for (int i = 0; i < found; ++i) {
    const dContactGeom& point = contactGeoms_[used + static_cast<size_t>(i)];
    if (isUsablePoint(point)) contactGeoms_[static_cast<size_t>(numContactGeoms_++)] = point;
  }
}

struct World::ContactSides {
  Object& A;
  size_t bodyA;
  bool aIsObjectA;
  Object& B;
  size_t bodyB;
  bool bIsObjectA;
};

void World::appendContact(const ContactSides& s, const Mat<3, 1>& position, const Mat<3, 1>& normal,
                          double depth, const MaterialPairProperties& material) {
  const BodyType typeA = s.A.getBodyType(s.bodyA), typeB = s.B.getBodyType(s.bodyB);
  std::vector<contact::Contact>&contactsA = s.A.getContacts(), &contactsB = s.B.getContacts();
  const int problem = static_cast<int>(contactProblems_.size());
  if (typeA != BodyType::STATIC) {
    // The twin of a contact inside one object comes right behind it.
    const size_t twin = contactsB.size() + (&s.A == &s.B ? 1 : 0);
    contactsA.emplace_back(position, normal, s.aIsObjectA, problem, contactsA.size(),
                           s.B.getIndexInWorld(), typeB, twin, s.bodyA, depth);
  }
  if (typeB != BodyType::STATIC)
    contactsB.emplace_back(position, normal, s.bIsObjectA, problem, contactsB.size(),
                           s.A.getIndexInWorld(), typeA, contactsA.size() - 1, s.bodyB, depth);
  contactProblems_.emplace_back(material, position[0], position[1], position[2], depth);
}

void World::buildContacts() {
  for (int i = 0; i < numContactGeoms_; ++i) {
    const dContactGeom& g = contactGeoms_[static_cast<size_t>(i)];
    const GeomRecord &r1 = geomRecord(g.g1), &r2 = geomRecord(g.g2);
    Object &A = *objectList_[r1.objectIdx], &B = *objectList_[r2.objectIdx];
    const size_t l1 = r1.localBodyIdx, l2 = r2.localBodyIdx;
    if (A.getBodyType(l1) != BodyType::DYNAMIC && B.getBodyType(l2) != BodyType::DYNAMIC) continue;
    if (&A == &B && selfContactExists(A, l1, l2)) continue;

    Vec3 n{{g.normal[0], g.normal[1], g.normal[2]}};
    n *= 1.0 / norm(n);
    const MaterialPairProperties& material =
        materialManager_.getMaterialPairProp(r1.materialName, r2.materialName);
    appendContact({A, l1, true, B, l2, false}, {{g.pos[0], g.pos[1], g.pos[2]}}, n, -g.depth,
                  material);
  }
}

void World::appendWireProblems() {
  for (auto& wire : stiffWire_) {
    if (!wire->isActive()) continue;
    Object &A = *wire->getBody1(), &B = *wire->getBody2();
    const size_t l1 = wire->getLocalIdx1(), l2 = wire->getLocalIdx2();
    if (A.getBodyType(l1) != BodyType::DYNAMIC && B.getBodyType(l2) != BodyType::DYNAMIC) continue;
    // An unresolved gap, whatever the sign of the error: the sign decides which side is A.
    const double stretch = wire->getStretch();
    const bool firstIsA = stretch > 0.0;
    appendContact({A, l1, firstIsA, B, l2, !firstIsA}, wire->getP1(), wire->getNorm(),
                  -std::fabs(stretch), wireMaterial_);
    contactProblems_.back().rank_ = contact::Single3DContactProblem::NORMAL_ONLY;
  }
}

}  // namespace zelvik
