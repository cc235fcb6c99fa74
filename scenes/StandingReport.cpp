// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "StandingReport.hpp"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace zelvik::scenes {

StandingReport::StandingReport(StandingRobot& scene, long steps)
    : scene_(scene),
      steps_(steps),
      isTerminal_(isatty(STDOUT_FILENO) != 0),
      startHeight_(scene.baseHeight()) {}

void StandingReport::seeStep() {
  const long tail = std::max(steps_ / 10, 1l), progressLines = isTerminal_ ? 100 : 10;
  sweeps_ += scene_.world.getContactSolver().getLoopCounter();
  deepest_ = std::max(deepest_, scene_.deepestPenetration());
  if (seen_ >= steps_ - tail) meanForce_ += scene_.groundForce() / static_cast<double>(tail);
  if (seen_ % (steps_ / progressLines + 1) == 0 || seen_ + 1 == steps_) printProgress();
  if (++seen_ < steps_) return;
  const auto end = std::chrono::steady_clock::now();
  wallSeconds_ = std::chrono::duration<double>(end - begin_).count();
  if (isTerminal_) std::printf("\n");
}

void StandingReport::printProgress() const {
  std::printf("%s%6.2f s  base height %.4f m  tilt %.3f deg%s", isTerminal_ ? "\r" : "",
              scene_.world.getWorldTime(), scene_.baseHeight(), scene_.tilt() * 180.0 / M_PI,
              isTerminal_ ? "  " : "\n");
  std::fflush(stdout);
}

double StandingReport::residual() const {
  const auto& solver = scene_.world.getContactSolver();
  if (solver.getLoopCounter() == 0) return 0.0;
  return solver.getErrorHistory()[static_cast<size_t>(solver.getLoopCounter() - 1)];
}

void StandingReport::print() const {
  const double mass = scene_.totalMass(), weight = 9.81 * mass;
  const double steps = static_cast<double>(steps_);
  std::printf("robot                     %s, %zu velocities, %.2f kg\n",
              scene_.robot->getRobotName().c_str(), scene_.robot->getDOF(), mass);
  std::printf("base height               %.4f m\n", scene_.baseHeight());
  std::printf("base tilt                 %.4f deg\n", scene_.tilt() * 180.0 / M_PI);
  std::printf("ground contacts           %zu\n", scene_.groundContacts());
  std::printf("normal force              %.2f N, weight %.2f N, ratio %.4f\n", meanForce_, weight,
              meanForce_ / weight);
  std::printf("solver sweeps             %.1f per step on average\n", sweeps_ / steps);
  std::printf("solver residual           %.2e (sum of squares, last step)\n", residual());
  std::printf("largest penetration       %.2e m\n", deepest_);
  std::printf("steps per second          %.0f (%ld steps)\n", steps / wallSeconds_, steps_);
  std::puts(stands() ? "the robot stands" : "the robot fell");
}

bool StandingReport::stands() const {
  if (scene_.robot->getJointType(0) != Joint::FLOATING) return true;
  return scene_.baseHeight() > 0.8 * startHeight_ && scene_.tilt() < 0.3;
}

}  // namespace zelvik::scenes
