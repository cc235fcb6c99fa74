// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "NeutralRobot.hpp"
#include "NeutralScene.hpp"

// The neutral description of scenes and robots, by its short names.
namespace zelvik::bench {

using scenes::FreeBody;
using scenes::ModelBody;
using scenes::ModelShape;
using scenes::NeutralScene;
using scenes::RobotSetup;
using scenes::ShapeKind;

}  // namespace zelvik::bench
