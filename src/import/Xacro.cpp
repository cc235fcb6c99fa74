// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "Source.hpp"

extern char** environ;

// Xacro is a language of its own, which its own program expands. No shell stands between.

namespace zelvik::model {

namespace {

constexpr std::size_t kMaxBytes = std::size_t{256} << 20;

/// Both ends of a pipe, closed when they go.
struct Pipe {
  int ends[2] = {-1, -1};

  bool open() { return pipe2(ends, O_CLOEXEC) == 0; }
  void close(int end) {
    if (ends[end] >= 0) ::close(ends[end]);
    ends[end] = -1;
  }
  ~Pipe() {
    close(0);
    close(1);
  }
};

std::string readAll(int descriptor) {
  std::string text;
  std::array<char, 65536> buffer;
  while (text.size() < kMaxBytes) {
    const ssize_t count = read(descriptor, buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    text.append(buffer.data(), static_cast<std::size_t>(count));
  }
  return text;
}

/// Starts `xacro FILE` with its output in the pipe; returns what `posix_spawnp` returns.
int start(std::string file, const Pipe& output, pid_t& process) {
  std::string program = "xacro";
  char* arguments[] = {program.data(), file.data(), nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, output.ends[1], STDOUT_FILENO);
  const int error = posix_spawnp(&process, program.c_str(), &actions, nullptr, arguments, environ);
  posix_spawn_file_actions_destroy(&actions);
  return error;
}

int waitFor(pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

}  // namespace

bool expandXacro(Source& source, Findings& findings) {
  if (source.file.empty()) {
    findings.error("xacro", {}, "text with xacro in it is not read",
                   "Give the file, or expand it: xacro robot.xacro > robot.urdf");
    return false;
  }
  Pipe output;
  pid_t process = 0;
  const std::string file = source.directory / std::filesystem::path(source.file).filename();
  if (!output.open() || start(file, output, process) != 0) {
    findings.error("xacro", {}, "the file holds xacro, and there is no command `xacro` here",
                   "Install it, or expand the file elsewhere: xacro robot.xacro > robot.urdf");
    return false;
  }
  output.close(1);
  std::string text = readAll(output.ends[0]);
  output.close(0);
  const int status = waitFor(process);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0 || text.empty()) {
    findings.error("xacro", {}, "the command `xacro` did not expand the file",
                   "It says why on the standard error.");
    return false;
  }
  findings.note("xacro", {}, "expanded by the command `xacro`; lines are those of the expansion");
  source.text = std::move(text);
  return true;
}

}  // namespace zelvik::model
