// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <iostream>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/rotation.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

// ---- points of bodies ----

void ArticulatedSystem::getPosition(size_t localIdx, const Mat<3, 1>& pointB,
                                    Mat<3, 1>& out) const {
  if (!checkBodyIndex(localIdx, "getPosition")) return;
  out = kinematics_.rotationW[localIdx] * pointB + kinematics_.positionW[localIdx];
}

void ArticulatedSystem::getVelocity(size_t localIdx, const Mat<3, 1>& pointB,
                                    Mat<3, 1>& out) const {
  if (!checkBodyIndex(localIdx, "getVelocity")) return;
  out = kinematics_.linearVelocityW[localIdx] +
        cross(kinematics_.angularVelocityW[localIdx], kinematics_.rotationW[localIdx] * pointB);
}

void ArticulatedSystem::getAngularVelocity(size_t localIdx, Mat<3, 1>& out) const {
  if (checkBodyIndex(localIdx, "getAngularVelocity")) out = kinematics_.angularVelocityW[localIdx];
}

void ArticulatedSystem::getVelocity(const SparseJacobian& jac, Mat<3, 1>& out) const {
  Vec3 sum{};
  for (size_t c = 0; c < jac.size; ++c) {
    const double* column = jac.v.v + 3 * c;
    const double rate = gv_[jac.idx[c]];
    for (size_t i = 0; i < 3; ++i) sum[i] += rate * column[i];
  }
  out = sum;
}

// ---- names ----

size_t ArticulatedSystem::getBodyIdx(const std::string& name) const {
  const auto body = std::find(bodyNames_.begin(), bodyNames_.end(), name);
  if (body != bodyNames_.end()) return static_cast<size_t>(body - bodyNames_.begin());
  const bool isConsumedLink = std::any_of(frames_.begin(), frames_.end(),
                                          [&](const auto& f) { return f.bodyName == name; });
  if (isConsumedLink)
    MSG_FATAL(
        "This is a link name. In Zelvik, links with fixed joints are consumed by a parent with a "
        "movable joint. If you want to access a link position, use a frame instead. Frames are "
        "attached to all joints, including fixed ones.");
  else
    MSG_FATAL("unknown body id");
  return kNone;
}

size_t ArticulatedSystem::getBodyIdxOfLink(const std::string& name) const {
  const auto body = std::find(bodyNames_.begin(), bodyNames_.end(), name);
  if (body != bodyNames_.end()) return static_cast<size_t>(body - bodyNames_.begin());
  const auto frame = std::find_if(frames_.begin(), frames_.end(),
                                  [&](const auto& f) { return f.bodyName == name; });
  if (frame != frames_.end()) return frame->parentId;
  MSG_FATAL("unknown body id");
  return kNone;
}

size_t ArticulatedSystem::getFrameIdxByName(const std::string& name) const {
  const auto frame =
      std::find_if(frames_.begin(), frames_.end(), [&](const auto& f) { return f.name == name; });
  if (frame != frames_.end()) return static_cast<size_t>(frame - frames_.begin());
  MSG_FATAL("unknown frame id");
  return kNone;
}

void ArticulatedSystem::printOutFrameNamesInOrder() const {
  for (size_t i = 0; i < frames_.size(); ++i)
    std::cout << i << "th frame: " << frames_[i].name << std::endl;
}

void ArticulatedSystem::printOutBodyNamesInOrder() const {
  for (size_t i = 0; i < bodyNames_.size(); ++i)
    std::cout << i << "th body: " << bodyNames_[i] << std::endl;
}

// ---- frames ----

bool ArticulatedSystem::checkFrameIndex(size_t frameIdx, const char* where) const {
  if (frameIdx < frames_.size()) return true;
  MSG_FATAL(where << ": frame index " << frameIdx << " is out of range, the system has "
                  << frames_.size() << " frames");
  return false;
}

void ArticulatedSystem::getFramePosition(size_t frameIdx, Mat<3, 1>& out) const {
  if (checkFrameIndex(frameIdx, "getFramePosition")) getFramePosition(frames_[frameIdx], out);
}

void ArticulatedSystem::getFramePosition(const CoordinateFrame& frame, Mat<3, 1>& out) const {
  getPosition(frame.parentId, frame.position, out);
}

void ArticulatedSystem::getFrameOrientation(size_t frameIdx, Mat<3, 3>& out) const {
  if (checkFrameIndex(frameIdx, "getFrameOrientation")) getFrameOrientation(frames_[frameIdx], out);
}

void ArticulatedSystem::getFrameOrientation(const CoordinateFrame& frame, Mat<3, 3>& out) const {
  if (!checkBodyIndex(frame.parentId, "getFrameOrientation")) return;
  Mat33 rotation;
  rotmatmul(kinematics_.rotationW[frame.parentId], frame.orientation, rotation);
  out = rotation;
}

void ArticulatedSystem::getFrameVelocity(size_t frameIdx, Mat<3, 1>& out) const {
  if (!checkFrameIndex(frameIdx, "getFrameVelocity")) return;
  const CoordinateFrame& frame = frames_[frameIdx];
  getVelocity(frame.parentId, frame.position, out);
}

void ArticulatedSystem::getFrameVelocity(const CoordinateFrame& frame, Mat<3, 1>& out) const {
  if (!checkBodyIndex(frame.parentId, "getFrameVelocity")) return;
  if (frame.isChild)
    out = kinematics_.linearVelocityW[frame.parentId];
  else
    getVelocity(frame.parentId, frame.position, out);
}

void ArticulatedSystem::getFrameAngularVelocity(size_t frameIdx, Mat<3, 1>& out) const {
  if (checkFrameIndex(frameIdx, "getFrameAngularVelocity"))
    getFrameAngularVelocity(frames_[frameIdx], out);
}

void ArticulatedSystem::getFrameAngularVelocity(const CoordinateFrame& frame,
                                                Mat<3, 1>& out) const {
  if (checkBodyIndex(frame.parentId, "getFrameAngularVelocity"))
    out = kinematics_.angularVelocityW[frame.parentId];
}

}  // namespace zelvik
