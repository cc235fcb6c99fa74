// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <gtest/gtest.h>
#include <ode/ode.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace zelvik::terrain_test {

/// A file of this process that goes with the object.
struct TemporaryFile {
  std::string path;
  TemporaryFile(const std::string& name, const std::string& content)
      : path(testing::TempDir() + "zelvik_" + std::to_string(getpid()) + "_" + name) {
    std::ofstream(path, std::ios::binary) << content;
  }
  ~TemporaryFile() { std::filesystem::remove(path); }
};

/// ODE for the time of a test.
struct OdeScope {
  OdeScope() { dInitODE(); }
  ~OdeScope() { dCloseODE(); }
};

}  // namespace zelvik::terrain_test
