// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ode/ode.h>

namespace zelvik {

/// Most points of a pair of convex shapes.
constexpr int kMostConvexPoints = 4;

/// Whether points of contact of two classes of geoms are found by `findContactPoints`: those of
/// which ODE gives too few, or none in some poses.
bool hasOwnContactPoints(int class1, int class2);

/// Points of contact of a box, capsule or cylinder with another one, and of a hull with any of
/// these, a sphere or a hull: the faces in which they meet,
/// clipped against each other along the shortest way out of each other. That way is one of the
/// normals of faces and of round sides; where none of them is reached by points of both shapes, it
/// is searched for, and a capsule on the edge of a box has the point of ODE. Swapping the geoms
/// gives the same points with the opposite normal.
/// @param points gets up to `kMostConvexPoints` points; positions lie in the middle between both
///   surfaces, world frame (m)
/// @return number of points, 0 for other geoms
int findContactPoints(dGeomID o1, dGeomID o2, dContactGeom* points);

/// Points of contact of a hull with a plane: corners below it, the deepest and those that span the
/// largest area with it.
/// @param points gets up to `kMostConvexPoints` points
/// @return number of points
int findPointsOnPlane(dGeomID o1, dGeomID o2, dContactGeom* points);

/// Completes the points that ODE gives for a cylinder on a plane. Once an upright one tilts by more
/// than 4.5e-4 rad there is only the deepest point, or that and one of the other end: it rocks and
/// works its way into the ground. Added are up to three more points of the rim of the lower cap
/// that lie below the plane, placed relative to the deepest one.
/// @param points those found, 1 or 2, and room for 4; positions on the cylinder, world frame (m)
/// @return number of points now there, `count` if the pair is not a cylinder and a plane
int completeCylinderOnPlane(dGeomID o1, dGeomID o2, dContactGeom* points, int count);

}  // namespace zelvik
