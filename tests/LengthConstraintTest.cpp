// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <zelvik/object/Sphere.hpp>
#include <zelvik/object/StiffLengthConstraint.hpp>

namespace zelvik {
namespace {

TEST(Wire, StretchTypeDecidesWhenItActs) {
  Sphere a(0.1, 1.0), b(0.1, 1.0);
  a.setPosition(0.0, 0.0, 1.0);
  b.setPosition(0.0, 0.0, 5.0);
  // Attachment points 1 m above a and 1 m below b: 2 m apart.
  const struct {
    double length;
    bool active[3];  // by stretch type
  } table[] = {{1.5, {true, false, true}}, {2.0, {false, false, true}}, {2.5, {false, true, true}}};
  for (const auto& row : table) {
    StiffLengthConstraint wire(&a, 0, {{0, 0, 1}}, &b, 0, {{0, 0, -1}}, row.length);
    EXPECT_EQ(wire.getStretchType(), 1);
    for (int type = 0; type < 3; ++type) {
      wire.setStretchType(type);
      wire.update();
      EXPECT_EQ(wire.isActive(), row.active[type]) << row.length << " " << type;
    }
    EXPECT_EQ(wire.getStretch(), 2.0 - row.length);
    EXPECT_EQ(wire.getNorm()[2], 1.0);
    EXPECT_EQ(wire.getP1()[2], 2.0);
  }
}

}  // namespace
}  // namespace zelvik
