// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cmath>
#include <zelvik/object/GeomRecord.hpp>

#include "collision/OdeGuard.hpp"
#include "world/CollisionSpace.hpp"

// Rays: by ODE, and by our own walk over the grid of a height field.

namespace zelvik {

namespace {

constexpr size_t kMaxHitsPerField = 200;
/// Start and geoms are within 1e8 m of the origin on each axis: no ray need be longer (m).
constexpr double kLongestRay = 4e8;

RayHit fieldHit(const HeightMapRayHit& hit, dGeomID ray, dGeomID field, Object* object) {
  RayHit out;
  for (int i = 0; i < 3; ++i) {
    out.geom.pos[i] = hit.positionW[i];
    out.geom.normal[i] = hit.normalW[i];
  }
  out.geom.depth = hit.distance;
  out.geom.g1 = ray;
  out.geom.g2 = field;
  out.geom.side1 = out.geom.side2 = -1;
  out.position = hit.positionW;
  out.object = object;
  return out;
}

/// Distance from a point to the farthest corner of the geom's box (m).
double farthestCornerFrom(const Vec3& point, dGeomID geom) {
  dReal box[6];
  dGeomGetAABB(geom, box);
  Vec3 reach;
  for (size_t i = 0; i < 3; ++i)
    reach[i] = std::max(std::fabs(box[2 * i] - point[i]), std::fabs(box[2 * i + 1] - point[i]));
  return norm(reach);
}

/// Shortens a ray for the lifetime of this object, also if an exception ends it.
class ShorterRay {
 public:
  ShorterRay(dGeomID ray, double length, double usualLength) : ray_(ray), usual_(usualLength) {
    dGeomRaySetLength(ray_, length);
  }
  ~ShorterRay() {
    dGeomRaySetLength(ray_, usual_);
    dReal box[6];
    // Computes the ray's box anew, which the present pass of ODE goes on reading.
    dGeomGetAABB(ray_, box);
  }
  ShorterRay(const ShorterRay&) = delete;
  ShorterRay& operator=(const ShorterRay&) = delete;

 private:
  dGeomID ray_;
  double usual_;  ///< (m)
};

}  // namespace

/// ODE's callback for a geom whose box meets the ray's, see `nearCallback`.
void CollisionSpace::rayCallback(void* space, dGeomID o1, dGeomID o2) {
  CollisionSpace& self = *static_cast<CollisionSpace*>(space);
  const dGeomID geom = o1 == self.rayGeom_ ? o2 : o1;
  if (geom == self.rayGeom_ || self.error_) return;
  try {
    self.testRay(geom);
  } catch (...) {
    self.error_ = std::current_exception();
  }
}

void CollisionSpace::testRay(dGeomID geom) {
  const size_t room = rayHits_.hits.size() - rayHits_.count;
  if (room == 0) return;
  Object* object = objects_[geomRecord(geom).objectIdx];
  if (dGeomGetClass(geom) == dHeightfieldClass) {
    // ODE's own rays cost the square of the cells that they cross.
    HeightMapRayHit hits[kMaxHitsPerField];
    const size_t found = static_cast<HeightMap*>(object)->rayHits(
        ray_.start, ray_.direction, ray_.length, hits, std::min(room, kMaxHitsPerField));
    for (size_t i = 0; i < found; ++i)
      rayHits_.hits[rayHits_.count++] = fieldHit(hits[i], rayGeom_, geom, object);
    return;
  }
  const auto lock = lockIfMesh(rayGeom_, geom);
  RayHit* out = &rayHits_.hits[rayHits_.count];
  const int found =
      dGeomGetClass(geom) == dTriMeshClass
          ? collideRayWithMesh(geom, static_cast<int>(room), &out->geom)
          : collideGuarded(rayGeom_, geom, static_cast<int>(room), &out->geom, sizeof(RayHit));
  for (int i = 0; i < found; ++i) {
    out[i].position = {{out[i].geom.pos[0], out[i].geom.pos[1], out[i].geom.pos[2]}};
    out[i].object = object;
  }
  rayHits_.count += static_cast<size_t>(found);
}

/// ODE halves a ray in single precision before it meets a mesh: one of 1e7 m misses a mesh of 0.3 m
/// in a quarter of the cases. So the ray ends beyond the mesh for the time of the test.
int CollisionSpace::collideRayWithMesh(dGeomID mesh, int capacity, dContactGeom* points) {
  const double enough = 1.001 * farthestCornerFrom(ray_.start, mesh);
  if (!(enough < ray_.length))
    return collideGuarded(rayGeom_, mesh, capacity, points, static_cast<int>(sizeof(RayHit)));
  const ShorterRay shorter(rayGeom_, enough, ray_.length);
  return collideGuarded(rayGeom_, mesh, capacity, points, static_cast<int>(sizeof(RayHit)));
}

const RayHitList& CollisionSpace::castRay(const Vec3& start, const Vec3& direction, double length,
                                          unsigned long mask) {
  rayHits_.count = 0;
  const double speed = norm(direction);
  const bool usable = speed > 0.0 && std::isfinite(speed) && length >= 0.0 && norm(start) < 1e8;
  if (!usable) return rayHits_;
  ray_.start = start;
  ray_.direction = (1.0 / speed) * direction;
  ray_.length = std::min(length, kLongestRay);
  dGeomSetCategoryBits(rayGeom_, World::kDefaultGroup);
  dGeomSetCollideBits(rayGeom_, mask);
  dGeomRaySetLength(rayGeom_, ray_.length);
  dGeomRaySet(rayGeom_, start[0], start[1], start[2], ray_.direction[0], ray_.direction[1],
              ray_.direction[2]);
  dSpaceCollide2(rayGeom_, reinterpret_cast<dGeomID>(space_), this, rayCallback);
  rethrow();
  for (const Object* object : objects_) {
    if (object->getObjectType() != HEIGHTMAP) continue;
    const HeightMap& map = static_cast<const HeightMap&>(*object);
    if (map.isTurned() && map.isMissedByOde(rayGeom_)) testRay(map.getCollisionObject());
  }
  return rayHits_;
}

}  // namespace zelvik
