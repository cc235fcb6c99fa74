// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/object/StiffLengthConstraint.hpp>

namespace zelvik {

StiffLengthConstraint::StiffLengthConstraint(Object* body1, unsigned long localIdx1,
                                             Mat<3, 1> localPos1, Object* body2,
                                             unsigned long localIdx2, Mat<3, 1> localPos2,
                                             double length)
    : LengthConstraint(body1, localIdx1, localPos1, body2, localIdx2, localPos2, length) {}

}  // namespace zelvik
