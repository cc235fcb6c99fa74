// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "world/StepWatch.hpp"

#include <cmath>
#include <sstream>
#include <zelvik/zlv_message_logger.hpp>

#include "world/ContactRecords.hpp"

namespace zelvik {

namespace {

const ArticulatedSystem* robotOf(const Object& object) {
  return object.getObjectType() == ARTICULATED_SYSTEM
             ? static_cast<const ArticulatedSystem*>(&object)
             : nullptr;
}

/// Place of the first value that is not finite, `count` without one.
size_t firstBad(const double* values, size_t count) {
  size_t i = 0;
  while (i < count && std::isfinite(values[i])) ++i;
  return i;
}

/// The body whose joint has the velocity or coordinate of that number.
size_t bodyOf(const std::vector<size_t>& starts, size_t number) {
  size_t body = 0;
  for (size_t i = 0; i < starts.size(); ++i)
    if (starts[i] != kNone && starts[i] <= number) body = i;
  return body;
}

void append(const double* values, size_t count, std::vector<double>& to) {
  to.insert(to.end(), values, values + count);
}

std::string describe(const contact::Contact& c, const Object& other, double dt) {
  Vec3 impulse;
  c.getImpulse(impulse);
  std::ostringstream out;
  out << "contact of body " << c.localBodyIndex_ << " with object " << c.pairObjectIndex_ << " '"
      << other.getName() << "': overlap " << -c.depth_ << " m, force " << norm(impulse) / dt
      << " N";
  return out.str();
}

/// Joints of a robot beyond their limits.
void listLimits(const ArticulatedSystem& robot, std::vector<std::string>& lines) {
  for (size_t i = 1; i < robot.getBodyCount(); ++i) {
    const Joint::Type type = robot.getJointType(i);
    if (type != Joint::REVOLUTE && type != Joint::PRISMATIC) continue;
    const JointLimit& limit = robot.getJointLimits()[robot.getDofStart()[i]];
    const double q = robot.getGeneralizedCoordinate()[robot.getGcStart()[i]];
    if (limit[0] == limit[1] || (q >= limit[0] && q <= limit[1])) continue;
    std::ostringstream out;
    out << "limit of the joint of body '" << robot.getBodyNames()[i] << "': " << q
        << ", allowed are " << limit[0] << " to " << limit[1];
    lines.push_back(out.str());
  }
}

}  // namespace

void StepWatch::open(const std::vector<Object*>& objects) {
  if (report_.has_value()) return;
  values_.clear();
  begins_.assign(1, 0);
  for (const Object* object : objects) {
    if (const ArticulatedSystem* robot = robotOf(*object)) {
      append(robot->getGeneralizedCoordinate().v, robot->getGeneralizedCoordinateDim(), values_);
      append(robot->getGeneralizedVelocity().v, robot->getDOF(), values_);
    } else {
      const auto& body = static_cast<const SingleBodyObject&>(*object);
      append(body.getComPosition().v, 3, values_);
      append(body.getQuaternion().v, 4, values_);
      append(body.getLinearVelocity().v, 3, values_);
      append(body.getAngularVelocity().v, 3, values_);
    }
    begins_.push_back(values_.size());
  }
}

void StepWatch::close(World& world, bool hasContacts) {
  if (report_.has_value()) return;
  const size_t count = world.getObjList().size();
  for (size_t i = 0; i < count && !look(world, i); ++i) {
  }
  if (report_.has_value() || lookAtWhole(world) || lookAtSolver(world, hasContacts))
    complete(world);
}

bool StepWatch::look(const World& world, size_t index) {
  const Object& object = *world.getObjList()[index];
  if (object.getBodyType() != BodyType::DYNAMIC) return false;
  const ArticulatedSystem* robot = robotOf(object);
  const bool found = robot != nullptr
                         ? lookAtRobot(*robot, index)
                         : lookAtBody(static_cast<const SingleBodyObject&>(object), index);
  return found || lookAtEnergy(world, index) || lookAtDepth(world, index);
}

bool StepWatch::lookAtRobot(const ArticulatedSystem& robot, size_t index) {
  const VecDyn &gc = robot.getGeneralizedCoordinate(), &gv = robot.getGeneralizedVelocity();
  if (const size_t k = firstBad(gv.v, robot.getDOF()); k < robot.getDOF()) {
    find(WatchReport::NOT_FINITE, index, bodyOf(robot.getDofStart(), k), "velocity (m/s or rad/s)",
         gv[k], limits_.speed);
    return true;
  }
  if (const size_t k = firstBad(gc.v, gc.n); k < gc.n) {
    find(WatchReport::NOT_FINITE, index, bodyOf(robot.getGcStart(), k), "coordinate (m or rad)",
         gc[k], 0.0);
    return true;
  }
  for (size_t i = 0; i < robot.getBodyCount(); ++i) {
    const size_t first = robot.getDofStart()[i];
    const size_t width = velocityCount(robot.getJointType(i));
    for (size_t k = 0; k < width; ++k) {
      const bool slides = robot.getJointType(i) == Joint::PRISMATIC ||
                          (robot.getJointType(i) == Joint::FLOATING && k < 3);
      const double limit = slides ? limits_.speed : limits_.rate;
      if (!(std::fabs(gv[first + k]) > limit)) continue;
      find(WatchReport::SPEED, index, i, slides ? "velocity (m/s)" : "rate (rad/s)", gv[first + k],
           limit);
      return true;
    }
  }
  return false;
}

bool StepWatch::lookAtBody(const SingleBodyObject& body, size_t index) {
  const double speed = norm(body.getLinearVelocity()), rate = norm(body.getAngularVelocity());
  const Vec3& position = body.getComPosition();
  if (!std::isfinite(speed + rate))
    find(WatchReport::NOT_FINITE, index, 0, "speed (m/s or rad/s)", speed + rate, limits_.speed);
  else if (firstBad(position.v, 3) < 3 || firstBad(body.getQuaternion().v, 4) < 4)
    find(WatchReport::NOT_FINITE, index, 0, "pose (m)", norm(position), 0.0);
  else if (speed > limits_.speed)
    find(WatchReport::SPEED, index, 0, "speed (m/s)", speed, limits_.speed);
  else if (rate > limits_.rate)
    find(WatchReport::SPEED, index, 0, "rate (rad/s)", rate, limits_.rate);
  return report_.has_value();
}

bool StepWatch::lookAtEnergy(const World& world, size_t index) {
  if (index >= world.getLedger().objects.size()) return false;
  const LedgerAccount& books = world.getLedger().objects[index];
  const double gain = books[LedgerAccount::INTEGRATION].work;
  if (!(gain > limits_.energyGain && gain > limits_.energyShare * books.before.kinetic))
    return false;
  find(WatchReport::ENERGY, index, kNone, "energy from nowhere (J)", gain, limits_.energyGain);
  return true;
}

/// What compliant wires gain is in no account of an object: the one that they move most stands for
/// it.
bool StepWatch::lookAtWhole(const World& world) {
  const Ledger& books = world.getLedger();
  const double gain = books.whole[LedgerAccount::INTEGRATION].work;
  if (world.getCompliantWires().empty() || books.objects.empty() ||
      !(gain > limits_.energyGain && gain > limits_.energyShare * books.whole.before.kinetic))
    return false;
  const auto workOfWires = [](const LedgerAccount& a) {
    return std::fabs(a[LedgerAccount::WIRES].work);
  };
  size_t most = 0;
  for (size_t i = 1; i < books.objects.size(); ++i)
    if (workOfWires(books.objects[i]) > workOfWires(books.objects[most])) most = i;
  find(WatchReport::ENERGY, most, kNone, "energy from nowhere, wires included (J)", gain,
       limits_.energyGain);
  return true;
}

bool StepWatch::lookAtDepth(const World& world, size_t index) {
  for (const contact::Contact& c : world.getObjList()[index]->getContacts()) {
    if (!isSolvedPoint(c) || !(-c.depth_ > limits_.depth)) continue;
    find(WatchReport::DEPTH, index, c.localBodyIndex_, "overlap (m)", -c.depth_, limits_.depth);
    return true;
  }
  return false;
}

bool StepWatch::lookAtSolver(World& world, bool hasContacts) {
  const contact::BisectionContactSolver& solver = world.getContactSolver();
  const bool stopped = hasContacts && solver.getLoopCounter() >= solver.getMaxIterations();
  unsolvedSteps_ = stopped ? unsolvedSteps_ + 1 : 0;
  if (limits_.unsolvedSteps == 0 || unsolvedSteps_ < limits_.unsolvedSteps) return false;
  find(WatchReport::UNSOLVED, kNone, kNone, "steps in a row that end at the sweep limit",
       static_cast<double>(unsolvedSteps_), static_cast<double>(limits_.unsolvedSteps));
  return true;
}

void StepWatch::find(WatchReport::Finding finding, size_t index, size_t body, const char* quantity,
                     double value, double limit) {
  WatchReport& report = report_.emplace();
  report.finding = finding;
  report.object = index;
  report.body = body;
  report.quantity = quantity;
  report.value = value;
  report.limit = limit;
}

/// All that only a finding needs.
void StepWatch::complete(World& world) {
  WatchReport& report = *report_;
  report.step = world.getStepCount();
  report.time = world.getWorldTime();
  report.timeStep = world.getTimeStep();
  if (report.object != kNone) {
    const Object& object = *world.getObjList()[report.object];
    report.objectName = object.getName();
    const size_t begin = begins_[report.object], end = begins_[report.object + 1];
    const ArticulatedSystem* robot = robotOf(object);
    const size_t middle = begin + (robot != nullptr ? robot->getGeneralizedCoordinateDim() : 7);
    report.lastCoordinates.assign(values_.begin() + static_cast<std::ptrdiff_t>(begin),
                                  values_.begin() + static_cast<std::ptrdiff_t>(middle));
    report.lastVelocities.assign(values_.begin() + static_cast<std::ptrdiff_t>(middle),
                                 values_.begin() + static_cast<std::ptrdiff_t>(end));
    for (const contact::Contact& c : object.getContacts())
      if (isSolvedPoint(c))
        report.acted.push_back(
            describe(c, *world.getObjList()[c.pairObjectIndex_], world.getTimeStep()));
    if (robot != nullptr) {
      if (report.body != kNone) report.bodyName = robot->getBodyNames()[report.body];
      const size_t rootJoints = robot->getJointType(0) == Joint::FLOATING ? 1 : 0;
      if (report.body != kNone && report.body > 0)
        report.jointName = robot->getJointNames()[report.body - 1 + rootJoints];
      listLimits(*robot, report.acted);
    }
  }
  report.causes = likelyCauses(world, report);
  MSG_WARN("World::setWatch: " << report.toText());
}

}  // namespace zelvik
