// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <algorithm>
#include <array>
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
  float gridAt(const Point& point, float inverseDepth) const;

  const Rasterizer& r_;
  Eigen::Vector3f corner_, acrossRay_, downRay_;  ///< rays are linear on the screen
  Eigen::Vector3f sun_, horizon_, zenith_, sunColor_, skyLight_, groundLight_, gridColor_;
  float hazeDistance_;
  float inverseSpacing_ = 0.0f, inverseMajor_ = 0.0f;  ///< of the grid (1/m), (1)
  float gridOffset_[2]{};                              ///< of the eye on the grid
  std::vector<Eigen::Vector3f> surfaceColors_;
  ShadowMap shadows_;
};

/// From linear light to bytes of sRGB.
class SrgbCurve {
 public:
  SrgbCurve();
  /// Black for what is no number.
  std::uint8_t operator()(float linear) const {
    const float share = linear > 0.0f ? std::min(linear, 1.0f) : 0.0f;
    const float place = share * static_cast<float>(bytes_.size() - 1);
    return bytes_[static_cast<std::size_t>(place + 0.5f)];
  }

 private:
  std::array<std::uint8_t, 4096> bytes_;
};

/// sRGB to linear light.
Eigen::Vector3f linearOf(const std::array<float, 3>& color);

}  // namespace zelvik::view
