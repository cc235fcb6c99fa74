// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ode/ode.h>

#include <Eigen/Geometry>
#include <string>
#include <vector>
#include <zelvik/NotCopied.hpp>
#include <zelvik/export.hpp>
#include <zelvik/math.hpp>
#include <zelvik/object/GeomRecord.hpp>
#include <zelvik/object/Object.hpp>
#include <zelvik/rotation.hpp>

namespace zelvik {

class StepLedger;
struct LedgerBalance;
struct LedgerDraft;

/// How a single body integrates the term w x (I w) of Euler's equation.
enum GyroscopicMode {
  IMPLICIT_GYROSCOPIC_BODY = 0,  ///< one Newton step in body axes; torque added apart (default)
  /// One Newton step in world axes, torque included. A body with moments below some 6e-6 kg m^2
  /// ignores torques in this mode (see ImplicitGyroscopic.hpp).
  IMPLICIT_GYROSCOPIC_WORLD = 1,
  EXPLICIT_GYROSCOPIC = 2,  ///< forward Euler; gains energy in a fast spin
  NO_GYROSCOPIC = 3         ///< left out
};

/// What the solver reads of a rigid body, and the velocity that it changes: a view, good until the
/// body's next step or setter.
struct BodyContacts {
  const std::vector<Mat<3, 6>>& jacobians;  ///< per contact: contact-frame velocity from `velocity`
  const Mat<3, 3>& inverseInertia;          ///< (world axes)
  double inverseMass;                       ///< (1/kg)
  Mat<6, 1>& velocity;                      ///< linear, angular (world axes)
};

/// Base of all objects of one body: state, forces, contact response and integration.
///
/// A step is semi-implicit Euler round the contact solve: free velocities before it, contact
/// impulses after it. With fewer than five contacts every pair of contacts gets a 3 x 3 block;
/// with more the solver reads and writes the body's velocity through a 3 x 6 map per contact.
///
/// The local index of the `Object` interface is ignored. The setters of the state act between
/// steps. `setOrientation` turns the shape about the body's origin and leaves the stored centre of
/// mass where it is, and the next step puts the origin back from that centre: with a
/// centre-of-mass offset set the orientation first and the position after it (`Cone` differs).
///
/// Mass properties, sizes, materials and damping may be changed between steps and act from the next
/// one on, as if the body had been made so (docs/randomisation.md).
///
/// State is not tested: a NaN spreads in silence, its geom being disabled meanwhile. So does what a
/// constructor makes of a mass of 0.
class ZELVIK_API SingleBodyObject : public Object {
 public:
  /// A `DYNAMIC` body at the origin without mass and without a geom; shapes fill in both.
  explicit SingleBodyObject(ObjectType type);
  /// Destroys the geom if `destroyCollisionBodies` has not. A class whose geom refers to data of
  /// its own calls `destroyGeoms` in its destructor before it frees them.
  ~SingleBodyObject() override;

  void updateCollision() override;
  void preContactSolverUpdate1(const Mat<3, 1>& gravity, double dt) override;
  void preContactSolverUpdate2(const Mat<3, 1>& gravity, double dt) override;
  void integrate(double dt, const Mat<3, 1>& gravity) override;
  void setExternalForce(size_t localIdx, const Mat<3, 1>& force) override;
  void setExternalTorque(size_t localIdx, const Mat<3, 1>& torque) override;
  void setExternalForce(size_t localIdx, const Mat<3, 1>& pos, const Mat<3, 1>& force) override;
  void setConstraintForce(size_t localIdx, const Mat<3, 1>& pos, const Mat<3, 1>& force) override;
  /// (kg)
  double getMass(size_t localIdx) const override;
  ObjectType getObjectType() const override;
  /// Centre of mass (m, world axes).
  void getPosition(size_t localIdx, Mat<3, 1>& pos) const override;
  /// Velocity of the centre of mass (m/s, world axes).
  void getVelocity(size_t localIdx, Mat<3, 1>& vel) const override;
  /// Rotation body to world.
  void getOrientation(size_t localIdx, Mat<3, 3>& rot) const override;
  void getPosition(size_t localIdx, const Mat<3, 1>& bodyPoint,
                   Mat<3, 1>& worldPoint) const override;
  void getContactPointVel(size_t contactIdx, Mat<3, 1>& vel) const override;
  /// Empties the pending and the displayed lists; forces that have been added still act.
  void clearExternalForcesAndTorques() override;
  void destroyCollisionBodies(dSpaceID space) override;
  void addContactPointVel(size_t contactIdx, Mat<3, 1>& vel) override;
  void subContactPointVel(size_t contactIdx, Mat<3, 1>& vel) override;
  void updateTimeStep(double dt) override;
  void updateTimeStepIfNecessary(double dt) override;
  void updateGenVelWithImpulse(size_t contactIdx, const Mat<3, 1>& impulseChange) override;
  void visitState(StateArchive& archive) override;

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

