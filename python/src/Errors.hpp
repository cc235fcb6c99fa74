// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <nanobind/nanobind.h>

#include <stdexcept>
#include <string>

namespace zelvik::python {

namespace nb = nanobind;

/// Leaves the library in place of the end of the process; `zelvik.FatalError` in Python.
class FatalError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// An object or wire is used that its world no longer holds; `ReferenceError` in Python.
class Removed : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

[[noreturn]] void throwValueError(const std::string& text);
[[noreturn]] void throwTypeError(const std::string& text);
[[noreturn]] void throwIndexError(const std::string& text);
[[noreturn]] void throwKeyError(const std::string& text);
[[noreturn]] void throwRuntimeError(const std::string& text);

/// Turns the messages of the library into exceptions and records of the logger "zelvik".
///
/// A message may come while the interpreter's lock is not held, and from within a lock of the
/// library. So nothing is logged at once: `flushMessages` does, which every call that gives up the
/// interpreter's lock ends with, and which the interpreter runs on its main thread otherwise.
void installMessageSink(nb::module_& module);

/// Hands what has been said so far to `logging`. Needs the interpreter's lock.
void flushMessages();

}  // namespace zelvik::python
