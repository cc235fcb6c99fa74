// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cmath>
#include <vector>
#include <zelvik/NumberList.hpp>

#include "Harness.hpp"

// A number list against a second reader that follows the description word by word, slowly.

namespace {

/// The pieces of a list, blanks around them not yet looked at.
std::vector<std::string> piecesOf(std::string text) {
  char separator = ',';
  if (text.find(',') == std::string::npos && text.find(' ') != std::string::npos) separator = ' ';
  for (size_t p = text.find("  "); separator == ' ' && p != std::string::npos; p = text.find("  "))
    text.erase(p, 1);
  if (!text.empty() && text.front() == ' ') text.erase(0, 1);
  if (!text.empty() && text.back() == ' ') text.pop_back();
  std::vector<std::string> pieces(1);
  for (const char c : text) {
    if (c == separator)
      pieces.emplace_back();
    else
      pieces.back() += c;
  }
  return pieces;
}

bool isSame(double a, double b) {
  return a == b || (std::isnan(a) && std::isnan(b));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  using namespace zelvik;
  const std::string text = fuzz::textOf(data, size);
  const std::vector<std::string> pieces = piecesOf(text);
  std::vector<double> values, expected;
  const fuzz::Verdict verdict = fuzz::runBothWays([&] {
    const NumberList list(text);
    if (list.count() != pieces.size()) fuzz::fail("another number of entries");
    values.assign(list.count(), 0.0);
    list.read(values.data());
  });
  const fuzz::Verdict expectedVerdict = fuzz::runBothWays([&] {
    expected.clear();
    for (const std::string& piece : pieces) expected.push_back(std::stod(piece));
  });
  if (verdict != expectedVerdict) fuzz::fail("only one of two readers takes the list");
  for (size_t i = 0; verdict == fuzz::Verdict::ACCEPTED && i < values.size(); ++i)
    if (!isSame(values[i], expected[i])) fuzz::fail("another value");
  return 0;
}
