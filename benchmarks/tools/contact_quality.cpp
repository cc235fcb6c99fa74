// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <vector>
#include <zelvik/World.hpp>

// What contacts make of single bodies that rest, roll, slide and fall, for pairs of shapes and
// grounds. Each figure is one of exact mechanics that should be 0.
//
//   contact_quality [rest|move|drop] [body] [ground] [friction]
//
// prints one Markdown line per pair; parts of names choose, "" and no word mean all.

namespace {

using namespace zelvik;

constexpr double kTimeStep = 0.005;  // s
constexpr double kSlope = 0.2;       // of sloped grounds, rise per run
constexpr double kTurn = 0.7;        // rad, of the turned height map about the vertical
constexpr double kTop = 0.5;         // m, height of the surface of raised grounds

/// What a body stands on, as a plane where it is one.
struct Surface {
  Vec3 point{}, normal{{0.0, 0.0, 1.0}};
  bool isPlane = true;
};

struct BodyKind {
  const char* name;
  std::function<SingleBodyObject*(World&)> add;
  double height;   ///< of the origin above the surface at rest (m)
  double tilt;     ///< about x, from the body's own axes to the pose at rest (rad)
  double radius;   ///< if it rolls along x (m), else 0
  double inertia;  ///< about the axis of rolling, over m r^2
  double size;     ///< smallest (m)
};

struct GroundKind {
  const char* name;
  std::function<Surface(World&)> add;
};

std::string objFile(const std::string& name, const std::vector<Vec3>& vertices,
                    const std::vector<std::array<int, 3>>& faces) {
  const auto path =
      std::filesystem::temp_directory_path() / (name + "_" + std::to_string(getpid()) + ".obj");
  std::ofstream file(path);
  for (const Vec3& v : vertices) file << "v " << v[0] << ' ' << v[1] << ' ' << v[2] << '\n';
  for (const auto& f : faces)
    file << "f " << f[0] + 1 << ' ' << f[1] + 1 << ' ' << f[2] + 1 << '\n';
  return path.string();
}

const std::vector<std::array<int, 3>> kCubeFaces = {{0, 2, 1}, {1, 2, 3}, {4, 5, 6}, {5, 7, 6},
                                                    {0, 1, 4}, {1, 5, 4}, {2, 6, 3}, {3, 6, 7},
                                                    {0, 4, 2}, {2, 4, 6}, {1, 3, 5}, {3, 7, 5}};

std::vector<Vec3> cubeCorners() {
  std::vector<Vec3> v;
  for (int k = 0; k < 8; ++k)
    v.push_back({{k & 1 ? 0.1 : -0.1, k & 2 ? 0.1 : -0.1, k & 4 ? 0.1 : -0.1}});
  return v;
}

std::string cubeFile() {
  return objFile("contact_quality_cube", cubeCorners(), kCubeFaces);
}

ConvexHull* addHullCube(World& world) {
  std::vector<double> corners;
  for (const Vec3& v : cubeCorners()) corners.insert(corners.end(), v.v, v.v + 3);
  std::vector<unsigned> triangles;
  for (const auto& f : kCubeFaces) triangles.insert(triangles.end(), f.begin(), f.end());
  return world.addConvexHull(corners, triangles, 1.0);
}

/// Squares of 0.6 m, cut along their diagonals.
std::string gridFile(double slope) {
  constexpr int n = 81;
  std::vector<Vec3> v;
  std::vector<std::array<int, 3>> f;
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < n; ++i) {
      const double x = 0.6 * (i - n / 2) + 0.21, y = 0.6 * (j - n / 2) + 0.13;
      v.push_back({{x, y, slope * x}});
    }
  for (int j = 0; j + 1 < n; ++j)
    for (int i = 0; i + 1 < n; ++i) {
      const int a = j * n + i, b = a + 1, c = a + n, d = c + 1;
      f.push_back({a, b, d});
      f.push_back({a, d, c});
    }
  return objFile("contact_quality_grid", v, f);
}

