// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include "StandingRobot.hpp"

// Lets the quadruped stand for a long time, as fast as it goes:
//
//     soak [--hours H]     (simulated, 24 by default; 24 rows are printed)
//
// The exit status tells whether memory stayed as it was after the first row, the base's quaternion
// kept its norm, the energy its bounds, and the robot its feet. It says nothing about motions other
// than standing.

namespace {

constexpr double kTimeStep = 0.0025;  ///< (s)
constexpr int kRows = 24;

/// Resident memory that is not a page of a file: the kernel reads those, and forgets them, as it
/// likes.
long residentBytes() {
  long size = 0, resident = 0, shared = 0;
  std::ifstream("/proc/self/statm") >> size >> resident >> shared;
  return (resident - shared) * sysconf(_SC_PAGESIZE);
}

struct Row {
  double normError = 0.0;               ///< largest | |q| - 1 | of the base's quaternion
  double least = 1e300, most = -1e300;  ///< energy (J)
};

double normError(const zelvik::ArticulatedSystem& robot) {
  zelvik::Mat<4, 1> q;
  robot.getBaseOrientation(q);
  return std::fabs(zelvik::norm(q) - 1.0);
}

Row stand(zelvik::scenes::StandingRobot& scene, long steps) {
  Row row;
  for (long i = 0; i < steps; ++i) {
    scene.world.integrate();
    if (i % 100 != 0) continue;
    const double energy = scene.robot->getEnergy(scene.world.getGravity());
    row.least = std::min(row.least, energy);
    row.most = std::max(row.most, energy);
    row.normError = std::max(row.normError, normError(*scene.robot));
  }
  return row;
}

double secondsSince(std::chrono::steady_clock::time_point begin) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

bool isGood(const Row& row, zelvik::scenes::StandingRobot& scene) {
  // Standing, the energy moves by what the soft motors give: some ten millijoules of 45 J.
  const double band = 0.01 * std::fabs(row.most);
  return row.normError < 1e-12 && row.most - row.least < band && scene.groundContacts() == 4;
}

}  // namespace

int main(int argc, char** argv) {
  double hours = 24.0;
  if (argc == 3 && std::strcmp(argv[1], "--hours") == 0) hours = std::atof(argv[2]);
  const long steps = std::lround(hours * 3600.0 / kTimeStep / kRows);
  if (steps < 1) {
    std::fprintf(stderr, "usage: %s [--hours H]\n", argv[0]);
    return 2;
  }
  zelvik::scenes::StandingRobot scene(ZELVIK_MODEL_DIR "/quadruped.urdf", kTimeStep);
  scene.world.setBroadPhase(zelvik::World::BroadPhase::SIMPLE);
  stand(scene, 4000);  // ten seconds to settle
  const auto begin = std::chrono::steady_clock::now();
  long firstResident = 0;
  size_t firstAllocated = 0;
  bool good = true;
  std::printf(
      "simulated h | wall s | resident KiB | allocated B | energy least J | most J | norm error\n");
  for (int i = 1; i <= kRows; ++i) {
    const Row row = stand(scene, steps);
    const long resident = residentBytes();
    const size_t allocated = mallinfo2().uordblks;
    if (i == 1) firstResident = resident;
    if (i == 1) firstAllocated = allocated;
    std::printf("%11.2f | %6.1f | %12ld | %11zu | %14.9f | %.9f | %.1e\n",
                scene.world.getWorldTime() / 3600.0, secondsSince(begin), resident / 1024,
                allocated, row.least, row.most, row.normError);
    std::fflush(stdout);
    good = good && isGood(row, scene) && resident == firstResident && allocated == firstAllocated;
  }
  std::printf("%s\n", good ? "nothing grew" : "FAILED");
  return good ? 0 : 1;
}
