// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <zelvik/object/Mesh.hpp>

#include "Messages.hpp"
#include "TerrainTestTools.hpp"

namespace zelvik {
namespace {

using namespace terrain_test;

const std::string kFourVertices = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0.5\n";

TEST(MeshObj, FacesOfEveryKindOfLineBecomeTriangles) {
  const std::pair<const char*, std::vector<unsigned int>> table[] = {
      {"f 1 2 3 4\n", {0, 1, 2, 2, 3, 0}},  // the second turns from the third corner
      {"f 1//9 2//9 3//9 4//9 1//9\n", {0, 1, 2, 2, 3, 0}},  // more than a quad: dropped
      {"f 1 2 3/7 3/8\n", {0, 1, 2}},                        // fourth equals third up to the slash
      {"f 1 2 3 4\r\n", {0, 1, 2, 2, 3, 0}},                 // line ends of another system
      {"f 1 2 5\nv 9 9 9\n", {0, 1, 4}},                     // vertices after faces
      {"# f 1 2 4\nvn 0 0 1\nvt 1 1\nusemtl f\ng\nf 1 2 3", {0, 1, 2}},
  };
  for (const auto& [text, expected] : table) {
    const TemporaryFile file("faces.obj", kFourVertices + text);
    std::vector<float> vertices;
    std::vector<unsigned int> indices;
    EXPECT_TRUE(Mesh::loadObj(file.path, vertices, indices, 1.0));
    EXPECT_EQ(indices, expected) << text;
  }
}

TEST(MeshObj, VerticesAreScaledInDoubleAndAppended) {
  const TemporaryFile file("scaled.obj", "v   1e20 -2.5 +.5 7\nv 0 0 0\nv 1 1 1\nf 1 2 4\n");
  std::vector<float> vertices{5, 5, 5};
  std::vector<unsigned int> indices{0, 0, 0};
  ASSERT_TRUE(Mesh::loadObj(file.path, vertices, indices, 1e-20));
  EXPECT_FLOAT_EQ(vertices[3], 1.0f);
  EXPECT_FLOAT_EQ(vertices[4], -2.5e-20f);
  EXPECT_EQ(indices, (std::vector<unsigned int>{0, 0, 0, 0, 1, 3}));
}

TEST(MeshObj, BrokenFilesAreRefusedByFileAndLine) {
  std::vector<float> vertices;
  std::vector<unsigned int> indices;
  const auto load = [&](const std::string& path) { Mesh::loadObj(path, vertices, indices, 1.0); };
  const struct {
    const char* name;
    std::string text;
    const char* message;
  } table[] = {
      {"upper.OBJ", kFourVertices + "f 1 2 3\n", "Only obj files are supported for mesh collision"},
      {"high.obj", kFourVertices + "f 1 2 3\nf 1 5 2\n", "high.obj:6: the vertex index 5 is out"},
      {"relative.obj", kFourVertices + "f -1 1 2\n", "the vertex index -1 is out"},
      {"points.obj", kFourVertices, "points.obj has no faces"},
      {"big.obj", "v 0 0 1e39\nf 1 1 1\n", "that is not finite"},
  };
  for (const auto& row : table) {
    const TemporaryFile file(row.name, row.text);
    const auto action = [&] { load(file.path); };
    messages::refused(row.message, action);
    EXPECT_TRUE(vertices.empty() && indices.empty()) << row.name;
  }
  // Two blanks between numbers, a missing and a malformed number.
  for (const char* line : {"v 0  0 0\n", "v 0 0\n", "v 0 x 0\n", "f 1 2\n", "f a b c\n", "v \n"}) {
    const TemporaryFile file("malformed.obj", line);
    EXPECT_THROW(load(file.path), std::invalid_argument) << line;
  }
}

TEST(Mesh, ScalesTheShapeAndKeepsStrayVerticesFromTheCollider) {
  const OdeScope ode;
  const TemporaryFile file("body.obj", kFourVertices + "v 7 7 7\nv 8 8 8\nf 1 2 3\n");
  Mesh mesh(file.path, nullptr, 2.0, Mat33::identity(), {{0.1, 0.2, 0.3}}, 2.0);
  // Vertices without a triangle would end the process inside ODE.
  EXPECT_EQ(mesh.getVertices(), (std::vector<float>{0, 0, 0, 2, 0, 0, 2, 2, 0}));
  EXPECT_EQ(mesh.getComPosition()[2], 0.3);  // not scaled
  mesh.setPosition(0.0, 0.0, 1.0);
  const dGeomID sphere = dCreateSphere(nullptr, 0.5);
  dGeomSetPosition(sphere, 1.5, 0.5, 1.4);
  dContactGeom contact;
  ASSERT_EQ(dCollide(sphere, mesh.getCollisionObject(), 1, &contact, sizeof contact), 1);
  EXPECT_NEAR(contact.depth, 0.1, 1e-6);
  EXPECT_NEAR(contact.normal[2], 1.0, 1e-6);
  dGeomDestroy(sphere);
}

TEST(Mesh, ArraysAreCheckedBeforeTheyReachTheCollider) {
  const OdeScope ode;
  const struct {
    std::vector<float> vertices;
    std::vector<unsigned int> indices;
    const char* message;
  } table[] = {
      {{0, 0, 0, 1, 0, 0, 0, 1, 0}, {0, 1, 3}, "The index 3 at position 2"},
      {{0, 0, 0, 1, 0, 0, 0, 1}, {0, 1, 1}, "8 values and 3 indices"},
      {{0, 0, 0, 1, 0, 2e8f, 0, 1, 0}, {0, 1, 2}, "which is not within"},
  };
  for (const auto& row : table) {
    const auto build = [&] {
      Mesh mesh(row.vertices, row.indices, nullptr, 1.0, Mat33::identity(), {}, 1.0);
      EXPECT_EQ(mesh.getCollisionObject(), nullptr);
    };
    messages::refused(row.message, build);
  }
}

}  // namespace
}  // namespace zelvik
