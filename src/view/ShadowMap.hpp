// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Eigen/Core>
#include <vector>

namespace zelvik::view {

/// Distances from the sun to the first surface, over a square grid of texels across its light.
/// Positions in one common frame (m).
class ShadowMap {
 public:
  /// @param sun unit vector to the sun
  /// @param corners of triangles, three each
  /// @param reach corners that lie farther from `centre` do not widen the map (m)
  ShadowMap(const Eigen::Vector3f& sun, const std::vector<Eigen::Vector3f>& corners,
            const Eigen::Vector3f& centre, float reach);

  /// Share of the sun that reaches a point of a surface with that normal, 0 to 1.
  float light(const Eigen::Vector3f& point, const Eigen::Vector3f& normal) const;

 private:
  /// Place on the map (texels) and depth away from the sun (m).
  Eigen::Vector3f project(const Eigen::Vector3f& point) const;
  void fit(const std::vector<Eigen::Vector3f>& corners, const Eigen::Vector3f& centre, float reach);
  void draw(const std::vector<Eigen::Vector3f>& corners);

  void summarise();

  static constexpr int kSize = 512, kTile = 16, kTiles = kSize / kTile;
  Eigen::Matrix3f axes_;  ///< rows: two across the light, one along it
  Eigen::Vector2f origin_{0.0f, 0.0f};
  float texel_ = 0.0f;  ///< (m); 0 for a map without anything in it
  float inverseTexel_ = 0.0f;
  std::vector<float> depth_;    ///< per texel (m)
  std::vector<float> nearest_;  ///< per tile, the least depth that a place in it looks at (m)
};

}  // namespace zelvik::view
