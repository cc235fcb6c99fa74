// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cstring>
#include <zelvik/object/CompliantLengthConstraint.hpp>
#include <zelvik/object/SingleBodyObject.hpp>

#include "core/StateArchive.hpp"

// What the next step of objects and wires depends on, and readings of the last one that cost
// little. A member that carries anything from step to step belongs into the list of its class.

namespace zelvik {

size_t Object::visitPendingForces(StateArchive& archive) {
  const size_t count = archive.count(externalForceFlags_.size(), sizeof(double));
  if (archive.isReading()) externalForceFlags_.resize(count);
  for (size_t i = 0; i < count; ++i) {
    const std::uint64_t isForce = archive.word(archive.isWriting() && externalForceFlags_[i]);
    archive.require(isForce < 2);
    if (archive.isReading()) externalForceFlags_[i] = isForce != 0;
  }
  const size_t vectors = archive.list(externalForceVectors_);
  const size_t positions = archive.list(externalForcePositions_);
  archive.require(vectors == count && positions == count);
  return count;
}

void Object::visitState(StateArchive& archive) {
  visitPendingForces(archive);
}

void SingleBodyObject::visitState(StateArchive& archive) {
  Object::visitState(archive);
  const Vec3 positionBefore = bodyPos_;
  const Mat33 rotationBefore = rot_;
  archive(quaternion_);
  archive(rot_);
  archive(bodyPos_);
  archive(comPos_);
  archive(linVel_);
  archive(angVel_);
  archive(force_);
  archive(torque_);
  archive.flags({&constraintForceApplied_});
  if (!archive.isReading()) return;
  updateWorldInertia();
  // Static bodies mostly stand where they stood, and there may be thousands.
  if (std::memcmp(&positionBefore, &bodyPos_, sizeof bodyPos_) != 0 ||
      std::memcmp(&rotationBefore, &rot_, sizeof rot_) != 0 || bodyType_ != BodyType::STATIC)
    updateCollision();
}

void LengthConstraint::visitState(StateArchive& archive) {
  archive(worldPos1_);
  archive(worldPos2_);
  archive(norm_);
  archive(length_);
  archive(distance_);
  archive(stretch_);
  archive.flags({&active_});
}

void CompliantLengthConstraint::visitState(StateArchive& archive) {
  LengthConstraint::visitState(archive);
  archive(tension1_);
  archive(tension2_);
}

}  // namespace zelvik
