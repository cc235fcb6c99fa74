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

TEST(WorldWires, StretchTypeDecidesWhenItActs) {
  Sphere a(0.1, 1.0), b(0.1, 1.0);
  a.setPosition(0.0, 0.0, 1.0);
  b.setPosition(0.0, 0.0, 5.0);
  // Attachment points 1 m above a and 1 m below b: 2 m apart.
  const struct {
    double length;
    bool active[3];  // by stretch type
  } table[] = {{1.5, {true, false, true}}, {2.0, {false, false, true}}, {2.5, {false, true, true}}};
  for (const auto& row : table) {
    StiffLengthConstraint wire(&a, 0, {{0, 0, 1}}, &b, 0, {{0, 0, -1}}, row.length);
    EXPECT_EQ(wire.getStretchType(), 1);
    for (int type = 0; type < 3; ++type) {
      wire.setStretchType(type);
      wire.update();
      EXPECT_EQ(wire.isActive(), row.active[type]) << row.length << " " << type;
    }
    EXPECT_EQ(wire.getStretch(), 2.0 - row.length);
    EXPECT_EQ(wire.getNorm()[2], 1.0);
    EXPECT_EQ(wire.getP1()[2], 2.0);
  }
}

TEST(WorldWires, TheStretchOfASpinningStiffWireSettlesWhereDriftAndCorrectionBalance) {
  World world;
  world.setGravity(Vec3{});
  world.setTimeStep(0.001);
  Sphere *hub = world.addSphere(0.05, 1.0), *bob = world.addSphere(0.05, 1.0);
  hub->setBodyType(STATIC);
  bob->setPosition(0.8, 0, 0);
  bob->setVelocity(0, 1.5, 0, 0, 0, 0);
  StiffLengthConstraint* wire = world.addStiffWire(hub, 0, {}, bob, 0, {}, 0.8);
  wire->setStretchType(0);
  for (int i = 0; i < 20000; ++i) world.integrate();
  const double v = norm(bob->getLinearVelocity());
  EXPECT_NEAR(v, 1.5, 0.05);
  EXPECT_NEAR(wire->getStretch(), v * v * 0.001 / (2.0 * world.getERP() * 0.8), 1e-4);
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

enum class Pair { BODIES, STATIC_BODY, ROBOTS, ROBOT_AND_BODY, ONE_ROBOT };

/// Two bodies with points on them, 0.1 m farther apart than the wire that may join them.
struct PairScene {
  World world;  // nothing in it collides
  Object *a, *b;
  size_t bodyA = 0, bodyB = 0;
  const Vec3 pointA{{0.02, 0.01, -0.05}}, pointB{{0, 0.03, 0.02}};

  explicit PairScene(Pair pair) {
    const bool robotA = pair >= Pair::ROBOTS;
    a = robotA ? addRobot(world, kQuadruped) : addSphere(0, 0, 0);
    bodyA = robotA ? 3 : 0;
    if (pair == Pair::ROBOTS)
      b = addRobot(world, kArm);
    else
      b = pair == Pair::ONE_ROBOT ? a : addSphere(0.5, 0.4, 1.0);
    bodyB = pair == Pair::ROBOTS ? 4 : pair == Pair::ONE_ROBOT ? 9 : 0;
    if (pair == Pair::STATIC_BODY) static_cast<Sphere*>(b)->setBodyType(STATIC);
  }
  Object* addSphere(double x, double y, double z) {
    Sphere* sphere = world.addSphere(0.1, 2.0, "", 2, 0);
    sphere->setPosition(x, y, z);
    return sphere;
  }
  Vec3 along() const {
    Vec3 pA, pB;
    a->getPosition(bodyA, pointA, pA);
    b->getPosition(bodyB, pointB, pB);
    return pB - pA;
  }
  double length() const { return norm(along()) - 0.1; }
  void pullApart() {
    const Vec3 pull = (20.0 / norm(along())) * along();
    a->setExternalForce(bodyA, -pull);
    b->setExternalForce(bodyB, pull);
  }
  /// What a force on a point of a body does, by Newton's laws or the Jacobian of the point.
  static void push(Object& object, size_t body, const Vec3& point, const Vec3& force) {
    if (object.getObjectType() != ARTICULATED_SYSTEM) {
      Mat33 rotation;
      object.getOrientation(body, rotation);
      object.setExternalForce(body, force);
      object.setExternalTorque(body, cross(rotation * point, force));
      return;
    }
    auto& robot = static_cast<ArticulatedSystem&>(object);
    Vec3 pointW;
    robot.getPosition(body, point, pointW);
    MatDyn jacobian(3, robot.getDOF());
    jacobian.setZero();
    robot.getDenseJacobian(body, pointW, jacobian);
    VecDyn effort = robot.getFeedForwardForce();
    for (size_t k = 0; k < effort.n; ++k)
      for (size_t i = 0; i < 3; ++i) effort[k] += jacobian(i, k) * force[i];
    robot.setGeneralizedForce(effort);
  }
  std::vector<double> velocities() const {
    std::vector<double> all;
    for (const Object* object : {a, b}) {
      if (object->getObjectType() == ARTICULATED_SYSTEM) {
        const VecDyn& v = static_cast<const ArticulatedSystem*>(object)->getGeneralizedVelocity();
        all.insert(all.end(), v.data(), v.data() + v.n);
        continue;
      }
      const auto& single = static_cast<const SingleBodyObject&>(*object);
      for (size_t i = 0; i < 3; ++i) all.push_back(single.getLinearVelocity()[i]);
      for (size_t i = 0; i < 3; ++i) all.push_back(single.getAngularVelocity()[i]);
    }
    return all;
  }
};

class WirePair : public testing::TestWithParam<Pair> {};

TEST_P(WirePair, AWirePullsBothEndsAndAStretchedStrutNone) {
  for (bool stiff : {true, false})
    for (int type : {0, 1}) {
      PairScene wired(GetParam()), driven(GetParam());
      const Vec3 n = (1.0 / norm(wired.along())) * wired.along();
      const double length = wired.length(), k = 70.0, dt = wired.world.getTimeStep();
      LengthConstraint* wire;
      if (stiff)
        wire = wired.world.addStiffWire(wired.a, wired.bodyA, wired.pointA, wired.b, wired.bodyB,
                                        wired.pointB, length);
      else
        wire = wired.world.addCompliantWire(wired.a, int(wired.bodyA), wired.pointA, wired.b,
                                            int(wired.bodyB), wired.pointB, length, k);
      wire->setStretchType(type);
      wired.pullApart();
      driven.pullApart();
      wired.world.integrate();
      double force = type == 0 ? 0.1 * k : 0.0;
      ASSERT_EQ(wired.world.getContactProblems().size(), stiff && type == 0 ? 1u : 0u);
      if (stiff && type == 0) {
        force = wired.world.getContactProblems()[0].imp_[2] / dt;
        EXPECT_GT(force, 5.0);
      }
      PairScene::push(*driven.a, driven.bodyA, driven.pointA, force * n);
      if (GetParam() != Pair::STATIC_BODY)
        PairScene::push(*driven.b, driven.bodyB, driven.pointB, -force * n);
      driven.world.integrate();
      const std::vector<double> found = wired.velocities(), expected = driven.velocities();
      if (GetParam() == Pair::STATIC_BODY) {
        EXPECT_EQ(found[8], 0.0);
      }
      for (size_t i = 0; i < found.size(); ++i) ASSERT_NEAR(found[i], expected[i], 1e-9) << i;
    }
}

TEST_P(WirePair, StiffWiresHoldWhatIsPulledApart) {
  PairScene wired(GetParam()), loose(GetParam());
  const double length = norm(wired.along());
  const auto tie = [&](Object* b, size_t bodyB, const Vec3& pointB, double l) {
    StiffLengthConstraint* wire =
        wired.world.addStiffWire(wired.a, wired.bodyA, wired.pointA, b, bodyB, pointB, l);
    wire->setStretchType(2);
    return wire;
  };
  tie(wired.b, wired.bodyB, wired.pointB, length);
  Vec3 end;
  wired.a->getPosition(wired.bodyA, wired.pointA, end);
  StiffLengthConstraint* weight =
      tie(wired.addSphere(end[0], end[1], end[2] - 0.5), 0, {}, 0.5);  // a second wire at one point
  for (PairScene* scene : {&wired, &loose}) scene->world.setTimeStep(0.001);
  for (int i = 0; i < 500; ++i) {
    for (PairScene* scene : {&wired, &loose}) {
      scene->pullApart();
      scene->world.integrate();
    }
    ASSERT_NEAR(norm(wired.along()), length, 5e-3) << i;
    ASSERT_NEAR(weight->getStretch(), 0.0, 5e-3) << i;
  }
  EXPECT_GT(std::fabs(norm(loose.along()) - length), 0.1);
}

INSTANTIATE_TEST_SUITE_P(WorldWires, WirePair,
                         testing::Values(Pair::BODIES, Pair::STATIC_BODY, Pair::ROBOTS,
                                         Pair::ROBOT_AND_BODY, Pair::ONE_ROBOT));

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
  EXPECT_EQ(world.getWire("no such wire"), nullptr);
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
