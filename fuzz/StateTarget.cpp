// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "Harness.hpp"
#include "world/StateHeader.hpp"

// Damaged states. The first byte of an input says what is done with the others:
//   0  they are handed to `State::fromBytes` as they are;
//   1  each three of them are a place (two bytes) and a value that is written there into a good
//      state, whose checksum is then made right;
//   2  the first two are the length to which a good state is cut, checksum and size made right, the
//      others come behind it.
// Whatever is refused must leave the world as it is.

namespace {

using namespace zelvik;

std::unique_ptr<World> makeWorld() {
  auto world = std::make_unique<World>();
  world->setWarmStart(true);
  world->addGround();
  Sphere* ball = world->addSphere(0.1, 1.0);
  ball->setPosition(0.0, 0.0, 0.1);
  ArticulatedSystem* robot = world->addArticulatedSystem(ZELVIK_MODEL_DIR "/arm.urdf");
  world->addStiffWire(robot, 1, {}, ball, 0, {}, 0.5);
  world->addCompliantWire(robot, 2, {}, ball, 0, {}, 0.5, 3.0);
  for (int i = 0; i < 3; ++i) world->integrate();
  robot->setExternalForce(2, Vec3{{1.0, 0.0, 0.0}});
  robot->setExternalTorque(1, Vec3{{1.0, 0.0, 0.0}});
  ball->setExternalForce(0, Vec3{{0.0, 0.0, 1.0}});
  return world;
}

size_t placeOf(const std::uint8_t* data) {
  return static_cast<size_t>(data[0]) | static_cast<size_t>(data[1]) << 8;
}

/// Size and checksum of what stands there now.
void seal(std::vector<std::uint8_t>& bytes) {
  StateHeader header{};
  if (bytes.size() < sizeof header) return;
  std::memcpy(&header, bytes.data(), sizeof header);
  header.size = bytes.size();
  header.hash = hashWords(bytes.data() + sizeof header, bytes.size() - sizeof header);
  std::memcpy(bytes.data(), &header, sizeof header);
}

std::vector<std::uint8_t> damaged(std::vector<std::uint8_t> good, const std::uint8_t* data,
                                  size_t size) {
  if (size == 0 || data[0] % 3 == 0) return {data, data + size};
  if (data[0] % 3 == 1) {
    for (size_t i = 1; i + 3 <= size; i += 3) good[placeOf(data + i) % good.size()] = data[i + 2];
  } else if (size >= 3) {
    good.resize(std::min(good.size(), placeOf(data + 1)));
    good.insert(good.end(), data + 3, data + size);
    good.resize((good.size() + 7) / 8 * 8);
  }
  seal(good);
  return good;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  fuzz::runBothWays([&] {
    const std::unique_ptr<World> world = makeWorld();
    const State before = world->saveState();
    const std::vector<std::uint8_t> bytes = damaged(before.getBytes(), data, size);
    bool refused = true;
    try {
      const State state = State::fromBytes(bytes);
      refused = state.isEmpty() || !world->restoreState(state);
    } catch (...) {
      if (world->saveState() != before) fuzz::fail("a refused state has changed the world");
      throw;
    }
    if (!refused) return fuzz::step(*world);
    if (world->saveState() != before) fuzz::fail("a refused state has changed the world");
  });
  return 0;
}
