// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ode/ode.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>
#include <zelvik/EigenArguments.hpp>
#include <zelvik/SparseJacobian.hpp>
#include <zelvik/contact/Contact.hpp>
#include <zelvik/export.hpp>
#include <zelvik/math.hpp>
#include <zelvik/object/BodyType.hpp>

namespace zelvik {

class StateArchive;

enum ObjectType {
  SPHERE = 0,
  BOX = 1,
  CYLINDER = 2,
  CONE = 3,
  CAPSULE = 4,
  MESH = 5,
  GROUND = 6,
  COMPOUND = 7,
  HEIGHTMAP = 8,
  ARTICULATED_SYSTEM = 9,
  UNRECOGNIZED = 10,
  HULL = 11  ///< `ConvexHull`
};

/// Name of a type as world files spell it ("sphere", ..., "articulatedSystem", "unrecognized");
/// empty for a value outside of the enumeration.
ZELVIK_API std::string objectTypeToString(ObjectType type);
/// The inverse, case-sensitive; `UNRECOGNIZED` for anything else.
ZELVIK_API ObjectType stringToObjectType(const std::string& name);

/// One row of Delassus blocks of an object. A single block, as contacts without couplings have,
/// lies in the row itself.
class DelassusRow {
 public:
  /// Number of blocks.
  size_t size() const { return size_; }
  /// Afterwards the blocks hold anything if their number has changed.
  void resize(size_t count) {
    size_ = count;
    if (count > 1 && many_.size() < count) many_.resize(count);
  }
  ///@{
  /// Block j; not checked.
  Mat<3, 3>& operator[](size_t j) { return size_ == 1 ? single_ : many_[j]; }
  const Mat<3, 3>& operator[](size_t j) const { return size_ == 1 ? single_ : many_[j]; }
  ///@}
  /// Whether there is memory for more than one block.
  bool hasMany() const { return !many_.empty(); }

 private:
  size_t size_ = 0;
  Mat<3, 3> single_{};
  AlignedVector<Mat<3, 3>> many_;
};

/// What an object gives the solver for one of its contacts, in that contact's frame.
struct DelassusAndTauStar {
  /// While the object's `fullDelassus_` is true, entry j is the change of this contact's velocity
  /// per unit impulse at contact j of the object (1/kg); otherwise only the own block, at 0. A
  /// vector that holds a single block in itself: most objects have no more, and a block of its own
  /// on the heap would cost a miss per contact.
  DelassusRow blocks;
  /// Velocity of the contact point without contact impulses (m/s).
  Mat<3, 1> tauStar{};
};

/// The contacts of one object in one step.
struct PerObjectContact {
  AlignedVector<DelassusAndTauStar> delassusAndTauStar_;  ///< in the order of `contacts_`
  std::vector<contact::Contact> contacts_;                ///< of the present step
};

/// Base of everything that a `World` holds and steps. Operations with a local index take the body
/// index inside the object (0 for single bodies); a contact index is a place in the object's
/// contact list. Positions and velocities are in world axes unless said otherwise (m, m/s, rad/s,
/// N, N m).
class ZELVIK_API Object {
 public:
  Object();
  Object& operator=(const Object&) = delete;
  virtual ~Object() = default;

