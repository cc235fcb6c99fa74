// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "StandingRobot.hpp"

#include <algorithm>

namespace zelvik::scenes {

namespace {

bool endsWith(const std::string& text, const std::string& tail) {
  return text.size() >= tail.size() &&
         text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

double nominalAngle(const std::string& joint) {
  if (endsWith(joint, "_HFE")) return 0.6;
  if (endsWith(joint, "_KFE")) return -1.2;
  return 0.0;
}

bool hasFloatingBase(const ArticulatedSystem& robot) {
  return robot.getJointType(0) == Joint::FLOATING;
}

}  // namespace

double lowestPoint(const ArticulatedSystem& robot) {
  double lowest = 1e9;
  for (const CollisionDefinition& body : robot.getCollisionBodies()) {
    dReal box[6];
    dGeomGetAABB(body.colObj, box);
    lowest = std::min(lowest, box[4]);
  }
  return lowest;
}

VecDyn nominalPose(const ArticulatedSystem& robot) {
  VecDyn pose(robot.getGeneralizedCoordinateDim());
  pose.setZero();
  if (hasFloatingBase(robot)) pose[3] = 1.0;
  const size_t nameOffset = hasFloatingBase(robot) ? 0 : 1;
  for (size_t i = 1; i < robot.getBodyCount(); ++i) {
    const Joint::Type type = robot.getJointType(i);
    double& q = pose[robot.getGcStart()[i]];
    if (type == Joint::SPHERICAL) q = 1.0;
    if (type != Joint::REVOLUTE && type != Joint::PRISMATIC) continue;
    q = nominalAngle(robot.getJointNames()[i - nameOffset]);
    const JointLimit& limit = robot.getJointLimits()[robot.getDofStart()[i]];
    if (limit[0] < limit[1]) q = std::clamp(q, limit[0], limit[1]);
  }
  return pose;
}

void holdPoseByPd(ArticulatedSystem& robot, const VecDyn& pose) {
  double mass = 0.0, top = -1e9;
  for (size_t i = 0; i < robot.getBodyCount(); ++i) {
    mass += robot.getMass(i);
    top = std::max(top, robot.getComPositions()[i][2]);
  }
  const double height = std::max(top - lowestPoint(robot), 0.1);
  VecDyn p(robot.getDOF()), d(robot.getDOF());
  for (size_t k = 0; k < robot.getDOF(); ++k) {
    p[k] = 10.0 * mass * 9.81 * height;
    d[k] = 0.05 * p[k];
  }
  for (size_t k = 0; hasFloatingBase(robot) && k < 6; ++k) p[k] = d[k] = 0.0;
  robot.setControlMode(ArticulatedSystem::PD_PLUS_FEED_FORWARD);
  robot.setPGain(p);
  robot.setDGain(d);
  robot.setPTarget(pose);
}

StandingRobot::StandingRobot(const std::string& urdf, double dt) {
  world.setTimeStep(dt);
  ground = world.addGround();
  robot = world.addArticulatedSystem(urdf);
  reset();
}

void StandingRobot::reset() {
  VecDyn pose = nominalPose(*robot), rest(robot->getDOF());
  rest.setZero();
  robot->setGeneralizedCoordinate(pose);
  robot->setGeneralizedVelocity(rest);
  robot->updateCollision();
  if (hasFloatingBase(*robot)) {
    pose[2] = -lowestPoint(*robot);
    robot->setGeneralizedCoordinate(pose);
    robot->updateCollision();
  }
  holdPoseByPd(*robot, pose);
}

double StandingRobot::totalMass() const {
  double mass = 0.0;
  for (size_t i = 0; i < robot->getBodyCount(); ++i) mass += robot->getMass(i);
  return mass;
}

double StandingRobot::groundForce() const {
  double sum = 0.0;
  for (const contact::Contact& c : robot->getContacts()) {
    if (c.pairObjectIndex_ != ground->getIndexInWorld()) continue;
    Mat<3, 1> impulseW;
    c.getImpulse(impulseW);
    sum += impulseW[2];
  }
  return sum / world.getTimeStep();
}

size_t StandingRobot::groundContacts() const {
  size_t count = 0;
  for (const contact::Contact& c : robot->getContacts())
    count += c.pairObjectIndex_ == ground->getIndexInWorld() ? 1 : 0;
  return count;
}

double StandingRobot::deepestPenetration() const {
  double deepest = 0.0;
  for (const contact::Contact& c : robot->getContacts()) deepest = std::max(deepest, -c.depth_);
  return deepest;
}

double StandingRobot::tilt() const {
  Mat<3, 3> rotation;
  robot->getOrientation(0, rotation);
  return std::acos(std::clamp(rotation(2, 2), -1.0, 1.0));
}

double StandingRobot::baseHeight() const {
  Mat<3, 1> position;
  robot->getPosition(0, position);
  return position[2];
}

}  // namespace zelvik::scenes
