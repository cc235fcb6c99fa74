// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>
#include <zelvik/EigenArguments.hpp>
#include <zelvik/ListArgument.hpp>
#include <zelvik/NotCopied.hpp>
#include <zelvik/SparseJacobian.hpp>
#include <zelvik/export.hpp>
#include <zelvik/math.hpp>
#include <zelvik/object/ArticulatedSystem/JointAndBodies.hpp>
#include <zelvik/object/ArticulatedSystem/JointParameters.hpp>
#include <zelvik/object/ArticulatedSystem/RobotContacts.hpp>
#include <zelvik/object/ArticulatedSystem/TreeDescription.hpp>
#include <zelvik/object/ArticulatedSystem/TreeFactor.hpp>
#include <zelvik/object/Object.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

namespace urdf {
class LoadFromURDF2;
}
class TreePasses;
class StepLedger;
struct LedgerBalance;
struct LedgerDraft;

/// Choices at construction.
struct ArticulatedSystemOption {
  /// Whether a body never collides with its nearest ancestor that has mass.
  bool doNotCollideWithParent = true;
  /// Whether pairs of shapes that overlap by more than 1 mm while all joint coordinates are zero
  /// never collide. Published models often have such pairs, whose shapes are drawn larger than the
  /// links or meet inside of a joint; in a simulation they push each other apart in every step.
  /// Without it a system with such pairs is warned of at its first step.
  bool ignoreInitialOverlaps = false;
};

/// A tree of rigid bodies joined by joints, on a fixed or a floating base.
///
/// Bodies are numbered in depth-first pre-order, so that `parent < child`; body 0 is the root.
/// Every quantity is a flat array over bodies, over velocities (`getDOF()` of them) or over
/// coordinates (`getGeneralizedCoordinateDim()`):
///
/// | joint     | coordinates                          | velocities                               |
/// |-----------|--------------------------------------|------------------------------------------|
/// | revolute  | angle (rad)                          | rate about the axis (rad/s)              |
/// | prismatic | displacement (m)                     | rate along the axis (m/s)                |
/// | spherical | unit quaternion w, x, y, z           | angular velocity, child axes (rad/s)     |
/// | floating  | position (m), unit quaternion        | linear (m/s), then angular (rad/s), both |
/// |           | w, x, y, z                           | in world axes                            |
///
/// The equation of motion is M du/dt + h = tau with the joint-space mass matrix M and the nonlinear
/// terms h. Suffixes of the fields: `W` world axes, `B` axes of the body, `P` axes of the parent.
/// A body, frame or shape index that would be read out of range is fatal and nothing is written;
/// contact indices are not validated.
///
/// Source of the algorithms (composite bodies, recursive Newton-Euler, factorisation along the
/// tree): R. Featherstone, Rigid Body Dynamics Algorithms, Springer (2008), chapters 5, 6 and 8.
class ZELVIK_API ArticulatedSystem : public Object {
 public:
  /// Axes in which a force or a point is given.
  enum Frame : std::int32_t { WORLD_FRAME = 0, PARENT_FRAME = 1, BODY_FRAME = 2 };

  /// What makes the joint forces.
  enum ControlMode : std::uint32_t {
    FEED_FORWARD = 0,         ///< joint forces are those of `setGeneralizedForce`
    PD_PLUS_FEED_FORWARD = 1  ///< plus a PD law on joint targets
  };

  /// How positions follow velocities.
  enum IntegrationScheme : std::int32_t {
    TRAPEZOID = 0,      ///< with the mean of old and new velocity
    SEMI_IMPLICIT = 1,  ///< with the new velocity
    EXPLICIT = 2,       ///< with the old velocity
    /// Fourth order, free bases and ball joints second; forces explicit. Not for joints with
    /// damping: it enters as a force and, undivided, as inertia, so that smaller steps do not lead
    /// to the motion of the model. Give the same numbers as D gains, in mode
    /// `PD_PLUS_FEED_FORWARD`, and set the damping to 0. Warned of once.
    RUNGE_KUTTA_4 = 3
  };

  // ---- construction ---------------------------------------------------------------------------

  /// From a tree assembled by hand, which is copied. Parent collisions are excluded whatever the
  /// option says; `ignoreInitialOverlaps` counts. Warns "resDir is not specified." if it is empty.
  ///
  /// Fatal for a root joint that is neither fixed nor floating and for a floating joint below the
  /// root ("Floating joints are only supported at the root"); if the callback returns, the system
  /// is an empty fixed base.
  /// @param resDir directory of the mesh files
  explicit ArticulatedSystem(const Child& child, const std::string& resDir = "",
                             ArticulatedSystemOption option = ArticulatedSystemOption());

  /// From URDF: a path if the first argument contains no "<", otherwise the text itself.
  /// Fatal: "<path> does not exist", "<argument>: unsupported file type" (neither urdf nor xml).
  /// @param resDir directory of the mesh files; empty: the directory of the path
  /// @param jointOrder names of joints, in the order in which siblings are arranged; may be empty
  explicit ArticulatedSystem(const std::string& urdfPathOrText, const std::string& resDir = "",
                             const std::vector<std::string>& jointOrder = {},
                             ArticulatedSystemOption option = ArticulatedSystemOption());

  /// Frees the arrays; geoms are freed by `destroyCollisionBodies` only.
  ~ArticulatedSystem() override;

  // ---- object interface -----------------------------------------------------------------------

