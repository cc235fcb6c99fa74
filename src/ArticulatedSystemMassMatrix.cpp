// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/rotation.hpp>

// Composite bodies (R. Featherstone, Rigid Body Dynamics Algorithms, section 6.2) without spatial
// vectors: a subtree is its mass m, its centre of mass c and its inertia I about c in world axes.
// Unit acceleration of joint i takes the force f and, at c, the moment n; with d = c - p_j these do
// the work a_j . f on a prismatic ancestor j and (a_j x d) . f + a_j . n on a revolute one.
//
// Velocities of spherical joints are in body axes, so their rows carry R^T. With h = m (c - p) and
// K = I + (h . d) 1 - d h^T, unit angular acceleration e in world axes takes K^T e at p_j.

namespace zelvik {
namespace {

/// I += A, all nine entries.
inline void addTo(Mat<3, 3>& I, const Mat<3, 3>& A) {
  for (size_t k = 0; k < 9; ++k) I[k] += A[k];
}

/// Writes the columns of the upper triangle, which a chain of joints fills from the root down.
struct Columns {
  double* v;
  size_t n;
  /// M(i, j) by its mirror; i > j.
  void set(size_t i, size_t j, double value) const { v[j + i * n] = value; }
  /// M(i .. i+2, j).
  void setRows(size_t i, size_t j, const Mat<3, 1>& value) const {
    for (size_t t = 0; t < 3; ++t) set(i + t, j, value[t]);
  }
  /// M(i, j .. j+2).
  void setColumns(size_t i, size_t j, const Mat<3, 1>& value) const {
    for (size_t t = 0; t < 3; ++t) set(i, j + t, value[t]);
  }
  /// The upper half of a diagonal block.
  void setBlock(size_t i, const Mat<3, 3>& block) const {
    for (size_t t = 0; t < 3; ++t)
      for (size_t s = 0; s <= t; ++s) set(i + t, i + s, block(s, t));
  }
};

/// K = I + (h . d) 1 - d h^T.
inline Mat<3, 3> shiftedInertia(const Mat<3, 3>& I, const Mat<3, 1>& h, const Mat<3, 1>& d) {
  Mat<3, 3> K;
  for (size_t j = 0; j < 3; ++j)
    for (size_t i = 0; i < 3; ++i) K(i, j) = I(i, j) - d[i] * h[j];
  const double hd = dot(h, d);
  for (size_t i = 0; i < 3; ++i) K(i, i) += hd;
  return K;
}

}  // namespace

void ArticulatedSystem::computeMassMatrix(MatDyn& M) {
  if (!checkSquare(M, "computeMassMatrix")) return;
  for (size_t i = 0; i < bodyCount_; ++i) {
    similarityTransform(rotationW_[i], inertiaB_[i], inertiaW_[i]);
    compositeInertiaW_[i] = inertiaW_[i];
    compositeMassMoment_[i] = mass_[i] * comW_[i];
  }
  for (size_t i = bodyCount_; i-- > 1;) {
    mergeComposite(i);
    writeMassRows(i, M);
  }
  if (jointType_[0] == Joint::FLOATING) writeRootBlock(M);
  mirrorMassMatrix(M);
  for (size_t k = 0; k < dof_; ++k) M.v[k + k * dof_] += rotorInertia_[k];
}

/// Gathers body i and the subtrees of its children about their common centre of mass.
void ArticulatedSystem::mergeComposite(size_t i) {
  const std::vector<size_t>& children = children_[i];
  Mat<3, 1> moment = compositeMassMoment_[i];
  for (const size_t h : children) moment += compositeMassMoment_[h];
  compositeMassMoment_[i] = moment;

  const double m = compositeMass_[i];
  const Mat<3, 1> c{{moment[0] / m, moment[1] / m, moment[2] / m}};
  compositeComW_[i] = c;

  Mat<3, 3> I = compositeInertiaW_[i];
  for (const size_t h : children) {
    leverScratch_[h] = compositeComW_[h] - c;
    addInertia(compositeMass_[h], leverScratch_[h], I);
    addTo(I, compositeInertiaW_[h]);
  }
  addInertia(mass_[i], comW_[i] - c, I);
  compositeInertiaW_[i] = I;
}

/// Diagonal block of joint i and all entries that couple it to the joints above it.
void ArticulatedSystem::writeMassRows(size_t i, MatDyn& M) {
  const size_t d0 = dofStart_[i];
  const double m = compositeMass_[i];
  const Mat<3, 3>& I = compositeInertiaW_[i];
  const Mat<3, 1> r = compositeComW_[i] - positionW_[i];
  const Mat<3, 1>& a = jointAxisW_[i];

  switch (jointType_[i]) {
    case Joint::PRISMATIC:
      M.v[d0 + d0 * dof_] = m;
      writeScalarJointRows(i, m * a, Mat<3, 1>{}, M);
      break;
    case Joint::REVOLUTE: {
      const Mat<3, 1> v = cross(a, r), n = I * a;
      M.v[d0 + d0 * dof_] = dot(a, n) + m * squaredNorm(v);
      writeScalarJointRows(i, m * v, n, M);
      break;
    }
    case Joint::SPHERICAL: {
      // R^T (I + P(m, r)) R.
      Mat<3, 3> atJoint = I, block;
      addInertia(m, r, atJoint);
      similarityTransform(transpose(rotationW_[i]), atJoint, block);
      Columns{M.v, dof_}.setBlock(d0, block);
      writeSphericalJointRows(i, m * r, M);
      break;
    }
    default:
      break;
  }
}

void ArticulatedSystem::writeScalarJointRows(size_t i, const Mat<3, 1>& f, const Mat<3, 1>& n,
                                             MatDyn& M) {
  const Columns columns{M.v, dof_};
  const size_t d0 = dofStart_[i];
  const Mat<3, 1> c = compositeComW_[i];
  for (size_t j = parent_[i]; j != 0; j = parent_[j]) {
    const size_t k = dofStart_[j];
    const Mat<3, 1>& aj = jointAxisW_[j];
    const Mat<3, 1> d = c - positionW_[j];
    switch (jointType_[j]) {
      case Joint::PRISMATIC:
        columns.set(d0, k, dot(aj, f));
        break;
      case Joint::REVOLUTE:
        columns.set(d0, k, dot(cross(aj, d), f) + dot(aj, n));
        break;
      case Joint::SPHERICAL:
        columns.setColumns(d0, k, transposeMul(rotationW_[j], n + cross(d, f)));
        break;
      default:
        break;
    }
  }
  if (jointType_[0] != Joint::FLOATING) return;
  columns.setColumns(d0, 0, f);
  columns.setColumns(d0, 3, n + cross(c - positionW_[0], f));
}

void ArticulatedSystem::writeSphericalJointRows(size_t i, const Mat<3, 1>& h, MatDyn& M) {
  const Columns columns{M.v, dof_};
  const size_t d0 = dofStart_[i];
  const Mat<3, 3>& R = rotationW_[i];
  const Mat<3, 3>& I = compositeInertiaW_[i];
  const Mat<3, 1> c = compositeComW_[i];
  for (size_t j = parent_[i]; j != 0; j = parent_[j]) {
    const size_t k = dofStart_[j];
    const Mat<3, 1>& aj = jointAxisW_[j];
    const Mat<3, 1> d = c - positionW_[j];
    switch (jointType_[j]) {
      case Joint::PRISMATIC:
        columns.setRows(d0, k, transposeMul(R, cross(h, aj)));
        break;
      case Joint::REVOLUTE:
        columns.setRows(d0, k, transposeMul(R, I * aj + cross(h, cross(aj, d))));
        break;
      case Joint::SPHERICAL: {
        const Mat<3, 3> block = transposeMul(R, shiftedInertia(I, h, d) * rotationW_[j]);
        for (size_t t = 0; t < 3; ++t) columns.setRows(d0, k + t, column(block, t));
        break;
      }
      default:
        break;
    }
  }
  if (jointType_[0] != Joint::FLOATING) return;
  // (R^T K)(t, s) = M(3 + s, d0 + t).
  const Mat<3, 3> angular = transposeMul(R, shiftedInertia(I, h, c - positionW_[0]));
  for (size_t t = 0; t < 3; ++t) {
    columns.setColumns(d0 + t, 0, cross(column(R, t), h));
    columns.setColumns(d0 + t, 3, row(angular, t));
  }
}

/// The six velocities of a floating root; its composite inertia is about the frame origin.
void ArticulatedSystem::writeRootBlock(MatDyn& M) {
  const double m0 = compositeMass_[0];
  const Mat<3, 1>& p0 = positionW_[0];
  Mat<3, 3>& I = compositeInertiaW_[0];
  for (const size_t h : children_[0]) {
    compositeMassMoment_[0] += compositeMassMoment_[h];
    leverScratch_[h] = compositeComW_[h] - p0;
    addInertia(compositeMass_[h], leverScratch_[h], I);
    addTo(I, compositeInertiaW_[h]);
  }
  leverScratch_[0] = comW_[0] - p0;
  addInertia(mass_[0], leverScratch_[0], I);
  for (size_t k = 0; k < 3; ++k) compositeComW_[0][k] = compositeMassMoment_[0][k] / m0;

  const Columns columns{M.v, dof_};
  const Mat<3, 3> coupling = m0 * skew(compositeComW_[0] - p0);
  for (size_t j = 0; j < 3; ++j) {
    columns.set(j, j, m0);
    // M(3 + i, j), whose diagonal stays zero.
    for (size_t i = 0; i < 3; ++i)
      if (i != j) columns.set(3 + i, j, coupling(i, j));
  }
  columns.setBlock(3, I);
}

/// Copies the upper triangle into the lower one along the chains to the root. One place for all
/// pairs: a value that is written twice where it is computed may be contracted in two ways.
void ArticulatedSystem::mirrorMassMatrix(MatDyn& M) const {
  for (size_t k = 0; k < dof_; ++k)
    for (size_t j = dofParent_[k]; j != kNone; j = dofParent_[j])
      M.v[k + j * dof_] = M.v[j + k * dof_];
}

}  // namespace zelvik
