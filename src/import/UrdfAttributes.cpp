// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <zelvik/ZelvikTinyXmlWrapper.hpp>
#include <zelvik/urdf.hpp>

#include "Numbers.hpp"
#include "UrdfReader.hpp"

namespace zelvik::model {

namespace {

constexpr std::size_t kLongestQuote = 60;  // of text that a message repeats

std::string quoted(const std::string& text) {
  return '"' + (text.size() > kLongestQuote ? text.substr(0, kLongestQuote) + "..." : text) + '"';
}

std::string elementText(const TiXmlElement& element) {
  const char* name = element.Attribute("name");
  return element.ValueStr() + (name != nullptr ? " '" + std::string(name) + "'" : "");
}

/// The rotation that an attribute of the dialect describes, by the one reader that knows it.
Mat33 rotationOf(const std::string& attribute, const std::vector<double>& numbers) {
  std::string text = "<origin " + attribute + "=\"";
  for (double number : numbers) text += exactText(number) + " ";
  text.back() = '"';
  const ZelvikTinyXmlWrapper wrapper(text + "/>", "origin");
  Mat33 rotation = Mat33::identity();
  urdf::getOrientation(wrapper, rotation);
  return rotation;
}

}  // namespace

Place placeOf(const TiXmlElement& element) {
  Place place{element.Row(), element.Column(), elementText(element)};
  const TiXmlNode* parent = element.Parent();
  for (; parent != nullptr && parent->ToElement() != nullptr; parent = parent->Parent()) {
    if (parent->Parent() == nullptr || parent->Parent()->ToElement() == nullptr) break;  // robot
    place.element = elementText(*parent->ToElement()) + " / " + place.element;
  }
  return place;
}

std::string readText(const TiXmlElement& element, const char* attribute) {
  const char* value = element.Attribute(attribute);
  const std::string text = value != nullptr ? value : "";
  const std::size_t begin = text.find_first_not_of(" \t\r\n");
  if (begin == std::string::npos) return "";
  return text.substr(begin, text.find_last_not_of(" \t\r\n") - begin + 1);
}

std::string requireText(const TiXmlElement& element, const char* attribute, Findings& findings) {
  std::string text = readText(element, attribute);
  if (text.empty())
    findings.error("attribute-missing", placeOf(element),
                   std::string("there is no attribute \"") + attribute + "\"");
  return text;
}

std::optional<std::vector<double>> readNumbers(const TiXmlElement& element, const char* attribute,
                                               std::size_t count, Findings& findings) {
  const char* text = element.Attribute(attribute);
  if (text == nullptr) return std::nullopt;
  auto numbers = parseNumbers(text);
  if (numbers.has_value() && numbers->size() == count) return numbers;
  std::string expected = count == 1 ? "one number" : std::to_string(count) + " numbers";
  findings.error("not-a-number", placeOf(element),
                 std::string("\"") + attribute + "\" is " + quoted(text) + ", expected " +
                     std::move(expected));
  return std::nullopt;
}

std::optional<double> readNumber(const TiXmlElement& element, const char* attribute,
                                 Findings& findings) {
  const auto numbers = readNumbers(element, attribute, 1, findings);
  return numbers.has_value() ? std::optional<double>(numbers->front()) : std::nullopt;
}

double requireNumber(const TiXmlElement& element, const char* attribute, Findings& findings) {
  if (element.Attribute(attribute) == nullptr) requireText(element, attribute, findings);
  return readNumber(element, attribute, findings).value_or(0.0);
}

Pose readPose(const TiXmlElement& origin, Findings& findings) {
  Pose pose;
  if (const auto xyz = readNumbers(origin, "xyz", 3, findings))
    std::copy(xyz->begin(), xyz->end(), pose.position.v);
  for (const auto& [attribute, count] :
       {std::pair{"quat", 4}, {"rpy", 3}, {"axisangle", 4}, {"zaxis", 3}}) {
    if (origin.Attribute(attribute) == nullptr) continue;
    const auto numbers = readNumbers(origin, attribute, static_cast<std::size_t>(count), findings);
    if (!numbers.has_value()) break;
    const bool isZero =
        std::all_of(numbers->begin(), numbers->end(), [](double x) { return x == 0.0; });
    if (isZero && count == 4)
      findings.error("zero-rotation", placeOf(origin),
                     std::string("\"") + attribute + "\" is zero and no rotation");
    else
      pose.rotation = rotationOf(attribute, *numbers);
    break;
  }
  return pose;
}

void noteUnknownChildren(const TiXmlElement& element, std::initializer_list<const char*> known,
                         Findings& findings) {
  for (const TiXmlElement* child = element.FirstChildElement(); child != nullptr;
       child = child->NextSiblingElement()) {
    const std::string& name = child->ValueStr();
    if (std::find(known.begin(), known.end(), name) != known.end()) continue;
    ++findings.report().unused[name];
    const std::string meant = nearestName(name, known);
    if (!meant.empty())
      findings.warn("unknown-element", placeOf(*child), "<" + name + "> has no effect",
                    "Did you mean <" + meant + ">?");
  }
}

}  // namespace zelvik::model
