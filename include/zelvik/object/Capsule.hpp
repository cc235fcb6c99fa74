// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/export.hpp>
#include <zelvik/object/SingleBodyObject.hpp>

namespace zelvik {

/// Solid cylinder with a half sphere at each end, about its origin; its axis is the body's z axis.
/// For h > 0 the lateral moments are above those of the solid: the half spheres count 0.5 h^2
/// where the parallel axis theorem gives 0.25 h^2.
class ZELVIK_API Capsule : public SingleBodyObject {
 public:
  /// @param radius (m), finite and at least 0; otherwise fatal, and the body has no geom
  /// @param height length of the cylinder part (m), likewise
  /// @param mass (kg)
  Capsule(double radius, double height, double mass);
  double getRadius() const { return radius_; }  ///< (m)
  double getHeight() const { return height_; }  ///< of the cylinder part (m)
  /// Changes the size between steps. The centre, the mass and the velocity stay; the inertia
  /// becomes that which the constructor gives, also if another one had been set.
  /// @param radius (m), finite and above 0; otherwise fatal, and nothing changes
  /// @param height length of the cylinder part (m), finite and at least 0, likewise
  void setSize(double radius, double height);
  void setRadius(double radius) { setSize(radius, height_); }  ///< see `setSize` (m)
  void setHeight(double height) { setSize(radius_, height); }  ///< see `setSize` (m)

  std::unique_ptr<Object> copy() const override;

 private:
  Capsule(const Capsule&) = default;  // for `copy`

  double radius_, height_;
};

}  // namespace zelvik
