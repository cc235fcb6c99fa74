// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cmath>
#include <zelvik/object/Ground.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

Ground::Ground(double height) : SingleBodyObject(GROUND), height_(height) {
  bodyType_ = BodyType::STATIC;
  if (!std::isfinite(height)) {
    MSG_FATAL("Ground: the height must be finite, but is " << height);
    return;
  }
  adoptGeom(dCreatePlane(nullptr, 0.0, 0.0, 1.0, height));
}

void Ground::updateCollision() {}

std::unique_ptr<Object> Ground::copy() const {
  std::unique_ptr<Ground> out(new Ground(*this));
  out->copyGeom(*this);
  return out;
}

}  // namespace zelvik
