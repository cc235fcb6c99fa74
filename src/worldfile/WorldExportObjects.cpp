// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <charconv>
#include <utility>
#include <zelvik/rotation.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "worldfile/WorldExport.hpp"

namespace zelvik::worldexport {

namespace {

/// Six significant digits.
void writeScalar(Writer& element, const char* name, double value) {
  element.element_->SetDoubleAttribute(name, value);
}

void writeRound(Writer& dim, double radius, double height) {
  writeScalar(dim, "height", height);
  writeScalar(dim, "radius", radius);
}

void writeBox(Writer& dim, const double* lengths) {
  writeScalar(dim, "x", lengths[0]);
  writeScalar(dim, "y", lengths[1]);
  writeScalar(dim, "z", lengths[2]);
}

void writeOrientation(Writer& state, const Mat<3, 3>& rotation) {
  Mat<4, 1> quaternion;
  rotMatToQuat(rotation, quaternion);
  state.setAttribute("quat", quaternion);
}

void writeMesh(const Mesh& mesh, Writer& element) {
  element.element_->SetAttribute("fileName", mesh.getFileName().c_str());
  writeScalar(element, "scale", mesh.getScale());
  element.setAttribute("com", mesh.getComOffset());  // here, to stand before the collision bits
}

/// All digits: corners that are rounded do not lie in their planes.
template <typename Number>
void writeNumbers(Writer& element, const char* name, const std::vector<Number>& values) {
  std::string text;
  char digits[32];
  for (const Number value : values) {
    if (!text.empty()) text += ' ';
    text.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
  }
  element.element_->SetAttribute(name, text.c_str());
}

void writeHull(const ConvexHull& hull, Writer& dim) {
  writeNumbers(dim, "corners", hull.getCorners());
  writeNumbers(dim, "triangles", hull.getTriangles());
}

void writeHeightMap(const HeightMap& map, Writer& dim) {
  writeScalar(dim, "centerX", map.getCenterX());
  writeScalar(dim, "centerY", map.getCenterY());
  writeScalar(dim, "xSize", map.getXSize());
  writeScalar(dim, "ySize", map.getYSize());
  dim.setAttribute("xSample", map.getXSamples());
  dim.setAttribute("ySample", map.getYSamples());
  VecDyn heights(map.getHeightMap().size());
  std::copy(map.getHeightMap().begin(), map.getHeightMap().end(), heights.v);
  dim.setAttribute("height", std::move(heights));
}

void writeChildSizes(const Compound::CompoundObjectChild& child, Writer& dim) {
  switch (child.objectType) {
    case BOX:
      writeBox(dim, child.objectParam);
      break;
    case SPHERE:
      writeScalar(dim, "radius", child.objectParam[0]);
      break;
    default:
      writeRound(dim, child.objectParam[0], child.objectParam[1]);
  }
}

void writeCompound(const Compound& compound, Writer& element) {
  Writer& children = element.emplace("children");
  for (const Compound::CompoundObjectChild& child : compound.getChildren()) {
    Writer& out = children.emplace(objectTypeToString(child.objectType));
    out.element_->SetAttribute("material", child.material.c_str());
    writeChildSizes(child, out.emplace("dim"));
    Writer& state = out.emplace("state");
    state.setAttribute("pos", child.position);
    writeOrientation(state, child.rotation);
  }
}

/// A file name for a robot: its own name, but for steps between directories, and a number if there
/// is such a file in the world.
std::string newFile(Files& files, std::string name) {
  for (char& c : name)
    if (c == '/' || c == '\\') c = '_';
  for (size_t p = name.find(".."); p != std::string::npos; p = name.find("..", p))
    name[p] = name[p + 1] = '_';
  std::string file = (files.directory + name + ".urdf").getString();
  for (int number = 2; !files.taken.insert(file).second; ++number)
    file = (files.directory + name + "_" + std::to_string(number) + ".urdf").getString();
  return file;
}

/// The order in which joints were asked for is no part of the format.
void warnAboutJointOrder(const ArticulatedSystem& system, const std::string& name) {
  if (system.getModelJointOrder().empty()) return;
  MSG_WARN("the robot '" << name << "' was made with an order of joints, which is not saved: "
                         << "loading gives its coordinates to other joints");
}

/// A robot from a file is named by that file; one from text gets a file of its own.
bool writeSystem(const ArticulatedSystem& system, Files& files, const std::string& name,
                 Writer& element) {
  warnAboutJointOrder(system, name);
  const Path resources(system.getResourceDirectory());
  if (resources.getString().find("..") != std::string::npos) return false;  // was refused
  element.element_->SetAttribute("resDir", resources.getString().c_str());
  std::string urdf = system.getModelPath();
  if (urdf.empty()) {
    urdf = newFile(files, name);
    if (!system.exportModelText(urdf)) return false;
  }
  element.element_->SetAttribute("urdfPath", urdf.c_str());
  return true;
}

/// Sizes and sources, by type.
bool writeShape(const Object& object, Files& files, const std::string& name, Writer& element) {
  Writer& dim = element.emplace("dim");
  switch (object.getObjectType()) {
    case SPHERE:
      writeScalar(dim, "radius", static_cast<const Sphere&>(object).getRadius());
      break;
    case BOX:
      writeBox(dim, static_cast<const Box&>(object).getDimensions().data());
      break;
    case CYLINDER: {
      const auto& cylinder = static_cast<const Cylinder&>(object);
      writeRound(dim, cylinder.getRadius(), cylinder.getHeight());
      break;
    }
    case CAPSULE: {
      const auto& capsule = static_cast<const Capsule&>(object);
      writeRound(dim, capsule.getRadius(), capsule.getHeight());
      break;
    }
    case CONE:
      MSG_FATAL("Cone collision shape is not supported");
      return false;
    case MESH:
      writeMesh(static_cast<const Mesh&>(object), element);
      break;
    case HULL:
      writeHull(static_cast<const ConvexHull&>(object), dim);
      break;
    case GROUND:
      writeScalar(dim, "height", static_cast<const Ground&>(object).getHeight());
      break;
    case HEIGHTMAP:
      writeHeightMap(static_cast<const HeightMap&>(object), dim);
      break;
    case COMPOUND:
      writeCompound(static_cast<const Compound&>(object), element);
      break;
    case ARTICULATED_SYSTEM:
      return writeSystem(static_cast<const ArticulatedSystem&>(object), files, name, element);
    default:
      break;
  }
  return true;
}

void writeCollisionBits(Writer& element, unsigned long group, unsigned long mask) {
  element.setAttribute("collisionGroup", group);
  element.setAttribute("collisionMask", mask);
}

/// A robot without shapes gets the bits 1 and -1, which reads back as all bits.
void writeSystemCollisionBits(const ArticulatedSystem& system, Writer& element) {
  const std::vector<CollisionDefinition>& bodies = system.getCollisionBodies();
  if (!bodies.empty() && bodies[0].colObj != nullptr) {
    writeCollisionBits(element, dGeomGetCategoryBits(bodies[0].colObj),
                       dGeomGetCollideBits(bodies[0].colObj));
    return;
  }
  element.element_->SetAttribute("collisionGroup", 1);
  element.element_->SetAttribute("collisionMask", -1);
}

void writeMassProperties(const SingleBodyObject& body, Writer& element) {
  writeScalar(element, "mass", body.getMass(0));
  Writer& inertia = element.emplace("inertia");
  const Mat<3, 3>& I = body.getBodyInertia();
  writeScalar(inertia, "xx", I(0, 0));
  writeScalar(inertia, "xy", I(0, 1));
  writeScalar(inertia, "xz", I(0, 2));
  writeScalar(inertia, "yy", I(1, 1));
  writeScalar(inertia, "yz", I(1, 2));
  writeScalar(inertia, "zz", I(2, 2));
  element.setAttribute("com", body.getComOffset());
}

void writeBodyState(const SingleBodyObject& body, Writer& state) {
  state.setAttribute("pos", body.getBodyPosition());
  writeOrientation(state, body.getRotationMatrix());
  state.setAttribute("linVel", body.getLinearVelocity());
  state.setAttribute("angVel", body.getAngularVelocity());
}

void writeSystemState(const ArticulatedSystem& system, Writer& state) {
  state.setAttribute("qpos", system.getGeneralizedCoordinate());
  state.setAttribute("qvel", system.getGeneralizedVelocity());
}

}  // namespace

bool writeObject(const Object& object, Files& files, const std::string& name, Writer& element) {
  const ObjectType type = object.getObjectType();
  element.element_->SetAttribute("name", name.c_str());
  if (object.getBodyType() == BodyType::KINEMATIC)
    element.element_->SetAttribute("body_type", "kinematic");
  if (object.getBodyType() == BodyType::STATIC)
    element.element_->SetAttribute("body_type", "static");
  if (!writeShape(object, files, name, element)) return false;

  if (type == ARTICULATED_SYSTEM) {
    const auto& system = static_cast<const ArticulatedSystem&>(object);
    writeSystemCollisionBits(system, element);
    writeSystemState(system, element.emplace("state"));
    return true;
  }
  const auto& body = static_cast<const SingleBodyObject&>(object);
  writeCollisionBits(element, body.getCollisionGroup(), body.getCollisionMask());
  const bool isTerrain = type == GROUND || type == HEIGHTMAP;
  if (!isTerrain) writeMassProperties(body, element);
  Writer& state = element.emplace("state");
  if (!isTerrain) writeBodyState(body, state);
  return true;
}

}  // namespace zelvik::worldexport
