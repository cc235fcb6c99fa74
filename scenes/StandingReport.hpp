// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <chrono>

#include "StandingRobot.hpp"

namespace zelvik::scenes {

/// Watches a standing robot over a run of known length and prints how it stood.
class StandingReport {
 public:
  /// The time of the run counts from here.
  /// @param scene is only read; has to outlive the report
  /// @param steps of the whole run, 1 or more
  StandingReport(StandingRobot& scene, long steps);

  /// To be called after each step. Prints a line now and then: one that overwrites itself on a
  /// terminal, some ten lines elsewhere.
  void seeStep();
  /// Prints the table of what was seen, and whether the robot stands.
  void print() const;
  /// Whether the base is still at 0.8 of its height at the start and tilted by less than 0.3 rad. A
  /// robot on a fixed base always stands.
  bool stands() const;

 private:
  void printProgress() const;
  double residual() const;

  StandingRobot& scene_;
  long steps_;
  long seen_ = 0;
  bool isTerminal_;
  double startHeight_;      // (m)
  double meanForce_ = 0.0;  // vertical, over the last tenth of the run (N)
  double deepest_ = 0.0;    // penetration over the whole run (m)
  double sweeps_ = 0.0;     // of all steps
  std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
  double wallSeconds_ = 0.0;
};

}  // namespace zelvik::scenes
