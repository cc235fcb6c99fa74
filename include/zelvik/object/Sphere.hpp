// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/export.hpp>
#include <zelvik/object/SingleBodyObject.hpp>

namespace zelvik {

/// Solid sphere about its origin. It has no gyroscopic term to speak of, so it starts in the cheap
/// mode `EXPLICIT_GYROSCOPIC`.
class ZELVIK_API Sphere : public SingleBodyObject {
 public:
  /// @param radius (m), finite and at least 0; otherwise fatal, and the body has no geom
  /// @param mass (kg)
  Sphere(double radius, double mass);
  double getRadius() const { return radius_; }  ///< (m)

 private:
  double radius_;
};

}  // namespace zelvik
