// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <vector>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/object/SingleBodyObject.hpp>

namespace zelvik {

/// Visits the geoms of a space in the order of objects and, within an object, of bodies and shapes.
/// (A quadtree cannot list its geoms itself: ODE ends the process.)
template <typename Visit>
void forEachGeom(const std::vector<Object*>& objects, dSpaceID space, Visit visit) {
  const auto visitIfInside = [&](dGeomID geom) {
    if (geom != nullptr && dGeomGetSpace(geom) == space) visit(geom);
  };
  for (const Object* object : objects) {
    if (object->getObjectType() == ARTICULATED_SYSTEM) {
      const auto& system = static_cast<const ArticulatedSystem&>(*object);
      for (const CollisionDefinition& shape : system.getCollisionBodies())
        visitIfInside(shape.colObj);
    } else {
      const auto& body = static_cast<const SingleBodyObject&>(*object);
      for (size_t i = 0; i < body.getGeomCount(); ++i) visitIfInside(body.getGeom(i));
    }
  }
}

}  // namespace zelvik
