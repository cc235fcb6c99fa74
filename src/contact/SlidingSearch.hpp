// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/contact/Single3DContactProblem.hpp>
#include <zelvik/rotation.hpp>

#include "contact/ConeMinimum.hpp"
#include "core/Lanes.hpp"
#include "core/TrigSeries.hpp"

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
constexpr T evaluateSeries(const double (&k)[10], const T& y) {
  constexpr int lastEven = n % 2 == 0 ? n - 2 : n - 1, lastOdd = n % 2 == 0 ? n - 1 : n - 2;
  const T y2 = y * y;
  T even = y2 * k[lastEven] + k[lastEven - 2], odd = y2 * k[lastOdd] + k[lastOdd - 2];
  for (int i = lastEven - 4; i >= 0; i -= 2) even = even * y2 + k[i];
  for (int i = lastOdd - 4; i >= 1; i -= 2) odd = odd * y2 + k[i];
  return even + y * odd;
}

/// @tparam n terms: four serve up to 0.04 rad, where they leave 0.04^8 / 8!, less than an ulp, and
/// nine up to 1 rad, to which the 15 steps of a march can add up
template <int n, typename T>
constexpr Turn<T> turnBy(const T& angle) {
  const T y = angle * angle;
  return {angle, evaluateSeries<n>(kCosineSeries, y), angle * evaluateSeries<n>(kSineSeries, y)};
}
constexpr double kSmallTurn = 0.04;
constexpr double kFirstStep = 0.005;  ///< of a march (rad)

/// The curve of one sliding problem, in tangential axes turned so that the first direction is x.
/// There 1 / r is linear in cosine and sine of the turn, and so are both sums of the merit
///
///   f = r (t . u0 + r (t . M_0 cos + t . M_1 sin))
///
/// but for one more factor: their coefficients are computed once.
class SlidingCurve {
 public:
  /// `i` is the impulse of the sticking candidate, outside of the cone.
  SlidingCurve(const Single3DContactProblem& p, const Vec3& v, double z, const Vec3& i)
      : z_(z),
        mu_(p.mu_),
        muInv_(p.muInv_),
        length_(std::sqrt(i[0] * i[0] + i[1] * i[1])),
        normalImpulse_(i[2]) {
    const Mat33& D = p.delassus_;
    const Mat<3, 2>& M = p.tangentMap_;
    firstCosine_ = i[0] / length_;
    firstSine_ = i[1] / length_;
    const Vec3 c = column(D, 2), c1 = turned(c);
    const Vec3 u0 = turned(Vec3{{v[0], v[1], z}} - (z * p.dzzInv_) * c);
    const Vec3 along =
        turned({{M[0] * firstCosine_ + M[3] * firstSine_, M[1] * firstCosine_ + M[4] * firstSine_,
                 M[2] * firstCosine_ + M[5] * firstSine_}});
    const Vec3 across =
        turned({{M[3] * firstCosine_ - M[0] * firstSine_, M[4] * firstCosine_ - M[1] * firstSine_,
                 M[5] * firstCosine_ - M[2] * firstSine_}});
    pole_ = {p.muInvDzz_, D(2, 0) * firstCosine_ + D(2, 1) * firstSine_,
             D(2, 1) * firstCosine_ - D(2, 0) * firstSine_};
    atRest_ = tangentTimes(c1, u0);
    changeAlong_ = tangentTimes(c1, along);
    changeAcross_ = tangentTimes(c1, across);
    const Vec3 t = cross(c1, Vec3{{length_, 0.0, p.negMuSquared_ * i[2]}});
    startAtRest_ = dot(t, u0);
    startChange_ = dot(t, along);
  }

  /// The first point. Its merit is taken with the tangent t = c x (i_x, i_y, -mu^2 i_z).
  SlidingPoint start() const {
    SlidingPoint q{0.0, 1.0, 0.0, 0.0, 0.0};
    q.r = -z_ / (pole_.constant + pole_.cosine);
    q.f = startAtRest_ + q.r * startChange_;
    return q;
  }