  /// Writes the poses of the bodies into their geoms.
  void updateCollision() override;
  void preContactSolverUpdate1(const Mat<3, 1>& gravity, double dt) override;
  void preContactSolverUpdate2(const Mat<3, 1>& gravity, double dt) override;
  void integrate(double dt, const Mat<3, 1>& gravity) override;
  /// Force (N, world axes) at the body's centre of mass, for the next step.
  void setExternalForce(size_t localIdx, const Mat<3, 1>& force) override;
  /// Torque (N m, world axes), for the next step.
  void setExternalTorque(size_t localIdx, const Mat<3, 1>& torque) override;
  /// Force (N, world axes) at a point given in the body frame (m).
  void setExternalForce(size_t localIdx, const Mat<3, 1>& pointB, const Mat<3, 1>& force) override;
  void setConstraintForce(size_t localIdx, const Mat<3, 1>& pointB,
                          const Mat<3, 1>& force) override;
  double getMass(size_t localIdx) const override;
  ObjectType getObjectType() const override { return ObjectType::ARTICULATED_SYSTEM; }
  /// Origin of the body frame, which is the joint (m, world axes).
  void getPosition(size_t localIdx, Mat<3, 1>& out) const override;
  /// Velocity of the frame origin (m/s, world axes), as of the last `computeNonlinearities`.
  void getVelocity(size_t localIdx, Mat<3, 1>& out) const override;
  /// Body to world.
  void getOrientation(size_t localIdx, Mat<3, 3>& out) const override;
  void getPosition(size_t localIdx, const Mat<3, 1>& pointB, Mat<3, 1>& out) const override;
  BodyType getBodyType(size_t localIdx) const override;
  BodyType getBodyType() const override;
  void getContactPointVel(size_t contactIdx, Mat<3, 1>& vel) const override;
  void clearExternalForcesAndTorques() override;
  /// Frees geoms and mesh data. `collisionBodies_` keeps its entries, without geoms.
  void destroyCollisionBodies(dSpaceID space) override;
  void addContactPointVel(size_t contactIdx, Mat<3, 1>& vel) override;
  void subContactPointVel(size_t contactIdx, Mat<3, 1>& vel) override;
  void updateTimeStep(double dt) override;
  void updateTimeStepIfNecessary(double dt) override;
  void updateGenVelWithImpulse(size_t contactIdx, const Mat<3, 1>& impulse) override;
  void appendJointLimits(contact::ContactProblemList& problems) override;
  void forgetContacts() override;
  double enforceJointLimits(contact::Single3DContactProblem& problem) override;
  void visitState(StateArchive& archive) override;
  std::unique_ptr<Object> copy() const override;

  // Overloads for Eigen types are templates, so that braces mean a `Mat`. Those of the object
  // interface stand in `Object`.

  /// The same for Eigen types, see `Object`.
  using Object::getOrientation;
  /// The same for Eigen types, see `Object`.
  using Object::getPosition;
  /// The same for Eigen types, see `Object`.
  using Object::getVelocity;
  /// The same for Eigen types, see `Object`.
  using Object::setExternalForce;
  /// The same for Eigen types, see `Object`.
  using Object::setExternalTorque;

  // ---- state ----------------------------------------------------------------------------------

  /// Bodies of the tree, the root included; bodies on fixed joints count with their parent.
  size_t getBodyCount() const { return tree_.bodyCount; }
  /// Number of coordinates.
  size_t getGeneralizedCoordinateDim() const { return tree_.gcDim; }
  /// Number of velocities.
  size_t getGeneralizedVelocityDim() const { return tree_.dof; }
  /// Number of velocities.
  size_t getDOF() const { return tree_.dof; }

  /// Coordinates, laid out as the class says (m, rad, unit quaternions).
  const VecDyn& getGeneralizedCoordinate() const { return gc_; }
  /// Velocities, laid out as the class says (m/s, rad/s).
  const VecDyn& getGeneralizedVelocity() const { return gv_; }
  /// Joint force of the last step: control, damping, after limits (N or N m).
  const VecDyn& getGeneralizedForce() const { return generalizedForce_; }
  /// What `setGeneralizedForce` wrote (N or N m).
  const VecDyn& getFeedForwardForce() const { return joints_.feedForward; }

  // Setters of lists take numbers in braces, a `VecDyn` or an Eigen vector (`ListArgument`), copy
  // to the front and leave the rest. More values than there is room for is fatal, naming both
  // numbers, and nothing is copied.

  ///@{
  /// Places the system: updates the kinematics and drops the contacts. Body velocities stay.
  void setGeneralizedCoordinate(const double* values, size_t count);
  void setGeneralizedCoordinate(const ListArgument& list) {
    setGeneralizedCoordinate(list.values, list.count);
  }
  ///@}
  ///@{
  /// Body velocities follow with the next `computeNonlinearities`.
  void setGeneralizedVelocity(const double* values, size_t count);
  void setGeneralizedVelocity(const ListArgument& list) {
    setGeneralizedVelocity(list.values, list.count);
  }
  ///@}
  ///@{
  /// Feed-forward joint forces (N or N m); kept until set again.
  void setGeneralizedForce(const double* values, size_t count);
  void setGeneralizedForce(const ListArgument& list) {
    setGeneralizedForce(list.values, list.count);
  }
  ///@}

  ///@{
  /// Moves the root, also a fixed one, to `pos` (m, world axes).
  void setBasePos(const Mat<3, 1>& pos);
  template <typename Derived, typename = IfVector3<Derived>>
  void setBasePos(const Eigen::MatrixBase<Derived>& pos) {
    Mat<3, 1> p;
    if (readArgument(pos, "setBasePos", p)) setBasePos(p);
  }
  ///@}
  ///@{
  /// Turns the root, also a fixed one; `rot` maps body to world, `quat` is w, x, y, z of any length
  /// but 0 (fatal: "setBaseOrientation: the quaternion has no direction"). Numbers in braces are
  /// the four of a quaternion or the nine of a matrix, column by column; fatal for another count.
  void setBaseOrientation(const Mat<3, 3>& rot);
  void setBaseOrientation(const Mat<4, 1>& quat);
  void setBaseOrientation(std::initializer_list<double> values);
  template <typename Derived, typename = IfMatrix33<Derived>>
  void setBaseOrientation(const Eigen::MatrixBase<Derived>& rot) {
    Mat<3, 3> R;
    if (readArgument(rot, "setBaseOrientation", R)) setBaseOrientation(R);
  }
  ///@}
  /// Quaternion w, x, y, z. Fatal: "This method is only for floating base".
  void getBaseOrientation(Mat<4, 1>& quat) const;

