// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <vector>
#include <zelvik/SparseJacobian.hpp>
#include <zelvik/math.hpp>
#include <zelvik/object/ArticulatedSystem/TreeDescription.hpp>

namespace zelvik {

/// What the solver reads of an articulated system, and the velocity that it changes: a view, good
/// until the system's next step, setter or contact.
struct RobotContacts {
  size_t count;                                  ///< contacts that have Jacobians and responses
  const std::vector<SparseJacobian>& jacobians;  ///< Jc, contact frame
  const std::vector<VecDyn>& responses;  ///< M^-1 Jc^T, three rows of `responseStride` values
  size_t responseStride;                 ///< of the rows of a response
  const TreeDescription& tree;           ///< of the system
  const MatDyn& massInverse;             ///< formed if a joint has a limit problem
  VecDyn& velocity;                      ///< during the solve
};

}  // namespace zelvik
