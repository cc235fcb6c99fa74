// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <zelvik/zlv_message_logger.hpp>

#include "RandomWorld.hpp"
#include "StateHash.hpp"

// Steps random worlds, best under sanitizers:
//
//     stepper [--worlds N] [--steps N] [--seed S]
//
// World number i has the seed S + i. A failure is a crash, a report of a sanitizer, an exception, a
// world that takes more than a minute, and another result when a world is run a second time, which
// every tenth world is, or when it is saved, made to stray and restored at random steps, which is
// done with every third. The seeds of failures are printed; `--worlds 1 --seed S` runs one again.
// The exit status tells whether there were any.
//
// Calm worlds whose state stops being finite are counted, but are no failures: bodies are put into
// each other at random, and impulses on a robot with dozens of deep contacts may grow without
// bound.

namespace {

using zelvik::fuzz::RandomWorld;

constexpr std::uint32_t kWorldsPerProcess = 50;
constexpr std::uint32_t kWorldsPerRepetition = 10;
constexpr std::uint32_t kWorldsPerStray = 3;
constexpr unsigned int kLongestWorld = 60;  ///< (s)

struct Options {
  std::uint32_t worlds = 100, steps = 200, seed = 1;
};

/// What the parent reads after a child has died.
struct Progress {
  std::uint32_t seed;      ///< world in work
  std::uint64_t contacts;  ///< of all worlds
  std::uint64_t calm;      ///< number of calm worlds
  std::uint64_t diverged;  ///< of them those whose state stopped being finite
};

bool readOption(int argc, char** argv, const char* name, std::uint32_t& value) {
  for (int i = 1; i + 1 < argc; i += 2)
    if (std::strcmp(argv[i], name) == 0) {
      char* end = nullptr;
      value = static_cast<std::uint32_t>(std::strtoul(argv[i + 1], &end, 10));
      return *end == '\0' && end != argv[i + 1];
    }
  return true;
}

bool readOptions(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; i += 2) {
    const std::string name = argv[i];
    if (name != "--worlds" && name != "--steps" && name != "--seed") return false;
  }
  return argc % 2 == 1 && readOption(argc, argv, "--worlds", options.worlds) &&
         readOption(argc, argv, "--steps", options.steps) &&
         readOption(argc, argv, "--seed", options.seed);
}

/// Hash of the end state.
std::uint64_t runWorld(std::uint32_t seed, std::uint32_t steps, Progress& progress,
                       bool strays = false) {
  progress.seed = seed;
  alarm(kLongestWorld);
  RandomWorld world(seed, strays);
  for (std::uint32_t i = 0; i < steps; ++i) world.step();
  alarm(0);
  if (world.isCalm() && !zelvik::scenes::isStateFinite(world.world())) ++progress.diverged;
  progress.contacts += world.contactCount();
  progress.calm += world.isCalm() ? 1 : 0;
  return zelvik::scenes::stateHash(world.world());
}

void runWorlds(std::uint32_t first, std::uint32_t end, std::uint32_t steps, Progress& progress) {
  std::cout.setstate(std::ios::badbit);  // messages of refusals
  zelvik::ZelvikMsg::fatalCallback_ = [] {};
  for (std::uint32_t seed = first; seed < end; ++seed) {
    const std::uint64_t hash = runWorld(seed, steps, progress);
    Progress ignored = progress;
    if (seed % kWorldsPerRepetition == 0 && runWorld(seed, steps, ignored) != hash) {
      std::fprintf(stderr, "the second run has another result\n");
      std::abort();
    }
    if (seed % kWorldsPerStray == 0 && runWorld(seed, steps, ignored, true) != hash) {
      std::fprintf(stderr, "a run that is saved and restored has another result\n");
      std::abort();
    }
  }
}

/// Runs worlds in a process of their own; after a failure, the rest of them in another one.
/// @return number of failures
std::uint32_t runProcess(std::uint32_t first, std::uint32_t end, std::uint32_t steps,
                         Progress& progress) {
  std::uint32_t failures = 0;
  while (first < end) {
    progress.seed = first;
    const pid_t child = fork();
    if (child == 0) {
      runWorlds(first, end, steps, progress);
      std::exit(0);  // not _exit: leaks are looked for at the exit
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (status == 0) break;
    std::printf("FAILED: --worlds 1 --steps %u --seed %u\n", steps, progress.seed);
    std::fflush(stdout);
    ++failures;
    first = progress.seed + 1;
  }
  return failures;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!readOptions(argc, argv, options)) {
    std::fprintf(stderr, "usage: %s [--worlds N] [--steps N] [--seed S]\n", argv[0]);
    return 2;
  }
  void* shared =
      mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (shared == MAP_FAILED) return 2;
  Progress& progress = *new (shared) Progress{};
  std::uint32_t failures = 0;
  const std::uint32_t end = options.seed + options.worlds;
  for (std::uint32_t first = options.seed; first < end; first += kWorldsPerProcess)
    failures +=
        runProcess(first, std::min(first + kWorldsPerProcess, end), options.steps, progress);
  std::printf(
      "%u worlds of %u steps, %llu contacts, %u failures; %llu of %llu calm worlds diverged\n",
      options.worlds, options.steps, static_cast<unsigned long long>(progress.contacts), failures,
      static_cast<unsigned long long>(progress.diverged),
      static_cast<unsigned long long>(progress.calm));
  return failures == 0 ? 0 : 1;
}