  // ---- control and joint parameters -----------------------------------------------------------

  /// `FEED_FORWARD` at the start.
  void setControlMode(ControlMode mode);
  /// The mode in force.
  ControlMode getControlMode() const { return static_cast<ControlMode>(joints_.controlMode); }
  ///@{
  /// Stiffness of the PD law (N/m or N m/rad), per velocity.
  void setPGain(const double* values, size_t count);
  void setPGain(const ListArgument& list) { setPGain(list.values, list.count); }
  ///@}
  ///@{
  /// Damping of the PD law (N s/m or N m s/rad), per velocity.
  void setDGain(const double* values, size_t count);
  void setDGain(const ListArgument& list) { setDGain(list.values, list.count); }
  ///@}
  ///@{
  /// Targets, laid out as the coordinates.
  void setPTarget(const double* values, size_t count);
  void setPTarget(const ListArgument& list) { setPTarget(list.values, list.count); }
  ///@}
  ///@{
  /// Targets, laid out as the velocities.
  void setDTarget(const double* values, size_t count);
  void setDTarget(const ListArgument& list) { setDTarget(list.values, list.count); }
  ///@}
  /// (N/m or N m/rad), per velocity.
  const VecDyn& getPGain() const { return joints_.pGain; }
  /// (N s/m or N m s/rad), per velocity.
  const VecDyn& getDGain() const { return joints_.dGain; }
  /// Laid out as the coordinates.
  const VecDyn& getPTarget() const { return joints_.pTarget; }
  /// Laid out as the velocities.
  const VecDyn& getDTarget() const { return joints_.dTarget; }

  /// Bounds on the sum of feed-forward, PD and damping forces (N or N m), per velocity.
  void setForceLimits(const ListArgument& lower, const ListArgument& upper);
  /// (N or N m), per velocity.
  const VecDyn& getForceLowerLimit() const { return joints_.forceLowerLimit; }
  /// (N or N m), per velocity.
  const VecDyn& getForceUpperLimit() const { return joints_.forceUpperLimit; }
  /// One entry per velocity; only the first of a joint is read. A joint beyond its limit is
  /// stopped, not pushed back. What a limit has given within a solve is not taken back: a joint
  /// that a contact turns round later in the sweeps may leave faster than the contact alone would
  /// make it.
  void setJointLimits(const std::vector<JointLimit>& limits);
  /// One entry per velocity; only the first of a joint is read.
  const std::vector<JointLimit>& getJointLimits() const { return joints_.limits; }
  /// Viscous damping (N s/m or N m s/rad), per velocity.
  void setJointDamping(const ListArgument& damping);
  /// (N s/m or N m s/rad), per velocity.
  const VecDyn& getJointDamping() const { return joints_.damping; }
  /// As read from the model, per velocity; stored only.
  const VecDyn& getJointFriction() const { return joints_.friction; }
  ///@{
  /// What is added to the diagonal of M from the next step on (kg or kg m^2), per velocity.
  void setRotorInertia(const double* values, size_t count);
  void setRotorInertia(const ListArgument& list) { setRotorInertia(list.values, list.count); }
  ///@}
  /// What is added to the diagonal of M (kg or kg m^2), per velocity.
  const VecDyn& getRotorInertia() const { return joints_.rotorInertia; }
  /// Replaces all springs. Fatal for a body index out of range.
  void setSprings(const std::vector<JointSpring>& springs);
  /// All springs in the order in which they were set.
  const std::vector<JointSpring>& getSprings() const { return joints_.springs; }

  /// Scheme of the following steps. In PD mode `TRAPEZOID` takes its place from the step after the
  /// first contact on, until `setGeneralizedCoordinate`.
  void setIntegrationScheme(IntegrationScheme scheme) { defaultIntegrationScheme_ = scheme; }
  /// What `setIntegrationScheme` chose.
  IntegrationScheme getIntegrationScheme() const {
    return static_cast<IntegrationScheme>(defaultIntegrationScheme_);
  }
  /// Mass of a body (kg); the composite masses follow at once, inertia does not change.
  void setMass(size_t localIdx, double mass);
  ///@{
  /// Centre of mass of a body (m, body axes). The inertia stays what it is about that point; the
  /// centre in world axes follows at once, all else with the next step.
  void setBodyCom(size_t localIdx, const Mat<3, 1>& comB);
  template <typename Derived, typename = IfVector3<Derived>>
  void setBodyCom(size_t localIdx, const Eigen::MatrixBase<Derived>& comB) {
    Vec3 v;
    if (readArgument(comB, "setBodyCom", v)) setBodyCom(localIdx, v);
  }
  ///@}
  ///@{
  /// Inertia of a body about its centre of mass (kg m^2, body axes), symmetric: the lower triangle
  /// is used. From the next step on.
  void setBodyInertia(size_t localIdx, const Mat<3, 3>& inertiaB);
  template <typename Derived, typename = IfMatrix33<Derived>>
  void setBodyInertia(size_t localIdx, const Eigen::MatrixBase<Derived>& inertiaB) {
    Mat33 M;
    if (readArgument(inertiaB, "setBodyInertia", M)) setBodyInertia(localIdx, M);
  }
  ///@}
  /// Recomputes the masses of subtrees, and adds the subtrees to mass moments and centres of mass.
  /// For use after masses have changed, on mass moments freshly filled by `computeMassMatrix`.
  void updateMassInfo();

  // ---- kinematics and dynamics ----------------------------------------------------------------

