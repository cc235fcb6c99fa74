// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "MeshFile.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <zelvik/TextFile.hpp>

namespace zelvik::view {

namespace {

constexpr const char* kBlanks = " \t\r";

/// Takes the next word off the front of a line; empty if there is none.
std::string_view takeWord(std::string_view& line) {
  line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
  const std::string_view word = line.substr(0, line.find_first_of(kBlanks));
  line.remove_prefix(word.size());
  return word;
}

/// Reads the number that a word begins with, whatever the host's locale.
template <typename Number>
bool parse(std::string_view word, Number& number) {
  if (!word.empty() && word.front() == '+') word.remove_prefix(1);
  return std::from_chars(word.data(), word.data() + word.size(), number).ec == std::errc();
}

bool readVertex(std::string_view line, MeshData& mesh) {
  for (int i = 0; i < 3; ++i) {
    double value = 0.0;
    if (!parse(takeWord(line), value)) return false;
    mesh.positions.push_back(static_cast<float>(value));
    if (!std::isfinite(mesh.positions.back())) return false;
  }
  return true;
}

/// Index of the vertex that a corner such as 7/2/5 names; a negative one counts from the last
/// vertex so far. One that is out of range stays so.
bool readCorner(std::string_view word, const MeshData& mesh, std::uint32_t& corner) {
  std::int32_t number = 0;
  if (!parse(word, number)) return false;
  const auto count = static_cast<std::uint32_t>(mesh.positions.size() / 3);
  corner = static_cast<std::uint32_t>(number) + (number < 0 ? count : 0xffffffffu);
  return true;
}

/// A face as a fan about its first corner.
bool readFace(std::string_view line, std::size_t mostCorners, MeshData& mesh) {
  std::uint32_t first = 0, corner = 0;
  std::size_t count = 0;
  for (std::string_view word = takeWord(line); !word.empty() && count < mostCorners;
       word = takeWord(line), ++count) {
    const std::uint32_t last = corner;
    if (!readCorner(word, mesh, corner)) return false;
    if (count == 0) first = corner;
    if (count == 2) mesh.indices.insert(mesh.indices.end(), {first, last, corner});
    if (count > 2) mesh.indices.insert(mesh.indices.end(), {last, corner, first});
  }
  return count > 2;
}

bool readLine(std::string_view line, std::size_t mostCorners, MeshData& mesh) {
  const std::string_view kind = takeWord(line);
  if (kind == "v") return readVertex(line, mesh);
  return kind != "f" || readFace(line, mostCorners, mesh);
}

}  // namespace

std::string readObj(const std::string& file, std::size_t mostCorners, MeshData& mesh) {
  if (std::filesystem::path(file).extension() != ".obj") return "only obj files are read";
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error)) return "there is no such file";
  if (std::filesystem::file_size(file, error) > kLongestText) return "it is too long";
  std::ifstream stream(file);
  if (!stream) return "it cannot be read";
  std::string line;
  for (std::size_t number = 1; std::getline(stream, line); ++number)
    if (!readLine(line, mostCorners, mesh))
      return "line " + std::to_string(number) + " is no vertex or face: " + line.substr(0, 80);
  if (mesh.indices.empty()) return "it has no faces";
  const std::uint32_t largest = *std::max_element(mesh.indices.begin(), mesh.indices.end());
  if (largest < mesh.positions.size() / 3) return "";
  return "a face names a vertex that it does not hold";
}

}  // namespace zelvik::view
