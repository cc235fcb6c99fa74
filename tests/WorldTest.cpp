// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <zelvik/World.hpp>

// Bodies at rest, and the conduct of the world itself.

namespace zelvik {
namespace {

Vec3 positionOf(const Object* object) {
  Vec3 p;
  object->getPosition(0, p);
  return p;
}

double speedOf(const SingleBodyObject* body) {
  return norm(body->getLinearVelocity());
}

void run(World& world, double seconds) {
  const long steps = std::lround(seconds / world.getTimeStep());
  for (long i = 0; i < steps; ++i) world.integrate();
}

TEST(World, BoxRestsWithoutDrift) {
  World world;
  world.addGround();
  Box* box = world.addBox(0.4, 0.5, 0.6, 5.0);
  // Dropped from 1 cm it sinks in by 2 mm, and rises out of that for the time of the test.
  box->setPosition(0.3, -0.2, 0.31);
  run(world, 1.0);
  const Vec3 start = positionOf(box);
  for (int i = 0; i < 1800; ++i) {
    world.integrate();
    ASSERT_LT(speedOf(box), 1e-3);
  }
  const Vec3 drift = positionOf(box) - start;
  EXPECT_LT(std::hypot(drift[0], drift[1]), 1e-4);
  EXPECT_NEAR(positionOf(box)[2], 0.3, 2e-4);
}

TEST(World, CylinderLandsUprightFromAnyTilt) {
  for (double tilt : {1e-3, 0.02, 0.2}) {
    World world;
    world.addGround();
    Cylinder* cylinder = world.addCylinder(0.13, 0.1, 1.0);
    cylinder->setOrientation(std::cos(0.5 * tilt), std::sin(0.5 * tilt), 0, 0);
    cylinder->setPosition(0, 0, 0.051 + 0.13 * std::sin(tilt));
    for (int i = 0; i < 1000; ++i) {
      world.integrate();
      ASSERT_GT(positionOf(cylinder)[2], 0.04) << tilt;
    }
    EXPECT_NEAR(positionOf(cylinder)[2], 0.05, 1e-3) << tilt;
    EXPECT_LT(norm(cylinder->getAngularVelocity()), 1e-2) << tilt;
  }
}

// 150 sweeps do not carry the load through ten interfaces to the last digit: the stack sags by 2 cm
// and creeps, but stands. With 1000 sweeps it sags by a tenth of that.
TEST(World, StackOfTenBoxesStands) {
  World world;
  world.addGround();
  std::vector<Box*> boxes;
  for (int i = 0; i < 10; ++i) {
    boxes.push_back(world.addBox(0.4, 0.4, 0.2, 1.0));
    boxes.back()->setPosition(0, 0, 0.1 + 0.2 * i);
  }
  run(world, 10.0);
  for (int i = 0; i < 10; ++i) {
    EXPECT_LT(norm(positionOf(boxes[i]) - Vec3{{0, 0, 0.1 + 0.2 * i}}), 0.08) << i;
    EXPECT_NEAR(positionOf(boxes[i])[2], 0.1 + 0.2 * i, 0.03) << i;
    EXPECT_LT(speedOf(boxes[i]), 2e-2) << i;
  }
}

/// Bodies that fly into each other in empty space.
void fillWithDebris(World& world, std::vector<SingleBodyObject*>& bodies) {
  for (int i = 0; i < 8; ++i) {
    SingleBodyObject* body = i % 2 == 0
                                 ? static_cast<SingleBodyObject*>(world.addSphere(0.2, 1.0 + i))
                                 : world.addBox(0.3, 0.4, 0.5, 2.0 + i);
    const double angle = 0.8 * i;
    body->setPosition(0.7 * std::cos(angle), 0.7 * std::sin(angle), 0.1 * i);
    body->setVelocity(-2.0 * std::cos(angle), -2.0 * std::sin(angle), 0.1, 0.3 * i, -0.2, 0.5);
    bodies.push_back(body);
  }
}

TEST(World, ClosedSystemKeepsItsLinearMomentum) {
  World world;
  world.setGravity(Vec3{});
  std::vector<SingleBodyObject*> bodies;
  fillWithDebris(world, bodies);
  Vec3 start{};
  for (SingleBodyObject* body : bodies) start += body->getLinearMomentum();
  size_t contacts = 0;
  for (int i = 0; i < 400; ++i) {
    world.integrate();
    contacts += world.getContactProblems().size();
  }
  Vec3 end{};
  for (SingleBodyObject* body : bodies) end += body->getLinearMomentum();
  EXPECT_GT(contacts, 50u);
  EXPECT_LT(norm(end - start), 1e-12);
}

TEST(World, KinematicBodyCarriesAndPushes) {
  World world;
  Box* belt = world.addBox(4.0, 1.0, 0.2, 1.0);
  belt->setBodyType(KINEMATIC);
  belt->setCollisionGroup(1);
  belt->setVelocity(0.5, 0, 0, 0, 0, 0);
  Box* box = world.addBox(0.2, 0.2, 0.2, 1.0);
  box->setPosition(0, 0, 0.2);
  run(world, 1.0);
  EXPECT_NEAR(box->getLinearVelocity()[0], 0.5, 1e-3);
  EXPECT_NEAR(positionOf(belt)[0], 0.5, 1e-12);
  EXPECT_NEAR(positionOf(box)[2], 0.2, 2e-3);
  // The belt's view of the contacts, too, holds the reaction: it carries the box.
  Vec3 load{};
  for (const contact::Contact& c : belt->getContacts()) {
    Vec3 impulse;
    c.getImpulse(impulse);
    load += impulse;
  }
  EXPECT_NEAR(load[2], -0.005 * 9.81 * box->getMass(0), 1e-3);
}

TEST(World, HalvesLeaveTheWorldAsPromised) {
  World world;
  world.addGround();
  Sphere* sphere = world.addSphere(0.5, 2.0);
  sphere->setPosition(0, 0, 0.499);
  world.integrate1();
  EXPECT_EQ(world.getStepCount(), 0u);
  ASSERT_EQ(sphere->getContacts().size(), 1u);
  EXPECT_NEAR(sphere->getContacts()[0].depth_, -0.001, 1e-12);
  EXPECT_TRUE(sphere->getContacts()[0].objectA_ || sphere->getContacts()[0].normal_[2] < 0.0);
  // A force set between the halves acts in this step, and the contact stays readable behind it.
  sphere->setExternalForce(0, Vec3{{0, 0, -100.0}});
  world.integrate2();
  Vec3 impulse;
  sphere->getContacts()[0].getImpulse(impulse);
  const double target = 0.3 * 0.001;  // m/s out of the penetration
  EXPECT_NEAR(impulse[2], 0.005 * (2.0 * 9.81 + 100.0) + 2.0 * target, 1e-9);
}

TEST(World, AStateSetBetweenTheHalvesFreesTheContactsOfBothSides) {
  for (const bool ballFirst : {false, true}) {
    World world;
    Child link;
    link.bodyName = "link";
    link.jointType = Joint::FLOATING;
    link.mass = 1.0;
    link.inertia = Mat33::identity();
    CollisionBody shape;
    shape.shape = Shape::SPHERE;
    shape.size = {0.5};
    link.collisionBodies.push_back(shape);
    Sphere* ball = ballFirst ? world.addSphere(0.5, 1.0) : nullptr;
    ArticulatedSystem* system = world.addArticulatedSystem(link, ".");
    if (!ballFirst) ball = world.addSphere(0.5, 1.0);
    ball->setPosition(0.9, 0, 0);
    world.integrate1();
    ASSERT_EQ(ball->getContacts().size(), 1u);
    system->setGeneralizedCoordinate(system->getGeneralizedCoordinate());
    world.integrate2();
    const VecDyn& u = system->getGeneralizedVelocity();
    for (const Vec3& v : {ball->getLinearVelocity(), Vec3{{u[0], u[1], u[2]}}})
      EXPECT_LT(norm(v - Vec3{{0, 0, -9.81 * world.getTimeStep()}}), 1e-12) << ballFirst;
  }
}

TEST(World, RemovalReleasesTheContactsOfTheStep) {
  // The belt lies on the box, the ball beside them on the ground; the box dies between the halves.
  World world;
  Ground* ground = world.addGround();
  Box* box = world.addBox(1.0, 1.0, 0.2, 1.0);
  box->setPosition(0, 0, 0.099);
  Box* belt = world.addBox(0.5, 0.5, 0.2, 1.0);
  belt->setPosition(0, 0, 0.298);
  Sphere* ball = world.addSphere(0.1, 1.0);
  ball->setPosition(3, 0, 0.099);
  world.integrate1();
  ASSERT_FALSE(belt->getContacts().empty());
  world.removeObject(box);
  world.integrate2();
  for (const contact::Contact& c : belt->getContacts()) EXPECT_EQ(c.pairObjectIndex_, kNone);
  EXPECT_NEAR(belt->getLinearVelocity()[2], -0.005 * 9.81, 1e-12);
  EXPECT_NEAR(ball->getLinearVelocity()[2], 0.3 * 0.001, 1e-9);
  // The last object takes the place of the ground, whose contacts act no more in a second half.
  world.removeObject(ground);
  world.integrate2();
  EXPECT_NEAR(ball->getLinearVelocity()[2], 0.3 * 0.001 - 0.005 * 9.81, 1e-9);
}

TEST(World, NotANumberPassesInSilence) {
  World world;
  world.addGround();
  Box* lost = world.addBox(0.2, 0.2, 0.2, 1.0);
  lost->setPosition(0, 0, 0.1);
  Box* other = world.addBox(0.2, 0.2, 0.2, 1.0);
  other->setPosition(1, 0, 0.1);
  lost->setExternalForce(0, Vec3{{NAN, 0, 0}});
  Sphere* far = world.addSphere(0.1, 1.0);
  far->setPosition(1e12, 0, 0);
  run(world, 0.5);
  EXPECT_TRUE(std::isnan(positionOf(lost)[0]));
  EXPECT_NEAR(positionOf(other)[2], 0.1, 1e-3);
  lost->setOrientation(1.0, 0.0, 0.0, 0.0);
  lost->setVelocity(0, 0, 0, 0, 0, 0);
  lost->setPosition(0, 0, 0.1);
  run(world, 0.1);
  EXPECT_NEAR(positionOf(lost)[2], 0.1, 1e-3);  // it is back, and collides again
}

// In a simple space with many geoms the library looks for pairs itself, in the order of ODE, on
// which the order of contacts depends and the last bits with it. Bodies that meet nothing decide
// who looks.
TEST(World, OwnSearchOfPairsKeepsTheOrder) {
  World few, many;
  std::vector<SingleBodyObject*> a, b;
  for (auto [world, bodies] : {std::pair{&few, &a}, std::pair{&many, &b}}) {
    world->setBroadPhase(World::BroadPhase::SIMPLE);
    world->addGround(0.0);
    fillWithDebris(*world, *bodies);
    bodies->front()->setCollisionMask(0);
    bodies->front()->setCollisionGroup(0);
  }
  for (int i = 0; i < 100; ++i) many.addSphere(0.1, 1.0)->setPosition(i, 0.0, 1000.0);
  size_t contacts = 0;
  for (int step = 0; step < 100; ++step) {
    few.integrate();
    many.integrate();
    const contact::ContactProblemList &p = few.getContactProblems(), &q = many.getContactProblems();
    ASSERT_EQ(p.size(), q.size()) << step;
    for (size_t i = 0; i < p.size(); ++i)
      for (size_t k = 0; k < 3; ++k) {
        EXPECT_EQ(p[i].position_[k], q[i].position_[k]);
        EXPECT_EQ(p[i].imp_[k], q[i].imp_[k]);
      }
    contacts += p.size();
  }
  EXPECT_GT(contacts, 100u);
  for (size_t i = 0; i < a.size(); ++i)
    EXPECT_EQ(a[i]->getContacts().size(), b[i]->getContacts().size());
}

TEST(World, BroadPhasesChangeWhileAWorldRunsOnTurnedTerrain) {
  using Kind = World::BroadPhase;
  World world;
  HeightMap* map = world.addHeightMap(5, 5, 4.0, 4.0, 0.0, 0.0, std::vector<double>(25, 0.0));
  map->setOrientation(std::cos(M_PI / 8), 0, 0, std::sin(M_PI / 8));
  world.addArticulatedSystem(ZELVIK_MODEL_DIR "/quadruped.urdf")->setBasePos(Vec3{{1, 0, 0.6}});
  Sphere* corner = world.addSphere(0.1, 1.0);  // outside of the map before it was turned
  corner->setPosition(2.5, 0, 0.099);
  Sphere* above = world.addSphere(0.1, 1.0);
  above->setPosition(0, 0, 9);
  above->setBodyType(BodyType::STATIC);
  for (Kind kind : {Kind::QUADTREE, Kind::SIMPLE, Kind::QUADTREE, Kind::SWEEP_AND_PRUNE,
                    Kind::QUADTREE, Kind::HASH}) {
    corner->setPosition(2.5, 0, 0.099);  // the space hears of it in the next step only
    world.setBroadPhase(kind);
    world.integrate();
    EXPECT_EQ(corner->getContacts().size(), 1u) << static_cast<int>(kind);
    world.removeObject(world.addBox(0.1, 0.1, 0.1, 1.0));
  }
  // One side that wants to meet the other is enough, as elsewhere.
  for (const auto& [mask, contacts] : {std::pair{World::kGroundGroup, 1u}, std::pair{1ul, 0u}}) {
    corner->setCollisionMask(mask);
    map->setCollisionMask(0);
    world.integrate();
    EXPECT_EQ(corner->getContacts().size(), contacts);
    map->setCollisionMask(1);
    corner->setCollisionMask(0);
    world.integrate();
    EXPECT_EQ(corner->getContacts().size(), 1u);
  }
}

}  // namespace
}  // namespace zelvik
