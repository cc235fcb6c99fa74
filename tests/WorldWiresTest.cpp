// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <cmath>
#include <zelvik/World.hpp>

#include "Messages.hpp"

// Wires of both kinds in a running world.

namespace zelvik {
namespace {

constexpr const char* kArm = ZELVIK_MODEL_DIR "/arm.urdf";
constexpr const char* kQuadruped = ZELVIK_MODEL_DIR "/quadruped.urdf";

ArticulatedSystem* addRobot(World& world, const char* urdf, double x) {
  ArticulatedSystem* robot = world.addArticulatedSystem(urdf, "", {}, 2, 0);  // collides with none
  VecDyn gc = robot->getGeneralizedCoordinate();
  if (robot->getJointType(0) == Joint::FLOATING) {
    gc[0] = x;
    gc[2] = 1.0;
    robot->setGeneralizedCoordinate(gc);
  }
  return robot;
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
  StiffLengthConstraint* wire = world.addStiffWire(anchor, 0, {}, bob, 0, {}, 1.0);
  wire->setStretchType(0);
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
  CompliantLengthConstraint* wire = world.addCompliantWire(a, 0, {}, b, 0, {}, rest, k);
  wire->setStretchType(2);
  for (int i = 0; i < 10000; ++i) {
    world.integrate1();
    ASSERT_NEAR(wire->getTension1()[0], k * wire->getStretch(), 1e-12);
    ASSERT_EQ(wire->getTension1()[0], -wire->getTension2()[0]);
    world.integrate2();
  }
  const double w = std::sqrt(k / reduced), x = norm(b->getComPosition() - a->getComPosition());
  // Semi-implicit Euler: phase error w dt / 2 per radian at most.
  EXPECT_NEAR(x - rest, x0 * std::cos(w * 1.0), x0 * w * w * 1e-4);
  const double energy =
      a->getKineticEnergy() + b->getKineticEnergy() + 0.5 * k * (x - rest) * (x - rest);
  EXPECT_NEAR(energy, 0.5 * k * x0 * x0, 0.5 * k * x0 * x0 * 2.0 * w * 1e-4);
}

TEST(WorldWires, StiffWiresHoldBetweenEveryKindOfEnds) {
  World world;  // nothing in it collides
  world.setTimeStep(0.001);
  const auto sphere = [&](double x) {
    Sphere* s = world.addSphere(0.1, 2.0, "", 2, 0);
    s->setPosition(x, 0, 1);
    return s;
  };
  const auto robot = [&](double x) { return addRobot(world, kQuadruped, x); };
  Sphere* fixed = sphere(0);
  fixed->setBodyType(STATIC);
  ArticulatedSystem* own = robot(0);
  struct Ends {
    const char* name;
    Object* a;
    size_t bodyA;
    Object* b;
    size_t bodyB;
    double length;
  };
  std::vector<Ends> wires{{"two spheres", sphere(0), 0, sphere(1), 0, 0},
                          {"static body", sphere(1), 0, fixed, 0, 0},
                          {"robot and sphere", robot(0), 3, sphere(1), 0, 0},
                          {"two robots", robot(0), 3, robot(1), 6, 0},
                          {"one robot", own, 3, own, 9, 0},
                          {"fixed base", addRobot(world, kArm, 0), 4, sphere(1), 0, 0}};
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
    for (const Ends& w : wires) ASSERT_NEAR(norm(along(w)), w.length, 5e-3) << w.name;
  }
}

TEST(WorldWires, ATensionOnARobotIsTheTransposedJacobianTimesTheForce) {
  const Vec3 point{{0.02, 0.01, -0.05}};
  for (const char* urdf : {kQuadruped, kArm}) {
    World wired, driven;
    ArticulatedSystem *robot = addRobot(wired, urdf, 0), *twin = addRobot(driven, urdf, 0);
    Sphere* anchor = wired.addSphere(0.1, 1.0, "", 2, 0);
    anchor->setPosition(2, 1, 3);
    anchor->setBodyType(STATIC);
    CompliantLengthConstraint* wire =
        wired.addCompliantWire(robot, 3, point, anchor, 0, {}, 1.0, 40.0);
    wire->setStretchType(0);
    wired.integrate1();
    EXPECT_NEAR(norm(wire->getTension1()), 40.0 * wire->getStretch(), 1e-9);
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

TEST(WorldWires, NamesAndWhatDiesWithABody) {
  World world;
  Sphere *a = world.addSphere(0.1, 1.0), *b = world.addSphere(0.1, 1.0),
         *c = world.addSphere(0.1, 1.0);
  b->setPosition(1, 0, 0);
  c->setPosition(2, 0, 0);
  const auto stiff = [&](Object* p, Object* q, const char* name) {
    world.addStiffWire(p, 0, {}, q, 0, {}, 1.0)->setName(name);
  };
  stiff(a, b, "1");
  stiff(b, c, "2");
  stiff(c, a, "3");
  world.addCompliantWire(b, 0, {}, c, 0, {}, 1.0, 1.0)->setName("spring");
  world.addCompliantWire(a, 0, {}, b, 0, {}, 1.0, 1.0)->setName("2");
  EXPECT_EQ(world.getWire("2"), world.getStiffWires()[1].get());
  EXPECT_EQ(world.getWire("spring"), world.getCompliantWires()[0].get());
  EXPECT_EQ(world.getConstraint("spring"), nullptr);
  EXPECT_EQ(world.getWire("none"), nullptr);
  // "1" goes, "3" takes its slot and is not looked at: it survives, and has to be removed.
  const size_t changes = world.getObjectChangeCount();
  world.removeObject(a);
  ASSERT_EQ(world.getStiffWires().size(), 2u);
  EXPECT_EQ(world.getStiffWires()[0]->getName(), "3");
  EXPECT_EQ(world.getStiffWires()[1]->getName(), "2");
  ASSERT_EQ(world.getCompliantWires().size(), 1u);
  EXPECT_EQ(world.getCompliantWires()[0]->getName(), "spring");
  StiffLengthConstraint* dangling = world.getStiffWires()[0].get();
  world.removeObject(dangling);
  world.removeObject(dangling);  // unknown by now: ignored, but counted
  EXPECT_EQ(world.getObjectChangeCount(), changes + 3);
  ASSERT_EQ(world.getStiffWires().size(), 1u);
  EXPECT_EQ(messages::of([&] { world.addCompliantWire(b, 0, {}, nullptr, 0, {}, 1.0, 1.0); },
                         messages::OnFatal::GO_ON),
            "World.cpp: World::addCompliantWire: Got a nullptr for body 2 of the wire");
  world.integrate();
}

}  // namespace
}  // namespace zelvik
