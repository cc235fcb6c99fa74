// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "PairSearch.hpp"

namespace zelvik {

const std::vector<PairSearch::Pair>& PairSearch::findPairs(dSpaceID space) {
  readGeoms(space);
  pairs_.clear();
  for (size_t i = 0; i + 1 < geoms_.size(); ++i) appendPairsOf(i);
  return pairs_;
}

void PairSearch::readGeoms(dSpaceID space) {
  dSpaceClean(space);  // boxes of what has moved; those that move next come first from then on
  const int count = dSpaceGetNumGeoms(space);
  geoms_.clear();
  groups_.resize(laneCount(static_cast<size_t>(count)));
  for (int i = 0; i < count; ++i) {
    const dGeomID geom = dSpaceGetGeom(space, i);
    if (!dGeomIsEnabled(geom)) continue;
    writeGeom(geom, groups_[geoms_.size() / kLanes], geoms_.size() % kLanes);
    geoms_.push_back(geom);
  }
  for (size_t i = geoms_.size(); i % kLanes != 0; ++i)
    groups_[i / kLanes].category[i % kLanes] = groups_[i / kLanes].collide[i % kLanes] = 0;
  groups_.resize(laneCount(geoms_.size()));
}

void PairSearch::writeGeom(dGeomID geom, Group& group, size_t lane) {
  dReal box[6];
  dGeomGetAABB(geom, box);
  for (size_t k = 0; k < 3; ++k) {
    group.lower[k][lane] = box[2 * k];
    group.upper[k][lane] = box[2 * k + 1];
  }
  group.category[lane] = dGeomGetCategoryBits(geom);
  group.collide[lane] = dGeomGetCollideBits(geom);
}

void PairSearch::appendPairsOf(size_t geom) {
  const Group& a = groups_[geom / kLanes];
  const size_t lane = geom % kLanes;
  const Bits category = Bits{} + a.category[lane], collide = Bits{} + a.collide[lane];
  Lanes lower[3], upper[3];
  for (size_t k = 0; k < 3; ++k) {
    lower[k] = broadcast(a.lower[k][lane]);
    upper[k] = broadcast(a.upper[k][lane]);
  }
  // The group that holds the next geom also holds some before it.
  unsigned ahead = (30u << lane) & 15u;
  const dGeomID* others = geoms_.data() + geom - lane;
  for (const Group* b = &a; b != groups_.data() + groups_.size(); ++b, others += kLanes) {
    auto apart = ((category & b->collide) | (b->category & collide)) == Bits{};
    for (size_t k = 0; k < 3; ++k) apart |= (lower[k] > b->upper[k]) | (upper[k] < b->lower[k]);
    for (unsigned found = ~lanesSet(apart) & ahead; found != 0; found &= found - 1)
      pairs_.push_back({geoms_[geom], others[__builtin_ctz(found)]});
    ahead = 15u;
  }
}

}  // namespace zelvik
