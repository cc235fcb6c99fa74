// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cmath>
#include <zelvik/model/Robot.hpp>
#include <zelvik/rotation.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "Checks.hpp"
#include "FileFinder.hpp"
#include "Numbers.hpp"
#include "Overlaps.hpp"
#include "Source.hpp"
#include "Structure.hpp"
#include "TreeBuilder.hpp"
#include "UrdfReader.hpp"

namespace zelvik::model {

namespace {

/// False after an error: the numbers end up in places that only finite ones may reach.
bool checkOptions(const Options& options, Findings& findings) {
  const double orientation = norm(options.baseOrientation);
  if (!(std::abs(orientation - 1.0) < 1e-6))
    findings.error("option", {}, "baseOrientation is no unit quaternion");
  if (!std::isfinite(norm(options.basePosition)))
    findings.error("option", {}, "basePosition is not finite");
  for (double value : {options.damping, options.armature})
    if (!(value >= 0.0) || !std::isfinite(value))
      findings.error("option", {}, "damping and armature are at least 0, not " + numberText(value));
  if (options.largestHull < 4)
    findings.error("option", {},
                   "largestHull is " + std::to_string(options.largestHull) +
                       ", and a hull has 4 corners or more");
  return findings.report().ok();
}

bool hasOneCoordinate(const JointRecord& joint) {
  return joint.kind == JointKind::REVOLUTE || joint.kind == JointKind::CONTINUOUS ||
         joint.kind == JointKind::PRISMATIC;
}

/// Coordinates that are not 0 to begin with.
void setJointPositions(const RobotRecord& robot, const Options& options, Model& model,
                       Findings& findings) {
  std::vector<std::string> names;
  for (const JointRecord& joint : robot.joints) {
    if (!hasOneCoordinate(joint)) continue;
    names.push_back(joint.name);
    if (joint.lower.value_or(0.0) > 0.0) model.jointPositions[joint.name] = *joint.lower;
    if (joint.upper.value_or(0.0) < 0.0) model.jointPositions[joint.name] = *joint.upper;
  }
  for (const auto& [name, position] : options.jointPositions) {
    const std::string meant = nearestName(name, names);
    if (std::find(names.begin(), names.end(), name) == names.end())
      findings.error("option", {}, "jointPositions: there is no joint '" + name + "'",
                     meant.empty() ? "" : "Did you mean '" + meant + "'?");
    else if (!std::isfinite(position))
      findings.error("option", {}, "jointPositions: that of '" + name + "' is not finite");
    model.jointPositions[name] = position;
  }
}

void build(const Source& source, const Options& options, Model& model, Findings& findings) {
  RobotRecord robot = readRecords(*source.document.RootElement(), findings);
  model.name = model.report.robot = robot.name;
  Structure structure = findStructure(robot, options, findings);
  if (structure.root == kNone) return;
  checkLinks(robot, findings);
  checkJoints(robot, findings);
  mendMassless(robot, structure, findings);
  const Base base = chooseBase(robot, structure, options, findings);
  model.basePosition = base.pose.position;
  rotMatToQuat(base.pose.rotation, model.baseOrientation);
  setJointPositions(robot, options, model, findings);
  computeNumbers(robot, structure, base, model.report);

  const FileFinder finder(source.directory, options);
  ShapeBuilder shapes(robot, finder, options, findings);
  model.root = TreeBuilder(robot, structure, options, shapes, findings).build(base);
  model.meshDirectory = shapes.directory();
}

void makeStrict(Report& report) {
  for (Finding& finding : report.findings)
    if (finding.severity == Severity::WARNING) finding.severity = Severity::ERROR;
}

/// Writes the coordinates of single joints and of a floating base.
void setInitialPose(const Model& model, ArticulatedSystem& system) {
  VecDyn gc = system.getGeneralizedCoordinate();
  const bool floats = system.getJointType(0) == Joint::FLOATING;
  if (floats) {
    for (std::size_t i = 0; i < 3; ++i) gc[i] = model.basePosition[i];
    for (std::size_t i = 0; i < 4; ++i) gc[3 + i] = model.baseOrientation[i];
  }
  const std::vector<std::string>& names = system.getJointNames();
  std::size_t coordinate = floats ? 7 : 0;
  for (std::size_t body = 1; body < system.getBodyCount(); ++body) {
    const std::size_t count = coordinateCount(system.getJointType(body));
    const auto found = model.jointPositions.find(names[floats ? body : body - 1]);
    if (found != model.jointPositions.end() && count == 1) gc[coordinate] = found->second;
    coordinate += count;
  }
  system.setGeneralizedCoordinate(gc);
}

void printWarnings(const Report& report) {
  for (const Finding& finding : report.findings)
    if (finding.severity == Severity::WARNING) MSG_WARN(findingText(finding));
}

/// Pairs that were made to pass each other: in the report, or else in one warning.
void noteOverlaps(const Model& model, const ArticulatedSystem& system, Report* report) {
  constexpr std::size_t named = 5;  // of a list that nobody asked for
  const std::vector<std::string> pairs = ignoredOverlaps(system);
  if (report != nullptr) {
    Findings findings(*report, report->file);
    for (const std::string& pair : pairs)
      findings.note("overlap", {},
                    "the shapes " + pair + " overlap with all joints at 0: they ignore each other");
  } else if (!pairs.empty()) {
    std::string list;
    for (std::size_t i = 0; i < std::min(pairs.size(), named); ++i)
      list += (i == 0 ? "" : ", ") + pairs[i];
    if (pairs.size() > named) list += " and " + std::to_string(pairs.size() - named) + " more";
    MSG_WARN("shapes of the robot '" << model.name << "' overlap with all joints at 0 and ignore "
                                     << "each other: " << list);
  }
}

std::string errorsOf(const Report& report) {
  std::string text;
  for (const Finding& finding : report.findings)
    if (finding.severity == Severity::ERROR) text += "\n  " + findingText(finding);
  return text;
}

}  // namespace

Model readRobot(const std::string& fileOrText, const Options& options) {
  Model model;
  if (!isText(fileOrText)) model.report.file = fileOrText;
  Findings findings(model.report, model.report.file);
  Source source;
  if (checkOptions(options, findings) && readSource(fileOrText, source, findings))
    build(source, options, model, findings);
  if (options.strict) makeStrict(model.report);
  if (!model.ok()) model.root = Child();
  return model;
}

ArticulatedSystem* addRobot(World& world, const Model& model, const Options& options,
                            Report* report) {
  if (report != nullptr) *report = model.report;
  if (!model.ok()) {
    MSG_FATAL("the robot '" << model.name << "' cannot be loaded:" << errorsOf(model.report));
    return nullptr;
  }
  ArticulatedSystemOption systemOption;
  systemOption.ignoreInitialOverlaps = options.ignoreInitialOverlaps;
  ArticulatedSystem* system = world.addArticulatedSystem(
      model.root, model.meshDirectory, options.collisionGroup, options.collisionMask, systemOption);
  if (system == nullptr) return nullptr;
  system->setName(model.name);
  setInitialPose(model, *system);
  noteOverlaps(model, *system, report);
  return system;
}

ArticulatedSystem* addRobot(World& world, const std::string& fileOrText, const Options& options,
                            Report* report) {
  const Model model = readRobot(fileOrText, options);
  if (report == nullptr) printWarnings(model.report);
  return addRobot(world, model, options, report);
}

}  // namespace zelvik::model