  /// World poses of all bodies from the coordinates. A fixed root stays as it is.
  void updateKinematics();
  /// Joint-space inertia by composite bodies. Only diagonal entries and entries of joints on one
  /// path to the root are written: hand in a matrix that is zero elsewhere.
  /// Reads the kinematics.
  /// @param M `getDOF()` square; fatal otherwise
  void computeMassMatrix(MatDyn& M);
  /// Gravity, Coriolis and centrifugal forces by recursive Newton-Euler, and the body velocities.
  /// Reads the kinematics and what `computeMassMatrix` leaves: call it after those two.
  /// @param gravity (m/s^2, world axes)
  /// @param h `getDOF()` entries, overwritten (N or N m); fatal for any other number
  void computeNonlinearities(const Mat<3, 1>& gravity, VecDyn& h);
  /// Inverse of M plus the implicit damping of the joints. A matrix that is not positive definite
  /// gives NaN.
  /// @param M,Minv `getDOF()` square, fatal otherwise; Minv is fully written
  void computeSparseInverse(const MatDyn& M, MatDyn& Minv);
  /// Diagonal that makes damping, springs and PD gains implicit over a step of dt (s).
  void computeDampedMass(double dt);

  // The step has no use for the two matrices below, nor for the arrays over subtrees and inertias
  // further down. Each is formed when it is first asked for; from then on every step of this system
  // keeps it fresh, so that the reference, like all others, shows the last step. Until it is asked
  // for it costs nothing; then, for a quadruped of 18 velocities, 1 500 instructions a step for M,
  // 6 900 for the inverse and 700 for the arrays, where a step takes 60 000 in the air and 105 000
  // on four feet.

  /// M, `getDOF()` square (kg, kg m, kg m^2), as of the last `World::integrate1`; without damping.
  const MatDyn& getMassMatrix() const {
    keepMassMatrix_ = true;
    formMassMatrix();
    return massMatrix_;
  }
  /// Inverse of the mass matrix plus the implicit damping of the step, as of the last
  /// `World::integrate1`.
  const MatDyn& getInverseMassMatrix() const {
    keepMassInverse_ = true;
    formMassInverse();
    return massInverse_;
  }
  /// h, per velocity (N or N m), as of the last `World::integrate1`.
  const VecDyn& getNonlinearities() const { return nonlinearities_; }
  /// M u as of the last `preContactSolverUpdate1`.
  const VecDyn& getGeneralizedMomentum() const { return generalizedMomentum_; }

  // ---- Jacobians, points, frames --------------------------------------------------------------

  /// Positional Jacobian of a world point as if fixed to the body. Grows `jac` if needed.
  void getSparseJacobian(size_t bodyIdx, const Mat<3, 1>& pointW, SparseJacobian& jac) const;
  /// The fast form of the contact path: does not grow `jac` (fatal if it has too little capacity),
  /// and of the six base columns of a floating root only column 3 is written, with the lever arm
  /// itself. Not a general Jacobian.
  void getSparseJacobian_internal(size_t bodyIdx, const Mat<3, 1>& pointW, SparseJacobian& jac);
  /// Angular Jacobian of the body; empty for index `kNone`, the world.
  void getSparseRotationalJacobian(size_t bodyIdx, SparseJacobian& jac) const;
  ///@{
  /// The same as 3 x `getDOF()` matrices.
  void getDenseJacobian(size_t bodyIdx, const Mat<3, 1>& pointW, MatDyn& jac) const;
  void getDenseRotationalJacobian(size_t bodyIdx, MatDyn& jac) const;
  ///@}
  ///@{
  /// The same for Eigen types; `jac` is given its size.
  void getDenseJacobian(size_t bodyIdx, const Mat<3, 1>& pointW, Eigen::MatrixXd& jac) const {
    MatDyn J(3, tree_.dof);
    J.setZero();
    getDenseJacobian(bodyIdx, pointW, J);
    copyMatrix(J, jac);
  }
  template <typename Derived, typename = IfVector3<Derived>>
  void getDenseJacobian(size_t bodyIdx, const Eigen::MatrixBase<Derived>& pointW,
                        Eigen::MatrixXd& jac) const {
    Vec3 p;
    if (readArgument(pointW, "getDenseJacobian", p)) getDenseJacobian(bodyIdx, p, jac);
  }
  void getDenseRotationalJacobian(size_t bodyIdx, Eigen::MatrixXd& jac) const {
    MatDyn J(3, tree_.dof);
    J.setZero();
    getDenseRotationalJacobian(bodyIdx, J);
    copyMatrix(J, jac);
  }
  ///@}

  /// Velocity of a point given in the body frame (m/s, world axes).
  void getVelocity(size_t localIdx, const Mat<3, 1>& pointB, Mat<3, 1>& out) const;
  /// Jacobian times the generalized velocity.
  void getVelocity(const SparseJacobian& jac, Mat<3, 1>& out) const;
  /// (rad/s, world axes), as of the last `computeNonlinearities`.
  void getAngularVelocity(size_t localIdx, Mat<3, 1>& out) const;

  ///@{
  /// The same for Eigen types.
  template <typename Derived, typename = IfVector3<Derived>>
  void getVelocity(size_t localIdx, const Eigen::MatrixBase<Derived>& pointB,
                   Eigen::Vector3d& out) const {
    out = filled<Vec3>([&](Vec3& v) {
      Vec3 p;
      if (readArgument(pointB, "getVelocity", p)) getVelocity(localIdx, p, v);
    });
  }
  void getAngularVelocity(size_t localIdx, Eigen::Vector3d& out) const {
    out = filled<Vec3>([&](Vec3& v) { getAngularVelocity(localIdx, v); });
  }
  ///@}

