// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>

#include "engines/Engine.hpp"

namespace zelvik::bench {

/// A neutral scene as MJCF text. Joints come in the order of the coordinates; the first geom is the
/// ground. PD gains become joint damping and one position actuator per axis; a ball joint gets a
/// spring to its zero position instead. The heights of a terrain are left to the caller.
std::string mjcfText(const scenes::NeutralScene& scene, const Setting& setting);

}  // namespace zelvik::bench
