// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cmath>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/rotation.hpp>

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

inline double evaluate(const double (&coefficients)[10], double u) {
  double value = coefficients[9];
  for (int k = 8; k >= 0; --k) value = value * u + coefficients[k];
  return value;
}

/// Cosine and sine of q (rad) by polynomials after reduction to [-pi/2, pi/2]. Meant for up to 2^31
/// turns; NaN passes through.
inline void cosineAndSine(double q, double& cosine, double& sine) {
  const double turns = q / (2.0 * kPi);
  double theta = (turns - std::trunc(turns)) * (2.0 * kPi);
  if (theta < -kPi)
    theta += 2.0 * kPi;
  else if (theta > kPi)
    theta -= 2.0 * kPi;

  // cos(theta) = -cos(pi - theta), sin(theta) = sin(pi - theta).
  const double sign = theta > -0.5 * kPi && theta < 0.5 * kPi ? 1.0 : -1.0;
  if (theta > 0.5 * kPi)
    theta = kPi - theta;
  else if (theta < -0.5 * kPi)
    theta = -kPi - theta;

  const double u = theta * theta;
  cosine = sign * evaluate(kCosine, u);
  sine = theta * evaluate(kSine, u);
}

}  // namespace

void ArticulatedSystem::updateKinematics() {
  if (jointType_[0] == Joint::FLOATING) {
    positionW_[0] = {{gc_[0], gc_[1], gc_[2]}};
    quatToRotMat(gc_.v + 3, rotationW_[0]);
    comOffsetW_[0] = rotationW_[0] * comB_[0];
    comW_[0] = positionW_[0] + comOffsetW_[0];
  }

  for (size_t i = 1; i < bodyCount_; ++i) {
    const Mat<3, 3>& Rp = rotationW_[parent_[i]];
    const double* q = gc_.v + gcStart_[i];
    Mat<3, 3>& R = rotationW_[i];
    jointOffsetW_[i] = Rp * jointOffsetP_[i];
    positionW_[i] = positionW_[parent_[i]] + jointOffsetW_[i];

    switch (jointType_[i]) {
      case Joint::PRISMATIC: {
        rotmatmul(Rp, jointOrientationP_[i], R);
        jointAxisW_[i] = R * jointAxisB_[i];
        const Mat<3, 1> displacement = q[0] * jointAxisW_[i];
        positionW_[i] += displacement;
        jointOffsetW_[i] += displacement;
        break;
      }
      case Joint::SPHERICAL:
        rotmatmul(Rp, jointOrientationP_[i], parentJointRotationW_[i]);
        quatToRotMat(q, jointRotation_[i]);
        rotmatmul(parentJointRotationW_[i], jointRotation_[i], R);
        jointAxisW_[i] = R * jointAxisB_[i];
        break;
      case Joint::REVOLUTE: {
        rotmatmul(Rp, jointOrientationP_[i], parentJointRotationW_[i]);
        double cosine, sine;
        cosineAndSine(q[0], cosine, sine);
        rotationAboutAxis(jointAxisB_[i], cosine, sine, jointRotation_[i]);
        rotmatmul(parentJointRotationW_[i], jointRotation_[i], R);
        jointAxisW_[i] = R * jointAxisB_[i];
        break;
      }
      default:
        break;
    }
    comOffsetW_[i] = R * comB_[i];
    comW_[i] = positionW_[i] + comOffsetW_[i];
  }
}

}  // namespace zelvik
