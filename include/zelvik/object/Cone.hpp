// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/export.hpp>
#include <zelvik/object/SingleBodyObject.hpp>

namespace zelvik {

/// Cone along the body's z axis with the origin at the base and the centre of mass at a quarter of
/// the height. Its lateral moments, 0.1 m h^2 and 0.15 m r^2 + 0.1 m h^2, are not those of a solid
/// cone; the axial one, 0.3 m r^2, is. ODE has no such shape: the body moves, but collides with
/// nothing.
///
/// Unlike in the other objects, `setOrientation` with four numbers or an `Eigen::Quaterniond` turns
/// the centre of mass with the body.
class ZELVIK_API Cone : public SingleBodyObject {
 public:
  /// Fatal: "CONE IS NOT SUPPORTED WITH ODE BACKEND"; a callback that returns leaves a body without
  /// a geom.
  /// @param radius,height (m)
  /// @param mass (kg)
  Cone(double radius, double height, double mass);
  double getRadius() const { return radius_; }  ///< (m)
  double getHeight() const { return height_; }  ///< (m)
  /// Where the collision shape would stand (m, world axes).
  const Mat<3, 1>& getCollisionPosition() const { return collisionPos_; }

  void updateCollision() override;
  /// The other forms leave the centre of mass where it is.
  using SingleBodyObject::setOrientation;
  ///@{
  /// Turns the body and its centre of mass about the body's origin.
  void setOrientation(double w, double x, double y, double z) override;
  void setOrientation(const Eigen::Quaterniond& q) override {
    Vec4 unit{{q.w(), q.x(), q.y(), q.z()}};
    unit *= 1.0 / norm(unit);
    turnAboutOrigin(unit);
  }
  ///@}

  std::unique_ptr<Object> copy() const override;

 private:
  Cone(const Cone&) = default;  // for `copy`

  void turnAboutOrigin(const Mat<4, 1>& q);

  double radius_, height_;
  Mat<3, 1> collisionOffset_;  ///< centre of the shape from the centre of mass (m, body axes)
  Mat<3, 1> collisionPos_{};   ///< the same in the world (m), written by `updateCollision`
};

}  // namespace zelvik
