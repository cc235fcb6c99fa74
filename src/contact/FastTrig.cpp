// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cmath>
#include <zelvik/contact/FastTrig.hpp>

// Built without contraction of a * b + c (see the build file): the splitting of a double into two
// halves rests on each operation being rounded by itself. What may be fused says so by `fused`.

namespace {

/// The unevaluated sum hi + lo, |lo| at most half an ulp of hi.
struct DoubleDouble {
  double hi;
  double lo;
};

/// a b + c, in one rounding where the processor can.
inline double fused(double a, double b, double c) {
#ifdef __FMA__
  return std::fma(a, b, c);
#else
  return a * b + c;
#endif
}

/// Horner's rule, highest coefficient first.
template <int n>
inline double horner(const double (&coefficients)[n], double x) {
  double sum = coefficients[0];
  for (int i = 1; i < n; ++i) sum = fused(sum, x, coefficients[i]);
  return sum;
}

/// a + b for |a| >= |b|, exactly.
inline DoubleDouble fastTwoSum(double a, double b) {
  const double s = a + b;
  return {s, (a - s) + b};
}

/// The upper half of the bits of a (Veltkamp); a minus it is the lower half.
inline double upperHalf(double a) {
  const double c = 134217729.0 * a;
  return c - (c - a);
}

/// a b, exactly: T. J. Dekker, A floating-point technique for extending the available precision,
/// Numerische Mathematik 18 (1971).
inline DoubleDouble twoProduct(double a, double b) {
  const double p = a * b;
  const double ah = upperHalf(a), al = a - ah;
  const double bh = upperHalf(b), bl = b - bh;
  return {p, ((ah * bh - p) + ah * bl + al * bh) + al * bl};
}

inline DoubleDouble product(const DoubleDouble& a, const DoubleDouble& b) {
  const DoubleDouble p = twoProduct(a.hi, b.hi);
  return fastTwoSum(p.hi, p.lo + (a.hi * b.lo + a.lo * b.hi));
}

/// sqrt(x) for x above 0, by one Newton step from y = x / sqrt(x): y + (x - y^2) / (2 sqrt(x)).
inline DoubleDouble squareRoot(double x) {
  const double inverse = 1.0 / std::sqrt(x);
  const double y = x * inverse;
  const DoubleDouble yy = twoProduct(y, y);
  return fastTwoSum(y, ((x - yy.hi) - yy.lo) * (0.5 * inverse));
}

/// asin(x) = pi/2 + sqrt(1 - x) (p(x) - C) for x above 0.5, where C - p is a polynomial close to
/// acos(x) / sqrt(1 - x).
double Tail(double x) {
  static constexpr double kQ[] = {
      -1.2118982009892963e-05, 0.00013075641876579628, -0.0006702485124770181, 0.002191225598197944,
      -0.005204973157522395,   0.0097868293573384,     -0.01567460385872467,   0.02298834795525572,
      -0.03319196194440096,    0.05066596944575886,    -0.08902591943055371,   0.2145993335526539};
  static constexpr double kC = 1.5707961988153776, kCLow = -1.0640719477080884e-16;
  static constexpr double kHalfPi = 1.5707963267948966, kHalfPiLow = 6.123233995736766e-17;

  const double p = x * horner(kQ, x);
  const DoubleDouble root = squareRoot(1.0 - x);
  // |p| is below 0.2, so -C is the larger.
  DoubleDouble sum = fastTwoSum(-kC, p);
  sum = fastTwoSum(sum.hi, sum.lo - kCLow);
  const DoubleDouble z = product(root, sum);
  const DoubleDouble result = fastTwoSum(kHalfPi, z.hi);
  return result.hi + (result.lo + (z.lo + kHalfPiLow));
}

}  // namespace

double fastasin(double x) {
  static constexpr double kP[] = {0.03166583857928671,  -0.015862044098847523, 0.019294278677523865,
                                  0.006615316519700908, 0.012148389282229265,  0.013888541015689478,
                                  0.017359351699647925, 0.0223717830666671,    0.030381958008195643,
                                  0.04464285685828159,  0.07500000000296961,   0.1666666666666559};
  if (x < -0.5) return -Tail(-x);
  if (x > 0.5) return Tail(x);
  const double y = x * x;
  return fused(x, horner(kP, y) * y, x);
}
