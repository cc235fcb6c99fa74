// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
//
// Random contacts against two claims, which are checked with 113 bits:
//
// - no impulse adds more energy than its target demands, p . v + 1/2 p . D p <= p_n target, by more
//   than 1e-9 of the larger side;
// - where the sliding search's point would, the impulse found instead is the least of
//   1/2 p . D p + p . (v - target n) over the friction cone: no ray of a scan is lower.
//
//   contact_energy [--contacts N] [--scans N] [--seed S]
//
// Blocks are of condition numbers up to 1e12 in axes of their own, of a weak normal, or singular.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>

#include "contact/ContactLaw.hpp"
#include "contact/ContactPreparation.hpp"

namespace {

using zelvik::Mat33;
using zelvik::Vec3;
using Problem = zelvik::contact::Single3DContactProblem;
__extension__ using Wide = __float128;

class Random {
 public:
  explicit Random(unsigned long seed) : generator_(seed) {}
  double operator()(double low, double high) {
    return low + (high - low) * (static_cast<double>(generator_() >> 11) / 9007199254740992.0);
  }
  /// Log-uniform.
  double size(double low, double high) { return std::exp((*this)(std::log(low), std::log(high))); }
  Vec3 vector(double size) {
    return {{(*this)(-size, size), (*this)(-size, size), (*this)(-size, size)}};
  }
  bool chance(double p) { return (*this)(0.0, 1.0) < p; }

 private:
  std::mt19937_64 generator_;
};

Mat33 symmetric(const Mat33& A) {
  Mat33 D;
  for (int j = 0; j < 3; ++j)
    for (int i = 0; i < 3; ++i) D(i, j) = 0.5 * (A(i, j) + A(j, i));
  return D;
}

/// Rotation by a random quaternion, or by a small angle.
Mat33 randomRotation(Random& random, double angle) {
  Vec3 axis = random.vector(1.0);
  axis *= std::sin(0.5 * angle) / zelvik::norm(axis);
  const double q[4] = {std::cos(0.5 * angle), axis[0], axis[1], axis[2]};
  Mat33 R;
  zelvik::quatToRotMat(q, R);
  return R;
}

/// Columns g: D = sum of g g^T.
Mat33 randomBlock(Random& random, int kind) {
  const double scale = random.size(1e-2, 1e2);
  if (kind == 0) {  // a rigid body: 1/m + a lever
    const Vec3 r = random.vector(1.0);
    const double inertia = random.size(1e-2, 10.0);
    Mat33 D = Mat33::identity();
    const Mat33 S = zelvik::skew(r);
    D += (1.0 / inertia) * (S * zelvik::transpose(S));
    return symmetric(scale * D);
  }
  Vec3 eigenvalues{{scale, scale * random.size(1e-12, 1.0), scale * random.size(1e-12, 1.0)}};
  double angle = random(0.0, 3.1);
  if (kind == 2) {  // a weak normal, with a little of the tangents in it
    eigenvalues = {{scale, scale * random.size(1e-3, 1.0), scale * random.size(1e-12, 1e-2)}};
    angle = random.size(1e-7, 0.3);
  }
  if (kind == 3) eigenvalues[1 + (random.chance(0.5) ? 1 : 0)] = 0.0;
  const Mat33 R = randomRotation(random, angle);
  Mat33 D{};
  for (int k = 0; k < 3; ++k) {
    const Vec3 g = std::sqrt(eigenvalues[k]) * zelvik::column(R, k);
    D += g * zelvik::transpose(g);
  }
  return symmetric(D);
}

struct Trial {
  Problem problem;
  Vec3 v, w;
};

/// @return false if the contact does not close
bool makeTrial(Random& random, Trial& trial) {
  const int kind = static_cast<int>(random(0.0, 4.0));
  zelvik::MaterialPairProperties material;
  material.friction = random.chance(0.1) ? random.size(1e-4, 0.05) : random(0.05, 1.5);
  const double depth = random.chance(0.3) ? 0.0 : -random.size(1e-6, 0.1);
  trial.problem = Problem(material, 0.0, 0.0, 0.0, depth);
  trial.problem.delassus_ = randomBlock(random, kind);
  Vec3 v = random.chance(0.5) ? random.vector(1.0) : trial.problem.delassus_ * random.vector(1.0);
  if (random.chance(0.5)) v[2] *= random.size(1e-7, 1.0);
  trial.problem.checkRank();
  if (trial.problem.rank_ != Problem::FULL && trial.problem.rank_ != Problem::PLANE) return false;
  if (trial.problem.rank_ == Problem::PLANE) v = trial.problem.delassus_ * random.vector(1.0);
  if (v[2] > 0.0) return false;
  trial.problem.dzzInv_ = 1.0 / trial.problem.delassus_(2, 2);
  const zelvik::contact::ContactPreparation preparation = {0.3, 0.0, 0.0, 0.0};
  preparation.prepare(trial.problem, v[2]);
  trial.v = trial.w = v;
  trial.w[2] -= trial.problem.targetVelZ_;
  return true;
}

/// p . v + 1/2 p . D p, p_n target, and their difference.
struct Energies {
  Wide added, demanded, excess;
};

Energies energiesOf(const Trial& t, const Vec3& p) {
  Energies e{};
  for (int i = 0; i < 3; ++i) {
    Wide Dp = 0;
    for (int j = 0; j < 3; ++j) {
      const int row = std::max(i, j), column = std::min(i, j);
      Dp += static_cast<Wide>(t.problem.delassus_(row, column)) * p[j];
    }
    e.added += static_cast<Wide>(p[i]) * (t.v[i] + Dp / 2);
  }
  e.demanded = static_cast<Wide>(p[2]) * t.problem.targetVelZ_;
  e.excess = e.added - e.demanded;
  return e;
}

double absolute(Wide x) {
  return static_cast<double>(x < 0 ? -x : x);
}

/// The part of w that the block reaches.
Vec3 reachedBy(const Problem& p, const Vec3& w) {
  if (p.rank_ == Problem::FULL) return w;
  const Vec3 &b1 = p.planeBasis_[0], &b2 = p.planeBasis_[1];
  return zelvik::dot(b1, w) * b1 + zelvik::dot(b2, w) * b2;
}

/// The least of g over the mantle, by a scan of rays that closes in on the best one.
double scan(const Trial& t) {
  const auto energyAt = [&](long double theta) {
    const long double d[3] = {std::cos(theta), std::sin(theta), 1.0L / t.problem.mu_};
    long double work = 0.0L, k = 0.0L;
    for (int i = 0; i < 3; ++i) {
      work += d[i] * t.w[i];
      for (int j = 0; j < 3; ++j)
        k += d[i] * d[j] * t.problem.delassus_(std::max(i, j), std::min(i, j));
    }
    return work < 0.0L && k > 0.0L ? -0.5L * work * work / k : 0.0L;
  };
  constexpr int kRays = 2000;
  long double best = 0.0L, angle = 0.0L, width = 3.2L;
  for (int round = 0; round < 8; ++round, width *= 2.0L / kRays) {
    const long double middle = angle;
    for (int i = -kRays; i <= kRays; ++i) {
      const long double theta = middle + width * i / kRays, g = energyAt(theta);
      if (g < best) best = g, angle = theta;
    }
    if (round > 2 && width < 1e-9L) break;
  }
  return static_cast<double>(best);
}

/// Whether the impulse is what the sliding search finds, or the contact does not slide.
bool isSearchPoint(const Trial& t, const Vec3& sticking) {
  if (zelvik::contact::sticks(sticking, t.problem.mu_)) return true;
  const zelvik::contact::SlidingCurve curve(t.problem, t.v, t.w[2], sticking);
  zelvik::contact::SlidingPoint point = curve.start();
  if (point.r > 0.0 && !(point.f * point.f < 1e-24))
    point = zelvik::contact::marchToRoot(curve, point);
  return point.r <= 0.0 || zelvik::norm(curve.impulseAt(point) - t.problem.imp_) <=
                               1e-12 * zelvik::norm(t.problem.imp_);
}

}  // namespace

