// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <sstream>
#include <zelvik/model/Robot.hpp>
#include <zelvik/object/Mesh.hpp>
#include <zelvik/rotation.hpp>

#include "Messages.hpp"
#include "ModelTestTools.hpp"
#include "TemporaryDirectory.hpp"

// Meshes of robots: finding of files, formats, mending, collision shapes, cache.

namespace zelvik {
namespace {

using model::CollisionShape;
using model::Model;
using model::Options;
using model::Severity;

/// Corners of a box from 0 to its size, and its triangles, counter-clockwise from outside.
struct BoxMesh {
  std::array<Vec3, 8> corners;
  std::vector<std::array<int, 3>> triangles;

  BoxMesh(double x, double y, double z) {
    for (std::size_t i = 0; i < 8; ++i)
      corners[i] = {{i & 1 ? x : 0.0, i & 2 ? y : 0.0, i & 4 ? z : 0.0}};
    const int quads[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4},
                             {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
    for (const auto& q : quads) {
      triangles.push_back({q[0], q[1], q[2]});
      triangles.push_back({q[0], q[2], q[3]});
    }
  }
};

std::string text(const Vec3& v) {
  std::ostringstream stream;
  stream << v[0] << " " << v[1] << " " << v[2];
  return stream.str();
}

std::string asciiStl(const BoxMesh& box) {
  std::string stl = "solid box\n";
  for (const auto& t : box.triangles) {
    stl += "facet normal 0 0 0\nouter loop\n";
    for (int i : t) stl += "vertex " + text(box.corners[static_cast<std::size_t>(i)]) + "\n";
    stl += "endloop\nendfacet\n";
  }
  return stl + "endsolid box\n";
}

std::string binaryStl(const BoxMesh& box) {
  std::string stl = "solid of a writer that begins like the other form";
  stl.resize(80, ' ');
  const auto append = [&](const void* data, std::size_t bytes) {
    stl.append(static_cast<const char*>(data), bytes);
  };
  const auto count = static_cast<std::uint32_t>(box.triangles.size());
  append(&count, 4);
  for (const auto& t : box.triangles) {
    const float normal[3] = {0.0f, 0.0f, 0.0f};
    append(normal, 12);
    for (int i : t)
      for (double value : box.corners[static_cast<std::size_t>(i)].v) {
        const auto coordinate = static_cast<float>(value);
        append(&coordinate, 4);
      }
    append("\0\0", 2);
  }
  return stl;
}

std::string obj(const BoxMesh& box, const std::string& head = "") {
  std::string result = head;
  for (const Vec3& corner : box.corners) result += "v " + text(corner) + "\n";
  for (const auto& t : box.triangles)
    result += "f " + std::to_string(t[0] + 1) + " " + std::to_string(t[1] + 1) + " " +
              std::to_string(t[2] + 1) + "\n";
  return result;
}

std::string ply(const BoxMesh& box) {
  std::string result =
      "ply\nformat ascii 1.0\nelement vertex 8\nproperty float x\nproperty float y\n"
      "property float z\nelement face 12\nproperty list uchar int vertex_indices\nend_header\n";
  for (const Vec3& corner : box.corners) result += text(corner) + "\n";
  for (const auto& t : box.triangles)
    result += "3 " + std::to_string(t[0]) + " " + std::to_string(t[1]) + " " +
              std::to_string(t[2]) + "\n";
  return result;
}

/// Collada in centimetres; the box stands in a node that moves it, in two colours.
std::string dae(const BoxMesh& box, const std::string& upAxis) {
  std::string positions, lower, upper;
  for (const Vec3& corner : box.corners) positions += text(100.0 * corner) + " ";
  for (std::size_t i = 0; i < 12; ++i)
    for (int index : box.triangles[i]) (i < 6 ? lower : upper) += std::to_string(index) + " ";
  const auto effect = [](const std::string& name, const std::string& color) {
    return "<effect id='" + name +
           "-fx'><profile_COMMON><technique sid='t'><lambert><diffuse>"
           "<color>" +
           color + "</color></diffuse></lambert></technique></profile_COMMON></effect>";
  };
  const auto triangles = [](const std::string& material, const std::string& indices) {
    return "<triangles count='6' material='" + material +
           "'><input semantic='VERTEX' source='#v' offset='0'/><p>" + indices + "</p></triangles>";
  };
  return "<?xml version='1.0'?><COLLADA xmlns='http://www.collada.org/2005/11/COLLADASchema' "
         "version='1.4.1'><asset><unit name='centimeter' meter='0.01'/><up_axis>" +
         upAxis + "</up_axis></asset><library_effects>" + effect("red", "1 0 0 1") +
         effect("blue", "0 0 1 1") +
         "</library_effects><library_materials><material id='red'><instance_effect url='#red-fx'/>"
         "</material><material id='blue'><instance_effect url='#blue-fx'/></material>"
         "</library_materials><library_geometries><geometry id='g'><mesh><source id='p'>"
         "<float_array id='pa' count='24'>" +
         positions +
         "</float_array><technique_common><accessor source='#pa' count='8' stride='3'>"
         "<param name='X' type='float'/><param name='Y' type='float'/><param name='Z' "
         "type='float'/></accessor></technique_common></source><vertices id='v'><input "
         "semantic='POSITION' source='#p'/></vertices>" +
         triangles("r", lower) + triangles("b", upper) +
         "</mesh></geometry></library_geometries><library_visual_scenes><visual_scene id='s'>"
         "<node id='n'><translate>100 0 0</translate><instance_geometry url='#g'><bind_material>"
         "<technique_common><instance_material symbol='r' target='#red'/><instance_material "
         "symbol='b' target='#blue'/></technique_common></bind_material></instance_geometry></node>"
         "</visual_scene></library_visual_scenes><scene><instance_visual_scene url='#s'/></scene>"
         "</COLLADA>";
}

/// A robot of one link with one mesh, drawn and colliding.
std::string robot(const std::string& file, const std::string& scale = "1 1 1", bool visual = true,
                  bool collision = true) {
  const std::string geometry =
      "<geometry><mesh filename='" + file + "' scale='" + scale + "'/></geometry>\n";
  return "<robot name='r'>\n<link name='a'>\n<inertial><mass value='1'/>"
         "<inertia ixx='.01' iyy='.01' izz='.01'/></inertial>\n" +
         (visual ? "<visual>" + geometry + "</visual>" : "") +
         (collision ? "<collision>" + geometry + "</collision>" : "") + "</link>\n</robot>";
}

class ModelMesh : public testing::Test {
 protected:
  TemporaryDirectory directory;
  Options options;

