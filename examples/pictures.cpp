// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// The pictures of README.md, and a replay beside each: pictures DIR

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <zelvik/view/Recorder.hpp>

#include "RandomTree.hpp"
#include "Terrain.hpp"

namespace {

using zelvik::view::PictureOptions;
using zelvik::view::Recorder;

/// Steps a world and records it at some 60 frames a second.
void run(zelvik::World& world, double seconds, Recorder& recorder) {
  const long steps = std::lround(seconds / world.getTimeStep());
  const long stride = std::max(1l, std::lround(1.0 / 60.0 / world.getTimeStep()));
  for (long k = 0; k < steps; ++k) {
    world.integrate();
    if (k % stride == 0 || k + 1 == steps) recorder.capture();
  }
}

bool write(const Recorder& recorder, const std::string& path, PictureOptions options) {
  options.width = 640;
  options.height = 380;
  if (!recorder.writePng(path + ".png", options)) return false;
  std::printf("%s.png\n", path.c_str());
  if (!Recorder::hasHtmlViewer()) return true;
  zelvik::view::HtmlOptions html;
  html.title = std::filesystem::path(path).filename().string();
  if (!recorder.writeHtml(path + ".html", html)) return false;
  std::printf("%s.html\n", path.c_str());
  return true;
}

bool quadruped(const std::string& directory) {
  zelvik::scenes::RobotOnTerrain scene(ZELVIK_MODEL_DIR "/quadruped.urdf", 0.0025, true);
  Recorder recorder(scene.world);
  run(scene.world, 2.0, recorder);
  PictureOptions options;
  options.contacts = true;
  options.camera.azimuth = -0.75;
  options.camera.elevation = 0.28;
  options.camera.follow = "quadruped";
  return write(recorder, directory + "quadruped_on_terrain", options);
}

zelvik::Box* addFixedBox(zelvik::World& world, const zelvik::Vec3& size, const zelvik::Vec3& p) {
  zelvik::Box* box = world.addBox(size[0], size[1], size[2], 1.0);
  box->setPosition(p);
  box->setBodyType(zelvik::STATIC);
  return box;
}

void addPile(zelvik::World& world) {
  zelvik::scenes::RandomSource random(4);
  for (int i = 0; i < 120; ++i) {
    const double a = random.uniform(0.06, 0.13), b = random.uniform(0.06, 0.13);
    zelvik::SingleBodyObject* body = nullptr;
    if (i % 4 == 0) body = world.addSphere(a, 1.0);
    if (i % 4 == 1) body = world.addBox(2.0 * a, 2.0 * b, a + b, 1.0);
    if (i % 4 == 2) body = world.addCapsule(0.7 * a, 2.0 * b, 1.0);
    if (i % 4 == 3) body = world.addCylinder(a, 1.6 * b, 1.0);
    const zelvik::Vec4 q = random.unitQuaternion();
    body->setOrientation(q[0], q[1], q[2], q[3]);
    body->setPosition(random.uniform(-0.3, 0.3), random.uniform(-0.3, 0.3), 0.3 + 0.1 * i);
    body->setAngularDamping({{0.02, 0.02, 0.02}});
  }
}

/// Four low walls round the middle.
void addTray(zelvik::World& world, double half) {
  for (const double side : {-1.0, 1.0}) {
    addFixedBox(world, {{0.04, 2.0 * half + 0.04, 0.2}}, {{side * half, 0, 0.1}});
    addFixedBox(world, {{2.0 * half + 0.04, 0.04, 0.2}}, {{0, side * half, 0.1}});
  }
}

bool pile(const std::string& directory) {
  zelvik::World world;
  world.addGround();
  addTray(world, 0.75);
  addPile(world);
  Recorder recorder(world);
  run(world, 6.0, recorder);
  PictureOptions options;
  options.camera.azimuth = -1.1;
  options.camera.elevation = 0.45;
  options.camera.targetW = zelvik::Vec3{{0.0, 0.0, 0.1}};
  options.camera.distance = 4.2;
  return write(recorder, directory + "pile", options);
}

constexpr int kRope = 0;    // acts while longer than its length
constexpr int kSpring = 2;  // acts always

/// Hangs a ball on two ropes, as a cradle has them.
void addBall(zelvik::World& world, zelvik::Object* front, zelvik::Object* back, double x,
             double swing) {
  zelvik::Sphere* ball = world.addSphere(0.1, 1.0, "steel");
  const double rope = std::hypot(0.7, 0.3);
  ball->setPosition(x - 0.7 * std::sin(swing), 0.0, 1.6 - 0.7 * std::cos(swing));
  world.addStiffWire(front, 0, {{x, 0, 0}}, ball, 0, {}, rope)->setStretchType(kRope);
  world.addStiffWire(back, 0, {{x, 0, 0}}, ball, 0, {}, rope)->setStretchType(kRope);
}

/// A plank on four springs with a box on it.
void addScale(zelvik::World& world, zelvik::Object* front, zelvik::Object* back, double x) {
  zelvik::Box* plank = world.addBox(0.5, 0.5, 0.04, 1.0);
  plank->setPosition(x, 0, 0.9);
  plank->setLinearDamping(3.0);
  plank->setAngularDamping({{0.3, 0.3, 0.3}});
  for (const double dx : {-0.22, 0.22}) {
    world.addCompliantWire(front, 0, {{x + dx, 0, 0}}, plank, 0, {{dx, -0.22, 0.02}}, 0.7, 150.0)
        ->setStretchType(kSpring);
    world.addCompliantWire(back, 0, {{x + dx, 0, 0}}, plank, 0, {{dx, 0.22, 0.02}}, 0.7, 150.0)
        ->setStretchType(kSpring);
  }
  world.addBox(0.2, 0.2, 0.2, 2.0)->setPosition(x, 0.0, 1.03);
}

bool wires(const std::string& directory) {
  zelvik::World world;
  world.setTimeStep(0.001);
  world.setMaterialPairProp("steel", "steel", 0.2, 0.95, 0.001);
  world.addGround();
  zelvik::Box* front = addFixedBox(world, {{2.4, 0.05, 0.05}}, {{0, -0.3, 1.6}});
  zelvik::Box* back = addFixedBox(world, {{2.4, 0.05, 0.05}}, {{0, 0.3, 1.6}});
  for (const double x : {-1.2, 1.2})
    for (const double y : {-0.3, 0.3}) addFixedBox(world, {{0.05, 0.05, 1.625}}, {{x, y, 0.8125}});
  for (int i = 0; i < 5; ++i) addBall(world, front, back, -0.8 + 0.2 * i, i == 0 ? 0.7 : 0.0);
  addScale(world, front, back, 0.7);
  Recorder recorder(world);
  run(world, 2.05, recorder);
  PictureOptions options;
  options.camera.azimuth = -1.25;
  options.camera.elevation = 0.22;
  return write(recorder, directory + "wires", options);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("pictures: one argument is needed, the directory to write to\n", stderr);
    return 2;
  }
  const std::string directory = std::string(argv[1]) + "/";
  return quadruped(directory) && pile(directory) && wires(directory) ? 0 : 1;
}
