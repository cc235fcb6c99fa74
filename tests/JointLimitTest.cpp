// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "ArticulatedTestTools.hpp"

namespace zelvik {
namespace {

using namespace articulated_test;
const Vec3 kWeightless{};

TEST(JointLimits, StopsAJointAndNeverPushesItBack) {
  for (const double sign : {1.0, -1.0}) {
    Child link = body("body", Joint::PRISMATIC, 1.0, {}, 1.0);
    link.jointLimit[0] = -0.1;
    link.jointLimit[1] = 0.1;
    const auto system = onFixedBase(link);
    system->setGeneralizedVelocity({sign * 2.0});
    system->setGeneralizedForce({sign * 5.0});
    double farthest = 0.0;
    for (int i = 0; i < 400; ++i) {
      step(*system, kWeightless, 0.001);
      const double q = sign * system->getGeneralizedCoordinate()[0];
      EXPECT_GE(q, farthest - 1e-15);
      farthest = std::max(farthest, q);
    }
    EXPECT_EQ(system->getGeneralizedVelocity()[0], 0.0);
    EXPECT_NEAR(farthest, 0.1 + 0.0023, 0.0023);  // two steps at the speed of arrival
    // Receding is free.
    system->setGeneralizedForce({-sign * 5.0});
    step(*system, kWeightless, 0.001);
    EXPECT_NEAR(system->getGeneralizedVelocity()[0], -sign * 0.005, 1e-14);
    // Exactly on the limit there is no problem.
    contact::ContactProblemList problems;
    system->setGeneralizedCoordinate({sign * 0.1});
    system->appendJointLimits(problems);
    EXPECT_TRUE(problems.empty());
  }
}

TEST(JointLimits, SphericalJointStaysInItsCone) {
  Child link = body("body", Joint::SPHERICAL, 1.0, {{0.0, 0.0, -0.5}}, 0.1);
  link.inertia = {{0.1, 0.02, 0.0, 0.02, 0.2, 0.01, 0.0, 0.01, 0.3}};
  link.jointLimit[0] = 0.3;
  const auto system = onFixedBase(link);
  system->setGeneralizedVelocity({1.0, 2.0, 0.5});
  for (int i = 0; i < 300; ++i) step(*system, kWeightless, 0.001);
  const double angle = 2.0 * std::acos(system->getGeneralizedCoordinate()[0]);
  EXPECT_NEAR(angle, 0.31, 0.01);
  const VecDyn &u = system->getGeneralizedVelocity(), &q = system->getGeneralizedCoordinate();
  EXPECT_LT(q[1] * u[0] + q[2] * u[1] + q[3] * u[2], 1e-3);
}

TEST(JointLimits, OfABallJointIsOnTheShorterTurn) {
  Child link = body("body", Joint::SPHERICAL, 1.0, {{0.0, 0.0, -0.5}}, 0.1);
  for (const double limit : {0.5, 0.1, 0.0}) {
    link.jointLimit[0] = limit;
    const auto system = onFixedBase(link);
    for (const double angle : {0.0, 0.2}) {
      // A quaternion and its negative; the velocity goes on outwards.
      double velocity[2];
      for (const double sign : {1.0, -1.0}) {
        system->setGeneralizedCoordinate(
            {sign * std::cos(0.5 * angle), sign * std::sin(0.5 * angle), 0.0, 0.0});
        system->setGeneralizedVelocity({1.0, 0.0, 0.0});
        contact::ContactProblemList problems;
        system->preContactSolverUpdate1(kWeightless, 0.001);
        system->preContactSolverUpdate2(kWeightless, 0.001);
        system->appendJointLimits(problems);
        EXPECT_EQ(problems.size(), angle > limit ? 1u : 0u) << limit << ", " << angle;
        for (auto& problem : problems) system->enforceJointLimits(problem);
        system->integrate(0.001, kWeightless);
        velocity[sign < 0.0] = system->getGeneralizedVelocity()[0];
      }
      EXPECT_NEAR(velocity[0], angle > limit ? 0.0 : 1.0, 1e-12);
      EXPECT_EQ(velocity[1], velocity[0]);
    }
  }
}

TEST(JointLimits, ConvergeTogetherWithContacts) {
  Child root = body("hip", Joint::FLOATING, 3.0, {{0.1, 0.02, 0.2}}, 0.05);
  Child shank = body("shank", Joint::REVOLUTE, 0.6, {{0.0, 0.0, -0.2}}, 0.0);
  shank.jointLimit[1] = 0.5;
  shank.collisionBodies.emplace_back().size = {0.05};
  shank.collisionBodies[0].posOffset = {{0.0, 0.0, -0.4}};
  root.childrenMovable.push_back(shank);

  World world;
  world.setContactSolverParam(1.0, 1.0, 1.0, 1000, 1e-14);
  world.addGround();
  ArticulatedSystem& robot = *world.addArticulatedSystem(root, ".");
  // The foot in the ground, the knee beyond its limit and bending on.
  robot.setGeneralizedCoordinate({0, 0, 0.049 + 0.4 * std::cos(0.51), 1, 0, 0, 0, 0.51});
  robot.setGeneralizedVelocity({0.5, 0.1, -0.6, 0.0, 0.3, 0.0, 0.2});
  world.integrate1();
  ASSERT_TRUE(robot.getContacts().size() == 1 && world.getContactProblems().size() == 2);
  MatDyn J;
  robot.getDenseJacobian(1, robot.getContacts()[0].position_, J);
  world.integrate2();

  const auto &foot = world.getContactProblems()[0], &knee = world.getContactProblems()[1];
  const Eigen::VectorXd u = robot.getGeneralizedVelocity().e();
  EXPECT_TRUE(foot.imp_[2] > 0.1 && knee.imp_[0] < -0.01);  // from the upper limit inwards
  EXPECT_LT((J.e() * u - foot.targetVelZ_ * Eigen::Vector3d::UnitZ()).norm(), 1e-4);  // sticks
  EXPECT_LT(std::fabs(u[6]), 1e-4);
}

/// A hanging chain whose joints all reach their limits.
Child chainWithLimits(size_t links) {
  Child node = body("link0", Joint::FIXED);
  for (Child* last = &node; links > 0; --links, last = &last->childrenMovable[0]) {
    Child next = body("link" + std::to_string(links), Joint::REVOLUTE, 1.0, {{0.2, 0.0, 0.0}});
    next.jointPosition = {{0.4, 0.0, 0.0}};
    next.jointLimit[0] = -0.1;
    next.jointLimit[1] = 0.1;
    last->childrenMovable.push_back(next);
  }
  return node;
}

TEST(JointLimits, OfASystemLeaveThoseOfSmallerOnesAlone) {
  World together;
  std::vector<ArticulatedSystem*> systems;
  for (size_t links = 1; links < 9; ++links)
    systems.push_back(together.addArticulatedSystem(chainWithLimits(links), "."));
  for (int i = 0; i < 100; ++i) together.integrate();
  for (size_t links = 1; links < 9; ++links) {
    World alone;
    ArticulatedSystem* system = alone.addArticulatedSystem(chainWithLimits(links), ".");
    for (int i = 0; i < 100; ++i) alone.integrate();
    // Together the longest chain decides when the sweeps end.
    const VecDyn &q = system->getGeneralizedCoordinate(),
                 &p = systems[links - 1]->getGeneralizedCoordinate();
    for (size_t k = 0; k < q.n; ++k) {
      EXPECT_NEAR(p[k], q[k], 1e-3);
      EXPECT_LT(std::fabs(q[k]), 0.3);  // hanging straight down it would be pi / 2
    }
  }
}

}  // namespace
}  // namespace zelvik
