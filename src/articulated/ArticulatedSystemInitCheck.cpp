// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cstring>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "model/TreeWalk.hpp"

// Checks that are made once, when a system is constructed.

namespace zelvik {
namespace {

/// Pivot of a factorisation, as a share of the diagonal entry that it started from, below which it
/// is rounding: room for some hundred roundings of 2e-16 each.
constexpr double kLeastPivot = 1e-13;

/// Returns false after a fatal message.
bool checkJointBelowRoot(const Child& node, bool isMovable) {
  const Joint::Type type = node.jointType;
  if (type == Joint::FLOATING) {
    MSG_FATAL("Floating joints are only supported at the root. The joint '" << node.jointName
                                                                            << "' is floating");
    return false;
  }
  const bool moves = velocityCount(type) > 0;
  if (moves == isMovable && (moves || type == Joint::FIXED)) return true;
  MSG_FATAL("The joint '" << node.jointName << "' of the body '" << node.bodyName
                          << "' stands among the " << (isMovable ? "movable" : "fixed")
                          << " children and has the type " << static_cast<int>(type)
                          << (type == Joint::FIXED ? ", fixed" : ""));
  return false;
}

/// Whether the size of a tree and its joints below the root are what the algorithms can treat.
/// Returns false after a fatal message.
bool checkTree(const Child& root) {
  struct Place {
    const Child* node;
    size_t depth;
  };
  std::vector<Place> open = {{&root, 0}};
  for (size_t count = 1; !open.empty(); ++count) {
    const auto [node, depth] = open.back();
    open.pop_back();
    if (depth > kMaxTreeDepth || count > kMaxTreeBodies) {
      MSG_FATAL("at the body '" << node->bodyName << "' the tree is more than " << kMaxTreeDepth
                                << " joints deep or has more than " << kMaxTreeBodies << " bodies");
      return false;
    }
    for (const bool isMovable : {true, false})
      for (const Child& child : isMovable ? node->childrenMovable : node->childrenFixed) {
        if (!checkJointBelowRoot(child, isMovable)) return false;
        open.push_back({&child, depth + 1});
      }
  }
  return true;
}

}  // namespace

/// Whether there is no tree, or one that the algorithms cannot treat.
bool ArticulatedSystem::refuseTree() {
  if (rootChild_.empty()) return true;
  const Child& root = rootChild_[0];
  if (root.jointType != Joint::FIXED && root.jointType != Joint::FLOATING) {
    MSG_FATAL("The joint of the root must be fixed or floating. The root '"
              << root.bodyName << "' has a joint of type " << static_cast<int>(root.jointType));
    return true;
  }
  return !checkTree(root);
}

/// A motion that moves neither mass nor inertia has no acceleration: the first step makes NaN of
/// the whole state. It is the commonest fault of a robot's first file, and the NaN does not say
/// which joint is at fault. Checked in the zero pose.
void ArticulatedSystem::warnOfMotionsWithoutMass() {
  if (tree_.dof == 0) return;
  bool isFaulty = false;
  for (size_t i = 0; i < tree_.bodyCount; ++i) {
    if (tree_.dofOfBody[i] == 0 || tree_.compositeMass[i] > 0.0) continue;
    isFaulty = true;
    warnOfMotion(i, "and what it carries have no mass");
    const size_t depth = tree_.depth[i];
    while (i + 1 < tree_.bodyCount && tree_.depth[i + 1] > depth) ++i;  // what it carries
  }
  if (isFaulty) return;  // divisions by these masses spoil the matrix

  computeMassRows();
  massMatrixFormed_ = true;  // `massMatrix_` shows steps only
  // A motion that turned out to have no inertia is held, so that those above it can be seen.
  size_t last = kNone;
  for (;;) {
    const size_t k = findMotionWithoutInertia();
    if (k == kNone) return;
    size_t body = tree_.bodyCount - 1;
    while (tree_.dofOfBody[body] == 0 || tree_.dofStart[body] > k) --body;
    if (body == last) return;  // not a number
    last = body;
    const bool hasNone = !(massRows_[tree_.pattern.rowStart[k] + tree_.pattern.position[k]] > 0.0);
    warnOfMotion(body, hasNone ? "and what it carries have no inertia about their joint"
                               : "has a motion in the zero pose that moves no mass (it needs mass "
                                 "and inertia of its own)");
    for (size_t d = tree_.dofStart[body]; d < tree_.dofStart[body] + tree_.dofOfBody[body]; ++d)
      massRows_[tree_.pattern.rowStart[d] + tree_.pattern.position[d]] += tree_.compositeMass[0];
  }
}

/// `kNone`, or the velocity nearest to a leaf that meets no inertia while those below it are free:
/// where the pivot of the factorisation is rounding (`kLeastPivot`).
size_t ArticulatedSystem::findMotionWithoutInertia() {
  std::memcpy(factor_.rows(), massRows_.v, tree_.pattern.storage * sizeof(double));
  factor_.factorise();
  for (size_t k = tree_.dof; k-- > 0;) {
    const double own = massRows_[tree_.pattern.rowStart[k] + tree_.pattern.position[k]];
    if (!(factor_.pivot(k) > kLeastPivot * own)) return k;
  }
  return kNone;
}

void ArticulatedSystem::warnOfMotion(size_t bodyIdx, const char* what) const {
  const bool isFloating = tree_.jointType[bodyIdx] == Joint::FLOATING;
  MSG_WARN("the " << (isFloating ? "floating base '" : "body '") << bodyNames_[bodyIdx] << "' "
                  << what << ": the state of the robot becomes NaN");
}

}  // namespace zelvik
