// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "collision/FaceClip.hpp"

#include <algorithm>
#include <utility>

// Points of contact as the common part of two faces: the reference face's sides cut the other one,
// see I. Sutherland, G. Hodgman, Reentrant polygon clipping, CACM 17 (1974), and D. Gregorius, The
// separating axis test between convex polyhedra (GDC 2013).

namespace zelvik {

namespace {

/// Lines that meet at a smaller angle (rad) touch along a stretch, others in a point.
constexpr double kParallel = 0.1;
/// A face whose normal stands at a right angle to the contact's, but for this cosine, has no depth.
constexpr double kEdgeOn = 1e-3;

/// A polygon while it is cut.
struct Polygon {
  static constexpr int kMost = TouchingPoints::kMost;

  int count = 0;
  Vec3 corners[kMost];

  void add(const Vec3& corner) {
    if (count < kMost) corners[count++] = corner;
  }
};

/// Leaves the part of `from` on the side of the plane through p to which `inward` points.
void cut(const Polygon& from, const Vec3& p, const Vec3& inward, Polygon& to) {
  to.count = 0;
  const bool isLine = from.count == 2;
  if (from.count == 1) {
    if (dot(from.corners[0] - p, inward) >= 0.0) to.add(from.corners[0]);
    return;
  }
  for (int k = 0; k < from.count; ++k) {
    const Vec3& a = from.corners[k];
    const double sa = dot(a - p, inward);
    if (sa >= 0.0) to.add(a);
    if (isLine && k == 1) break;
    const Vec3& b = from.corners[k + 1 < from.count ? k + 1 : 0];
    const double sb = dot(b - p, inward);
    if ((sa < 0.0) != (sb < 0.0)) to.add(a + (sa / (sa - sb)) * (b - a));
  }
}

Vec3 middleOf(const Face& face) {
  Vec3 sum{};
  for (int k = 0; k < face.count; ++k) sum += face.corners[k];
  return (1.0 / face.count) * sum;
}

/// Cuts `other` by the prism over the reference face along n. @return the result
const Polygon& cutByPrism(const Face& reference, const Vec3& n, Polygon& other, Polygon& spare) {
  Polygon *from = &other, *to = &spare;
  const Vec3 middle = middleOf(reference);
  for (int k = 0; k < reference.count && from->count > 0; ++k) {
    const Vec3& p = reference.corners[k];
    const Vec3& q = reference.corners[k + 1 < reference.count ? k + 1 : 0];
    Vec3 inward = cross(n, q - p);
    if (dot(middle - p, inward) < 0.0) inward = -inward;
    cut(*from, p, inward, *to);
    std::swap(from, to);
  }
  return *from;
}

/// Part of a polygon that a face of the other shape overlaps.
/// @param sign 1 if the polygon belongs to the shape into which n points, else -1
void clipByFace(const Face& reference, const Face& other, const Vec3& n, double sign,
                TouchingPoints& out) {
  const double facing = dot(n, reference.normal);
  if (!(std::fabs(facing) > kEdgeOn)) return;
  Polygon polygon, spare;
  for (int k = 0; k < other.count; ++k) polygon.add(other.corners[k]);
  const Polygon& common = cutByPrism(reference, n, polygon, spare);
  for (int k = 0; k < common.count; ++k) {
    const Vec3& p = common.corners[k];
    const double depth = sign * dot(reference.corners[0] - p, reference.normal) / facing;
    out.add(p + (0.5 * sign * depth) * n, depth);
  }
}

/// Parameters of the closest points of two lines, of which the ends are 0 and 1. All vectors square
/// to the normal.
void closestOnLines(const Vec3& w, const Vec3& u, const Vec3& v, double& s, double& t) {
  const double uu = squaredNorm(u), vv = squaredNorm(v), uv = dot(u, v), uw = dot(u, w),
               vw = dot(v, w);  // w from the begin of the second line to that of the first
  const double determinant = uu * vv - uv * uv;
  const auto onFirst = [&](double other) {
    return uu > 0.0 ? std::clamp((uv * other - uw) / uu, 0.0, 1.0) : 0.0;
  };
  s = determinant > 1e-12 * uu * vv ? std::clamp((uv * vw - vv * uw) / determinant, 0.0, 1.0)
                                    : onFirst(0.5);
  t = vv > 0.0 ? std::clamp((uv * s + vw) / vv, 0.0, 1.0) : 0.0;
  s = onFirst(t);
}

/// Two lines in which round shapes face each other.
class LinePair {
 public:
  LinePair(const Face& a, const Face& b, const Vec3& n, double curvature, TouchingPoints& out)
      : p_(a.corners[0]),
        u_(a.corners[1] - p_),
        q_(b.corners[0]),
        v_(b.corners[1] - q_),
        n_(n),
        curvature_(curvature),
        out_(out) {}

