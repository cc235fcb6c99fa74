// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/object/Mesh.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "collision/GeomCopy.hpp"
#include "collision/MeshGeom.hpp"
#include "collision/OdeGuard.hpp"
#include "object/MeshArrays.hpp"

namespace zelvik {

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

void Mesh::_init(dSpaceID space, double mass, const Mat<3, 3>& inertia, const Mat<3, 1>& com) {
  const std::string problem = problemOfTriangles("mesh", meshVertices_, meshIndices_);
  if (!problem.empty()) {
    MSG_FATAL(problem);
    return;
  }
  comOffset_ = com;
  comPos_ = com;
  setMassProperties(mass, inertia);
  gyroscopicMode_ = EXPLICIT_GYROSCOPIC;

  dropUnusedVertices(meshVertices_, meshIndices_);
  createGeom(space);
  updateCollision();
}

void Mesh::createGeom(dSpaceID space) {
  collisionObject_ = createMeshGeom(meshVertices_, meshIndices_, space, meshData_);
}

std::unique_ptr<Object> Mesh::copy() const {
  std::unique_ptr<Mesh> out(new Mesh(*this));
  if (collisionObject_ == nullptr) return out;
  out->createGeom(nullptr);
  copyGeomRecord(collisionObject_, out->collisionObject_);
  return out;
}

}  // namespace zelvik
