// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "articulated/TreePasses.hpp"

// What a step computes stays in the form in which the step needs it; the dense matrix and the
// arrays over bodies are formed when somebody reads them, and from then on in every step: who holds
// a reference, or a view of another language on the same memory, reads the last step.

namespace zelvik {

void ArticulatedSystem::updateKinematics() {
  passes_->updateKinematics(gc_.v);
}

void ArticulatedSystem::computeNonlinearities(const Mat<3, 1>& gravity, VecDyn& h) {
  if (h.n != tree_.dof) {
    MSG_FATAL("computeNonlinearities: the vector has " << h.n << " entries, the system has "
                                                       << tree_.dof << " velocities");
    return;
  }
  passes_->computeNonlinearities(gravity, gv_.v, h);
}

void ArticulatedSystem::computeMassMatrix(MatDyn& M) {
  if (!checkSquare(M, "computeMassMatrix")) return;
  formMassMatrix();
  computeMassRows();
  massMatrixFormed_ = true;  // `massMatrix_` keeps showing the last step
  tree_.pattern.unpack(massRows_.v, M.v);
  refreshKeptQuantities();
}

void ArticulatedSystem::computeMassRows() {
  passes_->computeMassRows(massRows_.v);
  for (size_t k = 0; k < tree_.dof; ++k)
    massRows_[tree_.pattern.rowStart[k] + tree_.pattern.position[k]] += joints_.rotorInertia[k];
  massMatrixFormed_ = false;
  compositeBodiesFormed_ = false;
}

void ArticulatedSystem::formMassMatrix() const {
  if (massMatrixFormed_) return;
  tree_.pattern.unpack(massRows_.v, massMatrix_.v);
  massMatrixFormed_ = true;
}

void ArticulatedSystem::formCompositeBodies() const {
  if (compositeBodiesFormed_) return;
  passes_->writeCompositeBodies(inertiaW_, compositeInertiaW_, compositeMassMoment_,
                                compositeComW_);
  if (tree_.jointType[0] == Joint::FIXED) compositeComW_[0] = comOfFixedRootAndTree();
  compositeBodiesFormed_ = true;
}

/// The step stops short of a fixed root: its own moment and those of the subtrees that hang on it.
Vec3 ArticulatedSystem::comOfFixedRootAndTree() const {
  if (tree_.compositeMass[0] == 0.0) return kinematics_.comW[0];
  Vec3 moment = compositeMassMoment_[0];
  for (const size_t child : tree_.children[0]) moment += compositeMassMoment_[child];
  return (1.0 / tree_.compositeMass[0]) * moment;
}

void ArticulatedSystem::refreshKeptQuantities() const {
  if (keepMassMatrix_) formMassMatrix();
  if (keepMassInverse_) formMassInverse();
  if (keepCompositeBodies_) formCompositeBodies();
}

}  // namespace zelvik
