// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <zelvik/export.hpp>

namespace zelvik {

/// A list of numbers in one piece of text, as attributes of all our files hold it.
///
/// The separator is a comma if the text holds one, otherwise a blank; then runs of blanks count as
/// one. One blank at either end is ignored, and so are blanks before a number. Tabs and line ends
/// are no separators. An empty text is a list of one (unreadable) entry; "1 2,3" is a list of two
/// whose first entry reads as 1, since what follows a number inside its piece is ignored.
///
/// Reading takes time proportional to the length and does not depend on the locale of the process.
class ZELVIK_API NumberList {
 public:
  /// Keeps a reference to the text, which has to outlive the list.
  explicit NumberList(const std::string& text);

  /// One more than the number of separators.
  size_t count() const { return count_; }

  /// Writes `count()` values. Throws `std::invalid_argument` for a piece that is no number and
  /// `std::out_of_range` for one that no double can hold, both with the text "stod".
  void read(double* values) const;

 private:
  std::string text_;
  char separator_ = ',';
  size_t count_ = 1;
};

}  // namespace zelvik
