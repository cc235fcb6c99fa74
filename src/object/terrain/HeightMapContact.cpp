// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <numbers>

#include "object/terrain/HeightMapCollider.hpp"

// Contacts of round shapes with the triangles of a height map. Closest points: C. Ericson,
// Real-Time Collision Detection (2005), sections 5.1.5 and 5.1.9.

namespace zelvik {

namespace {

struct Triangle {
  std::array<Vec3, 3> corner;
  Vec3 normal;  ///< unit, up
};

/// Closest point of segment a-b to p.
Vec3 closestOnSegment(const Vec3& a, const Vec3& b, const Vec3& p) {
  const Vec3 ab = b - a;
  return a + std::clamp(dot(p - a, ab) / squaredNorm(ab), 0.0, 1.0) * ab;
}

/// Closest point of the triangle to p: the foot on its plane if that lies inside, else on an edge.
Vec3 closestOnTriangle(const Triangle& t, const Vec3& p) {
  bool inside = true;
  Vec3 best{};
  double bestDistance2 = 1e300;
  for (size_t k = 0; k < 3; ++k) {
    const Vec3 &a = t.corner[k], &b = t.corner[(k + 1) % 3];
    if (dot(cross(b - a, p - a), t.normal) >= 0.0) continue;
    inside = false;
    const Vec3 q = closestOnSegment(a, b, p);
    const double distance2 = squaredNorm(p - q);
    if (distance2 >= bestDistance2) continue;
    best = q;
    bestDistance2 = distance2;
  }
  return inside ? p - dot(p - t.corner[0], t.normal) * t.normal : best;
}

/// Parameter on segment a-b of its closest point to segment c-d; -1 if they are parallel.
double closestParameter(const Vec3& a, const Vec3& b, const Vec3& c, const Vec3& d) {
  const Vec3 u = b - a, v = d - c, w = a - c;
  const double uu = squaredNorm(u), vv = squaredNorm(v), uv = dot(u, v), uw = dot(u, w),
               vw = dot(v, w);
  const double determinant = uu * vv - uv * uv;
  if (!(determinant > 1e-12 * uu * vv)) return -1.0;
  const double s = std::clamp((uv * vw - vv * uw) / determinant, 0.0, 1.0);
  const double t = std::clamp((uv * s + vw) / vv, 0.0, 1.0);
  return std::clamp((uv * t - uw) / uu, 0.0, 1.0);
}

/// Points on the rim of a cylinder's end that faces the ground, the lowest one among them.
constexpr int kRimPoints = 8;
/// An end faces the ground from this cosine between its axis and the normal on.
constexpr double kFacingCosine = 0.7071;
/// Facets of which the normals have a greater cosine are one surface.
constexpr double kParallelFacets = 1.0 - 1e-9;

class RoundCollider : public HeightMapCollider {
 public:
  using HeightMapCollider::HeightMapCollider;

  int run() {
    switch (dGeomGetClass(geom_)) {
      case dSphereClass:
        touchSphere(center_, dGeomSphereGetRadius(geom_));
        break;
      case dCapsuleClass:
        dGeomCapsuleGetParams(geom_, &radius_, &length_);
        touchCapsule();
        break;
      default:
        dGeomCylinderGetParams(geom_, &radius_, &length_);
        touchCylinder();
    }
    toWorld();
    return count_;
  }

 private:
  static Triangle triangle(const Vec3& a, const Vec3& b, const Vec3& c) {
    const Vec3 n = cross(b - a, c - a);
    return {{a, b, c}, (1.0 / norm(n)) * n};
  }

  template <typename Visit>
  void forTriangles(const Vec3& low, const Vec3& high, Visit&& visit) const {
    const Cells cells = cellsUnder(low, high);
    for (long row = cells.row0; row <= cells.row1; ++row)
      for (long column = cells.column0; column <= cells.column1; ++column) {
        const Vec3 a = vertex(column, row), b = vertex(column + 1, row);
        const Vec3 c = vertex(column, row + 1), d = vertex(column + 1, row + 1);
        if (std::max(std::max(a[2], b[2]), std::max(c[2], d[2])) < low[2]) continue;
        visit(triangle(a, c, b));  // rows run against y
        visit(triangle(d, b, c));
      }
  }

  /// A ball against the ground: below it one touch, above it one per closest point of a triangle.
  void touchSphere(const Vec3& c, double radius) {
    const int first = own_ = count_;
    double gap = 1.0;
    Vec3 up{};
    if (gapBelow(c, gap, up) && gap <= 0.0) {
      add(c - radius * up, up, radius - gap, first);
      return;
    }
    const Vec3 reach{{radius, radius, radius}};
    forTriangles(c - reach, c + reach, [&](const Triangle& t) {
      if (dot(c - t.corner[0], t.normal) >= radius) return;
      const Vec3 d = c - closestOnTriangle(t, c);
      const double distance = norm(d);
      if (distance >= radius || dot(d, t.normal) <= 0.0) return;
      add(c - (radius / distance) * d, (1.0 / distance) * d, radius - distance, first);
    });
  }

  void touchCapsule() {
    for (double end : {-0.5, 0.5}) touchSphere(center_ + (end * length_) * axes_[2], radius_);
    touchSide(false);
  }

