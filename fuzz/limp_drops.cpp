// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
//
// Robots whose shapes overlap for good fall limp, with self-collision on, and shall come to rest:
//
//   limp_drops [--seeds N] [--seconds T] [--overlap MM] [--robot NAME] [--shapes one|all] [--bound
//   F]
//
// One shape, or all, are made larger until the deepest overlap in the zero pose is as given. The
// gain is the largest rise of the mechanical energy above what it had been before, in m g h, with h
// the height of the centre of mass at the start. Fails where a state is not finite, or where a gain
// is above F times the goal of 1 % (5 % for more than 20 mm).
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <random>
#include <regex>
#include <sstream>
#include <string>
#include <zelvik/World.hpp>

namespace {

using zelvik::ArticulatedSystem;
using zelvik::VecDyn;
using zelvik::World;

struct Options {
  int seeds = 20;
  double seconds = 20.0;
  double overlap = 0.0;  ///< (mm), 0 for all
  double bound = 1.0;
  std::string robot, shapes;
};

struct Robot {
  std::string name, text;
  int shape;      ///< the one that is enlarged, counted from 0
  double height;  ///< of the base at the start (m)
};

/// A body with four legs of two joints each, the knees beside the trunk. 2.4 kg.
std::string crab() {
  std::ostringstream out;
  const auto inertial = [&](double mass, double size) {
    const double inertia = 0.4 * mass * size * size;
    out << "<inertial><mass value='" << mass << "'/><inertia ixx='" << inertia << "' iyy='"
        << inertia << "' izz='" << inertia << "' ixy='0' ixz='0' iyz='0'/></inertial>";
  };
  out << "<robot name='crab'><link name='trunk'>";
  inertial(1.2, 0.1);
  out << "<collision><geometry><box size='0.2 0.16 0.06'/></geometry></collision></link>";
  for (int leg = 0; leg < 4; ++leg) {
    const int x = leg < 2 ? 1 : -1, y = leg % 2 == 0 ? 1 : -1;
    out << "<link name='thigh" << leg << "'>";
    inertial(0.2, 0.04);
    out << "<collision><origin xyz='0 " << 0.03 * y << " 0'/><geometry><sphere radius='0.018'/>"
        << "</geometry></collision></link><link name='shank" << leg << "'>";
    inertial(0.1, 0.04);
    out << "<collision><origin xyz='0 0 -0.05'/><geometry><capsule radius='0.012' length='0.08'/>"
        << "</geometry></collision></link><joint name='hip" << leg
        << "' type='revolute'><parent link='trunk'/><child link='thigh" << leg << "'/><origin xyz='"
        << 0.08 * x << ' ' << 0.07 * y
        << " 0'/><axis xyz='1 0 0'/><limit lower='-0.9' upper='0.9' effort='5' velocity='50'/>"
        << "</joint><joint name='knee" << leg << "' type='revolute'><parent link='thigh" << leg
        << "'/><child link='shank" << leg << "'/><origin xyz='0 " << 0.04 * y
        << " 0'/><axis xyz='0 1 0'/><limit lower='-1.5' upper='1.5' effort='5' velocity='50'/>"
        << "</joint>";
  }
  return out.str() + "</robot>";
}

std::string modelText(const char* file) {
  std::ifstream in(std::string(ZELVIK_MODEL_DIR) + "/" + file);
  return {std::istreambuf_iterator<char>(in), {}};
}

/// Adds to every extent of the collision shapes, or of one.
std::string enlarged(const Robot& robot, bool all, double by) {
  static const std::regex shape("(<collision>[\\s\\S]*?)<(box|sphere|capsule)([^>]*)/>");
  static const std::regex number("(size|radius)=(['\"])([^'\"]*)['\"]");
  std::string out, rest = robot.text;
  std::smatch found;
  for (int i = 0; std::regex_search(rest, found, shape); ++i) {
    std::string attributes = found[3];
    std::smatch values;
    if ((all || i == robot.shape) && std::regex_search(attributes, values, number)) {
      std::istringstream in(values[3]);
      std::ostringstream list;
      list.precision(17);
      const double more = values[1] == "size" ? by : 0.5 * by;
      for (double x; in >> x;) list << x + more << ' ';
      attributes =
          values.prefix().str() + values[1].str() + "='" + list.str() + "'" + values.suffix().str();
    }
    out += found.prefix().str() + found[1].str() + "<" + found[2].str() + attributes + "/>";
    rest = found.suffix();
  }
  return out + rest;
}

/// In the zero pose.
struct Overlap {
  double depth = 0.0;  ///< of the deepest (m)
  int pairs = 0;
};

Overlap overlapOf(const std::string& text) {
  World world;
  world.setGravity(zelvik::Vec3{});
  world.setTimeStep(1e-9);
  const ArticulatedSystem* system = world.addArticulatedSystem(text, ".");
  world.integrate1();
  Overlap overlap;
  std::vector<std::pair<size_t, size_t>> pairs;
  const auto& contacts = system->getContacts();
  for (const zelvik::contact::Contact& c : contacts) {
    if (!c.objectA_) continue;
    overlap.depth = std::max(overlap.depth, -c.depth_);
    pairs.emplace_back(c.localBodyIndex_, contacts[c.pairContactIndex_].localBodyIndex_);
  }
  std::sort(pairs.begin(), pairs.end());
  overlap.pairs = static_cast<int>(std::unique(pairs.begin(), pairs.end()) - pairs.begin());
  return overlap;
}

std::string withOverlap(const Robot& robot, bool all, double depth) {
  double low = 0.0, high = 0.5;
  for (int i = 0; i < 30; ++i) {
    const double middle = 0.5 * (low + high);
    (overlapOf(enlarged(robot, all, middle)).depth < depth ? low : high) = middle;
  }
  return enlarged(robot, all, high);
}

struct Outcome {
  bool isFinite = true;
  double gain = 0.0;   ///< (m g h)
  double speed = 0.0;  ///< sqrt(2 E_kin / m), mean over the last second (m/s)
};

void setRotation(double* quaternion, const std::array<double, 4>& direction) {
  double norm2 = 0.0;
  for (const double x : direction) norm2 += x * x;
  for (size_t k = 0; k < 4; ++k) quaternion[k] = direction[k] / std::sqrt(norm2);
}

Outcome drop(const std::string& text, double height, unsigned seed, double seconds) {
  std::mt19937 generator(seed);
  const auto number = [&] { return static_cast<double>(generator()) / 2147483648.0 - 1.0; };
  World world;
  world.setTimeStep(0.002);
  world.addGround();
  ArticulatedSystem* robot = world.addArticulatedSystem(text, ".");
  VecDyn q = robot->getGeneralizedCoordinate();
  q[2] = height;
  for (size_t i = 0; i < robot->getBodyCount(); ++i) {
    double* joint = &q[robot->getGcStart()[i] + (i == 0 ? 3 : 0)];
    if (i == 0 || robot->getJointType(i) == zelvik::Joint::SPHERICAL)
      setRotation(joint, {i == 0 ? number() : 1.0, 0.3 * number(), 0.3 * number(), 0.3 * number()});
    else
      *joint = 0.3 * number();
  }
  robot->setGeneralizedCoordinate(q);
  const zelvik::Mat<3, 1> gravity{{0.0, 0.0, -9.81}};
  const double scale = robot->getPotentialEnergy(gravity), mass = robot->getCompositeMass()[0];
  double lowest = robot->getEnergy(gravity);
  Outcome outcome;
  const long steps = std::lround(seconds / 0.002), tail = 500;
  for (long step = 0; step < steps; ++step) {
    world.integrate();
    const double energy = robot->getEnergy(gravity);
    if (!std::isfinite(energy)) {
      outcome.isFinite = false;
      return outcome;
    }
    outcome.gain = std::max(outcome.gain, (energy - lowest) / scale);
    lowest = std::min(lowest, energy);
    if (step >= steps - tail)
      outcome.speed += std::sqrt(2.0 * robot->getKineticEnergy() / mass) / tail;
  }
  return outcome;
}

/// @return whether the goal is met
bool report(const Robot& robot, bool all, double depth, const Options& options) {
  const std::string text = withOverlap(robot, all, depth);
  int broken = 0, moving = 0;
  std::vector<double> gains;
  double fastest = 0.0;
  for (int seed = 1; seed <= options.seeds; ++seed) {
    const Outcome outcome = drop(text, robot.height, static_cast<unsigned>(seed), options.seconds);
    if (!outcome.isFinite) {
      ++broken;
      continue;
    }
    gains.push_back(outcome.gain);
    fastest = std::max(fastest, outcome.speed);
    if (outcome.speed > 0.01) ++moving;
  }
  std::sort(gains.begin(), gains.end());
  const double worst = gains.empty() ? 0.0 : gains.back();
  const double median = gains.empty() ? 0.0 : gains[gains.size() / 2];
  std::printf(
      "%-10s %-3s %5.0f mm %3d pairs: NaN %d, moving %d (%.2g m/s), gain %.4f (median %.4f)\n",
      robot.name.c_str(), all ? "all" : "one", 1e3 * depth, overlapOf(text).pairs, broken, moving,
      fastest, worst, median);
  std::fflush(stdout);
  return broken == 0 && worst <= options.bound * (depth > 0.0201 ? 0.05 : 0.01);
}

}  // namespace

