// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <tuple>
#include <utility>

#include "MeshData.hpp"

namespace zelvik::model {

namespace {

using Triangle = std::array<std::uint32_t, 3>;

bool isFinite(const Vec3& v) {
  return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]);
}

bool isLess(const Vec3& a, const Vec3& b) {
  return std::tie(a[0], a[1], a[2]) < std::tie(b[0], b[1], b[2]);
}

void scale(const Vec3& factors, MeshPart& part) {
  for (Vec3& vertex : part.vertices)
    for (std::size_t i = 0; i < 3; ++i) {
      vertex[i] = static_cast<double>(static_cast<float>(vertex[i] * factors[i]));
      if (vertex[i] == 0.0) vertex[i] = 0.0;  // one zero only
    }
  if (factors[0] * factors[1] * factors[2] < 0.0)
    for (Triangle& triangle : part.triangles) std::swap(triangle[1], triangle[2]);
}

void dropBadCorners(MeshPart& part, MeshHealth& health) {
  const auto isBad = [&](const Triangle& triangle) {
    return std::any_of(triangle.begin(), triangle.end(),
                       [&](std::uint32_t i) { return !isFinite(part.vertices[i]); });
  };
  const auto end = std::remove_if(part.triangles.begin(), part.triangles.end(), isBad);
  health.notFinite += static_cast<std::size_t>(part.triangles.end() - end);
  part.triangles.erase(end, part.triangles.end());
}

/// Makes equal corners one, and leaves out those that no triangle has.
void weld(MeshPart& part) {
  std::vector<std::uint32_t> order;
  order.reserve(3 * part.triangles.size());
  for (const Triangle& triangle : part.triangles)
    order.insert(order.end(), triangle.begin(), triangle.end());
  std::sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
    return isLess(part.vertices[a], part.vertices[b]);
  });
  std::vector<std::uint32_t> place(part.vertices.size(), 0);
  std::vector<Vec3> vertices;
  for (std::uint32_t index : order) {
    const Vec3& vertex = part.vertices[index];
    if (vertices.empty() || isLess(vertices.back(), vertex)) vertices.push_back(vertex);
    place[index] = static_cast<std::uint32_t>(vertices.size() - 1);
  }
  for (Triangle& triangle : part.triangles)
    for (std::uint32_t& index : triangle) index = place[index];
  part.vertices = std::move(vertices);
}

bool hasNoArea(const Triangle& triangle, const MeshPart& part) {
  const Vec3& a = part.vertices[triangle[0]];
  const Vec3 ab = part.vertices[triangle[1]] - a, ac = part.vertices[triangle[2]] - a;
  const Vec3 bc = ac - ab;
  // Twice the area against the square of the longest side.
  const double longest = std::max({squaredNorm(ab), squaredNorm(ac), squaredNorm(bc)});
  return !(norm(cross(ab, ac)) > 1e-9 * longest);
}

void dropDegenerate(MeshPart& part, MeshHealth& health) {
  const auto end =
      std::remove_if(part.triangles.begin(), part.triangles.end(),
                     [&](const Triangle& triangle) { return hasNoArea(triangle, part); });
  health.degenerate += static_cast<std::size_t>(part.triangles.end() - end);
  part.triangles.erase(end, part.triangles.end());
}

void measure(const MeshPart& all, MeshHealth& health) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  health.corners = all.vertices.size();
  health.lower = {{infinity, infinity, infinity}};
  health.upper = -health.lower;
  for (const Vec3& vertex : all.vertices)
    for (std::size_t i = 0; i < 3; ++i) {
      health.lower[i] = std::min(health.lower[i], vertex[i]);
      health.upper[i] = std::max(health.upper[i], vertex[i]);
    }
}

void countEdges(const MeshPart& all, MeshHealth& health) {
  std::vector<std::pair<std::uint32_t, std::uint32_t>> edges;
  edges.reserve(3 * all.triangles.size());
  for (const Triangle& t : all.triangles)
    for (std::size_t i = 0; i < 3; ++i) edges.push_back(std::minmax({t[i], t[(i + 1) % 3]}));
  std::sort(edges.begin(), edges.end());
  for (auto begin = edges.begin(); begin != edges.end();) {
    const auto end = std::find_if(begin, edges.end(), [&](const auto& e) { return e != *begin; });
    if (end - begin == 1) ++health.openEdges;
    if (end - begin > 2) ++health.crowdedEdges;
    begin = end;
  }
}

}  // namespace

MeshPart mergedParts(const MeshData& mesh) {
  MeshPart all;
  for (const MeshPart& part : mesh.parts) {
    const auto offset = static_cast<std::uint32_t>(all.vertices.size());
    all.vertices.insert(all.vertices.end(), part.vertices.begin(), part.vertices.end());
    for (const Triangle& t : part.triangles)
      all.triangles.push_back({t[0] + offset, t[1] + offset, t[2] + offset});
  }
  weld(all);
  return all;
}

void mendMesh(const Vec3& factors, MeshData& mesh, MeshHealth& health) {
  for (MeshPart& part : mesh.parts) {
    scale(factors, part);
    dropBadCorners(part, health);
    weld(part);
    dropDegenerate(part, health);
    weld(part);
  }
  mesh.parts.erase(std::remove_if(mesh.parts.begin(), mesh.parts.end(),
                                  [](const MeshPart& part) { return part.triangles.empty(); }),
                   mesh.parts.end());
  const MeshPart all = mergedParts(mesh);
  measure(all, health);
  countEdges(all, health);
}

}  // namespace zelvik::model
