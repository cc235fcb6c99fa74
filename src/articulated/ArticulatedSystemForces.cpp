// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>

namespace zelvik {

void ArticulatedSystem::setExternalForce(size_t localIdx, const Mat<3, 1>& force) {
  if (!checkBodyIndex(localIdx, "setExternalForce")) return;
  appendExternal(true, force, kinematics_.comW[localIdx]);
  externalForceJacobians_.emplace_back();
  getSparseJacobian(localIdx, kinematics_.comW[localIdx], externalForceJacobians_.back());
}

void ArticulatedSystem::setExternalForce(size_t localIdx, const Mat<3, 1>& pointB,
                                         const Mat<3, 1>& force) {
  setExternalForce(localIdx, WORLD_FRAME, force, BODY_FRAME, pointB);
}

void ArticulatedSystem::setExternalForce(size_t localIdx, Frame forceFrame, const Mat<3, 1>& force,
                                         Frame pointFrame, const Mat<3, 1>& point) {
  if (!checkBodyIndex(localIdx, "setExternalForce")) return;
  const size_t parent = tree_.parent[localIdx];
  // The body whose axes a frame value means; none for world axes, and for the parent of the root.
  const auto reference = [&](Frame frame) {
    if (frame == BODY_FRAME) return localIdx;
    return frame == PARENT_FRAME ? parent : kNone;
  };
  const auto isKnown = [](Frame frame) { return frame >= WORLD_FRAME && frame <= BODY_FRAME; };

  Vec3 forceW{}, pointW{};
  if (isKnown(forceFrame)) {
    const size_t b = reference(forceFrame);
    forceW = b == kNone ? force : kinematics_.rotationW[b] * force;
  }
  if (isKnown(pointFrame)) {
    const size_t b = reference(pointFrame);
    pointW = b == kNone ? point : kinematics_.rotationW[b] * point + kinematics_.positionW[b];
  }
  appendExternal(true, forceW, pointW);
  externalForceJacobians_.emplace_back();
  getSparseJacobian(localIdx, pointW, externalForceJacobians_.back());
}

void ArticulatedSystem::setExternalTorque(size_t localIdx, const Mat<3, 1>& torque) {
  if (!checkBodyIndex(localIdx, "setExternalTorque")) return;
  appendExternal(false, torque, kinematics_.comW[localIdx]);
  externalForceJacobians_.emplace_back();
  getSparseRotationalJacobian(localIdx, externalForceJacobians_.back());
}

void ArticulatedSystem::setConstraintForce(size_t localIdx, const Mat<3, 1>& pointB,
                                           const Mat<3, 1>& force) {
  if (!checkBodyIndex(localIdx, "setConstraintForce")) return;
  constraintForces_.push_back(force);
  constraintJacobians_.emplace_back();
  getSparseJacobian(localIdx,
                    kinematics_.rotationW[localIdx] * pointB + kinematics_.positionW[localIdx],
                    constraintJacobians_.back());
}

void ArticulatedSystem::clearExternalForces() {
  copyPendingForcesToVis();
  externalForceJacobians_.clear();
  clearPendingForces();
}

void ArticulatedSystem::clearExternalForcesAndTorques() {
  clearPendingForces();
  clearVisForces();
  externalForceJacobians_.clear();
}

}  // namespace zelvik
