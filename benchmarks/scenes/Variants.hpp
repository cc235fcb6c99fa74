// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <functional>
#include <memory>

#include "engines/Ruler.hpp"

namespace zelvik::bench {

/// Figures of accuracy over variants of a scene, each figure by itself.
struct FigureSpread {
  Figures median, low, high;
};

/// The scene with every free body beginning up to 0.1 mm aside in x and y and every joint of a
/// robot up to 1e-4 rad: another place for every `index` and the same on every machine; index 0 is
/// the scene as it is. Where bodies fall, roll or rock, such a shift gives another end, so that one
/// run says little about an engine.
scenes::NeutralScene variantOf(const scenes::NeutralScene& scene, int index);

/// Accuracy over the variants 0 to `count` - 1, each in a fresh engine.
/// \param count  1 or more
FigureSpread accuracyOfVariants(
    const scenes::NeutralScene& scene, int count,
    const std::function<std::unique_ptr<Engine>(const scenes::NeutralScene&)>& make);

}  // namespace zelvik::bench
