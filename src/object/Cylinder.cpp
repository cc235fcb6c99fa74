// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/object/Cylinder.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

Cylinder::Cylinder(double radius, double height, double mass)
    : SingleBodyObject(CYLINDER), radius_(radius), height_(height) {
  const double r2 = radius * radius;
  const double lateral = 0.25 * mass * r2 + 0.08333333333333333 * mass * height * height;
  setMassProperties(mass, {{lateral, 0.0, 0.0, 0.0, lateral, 0.0, 0.0, 0.0, 0.5 * mass * r2}});
  if (!isUsableSize(radius) || !isUsableSize(height)) {
    MSG_FATAL("Cylinder: radius and height must be finite and at least 0, but are "
              << radius << " and " << height);
    return;
  }
  adoptGeom(dCreateCylinder(nullptr, radius, height));
  updateCollision();
}

}  // namespace zelvik
