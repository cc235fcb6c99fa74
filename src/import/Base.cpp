// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <zelvik/rotation.hpp>

#include "TreeBuilder.hpp"

namespace zelvik::model {

namespace {

/// Whether the root stands for the world alone: nothing is lost if its only child is the base.
bool isPlaceholder(const RobotRecord& robot, const Structure& structure) {
  const LinkRecord& root = robot.links[structure.root];
  if (root.mass != 0.0 || !root.shapes.empty()) return false;
  if (structure.childJoints[structure.root].size() != 1) return false;
  const JointKind kind = robot.joints[structure.childJoints[structure.root][0]].kind;
  return kind == JointKind::FLOATING || (kind == JointKind::FIXED && root.name == "world");
}

/// Of floating joints only that under the root has a meaning here.
void refuseFloatingJoints(const RobotRecord& robot, const Structure& structure, const Base& base,
                          Findings& findings) {
  for (std::size_t link : structure.order) {
    const std::size_t joint = structure.parentJoint[link];
    if (link == structure.root || joint == kNone || joint == base.joint) continue;
    if (robot.joints[joint].kind == JointKind::FLOATING)
      findings.error("floating-joint", robot.joints[joint].place,
                     "a joint is floating only between an empty root link and all of the robot",
                     "Put what floats into a file of its own.");
  }
}

double massBelow(const RobotRecord& robot, const Structure& structure) {
  double mass = 0.0;
  for (std::size_t link : structure.order) mass += robot.links[link].mass;
  return mass;
}

std::size_t velocitiesOf(JointKind kind) {
  if (kind == JointKind::FIXED || kind == JointKind::FLOATING) return 0;
  return kind == JointKind::SPHERICAL || kind == JointKind::PLANAR ? 3 : 1;
}

std::size_t bodiesOf(JointKind kind) {
  if (kind == JointKind::FIXED || kind == JointKind::FLOATING) return 0;
  return kind == JointKind::PLANAR ? 3 : 1;
}

}  // namespace

Base chooseBase(const RobotRecord& robot, const Structure& structure, const Options& options,
                Findings& findings) {
  Base base;
  base.link = structure.root;
  base.isFixed = robot.links[structure.root].name == "world";
  quatToRotMat(options.baseOrientation, base.pose.rotation);
  base.pose.position = options.basePosition;
  if (isPlaceholder(robot, structure)) {
    base.joint = structure.childJoints[structure.root][0];
    base.link = structure.childLink[base.joint];
    base.isFixed = robot.joints[base.joint].kind == JointKind::FIXED;
    base.pose = product(base.pose, robot.joints[base.joint].pose);
  }
  base.isFixed = options.fixedBase.value_or(base.isFixed);
  refuseFloatingJoints(robot, structure, base, findings);
  if (!base.isFixed && massBelow(robot, structure) == 0.0)
    findings.error("no-mass", robot.links[base.link].place,
                   "no link has a mass: a robot that floats cannot be moved",
                   "Give masses, or set fixedBase.");
  return base;
}

void computeNumbers(const RobotRecord& robot, const Structure& structure, const Base& base,
                    Report& report) {
  report.base = base.isFixed ? "fixed" : "floating";
  report.bodies = 1;
  report.velocities = base.isFixed ? 0 : 6;
  std::vector<Pose> poses(robot.links.size());
  Vec3 moment{};
  for (std::size_t link : structure.order) {
    const std::size_t joint = structure.parentJoint[link];
    const bool isBelowBase = joint != kNone && joint != base.joint && link != base.link;
    if (isBelowBase) {
      poses[link] = product(poses[structure.parentLink[joint]], robot.joints[joint].pose);
      report.bodies += bodiesOf(robot.joints[joint].kind);
      report.velocities += velocitiesOf(robot.joints[joint].kind);
    }
    const LinkRecord& record = robot.links[link];
    report.mass += record.mass;
    moment +=
        record.mass * (poses[link].rotation * record.inertial.position + poses[link].position);
  }
  if (report.mass > 0.0) report.com = (1.0 / report.mass) * moment;
}

}  // namespace zelvik::model
