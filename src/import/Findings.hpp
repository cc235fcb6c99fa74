// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <sstream>
#include <string>
#include <utility>
#include <zelvik/model/Report.hpp>

#include "RobotRecord.hpp"

namespace zelvik::model {

/// Where the stages of reading put what they find.
class Findings {
 public:
  Findings(Report& report, std::string file) : report_(report), file_(std::move(file)) {}

  void add(Severity severity, const char* code, const Place& place, std::string message,
           std::string advice = "") {
    report_.findings.push_back({severity, code, file_, place.line, place.column, place.element,
                                std::move(message), std::move(advice)});
  }
  void note(const char* code, const Place& place, std::string message, std::string advice = "") {
    add(Severity::NOTE, code, place, std::move(message), std::move(advice));
  }
  void warn(const char* code, const Place& place, std::string message, std::string advice = "") {
    add(Severity::WARNING, code, place, std::move(message), std::move(advice));
  }
  void error(const char* code, const Place& place, std::string message, std::string advice = "") {
    add(Severity::ERROR, code, place, std::move(message), std::move(advice));
  }

  Report& report() { return report_; }

 private:
  Report& report_;
  std::string file_;
};

/// A number as short as it can be, with a point whatever the locale.
inline std::string numberText(double value) {
  std::ostringstream stream;
  stream.imbue(std::locale::classic());
  stream.precision(4);
  stream << value;
  return stream.str();
}

}  // namespace zelvik::model