Vec3 slopeNormal(double slope) {
  const double s = 1.0 / std::hypot(1.0, slope);
  return {{-slope * s, 0.0, s}};
}

Surface addMesh(World& world, double slope) {
  Mesh* mesh = world.addMesh(gridFile(slope), 1.0, Mat33::identity(), Vec3{}, 1.0);
  mesh->setBodyType(BodyType::STATIC);
  return {Vec3{}, slopeNormal(slope), true};
}

Surface addMap(World& world, double slope, double turn) {
  constexpr size_t n = 201;
  std::vector<double> heights;
  for (size_t j = 0; j < n; ++j)
    for (size_t i = 0; i < n; ++i)
      heights.push_back(slope * (0.25 * (static_cast<double>(i) - 100.0)));
  HeightMap* map = world.addHeightMap(n, n, 50.0, 50.0, 0.0, 0.0, heights);
  map->setOrientation(std::cos(0.5 * turn), 0.0, 0.0, std::sin(0.5 * turn));
  const Vec3 n0 = slopeNormal(slope);
  return {Vec3{}, {{n0[0] * std::cos(turn), n0[0] * std::sin(turn), n0[2]}}, true};
}

Surface addRough(World& world) {
  constexpr size_t n = 201;
  std::mt19937 random(7);
  std::uniform_real_distribution<double> height(0.0, 0.12);
  std::vector<double> heights(n * n);
  for (double& h : heights) h = height(random);
  world.addHeightMap(n, n, 80.0, 80.0, 0.0, 0.0, heights);
  return {{{0.0, 0.0, 0.12}}, {{0.0, 0.0, 1.0}}, false};
}

const std::vector<BodyKind>& bodies() {
  constexpr double quarter = 1.5707963267948966;
  static const std::vector<BodyKind> all = {
      {"sphere", [](World& w) { return w.addSphere(0.1, 1.0); }, 0.1, 0.0, 0.1, 0.4, 0.1},
      {"box", [](World& w) { return w.addBox(0.2, 0.24, 0.16, 1.0); }, 0.08, 0.0, 0.0, 0.0, 0.16},
      {"capsule", [](World& w) { return w.addCapsule(0.1, 0.4, 1.0); }, 0.1, quarter, 0.1, -1.0,
       0.1},
      {"cylinder lying", [](World& w) { return w.addCylinder(0.1, 0.4, 1.0); }, 0.1, quarter, 0.1,
       0.5, 0.1},
      {"wheel", [](World& w) { return w.addCylinder(0.05, 0.06, 1.0); }, 0.05, quarter, 0.05, 0.5,
       0.05},
      {"cylinder upright", [](World& w) { return w.addCylinder(0.1, 0.2, 1.0); }, 0.1, 0.0, 0.0,
       0.0, 0.1},
      {"compound",
       [](World& w) {
         Compound::CompoundObjectChild left{BOX, {0.1, 0.24, 0.16}, "", Mat33::identity(), {}};
         left.position = {{-0.05, 0.0, 0.0}};
         Compound::CompoundObjectChild right = left;
         right.position = {{0.05, 0.0, 0.0}};
         Mat33 inertia = 0.006 * Mat33::identity();
         return w.addCompound({left, right}, 1.0, Vec3{}, inertia);
       },
       0.08, 0.0, 0.0, 0.0, 0.16},
      {"mesh",
       [](World& w) {
         return w.addMesh(cubeFile(), 1.0, 0.04 / 6.0 * Mat33::identity(), Vec3{}, 1.0);
       },
       0.1, 0.0, 0.0, 0.0, 0.2},
      {"hull", [](World& w) { return addHullCube(w); }, 0.1, 0.0, 0.0, 0.0, 0.2}};
  return all;
}

