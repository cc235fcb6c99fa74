// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <span>
#include <zelvik/contact/BisectionContactSolver.hpp>
#include <zelvik/contact/Contact.hpp>
#include <zelvik/contact/Single3DContactProblem.hpp>

#include "collision/ContactPair.hpp"
#include "core/ColumnLanes.hpp"
#include "core/Lanes.hpp"
#include "solver/ContactBatch.hpp"
#include "solver/SweepOrder.hpp"

// The sweeps of a world's problems, over arrays of their own.
//
// A record is made for its reader: it is large and couples to others through lists of pointers and
// through objects. A sweep wants little data in one piece, so the problems of a step are written
// out as batches and rows:
//
//   caller's step -> build (batches, rows, prepared fields of records) -> sweep, sweep, ...
//   -> finish (impulses of records, velocities of objects)
//
// A batch holds up to four contacts with friction of rigid bodies only (`ContactBatch`), where
// `SweepOrder` finds them; a row is one problem of any kind. Consecutive batches or rows that may
// be visited in one go make up a run. A row knows the velocity of its contact from the velocities
// of up to two sides. What a side is:
//
//   body   a rigid body: three linear and three angular velocities, which the impulses of all of
//          its contacts change
//   point  a contact or joint limit of a robot with at most `kMaxPoints` of them: the velocities of
//          all points of the robot are at hand, and an impulse at one changes all of them by blocks
//          that are computed once per step
//   query  an object that is asked by its virtual functions: a robot with many contacts
//
// A visit of a contact reads its velocity, minus the target, with all impulses applied,
//
//   v = free + sum over sides (+ A, - B) of the velocity of the point,
//
// lets the law say what the impulse p changes by (contact/ContactLaw.hpp), and hands the change dp
// on: u += M^-1 J^T dp for a body, v_j += J_j M^-1 J_i^T dp for all points j of a robot.
//
// Batches and rows hold the same numbers as the records in another order: the impulses are those of
// `BisectionContactSolver::solve` up to rounding.

namespace zelvik {

class ArticulatedSystem;
class Object;
struct RobotContacts;
class SingleBodyObject;

namespace contact {

inline Lanes operator*(const Columns33& A, const Lanes& x) {
  return A.c[0] * spreadLane<0>(x) + (A.c[1] * spreadLane<1>(x) + A.c[2] * spreadLane<2>(x));
}

/// (x, y, z, 0)
inline Lanes toLanes(const Vec3& a) {
  return Lanes{a[0], a[1], a[2], 0.0};
}

inline Vec3 toVec3(const Lanes& a) {
  return {{a[0], a[1], a[2]}};
}

/// A row's view of a rigid body; the fourth lanes are zero. On the B side all matrices are negated.
struct BodySide {
  BodyVelocity* velocity = nullptr;
  Columns33 frame;  ///< world to contact frame
  Columns33 lever;  ///< contact-frame velocity from `BodyVelocity::angular`
  Columns33 push;   ///< linear velocity per unit impulse
  Columns33 spin;   ///< `BodyVelocity::angular` per unit impulse
};

/// A row's view of a robot's point.
struct PointSide {
  Lanes* velocity = nullptr;      ///< of the point itself, among those of the robot (contact frame)
  Lanes* applied = nullptr;       ///< sum of the impulses at the point
  Lanes* velocities = nullptr;    ///< of all points of the robot
  const Lanes* blocks = nullptr;  ///< three columns for each of them
  size_t count = 0;
};

enum class SideKind : unsigned char { NONE, BODY, POINT, QUERY };
enum class RowKind : unsigned char { IDLE, LIMIT, CONTACT };
/// Pairs of sides that have a path of their own.
enum class Coupling : unsigned char { ONE_BODY, TWO_BODIES, ONE_POINT, OTHER };

/// One problem of the sweeps. All values are in the contact frame.
struct ContactRow {
  Lanes free;       ///< velocity without what the sides hold, minus the target (m/s)
  Lanes impulse;    ///< (N s)
  Lanes normal;     ///< third column of D (1/kg)
  Columns33 stick;  ///< -D^-1 for rank 3 (kg)
  double target;    ///< of the normal velocity (m/s)
  double opening;   ///< normal velocity above which the contact opens (m/s)
  double cone;      ///< factor on the square of the normal impulse for a contact that sticks
  Single3DContactProblem* problem;
  RowKind kind;
  Coupling coupling;
  bool isOrdinary;  ///< rank 3 with friction
  bool isBound;     ///< takes the minimum over the cone, see `restartWhereEnergyIsMade`
  SideKind sideKinds[2];
  double sign;  ///< of the only side
  PointSide points[2];
  Object* objects[2];
  size_t contactIdx[2];
  BodySide bodies[2];
};

/// Batches, rows, velocities and blocks; the memory is kept between steps.
class ContactSweep {
 public:
  /// Points of a robot above which blocks between all of them cost more than they save.
  static constexpr size_t kMaxPoints = 32;

