// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <zelvik/object/CompliantLengthConstraint.hpp>
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
    EXPECT_FALSE(wire.isActive());
    EXPECT_EQ(wire.getStretchType(), 1);
    for (int type = 0; type < 3; ++type) {
      wire.setStretchType(type);
      wire.update();
      EXPECT_EQ(wire.isActive(), row.active[type]) << row.length << " " << type;
    }
    EXPECT_EQ(wire.getStretch(), 2.0 - row.length);
    EXPECT_EQ(wire.getNorm()[2], 1.0);
    EXPECT_EQ(wire.getP1()[2], 2.0);
    EXPECT_EQ(wire.getP2()[2], 4.0);
  }
}

TEST(Wire, ASpringPullsOnlyWhatMoves) {
  Sphere anchor(0.1, 1.0), body(0.1, 2.0);
  anchor.setBodyType(BodyType::STATIC);
  body.setPosition(3.0, 0.0, 0.0);
  CompliantLengthConstraint wire(&anchor, 0, {}, &body, 0, {}, 1.0, 50.0);
  const double dt = 0.01;
  const auto step = [&](Sphere& sphere) {
    sphere.preContactSolverUpdate1({}, dt);
    sphere.preContactSolverUpdate2({}, dt);
    sphere.integrate(dt, {});
  };
  wire.update();
  wire.applyTension();  // too long for a strut: nothing happens
  step(body);
  EXPECT_EQ(body.getLinearVelocity()[0], 0.0);

  wire.setStretchType(0);
  wire.update();
  wire.applyTension();
  EXPECT_EQ(wire.getTension1()[0], 100.0);  // towards the other
  EXPECT_EQ(wire.getTension2()[0], -100.0);
  step(body);
  EXPECT_NEAR(body.getLinearVelocity()[0], -100.0 / 2.0 * dt, 1e-15);
  anchor.setBodyType(BodyType::DYNAMIC);  // a force left on it would show now
  step(anchor);
  EXPECT_EQ(anchor.getLinearVelocity()[0], 0.0);
}

}  // namespace
}  // namespace zelvik
