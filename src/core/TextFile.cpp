// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <zelvik/TextFile.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

namespace {

TextRead refuse(const std::string& path, std::string& text) {
  std::string().swap(text);
  MSG_FATAL(path << " is longer than " << kLongestText << " bytes");
  return TextRead::REFUSED;
}

}  // namespace

TextRead readTextFile(const std::string& path, std::string& text) {
  text.clear();
  std::error_code error;
  std::ifstream file(path, std::ios::binary);
  if (!file || std::filesystem::is_directory(path, error)) return TextRead::UNREADABLE;
  if (std::filesystem::is_regular_file(path, error)) {
    const auto size = std::filesystem::file_size(path, error);
    if (!error && size > kLongestText) return refuse(path, text);
    if (!error) text.reserve(size);
  }
  std::array<char, 1 << 16> piece;
  while (file.read(piece.data(), piece.size()) || file.gcount() > 0) {
    text.append(piece.data(), static_cast<size_t>(file.gcount()));
    if (text.size() > kLongestText) return refuse(path, text);
  }
  return TextRead::DONE;
}

bool isReadable(const std::string& path) {
  return access(path.c_str(), R_OK) == 0;
}

}  // namespace zelvik
