// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <optional>
#include <vector>
#include <zelvik/Watch.hpp>
#include <zelvik/World.hpp>

namespace zelvik {

/// Looks at a world after each step until it has found something. No state: no step reads it.
class StepWatch {
 public:
  explicit StepWatch(const WatchLimits& limits) : limits_(limits) {}

  /// Notes the values before a step.
  void open(const std::vector<Object*>& objects);
  /// Looks at what a step has made of them. The first finding is told as a warning.
  /// @param hasContacts whether anything was solved
  void close(World& world, bool hasContacts);
  const WatchReport* report() const { return report_.has_value() ? &*report_ : nullptr; }
  const WatchLimits& limits() const { return limits_; }

 private:
  bool look(const World& world, size_t index);
  bool lookAtRobot(const ArticulatedSystem& robot, size_t index);
  bool lookAtBody(const SingleBodyObject& body, size_t index);
  bool lookAtEnergy(const World& world, size_t index);
  bool lookAtWhole(const World& world);
  bool lookAtDepth(const World& world, size_t index);
  bool lookAtSolver(World& world, bool hasContacts);
  void find(WatchReport::Finding finding, size_t index, size_t body, const char* quantity,
            double value, double limit);
  void complete(World& world);

  WatchLimits limits_;
  std::optional<WatchReport> report_;
  std::vector<double> values_;  ///< of all objects: coordinates, then velocities of each
  std::vector<size_t> begins_;  ///< per object, and the end
  size_t unsolvedSteps_ = 0;    ///< in a row
};

/// What may be behind a finding, the likeliest first.
std::vector<std::string> likelyCauses(World& world, const WatchReport& report);

}  // namespace zelvik
