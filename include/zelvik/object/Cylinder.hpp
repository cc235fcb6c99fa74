// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/export.hpp>
#include <zelvik/object/SingleBodyObject.hpp>

namespace zelvik {

/// Solid cylinder about its origin; its axis is the body's z axis.
class ZELVIK_API Cylinder : public SingleBodyObject {
 public:
  /// @param radius,height (m), finite and at least 0; otherwise fatal, and the body has no geom
  /// @param mass (kg)
  Cylinder(double radius, double height, double mass);
  double getRadius() const { return radius_; }  ///< (m)
  double getHeight() const { return height_; }  ///< (m)
  /// Changes the size between steps. The centre, the mass and the velocity stay; the inertia
  /// becomes that of the solid cylinder, also if another one had been set.
  /// @param radius,height (m), finite and above 0; otherwise fatal, and nothing changes
  void setSize(double radius, double height);
  void setRadius(double radius) { setSize(radius, height_); }  ///< see `setSize` (m)
  void setHeight(double height) { setSize(radius_, height); }  ///< see `setSize` (m)

  std::unique_ptr<Object> copy() const override;

 private:
  Cylinder(const Cylinder&) = default;  // for `copy`

  double radius_, height_;
};

}  // namespace zelvik
