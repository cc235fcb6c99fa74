// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

namespace {

/// out = a + factor b
void axpy(const VecDyn& a, double factor, const VecDyn& b, VecDyn& out) {
  for (size_t k = 0; k < out.n; ++k) out[k] = a[k] + factor * b[k];
}

/// out = factor a
void scale(double factor, const VecDyn& a, VecDyn& out) {
  for (size_t k = 0; k < out.n; ++k) out[k] = factor * a[k];
}

}  // namespace

/// Warns once, at the first step with damping.
void ArticulatedSystem::warnOfRungeKuttaDamping() {
  if (toldOfDamping_) return;
  for (size_t k = 0; k < tree_.dof; ++k) toldOfDamping_ |= joints_.damping[k] != 0.0;
  if (!toldOfDamping_) return;
  MSG_WARN("the robot '"
           << name_ << "': RUNGE_KUTTA_4 does not converge with joint damping, which enters as a "
           << "force and, undivided, as inertia. Set the damping to 0 and give the same numbers "
           << "as D gains in PD_PLUS_FEED_FORWARD, or choose another scheme");
}

void ArticulatedSystem::integrateRungeKutta(const Mat<3, 1>& gravity, double dt) {
  // The classical scheme of order four (J. C. Butcher, Numerical Methods for Ordinary Differential
  // Equations, section 23), with velocity changes over dt in place of derivatives. Contacts act
  // once, as a jump before the first stage: gvTemp_ - gvFree_ is what their impulses changed.
  for (size_t k = 0; k < tree_.dof; ++k) rkVel1_[k] = gvTemp_[k] - gvFree_[k] + gv_[k];
  rkGc0_ = gc_;
  gv_ = rkVel1_;
  rkIntegrate(gravity, dt);
  rkDelta1_ = gvTemp_;

  axpy(rkVel1_, 0.5, rkDelta1_, rkVel2_);
  setStage(rkVel1_, 0.5 * dt, rkVel2_, rkGc2_);
  rkIntegrate(gravity, 0.5 * dt);
  scale(2.0, gvTemp_, rkDelta2_);

  axpy(rkVel1_, 0.5, rkDelta2_, rkVel3_);
  setStage(rkVel2_, 0.5 * dt, rkVel3_, rkGc3_);
  rkIntegrate(gravity, 0.5 * dt);
  scale(2.0, gvTemp_, rkDelta3_);

  axpy(rkVel1_, 1.0, rkDelta3_, rkVel4_);
  setStage(rkVel3_, dt, rkVel4_, rkGc4_);
  rkIntegrate(gravity, dt);
  rkDelta4_ = gvTemp_;

  constexpr double sixth = 0.16666666666666666, third = 0.3333333333333333;
  for (size_t k = 0; k < tree_.dof; ++k) {
    gv_[k] = rkVel1_[k] + sixth * rkDelta1_[k] + third * rkDelta2_[k] + third * rkDelta3_[k] +
             sixth * rkDelta4_[k];
    gcRate_[k] = sixth * rkVel1_[k] + third * rkVel2_[k] + third * rkVel3_[k] + sixth * rkVel4_[k];
  }
  gc_ = rkGc0_;
}

void ArticulatedSystem::setStage(const VecDyn& rate, double h, const VecDyn& velocity,
                                 VecDyn& coordinates) {
  coordinates = rkGc0_;
  integratePosition(coordinates, rate, h);
  gc_ = coordinates;
  gv_ = velocity;
}

void ArticulatedSystem::rkIntegrate(const Mat<3, 1>& gravity, double dt) {
  // Without the momentum M u on the right side what is left in gvTemp_ is the change of velocity.
  generalizedMomentum_.setZero();
  updateKinematics();
  computeMassRows();
  computeNonlinearities(gravity, nonlinearities_);
  factoriseMassMatrix();
  integrateWithoutContact(gravity, dt);
}

}  // namespace zelvik
