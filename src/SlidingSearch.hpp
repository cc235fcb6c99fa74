// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/contact/FastTrig.hpp>
#include <zelvik/contact/Single3DContactProblem.hpp>
#include <zelvik/rotation.hpp>

#include "Lanes.hpp"

// The sliding contact: a root search on the angle of the tangential impulse.
//
// With the normal residual z and c = D(:,2), the impulses on the friction cone that leave the
// normal velocity at its target are
//
//   p(theta) = (r cos, r sin, r / mu),   r = -z / (D(2,0) cos + D(2,1) sin + D(2,2) / mu).
//
// The velocity there is U = u0 + M (r cos, r sin) with u0 = (v_x, v_y, z) - c z / D(2,2) and M the
// `tangentMap_`. The tangent of the curve is t = c x (r cos, r sin, -mu r): the curve lies in the
// plane with normal c and on the cone with normal (r cos, r sin, -mu r). The kinetic energy is
// stationary along the curve where f = t . U = 0.

namespace zelvik::contact {

/// Points of the curve at four angles.
struct SlidingPoints {
  Lanes theta;  ///< (rad)
  Lanes cosine, sine;
  Lanes r;  ///< length of the tangential impulse (N s)
  Lanes f;  ///< merit t . U
};

/// One of them.
struct SlidingPoint {
  double theta, cosine, sine, r, f;
};

inline SlidingPoint pointOf(const SlidingPoints& points, size_t lane) {
  return {points.theta[lane], points.cosine[lane], points.sine[lane], points.r[lane],
          points.f[lane]};
}

/// Even and odd powers of the series in y have sums of their own, which halves the wait.
inline Lanes evaluateSeries(const double (&k)[9], const Lanes& y) {
  const Lanes y2 = y * y;
  Lanes even = broadcast(k[8]), odd = broadcast(k[7]);
  for (int i = 6; i >= 0; i -= 2) even = even * y2 + k[i];
  for (int i = 5; i >= 1; i -= 2) odd = odd * y2 + k[i];
  return even + y * odd;
}

/// `fastSinCos2` of four angles between -2 pi and 2 pi. The search starts within pi and goes less
/// than 1 rad; an angle that is no number stays none.
inline void sinesAndCosines(const Lanes& angle, Lanes& sine, Lanes& cosine) {
  constexpr double pi = 3.141592653589793, twoPi = 6.283185307179586;
  constexpr double c[9] = {1.0,
                           -1.0 / 2.0,
                           1.0 / 24.0,
                           -1.0 / 720.0,
                           1.0 / 40320.0,
                           -1.0 / 3628800.0,
                           1.0 / 479001600.0,
                           -1.0 / 87178291200.0,
                           1.0 / 20922789888000.0};
  constexpr double s[9] = {1.0,
                           -1.0 / 6.0,
                           1.0 / 120.0,
                           -1.0 / 5040.0,
                           1.0 / 362880.0,
                           -1.0 / 39916800.0,
                           1.0 / 6227020800.0,
                           -1.0 / 1307674368000.0,
                           1.0 / 355687428096000.0};
  Lanes x = angle < -pi ? angle + twoPi : angle > pi ? angle - twoPi : angle;
  const auto isInFront = (x > -0.5 * pi) & (x < 0.5 * pi);
  x = x > 0.5 * pi ? pi - x : x < -0.5 * pi ? -pi - x : x;
  const Lanes y = x * x, C = evaluateSeries(c, y);
  cosine = isInFront ? C : -C;
  sine = x * evaluateSeries(s, y);
}

/// The curve of one sliding problem.
class SlidingCurve {
 public:
  SlidingCurve(const Single3DContactProblem& p, const Vec3& v, double z)
      : p_(p), c_(column(p.delassus_, 2)), z_(z) {
    u0_ = Vec3{{v[0], v[1], z}} - (z * p.dzzInv_) * c_;
  }

  double radiusAt(double cosine, double sine) const {
    const Mat33& D = p_.delassus_;
    return -z_ / (D(2, 0) * cosine + D(2, 1) * sine + p_.muInvDzz_);
  }
  Vec3 impulseAt(const SlidingPoint& a) const {
    return {{a.r * a.cosine, a.r * a.sine, a.r * p_.muInv_}};
  }

  /// f = (c x normal) . U for a normal of the cone other than that of the point.
  double merit(const SlidingPoint& a, const Vec3& normal) const {
    const Vec3 U = u0_ + p_.tangentMap_ * Mat<2, 1>{{a.r * a.cosine, a.r * a.sine}};
    return dot(cross(c_, normal), U);
  }

  /// With t = c x (cos, sin, -mu): f = r (t . u0 + r t . M (cos, sin)). What does not hold r is
  /// computed while the division for r runs.
  SlidingPoints at(const Lanes& theta) const {
    const Mat33& D = p_.delassus_;
    const Mat<3, 2>& M = p_.tangentMap_;
    SlidingPoints q;
    q.theta = theta;
    sinesAndCosines(theta, q.sine, q.cosine);
    q.r = -z_ / (D(2, 0) * q.cosine + (D(2, 1) * q.sine + p_.muInvDzz_));
    const Lanes tx = -p_.mu_ * c_[1] - c_[2] * q.sine;
    const Lanes ty = c_[2] * q.cosine + p_.mu_ * c_[0];
    const Lanes tz = c_[0] * q.sine - c_[1] * q.cosine;
    const Lanes atRest = tx * u0_[0] + (ty * u0_[1] + tz * u0_[2]);
    const Lanes change =
        tx * (M[0] * q.cosine + M[3] * q.sine) +
        (ty * (M[1] * q.cosine + M[4] * q.sine) + tz * (M[2] * q.cosine + M[5] * q.sine));
    q.f = q.r * (atRest + q.r * change);
    return q;
  }
  SlidingPoint at(double theta) const { return pointOf(at(broadcast(theta)), 0); }

