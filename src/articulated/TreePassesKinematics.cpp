// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cmath>
#include <zelvik/rotation.hpp>

#include "articulated/TreePassTools.hpp"

namespace zelvik {
namespace {

constexpr double kPi = 3.14159265358979323846;

/// Values 1 / n! of the two Taylor series, from the constant term up, in powers of theta^2.
constexpr double kCosine[10] = {1.0,
                                -1.0 / 2.0,
                                1.0 / 24.0,
                                -1.0 / 720.0,
                                1.0 / 40320.0,
                                -1.0 / 3628800.0,
                                1.0 / 479001600.0,
                                -1.0 / 87178291200.0,
                                1.0 / 20922789888000.0,
                                -1.0 / 6402373705728000.0};
constexpr double kSine[10] = {1.0,
                              -1.0 / 6.0,
                              1.0 / 120.0,
                              -1.0 / 5040.0,
                              1.0 / 362880.0,
                              -1.0 / 39916800.0,
                              1.0 / 6227020800.0,
                              -1.0 / 1307674368000.0,
                              1.0 / 355687428096000.0,
                              -1.0 / 121645100408832000.0};

inline Lanes evaluate(const double (&coefficients)[10], const Lanes& u) {
  Lanes value = broadcast(coefficients[9]);
  for (int k = 8; k >= 0; --k) value = value * u + coefficients[k];
  return value;
}

/// Cosine and sine of q (rad) by polynomials after reduction to [-pi/2, pi/2]. Meant for up to 2^31
/// turns; NaN passes through.
inline void cosineAndSine(const Lanes& q, Lanes& cosine, Lanes& sine) {
  const Lanes turns = q / (2.0 * kPi);
  Lanes whole;
  for (size_t l = 0; l < kLanes; ++l) whole[l] = std::trunc(turns[l]);
  Lanes theta = (turns - whole) * (2.0 * kPi);
  theta = theta < -kPi ? theta + 2.0 * kPi : theta > kPi ? theta - 2.0 * kPi : theta;

  // cos(theta) = -cos(pi - theta), sin(theta) = sin(pi - theta).
  const auto inFront = (theta > -0.5 * kPi) & (theta < 0.5 * kPi);
  theta = theta > 0.5 * kPi ? kPi - theta : theta < -0.5 * kPi ? -kPi - theta : theta;

  const Lanes u = theta * theta, c = evaluate(kCosine, u);
  cosine = inFront ? c : -c;
  sine = theta * evaluate(kSine, u);
}

inline Lanes3 combine(const Lanes3& a, const Lanes& s, const Lanes3& b, const Lanes& t,
                      const Lanes3& c) {
  return a + s * b + t * c;
}

}  // namespace

void TreePasses::updateKinematics(const double* gc) {
  placeRoot(gc);
  for (size_t b = 1; b < batches_.size(); ++b) placeBatch(batches_[b], gc, bodies_[b]);
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

void TreePasses::placeBatch(const Batch& batch, const double* gc, Bodies& B) {
  Lanes33 Rp;
  for (size_t j = 0; j < 3; ++j)
    Rp.c[j] = gather(batch.parents, [j](const Bodies& p) -> const Lanes3& { return p.R.c[j]; });

  Lanes q, cosine, sine;
  for (size_t l = 0; l < kLanes; ++l) q[l] = gc[batch.gc[l]];
  cosineAndSine(q, cosine, sine);
  Lanes33 local;
  for (size_t j = 0; j < 2; ++j)  // the third column is not read
    local.c[j] = combine(B.fixedPart.c[j], cosine, B.cosinePart.c[j], sine, B.sinePart.c[j]);
  if (batch.hasBalls) setBallRotations(batch, gc, local);
  B.R = multiplyRotations(Rp, local);

  const Lanes3 axis = Rp * B.axisP;
  B.offset = Rp * B.offsetP;
  B.turn[0] = axis;
  if (batch.hasSlides) {
    B.slide = B.slides * axis;
    B.offset += q * B.slide;
  }
  if (batch.width != 1 || batch.hasSlides) {
    B.turn[0] = B.turns * axis + B.balls * B.R.c[0];
    for (size_t k = 1; k < 3; ++k) B.turn[k] = B.balls * B.R.c[k];
  }
  B.position =
      gather(batch.parents, [](const Bodies& p) -> const Lanes3& { return p.position; }) + B.offset;
  B.comOffset = B.R * B.comB;
  B.com = B.position + B.comOffset;

  Mat33* rotations[kLanes];
  Vec3 *axes[kLanes], *positions[kLanes], *coms[kLanes];
  for (size_t l = 0; l < kLanes; ++l) {
    const size_t i = batch.body[l];
    rotations[l] = &kinematics_.rotationW[i];
    axes[l] = &kinematics_.jointAxisW[i];
    positions[l] = &kinematics_.positionW[i];
    coms[l] = &kinematics_.comW[i];
  }
  scatter(B.R, batch.count, rotations);
  scatter(axis, batch.count, axes);
  scatter(B.position, batch.count, positions);
  scatter(B.com, batch.count, coms);
  if (!batch.hasBalls) return;
  for (size_t l = 0; l < batch.count; ++l)
    kinematics_.jointAxisW[batch.body[l]] =
        kinematics_.rotationW[batch.body[l]] * tree_.jointAxisB[batch.body[l]];
}

/// Body to parent of spherical joints, from their quaternions.
void TreePasses::setBallRotations(const Batch& batch, const double* gc, Lanes33& local) const {
  for (size_t l = 0; l < kLanes; ++l) {
    const size_t i = batch.body[l];
    if (tree_.jointType[i] != Joint::SPHERICAL) continue;
    Mat33 joint, toParent;
    quatToRotMat(gc + batch.gc[l], joint);
    rotmatmul(tree_.jointOrientationP[i], joint, toParent);
    setLane(local, l, toParent);
  }
}

}  // namespace zelvik
