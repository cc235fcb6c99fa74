// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "collision/ConvexPolyhedron.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <sstream>
#include <utility>

#include "core/Lanes.hpp"

namespace zelvik {

size_t ConvexPolyhedron::farthest(const Vec3& d, double& along) const {
  const Lanes dx = broadcast(d[0]), dy = broadcast(d[1]), dz = broadcast(d[2]);
  const auto measure = [&](const double* x) {
    return loadLanes(x) * dx + loadLanes(x + 4) * dy + loadLanes(x + 8) * dz;
  };
  Lanes most = measure(lanes.data()), where{};
  const size_t groups = laneCount(cornerCount);
  for (size_t k = 1; k < groups; ++k) {
    const Lanes value = measure(lanes.data() + 12 * k);
    const auto isFarther = value > most;
    most = isFarther ? value : most;
    where = isFarther ? broadcast(static_cast<double>(k)) : where;
  }
  int lane = 0;
  for (int l = 1; l < static_cast<int>(kLanes); ++l)
    if (most[l] > most[lane]) lane = l;
  along = most[lane];
  const size_t found = 4 * static_cast<size_t>(where[lane]) + static_cast<size_t>(lane);
  return std::min(found, cornerCount - 1);
}

namespace {

using Index = unsigned int;
using CornerTriple = std::array<Index, 3>;

/// Corners closer to a plane than this share of the size lie in it.
constexpr double kFlat = 1e-5;
/// Errors of corners, as shares of the size: they tilt the planes of narrow triangles.
constexpr double kCornerError = 1e-6;

/// Builds a polyhedron step by step; each step says what is wrong and returns false then.
class PolyhedronBuilder {
 public:
  PolyhedronBuilder(const std::vector<double>& corners, const std::vector<Index>& triangles,
                    std::string& problem)
      : problem_(problem) {
    uniteCorners(corners);
    for (size_t t = 0; t + 2 < triangles.size(); t += 3) addTriangle(triangles.data() + t);
  }

  bool build(ConvexPolyhedron& out) {
    if (!isClosed() || !measure(out)) return false;
    growFacets();
    chooseCorners();
    if (!writeCorners(out) || !isConvex()) return false;
    for (size_t facet = 0; facet < planes_.size(); ++facet)
      if (!isNarrow(planes_[facet]) && !writeFacet(facet, out)) return false;
    return true;
  }

 private:
  struct Plane {
    Vec3 normal{};
    double offset = 0.0;
    double height = 0.0;  ///< of its largest triangle over its longest side (m)
  };

  template <typename... Parts>
  bool fail(const Parts&... parts) {
    std::ostringstream text;
    (text << ... << parts);
    problem_ = text.str();
    return false;
  }

  /// Files give a corner once for each of its triangles now and then.
  void uniteCorners(const std::vector<double>& corners) {
    std::map<std::array<double, 3>, Index> known;
    Vec3 low{{1e300, 1e300, 1e300}}, high = -low;
    for (size_t k = 0; k + 2 < corners.size(); k += 3) {
      const Vec3 p{{corners[k], corners[k + 1], corners[k + 2]}};
      const auto [entry, isNew] =
          known.try_emplace({p[0] + 0.0, p[1] + 0.0, p[2] + 0.0}, static_cast<Index>(k / 3));
      same_.push_back(entry->second);
      points_.push_back(p);
      for (size_t i = 0; i < 3; ++i) {
        low[i] = std::min(low[i], p[i]);
        high[i] = std::max(high[i], p[i]);
      }
    }
    size_ = norm(high - low);
  }

  void addTriangle(const Index* corners) {
    const CornerTriple t{same_[corners[0]], same_[corners[1]], same_[corners[2]]};
    if (t[0] != t[1] && t[1] != t[2] && t[2] != t[0]) triangles_.push_back(t);
  }

  bool isClosed() {
    if (triangles_.empty()) return fail("there is no triangle");
    for (size_t t = 0; t < triangles_.size(); ++t)
      for (size_t k = 0; k < 3; ++k) {
        const Index a = triangles_[t][k], b = triangles_[t][(k + 1) % 3];
        if (!sides_.try_emplace({a, b}, t).second)
          return fail("two triangles have the edge from corner ", a, " to ", b,
                      " in the same sense");
      }
    for (const auto& [side, t] : sides_)
      if (sides_.count({side.second, side.first}) == 0)
        return fail("it is not closed: the edge from corner ", side.first, " to ", side.second,
                    " belongs to one triangle only");
    return true;
  }

