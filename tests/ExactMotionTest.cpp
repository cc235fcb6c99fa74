// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "ArticulatedTestTools.hpp"
#include "ExactSolutions.hpp"

// Motions with a closed form, each of a single body and of a robot of one link.

namespace zelvik {
namespace {

/// A body of either kind.
class Mover {
 public:
  Mover(World& world, bool isRobot, Shape::Type shape, const std::vector<double>& size,
        double mass) {
    const bool isBall = shape == Shape::SPHERE;
    SingleBodyObject* body = isBall ? static_cast<SingleBodyObject*>(world.addSphere(size[0], mass))
                                    : world.addBox(size[0], size[1], size[2], mass);
    if (!isRobot) {
      body_ = body;
      return;
    }
    Child root = articulated_test::body("root", Joint::FLOATING, mass);
    root.inertia = body->getBodyInertia();
    root.collisionBodies.emplace_back().shape = shape;
    root.collisionBodies[0].size = size;
    world.removeObject(body);
    robot_ = world.addArticulatedSystem(root, ".");
  }

  void place(const Vec3& p, const Vec3& v, const Vec3& w = {}) {
    if (body_ != nullptr) {
      body_->setPosition(p);
      body_->setVelocity(v, w);
      return;
    }
    robot_->setGeneralizedCoordinate({p[0], p[1], p[2], 1.0, 0.0, 0.0, 0.0});
    robot_->setGeneralizedVelocity({v[0], v[1], v[2], w[0], w[1], w[2]});
  }
  Vec3 position() const {
    Vec3 p;
    object()->getPosition(0, p);
    return p;
  }
  Vec3 velocity() const {
    if (body_ != nullptr) return body_->getLinearVelocity();
    const VecDyn& u = robot_->getGeneralizedVelocity();
    return {{u[0], u[1], u[2]}};
  }
  Vec3 spin() const {
    if (body_ != nullptr) return body_->getAngularVelocity();
    const VecDyn& u = robot_->getGeneralizedVelocity();
    return {{u[3], u[4], u[5]}};
  }
  Vec3 spinB() const {
    Mat33 R;
    object()->getOrientation(0, R);
    return transposeMul(R, spin());
  }

