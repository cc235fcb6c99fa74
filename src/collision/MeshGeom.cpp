// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "collision/MeshGeom.hpp"

#include <utility>
#include <zelvik/object/GeomRecord.hpp>

#include "collision/OdeGuard.hpp"

namespace zelvik {

namespace {

/// Three floats of a vertex, three 32-bit indices of a triangle (bytes).
constexpr int kStride = 12;
/// Concave-edge flags for capsules (1) and face angles (2).
constexpr int kPreprocessFlags = 3;

}  // namespace

dGeomID createMeshGeom(const std::vector<float>& vertices, const std::vector<unsigned int>& indices,
                       dSpaceID space, dTriMeshDataID& data) {
  const auto lock = lockMeshes();
  data = dGeomTriMeshDataCreate();
  dGeomTriMeshDataBuildSingle(data, vertices.data(), kStride, static_cast<int>(vertices.size() / 3),
                              indices.data(), static_cast<int>(indices.size()), kStride);
  dGeomTriMeshDataPreprocess2(data, kPreprocessFlags, nullptr);
  const dGeomID geom = dCreateTriMesh(space, data, nullptr, nullptr, nullptr);
  attachGeomRecord(geom);
  noteVertices(geom, vertices);
  return geom;
}

void giveHull(dGeomID geom, std::shared_ptr<const ConvexPolyhedron> hull) {
  auto shape = std::make_shared<MeshShape>();
  shape->hull = std::move(hull);
  geomRecord(geom).meshShape = std::move(shape);
}

}  // namespace zelvik
