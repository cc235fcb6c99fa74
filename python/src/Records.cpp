// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Records.hpp"

#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>

namespace zelvik::python {

namespace {

nb::object recordType(const char* name) {
  return nb::module_::import_("zelvik._records").attr(name);
}

template <size_t n>
Mat<n, 1> vectorField(nb::handle record, const char* name) {
  return readVector<n>({record.attr(name)}, name);
}

Mat<3, 3> matrixField(nb::handle record, const char* name) {
  return readMatrix({record.attr(name)}, name);
}

std::vector<double> sizeField(nb::handle record) {
  return readList({record.attr("size")}, "size");
}

CollisionBody readCollision(nb::handle record) {
  CollisionBody shape;
  shape.shape = field<Shape::Type>(record, "shape");
  shape.size = sizeField(record);
  shape.posOffset = vectorField<3>(record, "position");
  shape.rotOffset = matrixField(record, "rotation");
  shape.scale = vectorField<3>(record, "scale");
  shape.collisionBodyName = field<std::string>(record, "name");
  shape.material = field<std::string>(record, "material");
  shape.meshFileName = field<std::string>(record, "mesh_file");
  return shape;
}

VisObject readVisual(nb::handle record) {
  return VisObject(field<Shape::Type>(record, "shape"), sizeField(record),
                   vectorField<3>(record, "position"), matrixField(record, "rotation"),
                   vectorField<4>(record, "color"), vectorField<3>(record, "scale"),
                   field<std::string>(record, "mesh_file"), field<std::string>(record, "name"),
                   field<std::string>(record, "material"));
}

void readSpringMount(nb::handle record, double* mount) {
  const std::vector<double> values = readList({record.attr("spring_mount")}, "spring_mount");
  if (values.size() > 4)
    throwValueError("spring_mount: expected at most 4 values, got " +
                    std::to_string(values.size()));
  std::copy(values.begin(), values.end(), mount);
}

void readJoint(nb::handle record, Child& link) {
  link.jointName = field<std::string>(record, "joint_name");
  link.jointType = field<Joint::Type>(record, "joint_type");
  link.jointAxis = vectorField<3>(record, "joint_axis");
  link.jointPosition = vectorField<3>(record, "joint_position");
  link.jointRotation = matrixField(record, "joint_rotation");
  readNumbers({record.attr("joint_limit")}, "joint_limit", link.jointLimit, 2, Allow::INFINITE);
  link.effort = field<double>(record, "effort");
  link.damping = field<double>(record, "damping");
  link.friction = field<double>(record, "friction");
  link.stiffness = field<double>(record, "stiffness");
  link.rotorInertia = field<double>(record, "rotor_inertia");
  readSpringMount(record, link.springMount);
}

nb::object makeCollision(const CollisionBody& shape) {
  return recordType("CollisionShape")(shape.shape, nb::tuple(nb::cast(shape.size)),
                                      toPython(shape.posOffset).value,
                                      toPython(shape.rotOffset).value, toPython(shape.scale).value,
                                      shape.collisionBodyName, shape.material, shape.meshFileName);
}

}  // namespace

nb::object makeVisual(const VisObject& shape) {
  return recordType("VisualShape")(shape.shape, nb::tuple(nb::cast(shape.size)),
                                   toPython(shape.offset).value, toPython(shape.rot).value,
                                   toPython(shape.scale).value, shape.name, shape.material,
                                   shape.meshFileName, toPython(shape.color).value, shape.localIdx);
}

TerrainProperties readTerrain(nb::handle record) {
  TerrainProperties t;
  t.frequency = field<double>(record, "frequency");
  t.xSize = field<double>(record, "x_size");
  t.ySize = field<double>(record, "y_size");
  t.zScale = field<double>(record, "z_scale");
  t.fractalLacunarity = field<double>(record, "fractal_lacunarity");
  t.fractalGain = field<double>(record, "fractal_gain");
  t.stepSize = field<double>(record, "step_size");
  t.fractalOctaves = field<size_t>(record, "fractal_octaves");
  t.xSamples = field<size_t>(record, "x_samples");
  t.ySamples = field<size_t>(record, "y_samples");
  t.seed = field<std::uint32_t>(record, "seed");
  return t;
}

Compound::CompoundObjectChild readCompoundChild(nb::handle record) {
  Compound::CompoundObjectChild child{};
  child.objectType = field<ObjectType>(record, "object_type");
  const std::vector<double> size = sizeField(record);
  if (size.size() > 4)
    throwValueError("CompoundChild.size: expected at most 4 values, got " +
                    std::to_string(size.size()));
  std::copy(size.begin(), size.end(), child.objectParam);
  child.material = field<std::string>(record, "material");
  child.rotation = matrixField(record, "rotation");
  child.position = vectorField<3>(record, "position");
  return child;
}

nb::object makeCompoundChild(const Compound::CompoundObjectChild& child) {
  const size_t count = child.objectType == ObjectType::BOX      ? 3
                       : child.objectType == ObjectType::SPHERE ? 1
                                                                : 2;
  nb::list size;
  for (size_t i = 0; i < count; ++i) size.append(child.objectParam[i]);
  return recordType("CompoundChild")(child.objectType, nb::tuple(size),
                                     toPython(child.position).value, toPython(child.rotation).value,
                                     child.material);
}

/// The library itself refuses trees that are deeper; the reader must not run out of stack before.
constexpr int kMaxDepth = 2000;

namespace {

Child readLinkAt(nb::handle record, int depth) {
  if (depth > kMaxDepth) throwValueError("Link: the tree is more than 2000 joints deep");
  Child link;
  link.bodyName = field<std::string>(record, "name");
  link.mass = field<double>(record, "mass");
  link.com = vectorField<3>(record, "com");
  link.inertia = matrixField(record, "inertia");
  readJoint(record, link);
  for (const nb::handle shape : record.attr("collisions"))
    link.collisionBodies.push_back(readCollision(shape));
  for (const nb::handle shape : record.attr("visuals"))
    link.visObjects.push_back(readVisual(shape));
  for (const nb::handle child : record.attr("children")) {
    Child below = readLinkAt(child, depth + 1);
    auto& list = below.jointType == Joint::FIXED ? link.childrenFixed : link.childrenMovable;
    list.push_back(std::move(below));
  }
  return link;
}

}  // namespace

Child readLink(nb::handle record) {
  return readLinkAt(record, 0);
}

nb::object makeLink(const Child& link) {
  nb::list children, collisions, visuals;
  for (const Child& child : link.childrenMovable) children.append(makeLink(child));
  for (const Child& child : link.childrenFixed) children.append(makeLink(child));
  for (const CollisionBody& shape : link.collisionBodies) collisions.append(makeCollision(shape));
  for (const VisObject& shape : link.visObjects) visuals.append(makeVisual(shape));
  nb::list mount;
  for (const double value : link.springMount) mount.append(value);
  nb::dict fields;
  fields["name"] = link.bodyName;
  fields["mass"] = link.mass;
  fields["com"] = toPython(link.com).value;
  fields["inertia"] = toPython(link.inertia).value;
  fields["joint_name"] = link.jointName;
  fields["joint_type"] = link.jointType;
  fields["joint_axis"] = toPython(link.jointAxis).value;
  fields["joint_position"] = toPython(link.jointPosition).value;
  fields["joint_rotation"] = toPython(link.jointRotation).value;
  fields["joint_limit"] = nb::make_tuple(link.jointLimit[0], link.jointLimit[1]);
  fields["effort"] = link.effort;
  fields["damping"] = link.damping;
  fields["friction"] = link.friction;
  fields["stiffness"] = link.stiffness;
  fields["rotor_inertia"] = link.rotorInertia;
  fields["spring_mount"] = nb::tuple(mount);
  fields["collisions"] = collisions;
  fields["visuals"] = visuals;
  fields["children"] = children;
  return recordType("Link")(**fields);
}

JointSpring readSpring(nb::handle record) {
  JointSpring spring;
  spring.bodyIdx = field<size_t>(record, "body_idx");
  spring.stiffness = field<double>(record, "stiffness");
  readSpringMount(record, spring.mount);
  return spring;
}

nb::object makeSpring(const JointSpring& spring) {
  nb::list mount;
  for (const double value : spring.mount) mount.append(value);
  return recordType("JointSpring")(spring.bodyIdx, spring.stiffness, nb::tuple(mount));
}

}  // namespace zelvik::python
