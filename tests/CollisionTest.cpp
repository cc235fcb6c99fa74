// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <random>
#include <set>
#include <zelvik/World.hpp>
#include <zelvik/object/GeomRecord.hpp>

#include "Messages.hpp"
#include "StateHash.hpp"

// Which pairs of shapes collide, in which order, and what a world remembers of it.

namespace zelvik {
namespace {

using Phase = World::BroadPhase;
const std::string kModels = ZELVIK_MODEL_DIR;

std::string sphereLink(const std::string& name, double x, double radius) {
  return "<link name='" + name +
         "'><inertial><mass value='1'/><inertia ixx='0.01' ixy='0' ixz='0' " +
         "iyy='0.01' iyz='0' izz='0.01'/></inertial><collision><origin xyz='" + std::to_string(x) +
         " 0 0'/><geometry><sphere radius='" + std::to_string(radius) +
         "'/></geometry></collision></link>";
}

std::string joint(const std::string& type, const std::string& parent, const std::string& child) {
  return "<joint name='" + parent + "_" + child + "' type='" + type + "'><parent link='" + parent +
         "'/><child link='" + child + "'/><axis xyz='0 1 0'/><limit lower='-9' upper='9' " +
         "effort='0' velocity='0'/></joint>";
}

/// A trunk with two legs side by side, `gap` between the spheres at their ends (m), and a foot that
/// is fixed to the left one and overlaps it.
std::string twoLegs(double gap) {
  return "<robot name='walker'>" + sphereLink("trunk", 0.0, 0.05) +
         sphereLink("left", 1.0 - 0.5 * gap, 0.1) + sphereLink("right", 1.2 + 0.5 * gap, 0.1) +
         sphereLink("foot", 0.95 - 0.5 * gap, 0.1) + joint("revolute", "trunk", "left") +
         joint("revolute", "trunk", "right") + joint("fixed", "left", "foot") + "</robot>";
}

ArticulatedSystem* addWalker(World& world, double gap, bool ignore = false) {
  ArticulatedSystemOption option;
  option.ignoreInitialOverlaps = ignore;
  return world.addArticulatedSystem(twoLegs(gap), "/tmp", {}, 1, ~0ul, option);
}

TEST(Collision, ShapesOfOneBodyPassEachOther) {
  World world;
  ArticulatedSystem* robot = addWalker(world, 0.5);
  ASSERT_EQ(robot->getCollisionBodies().size(), 4u);
  ASSERT_EQ(robot->getBodyCount(), 3u);
  world.integrate1();
  EXPECT_TRUE(robot->getContacts().empty());
}

TEST(Collision, PairsThatOverlapInTheZeroPoseAreToldOfOnceOrIgnored) {
  const auto firstStep = [](World& world) { return messages::of([&] { world.integrate(); }); };
  World world;
  ArticulatedSystem* robot = addWalker(world, -0.02);
  Eigen::VectorXd apart = Eigen::VectorXd::Zero(9);
  apart[3] = apart[7] = 1.0;  // the pose of the first step does not matter
  robot->setGeneralizedCoordinate(apart);
  const std::string text = firstStep(world);
  EXPECT_NE(text.find("shapes of the robot 'walker' overlap"), std::string::npos) << text;
  EXPECT_NE(text.find("'left/0' and 'right/0' by 20 mm"), std::string::npos) << text;
  for (const char* way : {"ignoreInitialOverlaps", "ignoreCollisionBetween", "mask"})
    EXPECT_NE(text.find(way), std::string::npos) << way;
  EXPECT_EQ(firstStep(world), "");

  // Each of the ways out.
  World ignoring, between, masked, touching;
  ArticulatedSystem* ignored = addWalker(ignoring, -0.02, true);
  ArticulatedSystem* chosen = addWalker(between, -0.02);
  chosen->ignoreCollisionBetween(chosen->getBodyIdx("left"), chosen->getBodyIdx("right"));
  masked.addArticulatedSystem(twoLegs(-0.02), "/tmp", {}, 1, ~1ul);
  ArticulatedSystem* close = addWalker(touching, -0.0005, true);
  for (World* other : {&ignoring, &between, &masked, &touching}) EXPECT_EQ(firstStep(*other), "");
  EXPECT_TRUE(ignored->getContacts().empty());
  EXPECT_EQ(close->getContacts().size(), 2u);  // 0.5 mm is no overlap, but a contact
  // What is not in the zero pose is not ignored: the trunk against a leg that folds is, the foot
  // against the other leg is.
  const auto& shapes = ignored->getCollisionBodies();
  size_t pairs = 0;
  for (const CollisionDefinition& shape : shapes)
    pairs += geomRecord(shape.colObj).ignoredGeoms.size();
  EXPECT_EQ(pairs, 2 * (1 + 3 + 1u));  // one body, children with the trunk, left with right
}

TEST(Collision, AContactTellsItsShapes) {
  World world;
  world.addGround();
  ArticulatedSystem* robot = addWalker(world, 0.5);
  robot->setBasePos(Vec3{{0, 0, 0.095}});
  Compound::CompoundObjectChild part{SPHERE, {0.1}, "", Mat33::identity(), {{-0.3, 0.0, 0.0}}};
  Compound::CompoundObjectChild other = part;
  other.position = {{0.3, 0.0, 0.0}};
  Compound* low = world.addCompound({part, other}, 1.0, {}, Mat33::identity());
  Compound* high = world.addCompound({other, part}, 1.0, {}, Mat33::identity());
  low->setPosition(5.0, 0.0, 0.5);
  high->setPosition(5.6, 0.0, 0.695);
  world.integrate1();
  std::multiset<std::string> touching;
  for (const contact::Contact& c : robot->getContacts()) {
    ASSERT_LT(c.shapeIndex_, robot->getCollisionBodies().size());
    EXPECT_EQ(robot->getCollisionBodies()[c.shapeIndex_].localIdx, c.localBodyIndex_);
    EXPECT_EQ(c.pairShapeIndex_, 0u);
    touching.insert(robot->getCollisionBodies()[c.shapeIndex_].colName);
  }
  EXPECT_EQ(touching, (std::multiset<std::string>{"foot/0", "left/0", "right/0"}));
  ASSERT_EQ(low->getContacts().size(), 1u);
  EXPECT_EQ(low->getContacts()[0].shapeIndex_, 1u);
  EXPECT_EQ(low->getContacts()[0].pairShapeIndex_, 1u);
  EXPECT_EQ(high->getContacts()[0].shapeIndex_, 1u);
}

// The second half may run again on the same lists.
TEST(Collision, ASelfCollisionIsMergedOnce) {
  World world;
  ArticulatedSystem* robot = nullptr;
  messages::of([&] {
    robot = addWalker(world, -0.02);
    world.integrate1();
    world.integrate2();
  });
  ASSERT_EQ(robot->getContacts().size(), 2u);
  MatDyn once, twice;
  robot->getContactResponse(0, once);
  world.integrate2();
  robot->getContactResponse(0, twice);
  EXPECT_EQ((once.e() - twice.e()).norm(), 0.0);
  EXPECT_GT(once.e().norm(), 10.0);
}

/// Pairs of objects that touch by a look at each pair of geoms, for bodies of one shape.
std::set<std::pair<size_t, size_t>> touchingByForce(const World& world) {
  std::set<std::pair<size_t, size_t>> pairs;
  const std::vector<Object*>& objects = world.getObjList();
  for (size_t i = 0; i < objects.size(); ++i)
    for (size_t j = i + 1; j < objects.size(); ++j) {
      const dGeomID a = static_cast<SingleBodyObject*>(objects[i])->getGeom(0);
      const dGeomID b = static_cast<SingleBodyObject*>(objects[j])->getGeom(0);
      const bool meet = (dGeomGetCategoryBits(a) & dGeomGetCollideBits(b)) != 0 ||
                        (dGeomGetCategoryBits(b) & dGeomGetCollideBits(a)) != 0;
      const bool moves = objects[i]->getBodyType() == BodyType::DYNAMIC ||
                         objects[j]->getBodyType() == BodyType::DYNAMIC;
      dContactGeom point;
      if (meet && moves && dCollide(a, b, 1, &point, sizeof point) > 0) pairs.insert({i, j});
    }
  return pairs;
}

std::set<std::pair<size_t, size_t>> touching(const World& world) {
  std::set<std::pair<size_t, size_t>> pairs;
  for (const Object* object : world.getObjList())
    for (const contact::Contact& c : object->getContacts())
      pairs.insert(std::minmax(object->getIndexInWorld(), c.pairObjectIndex_));
  return pairs;
}

/// A world to which bodies come and from which they go, so that the default broad phase changes its
/// way. Returns the hashes of all steps.
std::vector<std::uint64_t> comeAndGo(Phase phase, size_t& contacts) {
  World world;
  world.setBroadPhase(phase);
  world.addGround();
  std::mt19937 random(3);
  const auto place = [&](double width) { return width * (random() / 4294967296.0 - 0.5); };
  std::vector<std::uint64_t> hashes;
  for (int step = 0; step < 160; ++step) {
    for (int i = 0; i < 2; ++i) {
      const size_t kind = random() % 8;
      SingleBodyObject* body = nullptr;
      if (kind < 4)
        body = world.addSphere(kind == 0 ? 0.0 : 0.1 + 0.1 * kind, 1.0);
      else
        body = world.addBox(0.3, 0.3 + 0.1 * kind, 0.2, 1.0);
      body->setPosition(place(3.0), place(3.0), 0.6 + place(1.0));
      if (kind == 4) body->setBodyType(BodyType::STATIC);
      if (kind == 5) body->setBodyType(BodyType::KINEMATIC);
      if (random() % 4 == 0) body->setCollisionMask(2);
    }
    const bool less = (step / 40) % 2 == 1;
    for (int i = 0; i < (less ? 4 : 0) && world.getObjList().size() > 8; ++i)
      world.removeObject(world.getObjList()[1 + random() % (world.getObjList().size() - 1)]);
    world.integrate1();
    const auto found = touching(world);
    std::set<std::pair<size_t, size_t>> expected;
    for (const auto& pair : touchingByForce(world)) {
      const auto isPoint = [&](size_t i) {
        const auto* sphere = dynamic_cast<const Sphere*>(world.getObjList()[i]);
        return sphere != nullptr && sphere->getRadius() == 0.0;
      };
      if (!isPoint(pair.first) && !isPoint(pair.second)) expected.insert(pair);
    }
    EXPECT_EQ(found, expected) << step;
    contacts += found.size();
    world.integrate2();
    hashes.push_back(scenes::stateHash(world));
  }
  return hashes;
}

TEST(BroadPhase, AllButTheHashSpaceFindWhatALookAtEachPairFinds) {
  EXPECT_EQ(World().getBroadPhase(), Phase::AUTO);
  for (const Phase phase : {Phase::AUTO, Phase::SIMPLE, Phase::SWEEP_AND_PRUNE, Phase::QUADTREE}) {
    SCOPED_TRACE(static_cast<int>(phase));
    size_t contacts = 0;
    const auto hashes = comeAndGo(phase, contacts);
    EXPECT_GT(contacts, 2000u);
    if (phase == Phase::AUTO) {
      EXPECT_EQ(comeAndGo(phase, contacts), hashes);
    }
  }
}

/// Robots with motors, bodies, a terrain, static bodies, a wire: what an episode is made of.
class Episodes {
 public:
  Episodes(Phase phase, bool warmStart, int extraBodies = 0) {
    world_.setBroadPhase(phase);
    world_.setWarmStart(warmStart);
    world_.setTimeStep(0.002);
    addStatic(0.0, 0.0);
    world_.addGround();
    for (int i = 0; i < 2; ++i) {
      ArticulatedSystem* robot = world_.addArticulatedSystem(kModels + "/quadruped.urdf");
      robot->setControlMode(ArticulatedSystem::PD_PLUS_FEED_FORWARD);
      VecDyn gain(robot->getDOF());
      for (size_t k = 0; k < gain.n; ++k) gain[k] = k < 6 ? 0.0 : 60.0;
      robot->setPGain(gain);
      robots_.push_back(robot);
    }
    addStatic(1.0, 0.3);
    for (int i = 0; i < 6 + extraBodies; ++i)
      bodies_.push_back(i % 2 == 0 ? static_cast<SingleBodyObject*>(world_.addSphere(0.1, 1.0))
                                   : world_.addBox(0.2, 0.2, 0.2, 1.0));
    addStatic(1.1, 0.3);
    world_.addStiffWire(bodies_[0], 0, {}, bodies_[1], 0, {}, 0.3);
  }

