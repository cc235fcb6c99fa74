// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

/// A file path as normalised text. Nothing here touches the file system.
class Path {
 public:
  Path() = default;

  /// Normalises `path`: backslashes become slashes; unless `raw`, each ".." takes the component
  /// before it away and doubled slashes become one. The characters ".." count wherever they stand,
  /// also inside a name. A ".." with nothing to take away (at one of the first three positions, or
  /// without a slash before it) is fatal: "'<path>' is an invalid path".
  explicit Path(const std::string& path, bool raw = false) : path_(path) {
    for (char& c : path_)
      if (c == '\\') c = '/';
    if (raw) return;
    removeParentSteps(path);
    for (size_t p = path_.find("//"); p != std::string::npos; p = path_.find("//"))
      path_.erase(p, 1);
  }

  /// The text before the last "/"; empty if there is none.
  Path getDirectory() const {
    const size_t slash = path_.rfind('/');
    return Path(slash == std::string::npos ? std::string() : path_.substr(0, slash), false);
  }

  /// The name of the directory that holds the last component: "b" for "/a/b/c.urdf". The whole text
  /// if it has no "/".
  Path getTopDirectory() const {
    const size_t slash = path_.rfind('/');
    if (slash == std::string::npos) return Path(path_, false);
    const std::string head = path_.substr(0, slash);
    const size_t before = head.rfind('/');
    return Path(before == std::string::npos ? head : head.substr(before + 1), false);
  }

  /// This text followed by `suffix`, with no separator added and no ".." resolved; of a suffix of
  /// two characters whose second is "/", only the "/" is taken. Throws `std::out_of_range` for an
  /// empty suffix.
  Path operator+(const std::string& suffix) const {
    if (suffix.substr(1) == "/") return Path(path_ + "/", true);
    return Path(path_ + suffix, true);
  }

  /// The normalised path.
  const std::string& getString() const { return path_; }

 private:
  /// Erases "<component>/.." (from the slash before the component) until no ".." is left.
  void removeParentSteps(const std::string& given) {
    for (size_t p = path_.find(".."); p != std::string::npos; p = path_.find("..")) {
      const size_t slash = p < 3 ? std::string::npos : path_.substr(0, p - 2).rfind('/');
      if (slash == std::string::npos) {
        MSG_FATAL("'" << given << "' is an invalid path");
        return;
      }
      path_.erase(slash, p + 2 - slash);
    }
  }

  std::string path_;
};

}  // namespace zelvik