  ///@{
  /// Position of the body origin (m, world axes). The form of an array is that of braces:
  /// `setPosition({0, 0, 1})`.
  virtual void setPosition(const Eigen::Vector3d& p) { setPosition(p[0], p[1], p[2]); }
  virtual void setPosition(double x, double y, double z);
  virtual void setPosition(const Mat<3, 1>& p);
  void setPosition(const double (&p)[3]) { setPosition(p[0], p[1], p[2]); }
  ///@}
  ///@{
  /// Orientation body to world, normalised. The other quaternion forms store (w, x, y, z) as they
  /// stand: one that is not of unit length scales the rotation matrix until the next step. No form
  /// moves the stored centre of mass, see the class.
  virtual void setOrientation(const Eigen::Quaterniond& q) {
    Vec4 unit{{q.w(), q.x(), q.y(), q.z()}};
    unit *= 1.0 / norm(unit);
    storeOrientation(unit);
  }
  virtual void setOrientation(const Eigen::Vector4d& q) {
    storeOrientation({{q[0], q[1], q[2], q[3]}});
  }
  virtual void setOrientation(double w, double x, double y, double z);
  virtual void setOrientation(const Eigen::Matrix3d& R) {
    Vec4 q;
    rotMatToQuat(readMatrix(R), q);
    storeOrientation(q);
  }
  virtual void setOrientation(const Mat<4, 1>& q);
  void setOrientation(const double (&q)[4]) { setOrientation(q[0], q[1], q[2], q[3]); }
  ///@}
  ///@{
  /// `setOrientation`, then `setPosition`, so that the centre of mass follows and the body stands
  /// where it was put.
  virtual void setPose(const Eigen::Vector3d& p, const Eigen::Quaterniond& q) {
    setOrientation(q);
    setPosition(p);
  }
  virtual void setPose(const Eigen::Vector3d& p, const Eigen::Vector4d& q) {
    setOrientation(q);
    setPosition(p);
  }
  virtual void setPose(const Eigen::Vector3d& p, const Eigen::Matrix3d& R) {
    setOrientation(R);
    setPosition(p);
  }
  ///@}
  ///@{
  /// Velocity of the centre of mass (m/s) and angular velocity (rad/s), both in world axes.
  virtual void setVelocity(const Eigen::Vector3d& linear, const Eigen::Vector3d& angular) {
    setVelocity(linear[0], linear[1], linear[2], angular[0], angular[1], angular[2]);
  }
  virtual void setVelocity(double vx, double vy, double vz, double wx, double wy, double wz);
  ///@}
  /// The geoms of the object: one or none, several for a compound.
  virtual size_t getGeomCount() const { return collisionObject_ != nullptr ? 1 : 0; }
  /// A geom by its place, from 0 to `getGeomCount() - 1`.
  virtual dGeomID getGeom(size_t) const { return collisionObject_; }
  /// Sets the material of the object and of its geoms, for the contacts of the next step.
  virtual void setMaterial(const std::string& material);