  /// Normal of the cone, pointing away from its axis, against the way from the impulse i.
  Lanes outwards(const SlidingPoints& q, const Vec3& i) const {
    const Lanes x = q.r * q.cosine, y = q.r * q.sine;
    return x * (x - i[0]) + (y * (y - i[1]) - p_.mu_ * q.r * (q.r * p_.muInv_ - i[2]));
  }

 private:
  const Single3DContactProblem& p_;
  Vec3 c_, u0_;
  double z_;
};

/// atan2(y, x) by `fastAtanZlv` on the smaller ratio.
inline double tangentAngle(double x, double y) {
  constexpr double pi = 3.141592653589793;
  if (x * x > y * y) {
    const double a = fastAtanZlv(y / x);
    return x > 0.0 ? a : y >= 0.0 ? a + pi : a - pi;
  }
  const double a = fastAtanZlv(x / y);
  return y > 0.0 ? 0.5 * pi - a : -a - 0.5 * pi;
}

/// Root of the merit between a and b, where it has opposite signs, by false position; the best of
/// the last three points in the square of the merit.
inline SlidingPoint falsePosition(const SlidingCurve& curve, SlidingPoint a, SlidingPoint b) {
  constexpr int maxRounds = 16;
  constexpr double angleTolerance2 = 5e-9;
  double last = b.theta;
  SlidingPoint next{};
  for (int round = 1;; ++round) {
    next = curve.at(b.theta - b.f / (a.f - b.f) * (a.theta - b.theta));
    const double d = last - next.theta;
    if (d * d < angleTolerance2 || round == maxRounds) break;
    (next.f * a.f > 0.0 ? a : b) = next;
    last = next.theta;
  }
  const SlidingPoint& best = next.f * next.f > a.f * a.f ? a : next;
  return b.f * b.f < best.f * best.f ? b : best;
}

/// Marches from `start` along the curve, downhill in energy, until the merit changes sign, and
/// returns the best point found. `i` is the impulse of the sticking candidate, outside of the cone.
/// A step that succeeds makes the next one longer by a known factor: four trials are computed at
/// once and judged one by one.
inline SlidingPoint marchToRoot(const SlidingCurve& curve, const SlidingPoint& start,
                                const Vec3& i) {
  constexpr int maxTrials = 15;
  SlidingPoint prev = start;
  double step = start.f < 0.0 ? 0.005 : -0.005;
  for (int k = 1;;) {
    const double step1 = 2.6 * (0.5 * step), step2 = 2.6 * (0.5 * step1),
                 step3 = 2.6 * (0.5 * step2);
    const double theta0 = prev.theta + step, theta1 = theta0 + step1, theta2 = theta1 + step2;
    const SlidingPoints trials = curve.at(Lanes{theta0, theta1, theta2, theta2 + step3});
    const Lanes outwards = curve.outwards(trials, i);
    for (size_t l = 0; l < kLanes; ++l) {
      const SlidingPoint now = pointOf(trials, l);
      // The first angle is known to some 1e-12 only: where the pole of r is as near, no step is
      // short enough, and the search stays where it is.
      if (now.r < 0.0 && now.theta != prev.theta) {
        step *= 0.5;
        break;
      }
      step *= 1.3;
      if (!(now.f * prev.f > 0.0) || k == maxTrials || !(outwards[l] < 0.0)) {
        if (now.f * prev.f < 0.0) return falsePosition(curve, prev, now);
        return prev.f * prev.f > now.f * now.f ? now : prev;
      }
      prev = now;
      ++k;
    }
  }
}

/// Replaces the sticking candidate in `p.imp_` by the impulse of the sliding contact.
/// @param v velocity without this problem's impulse, @param z normal residual (contact frame, m/s)
/// @return false if no impulse on the cone pushes: the impulse is then zero
inline bool slide(Single3DContactProblem& p, const Vec3& v, double z) {
  const Vec3 i = p.imp_;
  const SlidingCurve curve(p, v, z);
  const double perNorm = 1.0 / std::sqrt(i[0] * i[0] + i[1] * i[1]);
  SlidingPoint point{0.0, i[0] * perNorm, i[1] * perNorm, 0.0, 0.0};
  point.r = curve.radiusAt(point.cosine, point.sine);
  if (point.r <= 0.0) {
    p.imp_.setZero();
    return false;
  }
  point.f = curve.merit(point, {{i[0], i[1], p.negMuSquared_ * i[2]}});
  if (!(point.f * point.f < 1e-24)) {
    point.theta = tangentAngle(i[0], i[1]);
    point = marchToRoot(curve, point, i);
  }
  if (point.r < 0.0) {  // beyond the pole, see the march
    p.imp_.setZero();
    return false;
  }
  p.imp_ = curve.impulseAt(point);
  return true;
}

}  // namespace zelvik::contact
