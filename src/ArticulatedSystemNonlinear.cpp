// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/rotation.hpp>
#include <zelvik/zlv_message_logger.hpp>

// Recursive Newton-Euler (R. Featherstone, Rigid Body Dynamics Algorithms, section 5.3) with zero
// joint accelerations, in world axes, wrenches about frame origins. Gravity enters as an
// acceleration of the root.

namespace zelvik {

void ArticulatedSystem::computeNonlinearities(const Mat<3, 1>& gravity, VecDyn& h) {
  if (h.n != dof_) {
    MSG_FATAL("computeNonlinearities: the vector has " << h.n << " entries, the system has " << dof_
                                                       << " velocities");
    return;
  }
  propagateVelocities(gravity);
  computeBodyWrenches();
  // f_p += f_i, n_p += r_i x f_i + n_i.
  for (size_t i = bodyCount_; i-- > 1;) {
    const size_t p = parent_[i];
    bodyForceW_[p] += bodyForceW_[i];
    bodyMomentW_[p] += cross(jointOffsetW_[i], bodyForceW_[i]) + bodyMomentW_[i];
  }
  projectWrenches(h);
}

/// Velocities and bias accelerations, from the root outwards.
void ArticulatedSystem::propagateVelocities(const Mat<3, 1>& gravity) {
  if (jointType_[0] == Joint::FLOATING) {
    linearVelocityW_[0] = {{gv_[0], gv_[1], gv_[2]}};
    angularVelocityW_[0] = {{gv_[3], gv_[4], gv_[5]}};
    originInertiaW_[0] = inertiaW_[0];
    addInertia(mass_[0], comOffsetW_[0], originInertiaW_[0]);
  }
  linearAccelerationW_[0] = -gravity;

  for (size_t i = 1; i < bodyCount_; ++i) {
    originInertiaW_[i] = inertiaW_[i];
    addInertia(mass_[i], comOffsetW_[i], originInertiaW_[i]);

    const size_t p = parent_[i], d = dofStart_[i];
    const Mat<3, 1>& r = jointOffsetW_[i];
    const Mat<3, 1> omega = angularVelocityW_[p], alpha = angularAccelerationW_[p];
    const Mat<3, 1> omegaXr = cross(omega, r);
    Mat<3, 1> v = linearVelocityW_[p] + omegaXr;
    Mat<3, 1> a = linearAccelerationW_[p] + cross(omega, omegaXr) + cross(alpha, r);
    angularVelocityW_[i] = omega;
    angularAccelerationW_[i] = alpha;

    switch (jointType_[i]) {
      case Joint::PRISMATIC: {
        // The Coriolis term of the sliding origin.
        const Mat<3, 1> w = gv_[d] * jointAxisW_[i];
        jointLinearVelocityW_[i] = w;
        v += w;
        a += 2.0 * cross(omega, w);
        break;
      }
      case Joint::REVOLUTE:
      case Joint::SPHERICAL: {
        const Mat<3, 1> w = jointType_[i] == Joint::REVOLUTE
                                ? gv_[d] * jointAxisW_[i]
                                : rotationW_[i] * Mat<3, 1>{{gv_[d], gv_[d + 1], gv_[d + 2]}};
        jointAngularVelocityW_[i] = w;
        angularVelocityW_[i] += w;
        angularAccelerationW_[i] += cross(omega, w);
        break;
      }
      default:
        break;
    }
    linearVelocityW_[i] = v;
    linearAccelerationW_[i] = a;
  }
}

/// Force and moment about the frame origin that each body alone takes for its bias acceleration. Of
/// a fixed root they are not used.
void ArticulatedSystem::computeBodyWrenches() {
  for (size_t i = bodyCount_; i-- > 0;) {
    const double m = mass_[i];
    const Mat<3, 1>& c = comOffsetW_[i];
    const Mat<3, 1>& a = linearAccelerationW_[i];
    const Mat<3, 1>& alpha = angularAccelerationW_[i];
    const Mat<3, 1>& omega = angularVelocityW_[i];
    const Mat<3, 3>& J = originInertiaW_[i];
    // f = m (a + alpha x c + omega x (omega x c)), n = J alpha + m c x a + omega x (J omega).
    bodyForceW_[i] = m * (a + cross(alpha, c) + cross(omega, cross(omega, c)));
    bodyMomentW_[i] = J * alpha + m * cross(c, a) + cross(omega, J * omega);
  }
}

/// The share of each wrench that its joint has to give.
void ArticulatedSystem::projectWrenches(VecDyn& h) {
  if (jointType_[0] == Joint::FLOATING)
    for (size_t k = 0; k < 3; ++k) {
      h[k] = bodyForceW_[0][k];
      h[3 + k] = bodyMomentW_[0][k];
    }
  for (size_t i = 1; i < bodyCount_; ++i) {
    const size_t d = dofStart_[i];
    switch (jointType_[i]) {
      case Joint::PRISMATIC:
        h[d] = dot(jointAxisW_[i], bodyForceW_[i]);
        break;
      case Joint::REVOLUTE:
        h[d] = dot(jointAxisW_[i], bodyMomentW_[i]);
        break;
      case Joint::SPHERICAL: {
        const Mat<3, 1> n = transposeMul(rotationW_[i], bodyMomentW_[i]);
        for (size_t k = 0; k < 3; ++k) h[d + k] = n[k];
        break;
      }
      default:
        break;
    }
  }
}

}  // namespace zelvik
