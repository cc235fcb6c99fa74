// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cstring>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {
/// D = (dt/2) (damping + (dt/2) (stiffness + pGain) + dGain); the gains count in PD mode only.
void ArticulatedSystem::computeDampedMass(double dt) {
  const double half = 0.5 * dt;
  dampedDiagonal_ = joints_.damping;
  for (const JointSpring& spring : joints_.springs) {
    const Joint::Type type = tree_.jointType[spring.bodyIdx];
    const size_t width = type == Joint::FLOATING ? 0 : velocityCount(type);
    for (size_t k = 0; k < width; ++k)
      dampedDiagonal_[tree_.dofStart[spring.bodyIdx] + k] += half * spring.stiffness;
  }
  for (size_t k = 0; k < tree_.dof; ++k) {
    if (joints_.controlMode == PD_PLUS_FEED_FORWARD) {
      dampedDiagonal_[k] += half * joints_.pGain[k];
      dampedDiagonal_[k] += joints_.dGain[k];
    }
    dampedDiagonal_[k] *= half;
    dampedDiagonalRate_[k] = dampedDiagonal_[k] * (1.0 / dt);
  }
  dampedTimeStep_ = dt;
}

/// Returns false after a fatal message.
bool ArticulatedSystem::checkSquare(const MatDyn& matrix, const char* where) const {
  if (matrix.n == tree_.dof && matrix.m == tree_.dof) return true;
  MSG_FATAL(where << ": the matrix is " << matrix.n << " by " << matrix.m << ", the system has "
                  << tree_.dof << " velocities");
  return false;
}

/// Diagonal that the scheme of the step adds to M.
const VecDyn& ArticulatedSystem::implicitDiagonal() const {
  return integrationScheme_ < RUNGE_KUTTA_4 ? dampedDiagonal_ : joints_.damping;
}

void ArticulatedSystem::computeSparseInverse(const MatDyn& M, MatDyn& Minv) {
  const char* where = "computeSparseInverse";
  if (tree_.dof == 0 || !checkSquare(M, where) || !checkSquare(Minv, where)) return;
  tree_.pattern.pack(M.v, callerFactor_.rows());
  callerFactor_.addDiagonal(implicitDiagonal().v);
  callerFactor_.factorise();
  callerFactor_.invert(Minv.v);
}

/// Factorises the matrix of the step. The full inverse is formed only when somebody asks for it.
void ArticulatedSystem::factoriseMassMatrix() {
  if (tree_.dof == 0) return;
  std::memcpy(factor_.rows(), massRows_.v, tree_.pattern.storage * sizeof(double));
  factor_.addDiagonal(implicitDiagonal().v);
  factor_.factorise();
  massInverseFormed_ = false;
}

void ArticulatedSystem::formMassInverse() const {
  if (massInverseFormed_) return;
  factor_.invert(massInverse_.v);
  massInverseFormed_ = true;
}

}  // namespace zelvik
