// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <functional>
#include <sstream>
#include <zelvik/export.hpp>

namespace zelvik {

/// The one way in which the library reports anything to a human, and the one way in which it ends
/// the process. Messages go to the standard output:
///
///     [2026:05:17:13:02:44 World.cpp:117] text
///
/// with the text of a warning in yellow and that of a fatal message in bold red.
class ZELVIK_API ZelvikMsg {
 public:
  /// Third argument of `stream`.
  enum Severity { INFO = 0, WARN = 1, FATAL = 2 };

  /// Called after a fatal message has been printed; shared by the whole process. Starts as a
  /// function that calls `exit(1)`. A host that wants to survive fatal messages sets its own, for
  /// instance one that throws. An empty one raises `std::bad_function_call`.
  static std::function<void()> fatalCallback_;

  /// Prints one message in one insertion into `std::cout`.
  /// @param file path of the source; what follows the last '/' is printed
  /// @param severity 0 information, 1 warning, 2 fatal; other values print like 0
  void stream(const char* file, int line, std::stringstream& message, int severity);

 private:
  std::stringstream buffer_;
};

}  // namespace zelvik

#define ZELVIK_MSG(expression, severity)                               \
  do {                                                                 \
    std::stringstream zelvikMessage_;                                  \
    zelvikMessage_ << expression;                                      \
    zelvik::ZelvikMsg zelvikMsg_;                                      \
    zelvikMsg_.stream(__FILE__, __LINE__, zelvikMessage_, (severity)); \
  } while (false)

/// Report a stream expression: `MSG_WARN("mass of " << name << " is " << mass)`.
#define MSG_INFO(expression) ZELVIK_MSG(expression, zelvik::ZelvikMsg::INFO)
#define MSG_WARN(expression) ZELVIK_MSG(expression, zelvik::ZelvikMsg::WARN)
/// Prints and calls `ZelvikMsg::fatalCallback_`; return right after it, the callback may come back.
#define MSG_FATAL(expression) ZELVIK_MSG(expression, zelvik::ZelvikMsg::FATAL)
