// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cmath>
#include <zelvik/object/Mesh.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "collision/GeomCopy.hpp"
#include "collision/OdeGuard.hpp"

namespace zelvik {

namespace {

/// Three floats of a vertex, three 32-bit indices of a triangle (bytes).
constexpr int kStride = 12;
/// Concave-edge flags for capsules (1) and face angles (2).
constexpr int kPreprocessFlags = 3;
/// ODE ends the process for a small geom 2.68e8 m or more from the origin; bodies stay within 1e8 m
/// on each axis (m).
constexpr float kLargestCoordinate = 9e7f;

}  // namespace

Mesh::Mesh(const std::string& fileName, dSpaceID space, double mass, const Mat<3, 3>& inertia,
           const Mat<3, 1>& com, double scale)
    : SingleBodyObject(MESH), meshFileName_(fileName), scale_(scale) {
  if (!loadObj(fileName, meshVertices_, meshIndices_, scale)) return;
  _init(space, mass, inertia, com);
}

Mesh::Mesh(const std::vector<float>& vertices, const std::vector<unsigned int>& indices,
           dSpaceID space, double mass, const Mat<3, 3>& inertia, const Mat<3, 1>& com,
           double scale)
    : SingleBodyObject(MESH), meshIndices_(indices), meshVertices_(vertices), scale_(scale) {
  for (float& value : meshVertices_) value = static_cast<float>(value * scale);
  _init(space, mass, inertia, com);
}

Mesh::~Mesh() {
  const auto lock = lockMeshes();
  destroyGeoms();
  dGeomTriMeshDataDestroy(meshData_);  // accepts null
}

bool Mesh::hasUsableTriangles() const {
  const size_t vertexCount = meshVertices_.size() / 3;
  if (meshIndices_.empty() || meshIndices_.size() % 3 != 0 || meshVertices_.size() % 3 != 0) {
    MSG_FATAL("A mesh needs three values per vertex and three indices per triangle, but there are "
              << meshVertices_.size() << " values and " << meshIndices_.size() << " indices");
    return false;
  }
  for (size_t i = 0; i < meshIndices_.size(); ++i)
    if (meshIndices_[i] >= vertexCount) {
      MSG_FATAL("The index " << meshIndices_[i] << " at position " << i
                             << " of a mesh is out of range, there are " << vertexCount
                             << " vertices");
      return false;
    }
  for (size_t i = 0; i < meshVertices_.size(); ++i)
    if (!(std::fabs(meshVertices_[i]) < kLargestCoordinate)) {
      MSG_FATAL("The coordinate at position " << i << " of a mesh is " << meshVertices_[i]
                                              << ", which is not within " << kLargestCoordinate
                                              << " m");
      return false;
    }
  return true;
}

void Mesh::_init(dSpaceID space, double mass, const Mat<3, 3>& inertia, const Mat<3, 1>& com) {
  if (!hasUsableTriangles()) return;
  comOffset_ = com;
  comPos_ = com;
  setMassProperties(mass, inertia);
  gyroscopicMode_ = EXPLICIT_GYROSCOPIC;

  dropUnusedVertices(meshVertices_, meshIndices_);
  createGeom(space);
  updateCollision();
}

void Mesh::createGeom(dSpaceID space) {
  const auto lock = lockMeshes();
  meshData_ = dGeomTriMeshDataCreate();
  dGeomTriMeshDataBuildSingle(meshData_, meshVertices_.data(), kStride,
                              static_cast<int>(meshVertices_.size() / 3), meshIndices_.data(),
                              static_cast<int>(meshIndices_.size()), kStride);
  dGeomTriMeshDataPreprocess2(meshData_, kPreprocessFlags, nullptr);
  adoptGeom(dCreateTriMesh(space, meshData_, nullptr, nullptr, nullptr));
  noteVertices(collisionObject_, meshVertices_);
}

std::unique_ptr<Object> Mesh::copy() const {
  std::unique_ptr<Mesh> out(new Mesh(*this));
  if (collisionObject_ == nullptr) return out;
  out->createGeom(nullptr);
  copyGeomRecord(collisionObject_, out->collisionObject_);
  return out;
}

}  // namespace zelvik
