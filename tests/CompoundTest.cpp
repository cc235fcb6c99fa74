// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <cmath>
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
  std::vector<Compound::CompoundObjectChild> children{child(BOX, 1, 2, 3), child(CAPSULE, 2, 1, 0)};
  rotationAboutAxis({{1, 0, 0}}, 0.0, 1.0, children[0].rotation);  // quarter turn about x
  Compound compound(children, 5.0, {}, Mat33::identity());
  compound.setPosition(0.0, 0.0, 10.0);
  const double half = std::sqrt(0.5);
  compound.setOrientation(half, 0.0, 0.0, half);  // quarter turn about z
  for (size_t k = 0; k < 2; ++k) {
    const double* p = dGeomGetPosition(compound.getGeom(k));
    EXPECT_NEAR(p[1], static_cast<double>(k + 1), 1e-14);
    EXPECT_NEAR(p[2], 10.0, 1e-14);
  }
  // The child's z axis turns to -y of the body, and that to x of the world.
  EXPECT_NEAR(dGeomGetRotation(compound.getGeom(0))[2], 1.0, 1e-14);
}

TEST(Compound, UnusableChildrenAreRefusedAndLeaveNoGeom) {
  const OdeScope ode;
  const std::pair<std::vector<Compound::CompoundObjectChild>, const char*> table[] = {
      {{child(BOX, 1, 1, 1)}, "Provided less than 2 children. Compound needs at least 2."},
      {{child(BOX, 1, 1, 1), child(MESH, 1, 1, 1)}, "Unsupported shape: mesh for a compound"},
      {{child(BOX, 1, 1, 1), child(CAPSULE, 1, -2, 1)}, "of a compound has the size -2"},
  };
  for (const auto& row : table) {
    const auto build = [&] {
      Compound compound(row.first, 1.0, {}, Mat33::identity());
      EXPECT_EQ(compound.getGeomCount(), 0u);
    };
    messages::refused(row.second, build);
  }
}

}  // namespace
}  // namespace zelvik
