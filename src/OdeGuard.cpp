// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "OdeGuard.hpp"

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

}  // namespace

void acquireOde() {
  const std::lock_guard<std::mutex> lock(lifetimeMutex());
  dInitODE();
  if (dGetMessageHandler() == nullptr) dSetMessageHandler(ignoreOdeMessage);
}

void releaseOde() {
  const std::lock_guard<std::mutex> lock(lifetimeMutex());
  dCloseODE();
}

std::unique_lock<std::mutex> lockMeshes() {
  return std::unique_lock<std::mutex>(meshMutex());
}

}  // namespace zelvik