  /// Index of the body of that name. Fatal for a link that was merged into its parent, and for an
  /// unknown name ("unknown body id"); `kNone` if the callback returns.
  size_t getBodyIdx(const std::string& name) const;
  /// Index of the body that holds the link of that name: its own, or for a link on fixed joints the
  /// one that it was merged into, with mass, inertia and shapes. Fatal for an unknown name:
  /// "unknown body id"; `kNone` if the callback returns.
  size_t getBodyIdxOfLink(const std::string& name) const;
  /// Index of the first frame of that name. Fatal: "unknown frame id"; then `kNone`.
  size_t getFrameIdxByName(const std::string& name) const;
  ///@{
  /// Origin of the frame (m, world axes). A frame index that is out of range is fatal, here and
  /// below, and nothing is written.
  void getFramePosition(size_t frameIdx, Mat<3, 1>& out) const;
  void getFramePosition(const CoordinateFrame& frame, Mat<3, 1>& out) const;
  ///@}
  ///@{
  /// Frame to world.
  void getFrameOrientation(size_t frameIdx, Mat<3, 3>& out) const;
  void getFrameOrientation(const CoordinateFrame& frame, Mat<3, 3>& out) const;
  ///@}
  ///@{
  /// Velocity of the frame's origin (m/s, world axes), as of the last `computeNonlinearities`.
  void getFrameVelocity(size_t frameIdx, Mat<3, 1>& out) const;
  void getFrameVelocity(const CoordinateFrame& frame, Mat<3, 1>& out) const;
  ///@}
  ///@{
  /// Angular velocity of the body that the frame is fixed in (rad/s, world axes), as of the last
  /// `computeNonlinearities`.
  void getFrameAngularVelocity(size_t frameIdx, Mat<3, 1>& out) const;
  void getFrameAngularVelocity(const CoordinateFrame& frame, Mat<3, 1>& out) const;
  ///@}
  ///@{
  /// The same for Eigen types.
  void getFramePosition(size_t frameIdx, Eigen::Vector3d& out) const {
    out = filled<Vec3>([&](Vec3& p) { getFramePosition(frameIdx, p); });
  }
  void getFrameOrientation(size_t frameIdx, Eigen::Matrix3d& out) const {
    out = filled<Mat33>([&](Mat33& R) { getFrameOrientation(frameIdx, R); });
  }
  void getFrameVelocity(size_t frameIdx, Eigen::Vector3d& out) const {
    out = filled<Vec3>([&](Vec3& v) { getFrameVelocity(frameIdx, v); });
  }
  void getFrameAngularVelocity(size_t frameIdx, Eigen::Vector3d& out) const {
    out = filled<Vec3>([&](Vec3& w) { getFrameAngularVelocity(frameIdx, w); });
  }
  ///@}
  /// One line per frame to the standard output.
  void printOutFrameNamesInOrder() const;
  /// One line per body to the standard output.
  void printOutBodyNamesInOrder() const;

  // ---- external forces ------------------------------------------------------------------------

  /// Force (N) at a point (m), each in the axes named, for the next step. `PARENT_FRAME` of the
  /// root is the world.
  void setExternalForce(size_t localIdx, Frame forceFrame, const Mat<3, 1>& force, Frame pointFrame,
                        const Mat<3, 1>& point);
  /// The same for Eigen types.
  template <typename Force, typename Point, typename = IfVector3<Force>,
            typename = IfVector3<Point>>
  void setExternalForce(size_t localIdx, Frame forceFrame, const Eigen::MatrixBase<Force>& force,
                        Frame pointFrame, const Eigen::MatrixBase<Point>& point) {
    Vec3 f, p;
    if (readArgument(force, "setExternalForce", f) && readArgument(point, "setExternalForce", p))
      setExternalForce(localIdx, forceFrame, f, pointFrame, p);
  }
  /// Moves the pending forces to the display lists.
  void clearExternalForces();

  // ---- energy and momentum --------------------------------------------------------------------

  /// Zero at the world's origin (J).
  double getPotentialEnergy(const Mat<3, 1>& gravity) const;
  /// With the mass matrix as last computed (J).
  double getKineticEnergy() const;
  /// Potential and kinetic (J).
  double getEnergy(const Mat<3, 1>& gravity) const;
  /// About a world point (kg m^2/s, world axes).
  void getAngularMomentum(const Mat<3, 1>& referencePoint, Mat<3, 1>& angularMomentum) const;

  // ---- stages of a step -----------------------------------------------------------------------

  /// Contact-frame Jacobians, responses and own blocks of all contacts; `dt` is not read.
  void getFullDelassusAndTauStar(double dt);
  /// Velocity that the system would reach without contacts, into `gvTemp_`.
  void integrateWithoutContact(const Mat<3, 1>& gravity, double dt);
  /// One stage of the fourth-order scheme.
  void rkIntegrate(const Mat<3, 1>& gravity, double dt);
  /// Moves the coordinates `gc` by the velocities `rate` over dt (s). Turns below 1e-12 rad leave a
  /// quaternion as it is. Fatal for vectors that have not the dimensions of the system.
  void integratePosition(VecDyn& gc, const VecDyn& rate, double dt) const;

  // ---- names and topology ---------------------------------------------------------------------

