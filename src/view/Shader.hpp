// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/view/Rasterizer.hpp>

#include "ShadowMap.hpp"

namespace zelvik::view {

/// The colour of what a rasteriser sees. Colours are linear light here.
class Shader {
 public:
  explicit Shader(const Rasterizer& rasterizer);

  /// @param id what is seen there
  /// @param x, y place on the screen (samples)
  Eigen::Vector3f colorAt(Rasterizer::Id id, float x, float y) const;

 private:
  struct Point {
    const Surface* surface;
    Eigen::Vector3f color;      ///< of the surface
    Eigen::Vector3f positionE;  ///< minus the eye (m)
    Eigen::Vector3f normal;     ///< unit, towards the eye
    const float* inverseDepth;  ///< coefficients on the screen
  };

  Point pointOf(Rasterizer::Id id, float x, float y) const;
  Eigen::Vector3f normalAt(const Rasterizer::Triangle& triangle,
                           const Eigen::Vector3f& positionE) const;
  Eigen::Vector3f positionOn(const float* inverseDepth, float x, float y) const;
  Eigen::Vector3f rayAt(float x, float y) const;
  Eigen::Vector3f sky(const Eigen::Vector3f& ray) const;
  Eigen::Vector3f lit(const Point& point) const;
  float gridAt(const Point& point, float x, float y) const;

  const Rasterizer& r_;
  Eigen::Vector3f sun_, horizon_, zenith_, sunColor_, skyLight_, groundLight_, gridColor_;
  float hazeDistance_;
  std::vector<Eigen::Vector3f> surfaceColors_;
  ShadowMap shadows_;
};

/// Linear light to a byte of sRGB.
std::uint8_t encodeSrgb(float linear);
/// sRGB to linear light.
Eigen::Vector3f linearOf(const std::array<float, 3>& color);

}  // namespace zelvik::view
