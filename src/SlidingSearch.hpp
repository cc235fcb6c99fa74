// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/contact/FastTrig.hpp>
#include <zelvik/contact/Single3DContactProblem.hpp>
#include <zelvik/rotation.hpp>

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

/// The curve of one sliding problem and a point on it.
class SlidingCurve {
 public:
  SlidingCurve(const Single3DContactProblem& p, const Vec3& v, double z)
      : p_(p), c_(column(p.delassus_, 2)), z_(z) {
    u0_ = Vec3{{v[0], v[1], z}} - (z * p.dzzInv_) * c_;
  }

  /// Goes to the angle with the given cosine and sine.
  void moveTo(double cosine, double sine) {
    const Mat33& D = p_.delassus_;
    cos_ = cosine;
    sin_ = sine;
    r_ = -z_ / (D(2, 0) * cosine + D(2, 1) * sine + p_.muInvDzz_);
  }
  void moveTo(double theta) {
    double sine, cosine;
    fastSinCos2(theta, sine, cosine);
    moveTo(cosine, sine);
  }

  double radius() const { return r_; }
  Vec3 impulse() const { return {{r_ * cos_, r_ * sin_, r_ * p_.muInv_}}; }

  /// Normal of the cone at this point, pointing away from its axis.
  Vec3 coneNormal() const { return {{r_ * cos_, r_ * sin_, -p_.mu_ * r_}}; }

  /// f = t . U for the tangent c x `coneNormal`.
  double merit(const Vec3& normal) const {
    const Mat<3, 2>& M = p_.tangentMap_;
    const double px = r_ * cos_, py = r_ * sin_;
    const Vec3 U = {{u0_[0] + M[0] * px + M[3] * py, u0_[1] + M[1] * px + M[4] * py,
                     u0_[2] + M[2] * px + M[5] * py}};
    return dot(cross(c_, normal), U);
  }
  double merit() const { return merit(coneNormal()); }
  double meritAt(double theta) {
    moveTo(theta);
    return merit();
  }

 private:
  const Single3DContactProblem& p_;
  Vec3 c_, u0_;
  double z_;
  double cos_ = 1.0, sin_ = 0.0, r_ = 0.0;
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

/// An angle with the merit there.
struct AngleMerit {
  double theta, f;
};

/// Root of the merit between a and b, where it has opposite signs, by false position; the best of
/// the last three angles in the square of the merit.
inline double falsePosition(SlidingCurve& curve, AngleMerit a, AngleMerit b) {
  constexpr int maxRounds = 16;
  constexpr double angleTolerance2 = 5e-9;
  double last = b.theta;
  AngleMerit next{};
  for (int round = 1;; ++round) {
    next.theta = b.theta - b.f / (a.f - b.f) * (a.theta - b.theta);
    const double d = last - next.theta;
    next.f = curve.meritAt(next.theta);
    if (d * d < angleTolerance2 || round == maxRounds) break;
    (next.f * a.f > 0.0 ? a : b) = next;
    last = next.theta;
  }
  const AngleMerit best = next.f * next.f > a.f * a.f ? a : next;
  return b.f * b.f < best.f * best.f ? b.theta : best.theta;
}

/// Marches from `start` along the curve, downhill in energy, until the merit changes sign, and
/// returns the best angle found. `i` is the impulse of the sticking candidate, outside of the cone.
inline double marchToRoot(SlidingCurve& curve, AngleMerit start, const Vec3& i) {
  constexpr int maxTrials = 15;
  AngleMerit prev = start, now{};
  double step = start.f < 0.0 ? 0.005 : -0.005;
  for (int k = 1;; ++k) {
    // The first angle is known to some 1e-12 only: where the pole of r is as near, no step is short
    // enough, and the search stays where it is.
    do {
      now.theta = prev.theta + step;
      step *= 0.5;
      curve.moveTo(now.theta);
    } while (curve.radius() < 0.0 && now.theta != prev.theta);
    step *= 2.6;  // grows by 1.3 per trial that succeeds at once
    now.f = curve.merit();
    const bool looksBackwards = dot(curve.coneNormal(), curve.impulse() - i) < 0.0;
    if (!(now.f * prev.f > 0.0) || k == maxTrials || !looksBackwards) break;
    prev = now;
  }
  if (now.f * prev.f < 0.0) return falsePosition(curve, prev, now);
  return prev.f * prev.f > now.f * now.f ? now.theta : prev.theta;
}

/// Replaces the sticking candidate in `p.imp_` by the impulse of the sliding contact.
/// @param v velocity without this problem's impulse, @param z normal residual (contact frame, m/s)
/// @return false if no impulse on the cone pushes: the impulse is then zero
inline bool slide(Single3DContactProblem& p, const Vec3& v, double z) {
  const Vec3 i = p.imp_;
  SlidingCurve curve(p, v, z);
  const double tangentNorm = std::sqrt(i[0] * i[0] + i[1] * i[1]);
  curve.moveTo(i[0] / tangentNorm, i[1] / tangentNorm);
  if (curve.radius() <= 0.0) {
    p.imp_.setZero();
    return false;
  }
  const AngleMerit start{tangentAngle(i[0], i[1]),
                         curve.merit({{i[0], i[1], p.negMuSquared_ * i[2]}})};
  if (!(start.f * start.f < 1e-24)) curve.moveTo(marchToRoot(curve, start, i));
  if (curve.radius() < 0.0) {  // beyond the pole, see the march
    p.imp_.setZero();
    return false;
  }
  p.imp_ = curve.impulse();
  return true;
}

}  // namespace zelvik::contact
