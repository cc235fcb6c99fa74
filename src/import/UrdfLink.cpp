// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>

#include "Numbers.hpp"
#include "UrdfReader.hpp"

namespace zelvik::model {

namespace {

struct ShapeName {
  const char* name;
  Shape::Type type;
};
constexpr ShapeName kShapes[] = {{"box", Shape::BOX},
                                 {"sphere", Shape::SPHERE},
                                 {"cylinder", Shape::CYLINDER},
                                 {"capsule", Shape::CAPSULE},
                                 {"mesh", Shape::MESH}};

/// A size that must be above 0.
double readSize(const TiXmlElement& element, const char* attribute, Findings& findings) {
  const double size = requireNumber(element, attribute, findings);
  if (element.Attribute(attribute) != nullptr && size <= 0.0)
    findings.error("size", placeOf(element),
                   std::string("\"") + attribute + "\" is " + numberText(size) + ", not above 0");
  return size;
}

void readBox(const TiXmlElement& element, ShapeRecord& shape, Findings& findings) {
  requireText(element, "size", findings);
  shape.size = readNumbers(element, "size", 3, findings).value_or(std::vector<double>(3, 1.0));
  if (std::any_of(shape.size.begin(), shape.size.end(), [](double x) { return x <= 0.0; }))
    findings.error("size", placeOf(element), "a size of the box is not above 0");
}

void readMesh(const TiXmlElement& element, ShapeRecord& shape, Findings& findings) {
  shape.file = requireText(element, "filename", findings);
  shape.filePlace = placeOf(element);
  // Some files give one factor for all three directions.
  const char* scale = element.Attribute("scale");
  if (scale == nullptr) return;
  const bool isOne = std::string(scale).find_first_of(" ,\t\n") == std::string::npos;
  const auto numbers = readNumbers(element, "scale", isOne ? 1 : 3, findings);
  if (!numbers.has_value()) return;
  for (std::size_t i = 0; i < 3; ++i) shape.scale[i] = isOne ? numbers->front() : (*numbers)[i];
  if (shape.scale[0] * shape.scale[1] * shape.scale[2] == 0.0)
    findings.error("size", placeOf(element), "a factor of the scale is 0");
}

void readGeometry(const TiXmlElement& geometry, ShapeRecord& shape, Findings& findings) {
  const TiXmlElement* element = geometry.FirstChildElement();
  if (element == nullptr) {
    findings.error("geometry", placeOf(geometry), "there is no shape in it");
    return;
  }
  shape.kind = element->ValueStr();
  const auto* found =
      std::find_if(std::begin(kShapes), std::end(kShapes),
                   [&](const ShapeName& known) { return shape.kind == known.name; });
  if (found == std::end(kShapes)) {
    findings.error("geometry", placeOf(*element), "<" + shape.kind + "> is no shape",
                   "Shapes are box, sphere, cylinder, capsule and mesh.");
    return;
  }
  shape.shape = found->type;
  if (shape.shape == Shape::BOX) return readBox(*element, shape, findings);
  if (shape.shape == Shape::MESH) return readMesh(*element, shape, findings);
  shape.size = {readSize(*element, "radius", findings)};
  if (shape.shape != Shape::SPHERE) shape.size.push_back(readSize(*element, "length", findings));
}

ShapeRecord readShape(const TiXmlElement& element, Findings& findings) {
  ShapeRecord shape;
  shape.place = placeOf(element);
  shape.visual = element.ValueStr() == "visual";
  shape.name = readText(element, "name");
  if (const TiXmlElement* origin = element.FirstChildElement("origin"))
    shape.pose = readPose(*origin, findings);
  const std::size_t errors = findings.report().count(Severity::ERROR);
  if (const TiXmlElement* geometry = element.FirstChildElement("geometry"))
    readGeometry(*geometry, shape, findings);
  else
    findings.error("geometry", shape.place, "there is no <geometry>");
  shape.isRead = findings.report().count(Severity::ERROR) == errors;
  if (const TiXmlElement* material = element.FirstChildElement("material")) {
    shape.material = readText(*material, "name");
    shape.inlined = readMaterial(*material, findings);
    if (const TiXmlElement* contact = material->FirstChildElement("contact"))
      shape.contactMaterial = requireText(*contact, "name", findings);
  }
  noteUnknownChildren(element, {"origin", "geometry", "material"}, findings);
  return shape;
}

void readInertia(const TiXmlElement& element, LinkRecord& link, Findings& findings) {
  const auto read = [&](const char* attribute, std::size_t i, std::size_t j) {
    const double value = i == j ? requireNumber(element, attribute, findings)
                                : readNumber(element, attribute, findings).value_or(0.0);
    link.inertia(i, j) = link.inertia(j, i) = value;
  };
  read("ixx", 0, 0);
  read("iyy", 1, 1);
  read("izz", 2, 2);
  read("ixy", 0, 1);
  read("ixz", 0, 2);
  read("iyz", 1, 2);
}

void readInertial(const TiXmlElement& element, LinkRecord& link, Findings& findings) {
  link.hasInertial = true;
  if (const TiXmlElement* origin = element.FirstChildElement("origin"))
    link.inertial = readPose(*origin, findings);
  if (const TiXmlElement* mass = element.FirstChildElement("mass"))
    link.mass = requireNumber(*mass, "value", findings);
  else
    findings.warn("mass-missing", placeOf(element), "there is no <mass>: it counts as 0");
  if (const TiXmlElement* inertia = element.FirstChildElement("inertia"))
    readInertia(*inertia, link, findings);
  noteUnknownChildren(element, {"origin", "mass", "inertia"}, findings);
}

}  // namespace

MaterialRecord readMaterial(const TiXmlElement& element, Findings& findings) {
  MaterialRecord material;
  if (const TiXmlElement* color = element.FirstChildElement("color")) {
    // Files with three numbers mean an opaque colour.
    const auto written = parseNumbers(readText(*color, "rgba"));
    const bool isOpaque = written.has_value() && written->size() == 3;
    const auto rgba = readNumbers(*color, "rgba", isOpaque ? 3 : 4, findings);
    if (rgba.has_value()) {
      material.color = Vec4{{0.0, 0.0, 0.0, 1.0}};
      for (std::size_t i = 0; i < rgba->size(); ++i)
        (*material.color)[i] = std::clamp((*rgba)[i], 0.0, 1.0);
    }
  }
  if (const TiXmlElement* texture = element.FirstChildElement("texture"))
    material.texture = readText(*texture, "filename");
  return material;
}

LinkRecord readLink(const TiXmlElement& element, Findings& findings) {
  LinkRecord link;
  link.name = requireText(element, "name", findings);
  link.place = placeOf(element);
  for (const TiXmlElement* child = element.FirstChildElement(); child != nullptr;
       child = child->NextSiblingElement()) {
    const std::string& kind = child->ValueStr();
    if (kind == "inertial") readInertial(*child, link, findings);
    if (kind == "visual" || kind == "collision") link.shapes.push_back(readShape(*child, findings));
  }
  noteUnknownChildren(element, {"inertial", "visual", "collision"}, findings);
  return link;
}

}  // namespace zelvik::model
