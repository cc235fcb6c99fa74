// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cmath>
#include <cstring>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {
namespace {

/// Four neighbouring columns of the inverse, one row of them.
using Lanes = double __attribute__((vector_size(32)));
constexpr size_t kLanes = 4;

/// Rows of L against `kLanes` neighbouring columns of X, over the first `count` entries:
/// sum[a] = sum_r L(a, r) X(r, columns). X is symmetric, so the lanes of X(r, columns) are
/// neighbours in memory, and no sum across lanes is needed.
template <size_t rows>
inline void multiplyRows(const double* L, const double* X, size_t n, size_t count,
                         Lanes (&sum)[rows]) {
  for (size_t a = 0; a < rows; ++a) sum[a] = Lanes{};
  for (size_t r = 0; r < count; ++r) {
    Lanes x;
    std::memcpy(&x, X + r * n, sizeof x);
    for (size_t a = 0; a < rows; ++a) sum[a] += L[a * n + r] * x;
  }
}

/// The square of X on the diagonal, from entry (i, i), entry by entry. The sums hold what stands
/// left of the square.
inline void finishSquare(const double* L, const double* inverse, double* X, size_t n, size_t i,
                         size_t size, const Lanes* sum) {
  for (size_t a = 0; a < size; ++a)
    for (size_t b = 0; b <= a; ++b) {
      const size_t row = i + a, col = i + b;
      double s = sum[a][b];
      for (size_t r = i; r < row; ++r) s += L[row * n + r] * X[r * n + col];
      const double x = inverse[row] * ((a == b ? inverse[row] : 0.0) - s);
      X[row * n + col] = x;
      X[col * n + row] = x;
    }
}

/// `rows` rows from j on of the columns from i on, below the diagonal.
template <size_t rows>
inline void solveRows(const double* L, const double* inverse, double* X, size_t n, size_t i,
                      size_t j) {
  Lanes x[rows];
  multiplyRows<rows>(L + j * n, X + i, n, j, x);
  for (size_t a = 0; a < rows; ++a) {
    for (size_t r = 0; r < a; ++r) x[a] += L[(j + a) * n + j + r] * x[r];
    x[a] *= -inverse[j + a];
    std::memcpy(X + (j + a) * n + i, &x[a], sizeof x[a]);
  }
  for (size_t b = 0; b < kLanes; ++b)
    for (size_t a = 0; a < rows; ++a) X[(i + b) * n + j + a] = x[a][b];
}

}  // namespace

/// D = (dt/2) (damping + (dt/2) (stiffness + pGain) + dGain); the gains count in PD mode only.
void ArticulatedSystem::computeDampedMass(double dt) {
  const double half = 0.5 * dt;
  dampedDiagonal_ = jointDamping_;
  for (const JointSpring& spring : springs_) {
    const Joint::Type type = jointType_[spring.bodyIdx];
    const size_t width = type == Joint::FLOATING ? 0 : velocityCount(type);
    for (size_t k = 0; k < width; ++k)
      dampedDiagonal_[dofStart_[spring.bodyIdx] + k] += half * spring.stiffness;
  }
  for (size_t k = 0; k < dof_; ++k) {
    if (controlMode_ == PD_PLUS_FEED_FORWARD) {
      dampedDiagonal_[k] += half * pGain_[k];
      dampedDiagonal_[k] += dGain_[k];
    }
    dampedDiagonal_[k] *= half;
    dampedDiagonalRate_[k] = dampedDiagonal_[k] * (1.0 / dt);
  }
  dampedTimeStep_ = dt;
}

/// Returns false after a fatal message.
bool ArticulatedSystem::checkSquare(const MatDyn& matrix, const char* where) const {
  if (matrix.n == dof_ && matrix.m == dof_) return true;
  MSG_FATAL(where << ": the matrix is " << matrix.n << " by " << matrix.m << ", the system has "
                  << dof_ << " velocities");
  return false;
}

void ArticulatedSystem::computeSparseInverse(const MatDyn& M, MatDyn& Minv) {
  const char* where = "computeSparseInverse";
  const size_t n = dof_;
  if (n == 0 || !checkSquare(M, where) || !checkSquare(Minv, where)) return;
  std::memcpy(factor_.v, M.v, n * n * sizeof(double));
  const VecDyn& damping = integrationScheme_ < RUNGE_KUTTA_4 ? dampedDiagonal_ : jointDamping_;
  for (size_t k = 0; k < n; ++k) factor_.v[k * n + k] += damping[k];
  factorise();
  buildInverse(Minv);
}

/// M + D = L^T L from the last velocity to the first, without fill-in (R. Featherstone, Rigid Body
/// Dynamics Algorithms, section 8.3): row k of L is zero but on the chain from k to the root. Rows
/// lie in contiguous memory; what stands above the diagonal is not read.
void ArticulatedSystem::factorise() {
  const size_t n = dof_;
  const size_t* lambda = dofParent_.data();
  const size_t* runStart = dofRunStart_.data();
  for (size_t k = n; k-- > 0;) {
    double* __restrict Lk = factor_.v + k * n;
    Lk[k] = std::sqrt(Lk[k]);
    const double inverse = 1.0 / Lk[k];
    inverseDiagonal_[k] = inverse;
    for (size_t j = lambda[k]; j != kNone; j = lambda[j]) Lk[j] *= inverse;
    // L(i, j) -= L(k, i) L(k, j) for i on the chain and j on the chain from i, run by run.
    for (size_t i = lambda[k]; i != kNone; i = lambda[i]) {
      double* __restrict Li = factor_.v + i * n;
      const double lki = Lk[i];
      for (size_t end = i; end != kNone;) {
        const size_t start = runStart[end];
        for (size_t j = start; j <= end; ++j) Li[j] -= lki * Lk[j];
        end = lambda[start];
      }
    }
  }
}

/// X = L^-1 L^-T by columns: L x = L^-T e_i, where the entries above row i are known by symmetry:
/// x_i = (1 / L_ii - sum_{r<i} L_ir x_r) / L_ii and x_j = -(sum_{r<j} L_jr x_r) / L_jj for j > i.
/// Four columns and four rows are taken at a time.
void ArticulatedSystem::buildInverse(MatDyn& Minv) const {
  const size_t n = dof_;
  const double* L = factor_.v;
  const double* inverse = inverseDiagonal_.v;
  double* X = Minv.v;

  size_t i = 0;
  Lanes sum[kLanes];
  for (; i + kLanes <= n; i += kLanes) {
    multiplyRows<kLanes>(L + i * n, X + i, n, i, sum);
    finishSquare(L, inverse, X, n, i, kLanes, sum);
    size_t j = i + kLanes;
    for (; j + kLanes <= n; j += kLanes) solveRows<kLanes>(L, inverse, X, n, i, j);
    for (; j < n; ++j) solveRows<1>(L, inverse, X, n, i, j);
  }
  // The columns that do not fill the lanes.
  for (size_t a = 0; i + a < n; ++a) {
    sum[a] = Lanes{};
    for (size_t b = 0; b <= a; ++b)
      for (size_t r = 0; r < i; ++r) sum[a][b] += L[(i + a) * n + r] * X[r * n + i + b];
  }
  finishSquare(L, inverse, X, n, i, n - i, sum);
}

}  // namespace zelvik
