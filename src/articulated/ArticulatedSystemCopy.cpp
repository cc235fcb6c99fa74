// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <utility>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/object/GeomRecord.hpp>

#include "articulated/TreePasses.hpp"
#include "collision/GeomCopy.hpp"
#include "collision/MeshGeom.hpp"

namespace zelvik {

/// No file is read: all members are values, but for the passes, the geoms and the data of meshes.
std::unique_ptr<Object> ArticulatedSystem::copy() const {
  formCompositeBodies();
  std::unique_ptr<ArticulatedSystem> out(new ArticulatedSystem(*this));
  out->compositeBodiesFormed_ = true;
  out->jointLimitProblems_.clear();
  out->factor_.movePattern(out->tree_.pattern);
  out->callerFactor_.movePattern(out->tree_.pattern);
  out->passes_ = std::make_unique<TreePasses>(out->tree_, out->kinematics_);
  out->copyGeoms(*this);
  return out;
}

void ArticulatedSystem::copyGeoms(const ArticulatedSystem& other) {
  meshData_.clear();
  for (CollisionDefinition& shape : collisionBodies_) shape.colObj = nullptr;
  try {
    copyMeshes(other);
    for (size_t i = 0; i < collisionBodies_.size(); ++i) {
      const dGeomID source = other.collisionBodies_[i].colObj;
      if (source == nullptr) continue;
      dGeomID& geom = collisionBodies_[i].colObj;
      if (geom == nullptr) {
        geom = copyOfGeom(source);
        attachGeomRecord(geom);
      }
      copyGeomRecord(source, geom);
    }
  } catch (...) {
    destroyCollisionBodies(nullptr);  // which the destructor does not
    throw;
  }
  // From the geoms that the other one ignores to their copies.
  std::vector<std::pair<dGeomID, dGeomID>> copies;
  for (size_t i = 0; i < collisionBodies_.size(); ++i)
    copies.emplace_back(other.collisionBodies_[i].colObj, collisionBodies_[i].colObj);
  std::sort(copies.begin(), copies.end());
  for (const auto& [source, geom] : copies) {
    if (source == nullptr) continue;
    for (const dGeomID ignored : geomRecord(source).ignoredGeoms) {
      const auto found =
          std::lower_bound(copies.begin(), copies.end(), std::make_pair(ignored, dGeomID{nullptr}));
      if (found != copies.end() && found->first == ignored)
        geomRecord(geom).ignoredGeoms.insert(found->second);
    }
  }
}

/// Geoms of triangle meshes over the copied vertices.
void ArticulatedSystem::copyMeshes(const ArticulatedSystem& other) {
  for (size_t i = 0; i < collisionBodies_.size(); ++i) {
    const dGeomID source = other.collisionBodies_[i].colObj;
    if (source == nullptr || dGeomGetClass(source) != dTriMeshClass) continue;
    size_t k = 0;
    while (other.meshVertices_[k].data() != geomRecord(source).vertices) ++k;
    collisionBodies_[i].colObj =
        createMeshGeom(meshVertices_[k], meshIndices_[k], nullptr, meshData_.emplace_back());
  }
}

}  // namespace zelvik
