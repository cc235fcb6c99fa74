// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <memory>
#include <vector>
#include <zelvik/contact/Single3DContactProblem.hpp>
#include <zelvik/export.hpp>

namespace zelvik {
class Object;
class StateArchive;
class World;
struct ContactPair;
}  // namespace zelvik

namespace zelvik::contact {

class ContactSweep;

/// Gauss-Seidel over contacts with an exact solution of each Coulomb contact.
///
/// Solves, for each contact with everything else frozen, v = free velocity + D p with the normal
/// residual zero (or the contact open) and p in the friction cone |p_t| <= mu p_n. Where the
/// contact sticks or opens the solution is closed. Where it slides, the candidates are the curve in
/// which the cone meets the plane of zero normal residual, parametrised by the angle of the
/// tangential impulse, and the point taken is that of stationary kinetic energy on that curve
/// (maximum dissipation), found by marching and false position on the angle. It opposes the slip
/// exactly where normal and tangential motion are uncoupled.
///
/// With friction of at least 0.0001 and relaxation 1 the impulse of a visit adds no more energy
/// than its target demands, p . v + 1/2 p . D p <= p_n target, with v the velocity without it.
/// Where the sliding point breaks this, as it may where the normal can hardly move (D_nn / mu <
/// |D_nt|), the impulse is the one of the cone that makes 1/2 p . D p + p . (v - target n) least.
///
/// A contact whose block is singular is solved in the subspace that the block reaches
/// (`Single3DContactProblem::checkRank`); nothing is regularised. The solver
/// keeps no impulses between steps; `World::setWarmStart` does.
///
/// The target of the normal velocity is max((v_n - 2 v_impact - threshold) (restitution + erp2), 0)
/// - depth erp. With a surface layer m and the overlap o = -depth of a contact (a wire has none)
/// the second term is (o - m) erp where o >= m. Where o < m the target is -(m - o) / dt, by which
/// the layer is reached at the end of the step, unless the first term is above 0: it then stands
/// alone. A contact opens above the velocity 0, or above a target that the layer makes negative:
/// nothing ever pulls.
///
/// Source of the iteration over contacts: F. Jourdan, P. Alart, M. Jean, A Gauss-Seidel like
/// algorithm to solve frictional contact problems, Comput. Methods Appl. Mech. Eng. 155 (1998).
class ZELVIK_API BisectionContactSolver {
 public:
  BisectionContactSolver();
  ~BisectionContactSolver();

  /// Solves in place: on return every `imp_` holds the impulse, and objects linked by `objA_` and
  /// `objB_` hold their velocity after it. Sweeps until the sum of squared residuals is at most
  /// (number of problems) threshold, or the sweep limit is reached; at least one sweep runs.
  /// Consecutive solves sweep in opposite directions. No allocation after the first solve, up to
  /// 1 024 sweeps.
  void solve(ContactProblemList& problems);
  /// The same for the problems of a step of a world, whose objects are given in list order: who
  /// touches whom is looked up in the contacts of the objects, and their coupling is computed into
  /// arrays made for the sweeps. Impulses
  /// and velocities agree with those of the other form up to rounding. `imp_` is where the sweeps
  /// start. No allocation once the arrays have their size.
  void solve(ContactProblemList& problems, const std::vector<Object*>& objects);

  /// A rigid body so heavy that a contact of it is skipped, since its block counts as one that
  /// nothing moves (`Single3DContactProblem::kLeastMobility`).
  struct Immovable {
    const Object* body = nullptr;  ///< null if there is none
    double massLimit = 0.0;        ///< above which this contact is skipped (kg)
  };
  /// The first one of the last solve of a world.
  const Immovable& getImmovable() const;

  /// Sweeps of the last solve.
  int getLoopCounter() const { return loopCounter_; }
  /// Error of each sweep of the last solve (m^2/s^2, or unit of the D c products); the first
  /// `getLoopCounter()` entries count. Grows with the sweeps that are used.
  const std::vector<double>& getErrorHistory() const { return errorHistory_; }
  /// Stopping error per contact.
  double getThreshold() const { return threshold_; }
  int getMaxIterations() const { return maxIterations_; }   ///< sweep limit
  double getERP() const { return erp_; }                    ///< see `setERP` (1/s)
  double getERP2() const { return erp2_; }                  ///< see `setERP`
  double getSurfaceLayer() const { return surfaceLayer_; }  ///< see `setSurfaceLayer` (m)

  /// @param relaxation weight of the newly computed impulse, 1 takes it whole
  /// @param maxIterations sweep limit
  /// @param threshold stopping error per contact
  void setParameters(double relaxation, double reserved1, double reserved2, int maxIterations,
                     double threshold);
  /// @param erp share of the depth that becomes target velocity (1/s)
  /// @param erp2 added to the coefficient of restitution
  void setERP(double erp, double erp2) {
    erp_ = erp;
    erp2_ = erp2;
  }
  /// @param depth overlap that contacts keep (m), finite and at least 0; 0, as at first, for none
  void setSurfaceLayer(double depth) { surfaceLayer_ = depth; }
  /// Within this time a contact may come down to the surface layer. @param dt (s)
  void setTimeStep(double dt) {
    timeStep_ = dt;
    timeStepInv_ = 1.0 / dt;
  }

  /// Forgets the solves before: the next one sweeps forward, as the first.
  void resetHistory() {
    forwardSweep_ = true;
    loopCounter_ = 0;
  }
  /// Takes the parameters of another solver.
  void copyParameters(const BisectionContactSolver& other);
  /// See `Object::visitState`: the direction of the next solve.
  void visitState(StateArchive& archive);

 private:
  friend class zelvik::World;
  /// The same for the world itself, which has recorded who touches whom.
  void solve(ContactProblemList& problems, const std::vector<Object*>& objects,
             const std::vector<ContactPair>& pairs);
  void startHistory();
  double visit(Single3DContactProblem& problem) const;
  template <typename Sweep>
  void repeat(size_t problemCount, Sweep sweep);

  int loopCounter_ = 0;
  bool forwardSweep_ = true;    ///< of the next solve: state
  double timeStep_ = 0.01;      ///< (s)
  double timeStepInv_ = 100.0;  ///< (1/s)
  double surfaceLayer_ = 0.0;   ///< (m)
  double relaxation_ = 1.0;
  double threshold_ = 1e-8;
  double erp_ = 0.3;
  double erp2_ = 0.002;
  int maxIterations_ = 150;
  // Stored, read by nothing.
  double reservedParam1_ = 1.0, reservedParam2_ = 1.0;
  std::vector<double> errorHistory_;
  std::unique_ptr<ContactSweep> rows_;
};

}  // namespace zelvik::contact
