// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <functional>
#include <locale>
#include <sstream>
#include <string>
#include <zelvik/export.hpp>

namespace zelvik {

/// The one way in which the library reports anything to a human, and the one way in which it ends
/// the process. Messages go to the standard output:
///
///     [2026:05:17:13:02:44 World.cpp:117] text
///
/// with the text of a warning in yellow and that of a fatal message in bold red. A host that has a
/// log of its own takes them in parts instead: see `sink_`.
class ZELVIK_API ZelvikMsg {
 public:
  /// Third argument of `stream`.
  enum Severity { INFO = 0, WARN = 1, FATAL = 2 };

  /// Called after a fatal message has been reported; shared by the whole process. Starts as a
  /// function that calls `exit(1)`. A host that wants to survive fatal messages sets its own, for
  /// instance one that throws. An empty one raises `std::bad_function_call`.
  static std::function<void()> fatalCallback_;

  /// Takes one message: its severity, the name of the source that reports (without directories),
  /// the line there, and the text (no stamp, no colours, no line end). `file` lives for the call.
  using Sink =
      std::function<void(Severity severity, const char* file, int line, const std::string& text)>;

  /// If set, takes all messages, and nothing is printed; shared by the whole process. Empty at
  /// first. After a fatal message `fatalCallback_` is called as ever.
  ///
  /// It runs on the thread that has the problem, on several at once if worlds are: it guards what
  /// it shares. The library holds none of its locks meanwhile. It is set, like `fatalCallback_`,
  /// while no thread uses the library. It should not throw: an exception leaves the operation as
  /// one of `fatalCallback_` does, also after a warning, with the operation half done.
  static Sink sink_;

  /// Gives one message to `sink_`, or prints it in one insertion into `std::cout`.
  /// @param file path of the source; what follows the last '/' is taken
  /// @param severity 0 information, 1 warning, 2 fatal; other values count as 0
  void stream(const char* file, int line, std::stringstream& message, int severity);

 private:
  std::stringstream buffer_;
};

}  // namespace zelvik

#define ZELVIK_MSG(expression, severity)                               \
  do {                                                                 \
    std::stringstream zelvikMessage_;                                  \
    zelvikMessage_.imbue(std::locale::classic());                      \
    zelvikMessage_ << expression;                                      \
    zelvik::ZelvikMsg zelvikMsg_;                                      \
    zelvikMsg_.stream(__FILE__, __LINE__, zelvikMessage_, (severity)); \
  } while (false)

/// Report a stream expression: `MSG_WARN("mass of " << name << " is " << mass)`. Its numbers look
/// alike in every locale of the host.
#define MSG_INFO(expression) ZELVIK_MSG(expression, zelvik::ZelvikMsg::INFO)
#define MSG_WARN(expression) ZELVIK_MSG(expression, zelvik::ZelvikMsg::WARN)
/// Reports and calls `ZelvikMsg::fatalCallback_`; return right after it, the callback may come
/// back.
#define MSG_FATAL(expression) ZELVIK_MSG(expression, zelvik::ZelvikMsg::FATAL)
