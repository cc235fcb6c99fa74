// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <cmath>

#include "StandingRobot.hpp"

// Contacts as people read them, against what is known of the scenes.

namespace zelvik {
namespace {

TEST(ContactReport, FeetOfAStandingRobot) {
  scenes::StandingRobot scene(ZELVIK_MODEL_DIR "/quadruped.urdf");
  World& world = scene.world;
  EXPECT_TRUE(world.getContactReport().getTouches().empty());
  for (int i = 0; i < 400; ++i) world.integrate();
  const ContactReport& report = world.getContactReport();
  ASSERT_EQ(report.getTouches().size(), 4u);
  Vec3 sum{};
  for (const Touch& touch : report.getTouches()) {
    const ContactPoint& point = report.getPoints()[touch.first];
    const size_t robot = touch.objects[0] == scene.robot ? 0 : 1;
    const std::string& foot = ContactReport::getShapeName(touch, point, robot);
    const Vec3 force = report.getForce(*scene.robot, foot);
    EXPECT_GT(force[2], 10.0) << foot;
    EXPECT_EQ(force[2], report.getForce(*scene.robot, touch.bodies[robot])[2]);
    EXPECT_EQ(point.motion, ContactMotion::STICK);
    EXPECT_LT(norm(point.slip), 1e-3);
    EXPECT_TRUE(touch.begins);
    sum += force;
  }
  EXPECT_NEAR(sum[2], scene.groundForce(), 1e-9);
  EXPECT_NEAR(report.getForce(*scene.ground)[2], -sum[2], 1e-9);
  EXPECT_EQ(report.getForce(*scene.robot, "nothing")[2], 0.0);
  world.integrate();
  for (const Touch& touch : world.getContactReport().getTouches()) EXPECT_FALSE(touch.begins);
}

// A box that is pushed slides with mu N against its motion; the centre of pressure goes forward so
// that the forces have no moment about the centre of mass. It leaves the ground: the touch ends.
TEST(ContactReport, SlidingBoxAndWhatEnds) {
  World world;
  world.setDefaultMaterial(0.5, 0.0, 0.01);
  world.setContactSolverParam(1.0, 1.0, 1.0, 1000, 1e-20);
  Ground* ground = world.addGround(0.0, "ice");
  Box* box = world.addBox(0.4, 0.2, 0.1, 2.0, "wood");
  box->setName("box");
  box->setPosition(0.0, 0.0, 0.05);
  box->setVelocity(2.0, 0.0, 0.0, 0.0, 0.0, 0.0);
  for (int i = 0; i < 20; ++i) world.integrate();
  const double weight = 2.0 * 9.81;
  const ContactReport& report = world.getContactReport();
  ASSERT_EQ(report.getTouches().size(), 1u);
  const Touch& touch = report.getTouches()[0];
  EXPECT_EQ(touch.count, 4u);
  const ContactSum onBox = report.sumUp({box, kNone, "box", "wood"}, {nullptr, kNone, "", "ice"});
  EXPECT_EQ(onBox.count, 4u);
  EXPECT_NEAR(onBox.force[0], -0.5 * weight, 0.1);  // it rocks a little
  EXPECT_NEAR(onBox.force[2], weight, 1e-3);
  EXPECT_NEAR(onBox.centre[0] - box->getComPosition()[0], 0.05 * 0.5, 0.02);
  EXPECT_NEAR(touch.getTorqueAbout(touch.centre)[1], 0.0, 1e-3);
  ContactFilter onIt, ofBox, wooden;
  onIt.object = ground;
  ofBox.object = box;
  wooden.material = "wood";
  const ContactSum onGround = report.sumUp(onIt);
  EXPECT_NEAR(onGround.force[2], -weight, 1e-4);
  EXPECT_EQ(report.sumUp(ofBox, wooden).count, 0u);
  for (const ContactPoint& point : report.getPoints()) {
    EXPECT_EQ(point.motion, ContactMotion::SLIP);
    const double sign = touch.objects[0] == box ? 1.0 : -1.0;
    EXPECT_NEAR(sign * point.slip[0], box->getLinearVelocity()[0], 5e-3);
  }
  box->setPosition(0.0, 0.0, 1.0);
  world.integrate();
  ASSERT_EQ(world.getContactReport().getEnded().size(), 1u);
  EXPECT_TRUE(world.getContactReport().getTouches().empty());
  EXPECT_EQ(world.getContactReport().getEnded()[0].objectIds[1], box->getIdInWorld());
}

// A ball falls on another one that moves with a platform, and bounces: impact, impulse of the
// history, and times in the air and in contact.
TEST(ContactReport, ImpactAndHistory) {
  World world;
  world.setTimeStep(0.001);
  world.setDefaultMaterial(0.0, 0.5, 0.0);
  world.setERP(0.0, 0.0);
  world.addGround();
  Sphere* ball = world.addSphere(0.1, 2.0);
  ball->setPosition(0.0, 0.0, 0.3);
  world.setContactHistory(true);
  world.startContactHistory();
  bool hasHit = false;
  double speed = 0.0;
  while (!hasHit && world.getStepCount() < 1000) {
    speed = -ball->getLinearVelocity()[2];
    world.integrate();
    for (const ContactPoint& point : world.getContactReport().getPoints())
      hasHit |= point.motion == ContactMotion::IMPACT;
  }
  ASSERT_TRUE(hasHit);
  const BodyContactHistory& history = world.getContactHistory(*ball);
  const double impulse = 2.0 * (speed + ball->getLinearVelocity()[2]) + 2.0 * 9.81 * 0.001;
  EXPECT_NEAR(history.impulse[2], impulse, 1e-9);
  EXPECT_NEAR(history.largestForce, impulse / 0.001, 1e-6);
  EXPECT_TRUE(history.touches);
  EXPECT_NEAR(history.lastTimeInAir, world.getWorldTime() - 0.001, 1e-9);
  EXPECT_NEAR(history.timeInContact, 0.001, 1e-12);
  world.startContactHistory();
  for (int i = 0; i < 3; ++i) world.integrate();
  EXPECT_EQ(history.impulse[2], 0.0);
  EXPECT_NEAR(history.lastTimeInContact, 0.001, 1e-12);
  EXPECT_NEAR(history.timeInAir, 0.003, 1e-12);
}

}  // namespace
}  // namespace zelvik
