// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "ArticulatedTestTools.hpp"

namespace zelvik {
namespace {

using namespace articulated_test;

const Vec3 kGravity{{0.5, 0.0, -9.81}};

/// Two trees of one topology and geometry with different numbers in bodies and joints.
Child tree(std::uint32_t numbers, bool floating) {
  scenes::RandomTreeOptions options;
  options.bodies = 8;
  options.floatingBase = floating;
  Child root = scenes::randomTree(11, options);
  scenes::RandomSource random(numbers);
  std::vector<Child*> open = {&root};
  while (!open.empty()) {
    Child& node = *open.back();
    open.pop_back();
    const double a = random.uniform(0.02, 0.1), b = random.uniform(0.02, 0.1), c = 0.05;
    node.mass = random.uniform(0.5, 3.0);
    node.com = random.vector(0.3);
    similarityTransform(random.rotation(), {{b + c, 0, 0, 0, a + c, 0, 0, 0, a + b}}, node.inertia);
    for (Child& child : node.childrenMovable) {
      child.rotorInertia = random.uniform(0.1, 0.2);
      child.damping = random.uniform(0.1, 2.0);
      child.stiffness = random.uniform(1.0, 5.0);
      child.springMount[0] = 0.8;
      child.springMount[1] = 0.6;
      child.effort = random.uniform(1.0, 3.0);
      if (child.jointType != Joint::SPHERICAL) {
        child.jointLimit[0] = random.uniform(-0.5, 0.0);
        child.jointLimit[1] = random.uniform(0.1, 0.5);
      }
      open.push_back(&child);
    }
  }
  return root;
}

/// Gives `system` all numbers of `model` by the setters.
void change(AS& system, const AS& model) {
  for (size_t i = 0; i < system.getBodyCount(); ++i) {
    system.setMass(i, model.getMass(i));
    system.setBodyCom(i, model.getBodyCom()[i]);
    system.setBodyInertia(i, model.getBodyInertia()[i]);
  }
  system.setRotorInertia(model.getRotorInertia());
  system.setJointDamping(model.getJointDamping());
  system.setSprings(model.getSprings());
  system.setForceLimits(model.getForceLowerLimit(), model.getForceUpperLimit());
  system.setJointLimits(model.getJointLimits());
  system.setPGain(model.getPGain());
  system.setDGain(model.getDGain());
  system.setGeneralizedForce(model.getFeedForwardForce());
}

double relative(const Eigen::VectorXd& a, const Eigen::VectorXd& b) {
  return (a - b).norm() / (1e-300 + b.norm());
}

TEST(ArticulatedChange, EverySetterTellsAsTheModelDoes) {
  for (const bool floating : {false, true}) {
    World changed, built;
    AS* const a = changed.addArticulatedSystem(tree(1, floating));
    AS* const b = built.addArticulatedSystem(tree(2, floating));
    for (World* world : {&changed, &built}) world->setGravity(kGravity);
    for (AS* system : {a, b}) {
      system->setControlMode(AS::PD_PLUS_FEED_FORWARD);
      scenes::randomiseState(*system, 5);
    }
    VecDyn values(b->getDOF());
    for (unsigned long k = 0; k < values.n; ++k) values[k] = 5.0 + 0.1 * static_cast<double>(k);
    b->setPGain(values);
    b->setDGain(values);
    b->setGeneralizedForce(values);
    // The change comes between steps, when caches and references of the old numbers are about.
    const MatDyn& inverse = a->getInverseMassMatrix();
    // Both worlds step: the order in which limits are visited alternates.
    changed.integrate();
    built.integrate();
    for (AS* system : {a, b}) scenes::randomiseState(*system, 5);
    change(*a, *b);
    for (int i = 0; i < 4; ++i) {
      // At the first step the state is the same to the bit, later to rounding.
      changed.integrate();
      built.integrate();
      EXPECT_LT((a->getMassMatrix().e() - b->getMassMatrix().e()).norm(),
                1e-12 * b->getMassMatrix().e().norm());
      EXPECT_LT((inverse.e() - b->getInverseMassMatrix().e()).norm(), 1e-11 * inverse.e().norm());
      EXPECT_LT(relative(a->getNonlinearities().e(), b->getNonlinearities().e()), 1e-12);
      EXPECT_LT(relative(a->getGeneralizedForce().e(), b->getGeneralizedForce().e()), 1e-11);
      EXPECT_LT(relative(a->getGeneralizedVelocity().e(), b->getGeneralizedVelocity().e()), 1e-11);
      EXPECT_LT(relative(a->getGeneralizedCoordinate().e(), b->getGeneralizedCoordinate().e()),
                1e-12);
      EXPECT_NEAR(a->getEnergy(kGravity), b->getEnergy(kGravity), 1e-10);
      for (size_t k = 0; k < a->getBodyCount(); ++k) {
        EXPECT_NEAR(a->getCompositeMass()[k], b->getCompositeMass()[k], 1e-13) << k;
        EXPECT_LT(norm(a->getCompositeCom()[k] - b->getCompositeCom()[k]), 1e-12) << k;
      }
    }
  }
}

TEST(ArticulatedChange, ShapesAndMaterialsTakeEffectInTheNextStep) {
  const auto robot = [](double radius, double half, const std::string& material) {
    Child base = body("base", Joint::FLOATING, 2.0), foot = body("foot", Joint::REVOLUTE, 0.5);
    CollisionBody box, ball;
    box.shape = Shape::BOX;
    box.size = {2.0 * half, 2.0 * half, 0.2};
    ball.shape = Shape::SPHERE;
    ball.size = {radius};
    ball.posOffset = {{0.0, 0.0, -0.3}};
    box.material = ball.material = material;
    base.collisionBodies = {box};
    foot.collisionBodies = {ball};
    base.childrenMovable.push_back(foot);
    return base;
  };
  World changed, built;
  AS* const a = changed.addArticulatedSystem(robot(0.1, 0.2, "rubber"), ".");
  AS* const b = built.addArticulatedSystem(robot(0.15, 0.3, "ice"), ".");
  for (World* world : {&changed, &built}) {
    world->addGround(0.0, "floor");
    world->setMaterialPairProp("ice", "floor", 0.05, 0.0, 0.0);
    world->setMaterialPairProp("rubber", "floor", 1.0, 0.0, 0.0);
  }
  const auto place = [](AS& system) {
    system.setGeneralizedCoordinate({0.0, 0.0, 0.46, 1.0, 0.0, 0.0, 0.0, 0.3});
    system.setGeneralizedVelocity({1.0, 0.5, 0.0, 0.0, 0.0, 0.0, 0.0});
  };
  place(*a);
  changed.integrate();
  place(*a);
  place(*b);
  a->setCollisionObjectShapeParameters(0, {0.6, 0.6, 0.2});
  a->setCollisionObjectShapeParameters(1, {0.15});
  EXPECT_EQ(a->getVisColObjects()[1].size[0], 0.15);
  for (CollisionDefinition& shape : a->getCollisionBodies()) shape.setMaterial("ice");
  for (int i = 0; i < 400; ++i) {
    changed.integrate();
    built.integrate();
  }
  EXPECT_GT(b->getContacts().size(), 0u);
  EXPECT_LT(relative(a->getGeneralizedCoordinate().e(), b->getGeneralizedCoordinate().e()), 1e-9);
}

TEST(ArticulatedChange, AMergedLinkTellsItsBody) {
  Child base = body("base", Joint::FLOATING), arm = body("arm", Joint::REVOLUTE),
        tool = body("tool", Joint::FIXED, 3.0), tip = body("tip", Joint::FIXED);
  tool.jointName = "toolMount";
  tip.jointName = "tipMount";
  tool.childrenFixed.push_back(tip);
  arm.childrenFixed.push_back(tool);
  base.childrenMovable.push_back(arm);
  const AS system(base, ".");
  for (const char* link : {"arm", "tool", "tip"}) EXPECT_EQ(system.getBodyIdxOfLink(link), 1u);
  EXPECT_EQ(system.getBodyIdxOfLink("base"), 0u);
  messages::expect("unknown body id", [&] { system.getBodyIdxOfLink("gripper"); });
}

}  // namespace
}  // namespace zelvik
