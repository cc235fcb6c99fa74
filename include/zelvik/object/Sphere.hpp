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
  /// Changes the size between steps. The centre, the mass and the velocity stay; the inertia
  /// becomes that of the solid sphere, also if another one had been set. What the ball touched or
  /// hung on it touches by the new radius from the next step on.
  /// @param radius (m), finite and above 0; otherwise fatal, and nothing changes
  void setRadius(double radius);

  std::unique_ptr<Object> copy() const override;

 private:
  Sphere(const Sphere&) = default;  // for `copy`

  double radius_;
};

}  // namespace zelvik
