// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/object/Sphere.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

namespace {

/// Of a solid ball (kg m^2).
Mat33 sphereInertia(double mass, double radius) {
  const double moment = 0.4 * mass * radius * radius;
  return {{moment, 0.0, 0.0, 0.0, moment, 0.0, 0.0, 0.0, moment}};
}

}  // namespace

Sphere::Sphere(double radius, double mass) : SingleBodyObject(SPHERE), radius_(radius) {
  setMassProperties(mass, sphereInertia(mass, radius));
  gyroscopicMode_ = EXPLICIT_GYROSCOPIC;
  if (!isUsableSize(radius)) {
    MSG_FATAL("Sphere: the radius must be finite and at least 0, but is " << radius);
    return;
  }
  adoptGeom(dCreateSphere(nullptr, radius));
  updateCollision();
}

void Sphere::setRadius(double radius) {
  if (!isUsableNewSize(radius)) {
    MSG_FATAL("Sphere::setRadius: the radius must be finite and above 0, but is " << radius);
    return;
  }
  radius_ = radius;
  if (collisionObject_ != nullptr) dGeomSphereSetRadius(collisionObject_, radius);
  finishResize(sphereInertia(mass_, radius));
}

std::unique_ptr<Object> Sphere::copy() const {
  std::unique_ptr<Sphere> out(new Sphere(*this));
  out->copyGeom(*this);
  return out;
}

}  // namespace zelvik
