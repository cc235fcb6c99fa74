// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "object/NarrowPhase.hpp"

#include <zelvik/object/GeomRecord.hpp>
#include <zelvik/object/HeightMap.hpp>

#include "collision/ContactPoints.hpp"
#include "collision/ConvexShape.hpp"
#include "collision/OdeGuard.hpp"

namespace zelvik {

namespace {

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

/// Whether points are found on the hull itself; on meshes and height fields it is a mesh.
bool isHullOnConvex(dGeomID o1, dGeomID o2, GeomClass c1, GeomClass c2) {
  const bool isHull1 = hullOf(o1) != nullptr, isHull2 = hullOf(o2) != nullptr;
  return (isHull1 && (isHull2 || !needsCare(c2))) || (isHull2 && !needsCare(c1));
}

/// Raw points of a pair with a mesh, hull or height field.
int collideWithCare(dGeomID o1, dGeomID o2, GeomClass c1, GeomClass c2,
                    const std::vector<Object*>& objects, dContactGeom* points) {
  if (isHullOnConvex(o1, o2, c1, c2))
    return c1 == dPlaneClass || c2 == dPlaneClass ? findPointsOnPlane(o1, o2, points)
                                                  : findContactPoints(o1, o2, points);
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

/// Whether a geom is of the kind that ODE's spaces pass over.
bool hasNoSize(dGeomID geom, GeomClass c) {
  double a = 1.0, b = 1.0;
  dVector3 sides;
  switch (c) {
    case dSphereClass:
      return dGeomSphereGetRadius(geom) == 0.0;
    case dBoxClass:
      dGeomBoxGetLengths(geom, sides);
      return sides[0] == 0.0 || sides[1] == 0.0 || sides[2] == 0.0;
    case dCapsuleClass:
      dGeomCapsuleGetParams(geom, &a, &b);
      return a == 0.0;
    case dCylinderClass:
      dGeomCylinderGetParams(geom, &a, &b);
      return a == 0.0 || b == 0.0;
    default:
      return false;
  }
}

}  // namespace

int collidePair(dGeomID o1, dGeomID o2, const std::vector<Object*>& objects, dContactGeom* points) {
  const GeomClass c1 = dGeomGetClass(o1), c2 = dGeomGetClass(o2);
  if (hasNoSize(o1, c1) || hasNoSize(o2, c2)) return 0;
  if (needsCare(c1) || needsCare(c2)) return collideWithCare(o1, o2, c1, c2, objects, points);
  if (hasOwnContactPoints(c1, c2)) return findContactPoints(o1, o2, points);
  const int count = collideByOde(o1, o2, points);
  return (count == 1 || count == 2) && (c1 == dCylinderClass || c2 == dCylinderClass)
             ? completeCylinderOnPlane(o1, o2, points, count)
             : count;
}

}  // namespace zelvik
