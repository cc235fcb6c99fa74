// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <vector>
#include <zelvik/World.hpp>

#include "NeutralScene.hpp"

namespace zelvik::bench {

/// The objects that a neutral scene became.
struct BuiltWorld {
  std::vector<SingleBodyObject*> bodies;
  ArticulatedSystem* robot = nullptr;
  Object* ground = nullptr;  ///< plane or terrain, or null
};

/// Fills an empty world with a scene.
BuiltWorld buildWorld(World& world, const scenes::NeutralScene& scene);

}  // namespace zelvik::bench
