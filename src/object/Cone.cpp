// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/object/Cone.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

Cone::Cone(double radius, double height, double mass)
    : SingleBodyObject(CONE),
      radius_(radius),
      height_(height),
      collisionOffset_{{0.0, 0.0, -0.25 * height}} {
  const double base = 0.1 * mass * height * height, r2 = radius * radius;
  setMassProperties(
      mass, {{base, 0.0, 0.0, 0.0, 0.15 * mass * r2 + base, 0.0, 0.0, 0.0, 0.3 * mass * r2}});
  setComOffset({{0.0, 0.0, 0.25 * height}});
  updateCollision();
  MSG_FATAL("CONE IS NOT SUPPORTED WITH ODE BACKEND");
}

void Cone::updateCollision() {
  collisionPos_ = comPos_ + rot_ * collisionOffset_;
  if (collisionObject_ != nullptr) writeGeomPose(collisionObject_, collisionPos_, rot_);
}

void Cone::setOrientation(double w, double x, double y, double z) {
  turnAboutOrigin({{w, x, y, z}});
}

void Cone::turnAboutOrigin(const Mat<4, 1>& q) {
  quaternion_ = q;
  quatToRotMat(quaternion_, rot_);
  similarityTransform(rot_, bodyInertia_, worldInertia_);
  similarityTransform(rot_, bodyInertiaInv_, worldInertiaInv_);
  comPos_ = bodyPos_ + rot_ * comOffset_;
  updateCollision();
}

std::unique_ptr<Object> Cone::copy() const {
  std::unique_ptr<Cone> out(new Cone(*this));
  out->copyGeom(*this);
  return out;
}

}  // namespace zelvik
