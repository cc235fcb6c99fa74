// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "articulated/TreePassTools.hpp"

namespace zelvik {

TreeMotion TreePasses::computeMotion(const double* gv) {
  Bodies& root = bodies_[0];
  const bool floats = tree_.isFloating();
  root.v = floats ? broadcast(Vec3{{gv[0], gv[1], gv[2]}}) : Lanes3{};
  root.omega = floats ? broadcast(Vec3{{gv[3], gv[4], gv[5]}}) : Lanes3{};
  MotionSums sums{};
  addMotion(root, sums);
  // The root stands in every lane and counts once.
  constexpr Lanes first = {1.0, 0.0, 0.0, 0.0};
  sums = {first * sums.moment, first * sums.momentum, first * sums.spin, first * sums.work};
  for (size_t b = 1; b < quads_.size(); ++b) {
    moveQuad(quads_[b], gv, bodies_[b]);
    addMotion(bodies_[b], sums);
  }
  return {sumOfLanes(sums.moment), sumOfLanes(sums.momentum), sumOfLanes(sums.spin),
          0.5 * sumOfLanes(sums.work)};
}

/// Velocities from those of the parents, as in `propagateVelocities`, for nobody to read.
void TreePasses::moveQuad(const Quad& quad, const double* gv, Bodies& B) const {
  B.omega = gather(quad.parents, [](const Bodies& p) -> const Lanes3& { return p.omega; });
  B.v = gather(quad.parents, [](const Bodies& p) -> const Lanes3& { return p.v; }) +
        cross(B.omega, B.offset);
  for (size_t k = 0; k < quad.width; ++k) {
    Lanes rate;
    for (size_t l = 0; l < kLanes; ++l) rate[l] = gv[quad.gv[k][l]];
    B.omega += rate * B.turn[k];
    if (k == 0 && quad.hasSlides) B.v += rate * B.slide;
  }
}

/// p = m v_c, L = c x p + R I R^T omega, 2 T = p . v_c + omega . R I R^T omega.
void TreePasses::addMotion(const Bodies& B, MotionSums& sums) {
  const Lanes3 v = B.v + cross(B.omega, B.comOffset), momentum = B.mass * v;
  const Lanes3 omegaB = {dot(B.R.c[0], B.omega), dot(B.R.c[1], B.omega), dot(B.R.c[2], B.omega)};
  const Lanes3 spinB = B.inertiaB * omegaB;
  sums.moment += B.mass * B.com;
  sums.momentum += momentum;
  sums.spin += cross(B.com, momentum) + B.R * spinB;
  sums.work += dot(momentum, v) + dot(omegaB, spinB);
}

}  // namespace zelvik
