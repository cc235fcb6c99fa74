// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

#include "Continuation.hpp"

// Saves worlds, restores them, and compares each step with the one that was never left:
//
//     continuation [--steps N] [--scene robots|terrain|pile|everything]
//
// for all scenes or one, the broad phases, warm start off and on, what happens beside, and the ways
// of going back, another process among them. Prints a line per kind of world; the exit status tells
// whether all were equal to the last bit.

namespace {

using zelvik::State;
using zelvik::World;
using zelvik::scenes::Continuation;

constexpr size_t kMoment = 101;  ///< steps before the first state

std::uint64_t joined(const std::vector<std::uint64_t>& hashes) {
  std::uint64_t hash = 0;
  for (const std::uint64_t h : hashes) hash = 31 * hash + h;
  return hash;
}

/// In the child: continues from the state of a file; prints the hash of all steps.
int resume(const Continuation& kind, const std::string& file, size_t steps) {
  std::ifstream in(file, std::ios::binary);
  const std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(in)), {});
  const std::unique_ptr<World> world = kind.build();
  if (!world->restoreState(State::fromBytes(bytes))) return 1;
  std::printf("hash %llx\n",
              static_cast<unsigned long long>(joined(Continuation::run(*world, steps))));
  return 0;
}

/// The hash that another process finds.
std::string hashOfProcess(const Continuation& kind, const State& state, size_t steps) {
  const std::filesystem::path file =
      std::filesystem::temp_directory_path() / ("zelvik-state-" + std::to_string(getpid()));
  std::ofstream(file, std::ios::binary)
      .write(reinterpret_cast<const char*>(state.getBytes().data()),
             static_cast<std::streamsize>(state.getBytes().size()));
  const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
  const std::string command =
      "'" + self + "' --resume '" + file.string() + "' " + std::to_string(kind.scene) + " " +
      std::to_string(static_cast<int>(kind.broadPhase)) + " " + std::to_string(kind.warmStart) +
      " " + std::to_string(kind.event) + " " + std::to_string(steps);
  std::FILE* pipe = popen(command.c_str(), "r");
  std::string hash;
  for (char line[256]; pipe != nullptr && std::fgets(line, sizeof line, pipe) != nullptr;)
    if (std::strncmp(line, "hash ", 5) == 0)
      hash = std::string(line + 5, std::strcspn(line + 5, "\n"));
  if (pipe != nullptr) pclose(pipe);
  std::filesystem::remove(file);
  return hash;
}

/// @return number of ways that differ
int compare(const Continuation& kind, size_t steps) {
  std::unique_ptr<World> world = kind.buildUntil(kMoment);
  const State state = world->saveState();
  const std::vector<std::uint64_t> expected = Continuation::run(*world, steps);
  std::printf("%-40s", kind.name().c_str());
  int failures = 0;
  for (int i = 0; i < Continuation::kWays; ++i) {
    const auto way = static_cast<Continuation::Way>(i);
    world = kind.goBack(way, std::move(world), state);
    const std::vector<std::uint64_t> found =
        world == nullptr ? std::vector<std::uint64_t>() : Continuation::run(*world, steps);
    const size_t equal = static_cast<size_t>(
        std::mismatch(found.begin(), found.end(), expected.begin()).first - found.begin());
    std::printf("  %s %zu", Continuation::nameOf(way), equal);
    failures += equal < steps ? 1 : 0;
    if (world == nullptr) return failures;
  }
  char hash[32];
  std::snprintf(hash, sizeof hash, "%llx", static_cast<unsigned long long>(joined(expected)));
  const bool agrees = hashOfProcess(kind, state, steps) == hash;
  std::printf("  process %s\n", agrees ? "equal" : "DIFFERS");
  std::fflush(stdout);
  return failures + (agrees ? 0 : 1);
}

}  // namespace

int main(int argc, char** argv) {
  std::cout.setstate(std::ios::badbit);  // messages
  Continuation kind;
  if (argc == 8 && std::strcmp(argv[1], "--resume") == 0) {
    kind.scene = static_cast<Continuation::Scene>(std::atoi(argv[3]));
    kind.broadPhase = static_cast<World::BroadPhase>(std::atoi(argv[4]));
    kind.warmStart = std::atoi(argv[5]) != 0;
    kind.event = static_cast<Continuation::Event>(std::atoi(argv[6]));
    return resume(kind, argv[2], static_cast<size_t>(std::atol(argv[7])));
  }
  size_t steps = 10000;
  std::string only;
  for (int i = 1; i + 1 < argc; i += 2) {
    if (std::strcmp(argv[i], "--steps") == 0) steps = static_cast<size_t>(std::atol(argv[i + 1]));
    if (std::strcmp(argv[i], "--scene") == 0) only = argv[i + 1];
  }
  int kinds = 0, failures = 0;
  for (int scene = 0; scene < Continuation::kScenes; ++scene)
    for (const auto phase : {World::BroadPhase::AUTO, World::BroadPhase::HASH,
                             World::BroadPhase::SIMPLE, World::BroadPhase::SWEEP_AND_PRUNE})
      for (const bool warm : {false, true})
        for (int event = 0; event < Continuation::kEvents; ++event) {
          kind.scene = static_cast<Continuation::Scene>(scene);
          if (!only.empty() && only != Continuation::nameOf(kind.scene)) continue;
          kind.broadPhase = phase;
          kind.warmStart = warm;
          kind.event = static_cast<Continuation::Event>(event);
          failures += compare(kind, steps);
          ++kinds;
        }
  std::printf("%d kinds of worlds, %zu steps, %d ways of going back each: %d differ\n", kinds,
              steps, Continuation::kWays + 1, failures);
  return kinds > 0 && failures == 0 ? 0 : 1;
}
