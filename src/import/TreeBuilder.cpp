// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "TreeBuilder.hpp"

#include <cmath>
#include <limits>
#include <utility>
#include <zelvik/rotation.hpp>

namespace zelvik::model {

namespace {

Joint::Type typeOf(JointKind kind) {
  switch (kind) {
    case JointKind::REVOLUTE:
    case JointKind::CONTINUOUS:
      return Joint::REVOLUTE;
    case JointKind::PRISMATIC:
      return Joint::PRISMATIC;
    case JointKind::SPHERICAL:
      return Joint::SPHERICAL;
    default:
      return Joint::FIXED;
  }
}

const char* typeName(JointKind kind) {
  static constexpr const char* names[] = {"fixed", "revolute", "revolute, unlimited", "prismatic",
                                          "spherical"};
  return names[static_cast<int>(kind)];
}

Vec3 unit(const Vec3& v) {
  return (1.0 / norm(v)) * v;
}

/// Any unit vector at right angles to a unit vector, along an axis of the frame if that serves.
Vec3 perpendicularTo(const Vec3& n) {
  std::size_t smallest = 0;
  for (std::size_t i = 1; i < 3; ++i)
    if (std::fabs(n[i]) < std::fabs(n[smallest])) smallest = i;
  Vec3 axis{};
  axis[smallest] = 1.0;
  return unit(axis - dot(axis, n) * n);
}

}  // namespace

void TreeBuilder::describeLink(std::size_t link, const std::string& became) {
  const LinkRecord& record = robot_.links[link];
  findings_.report().links.push_back({record.name, record.place.line, record.mass, became});
}

void TreeBuilder::describeJoint(const JointRecord& joint, const std::string& became) {
  findings_.report().joints.push_back({joint.name, joint.place.line, joint.type, became,
                                       joint.lower.value_or(0.0), joint.upper.value_or(0.0),
                                       std::max(joint.effort.value_or(0.0), 0.0)});
}

void TreeBuilder::setBody(std::size_t link, Child& body) {
  const LinkRecord& record = robot_.links[link];
  body.bodyName = record.name;
  if (record.mass > 0.0) {
    body.mass = record.mass;
    body.com = record.inertial.position;
    similarityTransform(record.inertial.rotation, record.inertia, body.inertia);
  }
  shapes_.build(record, body);
  for (std::size_t joint : structure_.childJoints[link]) addChild(joint, body);
}

void TreeBuilder::setJoint(const JointRecord& joint, Child& child) const {
  child.jointName = joint.name;
  child.parentJointName = joint.parent;
  child.jointType = typeOf(joint.kind);
  child.jointPosition = joint.pose.position;
  child.jointRotation = joint.pose.rotation;
  if (child.jointType == Joint::FIXED) return;
  child.jointAxis = unit(joint.axis);
  child.jointLimit[0] = joint.lower.value_or(std::numeric_limits<double>::lowest());
  child.jointLimit[1] = joint.upper.value_or(std::numeric_limits<double>::max());
  child.effort = joint.effort.value_or(-1.0);
  child.damping = joint.damping.value_or(options_.damping);
  child.rotorInertia = joint.rotorInertia.value_or(options_.armature);
  child.friction = joint.friction;
  child.stiffness = joint.stiffness;
  for (std::size_t i = 0; i < 4; ++i) child.springMount[i] = joint.springMount[i];
}

/// Two slides in the plane and a hinge about its normal; returns the body of the hinge, which
/// keeps the name of the joint.
Child& TreeBuilder::addPlanar(const JointRecord& joint, Child& body) {
  const Vec3 normal = unit(joint.axis);
  const Vec3 first = perpendicularTo(normal), second = cross(normal, first);
  Child* parent = &body;
  const std::pair<Vec3, const char*> slides[] = {{first, "_x"}, {second, "_y"}};
  for (const auto& [axis, suffix] : slides) {
    Child& slide = parent->childrenMovable.emplace_back();
    setJoint(joint, slide);
    slide.jointName = joint.name + suffix;
    slide.bodyName = joint.child + suffix;
    slide.parentJointName = parent->bodyName;
    slide.jointType = Joint::PRISMATIC;
    slide.jointAxis = axis;
    if (parent != &body) {
      slide.jointPosition.setZero();
      slide.jointRotation.setIdentity();
    }
    parent = &slide;
  }
  Child& hinge = parent->childrenMovable.emplace_back();
  setJoint(joint, hinge);
  hinge.parentJointName = parent->bodyName;
  hinge.jointType = Joint::REVOLUTE;
  hinge.jointAxis = normal;
  hinge.jointPosition.setZero();
  hinge.jointRotation.setIdentity();
  findings_.note("planar", joint.place,
                 "it is made of the joints '" + joint.name + "_x', '" + joint.name + "_y' and '" +
                     joint.name + "'");
  return hinge;
}

void TreeBuilder::addChild(std::size_t index, Child& body) {
  const JointRecord& joint = robot_.joints[index];
  if (joint.kind == JointKind::FLOATING) return;  // an error has been told
  const std::size_t link = structure_.childLink[index];
  if (joint.kind == JointKind::FIXED) {
    describeLink(link, "frame of body '" + movingBody_.back() + "'");
    describeJoint(joint, "fixed");
    Child& child = body.childrenFixed.emplace_back();
    setJoint(joint, child);
    return setBody(link, child);
  }
  describeLink(link, "body");
  describeJoint(joint, joint.kind == JointKind::PLANAR ? "three joints" : typeName(joint.kind));
  movingBody_.push_back(joint.child);
  if (joint.kind == JointKind::PLANAR) {
    setBody(link, addPlanar(joint, body));
  } else {
    Child& child = body.childrenMovable.emplace_back();
    setJoint(joint, child);
    setBody(link, child);
  }
  movingBody_.pop_back();
}

Child TreeBuilder::build(const Base& base) {
  Child root;
  const char* freedom = base.isFixed ? "fixed base" : "floating base";
  if (base.joint != kNone) {
    const JointRecord& joint = robot_.joints[base.joint];
    describeLink(structure_.root, "the world");
    describeJoint(joint, freedom);
    if (base.isFixed) {
      root.jointName = joint.name;
      root.parentJointName = joint.parent;
    }
  }
  describeLink(base.link, freedom);
  root.jointType = base.isFixed ? Joint::FIXED : Joint::FLOATING;
  root.jointPosition = base.pose.position;
  root.jointRotation = base.pose.rotation;
  movingBody_ = {robot_.links[base.link].name};
  setBody(base.link, root);
  return root;
}

}  // namespace zelvik::model