const std::vector<GroundKind>& grounds() {
  static const std::vector<GroundKind> all = {
      {"ground",
       [](World& w) {
         w.addGround();
         return Surface{};
       }},
      {"static box",
       [](World& w) {
         Box* box = w.addBox(60.0, 60.0, 1.0, 1.0);
         box->setPosition(0.0, 0.0, kTop - 0.5);
         box->setBodyType(BodyType::STATIC);
         return Surface{{{0.0, 0.0, kTop}}, {{0.0, 0.0, 1.0}}, true};
       }},
      {"static cylinder",
       [](World& w) {
         Cylinder* cylinder = w.addCylinder(30.0, 1.0, 1.0);
         cylinder->setPosition(0.0, 0.0, kTop - 0.5);
         cylinder->setBodyType(BodyType::STATIC);
         return Surface{{{0.0, 0.0, kTop}}, {{0.0, 0.0, 1.0}}, true};
       }},
      {"dynamic box",
       [](World& w) {
         w.addGround();
         Box* box = w.addBox(1.2, 1.2, kTop, 1.0);
         box->setPosition(0.0, 0.0, 0.5 * kTop);
         return Surface{{{0.0, 0.0, kTop}}, {{0.0, 0.0, 1.0}}, false};
       }},
      {"flat mesh", [](World& w) { return addMesh(w, 0.0); }},
      {"sloped mesh", [](World& w) { return addMesh(w, kSlope); }},
      {"flat map", [](World& w) { return addMap(w, 0.0, 0.0); }},
      {"sloped turned map", [](World& w) { return addMap(w, kSlope, kTurn); }},
      {"rough map", [](World& w) { return addRough(w); }}};
  return all;
}

struct Scene {
  World world;
  Surface surface;
  SingleBodyObject* body;

  Scene(const BodyKind& kind, const GroundKind& ground, double friction) {
    world.setTimeStep(kTimeStep);
    world.setDefaultMaterial(friction, 0.0, 0.01);
    surface = ground.add(world);
    body = kind.add(world);
  }

  /// Puts the body on the surface, tilted about x, its z axis else along the normal.
  void place(const BodyKind& kind, double above) {
    const Vec3& n = surface.normal;
    const Eigen::Quaterniond up =
        Eigen::Quaterniond::FromTwoVectors(Eigen::Vector3d::UnitZ(), Eigen::Vector3d(n.e()));
    const Eigen::Quaterniond tilt(Eigen::AngleAxisd(kind.tilt, Eigen::Vector3d::UnitX()));
    body->setPose(Eigen::Vector3d((surface.point + (kind.height + above) * n).e()),
                  Eigen::Quaterniond(up * tilt));
  }

  double deepest() const {
    double most = 0.0;
    for (const auto& contact : body->getContacts()) most = std::max(most, -contact.depth_);
    return most;
  }
  double speed() const { return norm(body->getLinearVelocity()); }
  double aboveSurface() const {
    return dot(body->getBodyPosition() - surface.point, surface.normal);
  }
};

bool isSloped(const Surface& s) {
  return s.normal[2] < 0.9999;
}

/// Rest for 20 s: how far it sank or rose, how far it crept, how fast it is in the end.
void rest(const BodyKind& kind, const GroundKind& ground, double friction) {
  Scene scene(kind, ground, friction);
  const bool slides = isSloped(scene.surface) && (kind.radius > 0.0 || friction < kSlope);
  if (slides) return;
  scene.place(kind, 0.0);
  const int settle = scene.surface.isPlane ? 0 : 1000;
  for (int k = 0; k < settle; ++k) scene.world.integrate();
  const Vec3 start = scene.body->getBodyPosition();
  for (int k = 0; k < 4000; ++k) scene.world.integrate();
  const Vec3 moved = scene.body->getBodyPosition() - start;
  const double sunk = -dot(moved, scene.surface.normal);
  const double crept = norm(moved + sunk * scene.surface.normal);
  scene.world.integrate1();
  std::printf(
      "| rest | %s | %s | %g | sunk %.3g mm | crept %.3g mm | deepest %.3g mm | %.2g m/s |\n",
      kind.name, ground.name, friction, 1e3 * sunk, 1e3 * crept, 1e3 * scene.deepest(),
      scene.speed());
}

