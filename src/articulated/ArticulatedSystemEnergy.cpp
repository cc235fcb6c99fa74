// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>

namespace zelvik {

double ArticulatedSystem::getPotentialEnergy(const Mat<3, 1>& gravity) const {
  // V = -sum m_i c_i . g, zero at the origin of the world.
  double energy = 0.0;
  for (size_t i = 0; i < tree_.bodyCount; ++i)
    energy -= tree_.mass[i] * dot(kinematics_.comW[i], gravity);
  return energy;
}

double ArticulatedSystem::getKineticEnergy() const {
  // T = 1/2 u^T M u
  formMassMatrix();
  const MatDyn& M = massMatrix_;
  double energy = 0.0;
  for (size_t j = 0; j < tree_.dof; ++j)
    for (size_t i = 0; i < tree_.dof; ++i) energy += gv_[i] * M(i, j) * gv_[j];
  return 0.5 * energy;
}

double ArticulatedSystem::getEnergy(const Mat<3, 1>& gravity) const {
  return getKineticEnergy() + getPotentialEnergy(gravity);
}

void ArticulatedSystem::getAngularMomentum(const Mat<3, 1>& referencePoint,
                                           Mat<3, 1>& angularMomentum) const {
  // L = sum I_i omega_i + m_i (c_i - p) x v_i, with v_i the velocity of the centre of mass
  formCompositeBodies();
  Vec3 sum{};
  for (size_t i = 0; i < tree_.bodyCount; ++i) {
    Vec3 comVelocity;
    getVelocity(i, tree_.comB[i], comVelocity);
    sum += inertiaW_[i] * kinematics_.angularVelocityW[i];
    sum += tree_.mass[i] * cross(kinematics_.comW[i] - referencePoint, comVelocity);
  }
  angularMomentum = sum;
}

}  // namespace zelvik
