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
constexpr int kCurveSteps = 4096;     // from black to white

float decodeSrgb(float value) {
  return value <= 0.04045f ? value / 12.92f : std::pow((value + 0.055f) / 1.055f, 2.4f);
}

std::array<std::uint8_t, kCurveSteps> makeCurve() {
  std::array<std::uint8_t, kCurveSteps> curve;
  for (int i = 0; i < kCurveSteps; ++i) {
    const float x = (static_cast<float>(i) + 0.5f) / kCurveSteps;
    const float y = x <= 0.0031308f ? 12.92f * x : 1.055f * std::pow(x, 1.0f / 2.4f) - 0.055f;
    curve[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(std::lround(255.0f * y));
  }
  return curve;
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
float lineCoverage(double coordinate, float footprint) {
  const auto offset = static_cast<float>(std::fabs(coordinate - std::nearbyint(coordinate)));
  const float halfWidth = std::max(0.6f * footprint, 0.006f);
  const float cover =
      std::clamp((halfWidth - offset) / std::max(footprint, 1e-6f) + 0.5f, 0.0f, 1.0f);
  return cover * std::clamp(1.4f - 5.0f * footprint, 0.0f, 1.0f);  // too fine to be told apart
}

}  // namespace

std::uint8_t encodeSrgb(float linear) {
  static const std::array<std::uint8_t, kCurveSteps> curve = makeCurve();
  const float step = std::clamp(linear, 0.0f, 1.0f) * (kCurveSteps - 1);
  return curve[static_cast<std::size_t>(step + 0.5f)];
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
  for (const Surface& surface : r.surfaces_) surfaceColors_.push_back(linearOf(surface.color));
}

Vector3f Shader::rayAt(float x, float y) const {
  const float u = (x - 0.5f * static_cast<float>(r_.sampleColumns_)) / r_.focal_;
  const float v = (y - 0.5f * static_cast<float>(r_.sampleRows_)) / r_.focal_;
  return r_.forward_ + u * r_.right_ + v * r_.down_;
}

Vector3f Shader::positionOn(const float* inverseDepth, float x, float y) const {
  return rayAt(x, y) / (inverseDepth[0] * x + inverseDepth[1] * y + inverseDepth[2]);
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

/// Coverage by grid lines. A pixel is two samples wide.
float Shader::gridAt(const Point& point, float x, float y) const {
  const double spacing = r_.scenery_.gridSpacing;
  if (!(spacing > 0.0)) return 0.0f;
  const Vector3f across = positionOn(point.inverseDepth, x + 2.0f, y) - point.positionE;
  const Vector3f along = positionOn(point.inverseDepth, x, y + 2.0f) - point.positionE;
  float strength = 0.0f;
  for (int axis = 0; axis < 2; ++axis) {
    const float pixel = std::hypot(across[axis], along[axis]) / static_cast<float>(spacing);
    const double place =
        (r_.eyeW_[static_cast<std::size_t>(axis)] + point.positionE[axis]) / spacing;
    const auto major = static_cast<float>(r_.scenery_.gridMajor);
    strength = std::max(strength, 0.22f * lineCoverage(place, pixel));
    strength = std::max(strength, 0.5f * lineCoverage(place / major, pixel / major));
  }
  return strength;
}

Vector3f Shader::colorAt(Rasterizer::Id id, float x, float y) const {
  if (id == 0) return sky(rayAt(x, y));
  const Point point = pointOf(id, x, y);
  if (!point.surface->isLit) return point.color;
  Vector3f color = lit(point);
  if (!point.surface->hasGrid) return color;
  color += gridAt(point, x, y) * (gridColor_ - color);
  const float distance = point.positionE.norm() / hazeDistance_;
  const float haze = 1.0f - std::exp(-distance * distance);
  return color + haze * (horizon_ - color);
}

}  // namespace zelvik::view
