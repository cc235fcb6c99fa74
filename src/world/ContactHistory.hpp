// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <vector>
#include <zelvik/ContactReport.hpp>

namespace zelvik {

/// Follows the contacts of all bodies through the steps of a world. No state: no step reads it.
class ContactHistory {
 public:
  /// Takes in the contacts of a step that was made. @param changes see
  /// `World::getObjectChangeCount`: with another number all begins anew
  void append(const std::vector<Object*>& objects, size_t changes, double dt);
  /// Impulses and largest forces begin anew; times go on.
  void startInterval();
  /// Null if there is none.
  const BodyContactHistory* find(size_t objectIndex, size_t body) const;

 private:
  void beginAnew(const std::vector<Object*>& objects);

  std::vector<BodyContactHistory> bodies_;  ///< of all objects
  std::vector<size_t> begins_;              ///< per object, and the end
  std::vector<Vec3> sums_;                  ///< impulses of the step, by body
  size_t changes_ = kNone;
};

}  // namespace zelvik
