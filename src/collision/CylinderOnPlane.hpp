// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ode/ode.h>

namespace zelvik {

/// Completes the one point that ODE gives for an upright cylinder on a plane once the cylinder
/// tilts by more than 4.5e-4 rad. One point does not carry it: the cylinder rocks and, in a heap,
/// works its way into the ground. Added are those of three more points on the rim of the lower cap,
/// at 90, 180 and 270 degrees from the deepest one, that lie below the plane.
/// @param points the point found, and room for three more; positions on the cylinder, world frame
/// (m)
/// @return number of points now there, 1 if the pair is not a cylinder and a plane
int completeCylinderOnPlane(dGeomID o1, dGeomID o2, dContactGeom* points);

}  // namespace zelvik