  /// Names by body index.
  const std::vector<std::string>& getBodyNames() const { return bodyNames_; }
  /// One per movable joint in body order; a floating root adds "ROOT" in front.
  const std::vector<std::string>& getJointNames() const { return jointNames_; }
  /// Every joint's frame, those of fixed joints included, by frame index.
  const std::vector<CoordinateFrame>& getFrames() const { return frames_; }
  /// File name of the model with its extension; empty for text and for a tree.
  const std::string& getRobotName() const { return robotName_; }
  /// Normalised path of the URDF file; empty for text and for a tree.
  const std::string& getModelPath() const { return modelPath_; }
  /// The URDF text that was given; empty for a file and for a tree.
  const std::string& getModelText() const { return modelText_; }
  /// The order of joints that was given with a URDF model; empty for none.
  const std::vector<std::string>& getModelJointOrder() const { return modelJointOrder_; }
  /// Writes the URDF text that the system was made from; a failed write goes unnoticed. Fatal:
  /// "This articulated system was created with an existing urdf file" (or from a tree: there is no
  /// text), "Articulated System is only saved to a URDF format" for a name without ".urdf".
  /// @return false after a fatal message
  bool exportModelText(const std::string& fileName) const {  // here: its messages name this file
    if (modelText_.empty()) {
      MSG_FATAL("This articulated system was created with an existing urdf file");
      return false;
    }
    if (fileName.size() < 5 || fileName.compare(fileName.size() - 5, 5, ".urdf") != 0) {
      MSG_FATAL("Articulated System is only saved to a URDF format");
      return false;
    }
    std::ofstream(fileName, std::ios::trunc) << modelText_;
    return true;
  }
  /// Name of the directory that holds the URDF file, without those above it: "b" for
  /// "/a/b/c.urdf". The file name itself if it was given without a directory; empty for text and
  /// for a tree. The whole directory is that of `getModelPath`.
  const std::string& getModelTopDirectory() const { return modelTopDirectory_; }
  /// Directory of the mesh files.
  const std::string& getResourceDirectory() const { return resourceDir_; }
  /// Type of the joint above the body; `FIXED` after a fatal index.
  Joint::Type getJointType(size_t localIdx) const {
    return checkBodyIndex(localIdx, "getJointType") ? tree_.jointType[localIdx] : Joint::FIXED;
  }
  /// Per body; `kNone` for the root.
  const std::vector<size_t>& getParents() const { return tree_.parent; }
  /// Per body: the bodies that hang on it, ascending.
  const std::vector<std::vector<size_t>>& getChildren() const { return tree_.children; }
  /// Bodies without children, ascending.
  const std::vector<size_t>& getLeaves() const { return tree_.leaves; }
  /// Per body: 1 at the root.
  const std::vector<size_t>& getDepths() const { return tree_.depth; }
  /// Per body: first velocity of its joint; `kNone` for a fixed root.
  const std::vector<size_t>& getDofStart() const { return tree_.dofStart; }
  /// Per body: first coordinate of its joint; `kNone` for a fixed root.
  const std::vector<size_t>& getGcStart() const { return tree_.gcStart; }
  /// Per body: velocities on the path from the root, this joint included.
  const std::vector<size_t>& getPathDof() const { return tree_.pathDof; }
  /// Per body: coordinates on the same path.
  const std::vector<size_t>& getPathGc() const { return tree_.pathGc; }
  /// Per velocity: the next one towards the root; `kNone` at its end.
  const std::vector<size_t>& getDofParent() const { return tree_.dofParent; }

  // ---- body description and intermediate results ----------------------------------------------

  /// Per body: mass of its subtree (kg).
  const std::vector<double>& getCompositeMass() const { return tree_.compositeMass; }
  /// Per body: centre of mass of its subtree (m, world axes), as of the last `computeMassMatrix` or
  /// `World::integrate1`. That of body 0 is the centre of mass of the robot, a fixed root included.
  const std::vector<Mat<3, 1>>& getCompositeCom() const {
    keepCompositeBodies_ = true;
    formCompositeBodies();
    return compositeComW_;
  }
  /// Per body: inertia of its subtree (kg m^2, world axes) about the subtree's centre of mass; of
  /// a floating root about its frame origin, of a fixed root that of the root alone.
  const std::vector<Mat<3, 3>>& getCompositeInertia() const {
    keepCompositeBodies_ = true;
    formCompositeBodies();
    return compositeInertiaW_;
  }
  /// Per body: inertia about the centre of mass (kg m^2, world axes).
  const std::vector<Mat<3, 3>>& getWorldInertia() const {
    keepCompositeBodies_ = true;
    formCompositeBodies();
    return inertiaW_;
  }
  /// Per body: inertia about the centre of mass (kg m^2, body axes).
  const std::vector<Mat<3, 3>>& getBodyInertia() const { return tree_.inertiaB; }
  /// Per body: centre of mass (m, body axes).
  const std::vector<Mat<3, 1>>& getBodyCom() const { return tree_.comB; }
  /// Per body: centre of mass (m, world axes).
  const std::vector<Mat<3, 1>>& getComPositions() const { return kinematics_.comW; }
  /// Per body: joint axis (unit, world axes).
  const std::vector<Mat<3, 1>>& getJointAxes() const { return kinematics_.jointAxisW; }
  /// Diagonal that the last `computeDampedMass` prepared.
  const VecDyn& getDampedDiagonal() const { return dampedDiagonal_; }
  /// Per contact of the step; the first `getContacts().size()` entries count.
  const std::vector<SparseJacobian>& getContactFrameJacobians() const {
    return contactFrameJacobians_;
  }
  /// Fills `response`, 3 x `getDOF()`: change of each velocity per unit impulse at a contact of the
  /// step (contact frame).
  void getContactResponse(size_t contactIdx, MatDyn& response) const;

  /// For the solver: see `RobotContacts`.
  RobotContacts viewContacts();

  // ---- shapes ---------------------------------------------------------------------------------

  ///@{
  /// Every collision geom with its body and its place in it, by collision index.
  std::vector<CollisionDefinition>& getCollisionBodies() { return collisionBodies_; }
  const std::vector<CollisionDefinition>& getCollisionBodies() const { return collisionBodies_; }
  ///@}
  /// The visual shapes of the model, for a renderer.
  const std::vector<VisObject>& getVisObjects() const { return visObjects_; }
  /// The collision shapes for a renderer, parallel to `getCollisionBodies()`.
  const std::vector<VisObject>& getVisColObjects() const { return visColObjects_; }
  /// Pose of a visual object of either list (world axes).
  void getPose(const VisObject& vis, Mat<3, 3>& rot, Mat<3, 1>& pos) const;

