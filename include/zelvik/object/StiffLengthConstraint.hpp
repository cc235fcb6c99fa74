// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/object/LengthConstraint.hpp>

namespace zelvik {

/// Wire that does not give: while active it enters the contact solver as one more problem, with its
/// direction as the normal.
class ZELVIK_API StiffLengthConstraint : public LengthConstraint {
 public:
  /// Parameters as those of `LengthConstraint`.
  StiffLengthConstraint(Object* body1, unsigned long localIdx1, Mat<3, 1> localPos1, Object* body2,
                        unsigned long localIdx2, Mat<3, 1> localPos2, double length);
};

}  // namespace zelvik
