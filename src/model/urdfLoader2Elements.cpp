// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cmath>
#include <zelvik/rotation.hpp>
#include <zelvik/urdf.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {
namespace urdf {

namespace {

using Element = ZelvikTinyXmlWrapper;

/// R = Rz(y) Ry(p) Rx(r).
void rollPitchYaw(const Mat<3, 1>& rpy, Mat<3, 3>& R) {
  const double sr = std::sin(rpy[0]), cr = std::cos(rpy[0]);
  const double sp = std::sin(rpy[1]), cp = std::cos(rpy[1]);
  const double sy = std::sin(rpy[2]), cy = std::cos(rpy[2]);
  R = {{cp * cy, cp * sy, -sp,                                    //
        sr * sp * cy - cr * sy, cr * cy + sr * sp * sy, sr * cp,  //
        sr * sy + cr * sp * cy, cr * sp * sy - sr * cy, cr * cp}};
}

/// The rotation about a horizontal axis that turns z onto the unit vector v.
void zAxisOnto(const Mat<3, 1>& v, Mat<3, 3>& R) {
  const Mat<3, 1> up{{0.0, 0.0, 1.0}};
  if (squaredNorm(v - up) < 1e-18) {
    R.setIdentity();
    return;
  }
  if (norm(v + up) < 1e-8) {
    // The half turn about x with the rounding of sin(pi): models depend on its bits.
    constexpr double residue = 1.2246467991473532e-16;
    R = {{1.0, 0.0, 0.0, 0.0, -1.0, residue, 0.0, -residue, -1.0}};
    return;
  }
  Mat<3, 1> axis{{-v[1], v[0], 0.0}};
  axis *= 1.0 / norm(axis);
  const double angle = std::acos(v[2]);
  rotationAboutAxis(axis, std::cos(angle), std::sin(angle), R);
}

bool readShape(const Element& shape, const char* first, const char* second, UrdfBody& out) {
  out.shapeParam.resize(2);
  return shape.readMust(first, out.shapeParam[0]) && shape.readMust(second, out.shapeParam[1]);
}

bool readBox(const Element& shape, UrdfBody& out) {
  Mat<3, 1> size{};
  if (!shape.readMust("size", size)) return false;
  out.shapeParam = {size[0], size[1], size[2]};
  return true;
}

bool readMesh(const Element& shape, UrdfBody& out) {
  if (!shape.readMust("filename", out.fileName)) return false;
  if (!shape.readIfPresent("scale", out.scale)) return false;
  out.shapeParam = {out.scale[0], out.scale[1], out.scale[2]};
  return true;
}

bool readSphere(const Element& shape, UrdfBody& out) {
  out.shapeParam.resize(1);
  return shape.readMust("radius", out.shapeParam[0]);
}

/// Reads an attribute of the first child called `childName`, both mandatory.
template <typename T>
bool readOfChild(const Element& parent, const char* childName, const char* attribute, T& out) {
  const std::vector<Element> children = parent.getChildrenMust(childName);
  return !children.empty() && children[0].readMust(attribute, out);
}

bool readInertial(const Element& inertial, UrdfLink& out) {
  const std::vector<Element> origin = inertial.getChildren("origin");
  if (!origin.empty() && !(getPosition(origin[0], out.inertialPosition) &&
                           getOrientation(origin[0], out.inertialRotation)))
    return false;
  const std::vector<Element> mass = inertial.getChildrenMust("mass");
  return !mass.empty() && mass[0].readIfPresent("value", out.mass) &&
         getInertia(inertial, out.inertia);
}

/// A spherical joint is limited by one angle, "lower".
bool readSphericalLimit(const Element& limit, UrdfJoint& out) {
  out.lower = 0.0;
  if (!limit.getAttributeIfExists("lower", out.lower)) {
    limit.errorMessage("Spherical joint needs the attribute \"lower\" to have a limit.");
    return false;
  }
  if (out.lower < 0.0) {
    limit.errorMessage("Spherical joint cannot have negative limit");
    return false;
  }
  return true;
}

bool readLimit(const Element& limit, UrdfJoint& out) {
  if (out.type == Joint::SPHERICAL) {
    if (!readSphericalLimit(limit, out)) return false;
  } else {
    limit.readIfPresent("lower", out.lower);
    limit.readIfPresent("upper", out.upper);
  }
  return limit.readIfPresent("effort", out.effort);
}

bool readDynamics(const Element& dynamics, UrdfJoint& out) {
  dynamics.readIfPresent("damping", out.damping);
  dynamics.readIfPresent("friction", out.friction);
  dynamics.readIfPresent("stiffness", out.stiffness);
  dynamics.readIfPresent("rotor_inertia", out.rotorInertia);
  if (out.type == Joint::SPHERICAL) return dynamics.readIfPresent("spring_mount", out.springMount);
  return dynamics.readIfPresent("spring_mount", out.springMount[0]);
}

}  // namespace

bool getJointType(const Element& joint, UrdfJoint& out) {
  static const std::map<std::string, Joint::Type> types = {
      {"revolute", Joint::REVOLUTE},   {"continuous", Joint::REVOLUTE},
      {"prismatic", Joint::PRISMATIC}, {"spherical", Joint::SPHERICAL},
      {"fixed", Joint::FIXED},         {"free", Joint::FLOATING},
      {"floating", Joint::FLOATING}};
  std::string text;
  if (!joint.readMust("type", text)) return false;
  const auto type = types.find(text);
  if (type == types.end()) {
    MSG_FATAL("currently only support revolute/prismatic/fixed joint/spherical");
    return false;
  }
  out.type = type->second;
  return true;
}

bool getPosition(const Element& element, Mat<3, 1>& out) {
  return element.readIfPresent("xyz", out);
}

bool getOrientation(const Element& element, Mat<3, 3>& out) {
  const auto has = [&](const char* name) {
    return element.isValid() && element.getElement()->Attribute(name) != nullptr;
  };
  Mat<4, 1> four{};
  Mat<3, 1> three{};
  if (has("quat")) {
    if (!element.readMust("quat", four)) return false;
    const double length = norm(four);
    for (size_t i = 0; i < 4; ++i) four[i] /= length;
    quatToRotMat(four, out);
  } else if (has("rpy")) {
    if (!element.readMust("rpy", three)) return false;
    rollPitchYaw(three, out);
  } else if (has("axisangle")) {
    if (!element.readMust("axisangle", four)) return false;
    rotationAboutAxis({{four[0], four[1], four[2]}}, std::cos(four[3]), std::sin(four[3]), out);
  } else if (has("zaxis")) {
    if (!element.readMust("zaxis", three)) return false;
    zAxisOnto(three, out);
  }
  return true;
}

bool getInertia(const Element& inertial, Mat<3, 3>& out) {
  const std::vector<Element> children = inertial.getChildren("inertia");
  if (children.empty()) return true;
  const Element& inertia = children[0];
  if (!(inertia.readMust("ixx", out(0, 0)) && inertia.readMust("iyy", out(1, 1)) &&
        inertia.readMust("izz", out(2, 2))))
    return false;
  inertia.readIfPresent("ixy", out(0, 1));
  inertia.readIfPresent("ixz", out(0, 2));
  inertia.readIfPresent("iyz", out(1, 2));
  out(1, 0) = out(0, 1);
  out(2, 0) = out(0, 2);
  out(2, 1) = out(1, 2);
  return true;
}

bool geometry2body(const Element& geometry, UrdfBody& out, const std::string& /*name*/) {
  const Element shape = geometry.getFirstChildMust();
  if (!shape.isValid()) return false;
  const std::string kind = shape.getName();
  if (kind == "box") {
    out.shape = Shape::BOX;
    return readBox(shape, out);
  }
  if (kind == "mesh") {
    out.shape = Shape::MESH;
    return readMesh(shape, out);
  }
  if (kind == "cylinder" || kind == "capsule") {
    out.shape = kind == "cylinder" ? Shape::CYLINDER : Shape::CAPSULE;
    return readShape(shape, "radius", "length", out);
  }
  if (kind == "sphere") {
    out.shape = Shape::SPHERE;
    return readSphere(shape, out);
  }
  out.shape = static_cast<Shape::Type>(6);
  shape.errorMessage(" unrecognized shape: \"" + kind + "\"");
  return false;
}

bool processBody(const Element& element, UrdfBody& out, const std::string& name) {
  const std::vector<Element> origin = element.getChildren("origin");
  if (!origin.empty() && !(getOrientation(origin[0], out.rot) && getPosition(origin[0], out.pos)))
    return false;
  const std::vector<Element> geometry = element.getChildrenMust("geometry");
  if (geometry.empty() || !geometry2body(geometry[0], out, name)) return false;

  const std::vector<Element> material = element.getChildren("material");
  out.material.clear();
  if (material.empty()) return true;
  if (!material[0].readMust("name", out.material)) return false;
  const std::vector<Element> contact = material[0].getChildren("contact");
  return contact.empty() || contact[0].readMust("name", out.collisionMaterial);
}

bool readMaterial(const Element& element, UrdfMaterial& out) {
  if (!element.readMust("name", out.name)) return false;
  // A colour has to be well-formed, but it is not kept: everything is drawn grey.
  const std::vector<Element> color = element.getChildren("color");
  Mat<4, 1> rgba{};
  return color.empty() || color[0].readMust("rgba", rgba);
}

bool readLink(const Element& element, const std::string& bodyName, UrdfLink& out) {
  if (!element.readMust("name", out.name)) return false;
  for (const Element& child : element.getChildren()) {
    const std::string kind = child.getName();
    if (kind == "inertial") {
      if (!readInertial(child, out)) return false;
    } else if (kind == "visual" || kind == "collision") {
      UrdfBody& body = (kind == "visual" ? out.visuals : out.collisions).emplace_back();
      body.name = bodyName;
      if (!processBody(child, body, bodyName)) return false;
    }
  }
  return true;
}

// The order of the reads decides which of several faults is reported.
bool readJoint(const Element& element, UrdfJoint& out) {
  if (!element.readMust("name", out.name) || !getJointType(element, out)) return false;
  if (out.type != Joint::FIXED && out.type != Joint::SPHERICAL &&
      !readOfChild(element, "axis", "xyz", out.axis))
    return false;
  if (!readOfChild(element, "parent", "link", out.parent)) return false;
  if (!readOfChild(element, "child", "link", out.child)) return false;
  const std::vector<Element> origin = element.getChildren("origin");
  if (!origin.empty() && !origin[0].readMust("xyz", out.pos)) return false;
  const std::vector<Element> limit = element.getChildren("limit");
  if (!limit.empty() && !readLimit(limit[0], out)) return false;
  if (!origin.empty() && !getOrientation(origin[0], out.rot)) return false;
  const std::vector<Element> dynamics = element.getChildren("dynamics");
  return dynamics.empty() || readDynamics(dynamics[0], out);
}

}  // namespace urdf
}  // namespace zelvik
