// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

namespace {

void setColumn(MatDyn& v, size_t c, const Vec3& value) {
  double* out = v.v + 3 * c;
  out[0] = value[0];
  out[1] = value[1];
  out[2] = value[2];
}

/// Rows of a dense Jacobian from its sparse form.
void scatter(const SparseJacobian& jac, size_t dof, MatDyn& dense) {
  if (dense.n != 3 || dense.m != dof || dense.v == nullptr) dense.resize(3, dof);
  dense.setZero();
  for (size_t c = 0; c < jac.size; ++c)
    for (size_t i = 0; i < 3; ++i) dense(i, jac.idx[c]) = jac.v(i, c);
}

}  // namespace

bool ArticulatedSystem::checkBodyIndex(size_t bodyIdx, const char* where) const {
  if (bodyIdx < tree_.bodyCount) return true;
  MSG_FATAL(where << ": body index " << bodyIdx << " is out of range, the system has "
                  << tree_.bodyCount << " bodies");
  return false;
}

void ArticulatedSystem::fillJointColumns(size_t bodyIdx, const Mat<3, 1>& pointW,
                                         SparseJacobian& jac) const {
  size_t c = jac.size;  // one past the next column to write
  for (size_t b = bodyIdx; b != 0; b = tree_.parent[b]) {
    const Vec3 d = pointW - kinematics_.positionW[b];
    const size_t k = tree_.dofStart[b];
    switch (tree_.jointType[b]) {
      case Joint::PRISMATIC:
        jac.idx[--c] = k;
        setColumn(jac.v, c, kinematics_.jointAxisW[b]);
        break;
      case Joint::REVOLUTE:
        jac.idx[--c] = k;
        setColumn(jac.v, c, cross(kinematics_.jointAxisW[b], d));
        break;
      case Joint::SPHERICAL:
        // The velocities of a spherical joint are in body axes.
        for (size_t t = 3; t-- > 0;) {
          jac.idx[--c] = k + t;
          setColumn(jac.v, c, cross(column(kinematics_.rotationW[b], t), d));
        }
        break;
      default:
        break;
    }
  }
}

void ArticulatedSystem::getSparseJacobian(size_t bodyIdx, const Mat<3, 1>& pointW,
                                          SparseJacobian& jac) const {
  if (!checkBodyIndex(bodyIdx, "getSparseJacobian")) return;
  jac.reserve(tree_.pathDof[bodyIdx]);
  jac.size = tree_.pathDof[bodyIdx];
  if (tree_.isFloating()) {
    const Vec3 r = pointW - kinematics_.positionW[0];
    const Mat33 minusSkew = -skew(r);  // column t is e_t x r
    const Mat33 identity = Mat33::identity();
    for (size_t t = 0; t < 3; ++t) {
      jac.idx[t] = t;
      jac.idx[3 + t] = 3 + t;
      setColumn(jac.v, t, column(identity, t));
      setColumn(jac.v, 3 + t, column(minusSkew, t));
    }
  }
  fillJointColumns(bodyIdx, pointW, jac);
}

void ArticulatedSystem::getSparseJacobian_internal(size_t bodyIdx, const Mat<3, 1>& pointW,
                                                   SparseJacobian& jac) {
  const char* where = "getSparseJacobian_internal";
  if (!checkBodyIndex(bodyIdx, where)) return;
  if (jac.capacity < tree_.pathDof[bodyIdx]) {
    MSG_FATAL(where << ": the Jacobian has room for " << jac.capacity << " columns, body "
                    << bodyIdx << " needs " << tree_.pathDof[bodyIdx]);
    return;
  }
  jac.size = tree_.pathDof[bodyIdx];
  if (tree_.isFloating()) {
    // The base columns are implicit: identity, and the rotation by the lever arm r kept in 3.
    for (size_t t = 0; t < 6; ++t) jac.idx[t] = t;
    setColumn(jac.v, 3, pointW - kinematics_.positionW[0]);
  }
  fillJointColumns(bodyIdx, pointW, jac);
}

void ArticulatedSystem::getSparseRotationalJacobian(size_t bodyIdx, SparseJacobian& jac) const {
  if (bodyIdx == kNone) {  // the world
    jac.size = 0;
    return;
  }
  if (!checkBodyIndex(bodyIdx, "getSparseRotationalJacobian")) return;
  size_t columns = 0;
  for (size_t b = bodyIdx; b != kNone; b = tree_.parent[b]) {
    if (tree_.jointType[b] == Joint::REVOLUTE) columns += 1;
    if (tree_.jointType[b] == Joint::SPHERICAL || tree_.jointType[b] == Joint::FLOATING)
      columns += 3;
  }
  jac.reserve(columns);
  jac.size = columns;

  size_t c = columns;
  const Mat33 identity = Mat33::identity();
  for (size_t b = bodyIdx; b != kNone; b = tree_.parent[b]) {
    if (tree_.jointType[b] == Joint::REVOLUTE) {
      jac.idx[--c] = tree_.dofStart[b];
      setColumn(jac.v, c, kinematics_.jointAxisW[b]);
    } else if (tree_.jointType[b] == Joint::SPHERICAL || tree_.jointType[b] == Joint::FLOATING) {
      // Below the root the velocities are in body axes; the base turns in world axes, after its
      // three translations.
      const bool isBase = tree_.jointType[b] == Joint::FLOATING;
      const Mat33& axes = isBase ? identity : kinematics_.rotationW[b];
      const size_t k = isBase ? 3 : tree_.dofStart[b];
      for (size_t t = 3; t-- > 0;) {
        jac.idx[--c] = k + t;
        setColumn(jac.v, c, column(axes, t));
      }
    }
  }
}

void ArticulatedSystem::getDenseJacobian(size_t bodyIdx, const Mat<3, 1>& pointW,
                                         MatDyn& jac) const {
  if (!checkBodyIndex(bodyIdx, "getDenseJacobian")) return;
  SparseJacobian sparse;
  getSparseJacobian(bodyIdx, pointW, sparse);
  scatter(sparse, tree_.dof, jac);
}

void ArticulatedSystem::getDenseRotationalJacobian(size_t bodyIdx, MatDyn& jac) const {
  if (bodyIdx != kNone && !checkBodyIndex(bodyIdx, "getDenseRotationalJacobian")) return;
  SparseJacobian sparse;
  getSparseRotationalJacobian(bodyIdx, sparse);
  scatter(sparse, tree_.dof, jac);
}

}  // namespace zelvik
