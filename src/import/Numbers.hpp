// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvik::model {

/// Reads numbers with blanks, tabs, line breaks or commas between them, whatever the locale. No
/// value where a word is no finite number.
std::optional<std::vector<double>> parseNumbers(std::string_view text);

/// The shortest text that reads back as the same number.
std::string exactText(double value);

/// How many letters must be changed, added or left out to turn one word into the other.
std::size_t editDistance(std::string_view a, std::string_view b);

/// The candidate that a mistyped word most likely means; empty if none is near.
template <typename Names>
std::string nearestName(std::string_view word, const Names& names) {
  std::string best;
  std::size_t least = 1 + word.size() / 4;  // letters that may differ
  for (const auto& name : names) {
    const std::size_t distance = editDistance(word, name);
    if (distance == 0 || distance > least || (distance == least && !best.empty())) continue;
    least = distance;
    best = name;
  }
  return best;
}

}  // namespace zelvik::model
