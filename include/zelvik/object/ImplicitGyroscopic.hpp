// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/export.hpp>
#include <zelvik/math.hpp>

// One Newton step on the backward Euler form of Euler's equation of a rotating body,
//     I w + dt w x (I w) = I wOld + dt tau,
// which does not add energy to a fast spin as forward Euler does (E. Catto, Numerical methods,
// Game Developers Conference 2015). There is no iteration and no test of convergence.
//
// Inertias are about the centre of mass (kg m^2), angular velocities in rad/s, torques in N m, dt
// in s. `solve33` treats a derivative whose determinant is not above 2.2e-16 as singular: for
// moments below some 6e-6 kg m^2 the change collapses to zero, in the world form with the torque.

namespace zelvik {

/// Residual of the equation above at `omegaNew` (N m s). All in one frame.
ZELVIK_API void evalEulerEqn(const Mat<3, 1>& omegaNew, const Mat<3, 1>& omegaOld,
                             const Mat<3, 1>& torque, double dt, const Mat<3, 3>& inertia,
                             Mat<3, 1>& out);

/// Derivative of the residual by `omegaNew` (kg m^2). `omegaOld` is not read.
ZELVIK_API void evalEulerEqnDeriv(const Mat<3, 1>& omegaNew, const Mat<3, 1>& omegaOld, double dt,
                                  const Mat<3, 3>& inertia, Mat<3, 3>& out);

/// Change of angular velocity in one step (rad/s, world axes), torque included; the inertia, in
/// world axes, is taken as constant over the step.
ZELVIK_API void implicitGyroscopicImpulseWorld(const Mat<3, 3>& inertiaWorld,
                                               const Mat<3, 1>& omegaWorld, const Mat<3, 1>& torque,
                                               double dt, Mat<3, 1>& deltaOmegaWorld);

/// The same without torque, solved in body axes, where the inertia is constant. `rot` is body to
/// world; the change is in world axes.
ZELVIK_API void implicitGyroscopicImpulseBody(const Mat<3, 3>& inertiaBody, const Mat<3, 3>& rot,
                                              const Mat<3, 1>& omegaWorld, double dt,
                                              Mat<3, 1>& deltaOmegaWorld);

}  // namespace zelvik
