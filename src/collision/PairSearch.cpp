// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "collision/PairSearch.hpp"

#include <algorithm>

namespace zelvik {

const std::vector<PairSearch::Pair>& PairSearch::findPairs(dSpaceID space) {
  dSpaceClean(space);  // boxes of what has moved; those that move next come first from then on
  clear();
  const int count = dSpaceGetNumGeoms(space);
  for (int i = 0; i < count; ++i) append(dSpaceGetGeom(space, i), true);
  return findPairs(dSpaceGetClass(space) == dSweepAndPruneSpaceClass);
}

void PairSearch::clear() {
  geoms_.clear();
  moves_.clear();
}

void PairSearch::append(dGeomID geom, bool isDynamic) {
  if (dGeomIsEnabled(geom) == 0) return;
  geoms_.push_back(geom);
  moves_.push_back(isDynamic ? ~0ul : 0ul);
}

/// The order of the search starts from that of the last call if the geoms are the same, and from
/// that of the list otherwise.
const std::vector<PairSearch::Pair>& PairSearch::findPairs(bool sorted) {
  areOthers_ = sorted != wereSorted_ || geoms_ != lastGeoms_;
  if (areOthers_) {
    wereSorted_ = sorted;
    lastGeoms_.clear();  // until all is done: memory may run out
    begins_.resize(geoms_.size());
    for (size_t i = 0; i < geoms_.size(); ++i) begins_[i].place = static_cast<std::uint32_t>(i);
    lastGeoms_ = geoms_;
  }
  if (sorted) sortBegins();
  groups_.resize(laneCount(begins_.size()));
  for (size_t g = 0; g < groups_.size(); ++g) writeGroup(g * kLanes, groups_[g]);
  pairs_.clear();
  for (size_t i = 0; i + 1 < begins_.size(); ++i)
    sorted ? appendPairsOf<true>(i) : appendPairsOf<false>(i);
  return pairs_;
}

/// Geoms that begin together stand as they do in the list, whatever has been before.
bool PairSearch::isBefore(const Begin& a, const Begin& b) {
  return a.x < b.x || (a.x == b.x && a.place < b.place);
}

/// Bodies hardly change places from step to step, so each is moved forward from where it was.
void PairSearch::sortBegins() {
  for (Begin& begin : begins_) {
    dReal box[6];
    dGeomGetAABB(geoms_[begin.place], box);
    begin.x = box[0] == box[0] ? box[0] : -dInfinity;
  }
  if (areOthers_) return std::sort(begins_.begin(), begins_.end(), isBefore);
  for (size_t i = 1; i < begins_.size(); ++i) {
    const Begin begin = begins_[i];
    size_t k = i;
    for (; k > 0 && isBefore(begin, begins_[k - 1]); --k) begins_[k] = begins_[k - 1];
    begins_[k] = begin;
  }
}

/// Makes whole registers of the numbers of four geoms: a search that reads what has just been
/// written in smaller pieces would have to wait for it.
void PairSearch::writeGroup(size_t first, Group& group) {
  dReal box[kLanes][6];
  unsigned long category[kLanes], collide[kLanes], moves[kLanes];
  const size_t last = begins_.size() - 1;
  for (size_t l = 0; l < kLanes; ++l) {
    const bool exists = first + l <= last;
    const std::uint32_t place = begins_[exists ? first + l : last].place;
    const dGeomID geom = geoms_[place];
    dGeomGetAABB(geom, box[l]);
    category[l] = exists ? dGeomGetCategoryBits(geom) : 0;
    collide[l] = exists ? dGeomGetCollideBits(geom) : 0;
    moves[l] = moves_[place];
  }
  for (size_t k = 0; k < 3; ++k) {
    const size_t i = 2 * k, j = i + 1;
    group.lower[k] = Lanes{box[0][i], box[1][i], box[2][i], box[3][i]};
    group.upper[k] = Lanes{box[0][j], box[1][j], box[2][j], box[3][j]};
  }
  group.category = Bits{category[0], category[1], category[2], category[3]};
  group.collide = Bits{collide[0], collide[1], collide[2], collide[3]};
  group.moves = Bits{moves[0], moves[1], moves[2], moves[3]};
}

template <bool sorted>
void PairSearch::appendPairsOf(size_t geom) {
  const Group& a = groups_[geom / kLanes];
  const size_t lane = geom % kLanes;
  const Bits category = Bits{} + a.category[lane], collide = Bits{} + a.collide[lane];
  const Bits moves = Bits{} + a.moves[lane];
  Lanes lower[3], upper[3];
  for (size_t k = 0; k < 3; ++k) {
    lower[k] = broadcast(a.lower[k][lane]);
    upper[k] = broadcast(a.upper[k][lane]);
  }
  const std::uint32_t place = begins_[geom].place;
  // The group that holds the next geom also holds some before it.
  unsigned ahead = (30u << lane) & 15u;
  const Begin* others = begins_.data() + geom - lane;
  for (const Group* b = &a; b != groups_.data() + groups_.size(); ++b, others += kLanes) {
    if (sorted && b != &a && b->lower[0][0] > upper[0][0]) break;
    auto apart =
        (((category & b->collide) | (b->category & collide)) & (moves | b->moves)) == Bits{};
    for (size_t k = 0; k < 3; ++k) apart |= (lower[k] > b->upper[k]) | (upper[k] < b->lower[k]);
    for (unsigned found = ~lanesSet(apart) & ahead; found != 0; found &= found - 1) {
      const std::uint32_t other = others[__builtin_ctz(found)].place;
      if (!sorted || place < other)
        pairs_.push_back({geoms_[place], geoms_[other]});
      else
        pairs_.push_back({geoms_[other], geoms_[place]});
    }
    ahead = 15u;
  }
}

}  // namespace zelvik
