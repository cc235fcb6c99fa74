// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <vector>
#include <zelvik/Materials.hpp>
#include <zelvik/export.hpp>
#include <zelvik/math.hpp>

namespace zelvik {
class Object;
}

namespace zelvik::contact {

/// out = in^-1 by the adjugate; a zero determinant is not tested and gives infinities.
ZELVIK_API void matrixInversion22(const Mat<2, 2>& in, Mat<2, 2>& out);

/// The solver's view of one contact, wire or joint limit. All vectors and blocks are in the contact
/// frame (tangent, tangent, normal). D is `delassus_`.
struct ZELVIK_API Single3DContactProblem {
  /// Friction below which only the normal is solved.
  static constexpr double kFrictionless = 0.0001;
  /// D(2,2) below which nothing moves at a contact (1/kg).
  static constexpr double kLeastMobility = 1e-6;
  /// Normal mobility of two bodies of one system, times its mass, below which they count as joined.
  static constexpr double kLeastSystemMobility = 0.1;

  /// Meaning of `rank_`.
  enum Rank : unsigned int {
    NOTHING_MOVES = 0,  ///< the solver skips it
    LINE = 1,           ///< D acts along one direction, its third column
    PLANE = 2,          ///< D acts in the plane of `planeBasis_`
    FULL = 3,           ///< the initial value
    NORMAL_ONLY = 4,    ///< a wire; set by the world
    JOINT_LIMIT = 5     ///< solved by the object itself; set by `appendJointLimits`
  };

  // The order is that of use, so that a visit reads the record from its front in few cache lines,
  // and what batches load and store four values at a time lies together. Name the fields: the
  // record is no aggregate, and their order may change.
  Mat<3, 1> imp_{};              ///< the unknown: impulse on the A side (N s)
  Mat<3, 1> tauStar_{};          ///< velocity without impulses from objects with blocks (m/s)
  double targetVelZ_ = 0.0;      ///< normal velocity aimed for, by the solver (m/s)
  double mu_ = 0.0;              ///< friction coefficient; direction of a joint limit
  Mat<3, 3> delassus_{};         ///< own block: velocity change per unit impulse (1/kg)
  double muInvDzz_ = 0.0;        ///< D(2,2) / mu, by the solver
  double muInv_ = 0.0;           ///< 1 / mu; infinite for mu = 0
  double negMuSquared_ = 0.0;    ///< -mu^2
  double dzzInv_ = 0.0;          ///< 1 / D(2,2), by the solver
  Mat<3, 2> tangentMap_{};       ///< velocity per unit tangential impulse at zero normal residual
  Mat<3, 3> delassusInv_{};      ///< D^-1 for rank 3, by the solver; (0,0) of a joint limit
  Mat<3, 3> appliedDelassus_{};  ///< what queried objects already hold of `imp_` (1/kg)
  double restitution_ = 0.0;     ///< 0 to 1
  double restitutionThreshold_ = 0.0;  ///< (m/s)
  double impactVel_ = 0.0;  ///< normal velocity before the solve, A minus B, negative on approach
  double depth_ = 0.0;      ///< negative while penetrating (m)
  /// Normal velocity above which the contact opens, by the solver (m/s): 0, or the target where a
  /// surface layer makes that negative.
  double openingVelZ_ = 0.0;
  /// Of the articulated system two of whose bodies touch, or that touches something else from a
  /// fixed base (kg); 0 for contacts of other kinds.
  double systemMass_ = 0.0;
  Object* objA_ = nullptr;  ///< object whose velocity is queried and updated on the A side, or null
  Object* objB_ = nullptr;  ///< the same on the B side
  unsigned int rank_ = FULL;            ///< see `Rank`
  bool hasAppliedDelassus_ = false;     ///< whether `appliedDelassus_` is to be taken out
  size_t contactIdxA_ = 0;              ///< contact index in `objA_`; body index of a joint limit
  size_t contactIdxB_ = 0;              ///< contact index in `objB_`
  std::vector<Mat<3, 3>> otherBlocks_;  ///< coupling blocks, parallel to `otherProblems_`
  std::vector<Single3DContactProblem*> otherProblems_;  ///< coupled through stored blocks
  Mat<3, 1> position_{};                                ///< (m, world axes)
  double reducedDzz_ = 0.0;    ///< rank 1: c^T D c of the third column c; rank 4: 1 / D(2,2)
  Mat<2, 2> delassus22_{};     ///< D on the plane, for rank 2, by `checkRank`
  Mat<2, 2> delassus22Inv_{};  ///< its inverse, by `checkRank`
  Mat<3, 1> planeBasis_[2]{};  ///< orthonormal basis of the plane, by `checkRank`

  Single3DContactProblem() = default;
  /// A contact at (x, y, z) (m, world axes) of signed `depth` (m, negative while penetrating).
  Single3DContactProblem(const MaterialPairProperties& prop, double x, double y, double z,
                         double depth);

  /// Classifies D by its columns and sets `rank_`: a block that is singular because nothing moves
  /// in some direction is solved in the subspace that it reaches, never regularised. Ranks 0, 1, 2
  /// and 5 stay as they are. Fills `planeBasis_`, `delassus22_` and `delassus22Inv_` for rank 2 and
  /// `reducedDzz_` for ranks 1 and 4.
  void checkRank();

 private:
  void classifyByColumns();
  void setLine(const Mat<3, 1>& c2);
  void finishPlane(const Mat<3, 1>& b1, const Mat<3, 1>& b2);
};

/// The world's list of problems.
using ContactProblemList = AlignedVector<Single3DContactProblem>;

}  // namespace zelvik::contact