  /// Volume, centroid and inertia: sums over the tetrahedra between one point and all triangles.
  /// F. Tonon, Explicit exact formulas for the 3-D tetrahedron inertia tensor in terms of its
  /// vertex coordinates, Journal of Mathematics and Statistics 1 (2005).
  bool measure(ConvexPolyhedron& out) {
    const Vec3 origin = points_[triangles_[0][0]];
    Vec3 first{};
    Mat33 second{};
    for (const CornerTriple& t : triangles_) {
      const Vec3 a = points_[t[0]] - origin, b = points_[t[1]] - origin, c = points_[t[2]] - origin;
      const double volume = dot(a, cross(b, c)) / 6.0;
      const Vec3 sum = a + b + c;
      out.volume += volume;
      first += (0.25 * volume) * sum;
      for (const Vec3& v : {a, b, c, sum}) addSquare(v, volume / 20.0, second);
    }
    if (out.volume < 0.0) return fail("its triangles turn clockwise seen from outside");
    if (!(out.volume > 1e-9 * size_ * size_ * size_)) return fail("it encloses no volume");
    const Vec3 middle = (1.0 / out.volume) * first;
    addSquare(middle, -out.volume, second);
    const double trace = second(0, 0) + second(1, 1) + second(2, 2);
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j) out.inertia(i, j) = (i == j ? trace : 0.0) - second(i, j);
    out.centroid = origin + middle;
    for (Vec3& p : points_) p -= out.centroid;
    return true;
  }

  static void addSquare(const Vec3& v, double weight, Mat33& to) {
    for (size_t i = 0; i < 3; ++i)
      for (size_t j = 0; j < 3; ++j)
        to(static_cast<int>(i), static_cast<int>(j)) += weight * v[i] * v[j];
  }

  Vec3 areaOf(const CornerTriple& t) const {
    return cross(points_[t[1]] - points_[t[0]], points_[t[2]] - points_[t[0]]);
  }

  /// From the largest triangles on, each with its neighbours that lie in its plane: the planes of
  /// the large ones are the exact ones.
  void growFacets() {
    std::vector<size_t> order(triangles_.size());
    std::vector<double> area;
    for (size_t t = 0; t < order.size(); ++t) {
      order[t] = t;
      area.push_back(norm(areaOf(triangles_[t])));
    }
    std::stable_sort(order.begin(), order.end(),
                     [&](size_t a, size_t b) { return area[a] > area[b]; });
    facetOf_.assign(triangles_.size(), kNone);
    for (const size_t t : order)
      if (facetOf_[t] == kNone) growFacet(t, area[t]);
  }

  void growFacet(size_t seed, double area) {
    const CornerTriple& t = triangles_[seed];
    double longest = 0.0;
    for (size_t k = 0; k < 3; ++k)
      longest = std::max(longest, norm(points_[t[k]] - points_[t[(k + 1) % 3]]));
    Plane plane;
    plane.height = area / longest;
    if (area > 0.0) plane.normal = (1.0 / area) * areaOf(t);
    plane.offset = dot(plane.normal, points_[t[0]]);
    const size_t facet = planes_.size();
    facetOf_[seed] = facet;
    std::vector<size_t> edge{seed};
    while (!edge.empty() && plane.height > kCornerError * size_) {
      const CornerTriple from = triangles_[edge.back()];
      edge.pop_back();
      for (size_t k = 0; k < 3; ++k) {
        const size_t next = sides_.at({from[(k + 1) % 3], from[k]});
        if (facetOf_[next] != kNone || !liesIn(plane, triangles_[next])) continue;
        facetOf_[next] = facet;
        edge.push_back(next);
      }
    }
    planes_.push_back(plane);
  }

  bool liesIn(const Plane& plane, const CornerTriple& t) const {
    return std::all_of(t.begin(), t.end(), [&](Index k) {
      return std::fabs(dot(plane.normal, points_[k]) - plane.offset) < kFlat * size_;
    });
  }

