// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "collision/PairSearch.hpp"

#include <algorithm>

namespace zelvik {

void PairSearch::clear() {
  list_.clear();
}

void PairSearch::append(dGeomID geom, bool isDynamic) {
  if (dGeomIsEnabled(geom) == 0) return;
  list_.push_back({geom, isDynamic ? ~0ul : 0ul});
}

const std::vector<PairSearch::GeomPair>& PairSearch::findPairs(bool sorted) {
  wereSorted_ = sorted;
  return sorted ? findPairs<true>() : findPairs<false>();
}

template <bool sorted>
const std::vector<PairSearch::GeomPair>& PairSearch::findPairs() {
  if (sorted) sortBegins();
  groups_.resize(laneCount(list_.size()));
  for (size_t g = 0; g < groups_.size(); ++g) writeGroup<sorted>(g * kLanes, groups_[g]);
  pairs_.clear();
  for (size_t i = 0; i + 1 < list_.size(); ++i) appendPairsOf<sorted>(i);
  return pairs_;
}

/// Place in the list of the geom that comes i-th in the search.
template <bool sorted>
std::uint32_t PairSearch::placeOf(size_t i) const {
  return sorted ? begins_[i].place : static_cast<std::uint32_t>(i);
}

/// Geoms that begin together stand as they do in the list, whatever has been before.
bool PairSearch::isBefore(const Begin& a, const Begin& b) {
  return a.x < b.x || (a.x == b.x && a.place < b.place);
}

/// Bodies hardly change places from step to step, so each is moved forward from where it was, if
/// the geoms are those of the last time.
void PairSearch::sortBegins() {
  const bool areOthers = list_ != lastList_;
  if (areOthers) startBegins();
  for (Begin& begin : begins_) {
    dReal box[6];
    dGeomGetAABB(list_[begin.place].geom, box);
    begin.x = box[0] == box[0] ? box[0] : -dInfinity;
  }
  if (areOthers) return std::sort(begins_.begin(), begins_.end(), isBefore);
  for (size_t i = 1; i < begins_.size(); ++i) {
    const Begin begin = begins_[i];
    size_t k = i;
    for (; k > 0 && isBefore(begin, begins_[k - 1]); --k) begins_[k] = begins_[k - 1];
    begins_[k] = begin;
  }
}

void PairSearch::startBegins() {
  lastList_.clear();  // until all is done: memory may run out
  begins_.resize(list_.size());
  for (size_t i = 0; i < list_.size(); ++i) begins_[i].place = static_cast<std::uint32_t>(i);
  lastList_ = list_;
}

/// Makes whole registers of the numbers of four geoms: a search that reads what has just been
/// written in smaller pieces would have to wait for it.
template <bool sorted>
void PairSearch::writeGroup(size_t first, Group& group) {
  dReal box[kLanes][6];
  unsigned long category[kLanes], collide[kLanes], moves[kLanes];
  const size_t last = list_.size() - 1;
  for (size_t l = 0; l < kLanes; ++l) {
    const bool exists = first + l <= last;
    const std::uint32_t place = placeOf<sorted>(exists ? first + l : last);
    const dGeomID geom = list_[place].geom;
    dGeomGetAABB(geom, box[l]);
    category[l] = exists ? dGeomGetCategoryBits(geom) : 0;
    collide[l] = exists ? dGeomGetCollideBits(geom) : 0;
    moves[l] = list_[place].moves;
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
  const std::uint32_t place = placeOf<sorted>(geom);
  // The group that holds the next geom also holds some before it.
  unsigned ahead = (30u << lane) & 15u;
  size_t others = geom - lane;
  for (const Group* b = &a; b != groups_.data() + groups_.size(); ++b, others += kLanes) {
    if (sorted && b != &a && b->lower[0][0] > upper[0][0]) break;
    auto apart =
        (((category & b->collide) | (b->category & collide)) & (moves | b->moves)) == Bits{};
    for (size_t k = 0; k < 3; ++k) apart |= (lower[k] > b->upper[k]) | (upper[k] < b->lower[k]);
    for (unsigned found = ~lanesSet(apart) & ahead; found != 0; found &= found - 1) {
      const auto k = static_cast<size_t>(__builtin_ctz(found));
      const std::uint32_t other = placeOf<sorted>(others + k);
      if (!sorted || place < other)
        pairs_.push_back({list_[place].geom, list_[other].geom});
      else
        pairs_.push_back({list_[other].geom, list_[place].geom});
    }
    ahead = 15u;
  }
}

}  // namespace zelvik
