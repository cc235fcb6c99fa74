// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>

#include "contact/JointLimitLaw.hpp"

// A joint beyond its limit has a problem of its own: its velocity u away from the range shall
// become zero. An impulse p at the joint changes the velocities by M^-1 e p, with e the unit vector
// of the joint's velocity (an axis) or of the axis of the turn (a cone), so
//
//   p = (0 - e . u) / (e . M^-1 e),   u += M^-1 e p.
//
// The denominator's inverse is kept in `delassusInv_`(0,0). M here is the mass matrix plus the
// implicit damping of the step.

namespace zelvik {

using contact::Single3DContactProblem;

void ArticulatedSystem::appendJointLimits(contact::ContactProblemList& problems) {
  for (size_t i = 1; i < tree_.bodyCount; ++i) {
    if (tree_.jointType[i] == Joint::REVOLUTE || tree_.jointType[i] == Joint::PRISMATIC)
      appendAxisLimit(i, problems);
    else if (tree_.jointType[i] == Joint::SPHERICAL)
      appendConeLimit(i, problems);
  }
}

Single3DContactProblem& ArticulatedSystem::appendLimitProblem(
    size_t bodyIdx, double depth, contact::ContactProblemList& problems) {
  formMassInverse();
  problems.emplace_back();
  Single3DContactProblem& problem = problems.back();
  problem.rank_ = Single3DContactProblem::JOINT_LIMIT;
  problem.objA_ = this;
  problem.contactIdxA_ = bodyIdx;
  problem.position_ = kinematics_.positionW[bodyIdx];
  problem.depth_ = depth;
  const size_t d = tree_.dofStart[bodyIdx];
  problem.reducedDzz_ = massInverse_(d, d);
  jointLimitProblems_.push_back(&problem);
  return problem;
}

void ArticulatedSystem::appendAxisLimit(size_t bodyIdx, contact::ContactProblemList& problems) {
  const size_t d = tree_.dofStart[bodyIdx];
  const double lower = joints_.limits[d][0], upper = joints_.limits[d][1];
  const double q = gc_[tree_.gcStart[bodyIdx]];
  if (lower == upper) return;  // no limit
  const bool isBelow = q < lower;
  if (!isBelow && !(q > upper)) return;
  Single3DContactProblem& problem =
      appendLimitProblem(bodyIdx, isBelow ? q - lower : upper - q, problems);
  problem.mu_ = isBelow ? 1.0 : -1.0;
  problem.delassusInv_(0, 0) = 1.0 / massInverse_(d, d);
}

void ArticulatedSystem::appendConeLimit(size_t bodyIdx, contact::ContactProblemList& problems) {
  const size_t d = tree_.dofStart[bodyIdx];
  const double limit = joints_.limits[d][0];
  if (limit < 0.0) return;  // no limit
  const double* q = gc_.v + tree_.gcStart[bodyIdx];
  // The quaternion and its negative are one pose; the limit is on the shorter turn to it.
  const double angle = 2.0 * std::acos(std::fabs(q[0]));
  const Vec3 vector{{q[1], q[2], q[3]}};
  const double length = norm(vector);
  if (!(angle > limit) || length == 0.0) return;
  Single3DContactProblem& problem = appendLimitProblem(bodyIdx, limit - angle, problems);
  Vec3& e = problem.planeBasis_[0];
  e = ((q[0] < 0.0 ? -1.0 : 1.0) / length) * vector;
  // Inverse inertia about the axis: e^T B e, with B the joint's block of the inverse.
  double response = 0.0;
  for (size_t c = 0; c < 3; ++c)
    for (size_t r = 0; r < 3; ++r) response += e[r] * massInverse_(d + r, d + c) * e[c];
  problem.delassusInv_(0, 0) = 1.0 / response;
}

double ArticulatedSystem::enforceJointLimits(Single3DContactProblem& problem) {
  switch (tree_.jointType[problem.contactIdxA_]) {
    case Joint::REVOLUTE:
    case Joint::PRISMATIC:
      return enforceAxisLimit(problem);
    case Joint::SPHERICAL:
      return enforceConeLimit(problem);
    default:
      return 0.0;
  }
}

double ArticulatedSystem::enforceAxisLimit(Single3DContactProblem& problem) {
  const size_t d = tree_.dofStart[problem.contactIdxA_];
  double impulse;
  const double residual = contact::enforceAxisLimit(problem, gvTemp_[d], impulse);
  const double* column = massInverse_.v + d * tree_.dof;
  for (size_t k = 0; k < tree_.dof; ++k) gvTemp_[k] += impulse * column[k];
  return residual;
}

double ArticulatedSystem::enforceConeLimit(Single3DContactProblem& problem) {
  const size_t d = tree_.dofStart[problem.contactIdxA_];
  Vec3 p;
  const double residual =
      contact::enforceConeLimit(problem, {{gvTemp_[d], gvTemp_[d + 1], gvTemp_[d + 2]}}, p);
  const double* c0 = massInverse_.v + d * tree_.dof;
  const double* c1 = c0 + tree_.dof;
  const double* c2 = c1 + tree_.dof;
  for (size_t k = 0; k < tree_.dof; ++k) gvTemp_[k] += c0[k] * p[0] + c1[k] * p[1] + c2[k] * p[2];
  return residual;
}

}  // namespace zelvik
