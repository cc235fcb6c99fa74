// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "ArticulatedTestTools.hpp"
#include "StandingRobot.hpp"
#include "StateHash.hpp"

// The books of a step: what is booked to a cause against what is known of it. That the sum of all
// entries is the change says nothing by itself, since one of them is the remainder.

namespace zelvik {
namespace {

using Cause = LedgerAccount;

/// The books of `steps` steps.
LedgerAccount run(World& world, int steps) {
  world.setLedger(true);
  world.integrate();
  LedgerAccount sum = world.getLedger().whole;
  for (int i = 1; i < steps; ++i) {
    world.integrate();
    sum += world.getLedger().whole;
  }
  return sum;
}

double largest(const LedgerEntry& entry) {
  return std::max({std::fabs(entry.work), norm(entry.impulse), norm(entry.twist)});
}

void expectVector(const Vec3& found, const Vec3& expected, double tolerance) {
  for (size_t i = 0; i < 3; ++i) EXPECT_NEAR(found[i], expected[i], tolerance) << "axis " << i;
}

TEST(Ledger, FreeFlightBalances) {
  World world;
  Sphere* ball = world.addSphere(0.1, 2.0);
  ball->setPosition(1.0, 2.0, 50.0);
  ball->setVelocity(3.0, -1.0, 2.0, 4.0, 5.0, 6.0);
  ball->setLinearDamping(0.3);
  const double momentum = 2.0 * 3.0;
  LedgerAccount sum;
  double drag = 0.0;
  for (int i = 0; i < 100; ++i) {
    const Vec3 before = ball->getLinearVelocity();
    ball->setExternalForce(0, {{0.0, 5.0, 0.0}});
    ball->setExternalTorque(0, {{0.0, 0.0, 0.1}});
    const LedgerAccount books = run(world, 1);
    const Vec3 mean = 0.5 * (before + ball->getLinearVelocity());
    drag -= 0.3 * dot(mean, mean) * world.getTimeStep();
    EXPECT_LT(largest(books[Cause::INTEGRATION]), 1e-11);
    if (i == 0)
      sum = books;
    else
      sum += books;
  }
  EXPECT_NEAR(sum[Cause::DAMPING].work / drag, 1.0,
              1e-3);  // it leaves out what the step's own forces add
  expectVector(sum[Cause::EXTERNAL].impulse, {{0.0, 2.5, 0.0}}, 1e-12);
  expectVector(sum[Cause::GRAVITY].impulse, {{0.0, 0.0, -9.81}}, 1e-12);
  EXPECT_NEAR(sum.before.momentum[0], momentum, 1e-12);
  EXPECT_EQ(sum.after.energy(), world.getLedger().objects[0].after.energy());
  EXPECT_NEAR(sum.after.energy(), ball->getEnergy(world.getGravity()), 1e-10);
  world.setLedger(false);
  EXPECT_TRUE(world.getLedger().objects.empty());
}

// A block comes to rest by friction alone: m v^2 / 2 is its work. A ball bounces with a restitution
// of 0.5: the normal takes three quarters.
TEST(Ledger, FrictionAndImpactTakeWhatIsLost) {
  World world;
  world.setDefaultMaterial(0.4, 0.0, 0.01);
  world.setMaterialPairProp("ground", "ball", 0.0, 0.5, 0.0);
  world.setERP(0.0, 0.0);
  world.setContactSolverParam(1.0, 1.0, 1.0, 1000, 1e-20);
  world.addGround(0.0, "ground");
  Box* block = world.addBox(0.2, 0.2, 0.1, 3.0);
  block->setPosition(0.0, 0.0, 0.05);
  block->setVelocity(2.0, 0.0, 0.0, 0.0, 0.0, 0.0);
  const LedgerAccount slide = run(world, 200);
  EXPECT_NEAR(slide[Cause::FRICTION].work, -0.5 * 3.0 * 4.0, 1e-3);
  EXPECT_NEAR(slide[Cause::FRICTION].impulse[0], -6.0, 1e-9);
  EXPECT_NEAR(slide[Cause::NORMAL].impulse[2], 3.0 * 9.81, 1e-9);
  EXPECT_LT(largest(slide[Cause::INTEGRATION]), 1e-3);

  World free;
  free.updateMaterialProp(world.getMaterialManager());
  free.setERP(0.0, 0.0);
  free.setGravity({{0.0, 0.0, 0.0}});
  free.addGround(0.0, "ground");
  Sphere* ball = free.addSphere(0.1, 2.0, "ball");
  ball->setPosition(0.0, 0.0, 0.1005);
  ball->setVelocity(0.0, 0.0, -1.0, 0.0, 0.0, 0.0);
  const LedgerAccount bounce = run(free, 5);
  EXPECT_NEAR(ball->getLinearVelocity()[2], 0.5, 1e-12);
  EXPECT_NEAR(bounce[Cause::NORMAL].work, -0.75 * 0.5 * 2.0, 1e-12);
  EXPECT_LT(largest(bounce[Cause::INTEGRATION]), 1e-12);
}

// The remainder of a pendulum is all of its error: of first order in the step, and next to nothing
// of fourth. A flap that swings against its limit loses its energy there, and a robot's base holds
// its weight.
TEST(Ledger, PendulumLimitAndBase) {
  const auto remainder = [](ArticulatedSystem::IntegrationScheme scheme, double dt) {
    World world;
    world.setTimeStep(dt);
    Child bar = articulated_test::body("bar", Joint::REVOLUTE, 1.0, {{0.0, 0.0, -0.5}});
    Child base = articulated_test::body("base", Joint::FIXED);
    base.childrenMovable.push_back(bar);
    ArticulatedSystem* system = world.addArticulatedSystem(base, ".");
    system->setIntegrationScheme(scheme);
    system->setGeneralizedCoordinate({1.0});
    const LedgerAccount sum = run(world, static_cast<int>(std::lround(1.0 / dt)));
    EXPECT_NEAR(sum.after.energy() - sum.before.energy(), sum[Cause::INTEGRATION].work, 1e-12);
    return sum[Cause::INTEGRATION].work;
  };
  const double coarse = remainder(ArticulatedSystem::TRAPEZOID, 0.002);
  EXPECT_GT(std::fabs(coarse), 1e-4);
  EXPECT_NEAR(coarse / remainder(ArticulatedSystem::TRAPEZOID, 0.001), 2.0, 0.1);
  EXPECT_LT(std::fabs(remainder(ArticulatedSystem::RUNGE_KUTTA_4, 0.002)), 1e-9);

  World world;
  world.setGravity({{0.0, 0.0, 0.0}});
  ArticulatedSystem* flap = articulated_test::addFlap(world);
  flap->setGeneralizedVelocity({2.0});
  const LedgerAccount stop = run(world, 40);
  EXPECT_EQ(stop.after.kinetic, 0.0);
  EXPECT_NEAR(stop[Cause::LIMITS].work, -stop.before.kinetic, 1e-12);
  EXPECT_NEAR(stop[Cause::INTEGRATION].work, 0.0, 1e-12);
  world.setGravity({{0.0, 0.0, -9.81}});
  flap->setGeneralizedCoordinate({0.0});
  const LedgerAccount rest = run(world, 1);
  expectVector(rest[Cause::BASE].impulse, {{0.0, 0.0, 2.0 * 9.81 * world.getTimeStep()}}, 1e-12);
}

// What a robot's joints do, against the sums over its joints; its energy is that of its mass
// matrix. Without forces from outside it keeps its momentum but for the error of the scheme, which
// a tenth of the step makes a tenth.
TEST(Ledger, RobotUnderControl) {
  const auto drift = [](double dt) {
    World world;
    world.setTimeStep(dt);
    world.setGravity({{0.0, 0.0, 0.0}});
    ArticulatedSystem* robot = world.addArticulatedSystem(ZELVIK_MODEL_DIR "/quadruped.urdf");
    scenes::holdPoseByPd(*robot, scenes::nominalPose(*robot));
    VecDyn damping = robot->getJointDamping();
    for (size_t k = 6; k < damping.n; ++k) damping[k] = 0.1;
    robot->setJointDamping(damping);
    const LedgerAccount sum = run(world, static_cast<int>(std::lround(0.1 / dt)));
    EXPECT_LT(sum[Cause::DAMPING].work, 0.0);
    EXPECT_GT(sum[Cause::ACTUATION].work, 0.0);
    EXPECT_EQ(norm(sum[Cause::ACTUATION].impulse), 0.0);
    world.integrate1();
    EXPECT_NEAR(sum.after.kinetic, robot->getKineticEnergy(), 1e-12);
    Vec3 spin;
    robot->getAngularMomentum({}, spin);
    expectVector(sum.after.spin, spin, 1e-3);
    return norm(sum[Cause::INTEGRATION].twist) + norm(sum[Cause::INTEGRATION].impulse);
  };
  const double coarse = drift(1e-3);
  EXPECT_LT(coarse, 0.1);
  EXPECT_NEAR(drift(1e-4) / coarse, 0.1, 0.05);
}

// On its feet, pushed: the ground takes weight and push, friction only takes, and the step is the
// same to the bit with and without the books.
TEST(Ledger, RobotOnItsFeet) {
  scenes::StandingRobot scene(ZELVIK_MODEL_DIR "/quadruped.urdf"),
      plain(ZELVIK_MODEL_DIR "/quadruped.urdf");
  World& world = scene.world;
  for (int i = 0; i < 400; ++i) {
    world.integrate();
    plain.world.integrate();
  }
  const double dt = world.getTimeStep();
  for (int i = 0; i < 100; ++i) {
    for (scenes::StandingRobot* s : {&scene, &plain})
      s->robot->setExternalForce(0, {{20.0, 0.0, 0.0}});
    const LedgerAccount books = run(world, 1);
    plain.world.integrate();
    EXPECT_LE(books[Cause::FRICTION].work, 1e-6);
    EXPECT_NEAR(books[Cause::NORMAL].impulse[2], scene.groundForce() * dt, 1e-12);
    expectVector(books[Cause::EXTERNAL].impulse, {{20.0 * dt, 0.0, 0.0}}, 1e-15);
    EXPECT_LT(norm(books[Cause::INTEGRATION].impulse), 1e-3 * scene.totalMass() * 9.81 * dt);
  }
  EXPECT_EQ(scenes::stateHash(world), scenes::stateHash(plain.world));
  EXPECT_EQ(world.getLedger().whole[Cause::WIRES].work, 0.0);
}

// Wires of both kinds join balls in free space: momentum passes between them and stays in the
// whole. A compliant wire holds what its ends lose; a stiff one that catches takes it.
TEST(Ledger, Wires) {
  World world;
  world.setGravity({{0.0, 0.0, 0.0}});
  Sphere* balls[3];
  for (int i = 0; i < 3; ++i) {
    balls[i] = world.addSphere(0.1, 1.0 + i);
    balls[i]->setPosition(1.0 * i, 0.3 * i, 1.0);
  }
  world.addCompliantWire(balls[0], 0, {}, balls[1], 0, {{0.0, 0.05, 0.0}}, 0.9, 50.0)
      ->setStretchType(0);
  world.addStiffWire(balls[1], 0, {}, balls[2], 0, {}, 1.1)->setStretchType(0);
  balls[2]->setVelocity(1.0, 0.2, 0.0, 0.0, 0.0, 0.0);
  run(world, 1);
  const Ledger& books = world.getLedger();
  EXPECT_GT(norm(books.objects[0][Cause::WIRES].impulse), 1e-2);
  for (const LedgerAccount& account : books.objects) EXPECT_EQ(account.after.wires, 0.0);
  const LedgerAccount sum = run(world, 100);
  EXPECT_GT(sum.before.wires, 0.1);
  EXPECT_LT(sum[Cause::WIRES].work, -0.1);
  EXPECT_LT(norm(sum[Cause::WIRES].impulse) + norm(sum[Cause::WIRES].twist), 1e-12);
  EXPECT_LT(norm(sum[Cause::INTEGRATION].impulse), 1e-12);
  EXPECT_LT(std::fabs(sum[Cause::INTEGRATION].work), 0.05);
}

}  // namespace
}  // namespace zelvik
