// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/Path.hpp>
#include <zelvik/TextFile.hpp>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/urdf.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "articulated/TreePasses.hpp"

namespace zelvik {
namespace {

void warnAboutJointOrder(const std::vector<std::string>& jointOrder) {
  if (jointOrder.empty()) return;
  std::string names;
  for (const std::string& name : jointOrder) names += name + " ";
  MSG_WARN("Using manually specified joint order");
  MSG_WARN(names);
}

/// Whether the file can be read and its name says that it holds a robot. Returns false after a
/// fatal message.
bool checkModelFile(const std::string& path, const std::string& argument) {
  if (!isReadable(path)) {
    MSG_FATAL(path << " does not exist");
    return false;
  }
  const std::string extension = path.substr(path.rfind('.') + 1);
  if (extension != "xml" && extension != "urdf") {
    MSG_FATAL(argument << ": unsupported file type");
    return false;
  }
  return true;
}

}  // namespace

ArticulatedSystem::ArticulatedSystem(const std::string& urdfPathOrText, const std::string& resDir,
                                     const std::vector<std::string>& jointOrder,
                                     ArticulatedSystemOption option) {
  fullDelassus_ = false;
  doNotCollideWithParent = option.doNotCollideWithParent;
  ignoreInitialOverlaps_ = option.ignoreInitialOverlaps;
  warnAboutJointOrder(jointOrder);
  modelJointOrder_ = jointOrder;
  // The loader leaves the root in `rootChild_`, or nothing after a fatal message.
  if (urdfPathOrText.find('<') == std::string::npos) {
    if (prepareModelFile(urdfPathOrText, resDir))
      urdf::LoadFromURDF2 loader(*this, modelPath_, jointOrder, true);
  } else {
    if (resDir.empty()) MSG_WARN("resDir is not specified.");
    modelText_ = urdfPathOrText;
    resourceDir_ = resDir;
    urdf::LoadFromURDF2 loader(*this, urdfPathOrText, jointOrder, false);
  }
  init();
}

/// Sets what follows from the path; returns false after a fatal message.
bool ArticulatedSystem::prepareModelFile(const std::string& argument, const std::string& resDir) {
  const Path path(argument);
  modelPath_ = path.getString();
  // What is left of a path that was refused.
  if (modelPath_.find("..") != std::string::npos) return false;
  const bool isBareName = modelPath_.find('/') == std::string::npos;
  resourceDir_ = !resDir.empty() ? resDir : isBareName ? "." : path.getDirectory().getString();
  robotName_ = modelPath_.substr(modelPath_.rfind('/') + 1);
  modelTopDirectory_ = path.getTopDirectory().getString();
  return checkModelFile(modelPath_, argument);
}

}  // namespace zelvik
