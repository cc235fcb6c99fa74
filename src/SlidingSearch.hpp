// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

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

/// A point of the curve; with `T` = `Lanes` four of them.
template <typename T>
struct SlidingPointOf {
  T theta;  ///< from the first direction (rad)
  T cosine, sine;
  T r;  ///< length of the tangential impulse (N s)
  T f;  ///< merit t . U
};
using SlidingPoint = SlidingPointOf<double>;
using SlidingPoints = SlidingPointOf<Lanes>;

inline SlidingPoint pointOf(const SlidingPoints& points, size_t lane) {
  return {points.theta[lane], points.cosine[lane], points.sine[lane], points.r[lane],
          points.f[lane]};
}

/// Turns that the search tries from its first direction (rad) are measured from there: sine and
/// cosine of a small angle take few terms, and the first direction needs no arctangent.
template <typename T>
struct Turn {
  T angle;         ///< (rad)
  T cosine, sine;  ///< of the angle
};

/// Series in y = angle^2 up to y^(n - 1). Even and odd powers have sums of their own, which halves
/// the wait.
template <int n, typename T>
inline T evaluateSeries(const double (&k)[9], const T& y) {
  constexpr int lastEven = n % 2 == 0 ? n - 2 : n - 1, lastOdd = n % 2 == 0 ? n - 1 : n - 2;
  const T y2 = y * y;
  T even = y2 * k[lastEven] + k[lastEven - 2], odd = y2 * k[lastOdd] + k[lastOdd - 2];
  for (int i = lastEven - 4; i >= 0; i -= 2) even = even * y2 + k[i];
  for (int i = lastOdd - 4; i >= 1; i -= 2) odd = odd * y2 + k[i];
  return even + y * odd;
}

constexpr double kCosineSeries[9] = {1.0,
                                     -1.0 / 2.0,
                                     1.0 / 24.0,
                                     -1.0 / 720.0,
                                     1.0 / 40320.0,
                                     -1.0 / 3628800.0,
                                     1.0 / 479001600.0,
                                     -1.0 / 87178291200.0,
                                     1.0 / 20922789888000.0};
constexpr double kSineSeries[9] = {1.0,
                                   -1.0 / 6.0,
                                   1.0 / 120.0,
                                   -1.0 / 5040.0,
                                   1.0 / 362880.0,
                                   -1.0 / 39916800.0,
                                   1.0 / 6227020800.0,
                                   -1.0 / 1307674368000.0,
                                   1.0 / 355687428096000.0};

/// @tparam n terms: four serve up to 0.04 rad, where they leave 0.04^8 / 8!, less than an ulp, and
/// nine up to 1 rad, to which the 15 steps of a march can add up
template <int n, typename T>
inline Turn<T> turnBy(const T& angle) {
  const T y = angle * angle;
  return {angle, evaluateSeries<n>(kCosineSeries, y), angle * evaluateSeries<n>(kSineSeries, y)};
}
constexpr double kSmallTurn = 0.04;

/// The curve of one sliding problem.
class SlidingCurve {
 public:
  /// `cosine` and `sine` give the first direction.
  SlidingCurve(const Single3DContactProblem& p, const Vec3& v, double z, double cosine, double sine)
      : p_(p), c_(column(p.delassus_, 2)), z_(z), firstCosine_(cosine), firstSine_(sine) {
    u0_ = Vec3{{v[0], v[1], z}} - (z * p.dzzInv_) * c_;
  }

  Vec3 impulseAt(const SlidingPoint& a) const {
    return {{a.r * a.cosine, a.r * a.sine, a.r * p_.muInv_}};
  }

  /// The first point. Its merit is taken with the tangent t = c x (i_x, i_y, -mu^2 i_z) at the
  /// impulse i of the sticking candidate. @param length of the tangential part of i
  SlidingPoint start(const Vec3& i, double length) const {
    const Mat33& D = p_.delassus_;
    SlidingPoint q{0.0, firstCosine_, firstSine_, 0.0, 0.0};
    q.r = -z_ * length / (D(2, 0) * i[0] + (D(2, 1) * i[1] + p_.muInvDzz_ * length));
    const Vec3 t = cross(c_, Vec3{{i[0], i[1], p_.negMuSquared_ * i[2]}});
    const double change = dot(t, p_.tangentMap_ * Mat<2, 1>{{firstCosine_, firstSine_}});
    q.f = dot(t, u0_) + q.r * change;
    return q;
  }

  /// With t = c x (cos, sin, -mu): f = r (t . u0 + r t . M (cos, sin)). What does not hold r is
  /// computed while the division for r runs.
  template <typename T>
  SlidingPointOf<T> at(const Turn<T>& turn) const {
    const Mat33& D = p_.delassus_;
    const Mat<3, 2>& M = p_.tangentMap_;
    SlidingPointOf<T> q;
    q.theta = turn.angle;
    q.cosine = firstCosine_ * turn.cosine - firstSine_ * turn.sine;
    q.sine = firstSine_ * turn.cosine + firstCosine_ * turn.sine;
    q.r = -z_ / (D(2, 0) * q.cosine + (D(2, 1) * q.sine + p_.muInvDzz_));
    const T tx = -p_.mu_ * c_[1] - c_[2] * q.sine;
    const T ty = c_[2] * q.cosine + p_.mu_ * c_[0];
    const T tz = c_[0] * q.sine - c_[1] * q.cosine;
    const T atRest = tx * u0_[0] + (ty * u0_[1] + tz * u0_[2]);
    const T change =
        tx * (M[0] * q.cosine + M[3] * q.sine) +
        (ty * (M[1] * q.cosine + M[4] * q.sine) + tz * (M[2] * q.cosine + M[5] * q.sine));
    q.f = q.r * (atRest + q.r * change);
    return q;
  }
  SlidingPoint at(double theta) const {
    return std::fabs(theta) < kSmallTurn ? at(turnBy<4>(theta)) : at(turnBy<9>(theta));
  }
  /// @param theta ascending or descending from the first direction
  SlidingPoints at(const Lanes& theta) const {
    return std::fabs(theta[3]) < kSmallTurn ? at(turnBy<4>(theta)) : at(turnBy<9>(theta));
  }

  /// Normal of the cone, pointing away from its axis, against the way from the impulse i.
  Lanes outwards(const SlidingPoints& q, const Vec3& i) const {
    const Lanes x = q.r * q.cosine, y = q.r * q.sine;
    return x * (x - i[0]) + (y * (y - i[1]) - p_.mu_ * q.r * (q.r * p_.muInv_ - i[2]));
  }

 private:
  const Single3DContactProblem& p_;
  Vec3 c_, u0_;
  double z_, firstCosine_, firstSine_;
};

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
      // Where the pole of r is nearer than the rounding of the first direction, no step is short
      // enough, and the search stays where it is.
      if (now.r < 0.0 && step * step > 1e-34) {
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
  const double length = std::sqrt(i[0] * i[0] + i[1] * i[1]);
  const SlidingCurve curve(p, v, z, i[0] / length, i[1] / length);
  SlidingPoint point = curve.start(i, length);
  if (point.r <= 0.0) {
    p.imp_.setZero();
    return false;
  }
  if (!(point.f * point.f < 1e-24)) point = marchToRoot(curve, point, i);
  if (point.r < 0.0) {  // beyond the pole, see the march
    p.imp_.setZero();
    return false;
  }
  p.imp_ = curve.impulseAt(point);
  return true;
}

}  // namespace zelvik::contact
