// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cmath>
#include <utility>
#include <zelvik/World.hpp>
#include <zelvik/object/GeomRecord.hpp>

#include "collision/OdeGuard.hpp"

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

/// A ray that is shorter for its own life, also if memory runs out meanwhile.
class ShorterRay {
 public:
  ShorterRay(dGeomID ray, double length, double usualLength) : ray_(ray), usual_(usualLength) {
    dGeomRaySetLength(ray_, length);
  }
  ~ShorterRay() {
    dGeomRaySetLength(ray_, usual_);
    dReal box[6];
    dGeomGetAABB(ray_, box);  // computes it anew: the pass under way goes on with it
  }
  ShorterRay(const ShorterRay&) = delete;
  ShorterRay& operator=(const ShorterRay&) = delete;

 private:
  dGeomID ray_;
  double usual_;  ///< (m)
};

}  // namespace

/// ODE's callback for a geom whose box meets the ray's. As in `nearCallback` nothing may fly
/// through ODE.
void rayCallback(void* data, dGeomID o1, dGeomID o2) {
  World& world = *static_cast<World*>(data);
  const dGeomID geom = o1 == world.rayGeom_ ? o2 : o1;
  if (geom == world.rayGeom_ || world.collisionError_) return;
  try {
    world.testRay(geom);
  } catch (...) {
    world.collisionError_ = std::current_exception();
  }
}

void World::testRay(dGeomID geom) {
  const size_t room = rayHits_.hits.size() - rayHits_.count;
  if (room == 0) return;
  Object* object = objectList_[geomRecord(geom).objectIdx];
  if (dGeomGetClass(geom) == dHeightfieldClass) {
    // ODE's own rays cost the square of the cells that they cross.
    HeightMapRayHit hits[kMaxHitsPerField];
    const size_t found = static_cast<HeightMap*>(object)->rayHits(
        rayStart_, rayDirection_, rayLength_, hits, std::min(room, kMaxHitsPerField));
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
/// in a quarter of the cases. So the ray ends behind the mesh for the time of the test.
int World::collideRayWithMesh(dGeomID mesh, int capacity, dContactGeom* points) {
  const double enough = 1.001 * farthestCornerFrom(rayStart_, mesh);
  if (!(enough < rayLength_))
    return collideGuarded(rayGeom_, mesh, capacity, points, static_cast<int>(sizeof(RayHit)));
  const ShorterRay shorter(rayGeom_, enough, rayLength_);
  return collideGuarded(rayGeom_, mesh, capacity, points, static_cast<int>(sizeof(RayHit)));
}

const RayHitList& World::rayTest(const Mat<3, 1>& start, const Mat<3, 1>& direction, double length,
                                 bool, unsigned long mask) {
  rayHits_.count = 0;
  const double speed = norm(direction);
  const bool usable = speed > 0.0 && std::isfinite(speed) && length >= 0.0 && norm(start) < 1e8;
  if (!usable) return rayHits_;
  rayStart_ = start;
  rayDirection_ = (1.0 / speed) * direction;
  rayLength_ = std::min(length, kLongestRay);
  dGeomSetCategoryBits(rayGeom_, kDefaultGroup);
  dGeomSetCollideBits(rayGeom_, mask);
  dGeomRaySetLength(rayGeom_, rayLength_);
  dGeomRaySet(rayGeom_, start[0], start[1], start[2], rayDirection_[0], rayDirection_[1],
              rayDirection_[2]);
  dSpaceCollide2(rayGeom_, reinterpret_cast<dGeomID>(worldSpace_), this, rayCallback);
  if (collisionError_) std::rethrow_exception(std::exchange(collisionError_, nullptr));
  for (const Object* object : objectList_) {
    if (object->getObjectType() != HEIGHTMAP) continue;
    const HeightMap& map = static_cast<const HeightMap&>(*object);
    if (map.isTurned() && map.isMissedByOde(rayGeom_)) testRay(map.getCollisionObject());
  }
  return rayHits_;
}

}  // namespace zelvik