 private:
  const Object* object() const {
    return body_ != nullptr ? static_cast<const Object*>(body_) : robot_;
  }
  SingleBodyObject* body_ = nullptr;
  ArticulatedSystem* robot_ = nullptr;
};

void run(World& world, double seconds) {
  const long steps = std::lround(seconds / world.getTimeStep());
  for (long i = 0; i < steps; ++i) world.integrate();
}

class ExactMotion : public testing::TestWithParam<bool> {
 protected:
  Mover add(Shape::Type shape, const std::vector<double>& size, double mass) {
    return Mover(world_, GetParam(), shape, size, mass);
  }
  World world_;
};

TEST_P(ExactMotion, FlightIsTheParabola) {
  const exact::Ballistic flight{{{0.3, 0.0, 1.0}}, {{1.0, 2.0, 3.0}}, {{0.0, 0.0, -9.81}}};
  Mover ball = add(Shape::SPHERE, {0.1}, 2.0);
  ball.place(flight.start, flight.startVelocity);
  run(world_, 2.0);
  // 400 roundings of numbers below 20.
  EXPECT_LT(norm(ball.position() - flight.position(2.0)), 1e-12);
  EXPECT_LT(norm(ball.velocity() - flight.velocity(2.0)), 1e-12);
  EXPECT_EQ(world_.getStepCount(), 400u);
  EXPECT_NEAR(world_.getWorldTime(), 2.0, 1e-12);
}

TEST_P(ExactMotion, ABallBouncesToTheShareOfItsRestitution) {
  const exact::BouncingBall bounce{1.0, 0.8};
  world_.setTimeStep(1e-4);
  world_.setERP(0.0, 0.0);
  world_.setDefaultMaterial(0.8, bounce.restitution, 1e-6);
  world_.addGround();
  Mover ball = add(Shape::SPHERE, {0.1}, 2.0);
  ball.place({{0.0, 0.0, 0.1 + bounce.height}}, {});
  run(world_, bounce.firstApexTime());
  // A bounce waits for the end of its step: up to 1e-4 s at 4.4 m/s.
  EXPECT_NEAR(ball.position()[2] - 0.1, bounce.apex(1), 2e-3);
  EXPECT_NEAR(ball.velocity()[2], 0.0, 5e-3);
}

TEST_P(ExactMotion, ABallLeavesWithTheTargetVelocityOfTheStep) {
  // (v_n - 2 v_impact - threshold)(e + erp2) with v_n = -1 - 0.005 g: 0.94095 * 0.502.
  world_.setDefaultMaterial(0.8, 0.5, 0.01);
  world_.addGround();
  Mover ball = add(Shape::SPHERE, {0.5}, 1.0);
  ball.place({{0.0, 0.0, 0.5}}, {{0.0, 0.0, -1.0}});
  world_.integrate();
  EXPECT_NEAR(ball.velocity()[2], 0.472356900, 1e-12);
}

TEST_P(ExactMotion, ASlidingSphereEndsRolling) {
  const exact::RollingSphere rolling{0.3, 2.0, 0.5};
  world_.setTimeStep(0.001);
  world_.setDefaultMaterial(rolling.friction, 0.0, 0.01);
  world_.addGround();
  Mover ball = add(Shape::SPHERE, {rolling.radius}, 2.0);
  ball.place({{0.0, 0.0, rolling.radius}}, {{rolling.startSpeed, 0.0, 0.0}});
  // While it slides, and after; friction begins with the second step.
  for (const double t : {0.5 * rolling.slidingTime(), 1.5}) {
    run(world_, t - world_.getWorldTime());
    EXPECT_NEAR(ball.velocity()[0], rolling.speed(t), 0.006) << t;
    EXPECT_NEAR(ball.spin()[1], rolling.spin(t), 0.045) << t;
  }
  // It rolls on a radius that is smaller by what it sank in on landing, some 1e-5 m.
  EXPECT_NEAR(ball.velocity()[0], rolling.radius * ball.spin()[1], 2e-4);
}

TEST_P(ExactMotion, ABlockOnAnInclineSticksOrSlidesAsCoulombSays) {
  for (const exact::Incline incline : {exact::Incline{0.3, 0.2}, exact::Incline{0.3, 0.35}}) {
    World world;
    world.setDefaultMaterial(incline.friction, 0.0, 0.01);
    world.setGravity(incline.gravity());
    world.addGround();
    Mover block(world, GetParam(), Shape::BOX, {0.4, 0.4, 0.1}, 3.0);
    block.place({{0.0, 0.0, 0.05}}, {});
    run(world, 1.0);
    EXPECT_NEAR(block.velocity()[0], incline.speed(1.0), 2e-3) << incline.friction;
    EXPECT_NEAR(block.velocity()[1], 0.0, 1e-3) << incline.friction;
  }
}

TEST_P(ExactMotion, TheSpinOfATopGoesRoundItsAxis) {
  // A cuboid of 0.4 x 0.4 x 0.1 m.
  const double mass = 3.0;
  const exact::SymmetricTop top{mass * 0.17 / 12.0, mass * 0.32 / 12.0, {{1.0, 0.0, 4.0}}};
  world_.setTimeStep(1e-4);
  world_.setGravity(Vec3{});
  Mover cuboid = add(Shape::BOX, {0.4, 0.4, 0.1}, mass);
  cuboid.place({}, {}, top.startSpinB);
  run(world_, 1.0);
  EXPECT_LT(norm(cuboid.spinB() - top.spinB(1.0)), 3e-3);
}

INSTANTIATE_TEST_SUITE_P(Of, ExactMotion, testing::Bool(), [](const auto& kind) {
  return kind.param ? std::string("ARobotOfOneLink") : std::string("ASingleBody");
});

TEST(ExactPendulum, SwingsAlikeOnAHingeAndOnAWire) {
  const exact::Pendulum pendulum{1.0, 0.5};
  World world;
  const double quarter = pendulum.quarterPeriod(), steps = 2000.0;
  world.setTimeStep(quarter / steps);
  ArticulatedSystem* hinge = nullptr;
  {
    using articulated_test::body;
    Child base = body("base", Joint::FIXED);
    base.childrenMovable.push_back(
        body("bob", Joint::REVOLUTE, 2.0, {{0.0, 0.0, -pendulum.length}}, 0.0));
    hinge = world.addArticulatedSystem(base, ".");
    hinge->setGeneralizedCoordinate({pendulum.amplitude});
  }
  Sphere *hook = world.addSphere(0.05, 1.0), *bob = world.addSphere(0.05, 2.0);
  hook->setBodyType(STATIC);
  bob->setPosition(pendulum.length * std::sin(pendulum.amplitude), 0.0,
                   -pendulum.length * std::cos(pendulum.amplitude));
  StiffLengthConstraint* wire = world.addStiffWire(hook, 0, {}, bob, 0, {}, pendulum.length);
  wire->setStretchType(2);
  run(world, quarter);
  EXPECT_NEAR(hinge->getGeneralizedCoordinate()[0], 0.0, 1e-3);
  EXPECT_NEAR(hinge->getGeneralizedVelocity()[0], -pendulum.largestSpeed() / pendulum.length, 1e-3);
  EXPECT_NEAR(bob->getComPosition()[0], 0.0, 2e-3);
  EXPECT_NEAR(norm(bob->getLinearVelocity()), pendulum.largestSpeed(), 2e-3);
  EXPECT_NEAR(wire->getStretch(), 0.0, 1e-3);
}

}  // namespace
}  // namespace zelvik
