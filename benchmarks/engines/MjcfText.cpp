// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "engines/MjcfText.hpp"

#include <algorithm>
#include <cmath>
#include <locale>
#include <sstream>
#include <zelvik/rotation.hpp>

#include "scenes/SceneNames.hpp"

namespace zelvik::bench {

namespace {

/// Text with numbers that read back to the same bits, whatever the locale.
class Text {
 public:
  Text() {
    out_.imbue(std::locale::classic());
    out_.precision(17);
  }
  template <typename T>
  Text& operator<<(const T& value) {
    out_ << value;
    return *this;
  }
  /// ` name="a b c"`.
  Text& list(const char* name, const double* values, size_t count) {
    out_ << ' ' << name << "=\"";
    for (size_t i = 0; i < count; ++i) out_ << (i > 0 ? " " : "") << values[i];
    out_ << '"';
    return *this;
  }
  Text& value(const char* name, double number) { return list(name, &number, 1); }
  std::string str() const { return out_.str(); }

 private:
  std::ostringstream out_;
};

void writePose(Text& out, const Vec3& position, const Mat33& rotation) {
  Vec4 quaternion;
  rotMatToQuat(rotation, quaternion);
  out.list("pos", position.v, 3).list("quat", quaternion.v, 4);
}

/// MJCF sizes are half lengths; those of round shapes are radius, then half length.
void writeSize(Text& out, ShapeKind kind, const Vec3& size) {
  static const char* const kTypes[] = {"sphere", "box", "capsule", "cylinder"};
  out << " type=\"" << kTypes[static_cast<int>(kind)] << "\"";
  const bool box = kind == ShapeKind::BOX;
  const double half[3] = {box ? 0.5 * size[0] : size[0], 0.5 * size[1], 0.5 * size[2]};
  out.list("size", half, kind == ShapeKind::SPHERE ? 1 : box ? 3 : 2);
}

void writeOptions(Text& out, const NeutralScene& scene, const Setting& setting) {
  static const std::pair<const char*, const char*> kPlain[] = {
      {"cone", "elliptic"}, {"integrator", "Euler"}, {"solver", "Newton"}};
  out << "<option";
  out.value("timestep", scene.dt).list("gravity", scene.gravity.v, 3);
  for (const auto& [name, fallback] : kPlain)
    out << ' ' << name << "=\"" << setting.word(name, fallback) << '"';
  out.value("iterations", setting.number("iterations", 100))
      .value("tolerance", setting.number("tolerance", 1e-8))
      .value("impratio", setting.number("impratio", 1))
      .value("noslip_iterations", setting.number("noslip", 0));
  out << "/>\n";
}

/// The buffers of this engine have fixed sizes: large enough for the piles.
void writeSizes(Text& out, const NeutralScene& scene) {
  const size_t dof = 6 * scene.bodies.size() + 100, contacts = 2 * scene.bodies.size() + 800;
  out << "<size nconmax=\"" << contacts << "\" njmax=\"" << 4 * contacts << "\" nstack=\""
      << 4 * dof * dof + 2000 * contacts << "\"/>\n";
}

void writeDefaults(Text& out, const NeutralScene& scene, const Setting& setting) {
  const double friction[3] = {scene.friction, 0.005, 0.0001};
  const double timeConstant = setting.number("timeconst", 0.02);
  // A negative pair is stiffness and damping: without damping the contact is elastic.
  const double solref[2] = {scene.restitution > 0.0 ? -1e5 : timeConstant,
                            scene.restitution > 0.0 ? 0.0 : 1.0};
  const double dmax = setting.number("dmax", 0.95);
  const double solimp[3] = {std::min(0.9, dmax), dmax, 0.001};
  out << "<default><geom condim=\"3\"";
  out.list("friction", friction, 3).list("solref", solref, 2).list("solimp", solimp, 3);
  out << "/></default>\n";
}

void writeGround(Text& out, const NeutralScene& scene) {
  const scenes::TerrainGrid& t = scene.terrain;
  if (t.samples > 0) {
    const double low = *std::min_element(t.heights.begin(), t.heights.end());
    out << "<geom name=\"ground\" type=\"hfield\" hfield=\"terrain\"";
    const Vec3 position{{0.0, 0.0, low}};
    out.list("pos", position.v, 3) << "/>\n";
  } else if (scene.hasGround) {
    out << "<geom name=\"ground\" type=\"plane\" size=\"0 0 1\"/>\n";
  }
}

void writeTerrainAsset(Text& out, const scenes::TerrainGrid& t) {
  if (t.samples == 0) return;
  const auto [low, high] = std::minmax_element(t.heights.begin(), t.heights.end());
  const double size[4] = {0.5 * t.size, 0.5 * t.size, *high - *low, 1.0};
  out << "<asset><hfield name=\"terrain\" nrow=\"" << t.samples << "\" ncol=\"" << t.samples << '"';
  out.list("size", size, 4) << "/></asset>\n";
}

void writeFreeBody(Text& out, const FreeBody& body) {
  out << "<body";
  out.list("pos", body.position.v, 3).list("quat", body.quaternion.v, 4) << "><freejoint/>";
  out << "<inertial pos=\"0 0 0\"";
  const Vec3 moments = momentsOf(body);
  out.value("mass", body.mass).list("diaginertia", moments.v, 3) << "/><geom";
  writeSize(out, body.shape, body.size);
  out << "/></body>\n";
}

void writeInertial(Text& out, const ModelBody& body) {
  const Mat33& I = body.inertia;
  const double full[6] = {I(0, 0), I(1, 1), I(2, 2), I(0, 1), I(0, 2), I(1, 2)};
  out << "<inertial";
  out.list("pos", body.com.v, 3).value("mass", body.mass).list("fullinertia", full, 6) << "/>\n";
}

void writeJoint(Text& out, const ModelBody& body, const RobotSetup& robot) {
  if (body.joint == Joint::FLOATING) {
    out << "<freejoint/>\n";
    return;
  }
  const bool ball = body.joint == Joint::SPHERICAL;
  const size_t k = body.firstVelocity;
  out << "<joint name=\"" << body.name << "\" type=\""
      << (ball                             ? "ball"
          : body.joint == Joint::PRISMATIC ? "slide"
                                           : "hinge")
      << '"';
  if (!ball) out.list("axis", body.axis.v, 3);
  out.value("armature", body.rotorInertia)
      .value("damping", body.damping + (robot.holdsPose ? robot.dGain[k] : 0.0));
  if (ball && robot.holdsPose) out.value("stiffness", robot.pGain[k]);
  const double limits[2] = {ball ? 0.0 : body.lower, ball ? body.lower : body.upper};
  if (limits[0] < limits[1]) out.list("range", limits, 2) << " limited=\"true\"";
  out << "/>\n";
}

void writeShape(Text& out, const ModelShape& shape, bool collides) {
  out << "<geom";
  writePose(out, shape.position, shape.rotation);
  writeSize(out, shape.kind, shape.size);
  out << (collides ? "/>\n" : " contype=\"0\" conaffinity=\"0\"/>\n");
}

void writeBranch(Text& out, const std::vector<ModelBody>& model, size_t i,
                 const RobotSetup& robot) {
  const ModelBody& body = model[i];
  out << "<body name=\"" << body.name << '"';
  writePose(out, body.position, body.rotation);
  out << ">\n";
  writeInertial(out, body);
  writeJoint(out, body, robot);
  for (const ModelShape& shape : body.shapes) writeShape(out, shape, robot.collides);
  for (size_t child = i + 1; child < model.size(); ++child)
    if (model[child].parent == static_cast<int>(i)) writeBranch(out, model, child, robot);
  out << "</body>\n";
}

void writeActuators(Text& out, const std::vector<ModelBody>& model, const RobotSetup& robot) {
  if (!robot.holdsPose) return;
  out << "<actuator>\n";
  for (const ModelBody& body : model) {
    if (body.joint == Joint::FLOATING || body.joint == Joint::SPHERICAL) continue;
    out << "<position joint=\"" << body.name << '"';
    out.value("kp", robot.pGain[body.firstVelocity]);
    const double range[2] = {-body.effort, body.effort};
    if (std::isfinite(body.effort) && body.effort < 1e10)
      out.list("forcerange", range, 2) << " forcelimited=\"true\"";
    out << "/>\n";
  }
  out << "</actuator>\n";
}

}  // namespace

std::string mjcfText(const NeutralScene& scene, const Setting& setting) {
  Text out;
  out << "<mujoco>\n<compiler angle=\"radian\"/>\n";
  writeSizes(out, scene);
  writeOptions(out, scene, setting);
  writeDefaults(out, scene, setting);
  writeTerrainAsset(out, scene.terrain);
  out << "<worldbody>\n";
  writeGround(out, scene);
  std::vector<ModelBody> model;
  for (const RobotSetup& robot : scene.robots) {
    model = flatModel(robot);
    writeBranch(out, model, 0, robot);
  }
  for (const FreeBody& body : scene.bodies) writeFreeBody(out, body);
  out << "</worldbody>\n";
  for (const RobotSetup& robot : scene.robots) writeActuators(out, model, robot);
  out << "</mujoco>\n";
  return out.str();
}

}  // namespace zelvik::bench
