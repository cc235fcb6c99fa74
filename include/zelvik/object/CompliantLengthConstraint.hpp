// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/object/LengthConstraint.hpp>

namespace zelvik {

/// Spring between two bodies: it adds forces and takes no part in the contact solver.
class ZELVIK_API CompliantLengthConstraint : public LengthConstraint {
 public:
  /// @param stiffness (N/m)
  CompliantLengthConstraint(Object* body1, int localIdx1, Mat<3, 1> localPos1, Object* body2,
                            int localIdx2, Mat<3, 1> localPos2, double length, double stiffness);

  /// Hands the tension of the last `update` to those bodies that are `DYNAMIC`, if the wire is
  /// active. A stretched wire draws them together.
  void applyTension();

  /// See `LengthConstraint::visitState`: also the tension.
  void visitState(StateArchive& archive);

  double getStiffness() const { return stiffness_; }  ///< (N/m)
  /// (N/m) from the next step on. Fatal and not stored unless finite and at least 0:
  /// "CompliantLengthConstraint::setStiffness: the stiffness must be finite and at least 0, but is
  /// *stiffness*".
  void setStiffness(double stiffness);
  /// Force on body 1 (N, world axes) of the last `applyTension` that acted.
  const Mat<3, 1>& getTension1() const { return tension1_; }
  /// Force on body 2: the negative of the other.
  const Mat<3, 1>& getTension2() const { return tension2_; }

 private:
  double stiffness_;
  Mat<3, 1> tension1_{};
  Mat<3, 1> tension2_{};
};

}  // namespace zelvik