  /// Writes the poses into the geoms.
  virtual void updateCollision() = 0;
  /// First phase, after collision detection: what depends on the pose and on no other object.
  virtual void preContactSolverUpdate1(const Mat<3, 1>& gravity, double dt) = 0;
  /// Second phase: takes forces in; free velocities, impact velocities, Delassus blocks.
  virtual void preContactSolverUpdate2(const Mat<3, 1>& gravity, double dt) = 0;
  /// Advances the state with the impulses of the solver. Note the order of the arguments.
  virtual void integrate(double dt, const Mat<3, 1>& gravity) = 0;
  /// Adds a force at the centre of mass for the next step.
  virtual void setExternalForce(size_t localIdx, const Mat<3, 1>& force) = 0;
  /// Adds a torque (N m, world axes) for the next step.
  virtual void setExternalTorque(size_t localIdx, const Mat<3, 1>& torque) = 0;
  /// Adds a force (world axes) at a point given in the body frame.
  virtual void setExternalForce(size_t localIdx, const Mat<3, 1>& pos, const Mat<3, 1>& force) = 0;
  /// The same from a wire; not recorded for display.
  virtual void setConstraintForce(size_t localIdx, const Mat<3, 1>& pos,
                                  const Mat<3, 1>& force) = 0;
  /// Mass of a body (kg).
  virtual double getMass(size_t localIdx) const = 0;
  /// What kind of object this is.
  virtual ObjectType getObjectType() const = 0;
  /// Centre of mass of a single body, frame origin of a body of an articulated system (m, world
  /// axes).
  virtual void getPosition(size_t localIdx, Mat<3, 1>& pos) const = 0;
  /// Velocity of the same point (m/s, world axes).
  virtual void getVelocity(size_t localIdx, Mat<3, 1>& vel) const = 0;
  /// Rotation that maps the body's axes to the world's.
  virtual void getOrientation(size_t localIdx, Mat<3, 3>& rot) const = 0;
  /// World position of a point given in the body frame.
  virtual void getPosition(size_t localIdx, const Mat<3, 1>& bodyPoint,
                           Mat<3, 1>& worldPoint) const = 0;
  ///@{
  /// How a body, or the object as a whole, takes part in a step.
  virtual BodyType getBodyType(size_t localIdx) const;
  virtual BodyType getBodyType() const;
  ///@}
  /// Present velocity of a contact point during the solve (contact frame).
  virtual void getContactPointVel(size_t contactIdx, Mat<3, 1>& vel) const = 0;
  /// Empties the lists of external forces and torques.
  virtual void clearExternalForcesAndTorques() = 0;
  /// Removes and frees the geoms.
  virtual void destroyCollisionBodies(dSpaceID space) = 0;
  /// Adds to `vel` what this object's velocity contributes (contact frame).
  virtual void addContactPointVel(size_t contactIdx, Mat<3, 1>& vel) = 0;
  /// The same with a minus sign.
  virtual void subContactPointVel(size_t contactIdx, Mat<3, 1>& vel) = 0;
  /// Prepares what depends on the time step (s).
  virtual void updateTimeStep(double dt) = 0;
  /// The same where it is out of date.
  virtual void updateTimeStepIfNecessary(double dt) = 0;
  /// Applies a change of impulse (contact frame) to the object's velocity.
  virtual void updateGenVelWithImpulse(size_t contactIdx, const Mat<3, 1>& impulseChange) = 0;
  /// Appends a problem per violated joint limit.
  virtual void appendJointLimits(contact::ContactProblemList& problems);
  /// Drops the contacts and what was computed for them, as in an object that has met nothing yet.
  virtual void forgetContacts();
  /// Solves one joint limit in place; returns the residual velocity.
  virtual double enforceJointLimits(contact::Single3DContactProblem& problem);
  /// Called by `World::saveState` and `World::restoreState`: hands all members to the archive that
  /// the next step depends on. A class that carries anything from step to step overrides it and
  /// begins with that of its base.
  virtual void visitState(StateArchive& archive);
  /// Called by `World::clone`: a copy with geoms of its own that are in no space. Null for a class
  /// that has no copies.
  virtual std::unique_ptr<Object> copy() const { return nullptr; }

  // The same for Eigen types. Those that give something are templates, so that braces mean a `Mat`.
  // Those that fill something fill zeros for an index that is refused.

  ///@{
  /// See the forms above.
  template <typename Derived, typename = IfVector3<Derived>>
  void setExternalForce(size_t localIdx, const Eigen::MatrixBase<Derived>& force) {
    Vec3 f;
    if (readArgument(force, "setExternalForce", f)) setExternalForce(localIdx, f);
  }
  template <typename Point, typename Force, typename = IfVector3<Point>,
            typename = IfVector3<Force>>
  void setExternalForce(size_t localIdx, const Eigen::MatrixBase<Point>& pos,
                        const Eigen::MatrixBase<Force>& force) {
    Vec3 p, f;
    if (readArgument(pos, "setExternalForce", p) && readArgument(force, "setExternalForce", f))
      setExternalForce(localIdx, p, f);
  }
  template <typename Derived, typename = IfVector3<Derived>>
  void setExternalTorque(size_t localIdx, const Eigen::MatrixBase<Derived>& torque) {
    Vec3 t;
    if (readArgument(torque, "setExternalTorque", t)) setExternalTorque(localIdx, t);
  }
  void getPosition(size_t localIdx, Eigen::Vector3d& pos) const {
    Vec3 p{};
    getPosition(localIdx, p);
    pos = p;
  }
  void getVelocity(size_t localIdx, Eigen::Vector3d& vel) const {
    Vec3 v{};
    getVelocity(localIdx, v);
    vel = v;
  }
  void getOrientation(size_t localIdx, Eigen::Matrix3d& rot) const {
    Mat33 R{};
    getOrientation(localIdx, R);
    rot = R;
  }
  template <typename Derived, typename = IfVector3<Derived>>
  void getPosition(size_t localIdx, const Eigen::MatrixBase<Derived>& bodyPoint,
                   Eigen::Vector3d& worldPoint) const {
    Vec3 b, p{};
    if (readArgument(bodyPoint, "getPosition", b)) getPosition(localIdx, b, p);
    worldPoint = p;
  }
  ///@}

