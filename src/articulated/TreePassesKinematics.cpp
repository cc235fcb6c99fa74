// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cmath>
#include <numbers>
#include <zelvik/rotation.hpp>

#include "articulated/TreePassTools.hpp"
#include "core/TrigSeries.hpp"

// Poses of all bodies from the coordinates q, parents first (R. Featherstone, Rigid Body Dynamics
// Algorithms, chapter 4), world axes:
//
//   R = R_p O R_joint(q)        O: joint frame to parent at coordinate zero
//   x = x_p + R_p o + q t       o: joint position in the parent, t: axis of a prismatic joint
//   c = x + R c_B               centre of mass
//
// A revolute joint turns by O R_joint = fixed + cos q cosine + sin q sine, three constant matrices
// (`setJoint`); a spherical one has its quaternion.

namespace zelvik {
namespace {

using std::numbers::pi;

inline Lanes evaluate(const double (&coefficients)[10], const Lanes& u) {
  Lanes value = broadcast(coefficients[9]);
  for (int k = 8; k >= 0; --k) value = value * u + coefficients[k];
  return value;
}

/// Cosine and sine of q (rad) by polynomials after reduction to [-pi/2, pi/2]. Meant for up to 2^31
/// turns; NaN passes through.
inline void cosineAndSine(const Lanes& q, Lanes& cosine, Lanes& sine) {
  const Lanes turns = q / (2.0 * pi);
  Lanes whole;
  for (size_t l = 0; l < kLanes; ++l) whole[l] = std::trunc(turns[l]);
  Lanes theta = (turns - whole) * (2.0 * pi);
  theta = theta < -pi ? theta + 2.0 * pi : theta > pi ? theta - 2.0 * pi : theta;

  // cos(theta) = -cos(pi - theta), sin(theta) = sin(pi - theta).
  const auto inFront = (theta > -0.5 * pi) & (theta < 0.5 * pi);
  theta = theta > 0.5 * pi ? pi - theta : theta < -0.5 * pi ? -pi - theta : theta;

  const Lanes u = theta * theta, c = evaluate(kCosineSeries, u);
  cosine = inFront ? c : -c;
  sine = theta * evaluate(kSineSeries, u);
}

inline Lanes3 combine(const Lanes3& a, const Lanes& s, const Lanes3& b, const Lanes& t,
                      const Lanes3& c) {
  return a + s * b + t * c;
}

}  // namespace

void TreePasses::updateKinematics(const double* gc) {
  placeRoot(gc);
  for (size_t b = 1; b < quads_.size(); ++b) placeQuad(quads_[b], gc, bodies_[b]);
}

void TreePasses::placeRoot(const double* gc) {
  if (tree_.isFloating()) {
    kinematics_.positionW[0] = {{gc[0], gc[1], gc[2]}};
    quatToRotMat(gc + 3, kinematics_.rotationW[0]);
    kinematics_.comW[0] = kinematics_.positionW[0] + kinematics_.rotationW[0] * tree_.comB[0];
  }
  Bodies& root = bodies_[0];
  root.R = broadcast(kinematics_.rotationW[0]);
  root.position = broadcast(kinematics_.positionW[0]);
  root.comOffset = root.R * root.comB;
  root.com = broadcast(kinematics_.comW[0]);
}

void TreePasses::placeQuad(const Quad& quad, const double* gc, Bodies& B) {
  Lanes33 Rp;
  for (size_t j = 0; j < 3; ++j)
    Rp.c[j] = gather(quad.parents, [j](const Bodies& p) -> const Lanes3& { return p.R.c[j]; });

  Lanes q, cosine, sine;
  for (size_t l = 0; l < kLanes; ++l) q[l] = gc[quad.gc[l]];
  cosineAndSine(q, cosine, sine);
  Lanes33 local;
  for (size_t j = 0; j < 2; ++j)  // the third column is not read
    local.c[j] = combine(B.fixedPart.c[j], cosine, B.cosinePart.c[j], sine, B.sinePart.c[j]);
  if (quad.hasBalls) setBallRotations(quad, gc, local);
  B.R = multiplyRotations(Rp, local);

  const Lanes3 axis = Rp * B.axisP;
  B.offset = Rp * B.offsetP;
  B.turn[0] = axis;
  if (quad.hasSlides) {
    B.slide = B.slides * axis;
    B.offset += q * B.slide;
  }
  if (quad.width != 1 || quad.hasSlides) {
    B.turn[0] = B.turns * axis + B.balls * B.R.c[0];
    for (size_t k = 1; k < 3; ++k) B.turn[k] = B.balls * B.R.c[k];
  }
  B.position =
      gather(quad.parents, [](const Bodies& p) -> const Lanes3& { return p.position; }) + B.offset;
  B.comOffset = B.R * B.comB;
  B.com = B.position + B.comOffset;

  Mat33* rotations[kLanes];
  Vec3 *axes[kLanes], *positions[kLanes], *coms[kLanes];
  for (size_t l = 0; l < kLanes; ++l) {
    const size_t i = quad.body[l];
    rotations[l] = &kinematics_.rotationW[i];
    axes[l] = &kinematics_.jointAxisW[i];
    positions[l] = &kinematics_.positionW[i];
    coms[l] = &kinematics_.comW[i];
  }
  scatter(B.R, quad.count, rotations);
  scatter(axis, quad.count, axes);
  scatter(B.position, quad.count, positions);
  scatter(B.com, quad.count, coms);
  if (!quad.hasBalls) return;
  for (size_t l = 0; l < quad.count; ++l)
    kinematics_.jointAxisW[quad.body[l]] =
        kinematics_.rotationW[quad.body[l]] * tree_.jointAxisB[quad.body[l]];
}

/// Body to parent of spherical joints, from their quaternions.
void TreePasses::setBallRotations(const Quad& quad, const double* gc, Lanes33& local) const {
  for (size_t l = 0; l < kLanes; ++l) {
    const size_t i = quad.body[l];
    if (tree_.jointType[i] != Joint::SPHERICAL) continue;
    Mat33 joint, toParent;
    quatToRotMat(gc + quad.gc[l], joint);
    rotmatmul(tree_.jointOrientationP[i], joint, toParent);
    setLane(local, l, toParent);
  }
}

}  // namespace zelvik
