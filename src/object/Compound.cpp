// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/object/Compound.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "collision/GeomCopy.hpp"

namespace zelvik {

namespace {

/// How many of a child's parameters its shape uses; 0 for a shape that cannot be a child.
int countDimensions(ObjectType type) {
  switch (type) {
    case BOX:
      return 3;
    case CYLINDER:
    case CAPSULE:
      return 2;
    case SPHERE:
      return 1;
    default:
      return 0;
  }
}

/// Writes the sizes of a child into its geom.
void resizeChildGeom(const Compound::CompoundObjectChild& child, dGeomID geom) {
  const double* p = child.objectParam;
  switch (child.objectType) {
    case BOX:
      return dGeomBoxSetLengths(geom, p[0], p[1], p[2]);
    case CYLINDER:
      return dGeomCylinderSetParams(geom, p[0], p[1]);
    case CAPSULE:
      return dGeomCapsuleSetParams(geom, p[0], p[1]);
    default:
      return dGeomSphereSetRadius(geom, p[0]);
  }
}

/// A geom in no space, by a child of a supported shape with usable sizes.
dGeomID createChildGeom(const Compound::CompoundObjectChild& child) {
  const double* p = child.objectParam;
  switch (child.objectType) {
    case BOX:
      return dCreateBox(nullptr, p[0], p[1], p[2]);
    case CYLINDER:
      return dCreateCylinder(nullptr, p[0], p[1]);
    case CAPSULE:
      return dCreateCapsule(nullptr, p[0], p[1]);
    default:
      return dCreateSphere(nullptr, p[0]);
  }
}

}  // namespace

Compound::Compound(const std::vector<CompoundObjectChild>& children, double mass,
                   const Mat<3, 1>& com, const Mat<3, 3>& inertia)
    : SingleBodyObject(COMPOUND), children_(children) {
  if (children_.size() < 2) {
    MSG_FATAL("Provided less than 2 children. Compound needs at least 2.");
    return;
  }
  if (!areChildrenUsable()) return;
  createGeoms();
  comOffset_ = com;
  comPos_ = com;
  setMassProperties(mass, inertia);
  updateCollision();
}

Compound::Compound(const Compound& other) : SingleBodyObject(other), children_(other.children_) {
  if (other.collisionGeoms_.empty()) return;
  createGeoms();
  for (size_t k = 0; k < collisionGeoms_.size(); ++k)
    copyGeomRecord(other.collisionGeoms_[k], collisionGeoms_[k]);
}

std::unique_ptr<Object> Compound::copy() const {
  return std::unique_ptr<Compound>(new Compound(*this));
}

Compound::~Compound() {
  destroyChildGeoms();
}

/// Checks every size before ODE sees it: for a negative or undefined one it ends the process.
bool Compound::areChildrenUsable() const {
  for (size_t k = 0; k < children_.size(); ++k) {
    const CompoundObjectChild& child = children_[k];
    const int dimensions = countDimensions(child.objectType);
    if (dimensions == 0) {
      MSG_FATAL("Unsupported shape: " << objectTypeToString(child.objectType)
                                      << " for a compound object");
      return false;
    }
    for (int i = 0; i < dimensions; ++i)
      if (!isUsableSize(child.objectParam[i])) {
        MSG_FATAL("The " << objectTypeToString(child.objectType) << " at position " << k
                         << " of a compound has the size " << child.objectParam[i]
                         << ", which is negative or not finite (1e8 m and more count as infinite)");
        return false;
      }
  }
  return true;
}

void Compound::createGeoms() {
  for (const CompoundObjectChild& child : children_) {
    collisionGeoms_.push_back(createChildGeom(child));
    attachGeomRecord(collisionGeoms_.back());
    geomRecord(collisionGeoms_.back()).shapeIdx = collisionGeoms_.size() - 1;
  }
  for (dGeomID geom : collisionGeoms_)
    for (dGeomID sibling : collisionGeoms_)
      if (sibling != geom) geomRecord(geom).ignoredGeoms.insert(sibling);
}

/// A compound that was refused has no geoms, so that no child of it passes.
bool Compound::checkChild(size_t child, const char* operation) const {
  if (child < collisionGeoms_.size()) return true;
  MSG_FATAL("Compound::" << operation << ": there is no child " << child << ", the compound has "
                         << collisionGeoms_.size());
  return false;
}

void Compound::setMaterial(const std::string& material) {
  SingleBodyObject::setMaterial(material);
  for (CompoundObjectChild& child : children_) child.material = material;
}

void Compound::setChildMaterial(size_t child, const std::string& material) {
  if (!checkChild(child, "setChildMaterial")) return;
  children_[child].material = material;
  geomRecord(collisionGeoms_[child]).materialName = material;
}

void Compound::setChildSize(size_t child, const Mat<3, 1>& lengths) {
  if (!checkChild(child, "setChildSize")) return;
  CompoundObjectChild& changed = children_[child];
  const int dimensions = countDimensions(changed.objectType);
  for (int i = 0; i < dimensions; ++i) {
    const bool mayBeZero = changed.objectType == CAPSULE && i == 1;
    if (mayBeZero ? isUsableSize(lengths[i]) : isUsableNewSize(lengths[i])) continue;
    MSG_FATAL("Compound::setChildSize: the lengths must be finite and above 0, but of child "
              << child << " length " << i << " is " << lengths[i]);
    return;
  }
  for (int i = 0; i < dimensions; ++i) changed.objectParam[i] = lengths[i];
  resizeChildGeom(changed, collisionGeoms_[child]);
  ++shapeChangeCount_;
}

void Compound::setChildPose(size_t child, const Mat<3, 1>& position, const Mat<3, 3>& rotation) {
  if (!checkChild(child, "setChildPose")) return;
  if (!isUsablePose(position, rotation)) {
    MSG_FATAL("Compound::setChildPose: the pose of child "
              << child << " must be finite (1e8 m and more count as infinite)");
    return;
  }
  children_[child].position = position;
  children_[child].rotation = rotation;
  updateCollision();
  ++shapeChangeCount_;
}

void Compound::updateCollision() {
  for (size_t k = 0; k < collisionGeoms_.size(); ++k) {
    const CompoundObjectChild& child = children_[k];
    Mat33 childToWorld;
    rotmatmul(rot_, child.rotation, childToWorld);
    writeGeomPose(collisionGeoms_[k], bodyPos_ + rot_ * child.position, childToWorld);
  }
}

void Compound::destroyCollisionBodies(dSpaceID) {
  destroyChildGeoms();
}

void Compound::destroyChildGeoms() {
  for (dGeomID geom : collisionGeoms_) destroyGeom(geom);
  collisionGeoms_.clear();
}

}  // namespace zelvik