  /// Contacts with their blocks.
  PerObjectContact& getPerObjectContact() { return perObjectContact_; }
  /// Per contact: what this object gives the solver.
  AlignedVector<DelassusAndTauStar>& getDelassusAndTauStar() {
    return perObjectContact_.delassusAndTauStar_;
  }
  ///@{
  /// Contacts of the present step, from `World::integrate1` on.
  std::vector<contact::Contact>& getContacts() { return perObjectContact_.contacts_; }
  const std::vector<contact::Contact>& getContacts() const { return perObjectContact_.contacts_; }
  ///@}
  /// Normal velocity before the solve of a contact's point on this object (m/s).
  double& getImpactVel(size_t contactIdx) {
    return perObjectContact_.contacts_[contactIdx].impactVel_;
  }
  /// Appends a record; called by the world.
  void addContactToPerObjectContact(contact::Contact& contact) {
    perObjectContact_.contacts_.push_back(contact);
  }
  /// Drops the contacts; called by the world.
  void clearPerObjectContact() {
    perObjectContact_.contacts_.clear();
    hasForgottenContacts_ = false;
  }
  /// Whether `forgetContacts` was called since the world has last dropped the contacts.
  bool hasForgottenContacts() const { return hasForgottenContacts_; }
  /// Called by the world.
  void setIndexInWorld(size_t index) { indexInWorld_ = index; }
  /// Place in `World::getObjList`; changes when an earlier object is removed.
  size_t getIndexInWorld() const { return indexInWorld_; }
  /// Called by the world.
  void setIdInWorld(size_t id) { idInWorld_ = id; }
  /// Called by the world: `told` notes for all of its objects that a force was not finite, so that
  /// a world tells of it once. It must outlive the object.
  void shareForceWarning(bool* told) { toldOfForce_ = told; }
  /// Differs for all objects that the world ever held, also for one at a freed object's address.
  size_t getIdInWorld() const { return idInWorld_; }
  /// Grows when the size or the place of a shape changes, so that an observer sees it.
  size_t getShapeChangeCount() const { return shapeChangeCount_; }
  /// Whether coupling goes through stored blocks (true) or through queries of the velocity.
  bool usesFullDelassus() const { return fullDelassus_; }

  /// Name for `World::getObject`; need not be unique.
  void setName(const std::string& name) { name_ = name; }
  /// The name; empty at first.
  const std::string& getName() const { return name_; }

  // External forces of the last step that had any, for display (world axes).
  /// (N)
  const std::vector<Mat<3, 1>>& getVisForces() const { return visForces_; }
  /// Where they act (m).
  const std::vector<Mat<3, 1>>& getVisForcePositions() const { return visForcePositions_; }
  /// (N m)
  const std::vector<Mat<3, 1>>& getVisTorques() const { return visTorques_; }
  /// Where they are to be drawn (m).
  const std::vector<Mat<3, 1>>& getVisTorquePositions() const { return visTorquePositions_; }
  /// Whether these lists, if not empty, are those of the last step itself.
  bool areVisForcesCurrent() const { return visForcesCurrent_; }

 protected:
  /// For `copy`.
  Object(const Object&) = default;
  /// Warns if one of `count` values that are handed to `call` is not finite, once per world.
  void checkForce(const char* call, const double* values, size_t count);
  /// Notes a pending force or torque.
  void appendExternal(bool isForce, const Mat<3, 1>& vector, const Mat<3, 1>& position);
  /// Empties the display lists.
  void clearVisForces();
  /// Empties the pending lists.
  void clearPendingForces();
  /// Appends the pending entries to the display lists by their flag.
  void copyPendingForcesToVis();

  /// The part of `visitState` for the pending lists. @return their length, as it is read or written
  size_t visitPendingForces(StateArchive& archive);

  PerObjectContact perObjectContact_;  ///< of the present step
  bool hasForgottenContacts_ = false;  ///< see `hasForgottenContacts`
  size_t numContacts_ = 0;             ///< computed by `ArticulatedSystem::preContactSolverUpdate1`
  size_t indexInWorld_ = 0;            ///< set by the world
  size_t idInWorld_ = 0;               ///< set by the world
  size_t shapeChangeCount_ = 0;        ///< see `getShapeChangeCount`
  BodyType bodyType_ = BodyType::DYNAMIC;  ///< of the object as a whole
  bool fullDelassus_ = true;               ///< see `usesFullDelassus`
  std::string name_;                       ///< see `setName`
  bool toldOfOwnForce_ = false;            ///< of an object without a world
  bool* toldOfForce_ = &toldOfOwnForce_;   ///< see `shareForceWarning`

  // Pending external forces, three parallel lists: state.
  std::vector<bool> externalForceFlags_;           ///< true for a force, false for a torque
  std::vector<Mat<3, 1>> externalForceVectors_;    ///< (N or N m, world axes)
  std::vector<Mat<3, 1>> externalForcePositions_;  ///< (m, world axes)

  // For display (world axes).
  std::vector<Mat<3, 1>> visForces_;           ///< (N)
  std::vector<Mat<3, 1>> visForcePositions_;   ///< (m)
  std::vector<Mat<3, 1>> visTorques_;          ///< (N m)
  std::vector<Mat<3, 1>> visTorquePositions_;  ///< (m)
  bool visForcesCurrent_ = true;  ///< single bodies keep their lists, robots clear them

  // Wire forces of the step; used by `ArticulatedSystem` only: state, if set between steps.
  std::vector<SparseJacobian> constraintJacobians_;  ///< one per force of a wire
  std::vector<Mat<3, 1>> constraintForces_;          ///< (N, world axes)
};

}  // namespace zelvik
