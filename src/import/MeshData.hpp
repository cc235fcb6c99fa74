// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>
#include <zelvik/math.hpp>

namespace zelvik::model {

/// Triangles of one colour.
struct MeshPart {
  std::vector<Vec3> vertices;                           ///< (unit of the file until scaled)
  std::vector<std::array<std::uint32_t, 3>> triangles;  ///< counter-clockwise from outside
  std::optional<Vec4> color;                            ///< none: the file does not say
};

struct MeshData {
  std::vector<MeshPart> parts;
  bool hasTexture = false;
  std::string upAxis;                             ///< of a Collada file, as written
  std::vector<std::filesystem::path> companions;  ///< further files that were read

  std::size_t triangleCount() const {
    std::size_t count = 0;
    for (const MeshPart& part : parts) count += part.triangles.size();
    return count;
  }
};

/// Why a file is not read, by its name and size alone; empty if it may be.
std::string checkMeshFile(const std::filesystem::path& file, std::size_t largest);
/// Reads STL, OBJ, Collada or PLY that has been checked. Returns what is wrong, or nothing.
std::string readMeshFile(const std::filesystem::path& file, std::size_t largest, MeshData& mesh);

// ---- mending ----

/// What was found and mended.
struct MeshHealth {
  std::size_t corners = 0;       ///< that are left
  std::size_t degenerate = 0;    ///< triangles that were dropped
  std::size_t notFinite = 0;     ///< triangles with corners that are no numbers, dropped
  std::size_t openEdges = 0;     ///< of one triangle
  std::size_t crowdedEdges = 0;  ///< of three and more
  Vec3 lower{}, upper{};         ///< (m)
};

/// Scales, rounds to single precision, makes equal corners one, and drops triangles without area.
/// Where the scale mirrors, triangles are turned so that they look outwards as before.
void mendMesh(const Vec3& scale, MeshData& mesh, MeshHealth& health);

/// All parts in one.
MeshPart mergedParts(const MeshData& mesh);

}  // namespace zelvik::model
