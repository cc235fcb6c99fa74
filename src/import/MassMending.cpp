// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <Eigen/Eigenvalues>
#include <algorithm>
#include <cmath>

#include "Checks.hpp"

namespace zelvik::model {

namespace {

constexpr double kMass = 1e-3;          // (kg), of next to nothing
constexpr double kGyration = 0.03;      // (m), of something as large as a finger
constexpr double kDamping = 1e-3;       // (N m s/rad or N s/m)
constexpr double kLeastInertia = 1e-9;  // (kg m^2) that a motion has to move

/// Mass, centre of mass, and inertia about the origin, of a link and all below it with the joints
/// at 0; axes of the link.
struct Composite {
  double mass = 0.0;
  Vec3 moment{};    ///< mass times centre of mass (kg m)
  Mat33 inertia{};  ///< (kg m^2)
};

Mat33 turned(const Mat33& rotation, const Mat33& inertia) {
  Mat33 result;
  similarityTransform(rotation, inertia, result);
  return result;
}

/// A link without mass has no inertia, whatever the file says.
void addLink(const LinkRecord& link, Composite& sum) {
  if (link.mass == 0.0) return;
  sum.mass += link.mass;
  sum.moment += link.mass * link.inertial.position;
  sum.inertia += turned(link.inertial.rotation, link.inertia);
  addInertia(link.mass, link.inertial.position, sum.inertia);
}

/// Adds what stands in a child's frame.
void addChild(const Composite& child, const Pose& pose, Composite& sum) {
  const Vec3 moment = pose.rotation * child.moment;
  sum.mass += child.mass;
  sum.moment += moment + child.mass * pose.position;
  // Parallel axes of a body that turns about its frame's origin: cross terms of offset and moment.
  const Vec3& p = pose.position;
  Mat33 inertia = turned(pose.rotation, child.inertia);
  for (std::size_t i = 0; i < 3; ++i)
    for (std::size_t j = 0; j < 3; ++j) {
      const double diagonal = i == j ? child.mass * dot(p, p) + 2.0 * dot(p, moment) : 0.0;
      inertia(i, j) += diagonal - child.mass * p[i] * p[j] - p[i] * moment[j] - moment[i] * p[j];
    }
  sum.inertia += inertia;
}

double leastMoment(const Mat33& inertia) {
  Eigen::Matrix3d matrix = inertia.e();
  return Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d>(matrix, Eigen::EigenvaluesOnly)
      .eigenvalues()[0];
}

/// Least inertia that the motions of a joint move (kg m^2); of a slide that does not matter.
double movedInertia(JointKind kind, const Vec3& axis, const Composite& body) {
  if (kind == JointKind::PRISMATIC) return 1.0;
  if (kind == JointKind::SPHERICAL) return leastMoment(body.inertia);
  const Vec3 n = (1.0 / norm(axis)) * axis;
  return dot(n, body.inertia * n);
}

bool moves(JointKind kind) {
  return kind != JointKind::FIXED && kind != JointKind::FLOATING;
}

/// Undamped, a limp chain of links as light as that is whipped about faster than steps can follow.
void addMass(LinkRecord& link, JointRecord& joint, Composite& body, Findings& findings) {
  link.mass = kMass;
  link.inertial = Pose();
  link.inertia = kMass * kGyration * kGyration * Mat33::identity();
  addLink(link, body);
  if (joint.damping.value_or(0.0) == 0.0) joint.damping = kDamping;
  findings.warn("joint-massless", joint.place,
                "it moves no mass: the link '" + link.name + "' gets " + numberText(kMass) +
                    " kg, and the joint a damping of " + numberText(*joint.damping),
                "Give the links below it a mass, or make the joint fixed.");
}

/// Raises the inertia of the link until the motion has some to move.
void addInertiaTo(LinkRecord& link, const Place& place, double moved, Composite& body,
                  Findings& findings) {
  const double added = std::max(link.mass, kMass) * kGyration * kGyration - std::min(moved, 0.0);
  link.inertia += added * Mat33::identity();
  body.inertia += added * Mat33::identity();
  findings.warn("motion-without-inertia", place,
                "what turns with the link '" + link.name + "' has the moment of inertia " +
                    numberText(moved) + " kg m^2: the link gets " + numberText(added) +
                    " kg m^2 more",
                "Give the links their inertia.");
}

}  // namespace

void mendMassless(RobotRecord& robot, const Structure& structure, Findings& findings) {
  std::vector<Composite> bodies(robot.links.size());
  std::vector<double> written(robot.links.size(), 0.0);  // masses of links and all below, as read
  for (auto index = structure.order.rbegin(); index != structure.order.rend(); ++index) {
    LinkRecord& link = robot.links[*index];
    Composite& body = bodies[*index];
    addLink(link, body);
    written[*index] += link.mass;
    const std::size_t jointIndex = structure.parentJoint[*index];
    if (*index == structure.root || jointIndex == kNone) {
      const double moved = leastMoment(body.inertia);
      if (body.mass > 0.0 && !(moved > kLeastInertia))
        addInertiaTo(link, link.place, moved, body, findings);
      continue;
    }
    JointRecord& joint = robot.joints[jointIndex];
    if (moves(joint.kind)) {
      if (written[*index] == 0.0) addMass(link, joint, body, findings);
      const double moved = movedInertia(joint.kind, joint.axis, body);
      if (!(moved + joint.rotorInertia.value_or(0.0) > kLeastInertia))
        addInertiaTo(link, joint.place, moved, body, findings);
    }
    written[structure.parentLink[jointIndex]] += written[*index];
    addChild(body, joint.pose, bodies[structure.parentLink[jointIndex]]);
  }
}

}  // namespace zelvik::model
