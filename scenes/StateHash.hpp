// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <vector>
#include <zelvik/World.hpp>

namespace zelvik::scenes {

/// All that a world carries from step to step, in object order: positions, orientations and
/// velocities of single bodies, generalised coordinates and velocities of articulated systems.
std::vector<double> stateOf(const World& world);

/// Hash (FNV-1a) of the bits of `stateOf` and of the impulses of the last step's contacts: equal
/// only if all of them are equal to the last bit, apart from coincidences of one in 2^64.
std::uint64_t stateHash(const World& world);

/// Whether every number of `stateOf` is finite.
bool isStateFinite(const World& world);

}  // namespace zelvik::scenes
