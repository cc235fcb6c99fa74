// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <vector>
#include <zelvik/math.hpp>
#include <zelvik/object/ArticulatedSystem/JointAndBodies.hpp>
#include <zelvik/object/ArticulatedSystem/TreeFactor.hpp>

namespace zelvik {

/// What an articulated system is made of, as flat arrays over bodies in depth-first order and over
/// velocities. Written at construction; masses, centres and inertias also by their setters. The
/// passes over the tree read it, and write `BodyKinematics`.
///
/// Suffixes: `W` world axes, `B` axes of the body, `P` axes of the parent.
struct TreeDescription {
  // Per body.
  std::vector<Joint::Type> jointType;        ///< of the joint above the body
  std::vector<Mat<3, 3>> jointOrientationP;  ///< joint frame to parent at coordinate zero
  std::vector<Mat<3, 1>> jointOffsetP;       ///< joint position (m, parent frame)
  std::vector<Mat<3, 1>> jointAxisB;         ///< joint axis (unit, body axes)
  std::vector<Mat<3, 3>> inertiaB;           ///< about the centre of mass (kg m^2, body axes)
  std::vector<Mat<3, 1>> comB;               ///< centre of mass (m, body frame)
  std::vector<double> mass;                  ///< (kg)
  std::vector<double> compositeMass;         ///< of the subtree (kg)

  // Topology.
  size_t bodyCount = 0;             ///< bodies, the root included
  size_t dof = 0;                   ///< velocities
  size_t gcDim = 0;                 ///< coordinates
  std::vector<size_t> gcDimOfBody;  ///< per body: coordinates of its joint
  std::vector<size_t> dofOfBody;    ///< per body: velocities of its joint
  std::vector<size_t> dofStart;     ///< per body: its first velocity; `kNone` for a fixed root
  std::vector<size_t> gcStart;      ///< per body: its first coordinate, likewise
  std::vector<size_t> parent;       ///< per body; `kNone` for the root
  std::vector<std::vector<size_t>> children;  ///< per body, ascending
  std::vector<size_t> leaves;                 ///< ascending
  std::vector<size_t> depth;                  ///< per body, 1 at the root
  std::vector<size_t> pathDof;    ///< per body: velocities from the root on, its own included
  std::vector<size_t> pathGc;     ///< per body: coordinates, likewise
  std::vector<size_t> dofParent;  ///< per velocity: the next towards the root, or `kNone`
  TreePattern pattern;            ///< of the mass matrix, from `dofParent`

  /// Whether the root moves freely.
  bool isFloating() const { return jointType[0] == Joint::FLOATING; }
};

/// Where the bodies are and how they move, per body (world axes).
struct BodyKinematics {
  std::vector<Mat<3, 3>> rotationW;         ///< body to world
  std::vector<Mat<3, 1>> jointAxisW;        ///< (unit)
  std::vector<Mat<3, 1>> positionW;         ///< origin of the body frame, which is the joint (m)
  std::vector<Mat<3, 1>> comW;              ///< centre of mass (m)
  std::vector<Mat<3, 1>> linearVelocityW;   ///< of the frame origin (m/s)
  std::vector<Mat<3, 1>> angularVelocityW;  ///< (rad/s)
};

}  // namespace zelvik
