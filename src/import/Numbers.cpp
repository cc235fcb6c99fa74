// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Numbers.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numeric>

namespace zelvik::model {

std::optional<std::vector<double>> parseNumbers(std::string_view text) {
  constexpr std::string_view separators = " \t\r\n,";
  std::vector<double> numbers;
  for (std::size_t begin = 0; (begin = text.find_first_not_of(separators, begin)) < text.size();) {
    const std::size_t end = std::min(text.find_first_of(separators, begin), text.size());
    std::string_view word = text.substr(begin, end - begin);
    if (word.size() > 1 && word.front() == '+') word.remove_prefix(1);
    double value = 0.0;
    const auto [stop, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    // Out of range is too large or nearly zero; only the second is a number that can be used.
    const bool isTiny = word.find("e-") != word.npos || word.find("E-") != word.npos;
    if (stop != word.data() + word.size() || !std::isfinite(value)) return std::nullopt;
    if (error != std::errc() && !isTiny) return std::nullopt;
    numbers.push_back(value);
    begin = end;
  }
  return numbers;
}

std::string exactText(double value) {
  char buffer[32];
  return {buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr};
}

std::size_t editDistance(std::string_view a, std::string_view b) {
  constexpr std::size_t longest = 200;  // of names that anybody mistypes
  if (a.size() > longest || b.size() > longest) return longest;
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t changed = diagonal + (a[i - 1] != b[j - 1] ? 1 : 0);
      diagonal = row[j];
      row[j] = std::min({changed, row[j] + 1, row[j - 1] + 1});
    }
  }
  return row[b.size()];
}

}  // namespace zelvik::model
