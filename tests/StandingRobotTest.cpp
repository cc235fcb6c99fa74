// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include "StandingRobot.hpp"

// Our robots, from URDF, on the ground.

namespace zelvik {
namespace {

const std::string kModels = ZELVIK_MODEL_DIR "/";

void run(scenes::StandingRobot& scene, double seconds) {
  const long steps = std::lround(seconds / scene.world.getTimeStep());
  for (long i = 0; i < steps; ++i) scene.world.integrate();
}

TEST(StandingRobot, ModelsLoadWithoutAWord) {
  testing::internal::CaptureStdout();
  for (const char* name : {"quadruped.urdf", "humanoid.urdf", "arm.urdf"})
    scenes::StandingRobot scene(kModels + name);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(StandingRobot, QuadrupedStandsOnItsFeet) {
  scenes::StandingRobot scene(kModels + "quadruped.urdf");
  const double start = scene.baseHeight();
  run(scene, 5.0);
  EXPECT_EQ(scene.robot->getDOF(), 18u);
  EXPECT_EQ(scene.groundContacts(), 4u);
  EXPECT_NEAR(scene.groundForce(), 9.81 * scene.totalMass(), 0.01 * 9.81 * scene.totalMass());
  EXPECT_NEAR(scene.baseHeight(), start, 0.02);
  EXPECT_LT(scene.tilt(), 0.02);
  EXPECT_LT(scene.deepestPenetration(), 1e-3);
  // It survives a push of half its weight, a little against its own width.
  for (int i = 0; i < 80; ++i) {
    scene.robot->setExternalForce(0, Mat<3, 1>{{0.0, 0.4 * 9.81 * scene.totalMass(), 0.0}});
    scene.world.integrate();
  }
  run(scene, 3.0);
  EXPECT_NEAR(scene.baseHeight(), start, 0.02);
  EXPECT_LT(scene.tilt(), 0.05);
  VecDyn gv = scene.robot->getGeneralizedVelocity();
  EXPECT_LT(gv.e().norm(), 1e-2);
}

TEST(StandingRobot, HumanoidStandsForFiveSeconds) {
  scenes::StandingRobot scene(kModels + "humanoid.urdf");
  EXPECT_GE(scene.robot->getDOF(), 28u);
  const double start = scene.baseHeight();
  run(scene, 5.0);
  EXPECT_NEAR(scene.baseHeight(), start, 0.03);
  EXPECT_LT(scene.tilt(), 0.05);
  EXPECT_NEAR(scene.groundForce(), 9.81 * scene.totalMass(), 0.01 * 9.81 * scene.totalMass());
}

TEST(StandingRobot, ArmFollowsItsTargetsAndGrips) {
  scenes::StandingRobot scene(kModels + "arm.urdf");
  ArticulatedSystem& arm = *scene.robot;
  EXPECT_EQ(arm.getJointType(0), Joint::FIXED);
  VecDyn target = arm.getPTarget();
  for (size_t i = 0; i < 6; ++i) target[i] = 0.2 + 0.05 * static_cast<double>(i);
  arm.setPTarget(target);
  run(scene, 4.0);
  for (size_t i = 0; i < 6; ++i)
    EXPECT_NEAR(arm.getGeneralizedCoordinate()[i], target[i], 0.06) << arm.getJointNames()[i];
}

TEST(StandingRobot, LostRobotStepsOn) {
  scenes::StandingRobot scene(kModels + "quadruped.urdf");
  run(scene, 0.1);
  VecDyn force(scene.robot->getDOF());
  force.setZero();
  force[8] = NAN;
  scene.robot->setGeneralizedForce(force);
  run(scene, 0.1);
  EXPECT_TRUE(std::isnan(scene.robot->getGeneralizedVelocity()[8]));
  // A good state brings it back.
  force.setZero();
  scene.robot->setGeneralizedForce(force);
  scene.reset();
  run(scene, 1.0);
  EXPECT_EQ(scene.groundContacts(), 4u);
}

}  // namespace
}  // namespace zelvik
