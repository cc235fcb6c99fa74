// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "ShapeBuilder.hpp"

#include <algorithm>
#include <utility>

namespace zelvik::model {

namespace {

constexpr Vec4 kGrey{{0.7, 0.7, 0.7, 1.0}};
constexpr double kLargestPart = 20.0;  // (m) of a link whose mesh is in metres

std::string joined(const std::vector<std::string>& list) {
  std::string text;
  for (const std::string& entry : list) text += (text.empty() ? "" : ", ") + entry;
  return text;
}

std::string meshText(const ConvertedMesh& mesh) {
  if (mesh.primitive.has_value()) return primitiveText(mesh.primitive->shape, mesh.primitive->size);
  if (mesh.isHull) return "hull of " + std::to_string(mesh.hullCorners) + " corners";
  return "mesh of " + std::to_string(mesh.entry.triangles) + " triangles";
}

}  // namespace

Vec4 ShapeBuilder::colorOf(const ShapeRecord& shape) const {
  if (shape.inlined.has_value() && shape.inlined->color.has_value()) return *shape.inlined->color;
  const auto found = robot_.materials.find(shape.material);
  if (found != robot_.materials.end()) return found->second.color.value_or(kGrey);
  return kGrey;
}

MeshUse ShapeBuilder::useOf(const LinkRecord& link, const ShapeRecord& shape) const {
  if (shape.visual) return MeshUse::VISUAL;
  const auto found = options_.collisionShapeOfLink.find(link.name);
  const CollisionShape wanted =
      found != options_.collisionShapeOfLink.end() ? found->second : options_.collisionShape;
  if (wanted == CollisionShape::MESH) return MeshUse::MESH;
  return wanted == CollisionShape::HULL ? MeshUse::HULL : MeshUse::PRIMITIVE;
}

/// What is odd about a mesh file, once for each.
void ShapeBuilder::noteMesh(const ShapeRecord& shape, const ConvertedMesh& mesh) {
  if (!noted_.insert(mesh.entry.path).second) return;
  const Place& place = shape.filePlace;
  const double extent = norm(mesh.entry.upper - mesh.entry.lower);
  if (extent > kLargestPart)
    findings_.warn("mesh-size", place, "the mesh is " + numberText(extent) + " m large",
                   "Is it in millimetres? Then it needs scale=\"0.001 0.001 0.001\".");
  if (mesh.notFinite > 0)
    findings_.warn("mesh-numbers", place,
                   std::to_string(mesh.notFinite) +
                       " triangles have corners that are no numbers: they are left out");
  if (mesh.entry.degenerate > 0)
    findings_.note("mesh-degenerate", place,
                   std::to_string(mesh.entry.degenerate) + " triangles without area are left out");
  if (mesh.hasTexture)
    findings_.note("mesh-texture", place, "its texture is not drawn, only its plain colours");
  if (!mesh.upAxis.empty() && mesh.upAxis != "Z_UP" && !options_.turnUpAxis)
    findings_.note("mesh-axis", place,
                   "the mesh says " + mesh.upAxis + ": its coordinates are taken as they are",
                   "Set turnUpAxis if the robot looks torn apart.");
}

/// False after a finding: a mesh that only is to be seen is missed less than one that collides.
bool ShapeBuilder::loadMesh(const LinkRecord& link, const ShapeRecord& shape, ConvertedMesh& mesh) {
  const Severity severity = shape.visual ? Severity::WARNING : Severity::ERROR;
  const FoundFile found = finder_.find(shape.file);
  if (!found.refused.empty()) {
    findings_.add(severity, "mesh-refused", shape.filePlace, shape.file + ": " + found.refused);
    return false;
  }
  if (found.path.empty()) {
    findings_.add(severity, "mesh-not-found", shape.filePlace,
                  "there is no " + shape.file + "; looked for " + joined(found.tried),
                  "Name its package's folder in packageDirectories.");
    return false;
  }
  if (!found.remark.empty()) findings_.note("mesh-path", shape.filePlace, found.remark);
  mesh = converter_.convert(found.path, shape.scale, useOf(link, shape));
  if (!mesh.problem.empty()) {
    findings_.add(severity, "mesh-unreadable", shape.filePlace,
                  found.path.string() + ": " + mesh.problem);
    return false;
  }
  mesh.entry.name = shape.file;
  findings_.report().meshes.push_back(mesh.entry);
  noteMesh(shape, mesh);
  return true;
}

void ShapeBuilder::addVisual(const LinkRecord& link, const ShapeRecord& shape, Child& body,
                             ShapeEntry& entry) {
  VisObject visual;
  visual.shape = shape.shape;
  visual.size = shape.size;
  visual.offset = shape.pose.position;
  visual.rot = shape.pose.rotation;
  visual.color = colorOf(shape);
  visual.name = shape.name;
  visual.material = shape.material;
  if (shape.shape != Shape::MESH) {
    body.visObjects.push_back(std::move(visual));
    entry.became = primitiveText(shape.shape, shape.size);
    return;
  }
  ConvertedMesh mesh;
  if (!loadMesh(link, shape, mesh)) return;
  for (const ConvertedPart& part : mesh.parts) {
    visual.meshFileName = part.file;
    visual.color = part.color.value_or(colorOf(shape));
    body.visObjects.push_back(visual);
  }
  entry.became = meshText(mesh);
}

void ShapeBuilder::addCollision(const LinkRecord& link, const ShapeRecord& shape, Child& body,
                                ShapeEntry& entry) {
  CollisionBody collision;
  collision.shape = shape.shape;
  collision.size = shape.size;
  collision.posOffset = shape.pose.position;
  collision.rotOffset = shape.pose.rotation;
  collision.collisionBodyName = link.name + "/" + std::to_string(body.collisionBodies.size());
  collision.material = shape.contactMaterial.empty() ? options_.material : shape.contactMaterial;
  collision.visualMaterial = shape.material;
  entry.became = shape.shape != Shape::MESH ? primitiveText(shape.shape, shape.size) : "left out";
  if (shape.shape == Shape::MESH) {
    ConvertedMesh mesh;
    if (!loadMesh(link, shape, mesh)) return;
    if (mesh.isFlat)
      findings_.note("mesh-flat", shape.filePlace,
                     "the mesh lies in a plane and has no hull: its triangles collide");
    if (mesh.primitive.has_value()) {
      const Pose pose = product(shape.pose, mesh.primitive->pose);
      collision.shape = mesh.primitive->shape;
      collision.size = mesh.primitive->size;
      collision.posOffset = pose.position;
      collision.rotOffset = pose.rotation;
    } else {
      if (mesh.isHull) collision.shape = Shape::HULL;
      collision.meshFileName = mesh.parts.front().file;
    }
    entry.became = meshText(mesh);
    entry.error = mesh.error;
  }
  body.collisionBodies.push_back(std::move(collision));
}

void ShapeBuilder::build(const LinkRecord& link, Child& body) {
  for (const ShapeRecord& shape : link.shapes) {
    if (!shape.isRead) continue;
    ShapeEntry entry{link.name,  shape.place.line, shape.visual, shape.kind,
                     shape.file, "left out",       0.0};
    if (!shape.visual)
      addCollision(link, shape, body, entry);
    else if (options_.visuals)
      addVisual(link, shape, body, entry);
    findings_.report().shapes.push_back(std::move(entry));
  }
}

}  // namespace zelvik::model
