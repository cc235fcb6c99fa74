// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Checks.hpp"

#include <Eigen/Eigenvalues>
#include <algorithm>
#include <cmath>
#include <utility>

#include "Numbers.hpp"

namespace zelvik::model {

namespace {

/// Principal moments, ascending (kg m^2).
Vec3 principalMoments(const Mat33& inertia) {
  Eigen::Matrix3d matrix;
  for (std::size_t i = 0; i < 3; ++i)
    for (std::size_t j = 0; j < 3; ++j)
      matrix(static_cast<Eigen::Index>(i), static_cast<Eigen::Index>(j)) = inertia(i, j);
  const Eigen::Vector3d values =
      Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d>(matrix, Eigen::EigenvaluesOnly).eigenvalues();
  return {{values[0], values[1], values[2]}};
}

std::string momentsText(const Vec3& moments) {
  return numberText(moments[0]) + ", " + numberText(moments[1]) + ", " + numberText(moments[2]) +
         " kg m^2";
}

/// Largest radius of gyration that looks like a part of a robot (m).
constexpr double kLargestGyration = 5.0;
/// Below it an inertia is the dust that a conversion has left (m).
constexpr double kLeastGyration = 1e-6;

void checkInertia(const LinkRecord& link, Findings& findings) {
  const Vec3 moments = principalMoments(link.inertia);
  // Digits that the file cut off are no fault.
  const double slack = 0.01 * moments[2];
  if (std::fabs(moments[2]) <= kLeastGyration * kLeastGyration * link.mass)
    findings.warn("inertia-zero", link.place,
                  "mass " + numberText(link.mass) + " kg without inertia",
                  "Give an <inertia>: a point mass on a light chain spins without end.");
  else if (moments[0] < -slack)
    findings.warn("inertia-negative", link.place,
                  "the principal moments of inertia are " + momentsText(moments),
                  "They are all positive for every body; check the signs of the file.");
  else if (moments[0] + moments[1] < moments[2] - slack)
    findings.warn("inertia-triangle", link.place,
                  "no body has the principal moments of inertia " + momentsText(moments),
                  "Two of them are always at least as large as the third.");
  else if (moments[2] > link.mass * kLargestGyration * kLargestGyration)
    findings.warn("inertia-large", link.place,
                  "the moment of inertia " + numberText(moments[2]) + " kg m^2 belongs to " +
                      numberText(link.mass) + " kg that are " +
                      numberText(std::sqrt(moments[2] / link.mass)) + " m away",
                  "Is it in kg mm^2 or g mm^2?");
}

void checkLink(LinkRecord& link, Findings& findings) {
  if (link.mass < 0.0)
    findings.error("mass-negative", link.place, "the mass is " + numberText(link.mass) + " kg");
  else if (link.mass > 0.0)
    checkInertia(link, findings);
  else if (link.hasInertial && principalMoments(link.inertia)[2] > 0.0)
    findings.warn("mass-zero", link.place, "the mass is 0: its inertia is not used",
                  "Give the link a mass if it has one.");
}

void dropLimits(JointRecord& joint) {
  joint.lower = joint.upper = std::nullopt;
}

void checkLimits(JointRecord& joint, Findings& findings) {
  const bool isLimited = joint.kind == JointKind::REVOLUTE || joint.kind == JointKind::PRISMATIC;
  if (!isLimited) {
    if (joint.kind != JointKind::SPHERICAL) dropLimits(joint);
    return;
  }
  if (!joint.lower.has_value() && !joint.upper.has_value()) {
    findings.note("limit-missing", joint.place, "there is no limit: it turns or slides freely");
    return;
  }
  // The format says 0 for the one that is not given.
  double lower = joint.lower.value_or(0.0), upper = joint.upper.value_or(0.0);
  if (lower == upper) {
    findings.warn("limit-empty", joint.place,
                  "the limits are both " + numberText(lower) + ": they are not used",
                  "Make the joint fixed if it must not move.");
    return dropLimits(joint);
  }
  if (lower > upper) {
    findings.warn("limit-reversed", joint.place,
                  "the lower limit " + numberText(lower) + " is above the upper one " +
                      numberText(upper) + ": they are taken the other way round");
    std::swap(lower, upper);
  }
  joint.lower = lower;
  joint.upper = upper;
}

void checkEffort(const JointRecord& joint, Findings& findings) {
  if (!joint.effort.has_value()) return;
  if (*joint.effort == 0.0)
    findings.note("effort-zero", joint.place, "the largest force is 0: it counts as unlimited");
  if (*joint.effort < 0.0)
    findings.warn("effort-negative", joint.place,
                  "the largest force is " + numberText(*joint.effort) + ": it counts as unlimited");
}

void noteUnused(const JointRecord& joint, Findings& findings) {
  if (!joint.mimics.empty())
    findings.warn("mimic-unused", joint.place,
                  "it ought to follow the joint '" + joint.mimics + "': it moves by itself as yet",
                  "Drive both joints.");
  if (joint.friction != 0.0)
    findings.note("friction-unused", joint.place,
                  "dry friction of " + numberText(joint.friction) + " has no effect as yet");
}

void checkDynamics(JointRecord& joint, Findings& findings) {
  const auto check = [&](std::optional<double>& value, const char* name) {
    if (value.value_or(0.0) >= 0.0) return;
    findings.warn("dynamics-negative", joint.place,
                  std::string(name) + " is " + numberText(*value) + ": it counts as 0");
    value = 0.0;
  };
  check(joint.damping, "the damping");
  check(joint.rotorInertia, "the rotor inertia");
}

}  // namespace

void checkLinks(RobotRecord& robot, Findings& findings) {
  for (LinkRecord& link : robot.links) checkLink(link, findings);
}

void checkJoints(RobotRecord& robot, Findings& findings) {
  for (JointRecord& joint : robot.joints) {
    if (joint.kind == JointKind::FIXED) continue;
    checkLimits(joint, findings);
    checkEffort(joint, findings);
    checkDynamics(joint, findings);
    noteUnused(joint, findings);
  }
}

}  // namespace zelvik::model
