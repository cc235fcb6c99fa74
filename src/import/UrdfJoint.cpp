// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>

#include "Numbers.hpp"
#include "UrdfReader.hpp"

namespace zelvik::model {

namespace {

struct JointName {
  const char* name;
  JointKind kind;
};
constexpr JointName kJoints[] = {
    {"fixed", JointKind::FIXED},           {"revolute", JointKind::REVOLUTE},
    {"continuous", JointKind::CONTINUOUS}, {"prismatic", JointKind::PRISMATIC},
    {"spherical", JointKind::SPHERICAL},   {"floating", JointKind::FLOATING},
    {"free", JointKind::FLOATING},         {"planar", JointKind::PLANAR}};

void readKind(const TiXmlElement& element, JointRecord& joint, Findings& findings) {
  joint.type = requireText(element, "type", findings);
  std::vector<std::string> names;
  for (const JointName& known : kJoints) {
    if (joint.type == known.name) {
      joint.kind = known.kind;
      return;
    }
    names.emplace_back(known.name);
  }
  if (joint.type.empty()) return;  // reported already
  const std::string meant = nearestName(joint.type, names);
  findings.error("joint-type", joint.place, "\"" + joint.type + "\" is no type of a joint",
                 meant.empty() ? "" : "Did you mean \"" + meant + "\"?");
}

bool hasAxis(JointKind kind) {
  return kind == JointKind::REVOLUTE || kind == JointKind::CONTINUOUS ||
         kind == JointKind::PRISMATIC || kind == JointKind::PLANAR;
}

void readAxis(const TiXmlElement& element, JointRecord& joint, Findings& findings) {
  if (!hasAxis(joint.kind)) return;
  const TiXmlElement* axis = element.FirstChildElement("axis");
  if (axis == nullptr) {
    findings.note("axis-missing", joint.place, "there is no <axis>: it is 1 0 0");
    return;
  }
  const auto xyz = readNumbers(*axis, "xyz", 3, findings);
  if (!xyz.has_value()) {
    if (axis->Attribute("xyz") == nullptr) requireText(*axis, "xyz", findings);
    return;
  }
  std::copy(xyz->begin(), xyz->end(), joint.axis.v);
  const double length = norm(joint.axis);
  if (length < 1e-12)
    findings.error("axis-zero", placeOf(*axis), "the axis has no direction");
  else if (std::abs(length - 1.0) > 1e-3)
    findings.note("axis-length", placeOf(*axis),
                  "the axis is " + numberText(length) + " long and taken with length 1");
}

void readLimit(const TiXmlElement& element, JointRecord& joint, Findings& findings) {
  const TiXmlElement* limit = element.FirstChildElement("limit");
  if (limit == nullptr) return;
  joint.hasLimit = true;
  joint.lower = readNumber(*limit, "lower", findings);
  joint.upper = readNumber(*limit, "upper", findings);
  joint.effort = readNumber(*limit, "effort", findings);
  joint.velocity = readNumber(*limit, "velocity", findings);
}

void readDynamics(const TiXmlElement& element, JointRecord& joint, Findings& findings) {
  const TiXmlElement* dynamics = element.FirstChildElement("dynamics");
  if (dynamics == nullptr) return;
  joint.damping = readNumber(*dynamics, "damping", findings);
  joint.rotorInertia = readNumber(*dynamics, "rotor_inertia", findings);
  joint.friction = readNumber(*dynamics, "friction", findings).value_or(0.0);
  joint.stiffness = readNumber(*dynamics, "stiffness", findings).value_or(0.0);
  const std::size_t count = joint.kind == JointKind::SPHERICAL ? 4 : 1;
  if (const auto mount = readNumbers(*dynamics, "spring_mount", count, findings))
    std::copy(mount->begin(), mount->end(), joint.springMount.v);
}

std::string readLinkName(const TiXmlElement& element, const char* child, Findings& findings) {
  if (const TiXmlElement* found = element.FirstChildElement(child))
    return requireText(*found, "link", findings);
  findings.error("joint-link", placeOf(element), std::string("there is no <") + child + ">");
  return "";
}

}  // namespace

JointRecord readJoint(const TiXmlElement& element, Findings& findings) {
  JointRecord joint;
  joint.name = requireText(element, "name", findings);
  joint.place = placeOf(element);
  readKind(element, joint, findings);
  joint.parent = readLinkName(element, "parent", findings);
  joint.child = readLinkName(element, "child", findings);
  if (const TiXmlElement* origin = element.FirstChildElement("origin"))
    joint.pose = readPose(*origin, findings);
  readAxis(element, joint, findings);
  readLimit(element, joint, findings);
  readDynamics(element, joint, findings);
  if (const TiXmlElement* mimic = element.FirstChildElement("mimic"))
    joint.mimics = requireText(*mimic, "joint", findings);
  noteUnknownChildren(element, {"origin", "parent", "child", "axis", "limit", "dynamics", "mimic"},
                      findings);
  return joint;
}

}  // namespace zelvik::model
