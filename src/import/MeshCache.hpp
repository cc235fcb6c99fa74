// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>
#include <zelvik/model/Options.hpp>
#include <zelvik/model/Report.hpp>

#include "MeshData.hpp"
#include "PrimitiveFit.hpp"

namespace zelvik::model {

using ContentHash = std::array<std::uint64_t, 2>;

/// XXH3 of 128 bits.
ContentHash hashOf(const std::string& bytes);
std::string hashText(const ContentHash& hash);
/// No value for a file that cannot be read.
std::optional<ContentHash> hashOfFile(const std::filesystem::path& file);

/// What a mesh is wanted for.
enum class MeshUse { VISUAL, MESH, HULL, PRIMITIVE };

/// An OBJ file of the cache.
struct ConvertedPart {
  std::string file;           ///< relative to the cache
  std::optional<Vec4> color;  ///< none: the mesh does not say
};

/// What stands for a mesh.
struct ConvertedMesh {
  std::string problem;                 ///< why there is nothing; empty if there is something
  std::vector<ConvertedPart> parts;    ///< one, but for several colours; none for a primitive
  std::optional<Primitive> primitive;  ///< in the place of triangles
  bool isHull = false;
  bool isFlat = false;  ///< it has no hull: its triangles stand for it
  std::size_t hullCorners = 0;
  double error = 0.0;  ///< distance to what it stands for (m)
  bool hasTexture = false;
  std::size_t notFinite = 0;  ///< triangles that were no numbers
  std::string upAxis;         ///< of a Collada file, as written
  MeshEntry entry;            ///< for the report
};

/// A directory of converted meshes. Several processes may use it at once.
class MeshCache {
 public:
  explicit MeshCache(const Options& options);

  const std::filesystem::path& directory() const { return directory_; }

  /// What was kept under that name; no value without, and if a file that it was made of has
  /// changed.
  std::optional<ConvertedMesh> find(const std::string& name,
                                    const std::filesystem::path& source) const;
  /// Writes the parts and what else is known; returns what is wrong, or nothing. Fills in the names
  /// of the files.
  std::string keep(const std::string& name, const std::filesystem::path& source,
                   const std::vector<MeshPart>& parts,
                   const std::vector<std::filesystem::path>& companions, ConvertedMesh& mesh) const;

 private:
  std::filesystem::path directory_;
};

}  // namespace zelvik::model
