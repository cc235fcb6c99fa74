// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <zelvik/World.hpp>

#include "Continuation.hpp"
#include "Messages.hpp"
#include "StandingRobot.hpp"
#include "StateHash.hpp"

// A saved state is all that a world needs to continue to the last bit.

namespace zelvik {
namespace {

using scenes::Continuation;
using Phase = World::BroadPhase;

constexpr size_t kSteps = 300;

/// Ways of going back for one kind of world; also that saving changes nothing.
void checkContinuation(const Continuation& kind) {
  const size_t moment = 101 + static_cast<size_t>(kind.event);  // odd and even
  const std::vector<std::uint64_t> expected = Continuation::run(*kind.buildUntil(moment), kSteps);
  for (int way = 0; way < Continuation::kWays; ++way) {
    std::unique_ptr<World> world = kind.buildUntil(moment);
    const State state = world->saveState();
    EXPECT_TRUE(Continuation::run(*world, kSteps) == expected) << kind.name() << ": saving acts";
    world = kind.goBack(static_cast<Continuation::Way>(way), std::move(world), state);
    ASSERT_NE(world, nullptr);
    EXPECT_TRUE(world->saveState() == state) << kind.name();
    const std::vector<std::uint64_t> found = Continuation::run(*world, kSteps);
    size_t equal = 0;
    while (equal < kSteps && found[equal] == expected[equal]) ++equal;
    EXPECT_EQ(equal, kSteps) << kind.name() << ", "
                             << Continuation::nameOf(static_cast<Continuation::Way>(way));
  }
}

// Of the product of scenes, broad phases, warm start and events a part in which each value meets
// the others; the program `continuation` runs all of it over 10 000 steps.
TEST(State, ContinuesToTheLastBit) {
  const Phase phases[] = {Phase::AUTO, Phase::HASH, Phase::SIMPLE, Phase::SWEEP_AND_PRUNE};
  for (size_t scene = 0; scene < Continuation::kScenes; ++scene)
    for (size_t i = 0; i < 4; ++i) {
      Continuation kind;
      kind.scene = static_cast<Continuation::Scene>(scene);
      kind.broadPhase = phases[i];
      kind.event = static_cast<Continuation::Event>((scene + i) % Continuation::kEvents);
      kind.warmStart = (scene + i / 2) % 2 == 0;
      checkContinuation(kind);
    }
}

/// A robot, a ball, a wire of each kind.
std::unique_ptr<World> smallWorld() {
  auto world = std::make_unique<World>();
  world->addGround();
  Sphere* ball = world->addSphere(0.1, 1.0);
  ball->setPosition(0.0, 0.0, 0.1);
  ArticulatedSystem* robot = world->addArticulatedSystem(ZELVIK_MODEL_DIR "/arm.urdf");
  world->addStiffWire(robot, 1, {}, ball, 0, {}, 0.5);
  for (int i = 0; i < 3; ++i) world->integrate();
  return world;
}

TEST(State, OtherWorldsRefuseItAndStayAsTheyAre) {
  const std::unique_ptr<World> source = smallWorld();
  const State state = source->saveState();
  const auto expectRefusal = [&](World& world, const State& given, const std::string& text) {
    const std::uint64_t before = scenes::stateHash(world);
    messages::expect(
        "World::restoreState: " + text, [&] { EXPECT_FALSE(world.restoreState(given)); },
        messages::OnFatal::GO_ON);
    EXPECT_EQ(scenes::stateHash(world), before);
  };
  World empty;
  expectRefusal(empty, state, "the state has 3 objects, this world has 0");
  expectRefusal(empty, State(), "the state is empty");
  std::unique_ptr<World> other = smallWorld();
  other->addCompliantWire(other->getObjList()[1], 0, {}, other->getObjList()[2], 0, {}, 1.0, 1.0);
  expectRefusal(*other, state, "the state has 0 compliant wires, this world has 1");
  other = smallWorld();
  static_cast<Sphere*>(other->getObjList()[1])->setBodyType(BodyType::KINEMATIC);
  expectRefusal(*other, state,
                "object 1 of the state is a dynamic sphere, of this world is a kinematic sphere");
  other = smallWorld();
  other->removeObject(other->getStiffWires()[0].get());
  other->addStiffWire(other->getObjList()[2], 2, {}, other->getObjList()[1], 0, {}, 0.5);
  expectRefusal(*other, state,
                "stiff wire 0 of the state joins body 1 of object 2 to body 0 of object 1, of this "
                "world joins body 2 of object 2");
  other = smallWorld();
  other->setBroadPhase(Phase::QUADTREE);
  expectRefusal(*other, state, "the broad phase is QUADTREE");
  other->setBroadPhase(Phase::HASH);
  other->integrate1();
  expectRefusal(*other, state, "the world is between integrate1 and integrate2");
  messages::expect(
      "World::saveState: the world is between",
      [&] {
        State none = state;
        EXPECT_FALSE(other->saveState(none));
        EXPECT_TRUE(none.isEmpty());
      },
      messages::OnFatal::GO_ON);
  other->integrate2();
  EXPECT_TRUE(other->restoreState(state));
  EXPECT_EQ(other->getStateHash(), state.getHash());
}

// The bytes come back as they are; each one that is changed, and each length but the whole, is
// refused.
TEST(State, DamagedBytesAreRefused) {
  const State state = smallWorld()->saveState();
  std::vector<std::uint8_t> bytes = state.getBytes();
  EXPECT_TRUE(State::fromBytes(bytes) == state);
  const auto expectRefusal = [](const std::vector<std::uint8_t>& given, size_t count) {
    State read;
    const std::string message = messages::of([&] { read = State::fromBytes(given.data(), count); },
                                             messages::OnFatal::GO_ON);
    EXPECT_NE(message.find("State::fromBytes: "), std::string::npos) << count;
    EXPECT_TRUE(read.isEmpty()) << count;
  };
  for (size_t i = 0; i < bytes.size(); i += 5) {
    bytes[i] ^= 128;
    expectRefusal(bytes, bytes.size());
    bytes[i] ^= 128;
    expectRefusal(bytes, i);
  }
  bytes[4] = 2;
  messages::expect("the bytes are of version 2, this library reads version 1",
                   [&] { State::fromBytes(bytes); });
}

}  // namespace
}  // namespace zelvik
