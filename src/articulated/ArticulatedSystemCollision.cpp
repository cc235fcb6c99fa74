// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <ode/ode.h>

#include <algorithm>
#include <cmath>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/object/GeomRecord.hpp>
#include <zelvik/rotation.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "collision/OdeGuard.hpp"
#include "core/Lanes.hpp"

namespace zelvik {
namespace {

/// Returns false after a fatal message.
bool checkCollisionIndex(const char* what, size_t collisionIdx, size_t count) {
  if (collisionIdx < count) return true;
  MSG_FATAL(what << ": collision object index " << collisionIdx << " is out of range, there are "
                 << count);
  return false;
}

/// Returns false after a fatal message.
bool checkParameterCount(Shape::Type shape, size_t count) {
  if (shape == Shape::BOX && count != 3) {
    MSG_FATAL("This collision object is a box and takes three parameters");
    return false;
  }
  if (shape == Shape::SPHERE && count != 1) {
    MSG_FATAL("This collision object is a sphere and takes only one parameter");
    return false;
  }
  if (shape == Shape::CAPSULE && count != 2) {
    MSG_FATAL("This collision object is a capsule and takes two parameters");
    return false;
  }
  if (shape == Shape::CYLINDER && count != 2) {
    MSG_FATAL("This collision object is a cylinder and takes two parameters");
    return false;
  }
  return true;
}

/// ODE ends the process for a size that is negative or not a number. Returns false after a fatal
/// message.
bool checkSizes(const std::string& name, const std::vector<double>& params) {
  for (const double size : params)
    if (!isUsableShapeSize(size)) {
      MSG_FATAL("The collision object '" << name << "' cannot take the size " << size);
      return false;
    }
  return true;
}

void resizeGeom(dGeomID geom, Shape::Type shape, const std::vector<double>& p) {
  if (geom == nullptr) return;
  if (shape == Shape::BOX)
    dGeomBoxSetLengths(geom, p[0], p[1], p[2]);
  else if (shape == Shape::SPHERE)
    dGeomSphereSetRadius(geom, p[0]);
  else if (shape == Shape::CAPSULE)
    dGeomCapsuleSetParams(geom, p[0], p[1]);
  else if (shape == Shape::CYLINDER)
    dGeomCylinderSetParams(geom, p[0], p[1]);
}

/// Three columns of a rotation, the fourth values of which mean nothing.
struct RotationColumns {
  Lanes x, y, z;

  Lanes operator*(const double* a) const { return x * a[0] + y * a[1] + z * a[2]; }
};

inline RotationColumns loadRotation(const Mat33& R) {
  // The last column is read from one value before, so as not to read past the matrix.
  const Lanes last = loadLanes(R.v + 5);
  return {loadLanes(R.v), loadLanes(R.v + 3), __builtin_shufflevector(last, last, 1, 2, 3, 0)};
}

inline Lanes crossLanes(const Lanes& a, const Lanes& b) {
  return __builtin_shufflevector(a, a, 1, 2, 0, 3) * __builtin_shufflevector(b, b, 2, 0, 1, 3) -
         __builtin_shufflevector(a, a, 2, 0, 1, 3) * __builtin_shufflevector(b, b, 1, 2, 0, 3);
}

/// Pose of a geom (world axes), the fourth values of which mean nothing.
struct GeomPose {
  RotationColumns rotation;
  Lanes position;

