// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cmath>
#include <zelvik/object/SingleBodyObject.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "collision/GeomCopy.hpp"
#include "core/ColumnLanes.hpp"

namespace zelvik {
namespace {

/// Category bits of geoms that forces do not move.
constexpr unsigned long kNonDynamicGroup = 0x80000000ul;

template <unsigned long n, unsigned long m>
bool areFinite(const Mat<n, m>& a) {
  for (size_t i = 0; i < n * m; ++i)
    if (!std::isfinite(a[i])) return false;
  return true;
}

/// Finite and above 0, and so is its inverse.
bool isUsableMass(double mass) {
  return mass > 0.0 && std::isfinite(mass) && std::isfinite(1.0 / mass);
}

bool isUsableDamping(double damping) {
  return damping >= 0.0 && std::isfinite(damping);
}

/// R I R^T for a symmetric I.
Columns33 turned(const Columns33& R, const Mat33& I) {
  const Columns33 T = {{multiply(R, I[0], I[3], I[6]), multiply(R, I[1], I[4], I[7]),
                        multiply(R, I[2], I[5], I[8])}};
  return mirroredLower(multiplyTransposed(T, R));
}

}  // namespace

SingleBodyObject::SingleBodyObject(ObjectType type) : objectType_(type) {}

SingleBodyObject::~SingleBodyObject() {
  destroyGeoms();
}

// --- collision geoms ---

void SingleBodyObject::adoptGeom(dGeomID geom) {
  collisionObject_ = geom;
  attachGeomRecord(geom);
}

void SingleBodyObject::copyGeom(const SingleBodyObject& other) {
  if (other.collisionObject_ == nullptr) return;
  adoptGeom(copyOfGeom(other.collisionObject_));
  copyGeomRecord(other.collisionObject_, collisionObject_);
}

void SingleBodyObject::destroyGeoms() {
  destroyGeom(collisionObject_);
  collisionObject_ = nullptr;
}

void SingleBodyObject::updateCollision() {
  if (collisionObject_ != nullptr) writeGeomPose(collisionObject_, bodyPos_, rot_);
}

void SingleBodyObject::destroyCollisionBodies(dSpaceID) {
  // Destruction takes the geom out of whatever space it is in.
  destroyGeoms();
}

unsigned long SingleBodyObject::getCollisionGroup() const {
  return getGeomCount() > 0 ? dGeomGetCategoryBits(getGeom(0)) : 0;
}

unsigned long SingleBodyObject::getCollisionMask() const {
  return getGeomCount() > 0 ? dGeomGetCollideBits(getGeom(0)) : 0;
}

void SingleBodyObject::setCollisionGroup(unsigned long group) {
  for (size_t i = 0; i < getGeomCount(); ++i) dGeomSetCategoryBits(getGeom(i), group);
}

void SingleBodyObject::setCollisionMask(unsigned long mask) {
  for (size_t i = 0; i < getGeomCount(); ++i) dGeomSetCollideBits(getGeom(i), mask);
}

void SingleBodyObject::setMaterial(const std::string& material) {
  materialName_ = material;
  for (size_t i = 0; i < getGeomCount(); ++i) geomRecord(getGeom(i)).materialName = material;
}

// --- state ---

double SingleBodyObject::getMass(size_t) const {
  return mass_;
}

ObjectType SingleBodyObject::getObjectType() const {
  return objectType_;
}

void SingleBodyObject::getPosition(size_t, Mat<3, 1>& pos) const {
  pos = comPos_;
}

void SingleBodyObject::getVelocity(size_t, Mat<3, 1>& vel) const {
  vel = linVel_;
}

void SingleBodyObject::getOrientation(size_t, Mat<3, 3>& rot) const {
  rot = rot_;
}

void SingleBodyObject::getPosition(size_t, const Mat<3, 1>& bodyPoint,
                                   Mat<3, 1>& worldPoint) const {
  worldPoint = bodyPos_ + rot_ * bodyPoint;
}

void SingleBodyObject::setPosition(double x, double y, double z) {
  bodyPos_ = {{x, y, z}};
  comPos_ = bodyPos_ + rot_ * comOffset_;
  updateCollision();
}

void SingleBodyObject::setPosition(const Mat<3, 1>& p) {
  setPosition(p[0], p[1], p[2]);
}

void SingleBodyObject::storeOrientation(const Mat<4, 1>& q) {
  quaternion_ = q;
  updateOrientation();
}

void SingleBodyObject::setOrientation(double w, double x, double y, double z) {
  storeOrientation({{w, x, y, z}});
}

void SingleBodyObject::setOrientation(const Mat<4, 1>& q) {
  storeOrientation(q);
}

void SingleBodyObject::updateOrientation() {
  quatToRotMat(quaternion_, rot_);
  updateWorldInertia();
  updateCollision();
}

void SingleBodyObject::setVelocity(double vx, double vy, double vz, double wx, double wy,
                                   double wz) {
  linVel_ = {{vx, vy, vz}};
  angVel_ = {{wx, wy, wz}};
}

void SingleBodyObject::setVelocity(const Mat<3, 1>& linear, const Mat<3, 1>& angular) {
  linVel_ = linear;
  angVel_ = angular;
}

void SingleBodyObject::setBodyType(BodyType type) {
  bodyType_ = type;
  if (type != BodyType::DYNAMIC) setCollisionGroup(kNonDynamicGroup);
}

void SingleBodyObject::setComOffset(const Mat<3, 1>& offset) {
  if (!areFinite(offset)) {
    MSG_FATAL("SingleBodyObject::setComOffset: the offset must be finite, but is "
              << offset[0] << " " << offset[1] << " " << offset[2]);
    return;
  }
  comOffset_ = offset;
  comPos_ = bodyPos_ + rot_ * comOffset_;
}

// --- inertia and energy ---

void SingleBodyObject::setMassProperties(double mass, const Mat<3, 3>& inertia) {
  mass_ = mass;
  invMass_ = 1.0 / mass;
  bodyInertia_ = worldInertia_ = inertia;
  cholInv(bodyInertia_, bodyInertiaInv_);
  worldInertiaInv_ = bodyInertiaInv_;
}

void SingleBodyObject::setInertia(const Mat<3, 3>& inertia) {
  bodyInertia_ = inertia;
  cholInv(bodyInertia_, bodyInertiaInv_);
  if (!areFinite(bodyInertiaInv_))
    MSG_WARN(
        "SingleBodyObject::setInertia: the inertia is not positive definite: the state of the "
        "body becomes NaN");
  updateWorldInertia();
}

void SingleBodyObject::setMass(double mass) {
  if (!isUsableMass(mass)) {
    MSG_FATAL("SingleBodyObject::setMass: the mass must be finite and above 0, but is " << mass);
    return;
  }
  mass_ = mass;
  invMass_ = 1.0 / mass;
}

void SingleBodyObject::scaleMass(double factor) {
  const double mass = factor * mass_;
  if (!isUsableMass(factor) || !isUsableMass(mass)) {
    MSG_FATAL(
        "SingleBodyObject::scaleMass: the factor and the mass must be finite and above 0, "
        "but are "
        << factor << " and " << mass);
    return;
  }
  setMass(mass);
  setInertia(factor * bodyInertia_);
}

void SingleBodyObject::finishResize(const Mat<3, 3>& inertia) {
  setInertia(inertia);
  ++shapeChangeCount_;
}

// --- damping ---

void SingleBodyObject::setLinearDamping(double damping) {
  if (!isUsableDamping(damping))
    MSG_WARN(
        "SingleBodyObject::setLinearDamping: the damping should be finite and at least 0, but "
        "is "
        << damping);
  linearDamping_ = damping;
}

void SingleBodyObject::setAngularDamping(const Mat<3, 1>& damping) {
  for (size_t i = 0; i < 3; ++i)
    if (!isUsableDamping(damping[i]))
      MSG_WARN(
          "SingleBodyObject::setAngularDamping: the damping should be finite and at least 0, "
          "but value "
          << i << " is " << damping[i]);
  angularDamping_ = damping;
}

void SingleBodyObject::updateWorldInertia() {
  if (bodyType_ != BodyType::DYNAMIC) return;
  const Columns33 R = loadColumns(rot_.v);
  storeColumns(worldInertia_.v, turned(R, bodyInertia_));
  storeColumns(worldInertiaInv_.v, turned(R, bodyInertiaInv_));
}

double SingleBodyObject::getKineticEnergy() const {
  return 0.5 * (mass_ * squaredNorm(linVel_) + dot(angVel_, worldInertia_ * angVel_));
}

double SingleBodyObject::getPotentialEnergy(const Mat<3, 1>& gravity) const {
  return -mass_ * dot(gravity, comPos_);
}

double SingleBodyObject::getEnergy(const Mat<3, 1>& gravity) const {
  return getPotentialEnergy(gravity) + getKineticEnergy();
}

// --- forces ---

void SingleBodyObject::setExternalForce(size_t, const Mat<3, 1>& force) {
  force_ += force;
  appendExternal(true, force, comPos_);
}

void SingleBodyObject::setExternalTorque(size_t, const Mat<3, 1>& torque) {
  torque_ += torque;
  appendExternal(false, torque, comPos_);
}

/// Returns the arm a from the centre of mass to the point (world axes).
Vec3 SingleBodyObject::addForceAtPoint(const Mat<3, 1>& pos, const Mat<3, 1>& force) {
  const Vec3 a = rot_ * (pos - comOffset_);
  force_ += force;
  torque_ += cross(a, force);
  return a;
}

void SingleBodyObject::setExternalForce(size_t, const Mat<3, 1>& pos, const Mat<3, 1>& force) {
  const Vec3 a = addForceAtPoint(pos, force);
  appendExternal(true, force, bodyPos_ + a);
}

void SingleBodyObject::setConstraintForce(size_t, const Mat<3, 1>& pos, const Mat<3, 1>& force) {
  addForceAtPoint(pos, force);
  constraintForceApplied_ = true;
}

void SingleBodyObject::clearExternalForcesAndTorques() {
  clearPendingForces();
  clearVisForces();
}

}  // namespace zelvik
