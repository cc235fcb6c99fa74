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

 private:
  Mat<3, 1> dimensions_;
};

}  // namespace zelvik
