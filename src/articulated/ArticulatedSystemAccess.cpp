// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cmath>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/rotation.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {
namespace {

/// Returns false after a fatal message.
bool checkRoom(const char* what, size_t count, size_t room) {
  if (count <= room) return true;
  MSG_FATAL(what << ": " << count << " values are given, but there is room for " << room);
  return false;
}

/// Copies to the front of `target`; returns false after a fatal message.
bool copyFront(const char* what, const double* values, size_t count, VecDyn& target) {
  if (!checkRoom(what, count, target.n)) return false;
  std::copy_n(values, count, target.v);
  return true;
}

}  // namespace

void ArticulatedSystem::setGeneralizedCoordinate(const double* values, size_t count) {
  if (!copyFront("setGeneralizedCoordinate", values, count, gc_)) return;
  updateKinematics();
  forgetContacts();
}

void ArticulatedSystem::forgetContacts() {
  hasMetSomething_ = false;
  Object::forgetContacts();
}

void ArticulatedSystem::setGeneralizedVelocity(const double* values, size_t count) {
  copyFront("setGeneralizedVelocity", values, count, gv_);
}

void ArticulatedSystem::setGeneralizedForce(const double* values, size_t count) {
  if (copyFront("setGeneralizedForce", values, count, joints_.feedForward))
    checkForce("setGeneralizedForce", values, count);
}

void ArticulatedSystem::setBasePos(const Mat<3, 1>& pos) {
  if (tree_.jointType[0] == Joint::FIXED)
    kinematics_.positionW[0] = pos;
  else
    std::copy_n(pos.v, 3, gc_.v);
  updateKinematics();
}

void ArticulatedSystem::setBaseOrientation(const Mat<3, 3>& rot) {
  if (tree_.jointType[0] == Joint::FIXED) {
    kinematics_.rotationW[0] = rot;
  } else {
    Mat<4, 1> quat;
    rotMatToQuat(rot, quat);
    std::copy_n(quat.v, 4, gc_.v + 3);
  }
  updateKinematics();
}

void ArticulatedSystem::setBaseOrientation(const Mat<4, 1>& quat) {
  const double length =
      std::sqrt(quat[0] * quat[0] + quat[1] * quat[1] + quat[2] * quat[2] + quat[3] * quat[3]);
  if (!(length > 0.0)) {
    MSG_FATAL("setBaseOrientation: the quaternion has no direction");
    return;
  }
  Mat<3, 3> rot;
  quatToRotMat((1.0 / length) * quat, rot);
  setBaseOrientation(rot);
}

void ArticulatedSystem::setBaseOrientation(std::initializer_list<double> values) {
  if (values.size() == 4) {
    Mat<4, 1> quat;
    std::copy_n(values.begin(), 4, quat.v);
    setBaseOrientation(quat);
  } else if (values.size() == 9) {
    Mat<3, 3> rot;
    std::copy_n(values.begin(), 9, rot.v);
    setBaseOrientation(rot);
  } else {
    MSG_FATAL("setBaseOrientation: 4 values of a quaternion or 9 of a matrix are needed, "
              << values.size() << " are given");
  }
}

void ArticulatedSystem::getBaseOrientation(Mat<4, 1>& quat) const {
  if (!tree_.isFloating()) {
    MSG_FATAL("This method is only for floating base");
    return;
  }
  std::copy_n(gc_.v + 3, 4, quat.v);
}

void ArticulatedSystem::setControlMode(ControlMode mode) {
  joints_.controlMode = mode;
  timeStepUpToDate_ = false;
}

void ArticulatedSystem::setPGain(const double* values, size_t count) {
  if (copyFront("setPGain", values, count, joints_.pGain)) timeStepUpToDate_ = false;
}

void ArticulatedSystem::setDGain(const double* values, size_t count) {
  if (copyFront("setDGain", values, count, joints_.dGain)) timeStepUpToDate_ = false;
}

void ArticulatedSystem::setRotorInertia(const double* values, size_t count) {
  copyFront("setRotorInertia", values, count, joints_.rotorInertia);
}

void ArticulatedSystem::setPTarget(const double* values, size_t count) {
  copyFront("setPTarget", values, count, joints_.pTarget);
}

void ArticulatedSystem::setDTarget(const double* values, size_t count) {
  copyFront("setDTarget", values, count, joints_.dTarget);
}

void ArticulatedSystem::setForceLimits(const ListArgument& lower, const ListArgument& upper) {
  if (!checkRoom("setForceLimits, lower", lower.count, tree_.dof)) return;
  if (!checkRoom("setForceLimits, upper", upper.count, tree_.dof)) return;
  std::copy_n(lower.values, lower.count, joints_.forceLowerLimit.v);
  std::copy_n(upper.values, upper.count, joints_.forceUpperLimit.v);
}

void ArticulatedSystem::setJointLimits(const std::vector<JointLimit>& limits) {
  if (limits.size() > joints_.limits.size()) {
    MSG_FATAL("setJointLimits: " << limits.size() << " limits are given, but there is room for "
                                 << joints_.limits.size());
    return;
  }
  std::copy(limits.begin(), limits.end(), joints_.limits.begin());
}

void ArticulatedSystem::setJointDamping(const ListArgument& damping) {
  if (copyFront("setJointDamping", damping.values, damping.count, joints_.damping))
    timeStepUpToDate_ = false;
}

void ArticulatedSystem::setSprings(const std::vector<JointSpring>& springs) {
  for (const JointSpring& spring : springs)
    if (spring.bodyIdx >= tree_.bodyCount) {
      MSG_FATAL("setSprings: body index " << spring.bodyIdx << " is out of range, there are "
                                          << tree_.bodyCount << " bodies");
      return;
    }
  joints_.springs = springs;
  timeStepUpToDate_ = false;
}

}  // namespace zelvik
