// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "ConvexHull.hpp"

extern "C" {
#include <libqhull_r/qhull_ra.h>
}

#include <algorithm>
#include <cstdio>
#include <limits>
#include <memory>
#include <utility>

namespace zelvik::model {

namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

/// Frees what qhull has taken.
struct Qhull {
  qhT state;
  std::unique_ptr<std::FILE, FileCloser> silence{std::fopen("/dev/null", "w")};

  bool run(std::vector<double>& points) {
    char command[] = "qhull Qt";  // facets as triangles
    qh_zero(&state, silence.get());
    return qh_new_qhull(&state, 3, static_cast<int>(points.size() / 3), points.data(), False,
                        command, silence.get(), silence.get()) == 0;
  }
  ~Qhull() {
    qh_freeqhull(&state, !qh_ALL);
    int used = 0, blocks = 0;
    qh_memfreeshort(&state, &used, &blocks);
  }
};

/// The corners of one facet, counter-clockwise from outside.
std::array<std::uint32_t, 3> cornersOf(qhT* qh, facetT* facet, std::vector<std::int64_t>& place,
                                       const std::vector<Vec3>& points, MeshPart& mesh) {
  std::array<std::uint32_t, 3> triangle{};
  std::size_t count = 0;
  vertexT *vertex, **vertexp;
  FOREACHvertex_(facet->vertices) {
    const auto index = static_cast<std::size_t>(qh_pointid(qh, vertex->point));
    if (place[index] < 0) {
      place[index] = static_cast<std::int64_t>(mesh.vertices.size());
      mesh.vertices.push_back(points[index]);
    }
    if (count < 3) triangle[count++] = static_cast<std::uint32_t>(place[index]);
  }
  if ((facet->toporient ^ qh_ORIENTclock) != 0) std::swap(triangle[1], triangle[2]);
  return triangle;
}

/// The hull with all of its corners; empty if qhull finds none.
ConvexHull fullHull(const std::vector<Vec3>& points) {
  ConvexHull hull;
  if (points.size() < 4) return hull;
  std::vector<double> numbers;
  numbers.reserve(3 * points.size());
  for (const Vec3& point : points) numbers.insert(numbers.end(), point.v, point.v + 3);
  Qhull qhull;
  if (qhull.silence == nullptr || !qhull.run(numbers)) return hull;
  qhT* qh = &qhull.state;
  std::vector<std::int64_t> place(points.size(), -1);
  facetT* facet;
  FORALLfacets {
    hull.mesh.triangles.push_back(cornersOf(qh, facet, place, points, hull.mesh));
    hull.normals.push_back({{facet->normal[0], facet->normal[1], facet->normal[2]}});
    hull.offsets.push_back(-facet->offset);
  }
  return hull;
}

/// How far a point lies outside of the planes (m); not above 0 inside.
double heightAbove(const Vec3& point, const ConvexHull& hull) {
  double height = -std::numeric_limits<double>::infinity();
  for (std::size_t i = 0; i < hull.normals.size(); ++i)
    height = std::max(height, dot(hull.normals[i], point) - hull.offsets[i]);
  return height;
}

/// The corners farthest along the axes and the diagonals of the cube.
std::vector<Vec3> extremes(const std::vector<Vec3>& corners, std::size_t most) {
  std::vector<Vec3> chosen;
  for (int direction = 0; direction < 14; ++direction) {
    Vec3 u{};
    if (direction < 6)
      u[static_cast<std::size_t>(direction / 2)] = direction % 2 == 0 ? 1.0 : -1.0;
    else
      for (std::size_t i = 0; i < 3; ++i) u[i] = ((direction - 6) >> i & 1) != 0 ? 1.0 : -1.0;
    const Vec3& farthest =
        *std::max_element(corners.begin(), corners.end(),
                          [&](const Vec3& a, const Vec3& b) { return dot(u, a) < dot(u, b); });
    const auto isChosen = [&](const Vec3& other) { return squaredNorm(other - farthest) == 0.0; };
    if (chosen.size() < most && std::none_of(chosen.begin(), chosen.end(), isChosen))
      chosen.push_back(farthest);
  }
  return chosen;
}

/// Adds the corner farthest outside until there are enough.
ConvexHull reducedHull(const ConvexHull& full, std::size_t largest) {
  std::vector<Vec3> chosen = extremes(full.mesh.vertices, largest);
  ConvexHull hull = fullHull(chosen);
  if (hull.isEmpty()) return full;  // all that is extreme lies in a plane
  while (true) {
    double greatest = 0.0;
    const Vec3* farthest = nullptr;
    for (const Vec3& corner : full.mesh.vertices) {
      const double height = heightAbove(corner, hull);
      if (height <= greatest) continue;
      greatest = height;
      farthest = &corner;
    }
    hull.error = greatest;
    if (chosen.size() >= largest || farthest == nullptr) return hull;
    chosen.push_back(*farthest);
    ConvexHull next = fullHull(chosen);
    if (next.isEmpty()) return hull;
    hull = std::move(next);
  }
}

}  // namespace

double ConvexHull::volume() const {
  double sixfold = 0.0;
  for (const auto& t : mesh.triangles)
    sixfold += dot(mesh.vertices[t[0]], cross(mesh.vertices[t[1]], mesh.vertices[t[2]]));
  return sixfold / 6.0;
}

ConvexHull convexHull(const std::vector<Vec3>& points, std::size_t largest) {
  ConvexHull full = fullHull(points);
  if (full.mesh.vertices.size() <= largest) return full;
  return reducedHull(full, std::max<std::size_t>(largest, 4));
}

}  // namespace zelvik::model
