// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <limits>
#include <zelvik/view/Rasterizer.hpp>

#include "Shader.hpp"
#include "Spans.hpp"

namespace zelvik::view {

namespace {

using Eigen::Vector3f;

constexpr float kNear = 1e-3f;  // of the distance to the target

Vector3f toFloat(const Vec3& v) {
  return {static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])};
}

}  // namespace

Rasterizer::Rasterizer(int width, int height, const View& view, const Scenery& scenery)
    : width_(std::max(width, 1)),
      height_(std::max(height, 1)),
      sampleColumns_(2 * width_),
      sampleRows_(2 * height_),
      scenery_(scenery),
      eyeW_(view.eyeW) {
  const Vector3f sight = toFloat(view.targetW - view.eyeW);
  targetDistance_ = std::max(sight.norm(), 1e-6f);
  forward_ = sight / targetDistance_;
  right_ = forward_.cross(Vector3f::UnitZ());
  right_ = right_.norm() > 1e-4f ? right_.normalized() : Vector3f(0.0f, -1.0f, 0.0f);
  down_ = forward_.cross(right_);
  focal_ =
      0.5f * static_cast<float>(sampleRows_) / static_cast<float>(std::tan(0.5 * view.fieldOfView));
}

void Rasterizer::addMesh(const TriangleMesh& mesh, const Vec3& positionW, const Mat33& rotationW,
                         const Vec3& scale, const Surface& surface) {
  const auto first = static_cast<std::uint32_t>(vertices_.size());
  const auto index = static_cast<std::uint32_t>(surfaces_.size());
  surfaces_.push_back(surface);
  const Eigen::Matrix3f R = rotationW.e().cast<float>();
  const Vector3f origin = toFloat(positionW - eyeW_), size = toFloat(scale);
  for (const Vector3f& v : mesh.vertices) vertices_.push_back(origin + R * v.cwiseProduct(size));
  for (const Vector3f& n : mesh.normals) normals_.push_back(R * n.cwiseQuotient(size));
  normals_.resize(vertices_.size(), Vector3f::Zero());  // a face without normals is flat
  const auto isDrawable = [&](std::uint32_t vertex) {
    return vertex < mesh.vertices.size() && vertices_[first + vertex].allFinite();
  };
  for (std::size_t i = 0; i + 2 < mesh.indices.size(); i += 3) {
    const std::uint32_t* v = &mesh.indices[i];
    if (std::all_of(v, v + 3, isDrawable))
      triangles_.push_back({{first + v[0], first + v[1], first + v[2]}, index});
  }
}

/// The depth of a plane's point along the ray (u, v) is h / (ray . z): its inverse is linear on the
/// screen.
void Rasterizer::addGround(double height, const Surface& surface) {
  Plane plane;
  plane.heightE = static_cast<float>(height - eyeW_[2]);
  if (!(plane.heightE < 0.0f)) return;
  plane.surface = static_cast<std::uint32_t>(surfaces_.size());
  surfaces_.push_back(surface);
  const float dx = right_.z() / focal_ / plane.heightE, dy = down_.z() / focal_ / plane.heightE;
  plane.inverseDepth[0] = dx;
  plane.inverseDepth[1] = dy;
  plane.inverseDepth[2] =
      forward_.z() / plane.heightE -
      0.5f * (dx * static_cast<float>(sampleColumns_) + dy * static_cast<float>(sampleRows_));
  planes_.push_back(plane);
}

void Rasterizer::fillWithPlanes() {
  const auto columns = static_cast<std::size_t>(sampleColumns_);
  inverseDepth_.assign(columns * static_cast<std::size_t>(sampleRows_), 0.0f);
  ids_.assign(inverseDepth_.size(), 0);
  for (std::size_t k = 0; k < planes_.size(); ++k)
    for (int y = 0; y < sampleRows_; ++y) {
      const float* a = planes_[k].inverseDepth;
      const float start = a[1] * (static_cast<float>(y) + 0.5f) + a[2], step = a[0];
      float* depth = &inverseDepth_[static_cast<std::size_t>(y) * columns];
      Id* ids = &ids_[static_cast<std::size_t>(y) * columns];
      for (int x = 0; x < sampleColumns_; ++x) {
        const float value = start + step * (static_cast<float>(x) + 0.5f);
        ids[x] = value > depth[x] ? static_cast<Id>(k + 1) : ids[x];
        depth[x] = std::max(value, depth[x]);
      }
    }
}

