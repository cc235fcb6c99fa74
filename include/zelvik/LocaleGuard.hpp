// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <locale.h>

namespace zelvik {

/// While it lives, the calling thread reads and writes numbers with a decimal point, whatever
/// locale the host has chosen. Covers the C functions and what is built on them (`std::stod`,
/// `printf`, TinyXML). Streams follow the global C++ locale instead: imbue them with
/// `std::locale::classic()`. Switching costs some ten nanoseconds; guards may be nested.
class LocaleGuard {
 public:
  LocaleGuard() : previous_(uselocale(numbersWithPoint())) {}
  LocaleGuard(const LocaleGuard&) = delete;
  LocaleGuard& operator=(const LocaleGuard&) = delete;
  ~LocaleGuard() { uselocale(previous_); }

 private:
  /// Made once and kept until the process ends. Should it fail (no memory), it is the null locale,
  /// with which `uselocale` changes nothing.
  static locale_t numbersWithPoint() {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    return locale;
  }

  locale_t previous_;
};

}  // namespace zelvik
