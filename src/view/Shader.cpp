// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Shader.hpp"

#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>

namespace zelvik::view {

namespace {

using Eigen::Vector3f;

constexpr float kShadowReach = 4.0f;  // in distances from the eye to the target

float decodeSrgb(float value) {
  return value <= 0.04045f ? value / 12.92f : std::pow((value + 0.055f) / 1.055f, 2.4f);
}

/// Corners of all triangles that cast shadows.
template <typename Triangles>
std::vector<Vector3f> castersOf(const Triangles& triangles, const std::vector<Surface>& surfaces,
                                const std::vector<Vector3f>& vertices) {
  std::vector<Vector3f> corners;
  for (const auto& triangle : triangles)
    if (surfaces[triangle.surface].castsShadow)
      for (const std::uint32_t vertex : triangle.vertex) corners.push_back(vertices[vertex]);
  return corners;
}

Vector3f toFloat(const Vec3& v) {
  return {static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])};
}

/// How much of a pixel a line covers.
/// @param coordinate across the lines, in units of their spacing
/// @param footprint of the pixel, likewise
float lineCoverage(float coordinate, float footprint, float inverseFootprint) {
  const float fade = 1.4f - 5.0f * footprint;  // too fine to be told apart
  if (!(fade > 0.0f)) return 0.0f;
  const float offset = std::fabs(coordinate - std::nearbyintf(coordinate));
  const float halfWidth = std::max(0.6f * footprint, 0.006f);
  const float cover = (halfWidth - offset) * inverseFootprint + 0.5f;
  return std::clamp(cover, 0.0f, 1.0f) * std::min(fade, 1.0f);
}

}  // namespace

SrgbCurve::SrgbCurve() {
  for (std::size_t i = 0; i < bytes_.size(); ++i) {
    const float x = static_cast<float>(i) / static_cast<float>(bytes_.size() - 1);
    const float y = x <= 0.0031308f ? 12.92f * x : 1.055f * std::pow(x, 1.0f / 2.4f) - 0.055f;
    bytes_[i] = static_cast<std::uint8_t>(std::lround(255.0f * y));
  }
}

Vector3f linearOf(const std::array<float, 3>& color) {
  return {decodeSrgb(color[0]), decodeSrgb(color[1]), decodeSrgb(color[2])};
}

Shader::Shader(const Rasterizer& r)
    : r_(r),
      sun_(toFloat(r.scenery_.sunW).normalized()),
      hazeDistance_(10.0f * r.targetDistance_),
      shadows_(sun_, castersOf(r.triangles_, r.surfaces_, r.vertices_),
               r.targetDistance_ * r.forward_, kShadowReach * r.targetDistance_) {
  acrossRay_ = r.right_ / r.focal_;
  downRay_ = r.down_ / r.focal_;
  corner_ = r.forward_ - 0.5f * static_cast<float>(r.sampleColumns_) * acrossRay_ -
            0.5f * static_cast<float>(r.sampleRows_) * downRay_;
  const bool dark = r.scenery_.dark;
  horizon_ = linearOf(dark ? std::array<float, 3>{{0.15f, 0.16f, 0.18f}}
                           : std::array<float, 3>{{0.93f, 0.94f, 0.95f}});
  zenith_ = linearOf(dark ? std::array<float, 3>{{0.07f, 0.08f, 0.10f}}
                          : std::array<float, 3>{{0.70f, 0.78f, 0.87f}});
  gridColor_ = linearOf(dark ? std::array<float, 3>{{0.55f, 0.58f, 0.62f}}
                             : std::array<float, 3>{{0.38f, 0.41f, 0.45f}});
  sunColor_ = Vector3f(0.86f, 0.82f, 0.76f) * (dark ? 0.9f : 1.0f);
  skyLight_ = Vector3f(0.36f, 0.39f, 0.44f);
  groundLight_ = Vector3f(0.17f, 0.16f, 0.15f);
  if (r.scenery_.gridSpacing > 0.0) {
    const double spacing = r.scenery_.gridSpacing, major = r.scenery_.gridMajor;
    inverseSpacing_ = static_cast<float>(1.0 / spacing);
    inverseMajor_ = static_cast<float>(1.0 / major);
    for (int axis = 0; axis < 2; ++axis)  // whole strong lines away from the world's origin
      gridOffset_[axis] =
          static_cast<float>(std::fmod(r.eyeW_[static_cast<std::size_t>(axis)] / spacing, major));
  }
  for (const Surface& surface : r.surfaces_) surfaceColors_.push_back(linearOf(surface.color));
}

Vector3f Shader::rayAt(float x, float y) const {
  return corner_ + x * acrossRay_ + y * downRay_;
}

Vector3f Shader::positionOn(const float* inverseDepth, float x, float y) const {
  return rayAt(x, y) * (1.0f / (inverseDepth[0] * x + inverseDepth[1] * y + inverseDepth[2]));
}

Vector3f Shader::sky(const Vector3f& ray) const {
  const float height = std::clamp(ray.z() / ray.norm(), 0.0f, 1.0f);
  return horizon_ + (zenith_ - horizon_) * std::sqrt(height);
}

