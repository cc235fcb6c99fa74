// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ode/ode.h>

#include <memory>
#include <vector>

#include "collision/ConvexPolyhedron.hpp"

namespace zelvik {

/// What contacts of a mesh are found on. It never changes, so that copies share it.
struct MeshShape {
  std::shared_ptr<const ConvexPolyhedron> hull;  ///< null for a mesh that is no hull
};

/// A geom of triangles with its record. ODE keeps pointers into both arrays, which must neither
/// move nor change while the geom lives. Takes the lock of all meshes.
/// @param vertices x, y, z each (m), all of them named by triangles
/// @param indices three of a triangle, in range
/// @param space null for none
/// @param data what ODE makes of the arrays; the caller destroys it after the geom
dGeomID createMeshGeom(const std::vector<float>& vertices, const std::vector<unsigned int>& indices,
                       dSpaceID space, dTriMeshDataID& data);

/// Makes a mesh a hull.
void giveHull(dGeomID geom, std::shared_ptr<const ConvexPolyhedron> hull);

}  // namespace zelvik
