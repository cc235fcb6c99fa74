// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "articulated/TreePasses.hpp"

#include <algorithm>
#include <cstring>

namespace zelvik {

TreePasses::TreePasses(const TreeDescription& tree, BodyKinematics& kinematics)
    : tree_(tree), kinematics_(kinematics) {
  sortIntoQuads();
  for (Quad& quad : quads_) buildSteps(quad);
  loadMassProperties();
}

/// By depth, and by index where that is equal.
void TreePasses::sortIntoQuads() {
  quadOf_.assign(tree_.bodyCount, 0);
  laneOf_.assign(tree_.bodyCount, 0);
  const size_t root = 0;
  quads_.push_back(makeQuad(&root, 1));
  const size_t deepest = *std::max_element(tree_.depth.begin(), tree_.depth.end());
  std::vector<size_t> level;
  for (size_t depth = 2; depth <= deepest; ++depth) {
    level.clear();
    for (size_t i = 1; i < tree_.bodyCount; ++i)
      if (tree_.depth[i] == depth) level.push_back(i);
    for (size_t first = 0; first < level.size(); first += kLanes) {
      const size_t count = std::min(kLanes, level.size() - first);
      for (size_t l = 0; l < count; ++l) {
        quadOf_[level[first + l]] = quads_.size();
        laneOf_[level[first + l]] = l;
      }
      quads_.push_back(makeQuad(&level[first], count));
    }
  }
  bodies_.resize(quads_.size());
  for (size_t b = 0; b < quads_.size(); ++b) {
    std::memset(static_cast<void*>(&bodies_[b]), 0, sizeof(Bodies));
    for (size_t l = 0; l < kLanes; ++l) setJoint(quads_[b].body[l], l, bodies_[b]);
  }
}

TreePasses::Quad TreePasses::makeQuad(const size_t* bodies, size_t count) {
  Quad quad{};
  quad.count = count;
  size_t parents[kLanes];
  for (size_t l = 0; l < kLanes; ++l) {
    const size_t i = bodies[l < count ? l : 0], width = tree_.dofOfBody[i];
    quad.body[l] = i;
    quad.hasSlides |= tree_.jointType[i] == Joint::PRISMATIC;
    hasSlides_ |= tree_.jointType[i] == Joint::PRISMATIC;
    quad.hasBalls |= tree_.jointType[i] == Joint::SPHERICAL;
    parents[l] = i == 0 ? 0 : tree_.parent[i];
    if (i == 0) continue;
    quad.width = std::max(quad.width, width);
    quad.gc[l] = tree_.gcStart[i];
    for (size_t k = 0; k < 3; ++k) {
      const bool exists = k < width;
      quad.gv[k][l] = exists ? tree_.dofStart[i] + k : width > 0 ? tree_.dofStart[i] : 0;
      quad.row[k][l] = l < count && exists ? tree_.pattern.rowStart[tree_.dofStart[i] + k]
                                           : tree_.pattern.storage;
    }
  }
  quad.parents = placesOf(parents, count);
  return quad;
}

/// The root stands in all lanes of its quad. What lanes without a body read does not matter.
TreePasses::Places TreePasses::placesOf(const size_t* bodies, size_t count) const {
  Places places{};
  places.lanesMatch = true;
  for (size_t l = 0; l < kLanes; ++l) {
    const size_t i = bodies[l];
    places.quad[l] = quadOf_[i];
    places.lane[l] = i == 0 ? l : laneOf_[i];
    if (l < count && (places.quad[l] != places.quad[0] || places.lane[l] != l))
      places.lanesMatch = false;
  }
  return places;
}

/// Constants of one body. With R the joint's rotation about the axis a by the angle q and O the
/// joint frame, O R = O a a^T + cos q O (1 - a a^T) + sin q O [a].
void TreePasses::setJoint(size_t i, size_t lane, Bodies& bodies) const {
  const Mat33& O = tree_.jointOrientationP[i];
  const Vec3& a = tree_.jointAxisB[i];
  const Joint::Type type = i == 0 ? Joint::FIXED : tree_.jointType[i];
  Mat33 along;
  for (size_t c = 0; c < 3; ++c)
    for (size_t r = 0; r < 3; ++r) along(r, c) = a[r] * a[c];
  const bool revolute = type == Joint::REVOLUTE;
  const Mat33 none{};
  setLane(bodies.fixedPart, lane, revolute ? O * along : O);
  setLane(bodies.cosinePart, lane, revolute ? O * (Mat33::identity() - along) : none);
  setLane(bodies.sinePart, lane, revolute ? O * skew(a) : none);
  setLane(bodies.offsetP, lane, tree_.jointOffsetP[i]);
  setLane(bodies.axisP, lane, O * a);
  bodies.turns[lane] = revolute ? 1.0 : 0.0;
  bodies.slides[lane] = type == Joint::PRISMATIC ? 1.0 : 0.0;
  bodies.balls[lane] = type == Joint::SPHERICAL ? 1.0 : 0.0;
}

void TreePasses::loadMassProperties() {
  for (size_t b = 0; b < quads_.size(); ++b)
    for (size_t l = 0; l < kLanes; ++l) {
      const size_t i = quads_[b].body[l];
      const bool exists = b == 0 || l < quads_[b].count;
      Bodies& bodies = bodies_[b];
      bodies.mass[l] = exists ? tree_.mass[i] : 0.0;
      bodies.compositeMass[l] = exists ? tree_.compositeMass[i] : 0.0;
      bodies.divisor[l] = exists ? tree_.compositeMass[i] : 1.0;
      setLane(bodies.comB, l, tree_.comB[i]);
      setLane(bodies.inertiaB, l, exists ? tree_.inertiaB[i] : Mat33{});
    }
}

/// Joints from those of the quad up to the one below the root, and for each entry of M between
/// them its place in the packed rows.
void TreePasses::buildSteps(Quad& quad) {
  quad.stepBegin = quad.stepEnd = steps_.size();
  if (quad.body[0] == 0) return;
  size_t joints[kLanes];
  std::copy_n(quad.body, kLanes, joints);
  while (joints[0] != 0) {
    Step step{placesOf(joints, quad.count), 0};
    for (const size_t j : joints) step.width = std::max(step.width, tree_.dofOfBody[j]);
    steps_.push_back(step);
    for (size_t& j : joints) j = tree_.parent[j];
  }
  quad.stepEnd = steps_.size();

  const size_t before = targets_.size();
  for (size_t k = 0; k < quad.width; ++k) {
    std::copy_n(quad.body, kLanes, joints);
    for (size_t i = quad.stepBegin; i < quad.stepEnd; ++i) {
      const size_t end = i == quad.stepBegin ? k + 1 : steps_[i].width;
      for (size_t l = 0; l < end; ++l)
        for (size_t lane = 0; lane < kLanes; ++lane)
          targets_.push_back(static_cast<std::uint32_t>(
              lane < quad.count ? target(quad.body[lane], k, joints[lane], l)
                                : tree_.pattern.storage));
      for (size_t& j : joints) j = tree_.parent[j];
    }
  }
  quad.targetCount = targets_.size() - before;
}

/// Place of the entry of velocity k of joint i and velocity l of joint j; past the rows if there
/// is none.
size_t TreePasses::target(size_t i, size_t k, size_t j, size_t l) const {
  if (k >= tree_.dofOfBody[i] || l >= tree_.dofOfBody[j]) return tree_.pattern.storage;
  return tree_.pattern.rowStart[tree_.dofStart[i] + k] +
         tree_.pattern.position[tree_.dofStart[j] + l];
}

void TreePasses::writeCompositeBodies(std::vector<Mat33>& inertia,
                                      std::vector<Mat33>& compositeInertia,
                                      std::vector<Vec3>& moment, std::vector<Vec3>& com) const {
  for (size_t b = 0; b < quads_.size(); ++b)
    for (size_t l = 0; l < quads_[b].count; ++l) {
      const size_t i = quads_[b].body[l];
      inertia[i] = getLane(bodies_[b].inertia, l);
      compositeInertia[i] = getLane(bodies_[b].compositeInertia, l);
      moment[i] = getLane(bodies_[b].moment, l);
      com[i] = getLane(bodies_[b].compositeCom, l);
    }
}

}  // namespace zelvik
