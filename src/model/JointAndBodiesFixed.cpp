// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <utility>
#include <zelvik/object/ArticulatedSystem/JointAndBodies.hpp>
#include <zelvik/rotation.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "model/TreeWalk.hpp"

namespace zelvik {

namespace {

/// Turns a pose in the frame of `fixed` into the pose in the frame of its parent.
void composeOffset(const Child& fixed, Mat<3, 1>& position, Mat<3, 3>& rotation) {
  position = fixed.jointRotation * position + fixed.jointPosition;
  const Mat<3, 3> own = rotation;
  rotmatmul(fixed.jointRotation, own, rotation);
}

void rehang(Child& fixed, std::vector<Child>& grandchildren, std::vector<Child>& target) {
  for (Child& grandchild : grandchildren) {
    changeParent(fixed, grandchild);
    target.push_back(std::move(grandchild));
  }
}

}  // namespace

void changeParent(Child& parent, Child& child) {
  composeOffset(parent, child.jointPosition, child.jointRotation);
}

/// Hangs the children of the fixed children from `begin` on directly under this node. Sets `begin`
/// to the first fixed child that this sweep has not seen; returns whether there is one.
bool Child::flattenFixedSweep(size_t& begin) {
  const size_t end = childrenFixed.size();
  for (size_t i = begin; i < end; ++i) {
    // Taken out before anything is appended: appending may move `childrenFixed[i]`. What the
    // grandchildren need of it is its joint alone.
    std::vector<Child> fixedBelow = std::exchange(childrenFixed[i].childrenFixed, {});
    std::vector<Child> movableBelow = std::exchange(childrenFixed[i].childrenMovable, {});
    Child joint;
    joint.jointPosition = childrenFixed[i].jointPosition;
    joint.jointRotation = childrenFixed[i].jointRotation;
    rehang(joint, fixedBelow, childrenFixed);
    rehang(joint, movableBelow, childrenMovable);
  }
  begin = end;
  return begin < childrenFixed.size();
}

/// Returns false after a fatal message.
bool Child::appendMovableFrames(std::vector<CoordinateFrame>& frames) const {
  for (const Child& child : childrenMovable) {
    if (child.jointName.empty()) {
      MSG_FATAL("All joints must have a name");
      return false;
    }
    CoordinateFrame frame;
    frame.parentName = child.bodyName;
    frame.name = child.jointName;
    frame.bodyName = child.bodyName;
    frame.orientation.setIdentity();
    frame.isChild = true;
    frame.jointType = child.jointType;
    frames.push_back(std::move(frame));
  }
  return true;
}

/// Leaves a frame of `fixed`, adds its inertia about its own centre of mass, and takes its shapes.
/// Its centre of mass ends in the frame of this node.
void Child::mergeFixedBody(Child& fixed, std::vector<CoordinateFrame>& frames) {
  CoordinateFrame frame;
  frame.parentName = bodyName;
  frame.bodyName = fixed.bodyName;
  frame.name = fixed.jointName;
  frame.position = fixed.jointPosition;
  frame.orientation = fixed.jointRotation;
  frame.jointType = fixed.jointType;
  frames.push_back(std::move(frame));

  fixed.com = fixed.jointRotation * fixed.com + fixed.jointPosition;
  Mat<3, 3> turned;
  similarityTransform(fixed.jointRotation, fixed.inertia, turned);
  inertia += turned;

  for (VisObject& visual : fixed.visObjects) {
    composeOffset(fixed, visual.offset, visual.rot);
    visObjects.push_back(std::move(visual));
  }
  for (CollisionBody& body : fixed.collisionBodies) {
    composeOffset(fixed, body.posOffset, body.rotOffset);
    collisionBodies.push_back(std::move(body));
  }
}

void Child::consumeFixedBodies(std::vector<CoordinateFrame>& frames) {
  forEachMovable(*this, [&](Child& node) { node.consumeOwnFixedBodies(frames); });
}

void Child::consumeOwnFixedBodies(std::vector<CoordinateFrame>& frames) {
  size_t begin = 0;
  while (flattenFixedSweep(begin)) continue;

  if (!appendMovableFrames(frames)) return;

  // M = sum m_i, Mc = sum m_i c_i over this body and its fixed ones.
  double M = mass;
  Mat<3, 1> Mc = mass * com;
  for (Child& fixed : childrenFixed) {
    mergeFixedBody(fixed, frames);
    M += fixed.mass;
    Mc += fixed.mass * fixed.com;
  }

  // Parallel axes: I += m_i (|r_i|^2 1 - r_i r_i^T) with r_i = c_i - c.
  Mat<3, 1> c{};
  for (size_t i = 0; i < 3 && M != 0.0; ++i) c[i] = Mc[i] / M;
  addInertia(mass, com - c, inertia);
  for (const Child& fixed : childrenFixed) addInertia(fixed.mass, fixed.com - c, inertia);
  com = c;
  mass = M;
  childrenFixed.clear();
}

}  // namespace zelvik
