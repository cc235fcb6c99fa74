// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cmath>
#include <zelvik/object/Object.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {
namespace {

/// Names in the order of `ObjectType`.
constexpr const char* kTypeNames[] = {
    "sphere",   "box",       "cylinder",          "cone",         "capsule", "mesh", "ground",
    "compound", "heightmap", "articulatedSystem", "unrecognized", "hull"};

/// Contacts per object that an ordinary step does without growing the list.
constexpr size_t kReservedContacts = 10;

}  // namespace

std::string objectTypeToString(ObjectType type) {
  const int value = static_cast<int>(type);
  return value >= SPHERE && value <= HULL ? kTypeNames[value] : "";
}

ObjectType stringToObjectType(const std::string& name) {
  for (int value = SPHERE; value <= HULL; ++value)
    if (name == kTypeNames[value]) return static_cast<ObjectType>(value);
  return UNRECOGNIZED;
}

Object::Object() {
  perObjectContact_.contacts_.reserve(kReservedContacts);
}

BodyType Object::getBodyType(size_t) const {
  return bodyType_;
}

BodyType Object::getBodyType() const {
  return bodyType_;
}

void Object::appendJointLimits(contact::ContactProblemList&) {}

void Object::forgetContacts() {
  clearPerObjectContact();
  hasForgottenContacts_ = true;
  numContacts_ = 0;
}

double Object::enforceJointLimits(contact::Single3DContactProblem&) {
  return 0.0;
}

void Object::checkForce(const char* call, const double* values, size_t count) {
  double sum = 0.0;  // of zeros, or NaN
  for (size_t i = 0; i < count; ++i) sum += 0.0 * values[i];
  if (sum == 0.0 || *toldOfForce_) return;
  *toldOfForce_ = true;
  size_t first = 0;
  while (std::isfinite(values[first])) ++first;
  MSG_WARN(call << ": value " << first << " for the object '" << name_ << "', number "
                << indexInWorld_ << " of the world, is " << values[first]
                << ". Forces that are not finite make the state NaN. Told once");
}

void Object::appendExternal(bool isForce, const Mat<3, 1>& vector, const Mat<3, 1>& position) {
  const char* const call = isForce ? "setExternalForce" : "setExternalTorque";
  checkForce(call, vector.v, 3);
  checkForce(isForce ? "setExternalForce, point" : call, position.v, isForce ? 3 : 0);
  externalForceFlags_.push_back(isForce);
  externalForceVectors_.push_back(vector);
  externalForcePositions_.push_back(position);
}

void Object::clearVisForces() {
  visForces_.clear();
  visForcePositions_.clear();
  visTorques_.clear();
  visTorquePositions_.clear();
}

void Object::clearPendingForces() {
  externalForceFlags_.clear();
  externalForceVectors_.clear();
  externalForcePositions_.clear();
}

void Object::copyPendingForcesToVis() {
  for (size_t i = 0; i < externalForceFlags_.size(); ++i) {
    const bool isForce = externalForceFlags_[i];
    (isForce ? visForces_ : visTorques_).push_back(externalForceVectors_[i]);
    (isForce ? visForcePositions_ : visTorquePositions_).push_back(externalForcePositions_[i]);
  }
}

}  // namespace zelvik
