// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cmath>
#include <zelvik/object/CompliantLengthConstraint.hpp>
#include <zelvik/object/Object.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

CompliantLengthConstraint::CompliantLengthConstraint(Object* body1, int localIdx1,
                                                     Mat<3, 1> localPos1, Object* body2,
                                                     int localIdx2, Mat<3, 1> localPos2,
                                                     double length, double stiffness)
    : LengthConstraint(body1, static_cast<unsigned long>(localIdx1), localPos1, body2,
                       static_cast<unsigned long>(localIdx2), localPos2, length),
      stiffness_(stiffness) {
  initialLength_ = length_;
}

void CompliantLengthConstraint::setStiffness(double stiffness) {
  if (!(stiffness >= 0.0 && std::isfinite(stiffness))) {
    MSG_FATAL(
        "CompliantLengthConstraint::setStiffness: the stiffness must be finite and at least "
        "0, but is "
        << stiffness);
    return;
  }
  stiffness_ = stiffness;
}

void CompliantLengthConstraint::applyTension() {
  if (!active_) return;
  tension1_ = (stretch_ * stiffness_) * norm_;
  tension2_ = -tension1_;
  if (body1_->getBodyType() == BodyType::DYNAMIC)
    body1_->setConstraintForce(localIdx1_, localPos1_, tension1_);
  if (body2_->getBodyType() == BodyType::DYNAMIC)
    body2_->setConstraintForce(localIdx2_, localPos2_, tension2_);
}

}  // namespace zelvik
