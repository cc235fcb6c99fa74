// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "articulated/TreeSweeps.hpp"

// What a step computes stays in the form in which the step needs it; the dense matrix and the
// arrays over bodies are formed when somebody reads them.

namespace zelvik {

void ArticulatedSystem::computeMassMatrix(MatDyn& M) {
  if (!checkSquare(M, "computeMassMatrix")) return;
  formMassMatrix();
  computeMassRows();
  massMatrixFormed_ = true;  // `massMatrix_` keeps showing the last step
  pattern_.unpack(massRows_.v, M.v);
}

void ArticulatedSystem::computeMassRows() {
  sweeps_->computeMassRows(massRows_.v);
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
  sweeps_->writeCompositeBodies(inertiaW_, compositeInertiaW_, compositeMassMoment_,
                                compositeComW_);
  // The step stops short of a fixed root.
  if (jointType_[0] == Joint::FIXED && compositeMass_[0] != 0.0) {
    Vec3 moment = compositeMassMoment_[0];
    for (const size_t child : children_[0]) moment += compositeMassMoment_[child];
    compositeComW_[0] = (1.0 / compositeMass_[0]) * moment;
  }
  compositeBodiesFormed_ = true;
}

}  // namespace zelvik
