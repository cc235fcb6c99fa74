// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/export.hpp>
#include <zelvik/object/SingleBodyObject.hpp>

namespace zelvik {

/// Static horizontal plane with its normal along +z; everything below it is solid. It has neither
/// mass nor inertia, and setting its position does not move the plane.
class ZELVIK_API Ground : public SingleBodyObject {
 public:
  /// @param height z of the plane (m), finite; otherwise fatal, and the object has no geom
  explicit Ground(double height);
  double getHeight() const { return height_; }  ///< (m)
  /// Does nothing: the geom of a plane has no pose.
  void updateCollision() override;

  std::unique_ptr<Object> copy() const override;

 private:
  Ground(const Ground&) = default;  // for `copy`

  double height_;
};

}  // namespace zelvik