/// Rolls along x without slip at 3 m/s, or slides: speed against the closed form, hops, drift.
void move(const BodyKind& kind, const GroundKind& ground, double friction) {
  Scene scene(kind, ground, friction);
  if (!scene.surface.isPlane || isSloped(scene.surface)) return;
  const bool rolls = kind.radius > 0.0;
  const double speed = 3.0, seconds = rolls ? 5.0 : 2.0;
  scene.place(kind, 0.0);
  scene.body->setPosition(scene.body->getBodyPosition() + Vec3{{-8.0, 0.03, 0.0}});
  scene.body->setVelocity(speed, 0.0, 0.0, 0.0, rolls ? speed / kind.radius : 0.0, 0.0);
  const double start = scene.aboveSurface();
  double hop = 0.0;
  for (int k = 0; k < static_cast<int>(seconds / kTimeStep + 0.5); ++k) {
    scene.world.integrate();
    hop = std::max(hop, scene.aboveSurface() - start);
  }
  const double exact = rolls ? speed : std::max(speed - friction * 9.81 * seconds, 0.0);
  const double drift = scene.body->getBodyPosition()[1] - 0.03;
  std::printf("| move | %s | %s | %g | lost %.3g %% | hop %.3g mm | drift %.3g mm |\n", kind.name,
              ground.name, friction, 100.0 * (exact - scene.body->getLinearVelocity()[0]) / speed,
              1e3 * hop, 1e3 * drift);
}

/// 60 drops from 5 cm in random poses: those deeper than 5 % of the size after 5 s, or at any time.
void drop(const BodyKind& kind, const GroundKind& ground, double friction) {
  std::mt19937 random(3);
  std::uniform_real_distribution<double> angle(-3.14, 3.14), place(-0.2, 0.2);
  double worst = 0.0;
  int deep = 0, moving = 0;
  for (int trial = 0; trial < 60; ++trial) {
    Scene scene(kind, ground, friction);
    const Eigen::Quaterniond pose = Eigen::AngleAxisd(angle(random), Eigen::Vector3d::UnitZ()) *
                                    Eigen::AngleAxisd(angle(random), Eigen::Vector3d::UnitX()) *
                                    Eigen::AngleAxisd(angle(random), Eigen::Vector3d::UnitZ());
    Vec3 where = scene.surface.point + 0.3 * scene.surface.normal;
    where[0] += place(random);
    where[1] += place(random);
    scene.body->setPose(Eigen::Vector3d(where.e()), pose);
    for (int k = 0; k < 1000; ++k) scene.world.integrate();
    scene.world.integrate1();
    double depth = scene.deepest();
    // Through the surface.
    if (scene.surface.isPlane) depth = std::max(depth, 0.5 * kind.size - scene.aboveSurface());
    worst = std::max(worst, depth);
    deep += depth > 0.05 * kind.size;
    moving += scene.speed() > 1e-2 && !isSloped(scene.surface) && kind.radius == 0.0;
  }
  std::printf("| drop | %s | %s | %g | worst %.3g mm | %d of 60 deeper than 5 %% | %d moving |\n",
              kind.name, ground.name, friction, 1e3 * worst, deep, moving);
}

bool chosen(const char* name, int argc, char** argv, int place) {
  return argc <= place || std::strstr(name, argv[place]) != nullptr;
}

}  // namespace

int main(int argc, char** argv) {
  using Run = void (*)(const BodyKind&, const GroundKind&, double);
  const std::vector<std::pair<const char*, Run>> runs = {
      {"rest", rest}, {"move", move}, {"drop", drop}};
  for (const auto& [name, run] : runs)
    for (const BodyKind& kind : bodies())
      for (const GroundKind& ground : grounds())
        for (const double friction : {0.1, 0.8}) {
          if (!chosen(name, argc, argv, 1) || !chosen(kind.name, argc, argv, 2) ||
              !chosen(ground.name, argc, argv, 3) || (argc > 4 && std::stod(argv[4]) != friction))
            continue;
          run(kind, ground, friction);
        }
}
