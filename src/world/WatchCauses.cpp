// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cmath>
#include <sstream>

#include "world/ContactRecords.hpp"
#include "world/StepWatch.hpp"

// What may be behind a finding: each rule looks at the world as the bad step has left it, and says
// a sentence if it applies. Rules of certain faults come before those of likely ones.

namespace zelvik {

namespace {

constexpr double kSenselessAcceleration = 1e5;  ///< (m/s^2): ten thousand times gravity
constexpr double kSenselessJointForce = 1e6;    ///< (N or N m)
constexpr double kLargeMassRatio = 1e4;         ///< of two bodies that touch
constexpr double kDeepOverlap = 0.005;          ///< (m)
constexpr size_t kFirstSteps = 10;

/// The finding, and where the sentences go.
struct Case {
  World& world;
  const WatchReport& report;
  Object* object;  ///< null for a finding of the solver
  ArticulatedSystem* robot;
  std::vector<std::string>& causes;

  template <typename... Parts>
  void say(const Parts&... parts) const {
    std::ostringstream out;
    (out << ... << parts);
    causes.push_back(out.str());
  }
};

bool isFinite(const VecDyn& list) {
  return std::all_of(list.v, list.v + list.n, [](double x) { return std::isfinite(x); });
}

double massOf(const Object& object) {
  return object.getObjectType() == ARTICULATED_SYSTEM
             ? static_cast<const ArticulatedSystem&>(object).getCompositeMass()[0]
             : object.getMass(0);
}

void judgeParameters(const Case& c) {
  const double dt = c.world.getTimeStep();
  if (!(dt > 0.0 && std::isfinite(dt))) c.say("the time step is ", dt, " s");
  const Vec3& g = c.world.getGravity();
  if (!std::isfinite(norm(g))) c.say("gravity is not finite");
  if (std::isfinite(dt) && dt > 0.02)
    c.say("the time step of ", dt, " s is long: 1 to 5 ms suit robots");
}

/// Numbers that callers gave.
void judgeInputs(const Case& c) {
  for (const std::vector<Vec3>* list : {&c.object->getVisForces(), &c.object->getVisTorques()})
    for (const Vec3& force : *list) {
      const double size = norm(force);
      if (!std::isfinite(size))
        c.say("an external force or torque is not finite");
      else if (size > kSenselessAcceleration * massOf(*c.object))
        c.say("force beyond sense: an external one of ", size, " N or N m on ", massOf(*c.object),
              " kg");
    }
  if (c.robot == nullptr) return;
  const ArticulatedSystem& robot = *c.robot;
  const bool isGood = isFinite(robot.getFeedForwardForce()) && isFinite(robot.getPTarget()) &&
                      isFinite(robot.getDTarget()) && isFinite(robot.getPGain()) &&
                      isFinite(robot.getDGain());
  if (!isGood) c.say("a joint force, target or gain that was given is not finite");
  const VecDyn& forces = robot.getGeneralizedForce();
  for (size_t k = 0; k < forces.n; ++k)
    if (std::fabs(forces[k]) > kSenselessJointForce) {
      c.say("force beyond sense: a joint force of ", forces[k],
            " N or N m; see setForceLimits, targets and gains");
      return;
    }
}

void judgeLastValues(const Case& c) {
  const auto isBad = [](const std::vector<double>& list) {
    return !std::all_of(list.begin(), list.end(), [](double x) { return std::isfinite(x); });
  };
  if (isBad(c.report.lastCoordinates) || isBad(c.report.lastVelocities))
    c.say(
        "the values before the step are not finite: a setter gave them, or an object that was "
        "not watched");
}

/// Joints that move nothing, and light bodies that carry heavy ones.
void judgeMassMatrix(const Case& c) {
  if (c.robot == nullptr || c.robot->getDOF() == 0) return;
  const MatDyn& M = c.robot->getMassMatrix();
  const size_t first = c.robot->getJointType(0) == Joint::FLOATING ? 6 : 0;
  double least = HUGE_VAL, most = 0.0;
  for (size_t k = 0; k < c.robot->getDOF(); ++k) {
    if (!(M(k, k) > 1e-12)) {  // it may be NaN
      c.say("singular mass matrix: velocity ", k, " moves no mass or inertia");
      return;
    }
    if (k < first) continue;
    least = std::min(least, M(k, k));
    most = std::max(most, M(k, k));
  }
  if (most > 1e8 * least)
    c.say("inertia ratio: the inertias that joints move lie between ", least, " and ", most,
          " kg or kg m^2");
}

void judgeWires(const Case& c) {
  for (const auto& wire : c.world.getCompliantWires()) {
    if (wire->getBody1() != c.object && wire->getBody2() != c.object) continue;
    const double mass = wire->getBody1() == c.object ? c.object->getMass(wire->getLocalIdx1())
                                                     : c.object->getMass(wire->getLocalIdx2());
    const double longest = 2.0 / std::sqrt(wire->getStiffness() / mass);
    if (c.world.getTimeStep() > 0.5 * longest)
      c.say("time step against stiffness: the wire '", wire->getName(), "' of ",
            wire->getStiffness(), " N/m on ", mass, " kg is stable up to ", longest,
            " s, the time step is ", c.world.getTimeStep(), " s");
  }
}

/// Explicit forces of the fourth-order scheme, and springs that push away from rest.
void judgeJoints(const Case& c) {
  if (c.robot == nullptr) return;
  for (const JointSpring& spring : c.robot->getSprings())
    if (spring.stiffness > 0.0 && c.robot->getJointType(spring.bodyIdx) != Joint::SPHERICAL) {
      c.say("a joint spring pushes away from its rest: body ", spring.bodyIdx,
            ", mind the sign of the stiffness");
      break;
    }
  if (c.robot->getIntegrationScheme() != ArticulatedSystem::RUNGE_KUTTA_4) return;
  const MatDyn& M = c.robot->getMassMatrix();
  for (size_t k = 0; k < c.robot->getDOF(); ++k) {
    const double dt = c.world.getTimeStep();
    if (c.robot->getPGain()[k] * dt * dt < M(k, k) && c.robot->getDGain()[k] * dt < M(k, k))
      continue;
    c.say(
        "time step against stiffness: RUNGE_KUTTA_4 takes gains explicitly, and those of velocity ",
        k, " are too high for a step of ", dt, " s");
    return;
  }
}

void judgeContacts(const Case& c) {
  const std::vector<Object*>& objects = c.world.getObjList();
  double deepest = 0.0, lightest = HUGE_VAL, heaviest = 0.0;
  for (const contact::Contact& contact : c.object->getContacts()) {
    if (!isSolvedPoint(contact)) continue;
    deepest = std::max(deepest, -contact.depth_);
    if (contact.pairBodyType_ != BodyType::DYNAMIC) continue;
    const double mass = massOf(*objects[contact.pairObjectIndex_]);
    lightest = std::min(lightest, mass);
    heaviest = std::max(heaviest, mass);
  }
  const bool isEarly = c.world.getStepCount() <= kFirstSteps;
  if (deepest > kDeepOverlap && isEarly)
    c.say("deep overlap at the start: ", deepest, " m in step ", c.world.getStepCount(),
          "; set the bodies apart before the first step");
  const double mass = massOf(*c.object);
  if (heaviest > kLargeMassRatio * mass || mass > kLargeMassRatio * lightest)
    c.say("inertia ratio: a body of ", mass, " kg touches one of ",
          heaviest > kLargeMassRatio * mass ? heaviest : lightest, " kg");
  if (deepest > kDeepOverlap && !isEarly)
    c.say("the overlap of ", deepest,
          " m came with speed or load: a shorter time step, thicker shapes");
}

void judgeSpeed(const Case& c) {
  double speed = 0.0;
  const std::vector<double>& v = c.report.lastVelocities;
  for (size_t k = 0; k < std::min<size_t>(3, v.size()); ++k)
    speed = std::max(speed, std::fabs(v[k]));
  if ((c.robot == nullptr || c.robot->getJointType(0) == Joint::FLOATING) &&
      speed * c.world.getTimeStep() > 0.05)
    c.say("it moves by ", speed * c.world.getTimeStep(),
          " m in a step: contacts are found late, take a shorter time step");
}

/// Whatever put in most.
void judgeBooks(const Case& c) {
  const std::vector<LedgerAccount>& all = c.world.getLedger().objects;
  if (c.report.object >= all.size()) return;
  const LedgerAccount& books = all[c.report.object];
  constexpr const char* names[] = {"gravity",  "joint forces",    "damping",
                                   "contacts", "friction",        "joint limits",
                                   "wires",    "external forces", "the base"};
  int most = 0;
  for (int i = 1; i < LedgerAccount::BASE; ++i)
    if (books.entries[i].work > books.entries[most].work) most = i;
  if (books.entries[most].work > 0.1 * std::fabs(books.before.kinetic) + 1e-3)
    c.say("by the books ", names[most], " put in ", books.entries[most].work, " J in the step");
}

void judgeSolver(const Case& c) {
  const contact::BisectionContactSolver& solver = c.world.getContactSolver();
  c.say("contacts that hold each other, as in high piles or between heavy and light bodies: the ",
        solver.getMaxIterations(),
        " sweeps of the limit do not suffice; see setWarmStart and setContactSolverParam");
}

}  // namespace

std::vector<std::string> likelyCauses(World& world, const WatchReport& report) {
  std::vector<std::string> causes;
  Object* object = report.object == kNone ? nullptr : world.getObjList()[report.object];
  const bool isRobot = object != nullptr && object->getObjectType() == ARTICULATED_SYSTEM;
  const Case c = {world, report, object,
                  isRobot ? static_cast<ArticulatedSystem*>(object) : nullptr, causes};
  judgeParameters(c);
  if (object == nullptr) {
    judgeSolver(c);
    return causes;
  }
  judgeInputs(c);
  judgeLastValues(c);
  judgeMassMatrix(c);
  judgeWires(c);
  judgeJoints(c);
  judgeContacts(c);
  judgeSpeed(c);
  judgeBooks(c);
  return causes;
}

}  // namespace zelvik