  ///@{
  /// Velocity of the centre of mass (m/s) and angular velocity (rad/s), both in world axes.
  void setVelocity(const Mat<3, 1>& linear, const Mat<3, 1>& angular);
  void setVelocity(const double (&linear)[3], const double (&angular)[3]) {
    setVelocity(linear[0], linear[1], linear[2], angular[0], angular[1], angular[2]);
  }
  ///@}
  /// Every type but `DYNAMIC` moves the geoms to collision group 0x80000000; `DYNAMIC` leaves the
  /// group as it is.
  void setBodyType(BodyType type);
  /// Drag force per velocity of the centre of mass (N s/m); none unless above 0. A value that is
  /// negative or not finite is stored after a warning.
  void setLinearDamping(double damping);
  ///@{
  /// Drag torque per angular velocity (N m s/rad, body axes). Acts only if the first value is above
  /// 0, whatever the others are. Values that are negative or not finite are stored after a warning.
  void setAngularDamping(const Mat<3, 1>& damping);
  template <typename Derived, typename = IfVector3<Derived>>
  void setAngularDamping(const Eigen::MatrixBase<Derived>& damping) {
    Vec3 v;
    if (readArgument(damping, "setAngularDamping", v)) setAngularDamping(v);
  }
  ///@}
  /// (N s/m)
  double getLinearDamping() const { return linearDamping_; }
  /// (N m s/rad, body axes)
  const Mat<3, 1>& getAngularDamping() const { return angularDamping_; }
  /// How the gyroscopic torque is integrated.
  void setGyroscopicMode(GyroscopicMode mode) { gyroscopicMode_ = mode; }
  /// See `setGyroscopicMode`.
  GyroscopicMode getGyroscopicMode() const { return gyroscopicMode_; }

  /// The geom; null for a compound, a cone and a shape that was refused.
  dGeomID getCollisionObject() const { return collisionObject_; }
  /// Category bits of the (first) geom; 0 without a geom.
  unsigned long getCollisionGroup() const;
  /// Collide bits of the (first) geom; 0 without a geom.
  unsigned long getCollisionMask() const;
  /// Category bits of all geoms of the body.
  void setCollisionGroup(unsigned long group);
  /// Collide bits of all geoms of the body.
  void setCollisionMask(unsigned long mask);
  /// Name that the material table knows; "" at first.
  const std::string& getMaterial() const { return materialName_; }
  /// Free text for a renderer.
  const std::string& getAppearance() const { return appearance_; }
  /// See `getAppearance`.
  void setAppearance(const std::string& appearance) { appearance_ = appearance; }

  /// Mass alone (kg): the inertia and the velocity do not change; `scaleMass` changes the inertia
  /// with it. Fatal and not stored unless finite and above 0: "SingleBodyObject::setMass: the mass
  /// must be finite and above 0, but is *mass*".
  void setMass(double mass);
  /// Multiplies mass and inertia, as another density does. Fatal and nothing is stored unless
  /// factor and new mass are finite and above 0: "SingleBodyObject::scaleMass: the factor and the
  /// mass must be finite and above 0, but are *factor* and *mass*".
  void scaleMass(double factor);
  ///@{
  /// Inertia about the centre of mass (kg m^2, body axes), positive definite; another matrix gives
  /// NaN, after a warning.
  void setInertia(const Eigen::Matrix3d& inertia) { setInertia(readMatrix(inertia)); }
  void setInertia(const Mat<3, 3>& inertia);
  ///@}
  /// Turns inertia and inverse into world axes; only for `DYNAMIC`.
  void updateWorldInertia();
  /// Rotation, world inertia and geom from the stored quaternion.
  void updateOrientation();

