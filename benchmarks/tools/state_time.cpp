// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>

#include "StandingRobot.hpp"

// What saving, restoring and cloning the standing quadruped costs (least of 20 rounds, us):
//
//     state_time [save|restore|hash|clone|step N]
//
// With an operation it does only that, N times, for a count of instructions.

namespace {

using zelvik::State;
using zelvik::World;

double leastMicroseconds(int count, const std::function<void()>& action) {
  double least = 1e9;
  for (int round = 0; round < 20; ++round) {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < count; ++i) action();
    const std::chrono::duration<double, std::micro> time = std::chrono::steady_clock::now() - start;
    least = std::min(least, time.count() / count);
  }
  return least;
}

}  // namespace

int main(int argc, char** argv) {
  zelvik::scenes::StandingRobot scene(ZELVIK_MODEL_DIR "/quadruped.urdf");
  World& world = scene.world;
  for (int i = 0; i < 200; ++i) world.integrate();
  State state = world.saveState();
  const struct {
    const char* name;
    std::function<void()> action;
  } operations[] = {{"save", [&] { world.saveState(state); }},
                    {"restore", [&] { world.restoreState(state); }},
                    {"hash", [&] { world.getStateHash(); }},
                    {"clone", [&] { world.clone(); }},
                    {"step", [&] { world.integrate(); }}};
  std::printf("state of %zu bytes\n", state.getBytes().size());
  for (const auto& operation : operations) {
    if (argc == 3) {
      if (std::strcmp(argv[1], operation.name) != 0) continue;
      for (int i = std::atoi(argv[2]); i > 0; --i) operation.action();
    } else {
      std::printf("%-8s %7.2f us\n", operation.name, leastMicroseconds(200, operation.action));
    }
  }
}
