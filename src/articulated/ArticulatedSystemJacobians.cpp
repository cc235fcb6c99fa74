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
  if (bodyIdx < bodyCount_) return true;
  MSG_FATAL(where << ": body index " << bodyIdx << " is out of range, the system has " << bodyCount_
                  << " bodies");
  return false;
}

void ArticulatedSystem::fillJointColumns(size_t bodyIdx, const Mat<3, 1>& pointW,
                                         SparseJacobian& jac) const {
  size_t c = jac.size;  // one behind the next column to write
  for (size_t b = bodyIdx; b != 0; b = parent_[b]) {
    const Vec3 d = pointW - positionW_[b];
    const size_t k = dofStart_[b];
    switch (jointType_[b]) {
      case Joint::PRISMATIC:
        jac.idx[--c] = k;
        setColumn(jac.v, c, jointAxisW_[b]);
        break;
      case Joint::REVOLUTE:
        jac.idx[--c] = k;
        setColumn(jac.v, c, cross(jointAxisW_[b], d));
        break;
      case Joint::SPHERICAL:
        // The velocities of a spherical joint are in body axes.
        for (size_t t = 3; t-- > 0;) {
          jac.idx[--c] = k + t;
          setColumn(jac.v, c, cross(column(rotationW_[b], t), d));
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
  jac.reserve(pathDof_[bodyIdx]);
  jac.size = pathDof_[bodyIdx];
  if (jointType_[0] == Joint::FLOATING) {
    const Vec3 r = pointW - positionW_[0];
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
  if (jac.capacity < pathDof_[bodyIdx]) {
    MSG_FATAL(where << ": the Jacobian has room for " << jac.capacity << " columns, body "
                    << bodyIdx << " needs " << pathDof_[bodyIdx]);
    return;
  }
  jac.size = pathDof_[bodyIdx];
  if (jointType_[0] == Joint::FLOATING) {
    // The base columns are implicit: identity, and the rotation by the lever arm r kept in 3.
    for (size_t t = 0; t < 6; ++t) jac.idx[t] = t;
    setColumn(jac.v, 3, pointW - positionW_[0]);
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
  for (size_t b = bodyIdx; b != kNone; b = parent_[b]) {
    if (jointType_[b] == Joint::REVOLUTE) columns += 1;
    if (jointType_[b] == Joint::SPHERICAL || jointType_[b] == Joint::FLOATING) columns += 3;
  }
  jac.reserve(columns);
  jac.size = columns;

  size_t c = columns;
  const Mat33 identity = Mat33::identity();
  for (size_t b = bodyIdx; b != kNone; b = parent_[b]) {
    if (jointType_[b] == Joint::REVOLUTE) {
      jac.idx[--c] = dofStart_[b];
      setColumn(jac.v, c, jointAxisW_[b]);
    } else if (jointType_[b] == Joint::SPHERICAL || jointType_[b] == Joint::FLOATING) {
      // Below the root the velocities are in body axes; the base turns in world axes, behind its
      // three translations.
      const bool isBase = jointType_[b] == Joint::FLOATING;
      const Mat33& axes = isBase ? identity : rotationW_[b];
      const size_t k = isBase ? 3 : dofStart_[b];
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
  scatter(sparse, dof_, jac);
}

void ArticulatedSystem::getDenseRotationalJacobian(size_t bodyIdx, MatDyn& jac) const {
  if (bodyIdx != kNone && !checkBodyIndex(bodyIdx, "getDenseRotationalJacobian")) return;
  SparseJacobian sparse;
  getSparseRotationalJacobian(bodyIdx, sparse);
  scatter(sparse, dof_, jac);
}

}  // namespace zelvik
