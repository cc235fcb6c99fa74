// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

// Runs a fuzz target once on each of the given files, and on each file of the given directories.
// An input that takes more than a second of processor time (ten under a sanitizer) is a failure.

#include "../tests/Sanitizers.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size);

namespace {

#if defined(ZELVIK_SANITIZED)
constexpr double kLongestTime = 10.0;  // (s)
#else
constexpr double kLongestTime = 1.0;  // (s)
#endif

std::vector<std::string> filesOf(int argc, char** argv) {
  std::vector<std::string> files;
  for (int i = 1; i < argc; ++i) {
    if (!std::filesystem::is_directory(argv[i])) {
      files.push_back(argv[i]);
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(argv[i]))
      files.push_back(entry.path().string());
  }
  std::sort(files.begin(), files.end());
  return files;
}

/// Whether the target is done in time.
bool runFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> content{std::istreambuf_iterator<char>(file),
                                  std::istreambuf_iterator<char>()};
  std::fprintf(stderr, "%s\n", path.c_str());
  const std::clock_t begin = std::clock();
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
  const double seconds = static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
  if (seconds <= kLongestTime) return true;
  std::fprintf(stderr, "took %.1f s of processor time\n", seconds);
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> files = filesOf(argc, argv);
  if (files.empty()) {
    std::fprintf(stderr, "usage: %s FILE_OR_DIRECTORY...\n", argv[0]);
    return 2;
  }
  int status = 0;
  for (const std::string& file : files)
    if (!runFile(file)) status = 1;
  std::printf("%zu inputs\n", files.size());
  return status;
}
