// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "collision/OdeGuard.hpp"

#include <cstdarg>
#include <cstdio>

namespace zelvik {

namespace {

// Never destroyed: a host may keep a world in an object of static storage.
std::mutex& lifetimeMutex() {
  static std::mutex& mutex = *new std::mutex;
  return mutex;
}

std::mutex& meshMutex() {
  static std::mutex& mutex = *new std::mutex;
  return mutex;
}

/// mesh-mesh pairs print a line per excess point and step; nothing of it helps a user.
void ignoreOdeMessage(int, const char*, va_list) {}

/// Thrown through ODE's colliders, which hold nothing that would be lost.
struct CheckFailed {};

thread_local bool isColliding = false;

/// Sets `isColliding` for its own life, also if memory runs out inside of a collider.
class Colliding {
 public:
  Colliding() : flag_(isColliding) { flag_ = true; }
  ~Colliding() { flag_ = false; }
  Colliding(const Colliding&) = delete;
  Colliding& operator=(const Colliding&) = delete;

 private:
  bool& flag_;  ///< of this thread, looked up once
};

/// ODE ends the process if this returns.
void handleFailedCheck(int number, const char* format, va_list arguments) {
  if (isColliding) throw CheckFailed();
  std::fprintf(stderr, "\nODE INTERNAL ERROR %d: ", number);
  std::vfprintf(stderr, format, arguments);
  std::fputc('\n', stderr);
}

}  // namespace

void acquireOde() {
  const std::lock_guard<std::mutex> lock(lifetimeMutex());
  dInitODE();
  if (dGetMessageHandler() == nullptr) dSetMessageHandler(ignoreOdeMessage);
  if (dGetDebugHandler() == nullptr) dSetDebugHandler(handleFailedCheck);
}

int collideGuarded(dGeomID o1, dGeomID o2, int capacity, dContactGeom* points, int stride) {
  const Colliding mark;
  try {
    return dCollide(o1, o2, capacity, points, stride);
  } catch (const CheckFailed&) {
    return 0;
  }
}

void releaseOde() {
  const std::lock_guard<std::mutex> lock(lifetimeMutex());
  dCloseODE();
}

std::unique_lock<std::mutex> lockMeshes() {
  return std::unique_lock<std::mutex>(meshMutex());
}

}  // namespace zelvik
