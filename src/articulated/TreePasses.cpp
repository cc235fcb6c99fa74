// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "articulated/TreePasses.hpp"

#include <algorithm>
#include <cstring>

namespace zelvik {

TreePasses::TreePasses(const TreeDescription& tree, BodyKinematics& kinematics)
    : tree_(tree), kinematics_(kinematics) {
  sortIntoBatches();
  for (Batch& batch : batches_) buildSteps(batch);
  loadMassProperties();
}

/// By depth, and by index where that is equal.
void TreePasses::sortIntoBatches() {
  batchOf_.assign(tree_.bodyCount, 0);
  laneOf_.assign(tree_.bodyCount, 0);
  const size_t root = 0;
  batches_.push_back(makeBatch(&root, 1));
  const size_t deepest = *std::max_element(tree_.depth.begin(), tree_.depth.end());
  std::vector<size_t> level;
  for (size_t depth = 2; depth <= deepest; ++depth) {
    level.clear();
    for (size_t i = 1; i < tree_.bodyCount; ++i)
      if (tree_.depth[i] == depth) level.push_back(i);
    for (size_t first = 0; first < level.size(); first += kLanes) {
      const size_t count = std::min(kLanes, level.size() - first);
      for (size_t l = 0; l < count; ++l) {
        batchOf_[level[first + l]] = batches_.size();
        laneOf_[level[first + l]] = l;
      }
      batches_.push_back(makeBatch(&level[first], count));
    }
  }
  bodies_.resize(batches_.size());
  for (size_t b = 0; b < batches_.size(); ++b) {
    std::memset(static_cast<void*>(&bodies_[b]), 0, sizeof(Bodies));
    for (size_t l = 0; l < kLanes; ++l) setJoint(batches_[b].body[l], l, bodies_[b]);
  }
}

TreePasses::Batch TreePasses::makeBatch(const size_t* bodies, size_t count) {
  Batch batch{};
  batch.count = count;
  size_t parents[kLanes];
  for (size_t l = 0; l < kLanes; ++l) {
    const size_t i = bodies[l < count ? l : 0], width = tree_.dofOfBody[i];
    batch.body[l] = i;
    batch.hasSlides |= tree_.jointType[i] == Joint::PRISMATIC;
    hasSlides_ |= tree_.jointType[i] == Joint::PRISMATIC;
    batch.hasBalls |= tree_.jointType[i] == Joint::SPHERICAL;
    parents[l] = i == 0 ? 0 : tree_.parent[i];
    if (i == 0) continue;
    batch.width = std::max(batch.width, width);
    batch.gc[l] = tree_.gcStart[i];
    for (size_t k = 0; k < 3; ++k) {
      const bool exists = k < width;
      batch.gv[k][l] = exists ? tree_.dofStart[i] + k : width > 0 ? tree_.dofStart[i] : 0;
      batch.row[k][l] = l < count && exists ? tree_.pattern.rowStart[tree_.dofStart[i] + k]
                                            : tree_.pattern.storage;
    }
  }
  batch.parents = placesOf(parents, count);
  return batch;
}

/// The root stands in all lanes of its batch. What lanes without a body read does not matter.
TreePasses::Places TreePasses::placesOf(const size_t* bodies, size_t count) const {
  Places places{};
  places.lanesMatch = true;
  for (size_t l = 0; l < kLanes; ++l) {
    const size_t i = bodies[l];
    places.batch[l] = batchOf_[i];
    places.lane[l] = i == 0 ? l : laneOf_[i];
    if (l < count && (places.batch[l] != places.batch[0] || places.lane[l] != l))
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
  for (size_t b = 0; b < batches_.size(); ++b)
    for (size_t l = 0; l < kLanes; ++l) {
      const size_t i = batches_[b].body[l];
      const bool exists = b == 0 || l < batches_[b].count;
      Bodies& bodies = bodies_[b];
      bodies.mass[l] = exists ? tree_.mass[i] : 0.0;
      bodies.compositeMass[l] = exists ? tree_.compositeMass[i] : 0.0;
      bodies.divisor[l] = exists ? tree_.compositeMass[i] : 1.0;
      setLane(bodies.comB, l, tree_.comB[i]);
      setLane(bodies.inertiaB, l, exists ? tree_.inertiaB[i] : Mat33{});
    }
}

/// Joints from those of the batch up to the one below the root, and for each entry of M between
/// them its place in the packed rows.
void TreePasses::buildSteps(Batch& batch) {
  batch.stepBegin = batch.stepEnd = steps_.size();
  if (batch.body[0] == 0) return;
  size_t joints[kLanes];
  std::copy_n(batch.body, kLanes, joints);
  while (joints[0] != 0) {
    Step step{placesOf(joints, batch.count), 0};
    for (const size_t j : joints) step.width = std::max(step.width, tree_.dofOfBody[j]);
    steps_.push_back(step);
    for (size_t& j : joints) j = tree_.parent[j];
  }
  batch.stepEnd = steps_.size();

  const size_t before = targets_.size();
  for (size_t k = 0; k < batch.width; ++k) {
    std::copy_n(batch.body, kLanes, joints);
    for (size_t i = batch.stepBegin; i < batch.stepEnd; ++i) {
      const size_t end = i == batch.stepBegin ? k + 1 : steps_[i].width;
      for (size_t l = 0; l < end; ++l)
        for (size_t lane = 0; lane < kLanes; ++lane)
          targets_.push_back(static_cast<std::uint32_t>(
              lane < batch.count ? target(batch.body[lane], k, joints[lane], l)
                                 : tree_.pattern.storage));
      for (size_t& j : joints) j = tree_.parent[j];
    }
  }
  batch.targetCount = targets_.size() - before;
}

/// Place of the entry of velocity k of joint i and velocity l of joint j; behind the rows if there
/// is none.
size_t TreePasses::target(size_t i, size_t k, size_t j, size_t l) const {
  if (k >= tree_.dofOfBody[i] || l >= tree_.dofOfBody[j]) return tree_.pattern.storage;
  return tree_.pattern.rowStart[tree_.dofStart[i] + k] +
         tree_.pattern.position[tree_.dofStart[j] + l];
}

void TreePasses::writeCompositeBodies(std::vector<Mat33>& inertia,
                                      std::vector<Mat33>& compositeInertia,
                                      std::vector<Vec3>& moment, std::vector<Vec3>& com) const {
  for (size_t b = 0; b < batches_.size(); ++b)
    for (size_t l = 0; l < batches_[b].count; ++l) {
      const size_t i = batches_[b].body[l];
      inertia[i] = getLane(bodies_[b].inertia, l);
      compositeInertia[i] = getLane(bodies_[b].compositeInertia, l);
      moment[i] = getLane(bodies_[b].moment, l);
      com[i] = getLane(bodies_[b].compositeCom, l);
    }
}

}  // namespace zelvik
