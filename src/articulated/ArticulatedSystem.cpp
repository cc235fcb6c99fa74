// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "articulated/TreePasses.hpp"

namespace zelvik {

ArticulatedSystem::ArticulatedSystem(const Child& child, const std::string& resDir,
                                     ArticulatedSystemOption option) {
  ignoreInitialOverlaps_ = option.ignoreInitialOverlaps;
  // Contacts see each other through the velocity vector, not through coupling blocks.
  fullDelassus_ = false;
  if (resDir.empty())
    MSG_WARN("resDir is not specified.");
  else
    resourceDir_ = resDir;
  rootChild_.push_back(child);
  fixedBasePosition_ = child.jointPosition;
  init();
}

ArticulatedSystem::~ArticulatedSystem() = default;

void ArticulatedSystem::getPosition(size_t localIdx, Mat<3, 1>& out) const {
  if (checkBodyIndex(localIdx, "getPosition")) out = kinematics_.positionW[localIdx];
}

void ArticulatedSystem::getVelocity(size_t localIdx, Mat<3, 1>& out) const {
  if (checkBodyIndex(localIdx, "getVelocity")) out = kinematics_.linearVelocityW[localIdx];
}

void ArticulatedSystem::getOrientation(size_t localIdx, Mat<3, 3>& out) const {
  if (checkBodyIndex(localIdx, "getOrientation")) out = kinematics_.rotationW[localIdx];
}

double ArticulatedSystem::getMass(size_t localIdx) const {
  return checkBodyIndex(localIdx, "getMass") ? tree_.mass[localIdx] : 0.0;
}

BodyType ArticulatedSystem::getBodyType(size_t localIdx) const {
  if (localIdx == 0 && tree_.jointType[0] == Joint::FIXED) return BodyType::STATIC;
  return BodyType::DYNAMIC;
}

BodyType ArticulatedSystem::getBodyType() const {
  return BodyType::DYNAMIC;
}

void ArticulatedSystem::setMass(size_t localIdx, double mass) {
  if (!checkBodyIndex(localIdx, "setMass")) return;
  tree_.mass[localIdx] = mass;
  computeCompositeMass();
  passes_->loadMassProperties();
}

void ArticulatedSystem::setBodyCom(size_t localIdx, const Mat<3, 1>& comB) {
  if (!checkBodyIndex(localIdx, "setBodyCom")) return;
  tree_.comB[localIdx] = comB;
  passes_->loadMassProperties();
  // The kinematics leave a fixed root as it is.
  kinematics_.comW[localIdx] =
      kinematics_.positionW[localIdx] + kinematics_.rotationW[localIdx] * tree_.comB[localIdx];
  updateKinematics();
}

void ArticulatedSystem::setBodyInertia(size_t localIdx, const Mat<3, 3>& inertiaB) {
  if (!checkBodyIndex(localIdx, "setBodyInertia")) return;
  tree_.inertiaB[localIdx] = inertiaB;
  passes_->loadMassProperties();
}

void ArticulatedSystem::computeCompositeMass() {
  tree_.compositeMass = tree_.mass;
  for (size_t i = tree_.bodyCount; i-- > 0;)
    for (const size_t child : tree_.children[i])
      tree_.compositeMass[i] += tree_.compositeMass[child];
}

void ArticulatedSystem::updateMassInfo() {
  formCompositeBodies();
  computeCompositeMass();
  passes_->loadMassProperties();
  for (size_t i = tree_.bodyCount; i-- > 0;) {
    for (const size_t child : tree_.children[i])
      compositeMassMoment_[i] += compositeMassMoment_[child];
    for (size_t k = 0; k < 3; ++k)
      compositeComW_[i][k] = compositeMassMoment_[i][k] / tree_.compositeMass[i];
  }
}

}  // namespace zelvik
