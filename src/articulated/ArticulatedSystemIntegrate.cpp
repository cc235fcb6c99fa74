// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/rotation.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

namespace {

/// Below this angle (rad) an increment counts as the identity, and an error as zero.
constexpr double kSmallAngle = 1e-12;

/// Rotation vector (rad, body axes of q) that turns the quaternion q into the quaternion t, with
/// the angle from the dot product of both.
Vec3 rotationError(const double* q, const double* t) {
  const Vec4 conjugate{{q[0], -q[1], -q[2], -q[3]}};
  const Vec4 e = quatMul(conjugate, {{t[0], t[1], t[2], t[3]}});
  const Vec3 axis{{e[1], e[2], e[3]}};
  const double s = norm(axis);
  if (s < kSmallAngle) return Vec3{};
  const double cosine = q[0] * t[0] + q[1] * t[1] + q[2] * t[2] + q[3] * t[3];
  return (2.0 * std::acos(std::min(1.0, cosine)) / s) * axis;
}

/// q = q exp(a/2), normalised, with the rotation vector a (rad) in the body axes of q.
void rotateQuaternion(const Vec3& a, double* q) {
  const double h = norm(a);
  if (h < kSmallAngle) return;
  const double scale = std::sin(0.5 * h) / h;
  const Vec4 dq{{std::cos(0.5 * h), scale * a[0], scale * a[1], scale * a[2]}};
  const Vec4 product = quatMul({{q[0], q[1], q[2], q[3]}}, dq);
  const double length = norm(product);
  for (size_t i = 0; i < 4; ++i) q[i] = product[i] / length;
}

/// sum += J^T f over the columns of each Jacobian.
void addGeneralizedForces(const std::vector<SparseJacobian>& jacobians,
                          const std::vector<Mat<3, 1>>& forces, VecDyn& sum) {
  for (size_t k = 0; k < forces.size(); ++k) {
    const SparseJacobian& J = jacobians[k];
    const Vec3& f = forces[k];
    for (size_t c = 0; c < J.size; ++c) {
      const double* column = J.v.v + 3 * c;
      sum[J.idx[c]] += column[0] * f[0] + column[1] * f[1] + column[2] * f[2];
    }
  }
}

}  // namespace

void ArticulatedSystem::updateTimeStep(double dt) {
  timeStep_ = dt;
  computeDampedMass(dt);
  dampedTimeStep_ = dt;
  timeStepUpToDate_ = true;
}

void ArticulatedSystem::updateTimeStepIfNecessary(double dt) {
  if (timeStepUpToDate_ && dampedTimeStep_ == dt) return;
  computeDampedMass(dt);
  dampedTimeStep_ = dt;
  timeStepUpToDate_ = true;
}

// ---- forces of the step ----

void ArticulatedSystem::integrateWithoutContact(const Mat<3, 1>& /*gravity*/, double dt) {
  // (M + D) u+ = M u + dt (tau - h)
  for (size_t k = 0; k < tree_.dof; ++k) {
    rhs_[k] = -nonlinearities_[k];
    generalizedForce_[k] = joints_.feedForward[k];
  }
  if (joints_.controlMode == PD_PLUS_FEED_FORWARD) addControllerForces();
  addDampingForces();
  for (size_t k = 0; k < tree_.dof; ++k)
    generalizedForce_[k] = std::max(std::min(generalizedForce_[k], joints_.forceUpperLimit[k]),
                                    joints_.forceLowerLimit[k]);
  addSpringForces();
  for (size_t k = 0; k < tree_.dof; ++k) rhs_[k] += generalizedForce_[k];
  addOutsideForces();
  for (size_t k = 0; k < tree_.dof; ++k) rhs_[k] = rhs_[k] * dt + generalizedMomentum_[k];
  solveForVelocity();
}

void ArticulatedSystem::addControllerForces() {
  for (size_t i = 1; i < tree_.bodyCount; ++i) {
    const size_t g = tree_.gcStart[i], d = tree_.dofStart[i];
    if (tree_.jointType[i] == Joint::REVOLUTE || tree_.jointType[i] == Joint::PRISMATIC) {
      positionError_[d] = joints_.pTarget[g] - gc_[g];
    } else if (tree_.jointType[i] == Joint::SPHERICAL) {
      const Vec3 error = rotationError(gc_.v + g, joints_.pTarget.v + g);
      for (size_t t = 0; t < 3; ++t) positionError_[d + t] = error[t];
    }
  }
  for (size_t k = 0; k < tree_.dof; ++k)
    generalizedForce_[k] += joints_.pGain[k] * positionError_[k];
  if (integrationScheme_ > EXPLICIT)
    for (size_t k = 0; k < tree_.dof; ++k) generalizedForce_[k] -= joints_.dGain[k] * gv_[k];
  for (size_t k = 0; k < tree_.dof; ++k)
    generalizedForce_[k] += joints_.dGain[k] * joints_.dTarget[k];
}

