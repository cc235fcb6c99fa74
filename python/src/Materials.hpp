// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <memory>

#include "Handles.hpp"

namespace zelvik::python {

/// A material table: that of a world, or one of its own.
struct MaterialHandle : Owned {
  std::shared_ptr<WorldState> state;
  std::shared_ptr<MaterialManager> own;

  MaterialManager& get() const {
    if (own != nullptr) return *own;
    state->checkFree();
    return state->world->getMaterialManager();
  }
};

}  // namespace zelvik::python