  /// Edges of the ground against the round side between the ends.
  void touchSide(bool hasFlatEnds) {
    const Vec3 a = center_ - (0.5 * length_) * axes_[2], b = center_ + (0.5 * length_) * axes_[2];
    Vec3 low, high;
    for (int i = 0; i < 3; ++i) {
      low[i] = std::min(a[i], b[i]) - radius_;
      high[i] = std::max(a[i], b[i]) + radius_;
    }
    const int first = endsTouch() ? 0 : count_;
    own_ = count_;
    forRidges(low, high, [&](const Ridge& ridge) {
      const double s = closestParameter(a, b, ridge.a, ridge.b);
      if (!(s > 1e-6 && s < 1.0 - 1e-6)) return;
      const Vec3 p = a + s * (b - a), d = p - closestOnSegment(ridge.a, ridge.b, p);
      const double distance = norm(d);
      if (!(distance < radius_ && isTangent(ridge, (1.0 / distance) * d))) return;
      if (radius_ - distance > std::min(s, 1.0 - s) * length_ && hasFlatEnds) return;
      add(p - (radius_ / distance) * d, (1.0 / distance) * d, radius_ - distance, first);
    });
  }

  /// Whether there are touches on both halves of the axis.
  bool endsTouch() const {
    bool touched[2] = {false, false};
    for (int k = 0; k < count_; ++k)
      touched[dot(positionOf(points_[k]) - center_, axes_[2]) > 0.0 ? 1 : 0] = true;
    return touched[0] && touched[1];
  }

  void touchCylinder() {
    for (double end : {-0.5, 0.5}) touchRim(center_ + (end * length_) * axes_[2]);
    touchSide(true);
    touchEnds();
  }

  /// Points of a rim that are below the ground: for each facet below it the lowest one, and, where
  /// the end faces the ground, more of them round from there. None of them turns with the cylinder,
  /// so that it rolls.
  void touchRim(const Vec3& end) {
    double gap = 0.0;
    Vec3 up{{0.0, 0.0, 1.0}};
    gapBelow(end, gap, up);
    const double cosine = dot(up, axes_[2]);
    if (dot(end - center_, axes_[2]) * cosine < 0.0 && std::fabs(cosine) > kFacingCosine)
      touchFacingRim(end, up);
    else
      touchLowest(end, up);
    touchOtherFacets(end, up);
  }

  /// Direction from the axis to the lowest point of a rim; false if there is none.
  bool findLowest(const Vec3& up, Vec3& outwards) const {
    const Vec3 down = dot(up, axes_[2]) * axes_[2] - up;
    const double length = norm(down);
    if (length > 1e-6) outwards = (1.0 / length) * down;
    return length > 1e-6;
  }

  void touchLowest(const Vec3& end, const Vec3& up) {
    Vec3 outwards;
    if (findLowest(up, outwards)) touchPoint(end + radius_ * outwards);
  }

  void touchFacingRim(const Vec3& end, const Vec3& up) {
    Vec3 u = axes_[0];
    findLowest(up, u);
    const Vec3 v = cross(axes_[2], u);
    for (int k = 0; k < kRimPoints; ++k) {
      const double angle = 2.0 * std::numbers::pi * k / kRimPoints;
      touchPoint(end + (radius_ * std::cos(angle)) * u + (radius_ * std::sin(angle)) * v);
    }
  }

  /// The lowest points over facets that are not parallel to the one below the middle.
  void touchOtherFacets(const Vec3& end, const Vec3& up) {
    Vec3 reach, last = up;
    for (size_t i = 0; i < 3; ++i)
      reach[i] = radius_ * std::sqrt(std::max(1.0 - axes_[2][i] * axes_[2][i], 0.0));
    forTriangles(end - reach, end + reach, [&](const Triangle& t) {
      if (dot(t.normal, up) > kParallelFacets || dot(t.normal, last) > kParallelFacets) return;
      last = t.normal;
      Vec3 outwards;
      if (!findLowest(t.normal, outwards)) return;
      const Vec3 p = end + radius_ * outwards;
      double gap = 0.0;
      Vec3 below{};
      if (gapBelow(p, gap, below) && dot(below, t.normal) > kParallelFacets) touchPoint(p);
    });
  }

  /// Vertices of the ground that have come through a flat end.
  void touchEnds() {
    own_ = count_;
    const double reach = std::sqrt(radius_ * radius_ + 0.25 * length_ * length_);
    const Vec3 box{{reach, reach, reach}};
    forVertices(center_ - box, center_ + box,
                [&](long column, long row) { touchEnd(column, row); });
  }

  void touchEnd(long column, long row) {
    const Vec3 v = vertex(column, row), d = v - center_;
    const double along = dot(d, axes_[2]);
    const double depth = 0.5 * length_ - std::fabs(along);
    const double fromAxis2 = squaredNorm(d) - along * along;
    if (depth <= 0.0 || fromAxis2 >= radius_ * radius_) return;
    if (depth >= radius_ - std::sqrt(fromAxis2)) return;  // nearer to the side
    const Vec3 n = (along > 0.0 ? -1.0 : 1.0) * axes_[2];
    if (isConvex(column, row, v) && isTangent(column, row, v, n)) add(v - depth * n, n, depth, 0);
  }

  double radius_ = 0.0, length_ = 0.0;  ///< of a capsule or cylinder (m)
};

}  // namespace

int collideRound(const HeightMap& map, dGeomID geom, dContactGeom* points, int capacity) {
  return RoundCollider(map, geom, points, capacity).run();
}

}  // namespace zelvik
