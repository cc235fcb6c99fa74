// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/contact/Contact.hpp>

namespace zelvik {

/// Whether a record is of two surfaces and has been solved: no end of a wire, and no contact with
/// an object that was removed since.
inline bool isSolvedPoint(const contact::Contact& c) {
  return c.contactProblem_ != nullptr && c.shapeIndex_ != kNone && c.pairObjectIndex_ != kNone;
}

}  // namespace zelvik
