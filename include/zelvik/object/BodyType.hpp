// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

namespace zelvik {

/// How a body takes part in a step. The value 0 is not used.
enum BodyType {
  STATIC = 1,     ///< never moves; skipped by updates and integration
  KINEMATIC = 2,  ///< moves with the velocity that the caller sets, whatever pushes it
  DYNAMIC = 3     ///< moves by forces and contacts
};

}  // namespace zelvik