/// Cuts what lies behind the near plane away (I. Sutherland and G. Hodgman, Reentrant polygon
/// clipping, Commun. ACM 17 (1974), for one plane).
void Rasterizer::drawTriangle(std::uint32_t index) {
  const float near = kNear * targetDistance_;
  Vector3f polygon[4];
  int count = 0;
  for (int i = 0; i < 3; ++i) {
    const Vector3f& a = vertices_[triangles_[index].vertex[i]];
    const Vector3f& b = vertices_[triangles_[index].vertex[(i + 1) % 3]];
    const float da = a.dot(forward_) - near, db = b.dot(forward_) - near;
    if (da >= 0.0f) polygon[count++] = a;
    if ((da >= 0.0f) != (db >= 0.0f)) polygon[count++] = a + (b - a) * (da / (da - db));
  }
  for (int i = 2; i < count; ++i) {
    const Vector3f corners[3] = {polygon[0], polygon[i - 1], polygon[i]};
    drawClipped(index, corners);
  }
}

void Rasterizer::drawClipped(std::uint32_t index, const Vector3f* corners) {
  Vector3f p[3];  // place on the screen (samples) and inverse depth (1/m)
  for (int i = 0; i < 3; ++i) {
    const float inverse = 1.0f / corners[i].dot(forward_);
    p[i] = {0.5f * static_cast<float>(sampleColumns_) + focal_ * inverse * corners[i].dot(right_),
            0.5f * static_cast<float>(sampleRows_) + focal_ * inverse * corners[i].dot(down_),
            inverse};
  }
  ScreenTriangle screen{index, {}};
  if (!planeThrough(p, screen.inverseDepth)) return;
  const float nearest = std::max({p[0].z(), p[1].z(), p[2].z()});
  const float* a = screen.inverseDepth;
  const auto id = static_cast<Id>(1 + planes_.size() + screen_.size());
  bool isSeen = false;
  forSpans(p, sampleColumns_, sampleRows_, [&](int y, int begin, int end) {
    const std::size_t row = static_cast<std::size_t>(y) * static_cast<std::size_t>(sampleColumns_);
    const float start = a[1] * (static_cast<float>(y) + 0.5f) + a[2];
    for (int x = begin; x < end; ++x) {
      const float value = std::min(start + a[0] * (static_cast<float>(x) + 0.5f), nearest);
      const std::size_t i = row + static_cast<std::size_t>(x);
      if (!(value > inverseDepth_[i])) continue;
      inverseDepth_[i] = value;
      ids_[i] = id;
      isSeen = true;
    }
  });
  if (isSeen) screen_.push_back(screen);
}

/// A pixel whose four samples show the same is shaded once, in its middle.
void Rasterizer::resolve(Image& image) const {
  const Shader shader(*this);
  static const SrgbCurve curve;
  const auto columns = static_cast<std::size_t>(sampleColumns_);
  std::uint8_t* out = image.rgb.data();
  for (int y = 0; y < height_; ++y)
    for (int x = 0; x < width_; ++x) {
      const std::size_t i =
          2 * (static_cast<std::size_t>(y) * columns + static_cast<std::size_t>(x));
      const Id ids[4] = {ids_[i], ids_[i + 1], ids_[i + columns], ids_[i + columns + 1]};
      const float sx = 2.0f * static_cast<float>(x), sy = 2.0f * static_cast<float>(y);
      Vector3f color;
      if (ids[0] == ids[1] && ids[0] == ids[2] && ids[0] == ids[3]) {
        color = shader.colorAt(ids[0], sx + 1.0f, sy + 1.0f);
      } else {
        color = 0.25f * (shader.colorAt(ids[0], sx + 0.5f, sy + 0.5f) +
                         shader.colorAt(ids[1], sx + 1.5f, sy + 0.5f) +
                         shader.colorAt(ids[2], sx + 0.5f, sy + 1.5f) +
                         shader.colorAt(ids[3], sx + 1.5f, sy + 1.5f));
      }
      for (int k = 0; k < 3; ++k) *out++ = curve(color[k]);
    }
}

Image Rasterizer::render() {
  Image image;
  image.width = width_;
  image.height = height_;
  image.rgb.resize(3 * static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_));
  screen_.clear();
  fillWithPlanes();
  for (std::size_t i = 0; i < triangles_.size(); ++i) drawTriangle(static_cast<std::uint32_t>(i));
  resolve(image);
  return image;
}

double Rasterizer::getDepth(int x, int y) const {
  if (x < 0 || y < 0 || x >= width_ || y >= height_ || inverseDepth_.empty())
    return std::numeric_limits<double>::infinity();
  const auto columns = static_cast<std::size_t>(sampleColumns_);
  const std::size_t i = 2 * (static_cast<std::size_t>(y) * columns + static_cast<std::size_t>(x));
  const float inverse = 0.25f * (inverseDepth_[i] + inverseDepth_[i + 1] +
                                 inverseDepth_[i + columns] + inverseDepth_[i + columns + 1]);
  return inverse > 0.0f ? 1.0 / static_cast<double>(inverse)
                        : std::numeric_limits<double>::infinity();
}

}  // namespace zelvik::view
