// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/rotation.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "worldfile/WorldFile.hpp"

// Single bodies and grounds of a world file.

namespace zelvik::worldfile {

namespace {

bool readRound(const Element& dim, double& radius, double& height) {
  return dim.readMust("height", height) && dim.readMust("radius", radius);
}

bool readBox(const Element& dim, double& x, double& y, double& z) {
  return dim.readMust("x", x) && dim.readMust("y", y) && dim.readMust("z", z);
}

bool addPrimitive(World& world, const Element& element, const ObjectDescription& d,
                  Object*& object) {
  const Element dim = element.getFirstChildMust("dim");
  double x = 0.0, y = 0.0, z = 0.0;
  switch (d.type) {
    case SPHERE:
      if (!dim.readMust("radius", x)) return false;
      object = world.addSphere(x, d.mass, d.material, d.group, d.mask);
      return true;
    case BOX:
      if (!readBox(dim, x, y, z)) return false;
      object = world.addBox(x, y, z, d.mass, d.material, d.group, d.mask);
      return true;
    case CYLINDER:
      if (!readRound(dim, x, y)) return false;
      object = world.addCylinder(x, y, d.mass, d.material, d.group, d.mask);
      return true;
    default:
      if (!readRound(dim, x, y)) return false;
      object = world.addCapsule(x, y, d.mass, d.material, d.group, d.mask);
      return true;
  }
}

/// Of the three numbers of "scale" only the first is used.
bool addMesh(World& world, const Element& element, const ObjectDescription& d, Object*& object) {
  Mat<3, 1> scale, com;
  std::string fileName;
  if (!(element.readMust("scale", scale) && element.readMust("com", com) &&
        element.readMust("fileName", fileName)))
    return false;
  object = world.addMesh(fileName, d.mass, d.inertia, com, scale[0], d.material, d.group, d.mask);
  return true;
}

bool addHull(World& world, const Element& element, const ObjectDescription& d, Object*& object) {
  const Element dim = element.getFirstChildMust("dim");
  VecDyn corners, numbers;
  if (!(dim.readMust("corners", corners) && dim.readMust("triangles", numbers))) return false;
  std::vector<unsigned int> triangles;
  triangles.reserve(numbers.n);
  for (size_t k = 0; k < numbers.n; ++k) {
    // What is no index becomes one that is out of range.
    const bool isIndex = numbers[k] >= 0.0 && numbers[k] < 1e9;
    triangles.push_back(isIndex ? static_cast<unsigned int>(numbers[k]) : ~0u);
  }
  object = world.addConvexHull({corners.v, corners.v + corners.n}, triangles, d.mass, d.material,
                               d.group, d.mask);
  return true;
}

bool addGround(World& world, const Element& element, const ObjectDescription& d, Object*& object) {
  double height = 0.0;
  element.getAttributeIfExists("height", height);
  object = world.addGround(height, d.material, d.mask);
  return true;
}

/// Reads nothing for a shape that cannot be a child; the compound refuses it.
bool readChildSizes(const Element& dim, Compound::CompoundObjectChild& child) {
  double* p = child.objectParam;
  switch (child.objectType) {
    case BOX:
      return readBox(dim, p[0], p[1], p[2]);
    case SPHERE:
      return dim.readMust("radius", p[0]);
    case CYLINDER:
    case CAPSULE:
      return dim.readMust("radius", p[0]) && dim.readMust("height", p[1]);
    default:
      return dim.isValid();
  }
}

bool readChild(const Element& element, Compound::CompoundObjectChild& child) {
  child.objectType = stringToObjectType(element.getName());
  child.material = "default";
  element.getAttributeIfExists("material", child.material);
  if (!readChildSizes(element.getFirstChildMust("dim"), child)) return false;
  const Element state = element.getFirstChildMust("state");
  Mat<4, 1> quaternion;
  if (!(state.readMust("pos", child.position) && state.readMust("quat", quaternion))) return false;
  quatToRotMat(quaternion, child.rotation);
  return true;
}

bool addCompound(World& world, const Element& element, const ObjectDescription& d,
                 Object*& object) {
  Mat<3, 1> com;
  if (!element.readMust("com", com)) return false;
  const Element list = element.getFirstChildMust("children");
  if (!list.isValid()) return false;
  std::vector<Compound::CompoundObjectChild> children;
  for (const Element& child : list.getChildren())
    if (!readChild(child, children.emplace_back())) return false;
  object = world.addCompound(children, d.mass, com, d.inertia, d.group, d.mask);
  return true;
}

}  // namespace

bool addObject(World& world, const Element& element, const ObjectDescription& description,
               Object*& object) {
  switch (description.type) {
    case SPHERE:
    case BOX:
    case CYLINDER:
    case CAPSULE:
      return addPrimitive(world, element, description, object);
    case CONE:
      MSG_FATAL("Cone shape is not supported");
      return false;
    case MESH:
      return addMesh(world, element, description, object);
    case HULL:
      return addHull(world, element, description, object);
    case GROUND:
      return addGround(world, element, description, object);
    case COMPOUND:
      return addCompound(world, element, description, object);
    case HEIGHTMAP:
      return addHeightMap(world, element, description.material, object);
    case ARTICULATED_SYSTEM:
      return addArticulatedSystem(world, element, description, object);
    default:
      MSG_FATAL("Unrecognized body type");
      return false;
  }
}

}  // namespace zelvik::worldfile
