// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cmath>
#include <sstream>
#include <string>
#include <vector>

// What meshes and hulls demand of arrays of vertices (x, y, z each) and triangles (three each).

namespace zelvik {

/// ODE ends the process for a small geom 2.68e8 m or more from the origin; bodies stay within 1e8 m
/// on each axis (m).
constexpr double kLargestCoordinate = 9e7;

/// What is wrong unless both arrays are whole, all indices in range and all coordinates small
/// enough; empty if nothing is.
template <typename Number>
std::string problemOfTriangles(const char* what, const std::vector<Number>& vertices,
                               const std::vector<unsigned int>& indices) {
  std::ostringstream problem;
  if (indices.empty() || indices.size() % 3 != 0 || vertices.size() % 3 != 0) {
    problem << "A " << what << " needs three values per vertex and three indices per triangle, but "
            << "there are " << vertices.size() << " values and " << indices.size() << " indices";
    return problem.str();
  }
  for (size_t i = 0; i < indices.size(); ++i)
    if (indices[i] >= vertices.size() / 3) {
      problem << "The index " << indices[i] << " at position " << i << " of a " << what
              << " is out of range, there are " << vertices.size() / 3 << " vertices";
      return problem.str();
    }
  for (size_t i = 0; i < vertices.size(); ++i)
    if (!(std::fabs(vertices[i]) < static_cast<Number>(kLargestCoordinate))) {
      problem << "The coordinate at position " << i << " of a " << what << " is " << vertices[i]
              << ", which is not within " << kLargestCoordinate << " m";
      return problem.str();
    }
  return {};
}

/// Takes out the vertices that no triangle names and renumbers the indices, which have to be in
/// range.
template <typename Number>
void dropUnusedCorners(std::vector<Number>& vertices, std::vector<unsigned int>& indices) {
  // First mark the used vertices, then turn the marks into new numbers while packing.
  std::vector<unsigned int> newIndex(vertices.size() / 3, 0);
  for (unsigned int index : indices) newIndex[index] = 1;
  size_t count = 0;
  for (size_t old = 0; old < newIndex.size(); ++old) {
    if (newIndex[old] == 0) continue;
    for (size_t i = 0; i < 3; ++i) vertices[3 * count + i] = vertices[3 * old + i];
    newIndex[old] = static_cast<unsigned int>(count++);
  }
  vertices.resize(3 * count);
  for (unsigned int& index : indices) index = newIndex[index];
}

}  // namespace zelvik
