// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>
#include <zelvik/model/Options.hpp>

namespace zelvik::model {

/// What became of the name of a file.
struct FoundFile {
  std::filesystem::path path;      ///< empty if there is none
  std::vector<std::string> tried;  ///< where it was looked for
  std::string refused;             ///< why it is not read although it may be there; may be empty
  std::string remark;              ///< what is odd about it; may be empty
};

/// Finds what robot files name: `package://`, `model://`, `file://`, absolute and relative paths.
class FileFinder {
 public:
  FileFinder(std::filesystem::path directory, const Options& options);

  FoundFile find(const std::string& name) const;

 private:
  using Path = std::filesystem::path;

  FoundFile findInPackage(const std::string& package, const Path& rest) const;
  void addPackageFolders(const Path& folder, const std::string& package,
                         std::vector<Path>& folders) const;
  std::vector<Path> foldersOf(const std::string& package) const;
  Path packageAbove() const;

  Path directory_;                    ///< of the robot file, absolute
  std::vector<Path> packageFolders_;  ///< of the caller, then of the environment
};

/// Finds a path whose letters may differ in case; empty if there is none.
std::filesystem::path findWithoutCase(const std::filesystem::path& path);

}  // namespace zelvik::model
