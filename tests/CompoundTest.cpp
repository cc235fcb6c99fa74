// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <limits>
#include <zelvik/object/Compound.hpp>

#include "Messages.hpp"
#include "TerrainTestTools.hpp"

namespace zelvik {
namespace {

using namespace terrain_test;

Compound::CompoundObjectChild child(ObjectType type, double p0, double p1, double p2) {
  return {type, {p0, p1, p2, 0.0}, "rubber", Mat33::identity(), {{p0, 0.0, 0.0}}};
}

TEST(Compound, ChildrenFollowTheBody) {
  const OdeScope ode;
  std::vector<Compound::CompoundObjectChild> children{child(BOX, 1, 2, 3), child(SPHERE, 2, 0, 0),
                                                      child(CYLINDER, 3, 1, 0),
                                                      child(CAPSULE, 4, 1, 0)};
  rotationAboutAxis({{1, 0, 0}}, 0.0, 1.0, children[0].rotation);  // quarter turn about x
  Compound compound(children, 5.0, {{0.0, 0.0, 0.25}}, Mat33::identity());
  EXPECT_EQ(compound.getMass(0), 5.0);
  ASSERT_EQ(compound.getCollisionGeoms().size(), 4u);

  compound.setPosition(0.0, 0.0, 10.0);
  const double half = std::sqrt(0.5);
  compound.setOrientation(half, 0.0, 0.0, half);  // quarter turn about z
  compound.setPosition(0.0, 0.0, 10.0);
  for (size_t k = 0; k < 4; ++k) {
    const double* p = dGeomGetPosition(compound.getGeom(k));
    EXPECT_NEAR(p[1], static_cast<double>(k + 1), 1e-14);
    EXPECT_NEAR(p[2], 10.0, 1e-14);
    EXPECT_EQ(geomRecord(compound.getGeom(k)).ignoredGeoms.size(), 3u);
    EXPECT_EQ(geomRecord(compound.getGeom(k)).ignoredGeoms.count(compound.getGeom(k)), 0u);
  }
  // The child's z axis turns to -y of the body, and that to x of the world.
  EXPECT_NEAR(dGeomGetRotation(compound.getGeom(0))[2], 1.0, 1e-14);
  EXPECT_NEAR(compound.getComPosition()[2], 10.25, 1e-14);

  compound.setBodyType(BodyType::STATIC);
  EXPECT_EQ(dGeomGetCategoryBits(compound.getGeom(3)), 0x80000000ul);
  EXPECT_EQ(compound.getCollisionGroup(), 0x80000000ul);
}

TEST(Compound, Faults) {
  const OdeScope ode;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const struct {
    std::vector<Compound::CompoundObjectChild> children;
    const char* message;
  } table[] = {
      {{child(BOX, 1, 1, 1)}, "Provided less than 2 children. Compound needs at least 2."},
      {{child(BOX, 1, 1, 1), child(MESH, 1, 1, 1)},
       "Unsupported shape: mesh for a compound object"},
      {{child(GROUND, 1, 1, 1), child(BOX, 1, 1, 1)}, "Unsupported shape: ground for a compound"},
      {{child(BOX, 1, 1, 1), child(CAPSULE, 1, -2, 1)},
       "The capsule at position 1 of a compound has the size -2"},
      {{child(BOX, 1, nan, 1), child(SPHERE, 1, 0, 0)}, "which is negative or not finite"},
  };
  for (const auto& row : table) {
    messages::expect(
        row.message,
        [&] {
          Compound compound(row.children, 1.0, {}, Mat33::identity());
          EXPECT_EQ(compound.getGeomCount(), 0u);
          compound.setPosition(0.0, 0.0, 1.0);
        },
        messages::OnFatal::GO_ON);
  }
}

}  // namespace
}  // namespace zelvik
