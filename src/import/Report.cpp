// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>
#include <zelvik/model/Report.hpp>

#include "Findings.hpp"

namespace zelvik::model {

namespace {

using Json = nlohmann::json;

Json toJson(const Vec3& v) {
  return {v[0], v[1], v[2]};
}

Json toJson(const Finding& finding) {
  return {{"severity", severityName(finding.severity)},
          {"code", finding.code},
          {"file", finding.file},
          {"line", finding.line},
          {"column", finding.column},
          {"element", finding.element},
          {"message", finding.message},
          {"advice", finding.advice}};
}

Json toJson(const LinkEntry& link) {
  return {{"name", link.name}, {"line", link.line}, {"mass", link.mass}, {"became", link.became}};
}

Json toJson(const JointEntry& joint) {
  return {{"name", joint.name},    {"line", joint.line},   {"type", joint.type},
          {"lower", joint.lower},  {"upper", joint.upper}, {"effort", joint.effort},
          {"became", joint.became}};
}

Json toJson(const ShapeEntry& shape) {
  return {{"link", shape.link},  {"line", shape.line}, {"visual", shape.visual},
          {"kind", shape.kind},  {"file", shape.file}, {"became", shape.became},
          {"error", shape.error}};
}

Json toJson(const MeshEntry& mesh) {
  return {{"name", mesh.name},           {"path", mesh.path},
          {"triangles", mesh.triangles}, {"parts", mesh.parts},
          {"corners", mesh.corners},     {"degenerate", mesh.degenerate},
          {"openEdges", mesh.openEdges}, {"crowdedEdges", mesh.crowdedEdges},
          {"lower", toJson(mesh.lower)}, {"upper", toJson(mesh.upper)},
          {"fromCache", mesh.fromCache}};
}

template <typename Entry>
Json listOf(const std::vector<Entry>& entries) {
  Json list = Json::array();
  for (const Entry& entry : entries) list.push_back(toJson(entry));
  return list;
}

std::string rangeText(const JointEntry& joint) {
  if (!(joint.lower < joint.upper)) return "";
  return " from " + numberText(joint.lower) + " to " + numberText(joint.upper);
}

void print(const Report& report, std::ostream& out) {
  out << "robot '" << report.robot << "'" << (report.file.empty() ? "" : " of ") << report.file
      << ": " << report.count(Severity::ERROR) << " errors, " << report.count(Severity::WARNING)
      << " warnings, " << report.count(Severity::NOTE) << " notes\n";
  for (const Finding& finding : report.findings) out << findingText(finding) << "\n";
  out << "\nbase " << report.base << ", " << report.bodies << " bodies, " << report.velocities
      << " degrees of freedom, mass " << numberText(report.mass) << " kg, centre of mass at ("
      << numberText(report.com[0]) << ", " << numberText(report.com[1]) << ", "
      << numberText(report.com[2]) << ") m\n";
  for (const LinkEntry& link : report.links)
    out << "link '" << link.name << "', " << numberText(link.mass) << " kg: " << link.became
        << "\n";
  for (const JointEntry& joint : report.joints)
    out << "joint '" << joint.name << "', " << joint.type << ": " << joint.became
        << rangeText(joint) << "\n";
  for (const ShapeEntry& shape : report.shapes) {
    out << (shape.visual ? "visual" : "collision") << " of '" << shape.link << "', " << shape.kind
        << (shape.file.empty() ? "" : " " + shape.file) << ": " << shape.became;
    if (shape.error > 0.0) out << ", off by up to " << numberText(shape.error) << " m";
    out << "\n";
  }
  for (const auto& [name, count] : report.unused)
    out << "not used: <" << name << ">, " << count << " times\n";
}

}  // namespace

const char* severityName(Severity severity) {
  static constexpr const char* names[] = {"note", "warning", "error"};
  return names[static_cast<int>(severity)];
}

std::string findingText(const Finding& finding) {
  std::string text = finding.file;
  if (finding.line > 0)
    text += (text.empty() ? "line " : ":") + std::to_string(finding.line) + ":" +
            std::to_string(finding.column);
  text += (text.empty() ? "" : ": ") + std::string(severityName(finding.severity)) + ": ";
  if (!finding.element.empty()) text += finding.element + ": ";
  text += finding.message;
  if (!finding.advice.empty()) text += ". " + finding.advice;
  return text;
}

std::size_t Report::count(Severity severity) const {
  return static_cast<std::size_t>(
      std::count_if(findings.begin(), findings.end(),
                    [&](const Finding& finding) { return finding.severity == severity; }));
}

std::string Report::text() const {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  print(*this, out);
  return out.str();
}

std::string Report::json() const {
  const Json json = {{"robot", robot},
                     {"file", file},
                     {"ok", ok()},
                     {"base", base},
                     {"mass", mass},
                     {"com", toJson(com)},
                     {"bodies", bodies},
                     {"velocities", velocities},
                     {"findings", listOf(findings)},
                     {"links", listOf(links)},
                     {"joints", listOf(joints)},
                     {"shapes", listOf(shapes)},
                     {"meshes", listOf(meshes)},
                     {"unused", unused}};
  // Names that are no UTF-8 are shown as well as they can be.
  return json.dump(1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace zelvik::model