  /// Whether a facet is too narrow to have a plane; its neighbours bound the body there.
  bool isNarrow(const Plane& plane) const { return !(plane.height > kCornerError * size_); }

  bool isConvex() {
    for (const Plane& plane : planes_) {
      if (isNarrow(plane)) continue;
      const double allowed = (kFlat + kCornerError * size_ / plane.height) * size_;
      for (const CornerTriple& t : triangles_)
        for (const Index k : t) {
          const double outside = dot(plane.normal, points_[k]) - plane.offset;
          if (outside > allowed)
            return fail("it is not convex: corner ", k, " lies ", outside,
                        " m outside of the plane of a triangle");
        }
    }
    return true;
  }

  /// A corner of a body has three facets; those of fewer lie inside of a facet or an edge.
  void chooseCorners() {
    std::vector<std::vector<size_t>> facets(points_.size());
    for (size_t t = 0; t < triangles_.size(); ++t)
      for (const Index k : triangles_[t])
        if (std::find(facets[k].begin(), facets[k].end(), facetOf_[t]) == facets[k].end())
          facets[k].push_back(facetOf_[t]);
    newIndex_.assign(points_.size(), kNone);
    for (size_t k = 0; k < points_.size(); ++k) {
      if (facets[k].size() < 3) continue;
      newIndex_[k] = corners_.size();
      corners_.push_back(points_[k]);
    }
  }

  bool writeCorners(ConvexPolyhedron& out) {
    const size_t count = corners_.size();
    if (count > ConvexPolyhedron::kMostCorners)
      return fail("it has ", count, " corners, more than ", ConvexPolyhedron::kMostCorners);
    out.cornerCount = count;
    for (size_t k = 0; k < 4 * laneCount(count); k += 4)
      for (size_t i = 0; i < 3; ++i)
        for (size_t l = k; l < k + 4; ++l) out.lanes.push_back(corners_[std::min(l, count - 1)][i]);
    out.innerRadius = std::numeric_limits<double>::infinity();
    return true;
  }

  /// The sides of a facet's triangles that lead to other facets, one after the other.
  bool writeFacet(size_t facet, ConvexPolyhedron& out) {
    std::map<Index, Index> next;
    for (size_t t = 0; t < triangles_.size(); ++t)
      for (size_t k = 0; k < 3 && facetOf_[t] == facet; ++k) {
        const Index a = triangles_[t][k], b = triangles_[t][(k + 1) % 3];
        if (facetOf_[sides_.at({b, a})] != facet) next[a] = b;
      }
    const size_t first = out.loops.size();
    Index at = next.empty() ? 0 : next.begin()->first;
    for (size_t step = 0; step < next.size(); ++step) {
      if (newIndex_[at] != kNone) out.loops.push_back(newIndex_[at]);
      at = next.at(at);
    }
    if (out.loops.size() < first + 3) return fail("triangles that lie in one plane overlap");
    ConvexPolyhedron::Facet made{planes_[facet].normal, 0.0, first, out.loops.size() - first};
    out.farthest(made.normal, made.offset);  // bounds all corners, whatever their errors
    out.innerRadius = std::min(out.innerRadius, made.offset);
    out.facets.push_back(made);
    return true;
  }

  std::string& problem_;
  double size_ = 0.0;  ///< diagonal of the box round all corners (m)
  std::vector<Vec3> points_;
  std::vector<Index> same_;  ///< first corner at the place of each
  std::vector<CornerTriple> triangles_;
  std::map<std::pair<Index, Index>, size_t> sides_;  ///< triangle of each directed side
  std::vector<Plane> planes_;                        ///< by facet
  std::vector<size_t> facetOf_;                      ///< by triangle
  std::vector<Vec3> corners_;                        ///< those that stay
  std::vector<size_t> newIndex_;                     ///< in `corners_`
};

}  // namespace

std::shared_ptr<const ConvexPolyhedron> makeConvexPolyhedron(
    const std::vector<double>& corners, const std::vector<unsigned int>& triangles,
    std::string& problem) {
  auto out = std::make_shared<ConvexPolyhedron>();
  if (!PolyhedronBuilder(corners, triangles, problem).build(*out)) return nullptr;
  return out;
}

}  // namespace zelvik
