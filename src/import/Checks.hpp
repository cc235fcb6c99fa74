// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "Findings.hpp"
#include "RobotRecord.hpp"
#include "Structure.hpp"

namespace zelvik::model {

/// Masses and inertias that no body has.
void checkLinks(RobotRecord& robot, Findings& findings);
/// Limits, efforts, what is not used yet. Mends what can only be meant in one way: reversed limits
/// are turned, zero limits and those of continuous joints are dropped.
void checkJoints(RobotRecord& robot, Findings& findings);
/// Motions without mass or inertia, with which nothing can be computed: the link that moves gets a
/// little of it.
void mendMassless(RobotRecord& robot, const Structure& structure, Findings& findings);

}  // namespace zelvik::model
