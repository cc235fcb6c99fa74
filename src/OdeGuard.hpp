// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ode/ode.h>

#include <mutex>

// What ODE shares between all worlds of a process, made safe for worlds on several threads: its
// reference count, its message handler, and the caches of its mesh collider. All else of it belongs
// to one space or one geom.

namespace zelvik {

/// Starts ODE for one more world, or only counts. Any thread may call it.
void acquireOde();
/// Counterpart of `acquireOde`; the last world ends ODE.
void releaseOde();

/// Held by whoever builds, destroys or collides meshes: ODE's mesh collider keeps its work in
/// global caches. Not recursive.
[[nodiscard]] std::unique_lock<std::mutex> lockMeshes();

/// As `lockMeshes` if one of the two geoms is a mesh; holds nothing otherwise.
[[nodiscard]] inline std::unique_lock<std::mutex> lockIfMesh(dGeomID a, dGeomID b) {
  if (dGeomGetClass(a) == dTriMeshClass || dGeomGetClass(b) == dTriMeshClass) return lockMeshes();
  return {};
}

}  // namespace zelvik
