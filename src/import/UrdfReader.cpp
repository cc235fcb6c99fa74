// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "UrdfReader.hpp"

#include <set>
#include <zelvik/LocaleGuard.hpp>

namespace zelvik::model {

namespace {

/// Of several records with one name the first stays. Records without a name have been complained
/// about.
template <typename Record>
void append(Record record, std::vector<Record>& list, std::set<std::string>& names,
            const char* kind, Findings& findings) {
  if (record.name.empty()) return;
  if (names.insert(record.name).second)
    list.push_back(std::move(record));
  else
    findings.warn("duplicate-name", record.place,
                  std::string("there is another ") + kind + " of this name: this one is left out",
                  "Rename one of them.");
}

}  // namespace

RobotRecord readRecords(const TiXmlElement& robot, Findings& findings) {
  const LocaleGuard guard;
  RobotRecord record;
  record.name = readText(robot, "name");
  std::set<std::string> links, joints;
  for (const TiXmlElement* child = robot.FirstChildElement(); child != nullptr;
       child = child->NextSiblingElement()) {
    const std::string& kind = child->ValueStr();
    if (kind == "link") append(readLink(*child, findings), record.links, links, "link", findings);
    if (kind == "joint")
      append(readJoint(*child, findings), record.joints, joints, "joint", findings);
    if (kind == "material")
      record.materials.emplace(requireText(*child, "name", findings),
                               readMaterial(*child, findings));
  }
  noteUnknownChildren(robot, {"link", "joint", "material"}, findings);
  return record;
}

}  // namespace zelvik::model