  // A collision index is a place in `getCollisionBodies()`; one out of range is fatal. New offsets
  // reach the geom with the next `updateCollision`.

  /// `rot` maps geom to body.
  void setCollisionObjectOrientationOffset(size_t collisionIdx, const Mat<3, 3>& rot);
  /// `pos` in the body frame (m).
  void setCollisionObjectPositionOffset(size_t collisionIdx, const Mat<3, 1>& pos);
  /// New size of a shape, as `Shape::Type` says (m). Fatal for a wrong count ("This collision
  /// object is a box and takes three parameters", ...) and for values that are negative or not
  /// finite; of a mesh only the stored size changes.
  void setCollisionObjectShapeParameters(size_t collisionIdx, const std::vector<double>& params);
  /// No shape of one body collides with one of the other any more.
  void ignoreCollisionBetween(size_t bodyA, size_t bodyB);

 private:
  /// What a getter writes; zeros where it refuses.
  template <typename Value, typename Getter>
  static Value filled(Getter&& getter) {
    Value value{};
    getter(value);
    return value;
  }
  static void copyMatrix(const MatDyn& from, Eigen::MatrixXd& to) {
    to.resize(static_cast<Eigen::Index>(from.n), static_cast<Eigen::Index>(from.m));
    for (unsigned long j = 0; j < from.m; ++j)
      for (unsigned long i = 0; i < from.n; ++i)
        to(static_cast<Eigen::Index>(i), static_cast<Eigen::Index>(j)) = from(i, j);
  }

  friend class urdf::LoadFromURDF2;

  ArticulatedSystem(const ArticulatedSystem&) = default;  // for `copy`, which completes it
  void copyGeoms(const ArticulatedSystem& other);
  void copyMeshes(const ArticulatedSystem& other);

  void writeUnusualPose(const CollisionDefinition& shape);
  bool prepareModelFile(const std::string& argument, const std::string& resDir);
  void init();
  bool refuseTree();
  void sizeArrays();
  void sizeBodyArrays();
  void sizeStateVectors();
  void flattenTree();
  void flattenRoot(const Child& root);
  void flattenBody(const Child& node);
  void flattenJoint(const Child& node);
  void computeCompositeMass();
  void buildDofParent();
  void sizeTreeMatrices();
  void resolveFrames();
  void placeFixedRoot();
  void excludeCollisionsWithinBodies();
  void excludeParentCollisions();
  void findInitialOverlaps();
  void warnOfInitialOverlaps();
  void warnOfMotionsWithoutMass();
  size_t findMotionWithoutInertia();
  void warnOfMotion(size_t bodyIdx, const char* what) const;

  void computeMassRows();
  void formCompositeBodies() const;
  Vec3 comOfFixedRootAndTree() const;
  void formMassMatrix() const;
  void refreshKeptQuantities() const;

  bool checkSquare(const MatDyn& matrix, const char* where) const;
  const VecDyn& implicitDiagonal() const;
  void factoriseMassMatrix();
  void formMassInverse() const;

  bool checkBodyIndex(size_t bodyIdx, const char* where) const;
  bool checkFrameIndex(size_t frameIdx, const char* where) const;
  void fillJointColumns(size_t bodyIdx, const Mat<3, 1>& pointW, SparseJacobian& jac) const;

  void computeGeneralizedMomentum();
  void computeContactJacobians();
  void mergeSelfCollisions();
  void growContactStorage(size_t count);
  void rotateJacobian(size_t contactIdx);
  void computeResponses();
  void computeImpactVelocity(size_t contactIdx);

  void warnOfRungeKuttaDamping();
  void addControllerForces();
  void addDampingForces();
  void addSpringForces();
  void addOutsideForces();
  void solveForVelocity();
  void integrateVelocity(double dt, const Mat<3, 1>& gravity);
  void integrateRungeKutta(const Mat<3, 1>& gravity, double dt);
  void setStage(const VecDyn& rate, double h, const VecDyn& velocity, VecDyn& coordinates);

  // The books of a step, see `Ledger`: before it, between solve and motion, after it.
  friend class StepLedger;
  Vec3 takeBalance(const Mat<3, 1>& gravity, LedgerBalance& balance) const;
  double springEnergy() const;
  void openAccount(const Mat<3, 1>& gravity, LedgerDraft& draft) const;
  void bookForces(const Mat<3, 1>& gravity, double dt, LedgerDraft& draft);
  void bookJointForces(double dt, LedgerDraft& draft) const;
  void bookOutsideForces(double dt, LedgerDraft& draft) const;
  double bookContacts(LedgerDraft& draft) const;
  double workOfConstraints();
  void closeAccount(const Mat<3, 1>& gravity, LedgerDraft& draft) const;

  contact::Single3DContactProblem& appendLimitProblem(size_t bodyIdx, double depth,
                                                      contact::ContactProblemList& problems);
  void appendAxisLimit(size_t bodyIdx, contact::ContactProblemList& problems);
  void appendConeLimit(size_t bodyIdx, contact::ContactProblemList& problems);
  double enforceAxisLimit(contact::Single3DContactProblem& problem);
  double enforceConeLimit(contact::Single3DContactProblem& problem);

  // ---- what the system is made of, and what its joints do ---------------------------------------
  TreeDescription tree_;    ///< written by `init`; masses, centres, inertias by their setters
  JointParameters joints_;  ///< of the model, and of the setters
  NotCopied<std::unique_ptr<TreePasses>> passes_;  ///< over `tree_`, with arrays of their own
  Mat<3, 1> fixedBasePosition_{};  ///< of a fixed root (m, world axes); the constructors
  bool doNotCollideWithParent = true;
  bool ignoreInitialOverlaps_ = false;
  /// Two shapes, by their places in `collisionBodies_`.
  struct InitialOverlap {
    size_t a, b;
    double depth;  ///< in the zero pose (m)
  };
  std::vector<InitialOverlap> initialOverlaps_;  ///< to be told of at the first step

