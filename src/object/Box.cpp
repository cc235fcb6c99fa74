// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/object/Box.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

Box::Box(double x, double y, double z, double mass)
    : SingleBodyObject(BOX), dimensions_{{x, y, z}} {
  const double k = 0.08333333333333333 * mass;  // m / 12
  setMassProperties(mass, {{k * (y * y + z * z), 0.0, 0.0, 0.0, k * (x * x + z * z), 0.0, 0.0, 0.0,
                            k * (x * x + y * y)}});
  if (!isUsableSize(x) || !isUsableSize(y) || !isUsableSize(z)) {
    MSG_FATAL("Box: the lengths must be finite and at least 0, but x, y, z are " << x << ", " << y
                                                                                 << ", " << z);
    return;
  }
  adoptGeom(dCreateBox(nullptr, x, y, z));
  updateCollision();
}

}  // namespace zelvik
