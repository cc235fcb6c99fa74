// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <vector>
#include <zelvik/object/ArticulatedSystem/JointAndBodies.hpp>

namespace zelvik {

/// Joints between the root of a model and its deepest body, and bodies of a model; what is larger
/// is refused. Those on fixed joints count. Readers may recurse this deep.
constexpr size_t kMaxTreeDepth = 2000;
constexpr size_t kMaxTreeBodies = 100000;

/// Calls `visit` for a node and all that hang on it by joints that move, depth first, a node before
/// those below it. Its list of movable children may change while it is visited.
template <typename Node, typename Visit>
void forEachMovable(Node& root, Visit&& visit) {
  std::vector<Node*> open = {&root};
  while (!open.empty()) {
    Node& node = *open.back();
    open.pop_back();
    visit(node);
    for (size_t i = node.childrenMovable.size(); i-- > 0;) open.push_back(&node.childrenMovable[i]);
  }
}

}  // namespace zelvik
