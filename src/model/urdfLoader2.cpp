// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <utility>
#include <zelvik/LocaleGuard.hpp>
#include <zelvik/rotation.hpp>
#include <zelvik/urdf.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "model/TreeWalk.hpp"

namespace zelvik {
namespace urdf {

namespace {

/// Connects the links along the joints, in the order of the joints' names. A link that is only
/// named by a joint comes into being here.
void connectLinks(UrdfModel& model) {
  for (const auto& [name, joint] : model.joints) {
    UrdfLink& parent = model.links[joint.parent];
    UrdfLink& child = model.links[joint.child];
    parent.name = joint.parent;
    child.name = joint.child;
    parent.childLinks.push_back(&child);
    child.parentJoint = joint;
    child.parentLink = &parent;
  }
}

const UrdfLink* findRoot(const UrdfModel& model) {
  for (const auto& [name, link] : model.links)
    if (link.parentJoint.name.empty()) return &link;
  return nullptr;
}

void setMassProperties(const UrdfLink& link, Child& child) {
  child.mass = link.mass;
  child.com.setZero();
  child.inertia.setZero();
  if (link.mass == 0.0) return;
  child.com = link.inertialPosition;
  similarityTransform(link.inertialRotation, link.inertia, child.inertia);
}

void addCollisionBodies(const UrdfLink& link, Child& child) {
  size_t index = 0;
  for (const UrdfBody& collision : link.collisions) {
    CollisionBody& body = child.collisionBodies.emplace_back();
    body.shape = collision.shape;
    body.scale = collision.scale;
    body.size = collision.shapeParam;
    body.posOffset = collision.pos;
    body.rotOffset = collision.rot;
    body.collisionBodyName = link.name + "/" + std::to_string(index++);
    body.material = collision.collisionMaterial;
    body.visualMaterial = collision.material;
    body.meshFileName = collision.fileName;
  }
}

/// The children of a link in the order of the names in `jointOrder`.
std::vector<size_t> orderOfChildren(const UrdfLink& link,
                                    const std::vector<std::string>& jointOrder) {
  std::vector<size_t> order;
  if (link.childLinks.empty()) return order;
  for (const std::string& name : jointOrder)
    for (size_t i = 0; i < link.childLinks.size(); ++i)
      if (link.childLinks[i]->parentJoint.name == name) order.push_back(i);
  return order;
}

/// The axis ends normalised in the record too; a zero axis becomes NaN.
void setJoint(UrdfJoint& joint, Child& child) {
  const double length = norm(joint.axis);
  for (size_t i = 0; i < 3; ++i) joint.axis[i] /= length;
  child.jointAxis = joint.axis;
  child.jointType = joint.type;
  child.jointRotation = joint.rot;
  child.jointPosition = joint.pos;
  child.jointLimit[0] = joint.lower;
  child.jointLimit[1] = joint.upper;
  child.effort = joint.effort;
  child.damping = joint.damping;
  child.friction = joint.friction;
  child.stiffness = joint.stiffness;
  child.rotorInertia = joint.rotorInertia;
  for (size_t i = 0; i < 4; ++i) child.springMount[i] = joint.springMount[i];
}

/// A new node below `parent`, which its subtree is then built into: only its own lists grow below
/// it. Null after a fatal message.
Child* addChild(UrdfJoint& joint, Child& parent) {
  if (joint.type == Joint::FLOATING) {
    MSG_FATAL("Floating joints are only supported at the root: '" << joint.name << "'");
    return nullptr;
  }
  Child& child = joint.type == Joint::FIXED ? parent.childrenFixed.emplace_back()
                                            : parent.childrenMovable.emplace_back();
  setJoint(joint, child);
  return &child;
}

}  // namespace

UrdfTree readUrdfTree(const std::string& pathOrText, const std::vector<std::string>& jointOrder) {
  return LoadFromURDF2().read(pathOrText, jointOrder);
}

UrdfTree LoadFromURDF2::read(const std::string& pathOrText, std::vector<std::string> jointOrder) {
  const LocaleGuard guard;
  UrdfTree tree;
  const ZelvikTinyXmlWrapper robot(pathOrText, "robot");
  if (!robot.isValid()) return tree;
  UrdfModel model;
  for (const ZelvikTinyXmlWrapper& element : robot.getChildren())
    if (!readElement(element, model, jointOrder)) return tree;
  if (jointOrder.size() != model.joints.size()) {
    MSG_FATAL("given joint names are not found in the file");
    return tree;
  }
  tree.ok = buildTree(robot, model, jointOrder, tree);
  return tree;
}

/// Of several records with one name the first stays.
bool LoadFromURDF2::readElement(const ZelvikTinyXmlWrapper& element, UrdfModel& model,
                                std::vector<std::string>& jointOrder) {
  const std::string kind = element.getName();
  if (kind == "material") {
    UrdfMaterial material;
    if (!readMaterial(element, material)) return false;
    materials_.emplace(material.name, material);
  } else if (kind == "joint") {
    UrdfJoint joint;
    if (!element.readMust("name", joint.name)) return false;
    if (std::find(jointOrder.begin(), jointOrder.end(), joint.name) == jointOrder.end())
      jointOrder.push_back(joint.name);
    if (!readJoint(element, joint)) return false;
    model.joints.emplace(joint.name, joint);
  } else if (kind == "link") {
    UrdfLink link;
    if (!readLink(element, bodyName_, link)) return false;
    model.links.emplace(link.name, std::move(link));
  }
  return true;
}

bool LoadFromURDF2::buildTree(const ZelvikTinyXmlWrapper& robot, UrdfModel& model,
                              const std::vector<std::string>& jointOrder, UrdfTree& tree) {
  connectLinks(model);
  const UrdfLink* root = findRoot(model);
  if (root == nullptr) {
    robot.errorMessage(" does not contain a link that is no child of a joint");
    return false;
  }
  tree.root.jointType = Joint::FLOATING;
  if (root->name == "world") {
    if (root->childLinks.empty()) {
      robot.errorMessage(" contains a link 'world' without children");
      return false;
    }
    placeFixedBase(model, *root, tree);
    root = root->childLinks[0];
  }
  return processLinkFromUrdf(root, tree.root, jointOrder);
}

/// The frame of the base comes from the last joint under "world", its position in the system from
/// the first; with one such joint they are the same.
void LoadFromURDF2::placeFixedBase(const UrdfModel& model, const UrdfLink& world, UrdfTree& tree) {
  tree.root.jointType = Joint::FIXED;
  for (const auto& [name, joint] : model.joints) {
    if (joint.parent != "world") continue;
    tree.root.jointPosition = joint.pos;
    tree.root.jointRotation = joint.rot;
  }
  const UrdfJoint& first = world.childLinks[0]->parentJoint;
  tree.fixedBasePosition = first.pos;
  if (first.type != Joint::FIXED)
    MSG_WARN("the joint '" << first.name << "' under the link \"world\" is treated as fixed");
}

/// Whether a step of the walk leads to a new link. Links with two parents would multiply below each
/// other: a few of them in a row make millions of bodies.
bool LoadFromURDF2::isTree(const UrdfLink& link, const UrdfLink& child) const {
  if (reached_.count(&child) == 0) return true;
  if (path_.count(&child) > 0)
    MSG_FATAL("the joints form a loop through the link '" << link.name << "'");
  else
    MSG_FATAL("the link '" << child.name << "' is the child of more than one joint");
  return false;
}

bool LoadFromURDF2::isTooLarge(const UrdfLink& link) const {
  if (depth_ <= kMaxTreeDepth && bodyCount_ <= kMaxTreeBodies) return false;
  MSG_FATAL("at the link '" << link.name << "' the tree is more than " << kMaxTreeDepth
                            << " joints deep or has more than " << kMaxTreeBodies << " bodies");
  return true;
}

void LoadFromURDF2::addVisuals(const UrdfLink& link, Child& child) {
  for (const UrdfBody& visual : link.visuals) {
    Mat<4, 1> color{{0.7, 0.7, 0.7, 1.0}};
    if (!visual.material.empty()) {
      const double* rgb = materials_[visual.material].color;
      color = {{rgb[0], rgb[1], rgb[2], 1.0}};
    }
    child.visObjects.emplace_back(visual.shape, visual.shapeParam, visual.pos, visual.rot, color,
                                  visual.scale, visual.fileName, visual.name, visual.material);
  }
}

void LoadFromURDF2::setBody(const UrdfLink& link, Child& child) {
  child.bodyName = link.name;
  if (link.parentLink != nullptr) {
    child.jointName = link.parentJoint.name;
    child.parentJointName = link.parentLink->name;
  }
  setMassProperties(link, child);
  addCollisionBodies(link, child);
  addVisuals(link, child);
}

bool LoadFromURDF2::processLinkFromUrdf(const UrdfLink* link, Child& child,
                                        const std::vector<std::string>& jointOrder) {
  ++bodyCount_;
  if (isTooLarge(*link)) return false;
  reached_.insert(link);
  path_.insert(link);
  setBody(*link, child);
  const std::vector<size_t> order = orderOfChildren(*link, jointOrder);
  for (size_t i : order) {
    if (!isTree(*link, *link->childLinks[i])) return false;
    Child* next = addChild(link->childLinks[i]->parentJoint, child);
    if (next == nullptr) return false;
    ++depth_;
    if (!processLinkFromUrdf(link->childLinks[i], *next, jointOrder)) return false;
    --depth_;
  }
  path_.erase(link);
  if (order.size() == child.childrenMovable.size() + child.childrenFixed.size()) return true;
  MSG_FATAL("URDF reader error.");
  return false;
}

}  // namespace urdf
}  // namespace zelvik
