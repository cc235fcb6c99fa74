// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace zelvik {

/// A new directory, which goes with the object. Its path ends with a slash.
struct TemporaryDirectory {
  const pid_t owner = getpid();
  const std::string path = create();

  static std::string create() {
    std::string name = testing::TempDir() + "zelvik_XXXXXX";
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no directory " + name);
    return name + "/";
  }
  ~TemporaryDirectory() {
    if (getpid() == owner) std::filesystem::remove_all(path);  // not the children of death tests
  }

  /// Returns the path of the file.
  std::string write(const std::string& name, const std::string& text) const {
    std::filesystem::create_directories(std::filesystem::path(path + name).parent_path());
    std::ofstream(path + name, std::ios::binary) << text;
    return path + name;
  }
  std::string read(const std::string& name) const {
    std::stringstream text;
    text << std::ifstream(path + name).rdbuf();
    return text.str();
  }
};

}  // namespace zelvik
