// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <cmath>
#include <zelvik/World.hpp>

// Wires of both kinds in a running world.

namespace zelvik {
namespace {

constexpr const char* kArm = ZELVIK_MODEL_DIR "/arm.urdf";
constexpr const char* kQuadruped = ZELVIK_MODEL_DIR "/quadruped.urdf";

ArticulatedSystem* addRobot(World& world, const char* urdf) {
  return world.addArticulatedSystem(urdf, "", {}, 2, 0);  // collides with none
}

TEST(WorldWires, AStiffPendulumKeepsItsLengthAndLosesLittleEnergy) {
  // A step along the tangent stretches the wire by (v dt)^2 / 2l, of which 0.3 per second goes:
  // v^2 dt / (0.6 l), 1.7 mm for the speed at the bottom held for long.
  World world;
  world.setTimeStep(0.00025);
  Box* anchor = world.addBox(0.1, 0.1, 0.1, 1.0);
  anchor->setBodyType(STATIC);
  Sphere* bob = world.addSphere(0.05, 2.0);
  bob->setPosition(0.6, 0, -0.8);
  world.addStiffWire(anchor, 0, {}, bob, 0, {}, 1.0)->setStretchType(0);
  double worst = 0.0, lowest = 0.0;
  for (int i = 0; i < 40000; ++i) {
    world.integrate();
    worst = std::max(worst, std::fabs(norm(bob->getComPosition()) - 1.0));
    lowest = std::min(lowest, bob->getComPosition()[2]);
  }
  EXPECT_LT(worst, 1e-3);
  EXPECT_NEAR(lowest, -1.0, 1e-3);  // it has swung through the lowest point
  EXPECT_LT(bob->getEnergy(world.getGravity()), 2.0 * 9.81 * -0.8 + 0.02);
}

TEST(WorldWires, ACompliantWireIsTheSpringOfTheClosedForm) {
  // x = x0 cos(w t): two masses, w^2 = k / m_reduced; the wire acts in both directions.
  World world;
  world.setGravity(Vec3{});
  world.setTimeStep(1e-4);
  Sphere *a = world.addSphere(0.05, 2.0), *b = world.addSphere(0.05, 3.0);
  const double k = 120.0, rest = 1.0, x0 = 0.1, reduced = 2.0 * 3.0 / 5.0;
  b->setPosition(rest + x0, 0, 0);
  world.addCompliantWire(a, 0, {}, b, 0, {}, rest, k)->setStretchType(2);
  for (int i = 0; i < 10000; ++i) world.integrate();
  const double w = std::sqrt(k / reduced), x = norm(b->getComPosition() - a->getComPosition());
  // Semi-implicit Euler: phase error w dt / 2 per radian at most.
  EXPECT_NEAR(x - rest, x0 * std::cos(w * 1.0), x0 * w * w * 1e-4);
  const double energy =
      a->getKineticEnergy() + b->getKineticEnergy() + 0.5 * k * (x - rest) * (x - rest);
  EXPECT_NEAR(energy, 0.5 * k * x0 * x0, 0.5 * k * x0 * x0 * 2.0 * w * 1e-4);
}

TEST(WorldWires, StiffWiresHoldBetweenRobotsAndBodies) {
  World world;  // nothing in it collides
  world.setTimeStep(0.001);
  Sphere* sphere = world.addSphere(0.1, 2.0, "", 2, 0);
  sphere->setPosition(1, 0, 1);
  ArticulatedSystem *own = addRobot(world, kQuadruped), *arm = addRobot(world, kArm);
  struct Ends {
    Object *a, *b;
    size_t bodyA, bodyB;
    double length;
  };
  std::vector<Ends> wires{{own, own, 3, 9, 0}, {arm, sphere, 4, 0, 0}, {own, sphere, 6, 0, 0}};
  const Vec3 pointA{{0.02, 0.01, -0.05}};
  const auto along = [&](const Ends& w) {
    Vec3 a, b;
    w.a->getPosition(w.bodyA, pointA, a);
    w.b->getPosition(w.bodyB, Vec3{}, b);
    return b - a;
  };
  for (Ends& w : wires) {
    w.length = norm(along(w));
    world.addStiffWire(w.a, w.bodyA, pointA, w.b, w.bodyB, {}, w.length)->setStretchType(2);
  }
  for (int i = 0; i < 500; ++i) {
    for (const Ends& w : wires) {  // pulled apart: without its wire it would go by a metre
      const Vec3 pull = (20.0 / norm(along(w))) * along(w);
      w.a->setExternalForce(w.bodyA, -pull);
      w.b->setExternalForce(w.bodyB, pull);
    }
    world.integrate();
    for (const Ends& w : wires) ASSERT_NEAR(norm(along(w)), w.length, 5e-3) << w.bodyA;
  }
}

TEST(WorldWires, ATensionOnARobotIsTheTransposedJacobianTimesTheForce) {
  const Vec3 point{{0.02, 0.01, -0.05}};
  for (const char* urdf : {kQuadruped, kArm}) {
    World wired, driven;
    ArticulatedSystem *robot = addRobot(wired, urdf), *twin = addRobot(driven, urdf);
    Sphere* anchor = wired.addSphere(0.1, 1.0, "", 2, 0);
    anchor->setPosition(2, 1, 3);
    anchor->setBodyType(STATIC);
    CompliantLengthConstraint* wire =
        wired.addCompliantWire(robot, 3, point, anchor, 0, {}, 1.0, 40.0);
    wire->setStretchType(0);
    wired.integrate1();
    Vec3 pointW;
    robot->getPosition(3, point, pointW);
    MatDyn jacobian(3, robot->getDOF());
    jacobian.setZero();
    robot->getDenseJacobian(3, pointW, jacobian);
    VecDyn effort(robot->getDOF());
    effort.setZero();
    for (size_t k = 0; k < effort.n; ++k)
      for (size_t i = 0; i < 3; ++i) effort[k] += jacobian(i, k) * wire->getTension1()[i];
    twin->setGeneralizedForce(effort);
    wired.integrate2();
    driven.integrate();
    for (size_t k = 0; k < effort.n; ++k)
      EXPECT_NEAR(robot->getGeneralizedVelocity()[k], twin->getGeneralizedVelocity()[k], 1e-10);
  }
}

TEST(WorldWires, OfTheWiresOfADyingBodyTheOneMovedIntoAFreedSlotSurvives) {
  World world;
  Sphere *a = world.addSphere(0.1, 1.0), *b = world.addSphere(0.1, 1.0),
         *c = world.addSphere(0.1, 1.0);
  world.addStiffWire(a, 0, {}, b, 0, {}, 1.0)->setName("1");
  world.addStiffWire(b, 0, {}, c, 0, {}, 1.0)->setName("2");
  world.addStiffWire(c, 0, {}, a, 0, {}, 1.0)->setName("3");
  world.addCompliantWire(b, 0, {}, c, 0, {}, 1.0, 1.0)->setName("spring");
  world.addCompliantWire(a, 0, {}, b, 0, {}, 1.0, 1.0);
  EXPECT_EQ(world.getWire("spring"), world.getCompliantWires()[0].get());
  world.removeObject(a);
  ASSERT_EQ(world.getStiffWires().size(), 2u);
  EXPECT_EQ(world.getStiffWires()[0]->getName(), "3");
  EXPECT_EQ(world.getCompliantWires().size(), 1u);
  StiffLengthConstraint* dangling = world.getStiffWires()[0].get();
  world.removeObject(dangling);
  world.removeObject(dangling);  // unknown by now: ignored
  EXPECT_EQ(world.getStiffWires().size(), 1u);
}

}  // namespace
}  // namespace zelvik
