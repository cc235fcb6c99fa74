// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <utility>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/urdf.hpp>

namespace zelvik {
namespace urdf {

// NOLINTNEXTLINE(performance-unnecessary-value-param): by value in the interface
LoadFromURDF2::LoadFromURDF2(ArticulatedSystem& system, std::string pathOrText,
                             std::vector<std::string> jointOrder, bool /*fromFile*/) {
  UrdfTree tree = read(pathOrText, std::move(jointOrder));
  if (!tree.ok) return;
  system.rootChild_.push_back(std::move(tree.root));
  system.fixedBasePosition_ = tree.fixedBasePosition;
}

}  // namespace urdf
}  // namespace zelvik
