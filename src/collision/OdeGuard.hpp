// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ode/ode.h>

#include <mutex>

// What ODE shares between all worlds of a process, made safe for worlds on several threads: its
// reference count, its handlers, and the caches of its mesh collider. All else of it belongs to one
// space or one geom.

namespace zelvik {

/// Starts ODE for one more world, or only counts. Any thread may call it.
void acquireOde();
/// Counterpart of `acquireOde`; the last world ends ODE.
void releaseOde();

/// `dCollide`, but with no points where a check inside of ODE fails, which would end the process:
/// two cylinders of ordinary size do that in some ten poses of a million. Counts only while
/// ODE's debug handler is the one of `acquireOde`, which leaves one of the host in place.
/// @return number of points written
[[nodiscard]] int collideGuarded(dGeomID o1, dGeomID o2, int capacity, dContactGeom* points,
                                 int stride);

/// Held by whoever builds, destroys or collides meshes: ODE's mesh collider keeps its work in
/// global caches. Not recursive.
[[nodiscard]] std::unique_lock<std::mutex> lockMeshes();

/// As `lockMeshes` if one of the two geoms is a mesh; holds nothing otherwise.
[[nodiscard]] inline std::unique_lock<std::mutex> lockIfMesh(dGeomID a, dGeomID b) {
  if (dGeomGetClass(a) == dTriMeshClass || dGeomGetClass(b) == dTriMeshClass) return lockMeshes();
  return {};
}

}  // namespace zelvik