  /// Of a geom that is fixed in a body at `origin` (m). The rotation is made as by `rotmatmul`.
  GeomPose(const RotationColumns& R, const Vec3& origin, const CollisionDefinition& shape) {
    position = R * shape.offsetPosition.v + Lanes{origin[0], origin[1], origin[2], 0.0};
    rotation.x = R * shape.offsetRotation.v;
    rotation.y = R * (shape.offsetRotation.v + 3);
    rotation.z = crossLanes(rotation.x, rotation.y);
  }
  /// Whether all numbers are far below those that may not be shown to ODE.
  bool isOrdinary() const {
    const RotationColumns& R = rotation;
    const Lanes squares = (R.x * R.x + R.y * R.y) + (R.z * R.z + position * position);
    return squares[0] < 1e14 && squares[1] < 1e14 && squares[2] < 1e14;
  }
  void write(const GeomRecord& record) const {
    Lanes row0 = rotation.x, row1 = rotation.y, row2 = rotation.z, row3{};
    transposeLanes(row0, row1, row2, row3);
    double *const R = record.rotation, *const p = record.position;
    storeLanes(R, row0);
    storeLanes(R + 4, row1);
    storeLanes(R + 8, row2);
    storeTwo(p, TwoLanes{position[0], position[1]});
    p[2] = position[2];
  }
};

}  // namespace

void ArticulatedSystem::updateCollision() {
  for (const CollisionDefinition& shape : collisionBodies_) {
    if (shape.colObj == nullptr) continue;
    const GeomRecord& record = geomRecord(shape.colObj);
    const GeomPose pose(loadRotation(kinematics_.rotationW[shape.localIdx]),
                        kinematics_.positionW[shape.localIdx], shape);
    if (record.enabled && record.position != nullptr && pose.isOrdinary()) {
      pose.write(record);
      dGeomMoved(shape.colObj);
    } else {
      writeUnusualPose(shape);
    }
  }
  jointLimitProblems_.clear();
}

void ArticulatedSystem::writeUnusualPose(const CollisionDefinition& shape) {
  const Mat<3, 3>& R = kinematics_.rotationW[shape.localIdx];
  Mat<3, 3> rotation;
  rotmatmul(R, shape.offsetRotation, rotation);
  writeGeomPose(shape.colObj, R * shape.offsetPosition + kinematics_.positionW[shape.localIdx],
                rotation);
}

void ArticulatedSystem::setCollisionObjectOrientationOffset(size_t collisionIdx,
                                                            const Mat<3, 3>& rot) {
  if (!checkCollisionIndex("setCollisionObjectOrientationOffset", collisionIdx,
                           collisionBodies_.size()))
    return;
  collisionBodies_[collisionIdx].offsetRotation = rot;
  visColObjects_[collisionIdx].rot = rot;
  ++shapeChangeCount_;
}

void ArticulatedSystem::setCollisionObjectPositionOffset(size_t collisionIdx,
                                                         const Mat<3, 1>& pos) {
  if (!checkCollisionIndex("setCollisionObjectPositionOffset", collisionIdx,
                           collisionBodies_.size()))
    return;
  collisionBodies_[collisionIdx].offsetPosition = pos;
  visColObjects_[collisionIdx].offset = pos;
  ++shapeChangeCount_;
}

void ArticulatedSystem::setCollisionObjectShapeParameters(size_t collisionIdx,
                                                          const std::vector<double>& params) {
  if (!checkCollisionIndex("setCollisionObjectShapeParameters", collisionIdx,
                           collisionBodies_.size()))
    return;
  VisObject& visual = visColObjects_[collisionIdx];
  if (!checkParameterCount(visual.shape, params.size())) return;
  const bool hasSizes = visual.shape != Shape::MESH && visual.shape != Shape::HULL;
  if (hasSizes && !checkSizes(visual.name, params)) return;
  resizeGeom(collisionBodies_[collisionIdx].colObj, visual.shape, params);
  visual.size = params;
  ++shapeChangeCount_;
}

void ArticulatedSystem::ignoreCollisionBetween(size_t bodyA, size_t bodyB) {
  for (const CollisionDefinition& x : collisionBodies_) {
    if (x.localIdx != bodyA || x.colObj == nullptr) continue;
    for (const CollisionDefinition& y : collisionBodies_) {
      if (y.localIdx != bodyB || y.colObj == nullptr) continue;
      geomRecord(x.colObj).ignoredGeoms.insert(y.colObj);
      geomRecord(y.colObj).ignoredGeoms.insert(x.colObj);
    }
  }
}

void ArticulatedSystem::getPose(const VisObject& vis, Mat<3, 3>& rot, Mat<3, 1>& pos) const {
  if (!checkBodyIndex(vis.localIdx, "getPose")) return;
  const Mat<3, 3>& R = kinematics_.rotationW[vis.localIdx];
  rot = R * vis.rot;
  pos = kinematics_.positionW[vis.localIdx] + R * vis.offset;
}

void ArticulatedSystem::destroyCollisionBodies(dSpaceID) {
  const auto lock = meshData_.empty() ? std::unique_lock<std::mutex>() : lockMeshes();
  // Destroying a geom takes it out of its space.
  for (CollisionDefinition& shape : collisionBodies_) {
    destroyGeom(shape.colObj);
    shape.colObj = nullptr;
  }
  for (const dTriMeshDataID data : meshData_) dGeomTriMeshDataDestroy(data);
  meshData_.clear();
}

}  // namespace zelvik
