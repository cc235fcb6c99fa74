// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Structure.hpp"

#include <algorithm>
#include <map>

#include "Numbers.hpp"

namespace zelvik::model {

namespace {

constexpr std::size_t kDeepestTree = 2000;  // joints, as in the core (TreeWalk.hpp)

using LinkIndex = std::map<std::string, std::size_t>;

/// Index of a link; one that only a joint names comes into being here.
std::size_t linkOf(const std::string& name, const JointRecord& joint, RobotRecord& robot,
                   LinkIndex& index, Findings& findings) {
  const auto [entry, isNew] = index.try_emplace(name, robot.links.size());
  if (!isNew) return entry->second;
  std::vector<std::string> names;
  for (const LinkRecord& link : robot.links) names.push_back(link.name);
  LinkRecord& link = robot.links.emplace_back();
  link.name = name;
  const std::string meant = nearestName(name, names);
  if (name != "world")
    findings.warn("link-missing", joint.place,
                  "there is no link '" + name + "': it has neither mass nor shapes",
                  meant.empty() ? "" : "Did you mean '" + meant + "'?");
  return entry->second;
}

/// Connects links along joints; false if a link has two parents.
bool connect(RobotRecord& robot, Structure& structure, Findings& findings) {
  LinkIndex index;
  for (std::size_t i = 0; i < robot.links.size(); ++i) index[robot.links[i].name] = i;
  for (const JointRecord& joint : robot.joints) {
    structure.parentLink.push_back(linkOf(joint.parent, joint, robot, index, findings));
    structure.childLink.push_back(linkOf(joint.child, joint, robot, index, findings));
  }
  structure.parentJoint.assign(robot.links.size(), kNone);
  structure.childJoints.resize(robot.links.size());
  bool isTree = true;
  for (std::size_t j = 0; j < robot.joints.size(); ++j) {
    std::size_t& parent = structure.parentJoint[structure.childLink[j]];
    if (parent != kNone) {
      findings.error("two-parents", robot.joints[j].place,
                     "the link '" + robot.joints[j].child + "' is the child of the joint '" +
                         robot.joints[parent].name + "' already",
                     "Closed loops cannot be read.");
      isTree = false;
      continue;
    }
    parent = j;
    structure.childJoints[structure.parentLink[j]].push_back(j);
  }
  return isTree;
}

/// Links from `root` down, parents first.
std::vector<std::size_t> linksBelow(std::size_t root, const Structure& structure) {
  std::vector<std::size_t> links{root};
  for (std::size_t i = 0; i < links.size(); ++i)
    for (std::size_t joint : structure.childJoints[links[i]])
      links.push_back(structure.childLink[joint]);
  return links;
}

/// The root that carries most links, the first of equals.
void findRoot(const RobotRecord& robot, Structure& structure, Findings& findings) {
  std::vector<std::size_t> roots;
  for (std::size_t i = 0; i < robot.links.size(); ++i) {
    if (structure.parentJoint[i] != kNone) continue;
    roots.push_back(i);
    std::vector<std::size_t> links = linksBelow(i, structure);
    if (links.size() <= structure.order.size()) continue;
    structure.root = i;
    structure.order = std::move(links);
  }
  if (robot.links.empty())
    findings.error("no-links", {}, "there are no links");
  else if (roots.empty())
    findings.error("loop", {}, "every link is the child of a joint: the joints form a loop");
  for (std::size_t root : roots)
    if (root != structure.root)
      findings.warn("several-roots", robot.links[root].place,
                    "no joint leads to this link: it is left out, with all below it",
                    "The robot is what hangs from '" + robot.links[structure.root].name + "'.");
}

void noteLoops(const RobotRecord& robot, const Structure& structure, Findings& findings) {
  std::vector<bool> seen(robot.links.size(), false);
  for (std::size_t i = 0; i < robot.links.size(); ++i)
    if (structure.parentJoint[i] == kNone)
      for (std::size_t link : linksBelow(i, structure)) seen[link] = true;
  const auto lost = std::find(seen.begin(), seen.end(), false);
  if (structure.root == kNone || lost == seen.end()) return;
  const LinkRecord& link = robot.links[static_cast<std::size_t>(lost - seen.begin())];
  findings.warn("loop", link.place, "the joints above this link form a loop: it is left out");
}

bool isTooDeep(const RobotRecord& robot, const Structure& structure, Findings& findings) {
  std::vector<std::size_t> depth(robot.links.size(), 0);
  for (std::size_t link : structure.order) {
    const std::size_t joint = structure.parentJoint[link];
    if (joint == kNone) continue;
    depth[link] = depth[structure.parentLink[joint]] + 1;
    if (depth[link] <= kDeepestTree) continue;
    findings.error("too-deep", robot.links[link].place, "more than 2000 joints lead to this link");
    return true;
  }
  return false;
}

/// Joints that the caller names come first.
void sortJoints(const RobotRecord& robot, const std::vector<std::string>& wanted,
                Structure& structure, Findings& findings) {
  std::map<std::string, std::size_t> rank;
  for (const std::string& name : wanted) rank.try_emplace(name, rank.size());
  std::vector<std::string> names;
  for (const JointRecord& joint : robot.joints) names.push_back(joint.name);
  for (const std::string& name : wanted) {
    if (std::find(names.begin(), names.end(), name) != names.end()) continue;
    const std::string meant = nearestName(name, names);
    findings.error("joint-order", {}, "there is no joint '" + name + "' to be ordered",
                   meant.empty() ? "" : "Did you mean '" + meant + "'?");
  }
  const auto rankOf = [&](std::size_t joint) {
    const auto found = rank.find(robot.joints[joint].name);
    return found != rank.end() ? found->second : rank.size();
  };
  for (std::vector<std::size_t>& joints : structure.childJoints)
    std::stable_sort(joints.begin(), joints.end(),
                     [&](std::size_t a, std::size_t b) { return rankOf(a) < rankOf(b); });
}

}  // namespace

Structure findStructure(RobotRecord& robot, const Options& options, Findings& findings) {
  Structure structure;
  const bool isTree = connect(robot, structure, findings);
  findRoot(robot, structure, findings);
  if (!isTree) structure.root = kNone;
  if (structure.root == kNone) return structure;
  noteLoops(robot, structure, findings);
  sortJoints(robot, options.jointOrder, structure, findings);
  structure.order = linksBelow(structure.root, structure);
  if (isTooDeep(robot, structure, findings)) structure.root = kNone;
  return structure;
}

}  // namespace zelvik::model