  /// All states by setters, statics included, in whatever order.
  void reset(bool backwards) {
    for (size_t n = 0; n < bodies_.size(); ++n) {
      const size_t i = backwards ? bodies_.size() - 1 - n : n;
      bodies_[i]->setPosition(0.9 + 0.05 * (i % 6), 0.25 + 0.01 * i, 0.3 + 0.21 * i);
      bodies_[i]->setOrientation(1.0, 0.0, 0.0, 0.0);
      bodies_[i]->setVelocity(0.1 * (i % 3), 0.0, 0.0, 0.0, 0.2, 0.0);
    }
    for (size_t i = 0; i < statics_.size(); ++i) statics_[i]->setPosition(home_[i]);
    for (size_t i = 0; i < robots_.size(); ++i) {
      Eigen::VectorXd q(19);
      q << 0.3 * i, 0.4 * i, 0.45, 1, 0, 0, 0, 0, 0.6, -1.2, 0, 0.6, -1.2, 0, 0.6, -1.2, 0, 0.6,
          -1.2;
      robots_[i]->setGeneralizedCoordinate(q);
      robots_[i]->setGeneralizedVelocity(Eigen::VectorXd::Zero(18).eval());
      robots_[i]->setPTarget(q);
    }
  }

  /// @param disturb called before each step
  std::vector<std::uint64_t> run(int steps, const std::function<void(int)>& disturb = {}) {
    std::vector<std::uint64_t> hashes;
    for (int step = 0; step < steps; ++step) {
      if (step == steps / 2)  // a door
        for (size_t k = 0; k < statics_.size(); k += 2)
          statics_[k]->setPosition(home_[k] + Vec3{{0.02, 0.01, 0.0}});
      if (disturb) disturb(step);
      world_.integrate();
      hashes.push_back(scenes::stateHash(world_));
    }
    return hashes;
  }

