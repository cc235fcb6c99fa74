// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <vector>
#include <zelvik/model/Options.hpp>

#include "Findings.hpp"
#include "RobotRecord.hpp"

namespace zelvik::model {

/// How links hang together. Indices are those of `RobotRecord::links` and `joints`.
struct Structure {
  std::size_t root = kNone;                           ///< link; `kNone` after an error
  std::vector<std::size_t> parentJoint;               ///< of each link; `kNone` for roots
  std::vector<std::size_t> parentLink, childLink;     ///< of each joint
  std::vector<std::vector<std::size_t>> childJoints;  ///< of each link, in the order wanted
  std::vector<std::size_t> order;                     ///< links below the root, parents first
};

/// Finds the root and the order of the joints. Adds links that only joints name to the record.
Structure findStructure(RobotRecord& robot, const Options& options, Findings& findings);

}  // namespace zelvik::model
