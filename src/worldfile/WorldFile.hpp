// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <optional>
#include <string>
#include <zelvik/World.hpp>
#include <zelvik/ZelvikTinyXmlWrapper.hpp>

// Reading of world files. Functions that return bool give false after a fatal message whose
// callback has come back; the reading ends there. The order of the reads is part of the format: it
// decides which of several faults is reported.

namespace zelvik::worldfile {

using Element = ZelvikTinyXmlWrapper;

/// What the making of any object takes from its element.
struct ObjectDescription {
  ObjectType type = UNRECOGNIZED;
  unsigned long group = World::kDefaultGroup;
  unsigned long mask = World::kAllMask;
  double mass = 0.0;    ///< (kg)
  Mat<3, 3> inertia{};  ///< about the centre of mass (kg m^2, body axes); zero for none given
  std::optional<std::string> bodyType;  ///< as written
  std::string material = "default";
};

/// Solids, of which mass data follow from the shape.
inline bool isPrimitive(ObjectType type) {
  return type == SPHERE || type == BOX || type == CYLINDER || type == CAPSULE || type == HULL;
}
/// Whether objects of this type have mass, inertia, body type and a state of one body.
inline bool isMovableBody(ObjectType type) {
  return isPrimitive(type) || type == MESH || type == COMPOUND;
}

/// Reads one child of `objects` into a new object of the world.
bool readObject(World& world, const Element& element);

/// Makes the object alone, by the public add operations. `object` stays null after a fatal message.
bool addObject(World& world, const Element& element, const ObjectDescription& description,
               Object*& object);
bool addHeightMap(World& world, const Element& element, const std::string& material,
                  Object*& object);
bool addArticulatedSystem(World& world, const Element& element,
                          const ObjectDescription& description, Object*& object);

/// Reads `state` into a single body.
bool readBodyState(const Element& element, SingleBodyObject& body);
/// Reads `state` into an articulated system.
bool readSystemState(const Element& element, ArticulatedSystem& system);

}  // namespace zelvik::worldfile
