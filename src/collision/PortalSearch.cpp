// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "collision/PortalSearch.hpp"

#include <algorithm>
#include <utility>

namespace zelvik {

namespace {

/// The depth is known to this share of itself, and of the size of the shapes.
constexpr double kTolerance = 1e-4, kRounding = 1e-10;
constexpr int kMostTurns = 64;
/// The search begins anew close to the origin, which lies that share of the depth ahead of it along
/// the normal found, as long as the depth falls by more than the second share.
constexpr int kMostRestarts = 3;
constexpr double kAhead = 0.1, kGain = 1e-2;
/// The farthest points of both shapes lie above each other to this share of the depth.
constexpr double kAligned = 0.1;

/// The Minkowski difference b - a, which holds the origin where the shapes overlap.
class PortalSearch {
 public:
  PortalSearch(const ConvexShape& a, const ConvexShape& b) : a_(a), b_(b) {}

  bool run(Overlap& overlap) {
    p0_ = b_.center - a_.center;
    if (!(squaredNorm(p0_) > 1e-30)) p0_ = 1e-6 * support(Vec3{{1.0, 0.0, 0.0}});
    if (!search(overlap)) return false;
    for (int k = 0; k < kMostRestarts && !isAligned(overlap); ++k) {
      p0_ = (-kAhead * overlap.depth) * overlap.normal;
      Overlap other;
      if (!search(other) || other.depth > (1.0 - kGain) * overlap.depth) break;
      overlap = other;
    }
    return true;
  }

 private:
  enum class Found { NOTHING, PORTAL, SURFACE };

  bool isAligned(const Overlap& overlap) const {
    const Vec3 lateral = support(overlap.normal) - overlap.depth * overlap.normal;
    return squaredNorm(lateral) < kAligned * kAligned * overlap.depth * overlap.depth;
  }

  /// Follows the ray from p0 through the origin.
  bool search(Overlap& overlap) {
    switch (discover()) {
      case Found::NOTHING:
        return false;
      case Found::SURFACE:
        overlap = {normal_, dot(normal_, support(normal_))};
        return true;
      default:
        return refine(overlap);
    }
  }

  Vec3 support(const Vec3& d) const { return b_.support(d) - a_.support(-d); }

  /// Finds a triangle that the ray from the middle through the origin passes.
  Found discover() {
    Vec3 d = -p0_;
    p1_ = support(d);
    if (dot(p1_, d) <= 0.0) return Found::NOTHING;
    d = cross(p1_, p0_);
    if (!(squaredNorm(d) > 1e-24 * squaredNorm(p0_) * squaredNorm(p1_))) {
      normal_ = (-1.0 / norm(p0_)) * p0_;  // the ray meets the surface there
      return Found::SURFACE;
    }
    p2_ = support(d);
    if (dot(p2_, d) <= 0.0) return Found::NOTHING;
    d = cross(p1_ - p0_, p2_ - p0_);
    if (dot(d, p0_) > 0.0) {
      std::swap(p1_, p2_);
      d = -d;
    }
    for (int turn = 0; turn < kMostTurns; ++turn) {
      p3_ = support(d);
      if (dot(p3_, d) <= 0.0) return Found::NOTHING;
      if (dot(cross(p1_, p3_), p0_) < 0.0)
        p2_ = p3_;
      else if (dot(cross(p3_, p2_), p0_) < 0.0)
        p1_ = p3_;
      else
        return Found::PORTAL;
      d = cross(p1_ - p0_, p2_ - p0_);
    }
    return Found::NOTHING;
  }

  /// Moves the triangle out to the surface.
  bool refine(Overlap& overlap) {
    const double size = std::max(norm(p1_ - p0_), norm(p3_ - p0_));
    for (int turn = 0; turn < kMostTurns; ++turn) {
      const Vec3 n = cross(p2_ - p1_, p3_ - p1_);
      const double length = norm(n);
      if (!(length > 0.0)) break;
      normal_ = (1.0 / length) * n;
      const Vec3 p4 = support(normal_);
      const double outer = dot(p4, normal_);
      if (outer <= 0.0) return false;
      overlap = {normal_, outer};
      const double inner = dot(p1_, normal_);
      if (outer - inner <= kTolerance * outer + kRounding * size) return true;
      replaceBy(p4);
    }
    overlap = {normal_, dot(support(normal_), normal_)};
    return overlap.depth > 0.0;
  }

  /// Puts the new point in the place of the one that leaves the ray inside.
  void replaceBy(const Vec3& p4) {
    const Vec3 side = cross(p4, p0_);
    if (dot(p1_, side) > 0.0)
      (dot(p2_, side) > 0.0 ? p1_ : p3_) = p4;
    else
      (dot(p3_, side) > 0.0 ? p2_ : p1_) = p4;
  }

  const ConvexShape &a_, &b_;
  Vec3 p0_{}, p1_{}, p2_{}, p3_{};
  Vec3 normal_{};
};

}  // namespace

bool searchPortal(const ConvexShape& a, const ConvexShape& b, Overlap& overlap) {
  return PortalSearch(a, b).run(overlap);
}

}  // namespace zelvik
