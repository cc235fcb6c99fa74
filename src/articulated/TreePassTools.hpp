// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "articulated/TreePasses.hpp"

namespace zelvik {

/// A vector of each of four bodies, to which `get` refers in `Bodies`.
template <typename Get>
inline Lanes3 TreePasses::gather(const Places& places, Get&& get) const {
  if (places.lanesMatch) return get(bodies_[places.quad[0]]);
  const Lanes3* v[kLanes];
  for (size_t l = 0; l < kLanes; ++l) v[l] = &get(bodies_[places.quad[l]]);
  const size_t* lane = places.lane;
  const auto pick = [&](Lanes Lanes3::*axis) {
    return Lanes{(v[0]->*axis)[lane[0]], (v[1]->*axis)[lane[1]], (v[2]->*axis)[lane[2]],
                 (v[3]->*axis)[lane[3]]};
  };
  return {pick(&Lanes3::x), pick(&Lanes3::y), pick(&Lanes3::z)};
}

namespace detail {

inline void addLane(Lanes3& to, size_t lane, const Lanes3& from, size_t l) {
  to.x[lane] += from.x[l];
  to.y[lane] += from.y[l];
  to.z[lane] += from.z[l];
}
inline void addLane(LanesSymmetric& to, size_t lane, const LanesSymmetric& from, size_t l) {
  to.xx[lane] += from.xx[l];
  to.xy[lane] += from.xy[l];
  to.xz[lane] += from.xz[l];
  to.yy[lane] += from.yy[l];
  to.yz[lane] += from.yz[l];
  to.zz[lane] += from.zz[l];
}

}  // namespace detail

/// Adds a value of each body of a quad to that of its parent.
template <typename Value>
inline void TreePasses::addToParents(const Quad& quad, const Value& value, Value Bodies::*field) {
  const Places& parents = quad.parents;
  if (parents.quad[0] == 0)
    bodies_[0].*field += broadcastSum(value);
  else if (parents.lanesMatch)
    bodies_[parents.quad[0]].*field += value;
  else
    for (size_t l = 0; l < quad.count; ++l)
      detail::addLane(bodies_[parents.quad[l]].*field, parents.lane[l], value, l);
}

}  // namespace zelvik
