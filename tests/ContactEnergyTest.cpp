// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <string>
#include <zelvik/World.hpp>

#include "Messages.hpp"

// Contacts that can hardly move must not make energy, and say so where they are skipped.

namespace zelvik {
namespace {

std::string link(const std::string& name) {
  return "<link name='" + name +
         "'><inertial><mass value='1'/><inertia ixx='0.01' iyy='0.01' izz='0.01' ixy='0' ixz='0' "
         "iyz='0'/></inertial><collision><geometry><box size='0.1 0.1 0.1'/></geometry>"
         "</collision></link>";
}

std::string slider(const std::string& parent, const std::string& child, const std::string& xyz,
                   const std::string& axis) {
  return "<joint name='to_" + child + "' type='prismatic'><parent link='" + parent +
         "'/><child link='" + child + "'/><origin xyz='" + xyz + "'/><axis xyz='" + axis +
         "'/><limit lower='-1' upper='1' effort='1' velocity='1'/></joint>";
}

/// Body and tip overlap by 1 cm along x; both joints slide along one axis in the x-z plane.
std::string overlappingRobot(const std::string& axis) {
  return "<robot name='r'>" + link("body") + link("middle") + link("tip") +
         slider("body", "middle", "0.045 0.3 0", axis) +
         slider("middle", "tip", "0.045 -0.3 0", axis) + "</robot>";
}

TEST(ContactEnergy, APairThatCannotPartCountsAsOneThatCannotMove) {
  using Problem = contact::Single3DContactProblem;
  for (const bool canPart : {false, true}) {
    World world;
    world.setGravity(Vec3{});
    // D(2,2) times the mass of 3 kg: 0.0075 times 4, and 6.
    ArticulatedSystem* robot =
        world.addArticulatedSystem(overlappingRobot(canPart ? "1 0 0" : "0.05 0 1"), ".");
    for (int step = 0; step < 100; ++step) world.integrate();
    ASSERT_FALSE(world.getContactProblems().empty());
    for (const Problem& p : world.getContactProblems())
      EXPECT_EQ(p.rank_ == Problem::NOTHING_MOVES, !canPart);
    EXPECT_EQ(robot->getKineticEnergy() == 0.0, !canPart);
  }
}

TEST(ContactEnergy, ABodyTooHeavyToMoveIsToldOfOnce) {
  World world;
  world.addGround();
  Sphere* ball = world.addSphere(1.0, 2e6);
  ball->setName("ball");
  ball->setPosition(0.0, 0.0, 0.999);
  const std::string warning = messages::of([&] {
    for (int step = 0; step < 3; ++step) world.integrate();
  });
  // A sphere on its ground point has D(2,2) = 1 / mass.
  EXPECT_EQ(
      warning,
      "WorldStep.cpp: object 1 ('ball') has a mass of 2e+06 kg: above 1e+06 kg its contact "
      "counts as one that nothing moves and is skipped. Use setBodyType(BodyType::STATIC) for "
      "what shall stay where it is.");
}

}  // namespace
}  // namespace zelvik
