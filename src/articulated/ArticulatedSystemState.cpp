// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>

#include "core/StateArchive.hpp"

namespace zelvik {
namespace {

/// @param dof bound of the indices
void visitJacobian(StateArchive& archive, size_t dof, SparseJacobian& jacobian) {
  const size_t columns = archive.count(jacobian.size, 4 * sizeof(double));
  archive.require(columns <= dof);
  if (archive.isReading()) {
    jacobian.reserve(columns);
    jacobian.size = columns;
  }
  double ignored[3];
  for (size_t c = 0; c < columns && archive.isGood(); ++c) {
    archive.block(archive.isChecking() ? ignored : jacobian.v.v + 3 * c, 3);
    const std::uint64_t idx = archive.word(archive.isWriting() ? jacobian.idx[c] : 0);
    archive.require(idx < dof);
    if (archive.isReading()) jacobian.idx[c] = static_cast<size_t>(idx);
  }
}

/// As many as there are forces.
void visitJacobians(StateArchive& archive, size_t dof, size_t count,
                    std::vector<SparseJacobian>& jacobians) {
  if (archive.isReading()) jacobians.resize(count);
  SparseJacobian ignored;
  for (size_t i = 0; i < count; ++i)
    visitJacobian(archive, dof, archive.isChecking() ? ignored : jacobians[i]);
}

}  // namespace

/// Beside the state the readings that controllers use between steps: velocities of bodies and joint
/// forces of the last step.
void ArticulatedSystem::visitState(StateArchive& archive) {
  visitJacobians(archive, tree_.dof, visitPendingForces(archive), externalForceJacobians_);
  visitJacobians(archive, tree_.dof, archive.list(constraintForces_), constraintJacobians_);
  for (VecDyn* values :
       {&gc_, &gv_, &joints_.pTarget, &joints_.dTarget, &joints_.feedForward, &generalizedForce_})
    archive(*values);
  archive.flags({&hasMetSomething_});
  if (tree_.jointType[0] == Joint::FIXED) {
    archive(kinematics_.positionW[0]);
    archive(kinematics_.rotationW[0]);
    archive(kinematics_.comW[0]);
  }
  archive.block(kinematics_.linearVelocityW[0].v, 3 * tree_.bodyCount);
  archive.block(kinematics_.angularVelocityW[0].v, 3 * tree_.bodyCount);
  if (!archive.isReading()) return;
  updateKinematics();
  updateCollision();
}

}  // namespace zelvik
