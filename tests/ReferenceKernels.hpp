// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Eigen/Dense>
#include <vector>
#include <zelvik/contact/FastTrig.hpp>
#include <zelvik/contact/Single3DContactProblem.hpp>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>

// The kernels of the library in their plain form, without regard to speed: the definition, written
// out for one body, one entry or one angle at a time.

namespace zelvik::reference {

/// Sum of m J^T J + Jr^T I Jr over the bodies, with J of the centre of mass, plus rotor inertia.
inline Eigen::MatrixXd massMatrix(const ArticulatedSystem& system) {
  Eigen::MatrixXd M = system.getRotorInertia().e().asDiagonal();
  for (size_t b = 0; b < system.getBodyCount(); ++b) {
    MatDyn J, Jr;
    Mat33 R;
    system.getOrientation(b, R);
    system.getDenseJacobian(b, system.getComPositions()[b], J);
    system.getDenseRotationalJacobian(b, Jr);
    const Eigen::Matrix3d inertiaW = R.e() * system.getBodyInertia()[b].e() * R.e().transpose();
    M += system.getMass(b) * J.e().transpose() * J.e() + Jr.e().transpose() * inertiaW * Jr.e();
  }
  return M;
}

/// Newton-Euler body by body: accelerations of the centres of mass outwards with zero joint
/// accelerations, then J^T of the wrenches that they take.
inline Eigen::VectorXd nonlinearities(const ArticulatedSystem& system, const Vec3& gravity) {
  const size_t n = system.getBodyCount();
  const VecDyn& u = system.getGeneralizedVelocity();
  std::vector<Vec3> p(n), omega(n), alpha(n), a(n);
  Eigen::VectorXd h = Eigen::VectorXd::Zero(static_cast<Eigen::Index>(system.getDOF()));
  for (size_t i = 0; i < n; ++i) {
    Mat33 R;
    MatDyn J, Jr;
    system.getPosition(i, p[i]);
    system.getOrientation(i, R);
    if (i == 0) {
      a[0] = -gravity;
      if (system.getJointType(0) == Joint::FLOATING) omega[0] = {{u[3], u[4], u[5]}};
    } else {
      const size_t q = system.getParents()[i], d = system.getDofStart()[i];
      const Joint::Type type = system.getJointType(i);
      const Vec3 r = p[i] - p[q], &axis = system.getJointAxes()[i];
      Vec3 turn{}, slide{};
      if (type == Joint::REVOLUTE) turn = u[d] * axis;
      if (type == Joint::SPHERICAL) turn = R * Vec3{{u[d], u[d + 1], u[d + 2]}};
      if (type == Joint::PRISMATIC) slide = u[d] * axis;
      omega[i] = omega[q] + turn;
      alpha[i] = alpha[q] + cross(omega[q], turn);
      a[i] = a[q] + cross(alpha[q], r) + cross(omega[q], cross(omega[q], r)) +
             2.0 * cross(omega[q], slide);
    }
    const Vec3 c = system.getComPositions()[i] - p[i];
    const Mat33 I = R * system.getBodyInertia()[i] * transpose(R);
    const Vec3 force =
        system.getMass(i) * (a[i] + cross(alpha[i], c) + cross(omega[i], cross(omega[i], c)));
    const Vec3 moment = I * alpha[i] + cross(omega[i], I * omega[i]);
    system.getDenseJacobian(i, system.getComPositions()[i], J);
    system.getDenseRotationalJacobian(i, Jr);
    h += J.e().transpose() * force.e() + Jr.e().transpose() * moment.e();
  }
  return h;
}

/// The sliding contact, one trial after the other.
class SlidingContact {
 public:
  /// @param v velocity without this problem's impulse, @param z normal residual (m/s)
  SlidingContact(const contact::Single3DContactProblem& p, const Vec3& v, double z)
      : p_(p), c_(column(p.delassus_, 2)), z_(z) {
    for (size_t j = 0; j < 2; ++j)
      for (size_t i = 0; i < 3; ++i) M_(i, j) = D(i, j) - D(i, 2) * D(2, j) / D(2, 2);
    u0_ = Vec3{{v[0], v[1], z}} - (z / D(2, 2)) * c_;
  }

  /// The impulse on the cone for the sticking candidate i.
  Vec3 solve(const Vec3& i) {
    place(i[0] / std::hypot(i[0], i[1]), i[1] / std::hypot(i[0], i[1]));
    if (r_ <= 0.0) return Vec3{};
    const double theta = std::atan2(i[1], i[0]), f = merit({{i[0], i[1], -p_.mu_ * p_.mu_ * i[2]}});
    if (!(f * f < 1e-24)) moveTo(march(theta, f, i));
    return impulse();
  }

 private:
  double D(size_t i, size_t j) const { return p_.delassus_(i, j); }
  void place(double cosine, double sine) {
    cos_ = cosine;
    sin_ = sine;
    r_ = -z_ / (D(2, 0) * cosine + D(2, 1) * sine + D(2, 2) / p_.mu_);
  }
  void moveTo(double theta) {
    double sine, cosine;
    contact::fastSinCos2(theta, sine, cosine);
    place(cosine, sine);
  }
  Vec3 impulse() const { return {{r_ * cos_, r_ * sin_, r_ / p_.mu_}}; }
  Vec3 normal() const { return {{r_ * cos_, r_ * sin_, -p_.mu_ * r_}}; }
  double merit(const Vec3& normal) const {
    const Vec3 U = u0_ + M_ * Mat<2, 1>{{r_ * cos_, r_ * sin_}};
    return dot(cross(c_, normal), U);
  }

  double march(double previous, double fPrevious, const Vec3& i) {
    double theta = 0.0, f = 0.0, step = fPrevious < 0.0 ? 0.005 : -0.005;
    for (int k = 1;; ++k) {
      do {
        theta = previous + step;
        step *= 0.5;
        moveTo(theta);
      } while (r_ < 0.0);
      step *= 2.6;
      f = merit(normal());
      if (!(f * fPrevious > 0.0) || k == 15 || !(dot(normal(), impulse() - i) < 0.0)) break;
      previous = theta;
      fPrevious = f;
    }
    if (f * fPrevious < 0.0) return falsePosition(previous, fPrevious, theta, f);
    return fPrevious * fPrevious > f * f ? theta : previous;
  }

  double falsePosition(double a, double fa, double b, double fb) {
    double last = b, theta = 0.0, f = 0.0;
    for (int round = 1;; ++round) {
      theta = b - fb / (fa - fb) * (a - b);
      moveTo(theta);
      f = merit(normal());
      if ((last - theta) * (last - theta) < 5e-9 || round == 16) break;
      (f * fa > 0.0 ? a : b) = theta;
      (f * fa > 0.0 ? fa : fb) = f;
      last = theta;
    }
    double best = theta, fBest = f * f;
    if (f * f > fa * fa) best = a, fBest = fa * fa;
    return fb * fb < fBest ? b : best;
  }

  const contact::Single3DContactProblem& p_;
  Vec3 c_, u0_;
  Mat<3, 2> M_;
  double z_, cos_ = 1.0, sin_ = 0.0, r_ = 0.0;
};

}  // namespace zelvik::reference