  const Mat<3, 1>& getBodyPosition() const { return bodyPos_; }     ///< origin (m, world axes)
  const Mat<3, 1>& getComPosition() const { return comPos_; }       ///< (m, world axes)
  const Mat<4, 1>& getQuaternion() const { return quaternion_; }    ///< (w, x, y, z)
  const Mat<3, 3>& getRotationMatrix() const { return rot_; }       ///< body to world
  const Mat<3, 1>& getLinearVelocity() const { return linVel_; }    ///< of the com (m/s, world)
  const Mat<3, 1>& getAngularVelocity() const { return angVel_; }   ///< (rad/s, world axes)
  const Mat<3, 3>& getBodyInertia() const { return bodyInertia_; }  ///< (kg m^2, body axes)
  /// (kg m^2, world axes), computed by `updateWorldInertia`.
  const Mat<3, 3>& getWorldInertia() const { return worldInertia_; }
  const Mat<3, 1>& getComOffset() const { return comOffset_; }  ///< (m, body frame)
  ///@{
  /// Moves the centre of mass inside the body (m, body frame). The origin stays, and so do inertia
  /// and velocity, which are from then on those of the new centre. Fatal and not stored unless
  /// finite: "SingleBodyObject::setComOffset: the offset must be finite, but is *offset*".
  void setComOffset(const Mat<3, 1>& offset);
  template <typename Derived, typename = IfVector3<Derived>>
  void setComOffset(const Eigen::MatrixBase<Derived>& offset) {
    Vec3 v;
    if (readArgument(offset, "setComOffset", v)) setComOffset(v);
  }
  ///@}

  /// For the solver: see `BodyContacts`.
  BodyContacts viewContacts() { return {contactJacobian_, mapInertiaInv_, mapMassInv_, genVel_}; }
  /// For the solver: six velocities per unit impulse along each axis of each contact; made when
  /// first asked for in a step.
  const std::vector<Mat<6, 3>>& getImpulseMaps() {
    makeImpulseMaps();
    return contactImpulseMap_;
  }

  Mat<3, 1> getLinearMomentum() const { return mass_ * linVel_; }  ///< (N s, world axes)
  double getKineticEnergy() const;                                 ///< (J)
  /// -m g . x of the centre of mass (J); `gravity` (m/s^2, world axes).
  double getPotentialEnergy(const Mat<3, 1>& gravity) const;
  double getEnergy(const Mat<3, 1>& gravity) const;  ///< potential and kinetic (J)

 protected:
  /// For `copy`: without the geom, which `copyGeom` makes.
  SingleBodyObject(const SingleBodyObject&) = default;
  /// Takes a copy of the geom of another body of this kind, if it has one: a sphere, box, capsule,
  /// cylinder or plane.
  void copyGeom(const SingleBodyObject& other);
  /// Sets `mass_` (kg), both inertias (kg m^2, about the centre of mass) and all inverses. The
  /// rotation is taken as the identity.
  void setMassProperties(double mass, const Mat<3, 3>& inertia);
  /// Takes a new geom as `collisionObject_` and gives it its record.
  void adoptGeom(dGeomID geom);
  /// Destroys `collisionObject_`, which becomes null. A class with several geoms destroys its own.
  void destroyGeoms();
  /// Whether ODE takes the number as a length: finite and not negative.
  static bool isUsableSize(double size) { return isUsableShapeSize(size); }
  /// The same, and the shape has a volume.
  static bool isUsableNewSize(double size) { return size > 0.0 && isUsableShapeSize(size); }
  /// Ends a change of size: takes the inertia that follows from it and lets observers know.
  void finishResize(const Mat<3, 3>& inertia);
  /// The same values as a `Mat`.
  static Mat33 readMatrix(const Eigen::Matrix3d& A) {
    Mat33 out;
    for (int j = 0; j < 3; ++j)
      for (int i = 0; i < 3; ++i) out(i, j) = A(i, j);
    return out;
  }
  /// Takes a quaternion (w, x, y, z) and updates what follows from it.
  void storeOrientation(const Mat<4, 1>& q);

  NotCopied<dGeomID> collisionObject_;  ///< owned
  ObjectType objectType_;               ///< given at construction

  // Pose: state, but for the offset.
  Mat<4, 1> quaternion_{{1.0, 0.0, 0.0, 0.0}};  ///< (w, x, y, z), body to world
  Mat<3, 3> rot_ = Mat<3, 3>::identity();       ///< body to world
  Mat<3, 1> bodyPos_{};                         ///< body origin (m, world axes)
  Mat<3, 1> comPos_{};                          ///< centre of mass (m, world axes)
  Mat<3, 1> comOffset_{};                       ///< centre of mass (m, body frame)