int main(int argc, char** argv) {
  std::cout.rdbuf(nullptr);  // each robot would be warned of
  Options options;
  for (int i = 1; i + 1 < argc; i += 2) {
    const char* value = argv[i + 1];
    if (std::strcmp(argv[i], "--seeds") == 0) options.seeds = std::atoi(value);
    if (std::strcmp(argv[i], "--seconds") == 0) options.seconds = std::atof(value);
    if (std::strcmp(argv[i], "--overlap") == 0) options.overlap = std::atof(value);
    if (std::strcmp(argv[i], "--bound") == 0) options.bound = std::atof(value);
    if (std::strcmp(argv[i], "--robot") == 0) options.robot = value;
    if (std::strcmp(argv[i], "--shapes") == 0) options.shapes = value;
  }
  const Robot robots[] = {{"quadruped", modelText("quadruped.urdf"), 2, 0.8},
                          {"humanoid", modelText("humanoid.urdf"), 3, 1.4},
                          {"crab", crab(), 2, 0.5}};
  bool isGood = true;
  for (const Robot& robot : robots) {
    if (!options.robot.empty() && options.robot != robot.name) continue;
    for (const bool all : {false, true}) {
      if (!options.shapes.empty() && (options.shapes == "all") != all) continue;
      for (const double mm : {1.0, 5.0, 20.0, 60.0})
        if (options.overlap == 0.0 || options.overlap == mm)
          isGood = report(robot, all, 1e-3 * mm, options) && isGood;
    }
  }
  return isGood ? 0 : 1;
}
