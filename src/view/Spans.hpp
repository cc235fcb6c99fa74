// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Eigen/Core>
#include <algorithm>
#include <cmath>

namespace zelvik::view {

/// Coefficients (x, y, 1) of the plane through three points of the screen; x and y are places, z
/// the value. False if they lie on a line.
inline bool planeThrough(const Eigen::Vector3f* p, float* coefficients) {
  const double ax = p[1].x() - p[0].x(), ay = p[1].y() - p[0].y(), az = p[1].z() - p[0].z();
  const double bx = p[2].x() - p[0].x(), by = p[2].y() - p[0].y(), bz = p[2].z() - p[0].z();
  const double area = ax * by - bx * ay;
  if (!(std::fabs(area) > 1e-9) || !std::isfinite(area)) return false;
  const double dx = (az * by - bz * ay) / area, dy = (ax * bz - bx * az) / area;
  coefficients[0] = static_cast<float>(dx);
  coefficients[1] = static_cast<float>(dy);
  coefficients[2] = static_cast<float>(p[0].z() - dx * p[0].x() - dy * p[0].y());
  return true;
}

/// Range of x in which the row y lies inside of the triangle.
inline void rowRange(const Eigen::Vector3f* p, float y, float& begin, float& end) {
  begin = 1e30f;
  end = -1e30f;
  for (int i = 0; i < 3; ++i) {
    const Eigen::Vector3f &a = p[i], &b = p[(i + 1) % 3];
    if ((y < a.y() && y < b.y()) || (y > a.y() && y > b.y()) || a.y() == b.y()) continue;
    const float x = a.x() + (b.x() - a.x()) * ((y - a.y()) / (b.y() - a.y()));
    begin = std::min(begin, x);
    end = std::max(end, x);
  }
}

/// Calls `visit(y, xBegin, xEnd)` for each row of a grid whose samples, at the middles of the
/// cells, lie in a triangle. Neighbours overlap by a hair rather than leave a gap.
template <typename Visit>
inline void forSpans(const Eigen::Vector3f* p, int columns, int rows, Visit&& visit) {
  constexpr float hair = 1e-3f;
  const float low = std::min({p[0].y(), p[1].y(), p[2].y()});
  const float high = std::max({p[0].y(), p[1].y(), p[2].y()});
  const auto clampTo = [](float value, int limit) {
    return static_cast<int>(std::clamp(value, 0.0f, static_cast<float>(limit)));
  };
  const int yBegin = clampTo(std::ceil(low - 0.5f), rows);
  const int yEnd = clampTo(std::floor(high - 0.5f) + 1.0f, rows);
  for (int y = yBegin; y < yEnd; ++y) {
    float begin, end;
    rowRange(p, static_cast<float>(y) + 0.5f, begin, end);
    const int xBegin = clampTo(std::ceil(begin - 0.5f - hair), columns);
    const int xEnd = clampTo(std::floor(end - 0.5f + hair) + 1.0f, columns);
    if (xBegin < xEnd) visit(y, xBegin, xEnd);
  }
}

}  // namespace zelvik::view
