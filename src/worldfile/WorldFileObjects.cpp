// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/zlv_message_logger.hpp>

#include "worldfile/WorldFile.hpp"

// One object element: what is read before the object is made, and what is set on it afterwards.

namespace zelvik::worldfile {

namespace {

/// Below this squared Frobenius norm an `inertia` counts as not given (kg^2 m^4).
constexpr double kLeastInertia = 1e-12;

bool readInertia(const Element& element, Mat<3, 3>& inertia) {
  const std::vector<Element> children = element.getChildren("inertia");
  if (children.empty()) return true;
  const Element& child = children[0];
  double xx = 0.0, xy = 0.0, xz = 0.0, yy = 0.0, yz = 0.0, zz = 0.0;
  if (!(child.readMust("xx", xx) && child.readMust("xy", xy) && child.readMust("xz", xz) &&
        child.readMust("yy", yy) && child.readMust("yz", yz) && child.readMust("zz", zz)))
    return false;
  inertia = {{xx, xy, xz, xy, yy, yz, xz, yz, zz}};
  return true;
}

bool isGiven(const Mat<3, 3>& inertia) {
  double squaredNorm = 0.0;
  for (size_t i = 0; i < 9; ++i) squaredNorm += inertia[i] * inertia[i];
  return squaredNorm > kLeastInertia;
}

bool readDescription(const Element& element, ObjectDescription& out) {
  element.getAttributeIfExists("collisionGroup", out.group);
  element.getAttributeIfExists("collisionMask", out.mask);
  out.type = stringToObjectType(element.getName());
  if (isMovableBody(out.type)) {
    if (!(element.readMust("mass", out.mass) && readInertia(element, out.inertia))) return false;
    std::string bodyType;
    if (element.getAttributeIfExists("body_type", bodyType)) out.bodyType = bodyType;
  }
  element.getAttributeIfExists("material", out.material);
  return true;
}

/// Whether the making of the object ended with a fatal message: it has no collision shape, or, of a
/// robot, nothing at all. A base link without a name is fine: the joint to the world names its
/// frame.
bool wasRefused(const Object& object) {
  if (object.getObjectType() != ARTICULATED_SYSTEM)
    return static_cast<const SingleBodyObject&>(object).getGeomCount() == 0;
  const auto& system = static_cast<const ArticulatedSystem&>(object);
  return system.getGeneralizedCoordinateDim() == 0 && system.getBodyNames()[0].empty() &&
         system.getFrames()[0].name == "ROOT";
}

bool setBodyType(const Element& element, const std::string& text, SingleBodyObject& body) {
  if (text == "dynamic") {
    body.setBodyType(BodyType::DYNAMIC);
  } else if (text == "kinematic") {
    body.setBodyType(BodyType::KINEMATIC);
  } else if (text == "static") {
    body.setBodyType(BodyType::STATIC);
  } else {
    element.errorMessage(
        "Unrecognized body type. Should be \"dynamic\", \"kinematic\" or \"static\". ");
    return false;
  }
  return true;
}

/// Sets what a single body gets after it was made.
bool finishBody(const Element& element, const ObjectDescription& description,
                SingleBodyObject& body) {
  std::string appearance;
  if (element.getAttributeIfExists("appearance", appearance)) body.setAppearance(appearance);
  if (!isMovableBody(description.type)) return true;

  if (description.type != COMPOUND && isGiven(description.inertia))
    body.setInertia(description.inertia);
  if (description.bodyType && !setBodyType(element, *description.bodyType, body)) return false;
  if (isPrimitive(description.type)) {
    Mat<3, 1> com = body.getComOffset();
    if (!element.readIfPresent("com", com)) return false;
    body.setComOffset(com);
  }
  return readBodyState(element, body);
}

bool finishObject(const Element& element, const ObjectDescription& description, Object& object) {
  if (description.type == ARTICULATED_SYSTEM)
    return readSystemState(element, static_cast<ArticulatedSystem&>(object));
  if (description.type == HEIGHTMAP) return true;
  return finishBody(element, description, static_cast<SingleBodyObject&>(object));
}

}  // namespace

bool readObject(World& world, const Element& element) {
  ObjectDescription description;
  if (!readDescription(element, description)) return false;
  Object* object = nullptr;
  if (!addObject(world, element, description, object)) return false;
  if (object == nullptr) {
    MSG_FATAL("the object is not allocated.");
    return false;
  }
  if (wasRefused(*object) || !finishObject(element, description, *object)) return false;
  std::string name;
  if (!element.readMust("name", name)) return false;
  object->setName(name);
  return true;
}

}  // namespace zelvik::worldfile
