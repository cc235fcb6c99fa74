// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cmath>
#include <zelvik/object/ImplicitGyroscopic.hpp>
#include <zelvik/object/SingleBodyObject.hpp>

namespace zelvik {

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
  if (linearDamping_ > 0.0) {
    const double k = linearDamping_ * dt / (mass_ + 0.5 * dt * linearDamping_);
    linVelFree_ -= k * linVel_;
  }
  if (angularDamping_[0] > 0.0) {
    // (I + dt/2 diag(c)) dw = -dt c wb, in body axes
    const Vec3 wb = transposeMul(rot_, angVel_);
    Mat33 damped = bodyInertia_, inverse;
    Vec3 T;
    for (int i = 0; i < 3; ++i) {
      damped(i, i) += 0.5 * dt * angularDamping_[i];
      T[i] = dt * angularDamping_[i] * wb[i];
    }
    cholInv(damped, inverse);
    angVelFree_ -= rot_ * (inverse * T);
  }
}

void SingleBodyObject::integrate(double dt, const Mat<3, 1>&) {
  if (bodyType_ == BodyType::DYNAMIC) applyContactImpulses();
  integratePosition(dt);
  integrateOrientation(dt);
  bodyPos_ = comPos_ - rot_ * comOffset_;
  force_.setZero();
  torque_.setZero();
}

/// Velocities after the contact solve.
void SingleBodyObject::applyContactImpulses() {
  if (!fullDelassus_) {
    linVel_ = {{genVel_[0], genVel_[1], genVel_[2]}};
    angVel_ = {{genVel_[3], genVel_[4], genVel_[5]}};
    return;
  }
  const std::vector<contact::Contact>& contacts = perObjectContact_.contacts_;
  Vec3 linear{}, angular{};
  for (size_t i = 0; i < contacts.size(); ++i) {
    Vec3 p;
    contacts[i].getImpulse(p);
    linear += p;
    angular -= cross(contactArm_[i], p);
  }
  linVel_ = linVelFree_ + invMass_ * linear;
  angVel_ = angVelFree_ + worldInertiaInv_ * angular;
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
  const double n = norm(angVel_);
  const double angle = dt * n;
  // Negated, so that a NaN spreads to the pose.
  if (!(angle < 1e-11)) {
    Mat33 E;
    const Mat33 rotOld = rot_;
    rotationAboutAxis((1.0 / n) * angVel_, std::cos(angle), std::sin(angle), E);
    rotmatmul(E, rotOld, rot_);
  }
  // Back and forth through a unit quaternion keeps the matrix a rotation.
  rotMatToQuat(rot_, quaternion_);
  quaternion_ *= 1.0 / norm(quaternion_);
  quatToRotMat(quaternion_, rot_);
}

}  // namespace zelvik
