// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "articulated/TreePassTools.hpp"

// Composite bodies (R. Featherstone, Rigid Body Dynamics Algorithms, section 6.2) without spatial
// vectors: a subtree is its mass m, its centre of mass c and its inertia I about c in world axes.
// A joint velocity that turns about the axis a through p and slides along the axis t, with unit
// rate, takes at c the force f = m (a x (c - p) + t) and the moment n = I a. With d = c - p_j these
// do the work a_j . (n + d x f) + t_j . f on a velocity above.

namespace zelvik {
namespace {

/// One vector to a lane.
inline Lanes3 lanesOf(const Vec3* const (&v)[kLanes]) {
  const auto lanes = [&](size_t i) {
    return Lanes{(*v[0])[i], (*v[1])[i], (*v[2])[i], (*v[3])[i]};
  };
  return {lanes(0), lanes(1), lanes(2)};
}

}  // namespace

void TreePasses::computeMassRows(double* rows) {
  gatherMoments();
  const std::uint32_t* targets = targets_.data() + targets_.size();
  for (size_t b = quads_.size(); b-- > 1;) {
    const Quad& quad = quads_[b];
    gatherInertia(quad, bodies_[b]);
    targets = writeRows(quad, bodies_[b], targets, rows);
  }
  if (tree_.isFloating()) writeRootRows(rows);
}

/// Inertias in world axes, and the mass moments and centres of mass of the subtrees.
void TreePasses::gatherMoments() {
  for (Bodies& B : bodies_) {
    B.inertia = B.compositeInertia = similarity(B.R, B.inertiaB);
    B.moment = B.mass * B.com;
  }
  for (size_t b = quads_.size(); b-- > 1;) {
    Bodies& B = bodies_[b];
    const Lanes inverse = 1.0 / B.divisor;
    B.compositeCom = inverse * B.moment;
    const bool aboveIsFixed = quads_[b].parents.quad[0] == 0 && !tree_.isFloating();
    if (!aboveIsFixed) addToParents(quads_[b], B.moment, &Bodies::moment);
  }
}

/// Inertia of the subtrees of a quad about their centres of mass, all of their children being
/// done, and its share in that of the parents. That of a floating root is about its frame origin.
void TreePasses::gatherInertia(const Quad& quad, Bodies& B) {
  addInertia(B.mass, B.com - B.compositeCom, B.compositeInertia);
  const bool isBelowRoot = quad.parents.quad[0] == 0;
  if (isBelowRoot && !tree_.isFloating()) return;
  const Lanes3 origin =
      isBelowRoot
          ? bodies_[0].position
          : gather(quad.parents, [](const Bodies& p) -> const Lanes3& { return p.compositeCom; });
  LanesSymmetric share = B.compositeInertia;
  addInertia(B.compositeMass, B.compositeCom - origin, share);
  addToParents(quad, share, &Bodies::compositeInertia);
}

/// Rows of the velocities of a quad. `target` points past the places of its entries; returns
/// their begin.
const std::uint32_t* TreePasses::writeRows(const Quad& quad, const Bodies& B,
                                           const std::uint32_t* target, double* rows) const {
  const bool floating = tree_.isFloating();
  const Lanes3 r = B.compositeCom - B.position;
  target -= quad.targetCount;
  const std::uint32_t* const begin = target;
  for (size_t k = 0; k < quad.width; ++k) {
    Lanes3 velocity = cross(B.turn[k], r);
    if (quad.hasSlides && k == 0) velocity += B.slide;
    const Lanes3 f = B.compositeMass * velocity, n = B.compositeInertia * B.turn[k];
    if (floating)
      writeBaseColumns(quad, k, f, n + cross(B.compositeCom - bodies_[0].position, f), rows);
    if (quad.count == 1 && quad.targetCount == kLanes * (quad.stepEnd - quad.stepBegin)) {
      writeRowOfOne(quad, B, f, n, target, rows);
      break;
    }
    for (size_t i = quad.stepBegin; i < quad.stepEnd; ++i) {
      const Step& step = steps_[i];
      const Lanes3 p =
          gather(step.joints, [](const Bodies& j) -> const Lanes3& { return j.position; });
      const Lanes3 moment = n + cross(B.compositeCom - p, f);
      const size_t end = i == quad.stepBegin ? k + 1 : step.width;
      for (size_t l = 0; l < end; ++l, target += kLanes) {
        Lanes entry =
            dot(gather(step.joints, [l](const Bodies& j) -> const Lanes3& { return j.turn[l]; }),
                moment);
        if (l == 0 && hasSlides_)
          entry +=
              dot(gather(step.joints, [](const Bodies& j) -> const Lanes3& { return j.slide; }), f);
        for (size_t lane = 0; lane < kLanes; ++lane) rows[target[lane]] = entry[lane];
      }
    }
  }
  return begin;
}

/// The row of a quad of one body, without spherical joints: four joints above it at a time, so
/// that a chain fills the lanes too.
void TreePasses::writeRowOfOne(const Quad& quad, const Bodies& B, const Lanes3& force,
                               const Lanes3& moment, const std::uint32_t* target,
                               double* rows) const {
  const Lanes3 c = broadcast(getLane(B.compositeCom, 0)), f = broadcast(getLane(force, 0)),
               n = broadcast(getLane(moment, 0));
  for (size_t j = quad.body[0]; j != 0;) {
    // Read from the arrays over bodies, which are smaller than `bodies_`.
    const Vec3 *P[kLanes], *A[kLanes];
    Lanes slides{};
    size_t count = 0;
    for (; count < kLanes && j != 0; ++count, j = tree_.parent[j]) {
      P[count] = &kinematics_.positionW[j];
      A[count] = &kinematics_.jointAxisW[j];
      if (hasSlides_ && tree_.jointType[j] == Joint::PRISMATIC) slides[count] = 1.0;
    }
    for (size_t l = count; l < kLanes; ++l) {
      P[l] = P[0];
      A[l] = A[0];
    }
    const Lanes3 axis = lanesOf(A), moments = n + cross(c - lanesOf(P), f);
    Lanes entries = dot(axis, moments);
    if (hasSlides_) entries += slides * (dot(axis, f) - entries);
    for (size_t l = 0; l < count; ++l, target += kLanes) rows[*target] = entries[l];
  }
}

/// The first six values of rows below a floating root, and two zeros, which are written over where
/// the rows go on.
void TreePasses::writeBaseColumns(const Quad& quad, size_t k, const Lanes3& f, const Lanes3& n,
                                  double* rows) const {
  Lanes a[kLanes] = {f.x, f.y, f.z, n.x}, b[kLanes] = {n.y, n.z, Lanes{}, Lanes{}};
  transposeLanes(a[0], a[1], a[2], a[3]);
  transposeLanes(b[0], b[1], b[2], b[3]);
  for (size_t l = 0; l < quad.count; ++l) {
    storeLanes(rows + quad.row[k][l], a[l]);
    storeLanes(rows + quad.row[k][l] + kLanes, b[l]);
  }
}

/// The six velocities of a floating root: m, m [c - p] and the inertia about p.
void TreePasses::writeRootRows(double* rows) {
  Bodies& root = bodies_[0];
  root.compositeCom = (1.0 / root.divisor) * root.moment;
  addInertia(root.mass, root.com - root.position, root.compositeInertia);
  const double m = root.compositeMass[0];
  const Mat33 coupling = m * skew(getLane(root.compositeCom - root.position, 0));
  const Mat33 I = getLane(root.compositeInertia, 0);
  for (size_t i = 0; i < 3; ++i) {
    double* linear = rows + tree_.pattern.rowStart[i];
    double* angular = rows + tree_.pattern.rowStart[3 + i];
    linear[i] = m;
    for (size_t j = 0; j < 3; ++j) angular[j] = coupling(i, j);
    for (size_t j = 0; j <= i; ++j) angular[3 + j] = I(i, j);
  }
}

}  // namespace zelvik
