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
  bodyCount_ = root.numberOfBodiesFromHere();
  dof_ = root.numberOfDOFFromHere();
  gcDim_ = root.numberOfGCFromHere();

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

  for (size_t i = 0; i < bodyCount_; ++i)
    if (jointType_[i] == Joint::SPHERICAL) gc_[gcStart_[i]] = 1.0;
  if (jointType_[0] == Joint::FLOATING) gc_[3] = 1.0;

  rootChild_.clear();
  updateKinematics();
  findInitialOverlaps();
  warnOfMotionsWithoutMass();
}

void ArticulatedSystem::sizeArrays() {
  sizeBodyArrays();
  sizeStateVectors();
  jointLimits_.assign(dof_, JointLimit{});
  dofParent_.assign(dof_, kNone);

  massMatrix_.setZero(dof_, dof_);
  massInverse_.setZero(dof_, dof_);
  jacobianScratch_.reserve(dof_);
  jointLimitProblems_.reserve(kPreallocatedContacts);
}

void ArticulatedSystem::sizeBodyArrays() {
  for (std::vector<Mat<3, 3>>* array :
       {&rotationW_, &jointOrientationP_, &inertiaB_, &inertiaW_, &compositeInertiaW_})
    array->assign(bodyCount_, Mat<3, 3>{});
  for (std::vector<Mat<3, 1>>* array :
       {&jointAxisW_, &positionW_, &comW_, &compositeMassMoment_, &compositeComW_,
        &linearVelocityW_, &angularVelocityW_, &jointOffsetP_, &jointAxisB_, &comB_})
    array->assign(bodyCount_, Mat<3, 1>{});
  for (std::vector<size_t>* array :
       {&gcDimOfBody_, &dofOfBody_, &dofStart_, &gcStart_, &parent_, &depth_, &pathDof_, &pathGc_})
    array->assign(bodyCount_, 0);
  jointType_.assign(bodyCount_, Joint::FIXED);
  mass_.assign(bodyCount_, 0.0);
  children_.assign(bodyCount_, {});
  bodyNames_.reserve(bodyCount_);
  jointNames_.reserve(bodyCount_);
}

void ArticulatedSystem::sizeStateVectors() {
  for (VecDyn* vector : {&gc_, &pTarget_, &rkGc0_, &rkGc2_, &rkGc3_, &rkGc4_})
    vector->setZero(gcDim_);
  for (VecDyn* vector : {&gv_,
                         &gvTemp_,
                         &gvFree_,
                         &nonlinearities_,
                         &rhs_,
                         &generalizedForce_,
                         &generalizedForceFeedForward_,
                         &generalizedMomentum_,
                         &gcRate_,
                         &positionError_,
                         &externalForceGeneralized_,
                         &jointDamping_,
                         &jointFriction_,
                         &rotorInertia_,
                         &pGain_,
                         &dGain_,
                         &dTarget_,
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
                         &forceUpperLimit_,
                         &forceLowerLimit_})
    vector->setZero(dof_);
  std::fill_n(forceUpperLimit_.v, dof_, kUnlimitedForce);
  std::fill_n(forceLowerLimit_.v, dof_, -kUnlimitedForce);
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
      leaves_.push_back(i);
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
  parent_[0] = kNone;
  depth_[0] = 1;
  mass_[0] = root.mass;
  bodyNames_.push_back(root.bodyName);
  inertiaB_[0] = root.inertia;
  comB_[0] = root.com;
  jointOffsetP_[0] = root.jointPosition;
  jointAxisB_[0] = root.jointAxis;
  jointType_[0] = root.jointType;
  rotationW_[0] = root.jointRotation;
  if (floating) jointNames_.push_back("ROOT");
  dofStart_[0] = gcStart_[0] = floating ? 0 : kNone;
  gcDimOfBody_[0] = pathGc_[0] = coordinateCount(root.jointType);
  dofOfBody_[0] = pathDof_[0] = velocityCount(root.jointType);
  lastBaseDof_ = dofOfBody_[0] - 1;
}

