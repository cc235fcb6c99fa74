// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "contact/ConeMinimum.hpp"

namespace zelvik::contact {

namespace {

/// Of the tangential impulse, a unit vector.
struct Direction {
  double cosine, sine;

  Direction turnedBy90(double way) const { return {-way * sine, way * cosine}; }
};

double dot(const Direction& a, const Direction& b) {
  return a.cosine * b.cosine + a.sine * b.sine;
}

/// Of a tangential vector that is not zero; x for one that is.
Direction directionOf(double x, double y) {
  const double length = std::sqrt(x * x + y * y);
  return length > 0.0 ? Direction{x / length, y / length} : Direction{1.0, 0.0};
}

/// Halfway between two directions that are less than half a turn apart.
Direction between(const Direction& a, const Direction& b) {
  return directionOf(a.cosine + b.cosine, a.sine + b.sine);
}

/// The best impulse of a ray of the cone's mantle.
struct RayMinimum {
  double r = 0.0;      ///< length of the tangential impulse (N s)
  double g = 0.0;      ///< (J)
  double slope = 0.0;  ///< has the sign of dg / dtheta
};

/// g along the mantle. On the ray of the direction d = (cos, sin, 1 / mu) it is least at
/// r = -(d . w) / (d . D d), where it is -1/2 (d . w)^2 / (d . D d).
///
/// Which directions count: with p* the impulse outside of the cone, the way from the minimum over
/// the cone to p* leaves the cone at once, that is, cos p*_x + sin p*_y >= mu p*_n. From there the
/// mantle is seen, and on what is seen the minima of rays fall to the one minimum and rise again:
/// impulses below a level are a convex set with p* in it, which reaches from any two of its seen
/// points over all of the mantle between. Stationary points beyond are no minima of the cone.
class Mantle {
 public:
  Mantle(const Single3DContactProblem& p, const Vec3& w, const Vec3& outside)
      : D_(p.delassus_),
        w_(w),
        muInv_(p.muInv_),
        least_(kRounding * (D_[0] + D_[4] + D_[8]) * (1.0 + muInv_ * muInv_)),
        outside_(outside),
        visible_(p.mu_ * outside[2]) {}

  bool isVisible(const Direction& e) const {
    return e.cosine * outside_[0] + e.sine * outside_[1] >= visible_;
  }
  bool pushes(const Direction& e) const { return along(e) < 0.0; }

  RayMinimum at(const Direction& e) const {
    RayMinimum out;
    const Vec3 Dd = D_ * Vec3{{e.cosine, e.sine, muInv_}};
    const double work = along(e), k = e.cosine * Dd[0] + e.sine * Dd[1] + muInv_ * Dd[2];
    if (!(work < 0.0) || !(k > least_)) return out;
    out.r = -work / k;
    out.g = 0.5 * out.r * work;
    out.slope = e.cosine * (out.r * Dd[1] + w_[1]) - e.sine * (out.r * Dd[0] + w_[0]);
    return out;
  }

 private:
  /// Share of tr D below which the mobility along a ray is rounding.
  static constexpr double kRounding = 1e-14;

  double along(const Direction& e) const {
    return e.cosine * w_[0] + e.sine * w_[1] + muInv_ * w_[2];
  }

  const Mat33& D_;
  const Vec3& w_;
  double muInv_, least_;
  const Vec3& outside_;
  double visible_;
};

constexpr int kHalvings = 60;

/// A direction that pushes and counts: that of p*, that in which w falls most, or one between.
bool findStart(const Mantle& mantle, const Direction& seen, const Direction& steepest,
               Direction& start) {
  Direction a = seen, b = steepest;
  start = a;
  if (mantle.pushes(a)) return true;
  start = b;
  if (mantle.isVisible(b)) return true;
  if (dot(a, b) < -0.999999) b = a.turnedBy90(1.0);
  for (int i = 0; i < kHalvings; ++i) {
    start = between(a, b);
    const bool isSeen = mantle.isVisible(start), isPush = mantle.pushes(start);
    if (isSeen && isPush) return true;
    if (!isSeen && !isPush) return false;
    (isSeen ? a : b) = start;
  }
  return false;
}

/// The lowest of all rays, found by halving the arc from `low`, at which g falls in one way, to a
/// direction at which it does not.
Direction findLowest(const Mantle& mantle, Direction low) {
  RayMinimum best = mantle.at(low);
  const double way = best.slope < 0.0 ? 1.0 : -1.0;
  const auto improves = [&](const Direction& e) {
    const RayMinimum now = mantle.at(e);
    if (!(now.g < best.g) || !(now.slope * way < 0.0) || !mantle.isVisible(e)) return false;
    best = now;
    return true;
  };
  Direction high = low.turnedBy90(way);
  for (int quarter = 1; quarter < 4 && improves(high); ++quarter) {
    low = high;
    high = low.turnedBy90(way);
  }
  for (int i = 0; i < kHalvings; ++i) {
    const Direction middle = between(low, high);
    (improves(middle) ? low : high) = middle;
  }
  return mantle.at(high).g < best.g ? high : low;
}

/// The part of w that the block reaches: what is beyond it no impulse changes, and g would fall
/// without end where the cone holds a direction in which nothing moves.
Vec3 reachedBy(const Single3DContactProblem& p, const Vec3& w) {
  if (p.rank_ != Single3DContactProblem::PLANE) return w;
  const Vec3 &b1 = p.planeBasis_[0], &b2 = p.planeBasis_[1];
  return zelvik::dot(b1, w) * b1 + zelvik::dot(b2, w) * b2;
}

}  // namespace

Vec3 coneMinimum(const Single3DContactProblem& p, const Vec3& w, const Vec3& outside) {
  const Vec3 reached = reachedBy(p, w);
  const Mantle mantle(p, reached, outside);
  const Direction steepest = directionOf(-reached[0], -reached[1]);
  Direction start{};
  if (!mantle.pushes(steepest) ||
      !findStart(mantle, directionOf(outside[0], outside[1]), steepest, start))
    return Vec3{};
  const Direction e = findLowest(mantle, start);
  // The bound holds for the whole of w.
  const double r = std::fmin(mantle.at(e).r, Mantle(p, w, outside).at(e).r);
  return {{r * e.cosine, r * e.sine, r * p.muInv_}};
}

}  // namespace zelvik::contact
