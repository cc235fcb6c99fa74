// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <zelvik/export.hpp>

namespace zelvik {

/// Longest text that is read from a file (bytes): 256 MiB.
constexpr size_t kLongestText = size_t{1} << 28;

/// What became of reading a file.
enum class TextRead {
  DONE,        ///< read to its end
  UNREADABLE,  ///< there is none, it may not be read, or it is a directory; the reader tells
  REFUSED      ///< too long; a fatal message has told
};

/// Reads a file, a pipe or a device to its end, opening it once.
///
/// Fatal: "<path> is longer than 268435456 bytes", for a file before anything is read, for a pipe
/// or a device once it has given more.
/// @param text empty unless the result is `DONE`
ZELVIK_API TextRead readTextFile(const std::string& path, std::string& text);

/// Whether a file may be read, without opening it: what waits in a pipe stays there.
ZELVIK_API bool isReadable(const std::string& path);

}  // namespace zelvik
