// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "articulated/TreePassTools.hpp"

// Recursive Newton-Euler (R. Featherstone, Rigid Body Dynamics Algorithms, section 5.3) with zero
// joint accelerations, in world axes, wrenches about frame origins. Gravity enters as an
// acceleration of the root.

namespace zelvik {

void TreePasses::computeNonlinearities(const Vec3& gravity, const double* gv, VecDyn& h) {
  startRoot(gravity, gv);
  for (size_t b = 1; b < quads_.size(); ++b) propagateVelocities(quads_[b], gv, bodies_[b]);
  // f_p += f_i, n_p += r_i x f_i + n_i.
  for (size_t b = quads_.size(); b-- > 1;) {
    const Bodies& B = bodies_[b];
    addToParents(quads_[b], B.force, &Bodies::force);
    addToParents(quads_[b], B.torque + cross(B.offset, B.force), &Bodies::torque);
  }
  projectWrenches(h);
}

void TreePasses::startRoot(const Vec3& gravity, const double* gv) {
  Bodies& root = bodies_[0];
  if (tree_.isFloating()) {
    kinematics_.linearVelocityW[0] = {{gv[0], gv[1], gv[2]}};
    kinematics_.angularVelocityW[0] = {{gv[3], gv[4], gv[5]}};
  }
  root.v = broadcast(kinematics_.linearVelocityW[0]);
  root.omega = broadcast(kinematics_.angularVelocityW[0]);
  root.a = broadcast(-gravity);
  root.alpha = Lanes3{};
  computeWrench(root);
}

/// Velocities and bias accelerations, from those of the parents.
void TreePasses::propagateVelocities(const Quad& quad, const double* gv, Bodies& B) {
  const Lanes3 omega =
      gather(quad.parents, [](const Bodies& p) -> const Lanes3& { return p.omega; });
  const Lanes3 alpha =
      gather(quad.parents, [](const Bodies& p) -> const Lanes3& { return p.alpha; });
  const Lanes3 omegaXr = cross(omega, B.offset);
  B.v = gather(quad.parents, [](const Bodies& p) -> const Lanes3& { return p.v; }) + omegaXr;
  B.a = gather(quad.parents, [](const Bodies& p) -> const Lanes3& { return p.a; }) +
        cross(omega, omegaXr) + cross(alpha, B.offset);

  Lanes3 w{};
  for (size_t k = 0; k < quad.width; ++k) {
    Lanes rate;
    for (size_t l = 0; l < kLanes; ++l) rate[l] = gv[quad.gv[k][l]];
    w += rate * B.turn[k];
    if (k > 0 || !quad.hasSlides) continue;
    // The Coriolis term of the sliding origin.
    const Lanes3 u = rate * B.slide, omegaXu = cross(omega, u);
    B.v += u;
    B.a += omegaXu + omegaXu;
  }
  B.omega = omega + w;
  B.alpha = alpha + cross(omega, w);
  computeWrench(B);

  Vec3 *velocities[kLanes], *rates[kLanes];
  for (size_t l = 0; l < kLanes; ++l) {
    velocities[l] = &kinematics_.linearVelocityW[quad.body[l]];
    rates[l] = &kinematics_.angularVelocityW[quad.body[l]];
  }
  scatter(B.v, quad.count, velocities);
  scatter(B.omega, quad.count, rates);
}

/// Force and moment about the frame origin that each body alone takes for its bias acceleration:
/// f = m (a + alpha x c + omega x (omega x c)), n = J alpha + m c x a + omega x (J omega) with J
/// about the origin. Of a fixed root they are not used.
void TreePasses::computeWrench(Bodies& B) {
  const Lanes3& c = B.comOffset;
  LanesSymmetric J = B.inertia;
  addInertia(B.mass, c, J);
  B.force = B.mass * (B.a + cross(B.alpha, c) + cross(B.omega, cross(B.omega, c)));
  B.torque = J * B.alpha + B.mass * cross(c, B.a) + cross(B.omega, J * B.omega);
}

/// The share of each wrench that its joint has to give.
void TreePasses::projectWrenches(VecDyn& h) const {
  if (tree_.isFloating())
    for (size_t k = 0; k < 3; ++k) {
      h[k] = getLane(bodies_[0].force, 0)[k];
      h[3 + k] = getLane(bodies_[0].torque, 0)[k];
    }
  for (size_t b = 1; b < quads_.size(); ++b) {
    const Quad& quad = quads_[b];
    const Bodies& B = bodies_[b];
    for (size_t k = 0; k < quad.width; ++k) {
      Lanes share = dot(B.turn[k], B.torque);
      if (quad.hasSlides && k == 0) share += dot(B.slide, B.force);
      for (size_t l = 0; l < quad.count; ++l)
        if (k < tree_.dofOfBody[quad.body[l]]) h[quad.gv[k][l]] = share[l];
    }
  }
}

}  // namespace zelvik
