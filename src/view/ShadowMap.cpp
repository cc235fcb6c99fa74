// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "ShadowMap.hpp"

#include <Eigen/Geometry>
#include <limits>

#include "Spans.hpp"

namespace zelvik::view {

namespace {
constexpr int kTaps = 5;  // per direction: a box of four texels at any place between them
}

ShadowMap::ShadowMap(const Eigen::Vector3f& sun, const std::vector<Eigen::Vector3f>& corners,
                     const Eigen::Vector3f& centre, float reach) {
  const Eigen::Vector3f side =
      std::fabs(sun.z()) > 0.99f ? Eigen::Vector3f::UnitX() : Eigen::Vector3f::UnitZ();
  const Eigen::Vector3f u = side.cross(sun).normalized();
  axes_.row(0) = u;
  axes_.row(1) = sun.cross(u);
  axes_.row(2) = -sun;
  fit(corners, centre, reach);
  if (!(texel_ > 0.0f)) return;
  draw(corners);
  summarise();
}

void ShadowMap::fit(const std::vector<Eigen::Vector3f>& corners, const Eigen::Vector3f& centre,
                    float reach) {
  Eigen::Vector2f low(1e30f, 1e30f), high(-1e30f, -1e30f);
  for (const Eigen::Vector3f& corner : corners) {
    if (!((corner - centre).norm() < reach)) continue;
    const Eigen::Vector2f p = axes_.topRows<2>() * corner;
    low = low.cwiseMin(p);
    high = high.cwiseMax(p);
  }
  const float size = (high - low).maxCoeff();
  if (!(size > 0.0f)) return;
  texel_ = size / static_cast<float>(kSize - 2 * kTaps);
  inverseTexel_ = 1.0f / texel_;
  origin_ = 0.5f * (low + high) - Eigen::Vector2f::Constant(0.5f * texel_ * kSize);
}

Eigen::Vector3f ShadowMap::project(const Eigen::Vector3f& point) const {
  Eigen::Vector3f p = axes_ * point;
  p.head<2>() = (p.head<2>() - origin_) * inverseTexel_;
  return p;
}

void ShadowMap::draw(const std::vector<Eigen::Vector3f>& corners) {
  depth_.assign(static_cast<std::size_t>(kSize) * kSize, std::numeric_limits<float>::infinity());
  for (std::size_t i = 0; i + 2 < corners.size(); i += 3) {
    const Eigen::Vector3f p[3] = {project(corners[i]), project(corners[i + 1]),
                                  project(corners[i + 2])};
    float plane[3];
    if (!planeThrough(p, plane)) continue;
    const float farthest = std::max({p[0].z(), p[1].z(), p[2].z()});
    forSpans(p, kSize, kSize, [&](int y, int begin, int end) {
      float* row = &depth_[static_cast<std::size_t>(y) * kSize];
      const float start = plane[1] * (static_cast<float>(y) + 0.5f) + plane[2];
      for (int x = begin; x < end; ++x) {
        const float z = start + plane[0] * (static_cast<float>(x) + 0.5f);
        row[x] = std::min({row[x], std::min(z, farthest)});
      }
    });
  }
}

/// The taps of a place reach into the next tiles.
void ShadowMap::summarise() {
  nearest_.assign(static_cast<std::size_t>(kTiles) * kTiles,
                  std::numeric_limits<float>::infinity());
  for (int y = 0; y < kSize; ++y)
    for (int x = 0; x < kSize; ++x) {
      const float d = depth_[static_cast<std::size_t>(y) * kSize + static_cast<std::size_t>(x)];
      if (std::isinf(d)) continue;
      for (int j = std::max(y - kTaps, 0) / kTile; j <= y / kTile; ++j)
        for (int i = std::max(x - kTaps, 0) / kTile; i <= x / kTile; ++i) {
          float& tile = nearest_[static_cast<std::size_t>(j * kTiles + i)];
          tile = std::min(tile, d);
        }
    }
}

float ShadowMap::light(const Eigen::Vector3f& point, const Eigen::Vector3f& normal) const {
  if (!(texel_ > 0.0f)) return 1.0f;
  // Off the surface by some texels: a surface does not shade itself.
  const Eigen::Vector3f p = project(point + 2.5f * texel_ * normal);
  const float x = p.x() - 0.5f * kTaps, y = p.y() - 0.5f * kTaps;
  if (!(x >= 0.0f && y >= 0.0f && x < kSize - kTaps && y < kSize - kTaps)) return 1.0f;
  const int column = static_cast<int>(x), row = static_cast<int>(y);
  if (p.z() <= nearest_[static_cast<std::size_t>(row / kTile * kTiles + column / kTile)])
    return 1.0f;
  const float fx = x - static_cast<float>(column), fy = y - static_cast<float>(row);
  const float z = p.z() - texel_;
  float sum = 0.0f;
  for (int j = 0; j < kTaps; ++j) {
    const float* d =
        &depth_[static_cast<std::size_t>(row + j) * kSize + static_cast<std::size_t>(column)];
    const float weight = j == 0 ? 1.0f - fy : j == kTaps - 1 ? fy : 1.0f;
    float line = (1.0f - fx) * static_cast<float>(d[0] > z) + fx * static_cast<float>(d[4] > z);
    for (int i = 1; i < kTaps - 1; ++i) line += static_cast<float>(d[i] > z);
    sum += weight * line;
  }
  return sum / static_cast<float>((kTaps - 1) * (kTaps - 1));
}

}  // namespace zelvik::view
