// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>
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

/// Largest rise of an energy above what it had been before (J), over so many steps; not a number if
/// the energy is not.
template <typename Energy>
double gainOf(World& world, int steps, Energy energy) {
  double lowest = energy(), gain = 0.0;
  for (int step = 0; step < steps; ++step) {
    world.integrate();
    const double now = energy();
    gain = std::isfinite(now) ? std::max(gain, now - lowest) : now;
    lowest = std::min(lowest, now);
  }
  return gain;
}

TEST(ContactEnergy, ARodThatStumblesOverItsTipGainsNone) {
  // P. Painleve's rod: a tip that is pushed ahead under a steep angle jams by friction.
  for (const double mu : {0.8, 2.5})
    for (const double angle : {0.5, 1.0, 1.3})
      for (const double speed : {-5.0, 1.0}) {
        World world;
        world.setTimeStep(0.001);
        world.setDefaultMaterial(mu, 0.0, 0.01);
        world.addGround();
        Capsule* rod = world.addCapsule(0.01, 1.0, 1.0);
        const double turn = 0.5 * (0.5 * M_PI - angle);
        rod->setOrientation(std::cos(turn), 0.0, std::sin(turn), 0.0);
        rod->setPosition(0.0, 0.0, 0.5 * std::sin(angle) + 0.01 - 1e-4);
        rod->setVelocity(speed, 0.0, 0.0, 0.0, 0.0, 0.0);
        const Vec3 gravity{{0.0, 0.0, -9.81}};
        const double start = rod->getEnergy(gravity);
        // One percent, for the error of the step.
        EXPECT_LT(gainOf(world, 1000, [&] { return rod->getEnergy(gravity); }), 0.01 * start)
            << mu << ' ' << angle << ' ' << speed;
      }
}

TEST(ContactEnergy, AnArmAtAStraightElbowIsNotFlungFromWhatItPresses) {
  // Straight, the tip cannot move along the arm: ranks change on the way.
  const std::string joint =
      "' type='revolute'><axis xyz='0 0 1'/><limit lower='-3' upper='3' "
      "effort='100' velocity='100'/>";
  const std::string inertial =
      "<inertial><origin xyz='0.25 0 0'/><mass value='1'/><inertia "
      "ixx='0.001' iyy='0.02' izz='0.02' ixy='0' ixz='0' iyz='0'/>"
      "</inertial>";
  const std::string arm =
      "<robot name='arm'><link name='world'/><link name='base'/><joint name='f' "
      "type='fixed'><parent link='world'/><child link='base'/></joint><link "
      "name='upper'>" +
      inertial + "</link><link name='lower'>" + inertial +
      "<collision><origin xyz='0.5 0 0'/><geometry><sphere radius='0.05'/>"
      "</geometry></collision></link><joint name='shoulder" +
      joint + "<parent link='base'/><child link='upper'/></joint>" + "<joint name='elbow" + joint +
      "<parent link='upper'/><child link='lower'/><origin xyz='0.5 0 0'/></joint>"
      "</robot>";
  for (const bool meetsArm : {false, true})
    for (const double elbow : {0.0, 1e-8, 1e-6, 1e-4, 1e-3, 1e-2})
      for (const double depth : {0.0, 1e-4, 1e-2}) {
        World world;
        world.setTimeStep(0.002);
        world.setGravity(Vec3{});
        const Eigen::VectorXd pose = Eigen::Vector2d(-0.5 * elbow, elbow);
        std::vector<ArticulatedSystem*> robots = {world.addArticulatedSystem(arm, ".")};
        const double reach = std::cos(0.5 * elbow) + 0.05 - depth;
        if (meetsArm) {
          robots.push_back(world.addArticulatedSystem(arm, "."));
          robots[1]->setBasePos({reach + std::cos(0.5 * elbow) + 0.05, 0.0, 0.0});
          robots[1]->setBaseOrientation(
              Eigen::AngleAxisd(M_PI, Eigen::Vector3d::UnitZ()).toRotationMatrix());
        } else {
          Box* wall = world.addBox(1.0, 4.0, 4.0, 1.0);
          wall->setBodyType(BodyType::STATIC);
          wall->setPosition(reach + 0.5, 0.0, 0.0);
        }
        for (ArticulatedSystem* robot : robots) robot->setGeneralizedCoordinate(pose);
        const auto energy = [&] {
          double sum = 0.0;
          for (const ArticulatedSystem* robot : robots) sum += robot->getEnergy(Vec3{});
          return sum;
        };
        EXPECT_LT(gainOf(world, 500, energy), 1e-3) << meetsArm << ' ' << elbow << ' ' << depth;
      }
}

}  // namespace
}  // namespace zelvik
