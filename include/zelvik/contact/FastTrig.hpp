// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cmath>
#include <cstdint>
#include <zelvik/export.hpp>

// Polynomials in place of the trigonometry of the C library, for callers; the search for a sliding
// contact has series of its own, for four angles at a time. There is no table, no call and no
// branch but the range tests. Sums run from the small end in the form a * b + c, which the compiler
// fuses; a build without fused multiply-add gives results that differ in the last bits.

namespace zelvik {
namespace contact {

/// Sine and cosine of `angle` (rad). The series' remainders at pi/2 bound the error: 5e-14 for the
/// sine, (pi/2)^19 / 19!, and 6e-13 for the cosine, (pi/2)^18 / 18!. Beyond 2 pi the error of the
/// reduction, about an ulp of the angle, comes on top. What is not finite gives NaN.
inline void fastSinCos2(double angle, double& sinOut, double& cosOut) {
  constexpr double kTwoPi = 6.283185307179586;
  constexpr double kPi = 3.141592653589793;
  constexpr double kHalfPi = 1.5707963267948966;

  // Whole turns away, then to [-pi, pi].
  double x = angle;
  if (angle > kTwoPi || angle < -kTwoPi) {
    const double q = angle / kTwoPi;
    x = (q - std::trunc(q)) * kTwoPi;
  }
  if (x < -kPi)
    x += kTwoPi;
  else if (x > kPi)
    x -= kTwoPi;

  // Fold to [-pi/2, pi/2]; only the cosine changes its sign.
  const double sign = x > -kHalfPi && x < kHalfPi ? 1.0 : -1.0;
  if (x > kHalfPi)
    x = kPi - x;
  else if (x < -kHalfPi)
    x = -kPi - x;

  // Taylor series in y = x^2, up to y^8.
  const double y = x * x;
  const double y2 = y * y;
  const double y3 = y2 * y;
  const double y4 = y2 * y2;
  const double y5 = y4 * y;
  const double y6 = y4 * y2;
  const double y7 = y4 * y3;
  const double y8 = y4 * y4;

  double c = y8 * (1.0 / 20922789888000.0);
  c = y7 * (-1.0 / 87178291200.0) + c;
  c = y6 * (1.0 / 479001600.0) + c;
  c = y5 * (-1.0 / 3628800.0) + c;
  c = y4 * (1.0 / 40320.0) + c;
  c = y3 * (-1.0 / 720.0) + c;
  c = y2 * (1.0 / 24.0) + c;
  c = y * (-1.0 / 2.0) + c;
  c = 1.0 + c;

  double s = y8 * (1.0 / 355687428096000.0);
  s = y7 * (-1.0 / 1307674368000.0) + s;
  s = y6 * (1.0 / 6227020800.0) + s;
  s = y5 * (-1.0 / 39916800.0) + s;
  s = y4 * (1.0 / 362880.0) + s;
  s = y3 * (-1.0 / 5040.0) + s;
  s = y2 * (1.0 / 120.0) + s;
  s = y * (-1.0 / 6.0) + s;
  s = 1.0 + s;

  cosOut = sign * c;
  sinOut = x * s;
}

namespace detail {

/// atan(a) for 0 <= a < 0.325: the series at 0, odd powers up to 23.
inline double atanAtZero(double a) {
  const double y = a * a;
  const double y2 = y * y;
  const double y3 = y2 * y;
  const double y4 = y2 * y2;
  const double y5 = y4 * y;
  const double y6 = y4 * y2;
  const double y7 = y4 * y3;
  const double y8 = y4 * y4;
  const double y9 = y8 * y;
  const double y10 = y8 * y2;
  const double y11 = y8 * y3;
  double p = y11 * -0.043478260869565216;
  p = y10 * 0.047619047619047616 + p;
  p = y9 * -0.05263157894736842 + p;
  p = y8 * 0.058823529411764705 + p;
  p = y7 * -0.06666666666666667 + p;
  p = y6 * 0.07692307692307693 + p;
  p = y5 * -0.09090909090909091 + p;
  p = y4 * 0.11111111111111 + p;
  p = y3 * -0.142857142857143 + p;
  p = y2 * 0.2 + p;
  p = y * -0.3333333333333333 + p;
  return a * p + a;
}

/// atan(1 + u) - pi/4 by the series at 1, powers up to 17.
inline double atanAtOne(double u) {
  const double u2 = u * u;
  const double u3 = u2 * u;
  const double u5 = u2 * u3;
  const double u6 = u3 * u3;
  const double u7 = u5 * u2;
  const double u9 = u6 * u3;
  const double u10 = u5 * u5;
  const double u11 = u6 * u5;
  const double u13 = u7 * u6;
  const double u14 = u7 * u7;
  const double u15 = u9 * u6;
  const double u17 = u10 * u7;
  double p = u17 * 0.00011488970588235294;
  p = u15 * -0.00026041666666666666 + p;
  p = u14 * 0.0005580357142857143 + p;
  p = u13 * -0.0006009615384615385 + p;
  p = u11 * 0.0014204545454545455 + p;
  p = u10 * -0.003125 + p;
  p = u9 * 0.003472222222222 + p;
  p = u7 * -0.008928571428571 + p;
  p = u6 * 0.020833333333333 + p;
  p = u5 * -0.025 + p;
  p = u3 * 0.083333333333333 + p;
  p = u2 * -0.25 + p;
  return u * 0.5 + p;
}

/// atan((1 + w) / 2) - atan(1/2) by the series at 1/2, powers up to 13.
inline double atanAtHalf(double w) {
  const double w2 = w * w;
  const double w3 = w2 * w;
  const double w4 = w2 * w2;
  const double w5 = w3 * w2;
  const double w6 = w3 * w3;
  const double w7 = w4 * w3;
  const double w8 = w4 * w4;
  const double w9 = w5 * w4;
  const double w10 = w5 * w5;
  const double w11 = w6 * w5;
  const double w12 = w6 * w6;
  const double w13 = w7 * w6;
  double p = w13 * 2.13004603076923e-06;
  p = w12 * -3.514368e-06 + p;
  p = w11 * -4.91892363636363e-06 + p;
  p = w10 * 3.190784e-05 + p;
  p = w9 * -4.084622222222222e-05 + p;
  p = w8 * -0.00010752 + p;
  p = w7 * 0.0005083428571428572 + p;
  p = w6 * -0.0004693333333333333 + p;
  p = w5 * -0.002432 + p;
  p = w4 * 0.0096 + p;
  p = w3 * -0.005333333333333333 + p;
  p = w2 * -0.08 + p;
  return w * 0.4 + p;
}

}  // namespace detail

/// Arctangent (rad) for |x| up to about 1, with an error below 2e-13 there. Larger arguments stay
/// on the series at 1, whose error grows: below 1e-11 up to 1.4, below 1e-9 up to 1.5, and without
/// bound where the series diverges, beyond 2.4. At 0 the sign factor is -1, so the result is -0.
inline double fastAtanZlv(double x) {
  const double s = x > 0.0 ? 1.0 : -1.0;
  const double a = std::fabs(x);
  if (a < 0.325) return s * detail::atanAtZero(a);
  if (a > 0.68) return s * (0.7853981633974483 + detail::atanAtOne(a - 1.0));
  return s * (0.4636476090008061 + detail::atanAtHalf(2.0 * a - 1.0));
}

}  // namespace contact
}  // namespace zelvik

/// Arcsine (rad) of x in (-1, 1), good to about one ulp. NaN at 1 and -1, where the inverse square
/// root of 1 - |x| is infinite, and beyond.
ZELVIK_API double fastasin(double x);
