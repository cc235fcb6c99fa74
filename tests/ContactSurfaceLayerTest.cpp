// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cmath>
#include <zelvik/World.hpp>

#include "ArticulatedTestTools.hpp"
#include "Messages.hpp"
#include "StandingRobot.hpp"

// The overlap that contacts keep at rest.

namespace zelvik {
namespace {

TEST(SurfaceLayer, BodiesThatTouchComeDownToItAndStayOnAllContacts) {
  // A column of boxes that overlap by less than the layer, and a box alone that touches the ground
  // exactly and slides. The first steps are those of coming down.
  constexpr double layer = 1e-5;
  World world;
  world.setTimeStep(0.0025);
  world.setDefaultMaterial(0.5, 0.0, 0.01);
  world.setContactSurfaceLayer(layer);
  EXPECT_EQ(world.getContactSurfaceLayer(), layer);
  world.setContactSolverParam(1.0, 1.0, 1.0, 1000, 1e-14);
  world.addGround();
  std::vector<Box*> boxes;
  for (int i = 0; i < 4; ++i) {
    boxes.push_back(world.addBox(0.4, 0.4, 0.1, 1.0));
    boxes.back()->setPosition(i < 3 ? 0.0 : 5.0, 0.0,
                              i < 3 ? 0.05 + (0.1 - 1e-6) * i - 1e-6 : 0.05);
  }
  boxes.back()->setVelocity(2.0, 1.0, 0.0, 0.0, 0.0, 0.0);
  for (int step = 0; step < 500; ++step) {
    world.integrate();
    if (step < 10) continue;
    ASSERT_EQ(boxes.back()->getContacts().size(), 4u) << step;
    ASSERT_GE(world.getContactProblems().size(), 16u) << step;  // boxes may meet in eight points
    for (const contact::Single3DContactProblem& p : world.getContactProblems())
      ASSERT_NEAR(-p.depth_, layer, 0.05 * layer) << step;
  }
  EXPECT_LT(norm(boxes.back()->getLinearVelocity()), 1e-6);  // it has come to rest
}

TEST(SurfaceLayer, HoldsTheFeetOfARobotThatMoves) {
  // Without it a foot is without contact in a step or two of a period (400 steps) of this motion.
  for (const double layer : {0.0, 1e-5}) {
    scenes::StandingRobot scene(ZELVIK_MODEL_DIR "/quadruped.urdf");
    scene.world.setTimeStep(0.0025);
    scene.world.setContactSurfaceLayer(layer);
    ArticulatedSystem& robot = *scene.robot;
    const VecDyn pose = robot.getGeneralizedCoordinate();
    VecDyn target = pose;
    size_t lost = 0;
    for (int step = 0; step < 1200; ++step) {
      for (size_t i = 1; i < robot.getBodyCount(); ++i) {
        const std::string& joint = robot.getJointNames()[i];
        const double factor = joint.ends_with("_HFE") ? 0.1 : joint.ends_with("_KFE") ? -0.2 : 0.0;
        const size_t g = robot.getGcStart()[i];
        target[g] = pose[g] + factor * std::sin(2.0 * M_PI * 0.0025 * step);
      }
      robot.setPTarget(target);
      scene.world.integrate();
      if (step >= 400) lost += 4 - scene.groundContacts();
    }
    EXPECT_EQ(lost > 0, layer == 0.0) << lost;
  }
}

TEST(SurfaceLayer, NeverPullsAndLeavesBouncesAlone) {
  // Balls that overlap by less than the layer: what the solver did to them would show in the last
  // bit.
  for (const double friction : {0.8, 0.0}) {
    World world;
    world.setTimeStep(0.002);
    world.setContactSurfaceLayer(1e-3);
    world.setDefaultMaterial(friction, 0.0, 0.01);
    world.setGravity(Vec3{});
    world.addGround();
    Sphere* up = world.addSphere(0.1, 1.0);
    up->setPosition(0.0, 0.0, 0.1 - 1e-4);
    up->setVelocity(0.0, 0.0, 1e-3, 0.0, 0.0, 0.0);
    Sphere* down = world.addSphere(0.1, 1.0);  // slower than it may
    down->setPosition(1.0, 0.0, 0.1 - 1e-4);
    down->setVelocity(0.1, 0.0, -0.01, 0.0, 0.0, 0.0);
    world.integrate();
    ASSERT_EQ(world.getContactProblems().size(), 2u);
    EXPECT_EQ(up->getLinearVelocity()[2], 1e-3);
    EXPECT_EQ(down->getLinearVelocity()[2], -0.01);
    EXPECT_EQ(down->getLinearVelocity()[0], 0.1);
    world.setTimeStep(0.0);
    world.integrate();
    EXPECT_EQ(down->getLinearVelocity()[2], -0.01);
  }
  World world;
  world.setTimeStep(1e-3);
  world.setERP(0.0, 0.0);
  world.setContactSurfaceLayer(1e-3);
  world.setDefaultMaterial(0.8, 1.0, 0.01);
  world.addGround();
  Sphere* ball = world.addSphere(0.1, 1.0);
  ball->setPosition(0.0, 0.0, 1.1);
  double apex = 0.0;
  for (int step = 0; step < 3000; ++step) {
    world.integrate();
    if (step > 2000) apex = std::max(apex, ball->getBodyPosition()[2] - 0.1);
  }
  EXPECT_NEAR(apex, 1.0, 0.02);
}

/// A weight on a wire and a hinge that reaches its limit: problems of the solver without a surface.
std::vector<double> stateOfHangingThings(double layer) {
  World world;
  world.setTimeStep(0.002);
  world.setContactSurfaceLayer(layer);
  Sphere *hook = world.addSphere(0.1, 1.0), *weight = world.addSphere(0.1, 1.0);
  hook->setBodyType(BodyType::STATIC);
  weight->setPosition(0.3, 0.0, -0.95);
  StiffLengthConstraint* wire = world.addStiffWire(hook, 0, {}, weight, 0, {}, 1.0);
  wire->setStretchType(0);
  ArticulatedSystem* door = articulated_test::addFlap(world);
  door->setGeneralizedVelocity(Eigen::VectorXd(Eigen::VectorXd::Constant(1, 2.0)));
  for (int step = 0; step < 500; ++step) world.integrate();
  const Vec3& p = weight->getBodyPosition();
  EXPECT_NEAR(norm(p), 1.0, 2e-3);
  return {p[0], p[1], p[2], door->getGeneralizedCoordinate()[0]};
}

TEST(SurfaceLayer, IsNoneOfWiresAndJointLimits) {
  EXPECT_EQ(stateOfHangingThings(0.01), stateOfHangingThings(0.0));
}

}  // namespace
}  // namespace zelvik
