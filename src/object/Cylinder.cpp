// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/object/Cylinder.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

namespace {

/// Of a solid cylinder along z (kg m^2).
Mat33 cylinderInertia(double mass, double radius, double height) {
  const double r2 = radius * radius;
  const double lateral = 0.25 * mass * r2 + 0.08333333333333333 * mass * height * height;
  return {{lateral, 0.0, 0.0, 0.0, lateral, 0.0, 0.0, 0.0, 0.5 * mass * r2}};
}

}  // namespace

Cylinder::Cylinder(double radius, double height, double mass)
    : SingleBodyObject(CYLINDER), radius_(radius), height_(height) {
  setMassProperties(mass, cylinderInertia(mass, radius, height));
  if (!isUsableSize(radius) || !isUsableSize(height)) {
    MSG_FATAL("Cylinder: radius and height must be finite and at least 0, but are "
              << radius << " and " << height);
    return;
  }
  adoptGeom(dCreateCylinder(nullptr, radius, height));
  updateCollision();
}

void Cylinder::setSize(double radius, double height) {
  if (!isUsableNewSize(radius) || !isUsableNewSize(height)) {
    MSG_FATAL("Cylinder::setSize: radius and height must be finite and above 0, but are "
              << radius << " and " << height);
    return;
  }
  radius_ = radius;
  height_ = height;
  if (collisionObject_ != nullptr) dGeomCylinderSetParams(collisionObject_, radius, height);
  finishResize(cylinderInertia(mass_, radius, height));
}

std::unique_ptr<Object> Cylinder::copy() const {
  std::unique_ptr<Cylinder> out(new Cylinder(*this));
  out->copyGeom(*this);
  return out;
}

}  // namespace zelvik
