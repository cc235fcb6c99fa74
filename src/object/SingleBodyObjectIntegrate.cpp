// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cmath>
#include <zelvik/object/ImplicitGyroscopic.hpp>
#include <zelvik/object/SingleBodyObject.hpp>

namespace zelvik {
namespace {

/// sin(t) / t and (1 - cos(t)) / t^2 to rounding, without trigonometry for an ordinary step: the
/// remainders of the series are t^12 / 13! and t^12 / 14!.
void rotationFactors(double angle, double& sine, double& versine) {
  constexpr double kSmall = 0.2;
  const double y = angle * angle;
  if (angle < kSmall) {
    sine = 1.0 + y * (-1.0 / 6.0 +
                      y * (1.0 / 120.0 +
                           y * (-1.0 / 5040.0 + y * (1.0 / 362880.0 + y * (-1.0 / 39916800.0)))));
    versine =
        0.5 + y * (-1.0 / 24.0 +
                   y * (1.0 / 720.0 +
                        y * (-1.0 / 40320.0 + y * (1.0 / 3628800.0 + y * (-1.0 / 479001600.0)))));
    return;
  }
  sine = std::sin(angle) / angle;
  versine = (1.0 - std::cos(angle)) / y;
}

/// Rotation about the vector r by its length `angle` (rad), by Rodrigues' formula.
void rotationByVector(const Vec3& r, double angle, Mat33& R) {
  double sine, versine;
  rotationFactors(angle, sine, versine);
  const double cosine = 1.0 - versine * (angle * angle);
  const Vec3 s = sine * r, k = versine * r;
  R[0] = k[0] * r[0] + cosine;
  R[1] = k[0] * r[1] + s[2];
  R[2] = k[0] * r[2] - s[1];
  R[3] = k[0] * r[1] - s[2];
  R[4] = k[1] * r[1] + cosine;
  R[5] = k[1] * r[2] + s[0];
  R[6] = k[0] * r[2] + s[1];
  R[7] = k[1] * r[2] - s[0];
  R[8] = k[2] * r[2] + cosine;
}

}  // namespace

void SingleBodyObject::updateTimeStep(double) {}

void SingleBodyObject::updateTimeStepIfNecessary(double) {}

/// Velocities after dt without contacts.
void SingleBodyObject::computeFreeVelocities(const Mat<3, 1>& gravity, double dt) {
  linVelOld_ = linVel_;
  if (bodyType_ == BodyType::DYNAMIC) {
    linVelFree_ = linVel_ + dt * (invMass_ * force_ + gravity);
    computeFreeAngularVelocity(dt);
  } else {
    linVelFree_ = linVel_;
    angVelFree_ = angVel_;
  }
  applyDamping(dt);
}

void SingleBodyObject::computeFreeAngularVelocity(double dt) {
  Vec3 d;
  switch (gyroscopicMode_) {
    case IMPLICIT_GYROSCOPIC_BODY:
      // The state itself takes the gyroscopic change, so contacts see it in the impact velocity.
      implicitGyroscopicImpulseBody(bodyInertia_, rot_, angVel_, dt, d);
      angVel_ += d;
      angVelFree_ = angVel_ + dt * (worldInertiaInv_ * torque_);
      break;
    case IMPLICIT_GYROSCOPIC_WORLD:
      implicitGyroscopicImpulseWorld(worldInertia_, angVel_, torque_, dt, d);
      angVelFree_ = angVel_ + d;
      break;
    case EXPLICIT_GYROSCOPIC:
      // w + dt I^-1 (tau - w x (I w))
      angVelFree_ =
          angVel_ + dt * (worldInertiaInv_ * (torque_ - cross(angVel_, worldInertia_ * angVel_)));
      break;
    case NO_GYROSCOPIC:
      angVelFree_ = angVel_ + dt * (worldInertiaInv_ * torque_);
      break;
  }
}

/// Drag by the midpoint rule: m (v' - v) = -c dt (v + v') / 2.
void SingleBodyObject::applyDamping(double dt) {
  if (linearDamping_ > 0.0) linVelFree_ -= dragShare(dt) * linVel_;
  if (angularDamping_[0] > 0.0) angVelFree_ -= angularDragLoss(dt);
}

/// The share of its velocity that a body loses to drag.
double SingleBodyObject::dragShare(double dt) const {
  return linearDamping_ * dt / (mass_ + 0.5 * dt * linearDamping_);
}

/// The angular velocity that a body loses: (I + dt/2 diag(c)) dw = dt c wb, in body axes.
Vec3 SingleBodyObject::angularDragLoss(double dt) const {
  const Vec3 wb = transposeMul(rot_, angVel_);
  Mat33 damped = bodyInertia_, inverse;
  Vec3 T;
  for (int i = 0; i < 3; ++i) {
    damped(i, i) += 0.5 * dt * angularDamping_[i];
    T[i] = dt * angularDamping_[i] * wb[i];
  }
  cholInv(damped, inverse);
  return rot_ * (inverse * T);
}

void SingleBodyObject::integrate(double dt, const Mat<3, 1>&) {
  if (bodyType_ == BodyType::DYNAMIC) applyContactImpulses();
  integratePosition(dt);
  integrateOrientation(dt);
  bodyPos_ = comPos_ - rot_ * comOffset_;
  force_.setZero();
  torque_.setZero();
}

void SingleBodyObject::integratePosition(double dt) {
  if (!perObjectContact_.contacts_.empty() || constraintForceApplied_) {
    constraintForceApplied_ = false;
    comPos_ += dt * linVel_;
  } else {
    // Free flight: the trapezoid, exact under constant force.
    comPos_ += 0.5 * dt * (linVelOld_ + linVel_);
  }
}

void SingleBodyObject::integrateOrientation(double dt) {
  const double angle = dt * norm(angVel_);
  // Negated, so that a NaN spreads to the pose.
  if (!(angle < 1e-11)) {
    Mat33 E;
    const Mat33 rotOld = rot_;
    rotationByVector(dt * angVel_, angle, E);
    rotmatmul(E, rotOld, rot_);
  }
  // Back and forth through a unit quaternion keeps the matrix a rotation.
  scaledQuaternion(rot_, quaternion_);
  quaternion_ *= 1.0 / norm(quaternion_);
  quatToRotMat(quaternion_, rot_);
}

}  // namespace zelvik