/// Interpolated with the barycentric coordinates of the point in the triangle.
Vector3f Shader::normalAt(const Rasterizer::Triangle& t, const Vector3f& positionE) const {
  const Vector3f& a = r_.vertices_[t.vertex[0]];
  const Vector3f ab = r_.vertices_[t.vertex[1]] - a, ac = r_.vertices_[t.vertex[2]] - a;
  const Vector3f face = ab.cross(ac), ap = positionE - a;
  const float area2 = face.squaredNorm();
  const float v = std::clamp(ap.cross(ac).dot(face) / area2, 0.0f, 1.0f);
  const float w = std::clamp(ab.cross(ap).dot(face) / area2, 0.0f, 1.0f);
  const Vector3f normal = (1.0f - v - w) * r_.normals_[t.vertex[0]] + v * r_.normals_[t.vertex[1]] +
                          w * r_.normals_[t.vertex[2]];
  const Vector3f unit = (normal.squaredNorm() > 1e-12f ? normal : face).normalized();
  return unit.dot(positionE) > 0.0f ? Vector3f(-unit) : unit;
}

Shader::Point Shader::pointOf(Rasterizer::Id id, float x, float y) const {
  Point point;
  std::uint32_t surface;
  if (id <= r_.planes_.size()) {
    const Rasterizer::Plane& plane = r_.planes_[id - 1];
    surface = plane.surface;
    point.inverseDepth = plane.inverseDepth;
    point.positionE = positionOn(plane.inverseDepth, x, y);
    point.normal = Vector3f::UnitZ();
  } else {
    const Rasterizer::ScreenTriangle& screen = r_.screen_[id - 1 - r_.planes_.size()];
    const Rasterizer::Triangle& triangle = r_.triangles_[screen.triangle];
    surface = triangle.surface;
    point.inverseDepth = screen.inverseDepth;
    point.positionE = positionOn(screen.inverseDepth, x, y);
    point.normal = normalAt(triangle, point.positionE);
  }
  point.surface = &r_.surfaces_[surface];
  point.color = surfaceColors_[surface];
  return point;
}

/// Lambert's law under a sun and a hemisphere of sky, with a faint highlight.
Vector3f Shader::lit(const Point& point) const {
  const Vector3f& n = point.normal;
  const float cosine = std::max(n.dot(sun_), 0.0f);
  const float sun = cosine > 0.0f ? cosine * shadows_.light(point.positionE, n) : 0.0f;
  const float up = 0.5f + 0.5f * n.z();
  const Vector3f light = up * skyLight_ + (1.0f - up) * groundLight_ + sun * sunColor_;
  Vector3f color = point.color.cwiseProduct(light);
  if (sun > 0.0f && !point.surface->hasGrid) {
    const Vector3f half = (sun_ - point.positionE.normalized()).normalized();
    const float h2 = std::max(n.dot(half), 0.0f) * std::max(n.dot(half), 0.0f);
    const float h8 = h2 * h2 * h2 * h2;
    color += 0.06f * sun * h8 * h8 * sunColor_;
  }
  return color;
}

/// Coverage by grid lines. A pixel is two samples wide; with p = ray / w and the inverse depth w,
/// dp/dx = (dray/dx - p dw/dx) / w.
float Shader::gridAt(const Point& point, float inverseDepth) const {
  if (!(inverseSpacing_ > 0.0f)) return 0.0f;
  const Vector3f& p = point.positionE;
  const float perPixel = 2.0f * inverseSpacing_ / inverseDepth;
  float strength = 0.0f;
  for (int axis = 0; axis < 2; ++axis) {
    const float across = acrossRay_[axis] - p[axis] * point.inverseDepth[0];
    const float along = downRay_[axis] - p[axis] * point.inverseDepth[1];
    const float pixel = perPixel * std::sqrt(across * across + along * along) + 1e-7f;
    const float place = gridOffset_[axis] + p[axis] * inverseSpacing_;
    const float inverse = 1.0f / pixel, major = 1.0f / inverseMajor_;
    strength = std::max(strength, 0.22f * lineCoverage(place, pixel, inverse));
    strength = std::max(strength, 0.5f * lineCoverage(place * inverseMajor_, pixel * inverseMajor_,
                                                      inverse * major));
  }
  return strength;
}

Vector3f Shader::colorAt(Rasterizer::Id id, float x, float y) const {
  if (id == 0) return sky(rayAt(x, y));
  const Point point = pointOf(id, x, y);
  if (!point.surface->isLit) return point.color;
  Vector3f color = lit(point);
  if (!point.surface->hasGrid) return color;
  const float* a = point.inverseDepth;
  color += gridAt(point, a[0] * x + a[1] * y + a[2]) * (gridColor_ - color);
  const float distance2 = point.positionE.squaredNorm() / (hazeDistance_ * hazeDistance_);
  const float haze = distance2 / (1.0f + distance2);
  return color + haze * (horizon_ - color);
}

}  // namespace zelvik::view
