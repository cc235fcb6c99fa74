// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/object/Capsule.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

namespace {

/// Inertia about the centre (kg m^2) of uniform density: cylinder of mass mc, half spheres of mass
/// mh each, split by volume; V is the volume over pi. The lateral moments are meant to be on the
/// large side: the half spheres count 0.5 h^2 where the parallel axis theorem gives 0.25 h^2.
Mat33 capsuleInertia(double m, double r, double h) {
  const double V = 4.0 / 3.0 * r * r * r + r * r * h;
  const double mc = m * r * r * h / V;
  const double mh = 2.0 / 3.0 * r * r * r * m / V;
  const double lateral = mc * (0.25 * r * r + 0.08333333333333333 * h * h) +
                         2.0 * mh * (0.4 * r * r + 0.5 * h * h + 0.375 * h * r);
  const double axial = 0.5 * mc * r * r + 0.8 * mh * r * r;
  return {{lateral, 0.0, 0.0, 0.0, lateral, 0.0, 0.0, 0.0, axial}};
}

}  // namespace

Capsule::Capsule(double radius, double height, double mass)
    : SingleBodyObject(CAPSULE), radius_(radius), height_(height) {
  setMassProperties(mass, capsuleInertia(mass, radius, height));
  if (!isUsableSize(radius) || !isUsableSize(height)) {
    MSG_FATAL("Capsule: radius and height must be finite and at least 0, but are "
              << radius << " and " << height);
    return;
  }
  adoptGeom(dCreateCapsule(nullptr, radius, height));
  updateCollision();
}

void Capsule::setSize(double radius, double height) {
  if (!isUsableNewSize(radius) || !isUsableSize(height)) {
    MSG_FATAL(
        "Capsule::setSize: the radius must be finite and above 0, the height finite and at "
        "least 0, but they are "
        << radius << " and " << height);
    return;
  }
  radius_ = radius;
  height_ = height;
  if (collisionObject_ != nullptr) dGeomCapsuleSetParams(collisionObject_, radius, height);
  finishResize(capsuleInertia(mass_, radius, height));
}

std::unique_ptr<Object> Capsule::copy() const {
  std::unique_ptr<Capsule> out(new Capsule(*this));
  out->copyGeom(*this);
  return out;
}

}  // namespace zelvik