void ArticulatedSystem::addDampingForces() {
  // The implicit schemes have damping, derivative gain and the stiff terms in one factor.
  const VecDyn& rate = integrationScheme_ > EXPLICIT ? joints_.damping : dampedDiagonalRate_;
  for (size_t k = 0; k < tree_.dof; ++k) generalizedForce_[k] -= rate[k] * gv_[k];
}

void ArticulatedSystem::addSpringForces() {
  for (const JointSpring& spring : joints_.springs) {
    const size_t g = tree_.gcStart[spring.bodyIdx], d = tree_.dofStart[spring.bodyIdx];
    const Joint::Type type = tree_.jointType[spring.bodyIdx];
    if (type == Joint::REVOLUTE || type == Joint::PRISMATIC) {
      // Coordinate minus mount: the sign is the other way round than for a spherical joint.
      rhs_[d] += spring.stiffness * (gc_[g] - spring.mount[0]);
    } else if (type == Joint::SPHERICAL) {
      const Vec3 error = rotationError(gc_.v + g, spring.mount);
      for (size_t t = 0; t < 3; ++t) rhs_[d + t] += spring.stiffness * error[t];
    }
  }
}

void ArticulatedSystem::addOutsideForces() {
  if (!externalForceVectors_.empty()) {
    externalForceGeneralized_.setZero();
    addGeneralizedForces(externalForceJacobians_, externalForceVectors_, externalForceGeneralized_);
    for (size_t k = 0; k < tree_.dof; ++k) rhs_[k] += externalForceGeneralized_[k];
  }
  if (!constraintJacobians_.empty()) {
    externalForceGeneralized_.setZero();
    addGeneralizedForces(constraintJacobians_, constraintForces_, externalForceGeneralized_);
    for (size_t k = 0; k < tree_.dof; ++k) rhs_[k] += externalForceGeneralized_[k];
  }
}

void ArticulatedSystem::solveForVelocity() {
  // u+ = (M + D)^-1 rhs, by the factor
  gvTemp_ = rhs_;
  if (tree_.dof > 0) factor_.solve(gvTemp_.v);
}

// ---- new state ----

void ArticulatedSystem::integrate(double dt, const Mat<3, 1>& gravity) {
  integrateVelocity(dt, gravity);
  clearVisForces();
  if (!externalForceVectors_.empty()) clearExternalForces();
  constraintForces_.clear();
  constraintJacobians_.clear();
  integratePosition(gc_, gcRate_, dt);
  updateKinematics();
}

void ArticulatedSystem::integrateVelocity(double dt, const Mat<3, 1>& gravity) {
  switch (integrationScheme_) {
    case TRAPEZOID:
      for (size_t k = 0; k < tree_.dof; ++k) gcRate_[k] = 0.5 * (gvTemp_[k] + gv_[k]);
      gv_ = gvTemp_;
      break;
    case SEMI_IMPLICIT:
      gv_ = gvTemp_;
      gcRate_ = gv_;
      break;
    case EXPLICIT:
      gcRate_ = gv_;
      gv_ = gvTemp_;
      break;
    case RUNGE_KUTTA_4:
      integrateRungeKutta(gravity, dt);
      refreshKeptQuantities();
      break;
    default:
      break;
  }
}

void ArticulatedSystem::integratePosition(VecDyn& gc, const VecDyn& rate, double dt) const {
  if (gc.n != tree_.gcDim || rate.n != tree_.dof) {
    MSG_FATAL("integratePosition: " << gc.n << " coordinates and " << rate.n
                                    << " velocities were given, the system has " << tree_.gcDim
                                    << " and " << tree_.dof);
    return;
  }
  if (tree_.isFloating()) {
    for (size_t i = 0; i < 3; ++i) gc[i] += dt * rate[i];
    // The base turns at a rate in world axes, the increment is in body axes: a = dt R^T w.
    Mat33 R;
    quatToRotMat(gc.v + 3, R);
    const Vec3 w{{rate[3], rate[4], rate[5]}};
    rotateQuaternion(dt * transposeMul(R, w), gc.v + 3);
  }
  for (size_t i = 1; i < tree_.bodyCount; ++i) {
    const size_t g = tree_.gcStart[i], d = tree_.dofStart[i];
    if (tree_.jointType[i] == Joint::REVOLUTE || tree_.jointType[i] == Joint::PRISMATIC)
      gc[g] += dt * rate[d];
    else if (tree_.jointType[i] == Joint::SPHERICAL)
      rotateQuaternion(dt * Vec3{{rate[d], rate[d + 1], rate[d + 2]}}, gc.v + g);
  }
}

}  // namespace zelvik