  // ---- kept up to date, read by nothing -------------------------------------------------------
  bool hasSphericalJoint_ = false;                                    ///< below the root
  size_t lastBaseDof_ = kNone;                                        ///< 5 for a floating base
  std::vector<contact::Single3DContactProblem*> jointLimitProblems_;  ///< of this step

  // ---- names and model ------------------------------------------------------------------------
  std::vector<Child> rootChild_;  ///< the root, between construction and the end of `init`
  std::vector<CoordinateFrame> frames_;
  std::vector<std::string> bodyNames_, jointNames_;
  std::string resourceDir_, robotName_, modelTopDirectory_, modelPath_, modelText_;
  std::vector<std::string> modelJointOrder_;

  // ---- shapes: written by `init` ----------------------------------------------------------------
  std::vector<CollisionDefinition> collisionBodies_;
  std::vector<VisObject> visColObjects_, visObjects_;
  std::vector<dTriMeshDataID> meshData_;
  // ODE points into the inner vectors for as long as the geoms live.
  std::vector<std::vector<float>> meshVertices_;
  std::vector<std::vector<unsigned int>> meshIndices_;

  // ---- state ----------------------------------------------------------------------------------
  // Here and below, what is marked as state goes through `visitState`.
  VecDyn gc_;  ///< coordinates; setters and `integrate`: state
  VecDyn gv_;  ///< velocities; setters and `integrate`: state

  /// Poses by `updateKinematics` (of a fixed root: state), velocities by `computeNonlinearities`:
  /// state, since controllers read them between steps.
  BodyKinematics kinematics_;

  // ---- mass matrix: rewritten by `computeMassMatrix` -------------------------------------------
  VecDyn massRows_;  ///< M in packed rows of the tree's pattern, without damping, and spare values
  mutable MatDyn massMatrix_;                ///< dof x dof; `formMassMatrix`
  mutable bool massMatrixFormed_ = true;     ///< whether `massMatrix_` shows `massRows_`
  mutable std::vector<Mat<3, 3>> inertiaW_;  ///< about the centre of mass (kg m^2)
  mutable std::vector<Mat<3, 3>>
      compositeInertiaW_;  ///< of the subtree about its centre of mass (kg m^2); entry 0 of a
                           ///< floating root about its origin
  mutable std::vector<Mat<3, 1>> compositeMassMoment_;  ///< mass times centre of mass (kg m)
  mutable std::vector<Mat<3, 1>> compositeComW_;        ///< centre of mass of the subtree (m)
  mutable bool compositeBodiesFormed_ = true;  ///< whether the four show the last mass matrix
  // Whether the getters of a quantity were used, so that every step brings it up to date.
  mutable bool keepMassMatrix_ = false, keepMassInverse_ = false, keepCompositeBodies_ = false;

  VecDyn nonlinearities_;  ///< h (N or N m); `computeNonlinearities`

  // ---- factorisation: rewritten by `factoriseMassMatrix` and `computeDampedMass` ----------------
  TreeFactor factor_;           ///< of M + D
  TreeFactor callerFactor_;     ///< of the matrices that callers hand to `computeSparseInverse`
  mutable MatDyn massInverse_;  ///< (M + D)^-1; `formMassInverse`
  mutable bool massInverseFormed_ = true;  ///< whether `massInverse_` belongs to `factor_`
  VecDyn dampedDiagonal_;                  ///< D; `computeDampedMass`
  VecDyn dampedDiagonalRate_;              ///< D / dt; `computeDampedMass`
  double timeStep_ = 0.001;                ///< (s); `updateTimeStep`
  double dampedTimeStep_ = 0.0;            ///< step for which `dampedDiagonal_` was computed (s)
  bool timeStepUpToDate_ = false;  ///< cleared by the setters of what `computeDampedMass` reads

  // ---- contact: rewritten by `preContactSolverUpdate1` and `2`; lists only grow -----------------
  bool hasMetSomething_ = false;                       ///< since the coordinates were set: state
  std::vector<SparseJacobian> contactJacobians_;       ///< world axes, base columns implicit
  std::vector<SparseJacobian> contactFrameJacobians_;  ///< contact frame
  std::vector<VecDyn> contactResponses_;  ///< M^-1 Jc^T, three rows of `factor_.stride()` values
  VecDyn generalizedMomentum_;            ///< M u
  VecDyn gvTemp_;                         ///< velocity during the solve
  VecDyn gvFree_;                         ///< `gvTemp_` before the solve
  SparseJacobian jacobianScratch_;        ///< of the merge of self-collisions

  // ---- integration: rewritten by `integrateWithoutContact` and `integrate` ----------------------
  std::int32_t defaultIntegrationScheme_ = 0;  ///< `setIntegrationScheme`
  std::int32_t integrationScheme_ = 0;         ///< of this step
  bool toldOfDamping_ = false;                 ///< of `warnOfRungeKuttaDamping`
  VecDyn rhs_;                                 ///< right side of (M + D) v+ = M v + dt (tau - h)
  VecDyn generalizedForce_;                    ///< total joint force after limits (N or N m)
  VecDyn gcRate_;                              ///< velocity that moves the coordinates
  VecDyn positionError_;                       ///< of the PD law
  VecDyn externalForceGeneralized_;            ///< sum of J^T f
  VecDyn meanVelocity_;  ///< of a step, for the books; has a size once there are any
  VecDyn rkGc0_, rkGc2_, rkGc3_, rkGc4_;
  VecDyn rkVel1_, rkVel2_, rkVel3_, rkVel4_;
  VecDyn rkDelta1_, rkDelta2_, rkDelta3_, rkDelta4_;
  std::vector<SparseJacobian> externalForceJacobians_;  ///< parallel to the pending forces: state
};

}  // namespace zelvik
