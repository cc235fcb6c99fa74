// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>
#include <zelvik/model/Options.hpp>
#include <zelvik/model/Report.hpp>

#include "MeshCache.hpp"
#include "MeshData.hpp"
#include "PrimitiveFit.hpp"

namespace zelvik::model {

/// Turns mesh files into what the core reads, or finds what was made of them before.
class MeshConverter {
 public:
  explicit MeshConverter(const Options& options);

  /// What stands for the mesh in that use. Its `problem` says why there is nothing.
  ConvertedMesh convert(const std::filesystem::path& file, const Vec3& scale, MeshUse use);

  /// Directory that the files of a converted mesh are relative to.
  const MeshCache& cache() const { return cache_; }

 private:
  struct Contents {
    std::string problem;
    ContentHash hash{};
    std::string upAxis;
  };

  const Contents& contentsOf(const std::filesystem::path& file);
  bool turnsUp(const std::filesystem::path& file);
  std::string nameOf(const std::filesystem::path& file, const Vec3& scale, MeshUse use);
  ConvertedMesh make(const std::filesystem::path& file, const Vec3& scale, MeshUse use,
                     const std::string& name);
  ConvertedMesh shapeOf(const MeshData& mesh, MeshUse use, std::vector<MeshPart>& parts) const;

  const Options& options_;
  MeshCache cache_;
  std::map<std::string, Contents> contents_;
};

}  // namespace zelvik::model
