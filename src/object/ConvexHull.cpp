// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <string>
#include <zelvik/object/ConvexHull.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "collision/ConvexPolyhedron.hpp"
#include "collision/GeomCopy.hpp"
#include "collision/MeshGeom.hpp"
#include "collision/OdeGuard.hpp"
#include "object/MeshArrays.hpp"

namespace zelvik {

ConvexHull::ConvexHull(const std::vector<double>& corners,
                       const std::vector<unsigned int>& triangles, double mass)
    : SingleBodyObject(HULL) {
  std::string problem = problemOfTriangles("convex hull", corners, triangles);
  std::shared_ptr<const ConvexPolyhedron> hull;
  if (problem.empty()) hull = makeConvexPolyhedron(corners, triangles, problem);
  if (hull == nullptr) {
    MSG_FATAL("ConvexHull: " << problem);
    return;
  }
  corners_ = corners;
  triangles_ = triangles;
  dropUnusedCorners(corners_, triangles_);
  vertices_.assign(corners_.begin(), corners_.end());
  comOffset_ = comPos_ = hull->centroid;
  setMassProperties(mass, (mass / hull->volume) * hull->inertia);
  collisionObject_ = createMeshGeom(vertices_, triangles_, nullptr, meshData_);
  giveHull(collisionObject_, hull);
  updateCollision();
}

ConvexHull::~ConvexHull() {
  const auto lock = lockMeshes();
  destroyGeoms();
  dGeomTriMeshDataDestroy(meshData_);  // accepts null
}

std::unique_ptr<Object> ConvexHull::copy() const {
  std::unique_ptr<ConvexHull> out(new ConvexHull(*this));
  if (collisionObject_ == nullptr) return out;
  out->collisionObject_ = createMeshGeom(out->vertices_, out->triangles_, nullptr, out->meshData_);
  copyGeomRecord(collisionObject_, out->collisionObject_);
  return out;
}

}  // namespace zelvik
