// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "articulated/TreePasses.hpp"

// What a step computes stays in the form in which the step needs it; the dense matrix and the
// arrays over bodies are formed when somebody reads them, and from then on in every step: who holds
// a reference, or a view of another language on the same memory, reads the last step.

namespace zelvik {

void ArticulatedSystem::computeMassMatrix(MatDyn& M) {
  if (!checkSquare(M, "computeMassMatrix")) return;
  formMassMatrix();
  computeMassRows();
  massMatrixFormed_ = true;  // `massMatrix_` keeps showing the last step
  pattern_.unpack(massRows_.v, M.v);
  refreshKeptQuantities();
}

void ArticulatedSystem::computeMassRows() {
  passes_->computeMassRows(massRows_.v);
  for (size_t k = 0; k < dof_; ++k)
    massRows_[pattern_.rowStart[k] + pattern_.position[k]] += rotorInertia_[k];
  massMatrixFormed_ = false;
  compositeBodiesFormed_ = false;
}

void ArticulatedSystem::formMassMatrix() const {
  if (massMatrixFormed_) return;
  pattern_.unpack(massRows_.v, massMatrix_.v);
  massMatrixFormed_ = true;
}

void ArticulatedSystem::formCompositeBodies() const {
  if (compositeBodiesFormed_) return;
  passes_->writeCompositeBodies(inertiaW_, compositeInertiaW_, compositeMassMoment_,
                                compositeComW_);
  if (jointType_[0] == Joint::FIXED) compositeComW_[0] = comOfFixedRootAndTree();
  compositeBodiesFormed_ = true;
}

/// The step stops short of a fixed root: its own moment and those of the subtrees that hang on it.
Vec3 ArticulatedSystem::comOfFixedRootAndTree() const {
  if (compositeMass_[0] == 0.0) return comW_[0];
  Vec3 moment = compositeMassMoment_[0];
  for (const size_t child : children_[0]) moment += compositeMassMoment_[child];
  return (1.0 / compositeMass_[0]) * moment;
}

void ArticulatedSystem::refreshKeptQuantities() const {
  if (keepMassMatrix_) formMassMatrix();
  if (keepMassInverse_) formMassInverse();
  if (keepCompositeBodies_) formCompositeBodies();
}

}  // namespace zelvik
