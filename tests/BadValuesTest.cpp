// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <functional>
#include <zelvik/World.hpp>

#include "ArticulatedTestTools.hpp"

// Values that nothing can be computed with.

namespace zelvik {
namespace {

TEST(BadValues, ThatMayBeStoredAreToldOfOncePerWorld) {
  World world;
  const double nan = std::nan("");
  messages::expect("World::setTimeStep: -0.01 s is no time step",
                   [&] { world.setTimeStep(-0.01); });
  EXPECT_EQ(messages::of([&] { world.setTimeStep(nan); }), "");
  EXPECT_EQ(messages::of([&] { World().setTimeStep(0.002); }), "");
  messages::expect("setMaterialPairProp: -0.5 is no coefficient of friction",
                   [&] { world.setMaterialPairProp("a", "b", -0.5, 0.0, 0.0); });
  EXPECT_EQ(messages::of([&] { world.setDefaultMaterial(nan, 0.0, 0.0); }), "");

  Box* const box = world.addBox(1.0, 1.0, 1.0, 1.0);
  ArticulatedSystem* const flap = articulated_test::addFlap(world);
  flap->setName("flap");
  EXPECT_EQ(messages::of([&] {
              box->setExternalForce(0, Vec3{{1.0, 2.0, 3.0}});
              flap->setGeneralizedForce({1e300});
            }),
            "");
  messages::expect(
      "setGeneralizedForce: value 0 for the object 'flap', number 1 of the world, is "
      "nan",
      [&] { flap->setGeneralizedForce({nan}); });
  EXPECT_EQ(messages::of([&] { box->setExternalForce(0, Vec3{{nan, 0.0, 0.0}}); }), "");
  Box alone(1.0, 1.0, 1.0, 1.0);
  messages::expect("setExternalTorque: value 1", [&] {
    alone.setExternalTorque(0, Vec3{{0.0, INFINITY, 0.0}});
  });
  alone.destroyCollisionBodies(nullptr);
}

TEST(BadValues, ThatCannotBeUsedAreRefusedAndChangeNothing) {
  World world;
  Sphere* ball = world.addSphere(0.1, 1.0);
  HeightMap* map = world.addHeightMap(2, 2, 1.0, 1.0, 0.0, 0.0, std::vector<double>(4, 0.0));
  CollisionDefinition record;
  record.colName = "hand";
  dContactGeom point;
  const std::pair<const char*, std::function<bool()>> table[] = {
      {"addMesh: Got a nullptr", [&] { return world.addMesh(nullptr) == nullptr; }},
      {"addHeightMap: Got a nullptr", [&] { return world.addHeightMap(nullptr) == nullptr; }},
      {"addStiffWire: Got a nullptr for body 2",
       [&] { return world.addStiffWire(ball, 0, {}, nullptr, 0, {}, 1.0) == nullptr; }},
      {"addCompliantWire: Got a nullptr for body 1",
       [&] { return world.addCompliantWire(nullptr, 0, {}, ball, 0, {}, 1.0, 9.0) == nullptr; }},
      {"HeightMap::collide: Got a nullptr for the geom",
       [&] { return map->collide(nullptr, &point, 1) == -1; }},
      {"World::contactProblemUpdate: Got a nullptr for the object",
       [&] { return world.contactProblemUpdate(nullptr), true; }},
      {"the object is already deleted",
       [&] {
         Sphere unknown(0.1, 1.0);
         return world.removeObject(&unknown), true;
       }},
      {"the collision object 'hand' has no geom that could carry the material 'rubber'",
       [&] { return record.setMaterial("rubber"), record.getMaterial().empty(); }},
  };
  for (const auto& row : table)
    messages::refused(row.first, [&] { EXPECT_TRUE(row.second()) << row.first; });
  for (const auto& [depth, text] :
       {std::pair{-1e-9, "-1e-09"}, {std::nan(""), "nan"}, {HUGE_VAL, "inf"}})
    messages::refused(
        std::string("World::setContactSurfaceLayer: the depth must be finite and at least 0, but "
                    "is ") +
            text,
        [&, d = depth] { world.setContactSurfaceLayer(d); });
  EXPECT_EQ(world.getContactSurfaceLayer(), 0.0);
  world.integrate();
  EXPECT_EQ(world.getObjList().size(), 2u);
}

}  // namespace
}  // namespace zelvik