  /// A pair for each problem but joint limits, by the contacts of the objects: for callers who have
  /// no record of who touches whom. Valid until the next call.
  const std::vector<ContactPair>& findContactPairs(const ContactProblemList& problems,
                                                   const std::vector<Object*>& objects);
  /// Prepares assembled problems and writes them out.
  /// @param pairs who touches whom, in the order of the problems; joint limits come after them
  /// @param objects those of the world in list order
  void build(ContactProblemList& problems, const std::vector<ContactPair>& pairs,
             const std::vector<Object*>& objects, const ContactPreparation& preparation);
  /// Hands the impulses that the records already hold to the sides; those that no side takes become
  /// zero.
  void handOnInitialImpulses();
  /// One visit of all problems, from the first to the last or backwards.
  /// @return the error of the sweep (m^2/s^2)
  double sweep(bool forward, double relaxation);
  /// Looks for robots whose contacts with themselves made more energy than the correction of their
  /// overlaps may cost, and lets them start again from zero impulses, without that correction,
  /// under a law that makes none.
  /// @return whether there is such a robot: the sweeps then have to be repeated
  bool restartWhereEnergyIsMade();
  /// Writes impulses back to the records, and velocities to the objects that hold them.
  void finish();
  /// See `BisectionContactSolver::Immovable`.
  const BisectionContactSolver::Immovable& immovable() const { return immovable_; }

 private:
  /// Who takes part in a problem: dynamic objects by place in the world and by contact.
  struct Sides {
    std::uint32_t object[2] = {ContactPair::kNobody, ContactPair::kNobody};
    std::uint32_t contact[2] = {0, 0};
  };
  /// A point of a robot: its Jacobian, and M^-1 J^T in three rows of values per velocity.
  struct Point {
    const double* columns;  ///< three values each
    const size_t* velocityIdx;
    size_t size;
    const double* responses[3];
    size_t limitIdx[3];  ///< velocities of a limit
    size_t row;
    size_t side;  ///< 0 for A, 1 for B
  };
  struct Robot {
    double* velocity;  ///< during the solve
    size_t dof;
    size_t first, count;  ///< in the list of points
    size_t firstBlock;    ///< in `blocks_`
    double budget;        ///< energy that the correction of overlaps may cost (J); 0: not watched
  };
  struct Body {
    const Contact* contacts = nullptr;  ///< of any dynamic object
    size_t contactCount = 0;
    SingleBodyObject* body = nullptr;      ///< null for what is no rigid body
    const Mat<3, 6>* jacobians = nullptr;  ///< per contact, see `BodyContacts`
    Mat<6, 1>* velocity = nullptr;
    BodyMass mass;
  };
  /// How an object takes part in batches; two of them add up.
  enum Part : std::uint8_t { NO_PART = 0, BODY_PART = 1, OTHER_PART = 4 };
  /// All batches of a kind, by place among the stops of the kind.
  template <int sides>
  struct Batches {
    AlignedVector<ContactBatch<sides>> batches;
    std::vector<BatchMembers<sides>> members;
    /// The first batch of a run has the bodies of all.
    std::vector<BatchBodies<sides>> bodies;

