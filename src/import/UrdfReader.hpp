// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <tinyxml.h>

#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "Findings.hpp"
#include "RobotRecord.hpp"

namespace zelvik::model {

/// Reads the document into records. It goes on after a fault, so that one run tells them all; what
/// cannot be read keeps its default.
RobotRecord readRecords(const TiXmlElement& robot, Findings& findings);

// ---- one element each ----

LinkRecord readLink(const TiXmlElement& element, Findings& findings);
JointRecord readJoint(const TiXmlElement& element, Findings& findings);
MaterialRecord readMaterial(const TiXmlElement& element, Findings& findings);
/// "xyz" and the first of "quat", "rpy", "axisangle", "zaxis".
Pose readPose(const TiXmlElement& origin, Findings& findings);

// ---- attributes ----

/// Line, column and the names from the link or joint down.
Place placeOf(const TiXmlElement& element);
/// Text without blanks around it; empty if there is none.
std::string readText(const TiXmlElement& element, const char* attribute);
/// As `readText`; none or an empty one is an error.
std::string requireText(const TiXmlElement& element, const char* attribute, Findings& findings);
/// `count` numbers; no value without the attribute, and after an error.
std::optional<std::vector<double>> readNumbers(const TiXmlElement& element, const char* attribute,
                                               std::size_t count, Findings& findings);
std::optional<double> readNumber(const TiXmlElement& element, const char* attribute,
                                 Findings& findings);
/// As `readNumber`; none is an error, and then the result is 0.
double requireNumber(const TiXmlElement& element, const char* attribute, Findings& findings);

/// Lists child elements that are not known as unused, and names the one that was probably meant.
void noteUnknownChildren(const TiXmlElement& element, std::initializer_list<const char*> known,
                         Findings& findings);

}  // namespace zelvik::model
