// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <zelvik/World.hpp>

// What all fuzz targets share. A target is the function `LLVMFuzzerTestOneInput`; it is linked
// either to libFuzzer (ZELVIK_BUILD_FUZZERS, clang) or to PlainDriver.cpp, which runs files.

namespace zelvik::fuzz {

enum class OnFatal {
  RETURN,  ///< the fatal callback comes back
  THROW    ///< it throws
};

/// Whether the library took the input.
enum class Verdict { ACCEPTED, REFUSED };

/// Runs `action` with the fatal callback in the given mode. A fatal message and the exceptions that
/// the library documents (numbers that do not convert, sizes that do not fit into memory) are a
/// refusal; any other exception leaves the target, and so ends it.
Verdict run(const std::function<void()>& action, OnFatal onFatal);

/// Runs `action` in both modes: whichever way the host ends a fatal message, nothing may break.
/// Both verdicts have to be the same.
Verdict runBothWays(const std::function<void()>& action);

/// Ends the process for a broken promise.
[[noreturn]] void fail(const std::string& what);

/// A directory of this process that goes when the process ends; ends with a slash. It holds
/// robot.urdf, cube.obj, hills.png and stairs.txt, for inputs that name other files.
const std::string& scratchDirectory();

/// Writes a file into the scratch directory; returns its path.
std::string writeScratch(const std::string& name, const void* data, size_t size);

inline std::string textOf(const std::uint8_t* data, size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// What is loaded has to survive ten steps.
void step(World& world);

/// Largest single allocation of C++ containers (bytes): beyond it `std::bad_alloc`, as on a small
/// machine. Inputs of a few bytes may ask for gigabytes, which would only slow the search down.
constexpr size_t kLargestAllocation = size_t{1} << 28;

}  // namespace zelvik::fuzz