    void clear();
    void append(const SweepOrder::Stop& stop, Single3DContactProblem& problem, const Sides& who,
                const std::vector<Body>& owners);
    void fill(const BodyVelocity* velocities, const ContactPreparation& preparation);
  };
  /// Consecutive stops of a kind that are visited in one go.
  struct Run {
    SweepOrder::Kind kind;
    std::uint32_t first, count;  ///< among the stops of the kind
  };

  std::span<ContactRow> rows() { return {rows_.data(), rowCount_}; }
  Sides sidesOf(const ContactPair& pair) const;
  void startBodies(const std::vector<Object*>& objects);
  size_t placeAll(ContactProblemList& problems, const std::vector<ContactPair>& pairs,
                  const ContactPreparation& preparation);
  void startBody(SingleBodyObject& body);
  double normalVelocity(const Single3DContactProblem& problem, const Sides& sides) const;
  SweepOrder::Kind kindOf(const Single3DContactProblem& problem, const Sides& sides) const;
  void place(Single3DContactProblem& problem, size_t index, const Sides& sides,
             const ContactPreparation& preparation);
  void listRuns();
  bool joinsRun(const Run& run, const SweepOrder::Stop& stop);
  template <int sides>
  ContactRun<sides> runOf(Batches<sides>& all, const Run& run);
  void writeRow(Single3DContactProblem& problem, ContactRow& row);
  void noteImmovable(const Single3DContactProblem& problem, const Sides& sides);
  void attachBody(const Sides& who, size_t side, ContactRow& row);
  void attachRobot(ArticulatedSystem& system, const ContactProblemList& problems, size_t& limit);
  void appendContactPoint(const RobotContacts& robot, const Contact& contact, size_t contactIdx);
  void appendLimitPoint(const RobotContacts& robot, const Single3DContactProblem& p, size_t row);
  void attachQuery(Object& object, size_t contactIdx);
  void connectPoints();
  void computePoints(const Robot& robot);
  void chooseCouplings();
  double budgetOf(size_t firstPoint) const;
  bool makesEnergy(const Robot& robot) const;
  void restart(const Robot& robot);
  void finishRobot(const Robot& robot);

  Lanes velocity(const ContactRow& row) const;
  void handOn(const ContactRow& row, const Lanes& change);
  double visitRun(const Run& run, bool forward, double relaxation);
  double visitRows(const Run& run, bool forward, double relaxation);
  double visitRow(ContactRow& row, double relaxation);
  double visitContact(ContactRow& row, double relaxation);
  void changeImpulse(ContactRow& row, const Lanes& change);
  void takeBack(ContactRow& row);
  double visitLimit(ContactRow& row);

  double erp_ = 0.0;  ///< (1/s)
  SweepOrder order_;
  std::vector<Run> runs_;
  Batches<1> oneBody_;
  Batches<2> twoBodies_;
  AlignedVector<ContactRow> rows_;              ///< in the order of their stops
  size_t rowCount_ = 0;                         ///< of those in use
  std::vector<std::uint32_t> rowOf_;            ///< by problem
  std::vector<ContactPair> foundPairs_;         ///< see `findContactPairs`
  std::vector<Body> bodies_;                    ///< by place in the world
  std::vector<Part> parts_;                     ///< by place in the world
  AlignedVector<BodyVelocity> bodyVelocities_;  ///< by slot, the body's place + `kFirstBodySlot`
  std::vector<Robot> robots_;
  std::vector<Point> points_;
  AlignedVector<Lanes> pointVelocities_, pointImpulses_, blocks_;
  BisectionContactSolver::Immovable immovable_;  ///< of the problems that are built
  std::vector<double> zeros_;                    ///< responses of a point that has fewer than three
};

}  // namespace contact
}  // namespace zelvik
