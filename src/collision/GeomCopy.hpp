// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ode/ode.h>

namespace zelvik {

/// A geom of the same shape, in no space and without a record: of a sphere, box, capsule, cylinder
/// or plane. Null for others.
dGeomID copyOfGeom(dGeomID source);

/// Gives a geom of the same shape the pose, the groups and the record of another one, but for the
/// geoms that it ignores and the vertices of a mesh, which belong to its owner.
void copyGeomRecord(dGeomID source, dGeomID target);

}  // namespace zelvik
