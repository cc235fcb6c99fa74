// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <vector>
#include <zelvik/object/ArticulatedSystem/JointAndBodies.hpp>

#include "ConvexHull.hpp"
#include "RobotRecord.hpp"

namespace zelvik::model {

/// A sphere, box, cylinder or capsule in the place of a hull.
struct Primitive {
  Shape::Type shape = Shape::BOX;
  std::vector<double> size;  ///< see `Shape::Type` (m)
  Pose pose;                 ///< in the frame of the hull
  double volume = 0.0;       ///< (m^3)
  /// Hausdorff distance to the hull: the largest difference of the support functions of both over
  /// some hundred directions (m).
  double error = 0.0;
};

/// The primitive of least volume that holds the hull. Boxes, cylinders and capsules are tried along
/// the axes of the frame and along the principal axes of the hull.
Primitive fitPrimitive(const ConvexHull& hull);

/// "box 0.2 x 0.1 x 0.3 m", "sphere of radius 0.1 m", ...
std::string primitiveText(Shape::Type shape, const std::vector<double>& size);

}  // namespace zelvik::model
