// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/export.hpp>
#include <zelvik/object/SingleBodyObject.hpp>

namespace zelvik {

/// Solid box about its origin.
class ZELVIK_API Box : public SingleBodyObject {
 public:
  /// @param x,y,z full lengths (m), finite and at least 0; otherwise fatal, and the body has no
  /// geom
  /// @param mass (kg)
  Box(double x, double y, double z, double mass);
  const Mat<3, 1>& getDimensions() const { return dimensions_; }  ///< full lengths (m)
  ///@{
  /// Changes the size between steps; full lengths (m), finite and above 0, otherwise fatal, and
  /// nothing changes. The centre, the mass and the velocity stay; the inertia becomes that of the
  /// solid box, also if another one had been set.
  void setDimensions(double x, double y, double z);
  void setDimensions(const Mat<3, 1>& lengths) {
    setDimensions(lengths[0], lengths[1], lengths[2]);
  }
  template <typename Derived, typename = IfVector3<Derived>>
  void setDimensions(const Eigen::MatrixBase<Derived>& lengths) {
    Vec3 v;
    if (readArgument(lengths, "setDimensions", v)) setDimensions(v);
  }
  ///@}

  std::unique_ptr<Object> copy() const override;

 private:
  Box(const Box&) = default;  // for `copy`

  Mat<3, 1> dimensions_;
};

}  // namespace zelvik
