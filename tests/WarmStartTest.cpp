// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <zelvik/World.hpp>

// Solves that begin with the impulses of the step before.

namespace zelvik {
namespace {

/// A tower of boxes with few sweeps per step.
struct Tower {
  explicit Tower(bool warm) {
    world.addGround();
    for (int i = 0; i < 8; ++i) {
      boxes.push_back(world.addBox(0.2, 0.2, 0.2, 1.0));
      boxes.back()->setPosition(0.0, 0.0, 0.1 + 0.2 * i);
    }
    world.setTimeStep(0.005);
    world.setContactSolverParam(1.0, 1.0, 1.0, 20, 1e-12);
    world.setWarmStart(warm);
  }
  void run(int steps) {
    for (int i = 0; i < steps; ++i) world.integrate();
  }
  double sinking() const { return 1.5 - boxes.back()->getBodyPosition()[2]; }
  double forceOnGround() const {
    double sum = 0.0;
    Vec3 impulse;
    for (const contact::Contact& c : boxes.front()->getContacts())
      if (c.pairObjectIndex_ == 0) {
        c.getImpulse(impulse);
        sum += impulse[2] / world.getTimeStep();
      }
    return sum;
  }

  World world;
  std::vector<Box*> boxes;
};

TEST(WarmStart, CarriesATowerWithFewSweeps) {
  Tower cold(false), warm(true);
  cold.run(2000);
  warm.run(2000);
  EXPECT_GT(cold.sinking(), 0.5);  // fallen
  EXPECT_LT(warm.sinking(), 0.0005);
  const double weight = 8.0 * 9.81;
  EXPECT_NEAR(warm.forceOnGround(), weight, 2e-3 * weight);
  EXPECT_LT(norm(warm.boxes.back()->getLinearVelocity()), 1e-3);

  // Another time step: the impulses are scaled with it.
  warm.world.setTimeStep(0.0025);
  warm.run(1);
  EXPECT_NEAR(warm.forceOnGround(), weight, 1e-2 * weight);
  // A step of no length, and a first half that is repeated, lose nothing.
  warm.world.setTimeStep(0.0);
  warm.run(1);
  warm.world.setTimeStep(0.005);
  warm.world.integrate1();
  warm.run(2);
  EXPECT_NEAR(warm.forceOnGround(), weight, 1e-2 * weight);
  // Where the load changes at once, the impulses of before must not throw anything up.
  while (warm.boxes.size() > 1) {
    warm.world.removeObject(warm.boxes.back());
    warm.boxes.pop_back();
  }
  warm.run(2);
  EXPECT_LT(norm(warm.boxes.back()->getLinearVelocity()), 0.02);
  EXPECT_NEAR(warm.forceOnGround(), 9.81, 0.1);
}

/// What a contact tells of itself after a step.
struct KnownImpulse {
  std::set<size_t> objects;
  size_t problem;
  Vec3 position, impulse;  ///< on the object that was added first
  bool isTaken = false;
};

/// In the order of the problems.
std::vector<KnownImpulse> impulsesOf(World& world) {
  std::vector<KnownImpulse> all;
  for (const Object* object : world.getObjList())
    for (const contact::Contact& c : object->getContacts()) {
      if (c.pairBodyType_ == BodyType::DYNAMIC && !c.objectA_) continue;
      Vec3 impulse;
      c.getImpulse(impulse);
      const size_t self = object->getIndexInWorld();
      all.push_back({{self, c.pairObjectIndex_},
                     c.contactProblemIndex_,
                     c.position_,
                     self < c.pairObjectIndex_ ? impulse : -impulse});
    }
  std::sort(all.begin(), all.end(),
            [](const auto& a, const auto& b) { return a.problem < b.problem; });
  return all;
}

TEST(WarmStart, TakesTheNearestImpulseOfThePair) {
  // Dumb-bells, whose pairs of bodies meet in several pairs of shapes.
  World world;
  world.addGround();
  const Mat33 none = Mat33::identity();
  const Mat33 inertia{{0.01, 0, 0, 0, 0.02, 0, 0, 0, 0.02}};
  for (int i = 0; i < 12; ++i) {
    Compound* bell = world.addCompound({{BOX, {0.2, 0.2, 0.2}, "", none, {{-0.15, 0, 0}}},
                                        {BOX, {0.2, 0.2, 0.2}, "", none, {{0.15, 0, 0}}}},
                                       1.0, Vec3{}, inertia);
    bell->setOrientation(std::cos(0.7 * i), 0.0, 0.0, std::sin(0.7 * i));
    bell->setPosition(0.02 * (i % 3), 0.015 * (i % 2), 0.1 + 0.21 * i);
  }
  world.setTimeStep(0.005);
  world.setWarmStart(true);
  size_t compared = 0;
  for (int step = 0; step < 150; ++step) {
    world.setContactSolverParam(1.0, 1.0, 1.0, 20, 1e-12);
    world.integrate();
    std::vector<KnownImpulse> known = impulsesOf(world);
    // Sweeps without weight leave what was recalled, except at contacts that let go.
    world.setContactSolverParam(0.0, 1.0, 1.0, 1, 1e-12);
    world.integrate();
    for (const KnownImpulse& now : impulsesOf(world)) {
      KnownImpulse* nearest = nullptr;
      for (KnownImpulse& k : known)
        if (!k.isTaken && k.objects == now.objects &&
            (nearest == nullptr ||
             norm(k.position - now.position) < norm(nearest->position - now.position)))
          nearest = &k;
      if (nearest != nullptr) nearest->isTaken = true;
      if (norm(now.impulse) == 0.0) continue;
      ASSERT_NE(nearest, nullptr) << step;
      EXPECT_LT(norm(now.impulse - nearest->impulse), 1e-12) << step;
      ++compared;
    }
  }
  EXPECT_GT(compared, 1000u);
}

TEST(WarmStart, KnowsContactsAgainAfterARemoval) {
  // The last object takes the place of the one that leaves, and must not take its impulses.
  for (int removed = 0; removed < 3; ++removed) {
    World world;
    world.setTimeStep(0.005);
    world.setWarmStart(true);
    world.addGround();
    std::vector<Sphere*> balls;
    for (int i = 0; i < 3; ++i) {
      balls.push_back(world.addSphere(0.1, std::pow(100.0, i)));
      balls.back()->setPosition(i, 0.0, 0.0999);
    }
    for (int step = 0; step < 20; ++step) world.integrate();
    world.removeObject(balls[static_cast<size_t>(removed)]);
    world.setContactSolverParam(0.0, 1.0, 1.0, 1, 1e-12);  // impulses stay as they are recalled
    world.integrate();
    for (int i = 0; i < 3; ++i) {
      if (i == removed) continue;
      const Sphere& ball = *balls[static_cast<size_t>(i)];
      ASSERT_EQ(ball.getContacts().size(), 1u);
      Vec3 impulse;
      ball.getContacts()[0].getImpulse(impulse);
      EXPECT_NEAR(impulse[2] / (std::pow(100.0, i) * 9.81 * 0.005), 1.0, 0.01) << removed << i;
    }
  }
}

TEST(WarmStart, AWirePushesTheSameWayWhicheverSideItStandsOn) {
  // The sign of the stretch decides which end is the A side.
  World world;
  world.setTimeStep(0.001);
  world.setWarmStart(true);
  Sphere *hook = world.addSphere(0.1, 1.0), *weight = world.addSphere(0.1, 1.0);
  hook->setBodyType(BodyType::STATIC);
  world.addStiffWire(hook, 0, {}, weight, 0, {}, 1.0)->setStretchType(2);
  Vec3 impulse;
  for (const double length : {1.0001, 0.9999}) {
    weight->setPosition(0.0, 0.0, -length);
    world.integrate();
    weight->getContacts().at(0).getImpulse(impulse);
    EXPECT_GT(impulse[2], 0.009) << length;
    world.setContactSolverParam(0.0, 1.0, 1.0, 1, 0.0);  // the next one stays as it is recalled
  }
}

}  // namespace
}  // namespace zelvik