void ArticulatedSystem::flattenBody(const Child& node) {
  const size_t i = node.bodyIdx, p = node.parentIdx;
  parent_[i] = p;
  children_[p].push_back(i);
  depth_[i] = depth_[p] + 1;
  mass_[i] = node.mass;
  bodyNames_.push_back(node.bodyName);
  jointNames_.push_back(node.jointName);
  inertiaB_[i] = node.inertia;
  comB_[i] = node.com;
  jointOrientationP_[i] = node.jointRotation;
  jointOffsetP_[i] = node.jointPosition;
  jointAxisB_[i] = node.jointAxis;

  jointType_[i] = node.jointType;
  gcDimOfBody_[i] = coordinateCount(node.jointType);
  dofOfBody_[i] = velocityCount(node.jointType);
  pathGc_[i] = pathGc_[p] + gcDimOfBody_[i];
  pathDof_[i] = pathDof_[p] + dofOfBody_[i];
  // A fixed root owns nothing, and its starts are no numbers to count on from.
  const bool afterFixedRoot = i == 1 && dofOfBody_[0] == 0;
  gcStart_[i] = afterFixedRoot ? 0 : gcStart_[i - 1] + gcDimOfBody_[i - 1];
  dofStart_[i] = afterFixedRoot ? 0 : dofStart_[i - 1] + dofOfBody_[i - 1];
  if (dofOfBody_[i] > 0) flattenJoint(node);
}

/// Damping, friction and limits of a spherical joint stand at its first velocity only.
void ArticulatedSystem::flattenJoint(const Child& node) {
  const size_t i = node.bodyIdx, d = dofStart_[i];
  jointDamping_[d] = node.damping;
  jointFriction_[d] = node.friction;
  for (size_t k = 0; k < dofOfBody_[i]; ++k) rotorInertia_[d + k] = node.rotorInertia;
  jointLimits_[d] = {{node.jointLimit[0], node.jointLimit[1]}};
  if (node.effort > 0.0) {
    forceUpperLimit_[d] = node.effort;
    forceLowerLimit_[d] = -node.effort;
  }
  if (node.stiffness > 0.0) {
    JointSpring spring;
    spring.bodyIdx = i;
    spring.stiffness = node.stiffness;
    std::copy_n(node.springMount, 4, spring.mount);
    springs_.push_back(spring);
  }
  if (node.jointType == Joint::SPHERICAL) hasSphericalJoint_ = true;
}

/// Chains the velocities of each joint one after another, and the first of them to the last one of
/// the nearest joint above that has any.
void ArticulatedSystem::buildDofParent() {
  for (size_t k = 0; k < dofOfBody_[0]; ++k) dofParent_[k] = k == 0 ? kNone : k - 1;
  for (size_t i = 1; i < bodyCount_; ++i) {
    if (dofOfBody_[i] == 0) continue;
    size_t p = parent_[i];
    while (p != 0 && dofOfBody_[p] == 0) p = parent_[p];
    dofParent_[dofStart_[i]] = dofOfBody_[p] == 0 ? kNone : dofStart_[p] + dofOfBody_[p] - 1;
    for (size_t k = dofStart_[i] + 1; k < dofStart_[i] + dofOfBody_[i]; ++k) dofParent_[k] = k - 1;
  }
}

void ArticulatedSystem::sizeTreeMatrices() {
  pattern_.build(dofParent_);
  massRows_.setZero(pattern_.storage + TreePasses::kSpareValues);
  factor_.setPattern(pattern_);
  callerFactor_.setPattern(pattern_);
  passes_ = std::make_unique<TreePasses>(*this);
  growContactStorage(kPreallocatedContacts);
}

/// Frames name their body; of bodies of one name the last one stands.
void ArticulatedSystem::resolveFrames() {
  std::unordered_map<std::string, size_t> bodyOfName;
  for (size_t i = 0; i < bodyCount_; ++i) bodyOfName[bodyNames_[i]] = i;
  for (CoordinateFrame& frame : frames_) {
    const auto found = bodyOfName.find(frame.parentName);
    if (found != bodyOfName.end()) frame.parentId = found->second;
  }
}

void ArticulatedSystem::placeFixedRoot() {
  if (jointType_[0] != Joint::FIXED) return;
  positionW_[0] = fixedBasePosition_;
  comW_[0] = positionW_[0] + rotationW_[0] * comB_[0];
}

/// Shapes of one body cannot move against each other, however they overlap: a foot that was merged
/// into its shank touches it for good. They stand one behind the other.
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
  for (size_t b = 1; b < bodyCount_; ++b) {
    size_t ancestor = parent_[b];
    while (ancestor != kNone && mass_[ancestor] == 0.0) ancestor = parent_[ancestor];
    if (ancestor != kNone) ignoreCollisionBetween(b, ancestor);
  }
}

}  // namespace zelvik
