// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <zelvik/Path.hpp>
#include <zelvik/math.hpp>
#include <zelvik/object/ArticulatedSystem/JointAndBodies.hpp>
#include <zelvik/object/GeomRecord.hpp>
#include <zelvik/object/Object.hpp>
#include <zelvik/rotation.hpp>

namespace zelvik {
namespace {

TEST(Rotation, ThirdColumnOfAProductIsRebuilt) {
  Mat33 a{{1, 2, 0, 0, 1, 0, 0, 0, 5}}, c;
  rotmatmul(a, Mat33::identity(), c);
  EXPECT_EQ(c(2, 2), 1.0);
}

}  // namespace
}  // namespace zelvik