  // Velocity (world axes): state, but for what a step writes before it reads it.
  Mat<3, 1> linVel_{};     ///< of the centre of mass (m/s)
  Mat<3, 1> linVelOld_{};  ///< `linVel_` at the start of `preContactSolverUpdate2`
  Mat<3, 1> angVel_{};     ///< (rad/s)
  Mat<6, 1> genVel_{};     ///< linear, angular; changed by the solver in the mode without blocks

  // Inertia about the centre of mass (kg m^2) and inverses.
  Mat<3, 3> bodyInertia_{};                                   ///< in body axes
  Mat<3, 3> worldInertia_{};                                  ///< in world axes
  Mat<3, 3> bodyInertiaInv_{};                                ///< in body axes
  Mat<3, 3> worldInertiaInv_{};                               ///< in world axes
  GyroscopicMode gyroscopicMode_ = IMPLICIT_GYROSCOPIC_BODY;  ///< see `setGyroscopicMode`

  Mat<3, 1> linVelFree_{};      ///< after a step without contacts (m/s)
  Mat<3, 1> angVelFree_{};      ///< after a step without contacts (rad/s)
  Mat<3, 1> force_{};           ///< of this step (N): state
  Mat<3, 1> torque_{};          ///< of this step, about the centre of mass (N m): state
  double mass_ = 0.0;           ///< (kg)
  double invMass_ = 0.0;        ///< (1/kg)
  double linearDamping_ = 0.0;  ///< (N s/m)
  Mat<3, 1> angularDamping_{};  ///< (N m s/rad, body axes)
  double mapMassInv_ = 0.0;     ///< of which the maps are made (1/kg)
  Mat<3, 3> mapInertiaInv_{};   ///< of which the maps are made (world axes)
  /// Per contact: six velocities per unit impulse along each contact axis, by `makeImpulseMaps`.
  std::vector<Mat<6, 3>> contactImpulseMap_;
  /// Per contact: contact-frame velocity from the six velocities.
  std::vector<Mat<3, 6>> contactJacobian_;
  bool constraintForceApplied_ = false;  ///< by a wire, in this step: state
  // Kept up to date, read by nothing.
  std::vector<Mat<3, 1>> contactArm_;  ///< centre of mass minus contact point (m, world axes)

  std::string materialName_;  ///< see `setMaterial`
  std::string appearance_;    ///< see `setAppearance`

 private:
  void computeFreeVelocities(const Mat<3, 1>& gravity, double dt);
  void computeFreeAngularVelocity(double dt);
  void applyDamping(double dt);
  double dragShare(double dt) const;
  Vec3 angularDragLoss(double dt) const;
  // The books of a step, see `Ledger`: before it, between solve and motion, after it.
  friend class StepLedger;
  void takeBalance(const Mat<3, 1>& gravity, LedgerBalance& balance) const;
  void openAccount(const Mat<3, 1>& gravity, LedgerDraft& draft) const;
  void bookForces(double dt, LedgerDraft& draft) const;
  void closeAccount(const Mat<3, 1>& gravity, double dt, LedgerDraft& draft) const;
  void resizeBlockRows(size_t count);
  void takeSpareMemory(DelassusRow& row);
  void computeImpactVelocities();
  void computeCouplingBlocks();
  void computeTauStar();
  void computeContactMaps();
  void makeImpulseMaps();
  bool areContactMapsStale() const;
  void startFromFreeVelocity();
  void applyContactImpulses();
  Vec3 addForceAtPoint(const Mat<3, 1>& pos, const Mat<3, 1>& force);
  void integratePosition(double dt);
  void integrateOrientation(double dt);

  bool areImpulseMapsMade_ = false;  ///< for the present `contactJacobian_`
  /// Block lists that the present number of contacts does not need, kept for their capacity.
  std::vector<DelassusRow> spareBlockRows_;
};

}  // namespace zelvik
