// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <zelvik/LocaleGuard.hpp>
#include <zelvik/NumberList.hpp>

namespace zelvik {

NumberList::NumberList(const std::string& text) : text_(text) {
  const bool hasComma = text_.find(',') != std::string::npos;
  if (!hasComma && text_.find(' ') != std::string::npos) {
    separator_ = ' ';
    const auto bothBlank = [](char a, char b) { return a == ' ' && b == ' '; };
    text_.erase(std::unique(text_.begin(), text_.end(), bothBlank), text_.end());
  }
  if (!text_.empty() && text_.front() == ' ') text_.erase(0, 1);
  if (!text_.empty() && text_.back() == ' ') text_.pop_back();
  count_ = 1 + static_cast<size_t>(std::count(text_.begin(), text_.end(), separator_));
}

void NumberList::read(double* values) const {
  const LocaleGuard guard;
  size_t begin = 0;
  std::string piece;
  for (size_t i = 0; i < count_; ++i) {
    while (begin < text_.size() && text_[begin] == ' ') ++begin;
    const size_t end = std::min(text_.find(separator_, begin), text_.size());
    piece.assign(text_, begin, end - begin);
    values[i] = std::stod(piece);
    begin = std::min(end + 1, text_.size());
  }
}

}  // namespace zelvik
