// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/object/ImplicitGyroscopic.hpp>
#include <zelvik/rotation.hpp>

namespace zelvik {

void evalEulerEqn(const Mat<3, 1>& omegaNew, const Mat<3, 1>& omegaOld, const Mat<3, 1>& torque,
                  double dt, const Mat<3, 3>& inertia, Mat<3, 1>& out) {
  // I w + dt w x (I w) - (I wOld + dt tau)
  const Vec3 h = inertia * omegaNew;
  out = h + dt * cross(omegaNew, h) - (inertia * omegaOld + dt * torque);
}

void evalEulerEqnDeriv(const Mat<3, 1>& omegaNew, const Mat<3, 1>&, double dt,
                       const Mat<3, 3>& inertia, Mat<3, 3>& out) {
  // I + dt ([w] I - [I w])
  out = inertia + dt * (skew(omegaNew) * inertia - skew(inertia * omegaNew));
}

void implicitGyroscopicImpulseWorld(const Mat<3, 3>& inertiaWorld, const Mat<3, 1>& omegaWorld,
                                    const Mat<3, 1>& torque, double dt,
                                    Mat<3, 1>& deltaOmegaWorld) {
  Vec3 f, d;
  Mat33 J;
  evalEulerEqn(omegaWorld, omegaWorld, torque, dt, inertiaWorld, f);
  evalEulerEqnDeriv(omegaWorld, omegaWorld, dt, inertiaWorld, J);
  solve33(J, f, d);
  const Vec3 w = omegaWorld - d;
  deltaOmegaWorld = w - omegaWorld;
}

void implicitGyroscopicImpulseBody(const Mat<3, 3>& inertiaBody, const Mat<3, 3>& rot,
                                   const Mat<3, 1>& omegaWorld, double dt,
                                   Mat<3, 1>& deltaOmegaWorld) {
  if (isMultipleOfUnit(inertiaBody)) return deltaOmegaWorld.setZero();  // w x (I w) = 0
  const Vec3 wb = transposeMul(rot, omegaWorld);
  const Vec3 h = inertiaBody * wb;
  const Vec3 f = dt * cross(wb, h);
  const Mat33 J = inertiaBody + dt * (skew(wb) * inertiaBody - skew(h));
  Vec3 d;
  solve33(J, f, d);
  deltaOmegaWorld = rot * (wb - d) - omegaWorld;
}

}  // namespace zelvik
