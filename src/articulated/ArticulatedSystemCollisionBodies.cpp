// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cmath>
#include <memory>
#include <utility>
#include <zelvik/object/ArticulatedSystem/JointAndBodies.hpp>
#include <zelvik/object/GeomRecord.hpp>
#include <zelvik/object/Mesh.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "collision/ConvexPolyhedron.hpp"
#include "collision/MeshGeom.hpp"
#include "model/TreeWalk.hpp"

namespace zelvik {

namespace {

/// Where the arrays of the meshes of one system live. ODE keeps pointers into the inner
/// vectors, whose blocks do not move when the outer ones grow.
struct MeshStore {
  std::vector<dTriMeshDataID>& data;
  std::vector<std::vector<float>>& vertices;
  std::vector<std::vector<unsigned int>>& indices;
  const std::string& directory;
};

const char* shapeName(Shape::Type shape) {
  switch (shape) {
    case Shape::BOX:
      return "box";
    case Shape::CYLINDER:
      return "cylinder";
    case Shape::SPHERE:
      return "sphere";
    case Shape::CAPSULE:
      return "capsule";
    default:
      return "mesh";
  }
}

size_t sizeCount(Shape::Type shape) {
  return shape == Shape::BOX ? 3 : shape == Shape::SPHERE ? 1 : 2;
}

/// ODE ends the process for sizes that are negative or no number.
bool hasUsableSize(const CollisionBody& body) {
  const size_t count = sizeCount(body.shape);
  if (body.size.size() < count) {
    MSG_FATAL("collision body '" << body.collisionBodyName << "': a " << shapeName(body.shape)
                                 << " takes " << count << " sizes, " << body.size.size()
                                 << " given");
    return false;
  }
  for (size_t i = 0; i < count; ++i) {
    if (isUsableShapeSize(body.size[i])) continue;
    MSG_FATAL("collision body '" << body.collisionBodyName << "': " << body.size[i]
                                 << " is no size of a " << shapeName(body.shape));
    return false;
  }
  return true;
}

/// ODE ends the process for geoms 2.68e8 m or more from the origin; bodies stay within 1e8 m (m).
constexpr float kLargestCoordinate = 9e7f;

/// Multiplies x, y, z triples by `scale`. False after a message: a triple is not whole, or a
/// product is too large or no number.
bool scaleVertices(const CollisionBody& body, std::vector<float>& vertices) {
  if (vertices.size() % 3 != 0) {
    MSG_FATAL("The number of verticies of the mesh " << body.meshFileName
                                                     << " is not divisible by 3");
    return false;
  }
  for (size_t i = 0; i < vertices.size(); ++i) {
    vertices[i] = static_cast<float>(vertices[i] * body.scale[i % 3]);
    if (std::fabs(vertices[i]) < kLargestCoordinate) continue;
    MSG_FATAL("collision body '" << body.collisionBodyName << "': scale " << body.scale[i % 3]
                                 << " is no scale of the mesh " << body.meshFileName);
    return false;
  }
  return true;
}

/// Null after a fatal message. A scale that mirrors turns the triangles inside out and is put
/// right.
std::shared_ptr<const ConvexPolyhedron> hullOf(const CollisionBody& body,
                                               const std::vector<float>& vertices,
                                               std::vector<unsigned int>& indices) {
  if (body.scale[0] * body.scale[1] * body.scale[2] < 0.0)
    for (size_t t = 0; t + 2 < indices.size(); t += 3) std::swap(indices[t + 1], indices[t + 2]);
  std::string problem;
  auto hull = makeConvexPolyhedron({vertices.begin(), vertices.end()}, indices, problem);
  if (hull == nullptr)
    MSG_FATAL("collision body '" << body.collisionBodyName << "': the mesh " << body.meshFileName
                                 << " is no convex hull: " << problem);
  return hull;
}

/// Null after a fatal message; what the store has gained then is empty but valid.
dGeomID createMesh(const CollisionBody& body, MeshStore& store) {
  const std::string& name = body.meshFileName;
  if (name.substr(name.rfind('.') + 1) != "obj") {
    MSG_FATAL("Mesh collision bodies must be in an obj format");
    return nullptr;
  }
  std::vector<float>& vertices = store.vertices.emplace_back();
  std::vector<unsigned int>& indices = store.indices.emplace_back();
  if (!Mesh::loadObj(store.directory + "/" + name, vertices, indices, 1.0)) return nullptr;
  if (!scaleVertices(body, vertices)) return nullptr;
  Mesh::dropUnusedVertices(vertices, indices);

  std::shared_ptr<const ConvexPolyhedron> hull;
  if (body.shape == Shape::HULL && (hull = hullOf(body, vertices, indices)) == nullptr)
    return nullptr;
  const dGeomID geom = createMeshGeom(vertices, indices, nullptr, store.data.emplace_back());
  if (hull != nullptr) giveHull(geom, hull);
  return geom;
}

dGeomID createPrimitive(Shape::Type shape, const std::vector<double>& size) {
  if (shape == Shape::BOX) return dCreateBox(nullptr, size[0], size[1], size[2]);
  if (shape == Shape::CYLINDER) return dCreateCylinder(nullptr, size[0], size[1]);
  if (shape == Shape::CAPSULE) return dCreateCapsule(nullptr, size[0], size[1]);
  return dCreateSphere(nullptr, size[0]);
}

/// A geom outside of any space, with its record; null after a fatal message.
dGeomID createGeom(const CollisionBody& body, MeshStore& store) {
  switch (body.shape) {
    case Shape::MESH:
    case Shape::HULL:
      return createMesh(body, store);
    case Shape::BOX:
    case Shape::CYLINDER:
    case Shape::SPHERE:
    case Shape::CAPSULE:
      break;
    default:
      MSG_FATAL("collision body '" << body.collisionBodyName << "': unknown shape "
                                   << static_cast<int>(body.shape));
      return nullptr;
  }
  if (!hasUsableSize(body)) return nullptr;
  const dGeomID geom = createPrimitive(body.shape, body.size);
  attachGeomRecord(geom);
  return geom;
}

CollisionDefinition definitionOf(const CollisionBody& body, size_t bodyIdx, dGeomID geom) {
  CollisionDefinition definition;
  definition.offsetRotation = body.rotOffset;
  definition.offsetPosition = body.posOffset;
  definition.colName = body.collisionBodyName;
  definition.localIdx = bodyIdx;
  definition.colObj = geom;
  definition.setMaterial(body.material);
  return definition;
}

VisObject visualOf(const CollisionBody& body, size_t bodyIdx) {
  VisObject visual(body.shape, body.size, body.posOffset, body.rotOffset,
                   Mat<4, 1>{{0.7, 0.7, 0.7, 1.0}}, body.scale, body.meshFileName,
                   body.collisionBodyName, body.visualMaterial);
  visual.localIdx = bodyIdx;
  return visual;
}

}  // namespace

void Child::initVisuals(std::vector<VisObject>& output) {
  forEachMovable(*this, [&](Child& node) {
    for (VisObject& visual : node.visObjects) {
      if (visual.shape < Shape::BOX || visual.shape > Shape::HULL) {
        MSG_FATAL("visual object '" << visual.name << "' of the body '" << node.bodyName
                                    << "': unknown shape " << static_cast<int>(visual.shape));
        continue;
      }
      visual.localIdx = node.bodyIdx;
      output.push_back(visual);
    }
  });
}

void Child::initCollisionBodies(std::vector<CollisionDefinition>& definitions,
                                std::vector<VisObject>& visColObjects,
                                std::vector<dTriMeshDataID>& meshData,
                                std::vector<std::vector<float>>& meshVertices,
                                std::vector<std::vector<unsigned int>>& meshIndices,
                                const std::string& resDir) {
  MeshStore store{meshData, meshVertices, meshIndices, resDir};
  forEachMovable(*this, [&](const Child& node) {
    for (const CollisionBody& body : node.collisionBodies) {
      const dGeomID geom = createGeom(body, store);
      if (geom == nullptr) continue;  // keeps both lists in step
      geomRecord(geom).shapeIdx = definitions.size();
      definitions.push_back(definitionOf(body, node.bodyIdx, geom));
      visColObjects.push_back(visualOf(body, node.bodyIdx));
    }
  });
}

}  // namespace zelvik