  template <typename T>
  SlidingPointOf<T> at(const Turn<T>& turn) const {
    SlidingPointOf<T> q{turn.angle, turn.cosine, turn.sine, {}, {}};
    q.r = -z_ / evaluate(pole_, turn);
    const T change =
        turn.cosine * evaluate(changeAlong_, turn) + turn.sine * evaluate(changeAcross_, turn);
    q.f = q.r * (evaluate(atRest_, turn) + q.r * change);
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
  Lanes outwards(const SlidingPoints& q) const {
    const Lanes x = q.r * q.cosine, y = q.r * q.sine;
    return x * (x - length_) + (y * y - mu_ * q.r * (q.r * muInv_ - normalImpulse_));
  }

  Vec3 impulseAt(const SlidingPoint& a) const {
    return {{a.r * (firstCosine_ * a.cosine - firstSine_ * a.sine),
             a.r * (firstSine_ * a.cosine + firstCosine_ * a.sine), a.r * muInv_}};
  }

 private:
  /// constant + cosine cos + sine sin
  struct Coefficients {
    double constant, cosine, sine;
  };
  template <typename T>
  static T evaluate(const Coefficients& k, const Turn<T>& turn) {
    return k.cosine * turn.cosine + (k.sine * turn.sine + k.constant);
  }
  /// Into the turned axes.
  Vec3 turned(const Vec3& a) const {
    return {
        {firstCosine_ * a[0] + firstSine_ * a[1], firstCosine_ * a[1] - firstSine_ * a[0], a[2]}};
  }
  /// a . t for t = c x (cos, sin, -mu).
  Coefficients tangentTimes(const Vec3& c, const Vec3& a) const {
    return {mu_ * (c[0] * a[1] - c[1] * a[0]), c[2] * a[1] - c[1] * a[2],
            c[0] * a[2] - c[2] * a[0]};
  }

  double z_, mu_, muInv_;
  double length_, normalImpulse_;            ///< of the sticking candidate (N s)
  double firstCosine_, firstSine_;           ///< of the first direction
  Coefficients pole_;                        ///< of -z / r
  Coefficients atRest_;                      ///< of t . u0
  Coefficients changeAlong_, changeAcross_;  ///< of t . M_0 and t . M_1
  double startAtRest_, startChange_;         ///< the same for the tangent of the first point
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

constexpr int kMaxTrials = 15;            ///< of a march
constexpr double kShortestStep2 = 1e-34;  ///< of a march, squared (rad^2): below the rounding of 1
constexpr double kNoMerit2 = 1e-24;       ///< of the first point, squared: it is the solution
constexpr double kStepGrowth = 1.3;       ///< factor of a step on the one before

/// The turns of a march as long as each step succeeds.
struct MarchTurns {
  alignas(32) double angle[4 * kLanes]{}, cosine[4 * kLanes]{}, sine[4 * kLanes]{};

  constexpr MarchTurns() {
    double theta = 0.0, step = kFirstStep;
    for (size_t i = 0; i < 4 * kLanes; ++i, step *= kStepGrowth) {
      const Turn<double> turn = turnBy<9>(theta += step);
      angle[i] = turn.angle;
      cosine[i] = turn.cosine;
      sine[i] = turn.sine;
    }
  }
};
inline constexpr MarchTurns kMarchTurns;

/// Four trials of a march that has not halved a step.
inline SlidingPoints trialsOfTable(const SlidingCurve& curve, size_t block, double sign) {
  const size_t first = block * kLanes;
  return curve.at(Turn<Lanes>{sign * loadLanes(kMarchTurns.angle + first),
                              loadLanes(kMarchTurns.cosine + first),
                              sign * loadLanes(kMarchTurns.sine + first)});
}

/// Four trials from an angle on.
inline SlidingPoints trialsFrom(const SlidingCurve& curve, double theta, double step) {
  constexpr double g = kStepGrowth, g2 = g * g, g3 = g2 * g;
  const double theta0 = theta + step, theta1 = theta0 + g * step, theta2 = theta1 + g2 * step;
  return curve.at(Lanes{theta0, theta1, theta2, theta2 + g3 * step});
}

/// Marches from `start` along the curve, downhill in energy, until the merit changes sign, and
/// returns the best point found. A step that succeeds makes the next one longer by a known factor:
/// four trials are computed at once and judged one by one.
inline SlidingPoint marchToRoot(const SlidingCurve& curve, const SlidingPoint& start) {
  SlidingPoint prev = start;
  const double sign = start.f < 0.0 ? 1.0 : -1.0;
  double step = sign * kFirstStep;
  bool isHalved = false;
  for (int k = 1;;) {
    const SlidingPoints trials = isHalved
                                     ? trialsFrom(curve, prev.theta, step)
                                     : trialsOfTable(curve, static_cast<size_t>(k) / kLanes, sign);
    const Lanes outwards = curve.outwards(trials);
    for (size_t l = 0; l < kLanes; ++l) {
      const SlidingPoint now = pointOf(trials, l);
      // Where the pole of r is nearer than the rounding of the first direction, no step is short
      // enough, and the search stays where it is.
      if (now.r < 0.0 && step * step > kShortestStep2) {
        step *= 0.5;
        isHalved = true;
        break;
      }
      step *= kStepGrowth;
      if (!(now.f * prev.f > 0.0) || k == kMaxTrials || !(outwards[l] < 0.0)) {
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
  const Vec3 sticking = p.imp_;
  const SlidingCurve curve(p, v, z, sticking);
  SlidingPoint point = curve.start();
  if (point.r <= 0.0) {
    p.imp_.setZero();
    return false;
  }
  if (!(point.f * point.f < kNoMerit2)) point = marchToRoot(curve, point);
  if (point.r < 0.0) {  // beyond the pole, see the march
    p.imp_.setZero();
    return false;
  }
  p.imp_ = curve.impulseAt(point);
  const Vec3 w{{v[0], v[1], z}};
  if (createsEnergy(p.delassus_, w, p.imp_)) p.imp_ = coneMinimum(p, w, sticking);
  return true;
}

}  // namespace zelvik::contact
