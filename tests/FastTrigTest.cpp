// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <cmath>
#include <tuple>
#include <zelvik/contact/FastTrig.hpp>

namespace zelvik {
namespace {

constexpr double kPi = 3.141592653589793;

/// Largest deviation of fastSinCos2 from the standard library over `count` angles in [-top, top].
void sinCosError(double top, int count, double& sinError, double& cosError) {
  sinError = cosError = 0.0;
  for (int i = 0; i < count; ++i) {
    const double angle = top * (2.0 * i / (count - 1) - 1.0);
    double s = 0.0, c = 0.0;
    contact::fastSinCos2(angle, s, c);
    sinError = std::max(sinError, std::fabs(s - std::sin(angle)));
    cosError = std::max(cosError, std::fabs(c - std::cos(angle)));
  }
}

// The first omitted terms at pi/2 are 4.4e-14 and 5.3e-13; rounding adds some 1e-16.
TEST(FastTrig, SinCosStaysWithinTheRemaindersOfItsSeries) {
  double sinError = 0.0, cosError = 0.0;
  sinCosError(2.0 * kPi, 200001, sinError, cosError);
  EXPECT_LT(sinError, 4.5e-14);
  EXPECT_LT(cosError, 5.4e-13);
  // A missing last term would show as an error above 1e-11: the bound is sharp.
  EXPECT_GT(cosError, 5.0e-13);
  // Reduction of many turns: one ulp of the angle (2.2e-16 of it) on top.
  for (double top : {1e2, 1e4, 1e8}) {
    sinCosError(top, 200001, sinError, cosError);
    EXPECT_LT(sinError, 6e-13 + 2.3e-16 * top) << top;
    EXPECT_LT(cosError, 6e-13 + 2.3e-16 * top) << top;
  }
}

TEST(FastTrig, SinCosAtTheEdgesOfTheFolds) {
  double s = 0.0, c = 0.0;
  for (int quarter = -9; quarter <= 9; ++quarter)
    for (double side : {-1e-9, 0.0, 1e-9}) {
      const double angle = quarter * kPi / 2.0 + side;
      contact::fastSinCos2(angle, s, c);
      EXPECT_NEAR(s, std::sin(angle), 1e-12) << angle;
      EXPECT_NEAR(c, std::cos(angle), 1e-12) << angle;
    }
}

// Remainders: 0.325^25 / 25 = 2.5e-14 at the end of the series at 0; the series at 1/2 and at 1 end
// with omitted terms of 1.7e-13 and 1.5e-13 at 0.325 and 0.68, the latter with 3.2e-10 at 1.5.
TEST(FastTrig, AtanOverItsThreeSeries) {
  for (const auto& [from, to, bound] : {std::tuple{0.0, 0.325 - 1e-9, 2.5e-14},
                                        {0.325, 0.68, 1.8e-13},
                                        {-1.0, -0.68 - 1e-9, 1.6e-13},
                                        {1.0, 1.5, 3.3e-10}}) {
    double error = 0.0;
    for (int i = 0; i <= 100000; ++i) {
      const double x = from + (to - from) * i / 100000.0;
      error = std::max(error, std::fabs(contact::fastAtanZlv(x) - std::atan(x)));
    }
    EXPECT_LT(error, bound) << "from " << from;
    // Less would mean that a coefficient is off and happens to help.
    EXPECT_GT(error, 0.9 * bound) << "from " << from;
  }
}

// Two ulp: one of the polynomial or double-double sum, one of the reference.
TEST(FastTrig, AsinWithinTwoUlpOfTheLibrary) {
  for (int i = -200000; i <= 200000; ++i) {
    const double x = i / 200001.0;
    const double reference = std::asin(x);
    const double next = std::nextafter(reference, std::copysign(9.0, reference));
    ASSERT_LE(std::fabs(fastasin(x) - reference), 2.0 * std::fabs(next - reference)) << x;
  }
  // Close to 1 the low part of the square root carries the result.
  for (double gap = 0.25; gap > 1e-15; gap *= 0.37) {
    const double x = 1.0 - gap;
    EXPECT_NEAR(fastasin(x), std::asin(x), 4.5e-16) << x;
  }
  EXPECT_TRUE(std::isnan(fastasin(1.0)));
}

}  // namespace
}  // namespace zelvik
