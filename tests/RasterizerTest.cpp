// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>
#include <png.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <set>
#include <sstream>
#include <zelvik/World.hpp>
#include <zelvik/object/Cone.hpp>
#include <zelvik/view/Rasterizer.hpp>
#include <zelvik/view/Recorder.hpp>

#include "Messages.hpp"
#include "TemporaryDirectory.hpp"

namespace zelvik::view {
namespace {

constexpr double kFieldOfView = 0.6;

/// A square of side 2 m across the x axis at x = 0.
TriangleMesh square() {
  TriangleMesh mesh;
  mesh.vertices = {{0, -1, -1}, {0, 1, -1}, {0, 1, 1}, {0, -1, 1}};
  mesh.normals.assign(4, {1, 0, 0});
  mesh.indices = {0, 1, 2, 0, 2, 3};
  return mesh;
}

/// Looks along -x from x = 10 m.
View viewAlongX() {
  return {{{10.0, 0.0, 0.0}}, {{0.0, 0.0, 0.0}}, kFieldOfView};
}

Surface painted(float red, float green, float blue) {
  return {{{red, green, blue}}, false, false, false};
}

std::array<int, 3> colorOf(const Image& image, int x, int y) {
  const std::uint8_t* p = image.pixel(x, y);
  return {p[0], p[1], p[2]};
}

TEST(Rasterizer, NearestSurfaceWinsInAnyOrder) {
  // A small blue square 2 m in front of a large red one.
  for (const bool blueFirst : {true, false}) {
    Rasterizer rasterizer(100, 80, viewAlongX());
    const auto addBlue = [&] {
      rasterizer.addMesh(square(), {{2, 0, 0}}, Mat33::identity(), {{1, 0.4, 0.4}},
                         painted(0, 0, 1));
    };
    if (blueFirst) addBlue();
    rasterizer.addMesh(square(), {}, Mat33::identity(), {{1, 2, 2}}, painted(1, 0, 0));
    if (!blueFirst) addBlue();
    Image image = rasterizer.render();
    EXPECT_EQ(colorOf(image, 50, 40), (std::array<int, 3>{0, 0, 255}));
    EXPECT_EQ(colorOf(image, 75, 40), (std::array<int, 3>{255, 0, 0}));
    EXPECT_NEAR(rasterizer.getDepth(50, 40), 8.0, 1e-4);
    EXPECT_NEAR(rasterizer.getDepth(75, 40), 10.0, 1e-4);
    EXPECT_TRUE(std::isinf(rasterizer.getDepth(1, 1)));
  }
}

TEST(Rasterizer, PlanesAndTrianglesThatReachBehindTheEye) {
  const double nan = std::nan("");
  Rasterizer rasterizer(120, 90, {{{0, 0, 2}}, {{4, 0, 0}}, kFieldOfView});
  rasterizer.addGround(0.0, painted(1, 1, 1));
  rasterizer.addGround(3.0, painted(0, 0, 0));  // above the eye: not seen
  // A floor 0.5 m above the ground that spreads to both sides of the eye.
  Mat33 lying = {{0, 0, 1, 0, 1, 0, -1, 0, 0}};
  rasterizer.addMesh(square(), {{0, 0, 0.5}}, lying, {{1, 100, 100}}, painted(0, 1, 0));
  rasterizer.addMesh(square(), {{nan, 0, 1.9}}, lying, {{1, 100, 100}}, painted(1, 0, 0));
  const Image image = rasterizer.render();
  EXPECT_EQ(colorOf(image, 60, 45), (std::array<int, 3>{0, 255, 0}));
  // The view axis falls 2 m over sqrt(20) m and meets the floor after three quarters of that; the
  // pixel's middle is half a pixel off the axis.
  EXPECT_NEAR(rasterizer.getDepth(60, 45), 0.75 * std::sqrt(20.0), 0.03);
}

TEST(Rasterizer, MeshesAndColoursThatAreNotWhole) {
  TriangleMesh mesh = square();
  mesh.normals.clear();
  mesh.indices.insert(mesh.indices.end(), {0, 1, 1000000});
  Rasterizer rasterizer(100, 80, viewAlongX());
  Surface surface = painted(std::nanf(""), 1, 0);
  surface.isLit = true;
  rasterizer.addMesh(mesh, {}, Mat33::identity(), {{1, 1, 1}}, surface);
  EXPECT_TRUE(std::isinf(rasterizer.getDepth(50, 40))) << "not drawn yet";
  const Image image = rasterizer.render();
  EXPECT_EQ(image.pixel(50, 40)[0], 0);
  EXPECT_GT(image.pixel(50, 40)[1], 50);
  EXPECT_TRUE(std::isinf(rasterizer.getDepth(100, 40)));
  EXPECT_EQ(Rasterizer(-3, 0, viewAlongX()).render().rgb.size(), 3u);
}

/// A sphere of radius r at distance d is seen as a disc (on the axis) of tan(asin(r / d)).
TEST(Rasterizer, SilhouetteOfASphere) {
  World world;
  world.setGravity(Mat<3, 1>{});
  world.addSphere(0.5, 1.0)->setPosition(1.0, 2.0, 3.0);
  Recorder recorder(world);
  recorder.capture();
  PictureOptions options;
  options.grid = false;
  options.camera.distance = 3.0;
  const Image image = recorder.render(options);
  const Image empty = [&] {
    World nothing;
    Recorder other(nothing);
    other.capture();
    return other.render(options);
  }();
  int covered = 0;
  for (std::size_t i = 0; i < image.rgb.size(); i += 3)
    covered += image.rgb[i] != empty.rgb[i] || image.rgb[i + 2] != empty.rgb[i + 2] ? 1 : 0;
  const double focal = 200.0 / std::tan(0.5 * kFieldOfView);
  const double radius = focal * std::tan(std::asin(0.5 / 3.0));
  // Facets of 9 degrees lose 0.5 %; partly covered pixels of the rim add at most one pixel.
  EXPECT_GT(covered, 0.99 * M_PI * radius * radius);
  EXPECT_LT(covered, M_PI * (radius + 1.0) * (radius + 1.0));
}

/// With the sun overhead the ground below a plate is darker than the ground beside it.
TEST(Rasterizer, ShadowsFallOnTheGround) {
  Rasterizer rasterizer(100, 100, {{{4, 0, 6}}, {{0, 0, 0}}, kFieldOfView},
                        {{{0, 0, 1}}, false, 0});
  rasterizer.addGround(0.0, Surface());
  Mat33 lying = {{0, 0, 1, 0, 1, 0, -1, 0, 0}};
  Surface plate;
  rasterizer.addMesh(square(), {{0, 0, 0.3}}, lying, {{1, 0.25, 0.25}}, plate);
  Image image = rasterizer.render();
  // The eye looks slantwise under the near edge of the plate.
  std::set<int> greys;
  for (int y = 0; y < 100; ++y) greys.insert(image.pixel(50, y)[0]);
  EXPECT_LT(*greys.begin(), 0.75 * *greys.rbegin());
}

TEST(Picture, FileIsReadableAndShowsSomething) {
  const TemporaryDirectory directory;
  World world;
  world.addGround();
  world.addBox(0.4, 0.3, 0.2, 1.0)->setPosition(0, 0, 0.1);
  Recorder recorder(world);
  world.integrate();
  recorder.capture();
  PictureOptions options;
  options.width = 200;
  options.height = 120;
  options.contacts = true;
  const std::string file = directory.path + "box.png";
  ASSERT_TRUE(recorder.writePng(file, options));

  png_image header{};
  header.version = PNG_IMAGE_VERSION;
  ASSERT_NE(png_image_begin_read_from_file(&header, file.c_str()), 0);
  EXPECT_EQ(header.width, 200u);
  EXPECT_EQ(header.height, 120u);
  header.format = PNG_FORMAT_RGB;
  std::vector<std::uint8_t> pixels(PNG_IMAGE_SIZE(header));
  ASSERT_NE(png_image_finish_read(&header, nullptr, pixels.data(), 0, nullptr), 0);
  EXPECT_EQ(pixels, recorder.render(options).rgb) << "not what was drawn, or not the same twice";
  EXPECT_GT(std::set<std::uint8_t>(pixels.begin(), pixels.end()).size(), 50u);
}

/// Pixels in which two pictures differ.
int countDifferent(const Image& a, const Image& b) {
  int count = 0;
  for (size_t i = 0; i + 2 < a.rgb.size(); i += 3)
    count += std::equal(&a.rgb[i], &a.rgb[i] + 3, &b.rgb[i]) ? 0 : 1;
  return count;
}

/// A sphere of 0.6 m with more triangles than a mesh with creases may have.
Mesh* addFineSphere(World& world) {
  constexpr int rows = 320;
  std::ostringstream text;
  for (int i = 0; i <= rows; ++i)
    for (int j = 0; j <= rows; ++j) {
      const double polar = M_PI * i / rows, azimuth = 2.0 * M_PI * j / rows;
      const double ring = 0.6 * std::sin(polar);
      text << "v " << ring * std::cos(azimuth) << ' ' << ring * std::sin(azimuth) << ' '
           << 0.6 * std::cos(polar) << '\n';
      if (i == 0 || j == 0) continue;
      const int corner = i * (rows + 1) + j + 1, above = corner - rows - 1;
      text << "f " << above - 1 << ' ' << corner - 1 << ' ' << corner << '\n'
           << "f " << above - 1 << ' ' << corner << ' ' << above << '\n';
    }
  const TemporaryDirectory directory;
  return world.addMesh(directory.write("sphere.obj", text.str()), 1.0, Mat33::identity(), {}, 1.0);
}

/// It collides with nothing, and a message says so.
Cone* addCone(World& world) {
  Cone* cone = nullptr;
  messages::of([&] { cone = new Cone(0.6, 1.4, 1.0); }, messages::OnFatal::GO_ON);
  world.getObjList().push_back(cone);
  return cone;
}

TEST(Picture, EveryShapeCoversItsSilhouette) {
  using Child = Compound::CompoundObjectChild;
  const Mat33 straight = Mat33::identity();
  const std::vector<Child> children = {{SPHERE, {0.4, 0, 0, 0}, "", straight, {{0, -1, 0}}},
                                       {BOX, {0.5, 0.5, 1.0, 0}, "", straight, {{0, 1, 0}}},
                                       {CYLINDER, {0.3, 0.5, 0, 0}, "", straight, {{0, 0, 1}}},
                                       {CAPSULE, {0.3, 0.5, 0, 0}, "", straight, {{0, 0, -1}}}};
  const std::string mesh = ZELVIK_MODEL_DIR "/meshes/octahedron.obj";
  // Seen along x; areas in m^2.
  const std::pair<std::function<SingleBodyObject*(World&)>, double> table[] = {
      {[](World& w) { return w.addSphere(0.6, 1.0); }, M_PI * 0.36},
      {[](World& w) { return w.addBox(0.5, 1.0, 2.0, 1.0); }, 2.0},
      {[](World& w) { return w.addCylinder(0.4, 1.5, 1.0); }, 0.8 * 1.5},
      {[](World& w) { return w.addCapsule(0.4, 1.0, 1.0); }, 0.8 + M_PI * 0.16},
      {[&](World& w) { return w.addMesh(mesh, 1.0, straight, {}, 1.0); }, 2.0},
      {[&](World& w) { return w.addCompound(children, 1.0, {}, straight); },
       M_PI * 0.16 + 0.5 + 0.3 + (0.3 + M_PI * 0.09)},
      {addFineSphere, M_PI * 0.36},
      {addCone, 0.6 * 1.4}};
  PictureOptions options;
  options.width = options.height = 300;
  options.camera.azimuth = options.camera.elevation = 0.0;
  options.camera.distance = 50.0;
  options.camera.fieldOfView = 0.08;
  options.camera.targetW = Vec3{};
  const double side = 2.0 * 50.0 * std::tan(0.04) / 300.0;  // of a pixel (m)
  for (const auto& [add, area] : table) {
    World world;
    SingleBodyObject* body = add(world);
    body->setAppearance("1, 0.2, 0");
    Recorder recorder(world);
    recorder.capture();
    body->setPosition(0.0, 1000.0, 0.0);
    recorder.capture();
    options.frame = 0;
    const Image with = recorder.render(options);
    options.frame = 1;
    const Image without = recorder.render(options);
    EXPECT_NEAR(countDifferent(with, without) * side * side, area, 0.04 * area)
        << body->getObjectType();
  }
}

TEST(Picture, OptionsAndFilesThatCannotBeAreRefused) {
  World world;
  world.addSphere(0.1, 1.0);
  Recorder recorder(world);
  const auto expect = [&](const std::string& text, const std::string& file,
                          const PictureOptions& options) {
    messages::refused(text, [&] { EXPECT_FALSE(recorder.writePng(file, options)); });
  };
  expect("nothing has been captured", "a.png", {});
  recorder.capture();
  PictureOptions wide, flat, lost;
  wide.width = 1000000;
  flat.camera.fieldOfView = 0.0;
  lost.camera.targetW = Vec3{{std::nan(""), 0, 0}};
  expect("1000000 x 400", "a.png", wide);
  expect("field of view 0", "a.png", flat);
  expect("its target is out of range", "a.png", lost);
  messages::refused("a.png is not written: an image of 2 x 2 pixels with 0 bytes", [] {
    EXPECT_FALSE(writePng("a.png", {2, 2, {}}));
  });
  expect("no such directory/a.png cannot be written: No such file", "no such directory/a.png", {});
  PictureOptions follow;
  follow.camera.follow = "nobody";
  messages::expect("nothing named nobody", [&] { EXPECT_EQ(recorder.render(follow).width, 640); });
}

}  // namespace
}  // namespace zelvik::view
