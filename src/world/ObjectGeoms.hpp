// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/object/SingleBodyObject.hpp>

namespace zelvik {

/// Calls `action` with each geom of an object, in the order of its bodies. The space cannot be
/// asked instead: a quadtree cannot list what it holds and ends the process.
template <typename Action>
void forEachGeom(const Object& object, Action&& action) {
  if (object.getObjectType() == ARTICULATED_SYSTEM) {
    for (const auto& body : static_cast<const ArticulatedSystem&>(object).getCollisionBodies())
      if (body.colObj != nullptr) action(body.colObj);
    return;
  }
  const auto& body = static_cast<const SingleBodyObject&>(object);
  for (size_t k = 0; k < body.getGeomCount(); ++k) action(body.getGeom(k));
}

/// Calls `action` with each geom of an object and the index of its body, from the last geom to the
/// first.
template <typename Action>
void forEachGeomFromLast(const Object& object, Action&& action) {
  if (object.getObjectType() == ARTICULATED_SYSTEM) {
    const auto& bodies = static_cast<const ArticulatedSystem&>(object).getCollisionBodies();
    for (size_t k = bodies.size(); k-- > 0;)
      if (bodies[k].colObj != nullptr) action(bodies[k].colObj, bodies[k].localIdx);
    return;
  }
  const auto& body = static_cast<const SingleBodyObject&>(object);
  for (size_t k = body.getGeomCount(); k-- > 0;) action(body.getGeom(k), size_t{0});
}

/// Whether the geoms of an object take part: not those of one that was put into the list by hand.
inline bool isPartOf(dSpaceID space, const Object& object) {
  if (object.getObjectType() == ARTICULATED_SYSTEM) {
    const auto& shapes = static_cast<const ArticulatedSystem&>(object).getCollisionBodies();
    return !shapes.empty() && shapes[0].colObj != nullptr &&
           dGeomGetSpace(shapes[0].colObj) == space;
  }
  const auto& body = static_cast<const SingleBodyObject&>(object);
  return body.getGeomCount() > 0 && dGeomGetSpace(body.getGeom(0)) == space;
}

}  // namespace zelvik
