// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ode/ode.h>

#include <cmath>
#include <memory>
#include <set>
#include <string>
#include <vector>
#include <zelvik/export.hpp>
#include <zelvik/math.hpp>

namespace zelvik {

struct MeshShape;

/// What every geom of a world carries beside what ODE keeps of it. ODE's user data pointer
/// leads to it, from `attachGeomRecord` to `destroyGeom`. Group and mask are ODE's category and
/// collide bits.
struct GeomRecord {
  size_t objectIdx = kNone;  ///< position of the owner in the world's object list; none on the ray
  size_t localBodyIdx = 0;   ///< body inside the owner; 0 for all but articulated systems
  size_t shapeIdx = 0;       ///< place among the shapes of the owner
  std::string materialName;  ///< that the material table knows
  std::set<dGeomID> ignoredGeoms;  ///< geoms with which this one never collides
  double* position = nullptr;      ///< ODE's own record of the pose, by the first `writeGeomPose`
  double* rotation = nullptr;      ///< 3 rows of 4 values
  bool enabled = true;             ///< whether `writeGeomPose` shows it to ODE
  /// Of a triangle mesh: where its vertices stand, three numbers each (m, frame of the geom). They
  /// belong to the owner.
  const float* vertices = nullptr;
  size_t vertexCount = 0;  ///< of `vertices`
  /// Of a triangle mesh, which a hull is to ODE: what contacts are found on. Null for others.
  std::shared_ptr<const MeshShape> meshShape;
};

/// Gives a fresh record to a geom; called by whoever creates the geom, before it enters a space.
inline void attachGeomRecord(dGeomID geom) {
  if (geom != nullptr) dGeomSetData(geom, new GeomRecord);
}

inline GeomRecord& geomRecord(dGeomID geom) {
  return *static_cast<GeomRecord*>(dGeomGetData(geom));
}

/// Notes in a mesh's record where its vertices are.
inline void noteVertices(dGeomID mesh, const std::vector<float>& vertices) {
  geomRecord(mesh).vertices = vertices.data();
  geomRecord(mesh).vertexCount = vertices.size() / 3;
}

/// Takes the geom out of its space, destroys it and frees its record; null is ignored. Geoms that
/// still name it in their `ignoredGeoms` belong to the same object and die with it.
inline void destroyGeom(dGeomID geom) {
  if (geom == nullptr) return;
  GeomRecord* record = static_cast<GeomRecord*>(dGeomGetData(geom));
  dGeomDestroy(geom);
  delete record;
}

/// Bound of coordinates and lengths that ODE is shown (m): from 2.68e8 m on it ends the process, as
/// it does where products inside of its colliders overflow.
constexpr double kLargestForOde = 1e8;

/// Whether a number may be shown to ODE as a length of a shape: neither negative nor NaN, and below
/// `kLargestForOde`. Squares that underflow end the process, too: what is not 0 has to be above
/// 1e-100 m.
inline bool isUsableShapeSize(double size) {
  return size == 0.0 || (size > 1e-100 && size < kLargestForOde);
}

/// Whether a pose may be shown to ODE: every number finite and within `kLargestForOde`. ODE ends
/// the process for NaN, too.
inline bool isUsablePose(const Mat<3, 1>& positionW, const Mat<3, 3>& rotationW) {
  // Where the sums are small all numbers are, and so it is nearly always.
  const Mat<3, 1>& p = positionW;
  const Mat<3, 3>& R = rotationW;
  const double sumP = std::fabs(p[0]) + std::fabs(p[1]) + std::fabs(p[2]);
  const double sum0 = std::fabs(R[0]) + std::fabs(R[1]) + std::fabs(R[2]);
  const double sum1 = std::fabs(R[3]) + std::fabs(R[4]) + std::fabs(R[5]);
  const double sum2 = std::fabs(R[6]) + std::fabs(R[7]) + std::fabs(R[8]);
  if ((sumP + sum0) + (sum1 + sum2) < kLargestForOde) return true;
  for (int i = 0; i < 3; ++i)
    if (!(std::fabs(p[i]) < kLargestForOde)) return false;
  for (int i = 0; i < 9; ++i)
    if (!(std::fabs(R[i]) < kLargestForOde)) return false;
  return true;
}

/// Writes a pose (world axes) straight into the geom's pose record and tells ODE once. A geom whose
/// pose is not usable is disabled until it is good again, so that a NaN state passes in silence.
inline void writeGeomPose(dGeomID geom, const Mat<3, 1>& positionW, const Mat<3, 3>& rotationW) {
  GeomRecord& record = geomRecord(geom);
  if (!isUsablePose(positionW, rotationW)) {
    record.enabled = false;
    dGeomDisable(geom);
    return;
  }
  if (record.position == nullptr) {
    record.position = const_cast<double*>(dGeomGetPosition(geom));
    record.rotation = const_cast<double*>(dGeomGetRotation(geom));
  }
  double* R = record.rotation;
  for (std::size_t i = 0; i < 3; ++i) {
    record.position[i] = positionW[i];
    R[4 * i] = rotationW(i, 0);
    R[4 * i + 1] = rotationW(i, 1);
    R[4 * i + 2] = rotationW(i, 2);
  }
  if (!record.enabled) {
    record.enabled = true;
    dGeomEnable(geom);
  }
  dGeomMoved(geom);
}

}  // namespace zelvik
