// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/object/Box.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

namespace {

/// Of a solid box (kg m^2).
Mat33 boxInertia(double mass, double x, double y, double z) {
  const double k = 0.08333333333333333 * mass;  // m / 12
  return {{k * (y * y + z * z), 0.0, 0.0, 0.0, k * (x * x + z * z), 0.0, 0.0, 0.0,
           k * (x * x + y * y)}};
}

}  // namespace

Box::Box(double x, double y, double z, double mass)
    : SingleBodyObject(BOX), dimensions_{{x, y, z}} {
  setMassProperties(mass, boxInertia(mass, x, y, z));
  if (!isUsableSize(x) || !isUsableSize(y) || !isUsableSize(z)) {
    MSG_FATAL("Box: the lengths must be finite and at least 0, but x, y, z are " << x << ", " << y
                                                                                 << ", " << z);
    return;
  }
  adoptGeom(dCreateBox(nullptr, x, y, z));
  updateCollision();
}

void Box::setDimensions(double x, double y, double z) {
  if (!isUsableNewSize(x) || !isUsableNewSize(y) || !isUsableNewSize(z)) {
    MSG_FATAL("Box::setDimensions: the lengths must be finite and above 0, but x, y, z are "
              << x << ", " << y << ", " << z);
    return;
  }
  dimensions_ = {{x, y, z}};
  if (collisionObject_ != nullptr) dGeomBoxSetLengths(collisionObject_, x, y, z);
  finishResize(boxInertia(mass_, x, y, z));
}

std::unique_ptr<Object> Box::copy() const {
  std::unique_ptr<Box> out(new Box(*this));
  out->copyGeom(*this);
  return out;
}

}  // namespace zelvik
