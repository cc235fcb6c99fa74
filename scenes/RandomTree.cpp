// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "RandomTree.hpp"

#include <algorithm>
#include <string>
#include <zelvik/rotation.hpp>

namespace zelvik::scenes {

Vec3 RandomSource::unitVector() {
  const Vec3 a = vector(1.0);
  const double length = norm(a);
  return length > 0.1 ? (1.0 / length) * a : unitVector();
}

Vec4 RandomSource::unitQuaternion() {
  Vec4 q;
  for (int i = 0; i < 4; ++i) q[i] = uniform(-1.0, 1.0);
  const double length = norm(q);
  return length > 0.1 ? (1.0 / length) * q : unitQuaternion();
}

Mat33 RandomSource::rotation() {
  Mat33 R;
  quatToRotMat(unitQuaternion(), R);
  return R;
}

namespace {

void setRandomBody(Child& node, RandomSource& random) {
  node.mass = random.uniform(0.5, 3.0);
  node.com = random.vector(0.3);
  // Principal moments that satisfy the triangle inequality.
  const double a = random.uniform(0.02, 0.1), b = random.uniform(0.02, 0.1),
               c = random.uniform(0.02, 0.1);
  const Mat33 principal{{b + c, 0.0, 0.0, 0.0, a + c, 0.0, 0.0, 0.0, a + b}};
  similarityTransform(random.rotation(), principal, node.inertia);
}

void setRandomJoint(Child& node, const RandomTreeOptions& options, RandomSource& random) {
  const double pick = random.uniform(0.0, static_cast<double>(options.joints.size()));
  node.jointType = options.joints[static_cast<size_t>(pick)];
  node.jointPosition = random.vector(0.5);
  node.jointRotation = random.rotation();
  node.jointAxis = random.unitVector();
  node.jointLimit[0] = node.jointType == Joint::SPHERICAL ? -1.0 : 0.0;
  if (options.rotorInertia) node.rotorInertia = random.uniform(0.0, 0.2);
}

void setRoot(Child& root, const RandomTreeOptions& options, RandomSource& random) {
  root.jointType = options.floatingBase ? Joint::FLOATING : Joint::FIXED;
  root.jointPosition = random.vector(1.0);
  root.jointRotation = random.rotation();
}

/// Builds a subtree of `count` bodies; names follow the depth-first order.
Child buildSubtree(size_t count, size_t& next, const RandomTreeOptions& options,
                   RandomSource& random) {
  Child node;
  const std::string index = std::to_string(next);
  node.bodyName = "body" + index;
  setRandomBody(node, random);
  if (next++ == 0) {
    setRoot(node, options, random);
  } else {
    node.jointName = "joint" + index;
    setRandomJoint(node, options, random);
  }
  for (size_t rest = count - 1; rest > 0;) {
    const double share = random.uniform(1.0, static_cast<double>(rest) + 1.0);
    const size_t part = options.chain ? rest : std::min(rest, static_cast<size_t>(share));
    node.childrenMovable.push_back(buildSubtree(part, next, options, random));
    node.childrenMovable.back().parentJointName = node.bodyName;
    rest -= part;
  }
  return node;
}

}  // namespace

Child randomTree(std::uint32_t seed, const RandomTreeOptions& options) {
  RandomSource random(seed);
  size_t next = 0;
  return buildSubtree(options.bodies, next, options, random);
}

void randomiseState(ArticulatedSystem& system, std::uint32_t seed) {
  RandomSource random(seed);
  VecDyn gc(system.getGeneralizedCoordinateDim()), gv(system.getDOF());
  for (unsigned long k = 0; k < gc.n; ++k) gc[k] = random.uniform(-1.5, 1.5);
  for (unsigned long k = 0; k < gv.n; ++k) gv[k] = random.uniform(-2.0, 2.0);
  for (size_t i = 0; i < system.getBodyCount(); ++i) {
    const Joint::Type type = system.getJointType(i);
    if (type != Joint::SPHERICAL && type != Joint::FLOATING) continue;
    const Vec4 q = random.unitQuaternion();
    const size_t start = system.getGcStart()[i] + (type == Joint::FLOATING ? 3 : 0);
    for (size_t k = 0; k < 4; ++k) gc[start + k] = q[k];
  }
  system.setGeneralizedCoordinate(gc);
  system.setGeneralizedVelocity(gv);
}

}  // namespace zelvik::scenes
