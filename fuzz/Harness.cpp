// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Harness.hpp"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <new>
#include <stdexcept>
#include <zelvik/zlv_message_logger.hpp>

// The standard operators, with a limit.
void* operator new(size_t size) {
  void* block = size <= zelvik::fuzz::kLargestAllocation ? std::malloc(size) : nullptr;
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return size <= zelvik::fuzz::kLargestAllocation ? std::malloc(size) : nullptr;
}
void* operator new(size_t size, std::align_val_t alignment) {
  const size_t a = static_cast<size_t>(alignment), rounded = (size + a - 1) / a * a;
  void* block = size <= zelvik::fuzz::kLargestAllocation ? std::aligned_alloc(a, rounded) : nullptr;
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void operator delete(void* block) noexcept {
  std::free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
  std::free(block);
}
void operator delete(void* block, size_t) noexcept {
  std::free(block);
}
void operator delete(void* block, std::align_val_t) noexcept {
  std::free(block);
}
void operator delete(void* block, size_t, std::align_val_t) noexcept {
  std::free(block);
}

namespace zelvik::fuzz {

namespace {

struct FatalMessage {};

/// Messages are part of the run, but nobody reads millions of them.
class NoOutput : public std::streambuf {
 protected:
  int overflow(int c) override { return c; }
  std::streamsize xsputn(const char*, std::streamsize n) override { return n; }
};

class Silence {
 public:
  Silence() : before_(std::cout.rdbuf(&noOutput_)) {}
  ~Silence() { std::cout.rdbuf(before_); }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;

 private:
  NoOutput noOutput_;
  std::streambuf* before_;
};

class Scratch {
 public:
  Scratch() : path_(base() + "/zelvik_fuzz_" + std::to_string(getpid()) + "/") {
    namespace fs = std::filesystem;
    fs::create_directories(path_);
    const std::string models = ZELVIK_MODEL_DIR;
    const auto option = fs::copy_options::overwrite_existing;
    fs::copy_file(models + "/arm.urdf", path_ + "robot.urdf", option);
    fs::copy_file(models + "/meshes/octahedron.obj", path_ + "cube.obj", option);
    fs::copy_file(models + "/terrain/hills.png", path_ + "hills.png", option);
    fs::copy_file(models + "/terrain/stairs.txt", path_ + "stairs.txt", option);
  }
  ~Scratch() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  const std::string& path() const { return path_; }

 private:
  /// Memory rather than a disk where there is such a thing.
  static std::string base() {
    return access("/dev/shm", W_OK) == 0 ? "/dev/shm"
                                         : std::filesystem::temp_directory_path().string();
  }
  std::string path_;
};

}  // namespace

Verdict run(const std::function<void()>& action, OnFatal onFatal) {
  const Silence silence;
  bool refused = false;
  ZelvikMsg::fatalCallback_ = [&refused, onFatal] {
    refused = true;
    if (onFatal == OnFatal::THROW) throw FatalMessage();
  };
  try {
    action();
  } catch (const FatalMessage&) {
  } catch (const std::invalid_argument&) {
    refused = true;
  } catch (const std::out_of_range&) {
    refused = true;
  } catch (const std::length_error&) {
    refused = true;
  } catch (const std::bad_alloc&) {
    refused = true;
  }
  return refused ? Verdict::REFUSED : Verdict::ACCEPTED;
}

Verdict runBothWays(const std::function<void()>& action) {
  const Verdict verdict = run(action, OnFatal::RETURN);
  if (verdict == Verdict::REFUSED && run(action, OnFatal::THROW) != verdict)
    fail("refused only if the fatal callback comes back");
  return verdict;
}

void fail(const std::string& what) {
  std::fprintf(stderr, "broken promise: %s\n", what.c_str());
  std::abort();
}

const std::string& scratchDirectory() {
  static const Scratch scratch;
  return scratch.path();
}

std::string writeScratch(const std::string& name, const void* data, size_t size) {
  const std::string path = scratchDirectory() + name;
  std::ofstream(path, std::ios::binary | std::ios::trunc)
      .write(static_cast<const char*>(data), static_cast<std::streamsize>(size));
  return path;
}

void step(World& world) {
  for (int i = 0; i < 10; ++i) world.integrate();
}

}  // namespace zelvik::fuzz
