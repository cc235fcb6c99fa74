// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/object/Sphere.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

Sphere::Sphere(double radius, double mass) : SingleBodyObject(SPHERE), radius_(radius) {
  const double moment = 0.4 * mass * radius * radius;
  setMassProperties(mass, {{moment, 0.0, 0.0, 0.0, moment, 0.0, 0.0, 0.0, moment}});
  gyroscopicMode_ = EXPLICIT_GYROSCOPIC;
  if (!isUsableSize(radius)) {
    MSG_FATAL("Sphere: the radius must be finite and at least 0, but is " << radius);
    return;
  }
  adoptGeom(dCreateSphere(nullptr, radius));
  updateCollision();
}

}  // namespace zelvik