int main(int argc, char** argv) {
  long contacts = 200000, scans = 500;
  unsigned long seed = 1;
  for (int i = 1; i + 1 < argc; i += 2) {
    if (std::strcmp(argv[i], "--contacts") == 0) contacts = std::atol(argv[i + 1]);
    if (std::strcmp(argv[i], "--scans") == 0) scans = std::atol(argv[i + 1]);
    if (std::strcmp(argv[i], "--seed") == 0) seed = std::strtoul(argv[i + 1], nullptr, 10);
  }
  Random random(seed);
  long closed = 0, slid = 0, minima = 0, violations = 0, scanned = 0, missed = 0;
  double worst = 0.0, worstMiss = 0.0;
  Trial trial;
  while (closed < contacts) {
    if (!makeTrial(random, trial)) continue;
    ++closed;
    Problem& p = trial.problem;
    const Vec3 sticking = zelvik::contact::stickingImpulse(p, trial.w);
    const zelvik::contact::OneRecord record(p, trial.v);
    zelvik::contact::solveClosed(
        p, zelvik::contact::closedForm<zelvik::contact::OneRecord>(record, Vec3{}, trial.w),
        trial.v);
    if (!zelvik::contact::sticks(sticking, p.mu_)) ++slid;
    const Energies e = energiesOf(trial, p.imp_);
    const double larger = std::max(absolute(e.added), absolute(e.demanded));
    const double excess = static_cast<double>(e.excess) / larger;
    if (excess > worst) worst = excess;
    if (larger > 0.0 && !(excess <= 1e-9)) ++violations;
    const bool isMinimum = !isSearchPoint(trial, sticking);
    if (!isMinimum) continue;
    ++minima;
    if (scanned >= scans) continue;
    ++scanned;
    trial.v = trial.w = reachedBy(p, trial.w);
    p.targetVelZ_ = 0.0;
    const double best = scan(trial);
    const double found = static_cast<double>(energiesOf(trial, p.imp_).added);
    const double miss = (found - best) / std::fabs(best);
    if (miss > worstMiss) worstMiss = miss;
    if (miss > 1e-6) ++missed;
  }
  std::printf("%ld contacts close, %ld slide, %ld of these at the minimum over the cone\n", closed,
              slid, minima);
  std::printf("energy above the bound by more than 1e-9: %ld, at most %.3g\n", violations, worst);
  std::printf("minima beaten by a scan: %ld of %ld, at most by %.3g\n", missed, scanned, worstMiss);
  return violations == 0 && missed == 0 ? 0 : 1;
}
