// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <unordered_map>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/object/GeomRecord.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "articulated/TreePasses.hpp"

namespace zelvik {
namespace {

/// Contacts for which storage is made at construction.
constexpr size_t kPreallocatedContacts = 10;
/// Joint force that no joint reaches (N or N m).
constexpr double kUnlimitedForce = 1e150;

CoordinateFrame makeRootFrame(const Child& root) {
  CoordinateFrame frame;
  frame.name = root.jointName.empty() ? "ROOT" : root.jointName;
  frame.parentName = root.bodyName.empty() ? "ROOT" : root.bodyName;
  frame.orientation.setIdentity();
  frame.isChild = true;
  frame.jointType = root.jointType;
  return frame;
}

}  // namespace

/// Flattens the tree of `rootChild_` into arrays. A tree that is missing or refused is replaced by
/// a fixed base without mass, so that the system stays usable when a fatal callback comes back.
void ArticulatedSystem::init() {
  if (refuseTree()) rootChild_.assign(1, Child());
  Child& root = rootChild_[0];

  frames_.push_back(makeRootFrame(root));
  root.consumeFixedBodies(frames_);
  tree_.bodyCount = root.numberOfBodiesFromHere();
  tree_.dof = root.numberOfDOFFromHere();
  tree_.gcDim = root.numberOfGCFromHere();

  sizeArrays();
  flattenTree();
  computeCompositeMass();
  buildDofParent();
  sizeTreeMatrices();
  resolveFrames();
  placeFixedRoot();

  try {
    root.initCollisionBodies(collisionBodies_, visColObjects_, meshData_, meshVertices_,
                             meshIndices_, resourceDir_);
  } catch (...) {
    destroyCollisionBodies(nullptr);  // the destructor does not run for what was never complete
    throw;
  }
  root.initVisuals(visObjects_);
  excludeCollisionsWithinBodies();
  if (doNotCollideWithParent) excludeParentCollisions();

  for (size_t i = 0; i < tree_.bodyCount; ++i)
    if (tree_.jointType[i] == Joint::SPHERICAL) gc_[tree_.gcStart[i]] = 1.0;
  if (tree_.isFloating()) gc_[3] = 1.0;

  rootChild_.clear();
  updateKinematics();
  findInitialOverlaps();
  warnOfMotionsWithoutMass();
}

void ArticulatedSystem::sizeArrays() {
  sizeBodyArrays();
  sizeStateVectors();
  joints_.limits.assign(tree_.dof, JointLimit{});
  tree_.dofParent.assign(tree_.dof, kNone);

  massMatrix_.setZero(tree_.dof, tree_.dof);
  massInverse_.setZero(tree_.dof, tree_.dof);
  jacobianScratch_.reserve(tree_.dof);
  jointLimitProblems_.reserve(kPreallocatedContacts);
}

void ArticulatedSystem::sizeBodyArrays() {
  for (std::vector<Mat<3, 3>>* array : {&kinematics_.rotationW, &tree_.jointOrientationP,
                                        &tree_.inertiaB, &inertiaW_, &compositeInertiaW_})
    array->assign(tree_.bodyCount, Mat<3, 3>{});
  for (std::vector<Mat<3, 1>>* array :
       {&kinematics_.jointAxisW, &kinematics_.positionW, &kinematics_.comW, &compositeMassMoment_,
        &compositeComW_, &kinematics_.linearVelocityW, &kinematics_.angularVelocityW,
        &tree_.jointOffsetP, &tree_.jointAxisB, &tree_.comB})
    array->assign(tree_.bodyCount, Mat<3, 1>{});
  for (std::vector<size_t>* array :
       {&tree_.gcDimOfBody, &tree_.dofOfBody, &tree_.dofStart, &tree_.gcStart, &tree_.parent,
        &tree_.depth, &tree_.pathDof, &tree_.pathGc})
    array->assign(tree_.bodyCount, 0);
  tree_.jointType.assign(tree_.bodyCount, Joint::FIXED);
  tree_.mass.assign(tree_.bodyCount, 0.0);
  tree_.children.assign(tree_.bodyCount, {});
  bodyNames_.reserve(tree_.bodyCount);
  jointNames_.reserve(tree_.bodyCount);
}

void ArticulatedSystem::sizeStateVectors() {
  for (VecDyn* vector : {&gc_, &joints_.pTarget, &rkGc0_, &rkGc2_, &rkGc3_, &rkGc4_})
    vector->setZero(tree_.gcDim);
  for (VecDyn* vector : {&gv_,
                         &gvTemp_,
                         &gvFree_,
                         &nonlinearities_,
                         &rhs_,
                         &generalizedForce_,
                         &joints_.feedForward,
                         &generalizedMomentum_,
                         &gcRate_,
                         &positionError_,
                         &externalForceGeneralized_,
                         &joints_.damping,
                         &joints_.friction,
                         &joints_.rotorInertia,
                         &joints_.pGain,
                         &joints_.dGain,
                         &joints_.dTarget,
                         &dampedDiagonal_,
                         &dampedDiagonalRate_,
                         &rkVel1_,
                         &rkVel2_,
                         &rkVel3_,
                         &rkVel4_,
                         &rkDelta1_,
                         &rkDelta2_,
                         &rkDelta3_,
                         &rkDelta4_,
                         &joints_.forceUpperLimit,
                         &joints_.forceLowerLimit})
    vector->setZero(tree_.dof);
  std::fill_n(joints_.forceUpperLimit.v, tree_.dof, kUnlimitedForce);
  std::fill_n(joints_.forceLowerLimit.v, tree_.dof, -kUnlimitedForce);
}

/// Numbers the bodies in depth-first pre-order with an explicit stack of the nodes that have
/// further children to visit, and copies each into the arrays.
void ArticulatedSystem::flattenTree() {
  struct Branch {
    Child* node;
    size_t nextChild;
  };
  std::vector<Branch> branches;
  Child* node = &rootChild_[0];
  flattenRoot(*node);
  for (size_t i = 0;; ++i) {
    node->bodyIdx = i;
    node->registered = true;
    if (i > 0) flattenBody(*node);

    Child* above = node;
    size_t child = 0;
    if (node->childrenMovable.empty()) {
      tree_.leaves.push_back(i);
      if (branches.empty()) return;
      Branch& branch = branches.back();
      above = branch.node;
      child = branch.nextChild++;
      if (branch.nextChild == above->childrenMovable.size()) branches.pop_back();
    } else if (node->childrenMovable.size() > 1) {
      branches.push_back({node, 1});
    }
    node = &above->childrenMovable[child];
    node->parentIdx = above->bodyIdx;
  }
}

void ArticulatedSystem::flattenRoot(const Child& root) {
  const bool floating = root.jointType == Joint::FLOATING;
  tree_.parent[0] = kNone;
  tree_.depth[0] = 1;
  tree_.mass[0] = root.mass;
  bodyNames_.push_back(root.bodyName);
  tree_.inertiaB[0] = root.inertia;
  tree_.comB[0] = root.com;
  tree_.jointOffsetP[0] = root.jointPosition;
  tree_.jointAxisB[0] = root.jointAxis;
  tree_.jointType[0] = root.jointType;
  kinematics_.rotationW[0] = root.jointRotation;
  if (floating) jointNames_.push_back("ROOT");
  tree_.dofStart[0] = tree_.gcStart[0] = floating ? 0 : kNone;
  tree_.gcDimOfBody[0] = tree_.pathGc[0] = coordinateCount(root.jointType);
  tree_.dofOfBody[0] = tree_.pathDof[0] = velocityCount(root.jointType);
  lastBaseDof_ = tree_.dofOfBody[0] - 1;
}

void ArticulatedSystem::flattenBody(const Child& node) {
  const size_t i = node.bodyIdx, p = node.parentIdx;
  tree_.parent[i] = p;
  tree_.children[p].push_back(i);
  tree_.depth[i] = tree_.depth[p] + 1;
  tree_.mass[i] = node.mass;
  bodyNames_.push_back(node.bodyName);
  jointNames_.push_back(node.jointName);
  tree_.inertiaB[i] = node.inertia;
  tree_.comB[i] = node.com;
  tree_.jointOrientationP[i] = node.jointRotation;
  tree_.jointOffsetP[i] = node.jointPosition;
  tree_.jointAxisB[i] = node.jointAxis;

  tree_.jointType[i] = node.jointType;
  tree_.gcDimOfBody[i] = coordinateCount(node.jointType);
  tree_.dofOfBody[i] = velocityCount(node.jointType);
  tree_.pathGc[i] = tree_.pathGc[p] + tree_.gcDimOfBody[i];
  tree_.pathDof[i] = tree_.pathDof[p] + tree_.dofOfBody[i];
  // A fixed root has no coordinates: its starts are `kNone`, and counting begins after it.
  const bool afterFixedRoot = i == 1 && tree_.dofOfBody[0] == 0;
  tree_.gcStart[i] = afterFixedRoot ? 0 : tree_.gcStart[i - 1] + tree_.gcDimOfBody[i - 1];
  tree_.dofStart[i] = afterFixedRoot ? 0 : tree_.dofStart[i - 1] + tree_.dofOfBody[i - 1];
  if (tree_.dofOfBody[i] > 0) flattenJoint(node);
}

/// Damping, friction and limits of a spherical joint stand at its first velocity only.
void ArticulatedSystem::flattenJoint(const Child& node) {
  const size_t i = node.bodyIdx, d = tree_.dofStart[i];
  joints_.damping[d] = node.damping;
  joints_.friction[d] = node.friction;
  for (size_t k = 0; k < tree_.dofOfBody[i]; ++k) joints_.rotorInertia[d + k] = node.rotorInertia;
  joints_.limits[d] = {{node.jointLimit[0], node.jointLimit[1]}};
  if (node.effort > 0.0) {
    joints_.forceUpperLimit[d] = node.effort;
    joints_.forceLowerLimit[d] = -node.effort;
  }
  if (node.stiffness > 0.0) {
    JointSpring spring;
    spring.bodyIdx = i;
    spring.stiffness = node.stiffness;
    std::copy_n(node.springMount, 4, spring.mount);
    joints_.springs.push_back(spring);
  }
  if (node.jointType == Joint::SPHERICAL) hasSphericalJoint_ = true;
}

/// Chains the velocities of each joint in their order, and the first of them to the last one of the
/// nearest joint above that has any.
void ArticulatedSystem::buildDofParent() {
  for (size_t k = 0; k < tree_.dofOfBody[0]; ++k) tree_.dofParent[k] = k == 0 ? kNone : k - 1;
  for (size_t i = 1; i < tree_.bodyCount; ++i) {
    if (tree_.dofOfBody[i] == 0) continue;
    size_t p = tree_.parent[i];
    while (p != 0 && tree_.dofOfBody[p] == 0) p = tree_.parent[p];
    tree_.dofParent[tree_.dofStart[i]] =
        tree_.dofOfBody[p] == 0 ? kNone : tree_.dofStart[p] + tree_.dofOfBody[p] - 1;
    for (size_t k = tree_.dofStart[i] + 1; k < tree_.dofStart[i] + tree_.dofOfBody[i]; ++k)
      tree_.dofParent[k] = k - 1;
  }
}

void ArticulatedSystem::sizeTreeMatrices() {
  tree_.pattern.build(tree_.dofParent);
  massRows_.setZero(tree_.pattern.storage + TreePasses::kSpareValues);
  factor_.setPattern(tree_.pattern);
  callerFactor_.setPattern(tree_.pattern);
  passes_ = std::make_unique<TreePasses>(tree_, kinematics_);
  growContactStorage(kPreallocatedContacts);
}

/// Frames name their body; of bodies of one name the last one stands.
void ArticulatedSystem::resolveFrames() {
  std::unordered_map<std::string, size_t> bodyOfName;
  for (size_t i = 0; i < tree_.bodyCount; ++i) bodyOfName[bodyNames_[i]] = i;
  for (CoordinateFrame& frame : frames_) {
    const auto found = bodyOfName.find(frame.parentName);
    if (found != bodyOfName.end()) frame.parentId = found->second;
  }
}

void ArticulatedSystem::placeFixedRoot() {
  if (tree_.jointType[0] != Joint::FIXED) return;
  kinematics_.positionW[0] = fixedBasePosition_;
  kinematics_.comW[0] = kinematics_.positionW[0] + kinematics_.rotationW[0] * tree_.comB[0];
}

/// Shapes of one body cannot move against each other, however they overlap: a foot that was merged
/// into its shank touches it for good. They are consecutive.
void ArticulatedSystem::excludeCollisionsWithinBodies() {
  const std::vector<CollisionDefinition>& shapes = collisionBodies_;
  for (size_t first = 0, end; first < shapes.size(); first = end) {
    for (end = first + 1; end < shapes.size() && shapes[end].localIdx == shapes[first].localIdx;)
      ++end;
    for (size_t x = first; x < end; ++x)
      for (size_t y = first; y < end; ++y)
        if (x != y) geomRecord(shapes[x].colObj).ignoredGeoms.insert(shapes[y].colObj);
  }
}

/// Bodies without mass are passed over: they are links between joints that share a place.
void ArticulatedSystem::excludeParentCollisions() {
  for (size_t b = 1; b < tree_.bodyCount; ++b) {
    size_t ancestor = tree_.parent[b];
    while (ancestor != kNone && tree_.mass[ancestor] == 0.0) ancestor = tree_.parent[ancestor];
    if (ancestor != kNone) ignoreCollisionBetween(b, ancestor);
  }
}

}  // namespace zelvik