  /// The stretch in which the lines run side by side, and where there is none the deepest point.
  void clip() {
    const double uu = squaredNorm(u_), vv = squaredNorm(v_);
    if (squaredNorm(cross(u_, v_)) < kParallel * kParallel * uu * vv) {
      const double s0 = dot(q_ - p_, u_) / uu, s1 = dot(q_ + v_ - p_, u_) / uu;
      const double first = std::max(std::min(s0, s1), 0.0), last = std::min(std::max(s0, s1), 1.0);
      if (first <= last)
        for (const double s : {first, last}) add(pointAt(s, onOther(p_ + s * u_, q_, v_)));
    }
    if (out_.count >= 2) return;
    const TouchingPoints::Point deepest = findDeepest();
    if (deepest.depth > (1.0 + 1e-9) * out_.deepest()) add(deepest);
  }

 private:
  using Point = TouchingPoints::Point;

  /// Parameter of the point of a line that is closest to x, from 0 to 1.
  static double onOther(const Vec3& x, const Vec3& begin, const Vec3& d) {
    const double length2 = squaredNorm(d);
    return length2 > 0.0 ? std::clamp(dot(x - begin, d) / length2, 0.0, 1.0) : 0.0;
  }

  Point pointAt(double s, double t) const {
    const Vec3 onA = p_ + s * u_, gap = q_ + t * v_ - onA;
    const double depth = dot(gap, n_);
    const double lateral2 = std::max(squaredNorm(gap) - depth * depth, 0.0);
    return {onA + 0.5 * gap, depth - 0.5 * curvature_ * lateral2};
  }

  void add(const Point& point) { out_.add(point.position, point.depth); }

  /// At an end of one of the lines or where they cross, seen along the normal.
  Point findDeepest() const {
    const auto flat = [&](const Vec3& d) { return d - dot(d, n_) * n_; };
    const Vec3 p = flat(p_), u = flat(u_), q = flat(q_), v = flat(v_);
    double s = 0.0, t = 0.0;
    closestOnLines(p - q, u, v, s, t);
    Point best = pointAt(s, t);
    for (const double end : {0.0, 1.0})
      for (const Point& other :
           {pointAt(end, onOther(p + end * u, q, v)), pointAt(onOther(q + end * v, p, u), end)})
        if (other.depth > best.depth) best = other;
    return best;
  }

  const Vec3 p_, u_, q_, v_, &n_;
  const double curvature_;
  TouchingPoints& out_;
};

}  // namespace

double TouchingPoints::deepest() const {
  double most = 0.0;
  for (int k = 0; k < count; ++k) most = std::max(most, points[k].depth);
  return most;
}

void TouchingPoints::keep(int most, const Vec3& n) {
  if (count <= most) return;
  const auto choose = [&](int place, auto&& worth) {
    int best = place;
    double highest = worth(points[place].position);
    for (int k = place + 1; k < count; ++k) {
      const double value = worth(points[k].position);
      if (value > highest) best = k, highest = value;
    }
    std::swap(points[place], points[best]);
  };
  int deep = 0;
  for (int k = 1; k < count; ++k)
    if (points[k].depth > points[deep].depth) deep = k;
  std::swap(points[0], points[deep]);
  const Vec3& first = points[0].position;
  choose(1, [&](const Vec3& p) { return squaredNorm(p - first); });
  const Vec3 along = points[1].position - first;
  const auto area = [&](const Vec3& p) { return dot(n, cross(along, p - first)); };
  choose(2, [&](const Vec3& p) { return std::fabs(area(p)); });
  const double side = area(points[2].position) > 0.0 ? -1.0 : 1.0;
  choose(3, [&](const Vec3& p) { return side * area(p); });
  count = most;
}

void clipFaces(const Face& a, const Face& b, const Vec3& n, double curvature, TouchingPoints& out) {
  const bool aIsFlat = a.count > 2, bIsFlat = b.count > 2;
  if (!aIsFlat && !bIsFlat) return LinePair(a, b, n, curvature, out).clip();
  const double aFacing = aIsFlat ? -dot(n, a.normal) : -1.0;
  const double bFacing = bIsFlat ? dot(n, b.normal) : -1.0;
  if (bFacing >= aFacing)
    clipByFace(b, a, n, 1.0, out);
  else
    clipByFace(a, b, n, -1.0, out);
}

}  // namespace zelvik
