// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/World.hpp>
#include <zelvik/object/GeomRecord.hpp>

namespace zelvik {

namespace {

constexpr size_t kMaxHitsPerField = 200;

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

}  // namespace

/// ODE's callback for a geom whose box meets the ray's. Nothing here throws.
void rayCallback(void* data, dGeomID o1, dGeomID o2) {
  World& world = *static_cast<World*>(data);
  const dGeomID geom = o1 == world.rayGeom_ ? o2 : o1;
  if (geom != world.rayGeom_) world.testRay(geom);
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
  RayHit* out = &rayHits_.hits[rayHits_.count];
  const int found = dCollide(rayGeom_, geom, static_cast<int>(room), &out->geom, sizeof(RayHit));
  for (int i = 0; i < found; ++i) {
    out[i].position = {{out[i].geom.pos[0], out[i].geom.pos[1], out[i].geom.pos[2]}};
    out[i].object = object;
  }
  rayHits_.count += static_cast<size_t>(found);
}

const RayHitList& World::rayTest(const Mat<3, 1>& start, const Mat<3, 1>& direction, double length,
                                 bool, unsigned long mask) {
  rayHits_.count = 0;
  const double speed = norm(direction);
  const bool usable = speed > 0.0 && std::isfinite(speed) && std::isfinite(length) &&
                      norm(start) < 1e8 && std::fabs(length) < 1e8;
  if (!usable) return rayHits_;
  rayStart_ = start;
  rayDirection_ = (1.0 / speed) * direction;
  rayLength_ = length;
  dGeomSetCategoryBits(rayGeom_, kDefaultGroup);
  dGeomSetCollideBits(rayGeom_, mask);
  dGeomRaySetLength(rayGeom_, length);
  dGeomRaySet(rayGeom_, start[0], start[1], start[2], rayDirection_[0], rayDirection_[1],
              rayDirection_[2]);
  dSpaceCollide2(rayGeom_, reinterpret_cast<dGeomID>(worldSpace_), this, rayCallback);
  for (const Object* object : objectList_) {
    if (object->getObjectType() != HEIGHTMAP) continue;
    const HeightMap& map = static_cast<const HeightMap&>(*object);
    if (map.isTurned() && map.isMissedByOde(rayGeom_)) testRay(map.getCollisionObject());
  }
  return rayHits_;
}

}  // namespace zelvik