  /// Moves bodies and robots to where they are, in an order of its own.
  void touch(int step) {
    const size_t n = bodies_.size();
    for (size_t k = 0; k < 3; ++k) {
      SingleBodyObject* body = bodies_[(7 * step + 3 * k) % n];
      body->setPosition(body->getBodyPosition());
    }
    if (step % 3 == 0) world_.rayTest(Vec3{{1.0, 0.3, 5.0}}, Vec3{{0, 0, -1}}, 10.0);
    ArticulatedSystem* robot = robots_[static_cast<size_t>(step) % 2];
    const VecDyn q = robot->getGeneralizedCoordinate();
    robot->setBasePos(Vec3{{q[0], q[1], q[2]}});
    robot->updateCollision();
  }

  World& world() { return world_; }

 private:
  void addStatic(double x, double y) {
    Box* box = world_.addBox(0.4, 0.4, 0.2, 1.0);
    box->setBodyType(BodyType::STATIC);
    home_.push_back({{x, y, 0.1}});
    box->setPosition(home_.back());
    statics_.push_back(box);
  }

  World world_;
  std::vector<ArticulatedSystem*> robots_;
  std::vector<SingleBodyObject*> bodies_, statics_;
  std::vector<Vec3> home_;
};

constexpr Phase kAllPhases[] = {Phase::AUTO, Phase::HASH, Phase::SIMPLE, Phase::SWEEP_AND_PRUNE,
                                Phase::QUADTREE};

TEST(BroadPhase, SettersOfMovingBodiesLeaveNoTrace) {
  for (const Phase phase : kAllPhases)
    for (const int extra : {0, 40}) {
      Episodes plain(phase, false, extra), touched(phase, false, extra);
      plain.reset(false);
      touched.reset(true);
      EXPECT_EQ(plain.run(60), touched.run(60, [&](int step) { touched.touch(step); }))
          << static_cast<int>(phase) << " " << extra;
    }
}

TEST(BroadPhase, EpisodesRepeatAfterAResetOfTheHistory) {
  for (const Phase phase : kAllPhases)
    for (const bool warmStart : {false, true})
      for (const int extra : {0, 40}) {
        SCOPED_TRACE(testing::Message()
                     << static_cast<int>(phase) << " " << warmStart << " " << extra);
        Episodes episodes(phase, warmStart, extra);
        episodes.reset(false);
        const auto first = episodes.run(71);  // an odd number: the next sweep goes backwards
        episodes.reset(true);
        episodes.world().resetHistory();
        EXPECT_EQ(episodes.world().getWorldTime(), 0.0);
        EXPECT_EQ(episodes.world().getStepCount(), 0u);
        EXPECT_TRUE(episodes.world().getContactProblems().empty());
        EXPECT_EQ(episodes.run(71), first);
        episodes.world().resetHistory();
        episodes.reset(false);
        EXPECT_EQ(episodes.run(71), first);
        episodes.reset(false);  // the world has a memory
        EXPECT_NE(episodes.run(71), first);
      }
}

}  // namespace
}  // namespace zelvik
