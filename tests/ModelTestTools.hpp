// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <algorithm>
#include <string>
#include <zelvik/model/Report.hpp>

namespace zelvik {

/// The first finding of a kind; null if there is none.
inline const model::Finding* findingOf(const model::Report& report, const std::string& code) {
  const auto found = std::find_if(report.findings.begin(), report.findings.end(),
                                  [&](const model::Finding& f) { return f.code == code; });
  return found != report.findings.end() ? &*found : nullptr;
}

}  // namespace zelvik
