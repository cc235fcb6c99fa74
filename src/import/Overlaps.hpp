// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <vector>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>

namespace zelvik::model {

/// Pairs of shapes of bodies that are no neighbours and still pass through each other, since they
/// overlap in the zero pose: "'a/0' and 'b/1'".
std::vector<std::string> ignoredOverlaps(const ArticulatedSystem& system);

}  // namespace zelvik::model
