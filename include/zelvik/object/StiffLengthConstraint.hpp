// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/object/LengthConstraint.hpp>

namespace zelvik {

/// Wire that does not give: while active it enters the contact solver as one more problem, with its
/// direction as the normal.
///
/// The error of its length goes at `World::getERP` of itself per second, and only while the ends do
/// not already move so as to lessen it. Bodies that swing about each other at the relative speed v
/// (m/s) stretch the wire by v^2 dt^2 / 2l in a step, since they move along the tangent; the
/// stretch settles at v^2 dt / (2 erp l), with erp 0.3 /s by default. A wire of 1 m with v^2 = 1
/// m^2/s^2 is 1.7 mm too long at a time step of 1 ms. Take smaller steps or raise erp where that
/// matters.
class ZELVIK_API StiffLengthConstraint : public LengthConstraint {
 public:
  StiffLengthConstraint(Object* body1, unsigned long localIdx1, Mat<3, 1> localPos1, Object* body2,
                        unsigned long localIdx2, Mat<3, 1> localPos2, double length);
};

}  // namespace zelvik
