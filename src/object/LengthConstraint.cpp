// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cmath>
#include <zelvik/object/LengthConstraint.hpp>
#include <zelvik/object/Object.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

LengthConstraint::LengthConstraint(Object* body1, unsigned long localIdx1, Mat<3, 1> localPos1,
                                   Object* body2, unsigned long localIdx2, Mat<3, 1> localPos2,
                                   double length)
    : localPos1_(localPos1),
      body1_(body1),
      localPos2_(localPos2),
      body2_(body2),
      localIdx1_(localIdx1),
      localIdx2_(localIdx2),
      length_(length) {}

void LengthConstraint::setLength(double length) {
  if (!(length >= 0.0 && std::isfinite(length))) {
    MSG_FATAL("LengthConstraint::setLength: the length must be finite and at least 0, but is "
              << length);
    return;
  }
  length_ = length;
}

void LengthConstraint::releaseBody(const Object* body) {
  if (body1_ != body && body2_ != body) return;
  body1_ = body2_ = nullptr;
  active_ = false;
}

void LengthConstraint::update() {
  if (body1_ == nullptr) return;
  body1_->getPosition(localIdx1_, localPos1_, worldPos1_);
  body2_->getPosition(localIdx2_, localPos2_, worldPos2_);
  const Vec3 d = worldPos2_ - worldPos1_;
  distance_ = norm(d);
  for (int i = 0; i < 3; ++i) norm_[i] = d[i] / distance_;
  switch (stretchType_) {
    case 0:
      active_ = distance_ > length_;
      break;
    case 1:
      active_ = distance_ < length_;
      break;
    case 2:
      active_ = true;
      break;
    default:
      break;
  }
  stretch_ = distance_ - length_;
}

}  // namespace zelvik
