// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Taylor series of cosine and sine in powers of the squared angle, from the constant term up: with
// y = angle^2 the cosine is the sum of kCosineSeries[k] y^k, the sine angle times that of
// kSineSeries[k] y^k. Whoever sums n terms of them leaves less than angle^(2 n) / (2 n)!.

namespace zelvik {

inline constexpr double kCosineSeries[10] = {1.0,
                                             -1.0 / 2.0,
                                             1.0 / 24.0,
                                             -1.0 / 720.0,
                                             1.0 / 40320.0,
                                             -1.0 / 3628800.0,
                                             1.0 / 479001600.0,
                                             -1.0 / 87178291200.0,
                                             1.0 / 20922789888000.0,
                                             -1.0 / 6402373705728000.0};
inline constexpr double kSineSeries[10] = {1.0,
                                           -1.0 / 6.0,
                                           1.0 / 120.0,
                                           -1.0 / 5040.0,
                                           1.0 / 362880.0,
                                           -1.0 / 39916800.0,
                                           1.0 / 6227020800.0,
                                           -1.0 / 1307674368000.0,
                                           1.0 / 355687428096000.0,
                                           -1.0 / 121645100408832000.0};

}  // namespace zelvik