  ModelMesh() { options.cacheDirectory = directory.path + "cache"; }

  Model read(const std::string& file, const std::string& scale = "1 1 1") {
    return model::readRobot(directory.write("r.urdf", robot(file, scale)), options);
  }

  /// Six times the volume, and the corners, of a file that was made.
  double volumeOf(const Model& robotRead, const std::string& file, std::size_t* corners = nullptr) {
    std::vector<float> v;
    std::vector<unsigned> indices;
    EXPECT_TRUE(Mesh::loadObj(robotRead.meshDirectory + "/" + file, v, indices, 1.0));
    if (corners != nullptr) *corners = v.size() / 3;
    double volume = 0.0;
    const auto corner = [&](std::size_t i) {
      return Vec3{{v[3 * indices[i]], v[3 * indices[i] + 1], v[3 * indices[i] + 2]}};
    };
    for (std::size_t i = 0; i < indices.size(); i += 3)
      volume += dot(corner(i), cross(corner(i + 1), corner(i + 2))) / 6.0;
    return volume;
  }
};

// A box of 1 x 2 x 3 in each format has its volume and eight corners; a mirrored one still looks
// outwards.
TEST_F(ModelMesh, AllFormatsGiveTheSameBody) {
  const BoxMesh box(1.0, 2.0, 3.0);
  directory.write("text.stl", asciiStl(box));
  directory.write("binary.STL", binaryStl(box));
  directory.write("plain.obj", obj(box));
  directory.write("cloud.ply", ply(box));
  directory.write("scene.dae", dae(box, "Z_UP"));
  for (const char* file : {"text.stl", "binary.STL", "plain.obj", "cloud.ply", "scene.dae"})
    for (const char* scale : {"1 1 1", "-1 1 1", "-.5 -.5 -.5"}) {
      const Model m = read(file, scale);
      ASSERT_TRUE(m.ok()) << file << m.report.text();
      const double expected = std::string(scale) == "-.5 -.5 -.5" ? 0.75 : 6.0;
      std::size_t corners = 0;
      EXPECT_NEAR(volumeOf(m, m.root.collisionBodies.at(0).meshFileName, &corners), expected, 1e-6)
          << file << scale;
      EXPECT_EQ(corners, 8u) << file;
      double drawn = 0.0;
      for (const VisObject& visual : m.root.visObjects) drawn += volumeOf(m, visual.meshFileName);
      EXPECT_NEAR(drawn, expected, 1e-6) << file << scale;
      EXPECT_EQ(m.report.meshes.at(0).openEdges, 0u) << file;
    }
}

TEST_F(ModelMesh, ColladaKeepsUnitNodesColoursAndCoordinates) {
  const BoxMesh box(1.0, 2.0, 3.0);
  directory.write("up.dae", dae(box, "Y_UP"));
  const Model m = read("up.dae");
  ASSERT_TRUE(m.ok()) << m.report.text();
  EXPECT_NEAR(m.report.meshes[0].lower[0], 1.0, 1e-6) << "the node moves it by a metre";
  EXPECT_NEAR(m.report.meshes[0].upper[2], 3.0, 1e-6) << "coordinates are taken as they are";
  EXPECT_NE(findingOf(m.report, "mesh-axis"), nullptr);
  options.turnUpAxis = true;
  const Model turned = read("up.dae");
  EXPECT_NEAR(turned.report.meshes[0].lower[1], -3.0, 1e-6);
  EXPECT_NEAR(turned.report.meshes[0].upper[2], 2.0, 1e-6) << "y points up";
  ASSERT_EQ(m.root.visObjects.size(), 2u);
  EXPECT_EQ(m.root.visObjects[0].color[0], 1.0);
  EXPECT_EQ(m.root.visObjects[1].color[2], 1.0);
}

TEST_F(ModelMesh, CacheFollowsTheFiles) {
  const BoxMesh box(1.0, 1.0, 1.0);
  directory.write("c.obj", obj(box, "mtllib c.mtl\nusemtl m\n"));
  directory.write("c.mtl", "newmtl m\nKd 0 1 0\n");
  EXPECT_EQ(read("c.obj").root.visObjects.at(0).color[1], 1.0);
  Model m = read("c.obj");
  EXPECT_TRUE(m.report.meshes.at(0).fromCache);
  EXPECT_TRUE(m.report.meshes.at(1).fromCache);
  EXPECT_EQ(m.root.visObjects.at(0).color[1], 1.0);
  directory.write("c.mtl", "newmtl m\nKd 0 0.5 0\n");  // of another file than the one hashed
  EXPECT_EQ(read("c.obj").root.visObjects.at(0).color[1], 0.5);
  directory.write("c.obj", obj(BoxMesh(2.0, 1.0, 1.0)));
  m = read("c.obj");
  EXPECT_NEAR(volumeOf(m, m.root.collisionBodies.at(0).meshFileName), 2.0, 1e-6);
  // An entry that was damaged is made again.
  const std::string entry = m.root.collisionBodies[0].meshFileName;
  std::ofstream(m.meshDirectory + "/" + entry.substr(0, entry.find('/')) + "/mesh.json") << "{";
  EXPECT_TRUE(read("c.obj").ok());
  // Where nothing can be written that is said.
  options.cacheDirectory = directory.write("file", "");
  EXPECT_NE(findingOf(read("c.obj").report, "mesh-unreadable"), nullptr);
}

TEST_F(ModelMesh, FilesAreFoundWhereverRobotsKeepThem) {
  const std::string mesh = asciiStl(BoxMesh(1.0, 1.0, 1.0));
  directory.write("pkg/meshes/Base.STL", mesh);
  directory.write("pkg/package.xml", "<package><name> my_robot </name></package>");
  directory.write("elsewhere/other/m.stl", mesh);
  const auto readFrom = [&](const std::string& file) {
    return model::readRobot(directory.write("pkg/urdf/r.urdf", robot(file)), options);
  };
  for (const char* file :
       {"package://my_robot/meshes/Base.STL", "package://pkg/meshes/Base.STL",
        "package://renamed/meshes/Base.STL", "model://pkg/meshes/Base.STL", "../meshes/Base.STL",
        "../meshes/../meshes/base.stl", "package://pkg/Meshes/base.stl"})
    EXPECT_TRUE(readFrom(file).ok()) << file;
  EXPECT_TRUE(readFrom("file://" + directory.path + "pkg/meshes/Base.STL").ok());
  EXPECT_NE(findingOf(readFrom("../meshes/base.stl").report, "mesh-path"), nullptr);
  EXPECT_FALSE(readFrom("package://other/m.stl").ok());
  options.packageDirectories = {directory.path + "elsewhere/"};
  EXPECT_TRUE(readFrom("package://other/m.stl").ok());
  options.packageDirectories = {directory.path + "elsewhere/other"};
  EXPECT_TRUE(readFrom("package://other/m.stl").ok());

  const Model lost = readFrom("package://my_robot/no.stl");
  const model::Finding* finding = findingOf(lost.report, "mesh-not-found");
  ASSERT_NE(finding, nullptr);
  EXPECT_EQ(finding->severity, Severity::WARNING) << "the visual comes first";
  EXPECT_EQ(finding->line, 4);
  EXPECT_EQ(finding->element, "link 'a' / visual / geometry / mesh");
  EXPECT_NE(finding->message.find(directory.path + "pkg/no.stl"), std::string::npos);
  EXPECT_FALSE(lost.ok()) << "a collision mesh is not done without";
  EXPECT_NE(findingOf(readFrom("package://pkg/../../x.stl").report, "mesh-refused"), nullptr);
  EXPECT_NE(findingOf(readFrom("http://host/x.stl").report, "mesh-refused"), nullptr);
}

TEST_F(ModelMesh, HostileAndBrokenFilesEndInAMessage) {
  const std::string stl = binaryStl(BoxMesh(1.0, 1.0, 1.0));
  const std::string whole = obj(BoxMesh(1.0, 1.0, 1.0));
  const std::pair<const char*, std::string> files[] = {
      {"cut.stl", stl.substr(0, 300)},
      {"empty.stl", ""},
      {"points.obj", "v 0 0 0\nv 1 0 0\n"},
      {"flat.obj", "v 0 0 0\nv 1 0 0\nv 2 0 0\nf 1 2 3\n"},
      {"nan.obj", "v 0 0 nan\nv 1 0 0\nv 0 1 0\nf 1 2 3\n"},
      {"far.obj", "v 0 0 0\nv 1e30 0 0\nv 0 1e30 0\nf 1 2 3\n"},
      {"no.dae", "<COLLADA/>"},
      {"r.txt", whole},
  };
  for (const auto& [name, content] : files) {
    directory.write(name, content);
    const Model m = read(name);
    const model::Finding* finding = findingOf(m.report, "mesh-unreadable");
    EXPECT_NE(finding, nullptr) << name << m.report.text();
  }
  directory.write("whole.obj", whole);
  options.largestMesh = 11;
  EXPECT_FALSE(read("whole.obj").ok());
  options.largestMesh = 12;
  EXPECT_TRUE(read("whole.obj").ok());
  // A material file outside of the folder of the mesh is not opened.
  directory.write("secret.mtl", "newmtl m\nKd 0 1 0\n");
  directory.write("below/m.obj", obj(BoxMesh(1.0, 1.0, 1.0), "mtllib ../secret.mtl\nusemtl m\n"));
  EXPECT_EQ(read("below/m.obj").root.visObjects.at(0).color[1], 0.7);
}

TEST_F(ModelMesh, OddMeshesAreMendedOrNamed) {
  directory.write("odd.obj", obj(BoxMesh(1000.0, 1000.0, 1000.0)) + "f 1 1 2\nf 1 2 1\n");
  const Model m = read("odd.obj");
  ASSERT_TRUE(m.ok());
  EXPECT_EQ(m.report.meshes[0].degenerate, 2u);
  EXPECT_NE(findingOf(m.report, "mesh-degenerate"), nullptr);
  ASSERT_NE(findingOf(m.report, "mesh-size"), nullptr);
  EXPECT_NE(findingOf(m.report, "mesh-size")->advice.find("0.001"), std::string::npos);
  // What lies in a plane has no hull, and collides as it is.
  directory.write("sheet.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nf 1 2 3\nf 2 4 3\n");
  EXPECT_NE(findingOf(read("sheet.obj").report, "mesh-flat"), nullptr);
}

/// Points on the surface of a shape, turned and moved.
std::string cloud(const std::function<Vec3(Vec3)>& ofSphere) {
  Mat33 rotation;
  const Vec4 q{{0.5, 0.5, -0.5, 0.5}};
  quatToRotMat(q, rotation);
  std::string points, faces;
  for (int i = 0; i < 1200; ++i) {
    const double z = 1.0 - (2.0 * i + 1.0) / 1200.0, angle = 2.399963229728653 * i;
    const double r = std::sqrt(1.0 - z * z);
    const Vec3 p = rotation * ofSphere({{r * std::cos(angle), r * std::sin(angle), z}});
    points += "v " + text(p + Vec3{{0.1, 0.2, 0.3}}) + "\n";
    if (i % 3 == 2)
      faces += "f " + std::to_string(i - 1) + " " + std::to_string(i) + " " +
               std::to_string(i + 1) + "\n";
  }
  return points + faces;
}

TEST_F(ModelMesh, PrimitivesFitWhatLooksLikeThem) {
  struct Case {
    Shape::Type shape;
    std::function<Vec3(Vec3)> ofSphere;
    std::vector<double> size;
  };
  const Case cases[] = {
      {Shape::SPHERE, [](const Vec3& u) { return 0.5 * u; }, {0.5}},
      {Shape::CAPSULE,
       [](Vec3 u) {
         u *= 0.1;
         u[2] += u[2] > 0.0 ? 0.3 : -0.3;
         return u;
       },
       {0.1, 0.6}},
      {Shape::CYLINDER,
       [](Vec3 u) {
         const double r = std::hypot(u[0], u[1]);
         return Vec3{{0.2 * u[0] / r, 0.2 * u[1] / r, u[2] > 0.0 ? 0.05 : -0.05}};
       },
       {0.2, 0.1}},
      {Shape::BOX,
       [](Vec3 u) {
         return Vec3{{u[0] > 0 ? 0.1 : -0.1, u[1] > 0 ? 0.2 : -0.2, u[2] > 0 ? 0.3 : -0.3}};
       },
       {0.2, 0.4, 0.6}}};
  options.collisionShape = CollisionShape::PRIMITIVE;
  for (const Case& c : cases) {
    directory.write("cloud.obj", cloud(c.ofSphere));
    const Model m = read("cloud.obj");
    ASSERT_TRUE(m.ok()) << m.report.text();
    const CollisionBody& body = m.root.collisionBodies.at(0);
    ASSERT_EQ(body.shape, c.shape) << m.report.text();
    std::vector<double> size = body.size;
    if (c.shape == Shape::BOX) std::sort(size.begin(), size.end());
    for (std::size_t i = 0; i < c.size.size(); ++i)
      EXPECT_NEAR(size[i], c.size[i], 0.02 * c.size[0]) << c.shape;
    EXPECT_NEAR(norm(body.posOffset - Vec3{{0.1, 0.2, 0.3}}), 0.0, 0.02 * c.size[0]) << c.shape;
    EXPECT_LT(m.report.shapes.at(1).error, 0.04 * c.size[0]) << c.shape;
  }
}

// A ball of many corners keeps as many as allowed, lies inside, and is off by what is said.
TEST_F(ModelMesh, HullsKeepTheCornersThatMatter) {
  directory.write("ball.obj", cloud([](const Vec3& u) { return u; }));
  options.largestHull = 50;
  const Model m = read("ball.obj");
  std::size_t corners = 0;
  const double volume = volumeOf(m, m.root.collisionBodies.at(0).meshFileName, &corners);
  EXPECT_EQ(corners, 50u);
  const double ball = 4.0 / 3.0 * M_PI;
  EXPECT_LT(volume, ball);
  EXPECT_GT(volume, 0.75 * ball);
  // Radius r of the largest ball inside: the farthest corner lies 1 - r outside.
  EXPECT_GT(m.report.shapes.at(1).error, 0.0);
  EXPECT_LT(m.report.shapes.at(1).error, 0.2);
}

}  // namespace
}  // namespace zelvik
