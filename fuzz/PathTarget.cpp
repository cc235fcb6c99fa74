// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/Path.hpp>

#include "Harness.hpp"

// Paths: what is normalised holds neither "..", nor "//", nor a backslash, stays as it is when it
// is normalised again, and gives normalised directories.

namespace {

void expectNormal(const zelvik::Path& path) {
  const std::string& text = path.getString();
  if (text.find("..") != std::string::npos || text.find("//") != std::string::npos ||
      text.find('\\') != std::string::npos)
    zelvik::fuzz::fail("the path is not normal");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  using namespace zelvik;
  const std::string text = fuzz::textOf(data, size);
  const fuzz::Verdict verdict = fuzz::runBothWays([&] {
    const Path path(text);
    path.getDirectory();
    path.getTopDirectory();
    path + text;  // throws for an empty text
  });
  if (verdict == fuzz::Verdict::REFUSED) return 0;
  const Path path(text);
  expectNormal(path);
  expectNormal(path.getDirectory());
  expectNormal(path.getTopDirectory());
  if (Path(path.getString()).getString() != path.getString()) fuzz::fail("not the same again");
  return 0;
}
