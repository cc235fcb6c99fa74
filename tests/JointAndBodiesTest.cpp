// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <zelvik/object/GeomRecord.hpp>
#include <zelvik/rotation.hpp>

#include "Messages.hpp"
#include "RandomTree.hpp"

namespace zelvik {
namespace {

using messages::OnFatal;

/// Random trees with bodies on fixed joints anywhere in them.
class MixedTree {
 public:
  explicit MixedTree(std::uint32_t seed) : random_(seed) {}

  Child make(size_t depth, bool fixed) {
    Child node;
    node.jointType = fixed ? Joint::FIXED : Joint::REVOLUTE;
    node.bodyName = "b" + std::to_string(count_);
    node.jointName = "j" + std::to_string(count_++);
    node.mass = random_.uniform(0.0, 5.0) < 1.0 ? 0.0 : random_.uniform(0.1, 3.0);
    node.com = random_.vector(1.0);
    node.jointPosition = random_.vector(1.0);
    node.jointRotation = random_.rotation();
    if (node.mass > 0.0)
      similarityTransform(random_.rotation(), Mat33{{0.3, 0, 0, 0, 0.4, 0, 0, 0, 0.5}},
                          node.inertia);
    CollisionBody& body = node.collisionBodies.emplace_back();
    body.collisionBodyName = node.bodyName;
    body.posOffset = random_.vector(1.0);
    body.rotOffset = random_.rotation();
    if (depth == 0) return node;
    for (int i = static_cast<int>(random_.uniform(0.0, 4.0)); i > 0; --i) {
      const bool childFixed = random_.uniform(0.0, 1.0) < 0.5;
      (childFixed ? node.childrenFixed : node.childrenMovable)
          .push_back(make(depth - 1, childFixed));
    }
    return node;
  }

 private:
  scenes::RandomSource random_;
  size_t count_ = 0;
};

/// What a tree at coordinate zero amounts to in the world.
struct Whole {
  double mass = 0.0;
  Vec3 moment{};
  Mat33 inertia{};  // about the origin
  std::map<std::string, std::pair<Vec3, Mat33>> shapes, joints;
};

/// With general products, unlike the code under test.
void addTo(Whole& whole, const Child& node, const Vec3& parentPosition,
           const Mat33& parentRotation) {
  const Vec3 p = parentPosition + parentRotation * node.jointPosition;
  const Mat33 R = parentRotation * node.jointRotation;
  const Vec3 c = p + R * node.com;
  whole.mass += node.mass;
  whole.moment += node.mass * c;
  const Mat33 s = skew(c);
  whole.inertia += R * node.inertia * transpose(R) + node.mass * (transpose(s) * s);
  whole.joints[node.jointName] = {p, R};
  for (const CollisionBody& body : node.collisionBodies)
    whole.shapes[body.collisionBodyName] = {p + R * body.posOffset, R * body.rotOffset};
  for (const auto* children : {&node.childrenFixed, &node.childrenMovable})
    for (const Child& child : *children) addTo(whole, child, p, R);
}

double poseDifference(const std::pair<Vec3, Mat33>& a, const std::pair<Vec3, Mat33>& b) {
  return norm(a.first - b.first) + (a.second.e() - b.second.e()).norm();
}

/// Rounding of chains of at most six transforms of values of order ten.
constexpr double kTolerance = 1e-12;

TEST(ConsumeFixedBodies, KeepsTheWholeInTheWorld) {
  for (std::uint32_t seed = 0; seed < 200; ++seed) {
    Child root = MixedTree(seed).make(5, false);
    Whole before, after;
    addTo(before, root, {}, Mat33::identity());
    std::vector<CoordinateFrame> frames;
    root.consumeFixedBodies(frames);
    addTo(after, root, {}, Mat33::identity());

    const double scale = 1.0 + before.mass * 100.0;
    EXPECT_NEAR(after.mass, before.mass, kTolerance * scale);
    EXPECT_LT(norm(after.moment - before.moment), kTolerance * scale);
    EXPECT_LT((after.inertia.e() - before.inertia.e()).norm(), kTolerance * scale);
    ASSERT_EQ(after.shapes.size(), before.shapes.size());
    for (const auto& [name, pose] : before.shapes)
      EXPECT_LT(poseDifference(after.shapes.at(name), pose), kTolerance);
    // Every joint below the root has left a frame; movable ones are still where they were.
    ASSERT_EQ(frames.size(), before.joints.size() - 1);
    for (const CoordinateFrame& frame : frames) {
      EXPECT_EQ(frame.isChild, frame.jointType != Joint::FIXED);
      EXPECT_EQ(frame.isChild, after.joints.count(frame.name) == 1);
      if (!frame.isChild) continue;
      EXPECT_LT(poseDifference(after.joints.at(frame.name), before.joints.at(frame.name)),
                kTolerance);
    }
    EXPECT_EQ(root.numberOfBodiesFromHere(), after.joints.size());
  }
}

Child named(const std::string& name, Joint::Type type) {
  Child node;
  node.bodyName = name;
  node.jointName = "to_" + name;
  node.jointType = type;
  return node;
}

TEST(ConsumeFixedBodies, KeepsTheOrderOfChildrenAndFrames) {
  // root -> m1, root =f1= (=f2= m3, m2), where = is a fixed joint.
  Child f2 = named("f2", Joint::FIXED), f1 = named("f1", Joint::FIXED), root;
  f2.jointPosition = {{0, 1, 0}};
  f1.jointRotation = {{0, 1, 0, -1, 0, 0, 0, 0, 1}};  // quarter turn about z
  f1.jointPosition = {{1, 0, 0}};
  f2.childrenMovable.push_back(named("m3", Joint::SPHERICAL));
  f1.childrenMovable.push_back(named("m2", Joint::PRISMATIC));
  f1.childrenFixed.push_back(f2);
  root.bodyName = "base";
  root.childrenMovable.push_back(named("m1", Joint::REVOLUTE));
  root.childrenFixed.push_back(f1);
  root.com = {{9, 9, 9}};

  std::vector<CoordinateFrame> frames;
  root.consumeFixedBodies(frames);
  std::string movable, listed;
  for (const Child& child : root.childrenMovable) movable += child.bodyName + " ";
  EXPECT_EQ(movable, "m1 m2 m3 ");
  for (const CoordinateFrame& frame : frames)
    listed += frame.name + "@" + frame.parentName + "/" + frame.bodyName + " ";
  EXPECT_EQ(listed, "to_m1@m1/m1 to_m2@m2/m2 to_m3@m3/m3 to_f1@base/f1 to_f2@base/f2 ");
  EXPECT_EQ(frames[4].position[0], 0.0);  // (1, 0, 0) + Rz(90) (0, 1, 0)
  EXPECT_EQ(root.com[0], 0.0);            // a body without mass has its centre at the origin
  EXPECT_EQ(root.numberOfGCFromHere(), 6u);
  EXPECT_EQ(root.numberOfDOFFromHere(), 5u);
}

CollisionBody shape(Shape::Type type, const std::vector<double>& size) {
  CollisionBody body;
  body.shape = type;
  body.size = size;
  body.collisionBodyName = "link/0";
  return body;
}

TEST(Child, NoDepthExhaustsTheStack) {
  // Built from the leaf, so that nothing is copied: 50 000 joints, every third of them fixed.
  Child root;
  for (int i = 50000; i-- > 0;) {
    Child above;
    root.jointType = i % 3 == 0 ? Joint::FIXED : Joint::REVOLUTE;
    root.bodyName = root.jointName = std::to_string(i);
    (i % 3 == 0 ? above.childrenFixed : above.childrenMovable).push_back(std::move(root));
    root = std::move(above);
  }
  Child copy = root;
  copy = root;
  messages::refused("the tree is more than 2000 joints deep",
                    [&] { ArticulatedSystem system(copy, "."); });
  std::vector<CoordinateFrame> frames;
  copy.consumeFixedBodies(frames);
  EXPECT_EQ(frames.size(), 50000u);
  EXPECT_EQ(copy.numberOfBodiesFromHere(), 1u + 33333u);
  EXPECT_EQ(copy.numberOfDOFFromHere(), 33333u);
}

TEST(VisualObjects, OfAnUnknownShapeAreRefused) {
  Child node;
  node.visObjects.resize(2);
  node.visObjects[0].shape = static_cast<Shape::Type>(6);
  std::vector<VisObject> output;
  messages::refused("unknown shape 6", [&] { node.initVisuals(output); });
  EXPECT_EQ(output.size(), 1u);
}

TEST(CollisionBodies, UnusableShapesAreRefusedBeforeTheyBecomeGeoms) {
  CollisionBody ply = shape(Shape::MESH, {});
  ply.meshFileName = "a.ply";
  const std::pair<CollisionBody, std::string> rows[] = {
      {shape(Shape::BOX, {1, 2}), "collision body 'link/0': a box takes 3 sizes, 2 given"},
      {shape(Shape::CAPSULE, {1, NAN}), "collision body 'link/0': nan is no size of a capsule"},
      {shape(static_cast<Shape::Type>(6), {1}), "collision body 'link/0': unknown shape 6"},
      {ply, "Mesh collision bodies must be in an obj format"},
  };
  for (const auto& [body, text] : rows) {
    Child root;
    root.collisionBodies = {body, shape(Shape::SPHERE, {1})};
    std::vector<CollisionDefinition> geoms;
    std::vector<VisObject> visuals;
    std::vector<dTriMeshDataID> data;
    std::vector<std::vector<float>> vertices;
    std::vector<std::vector<unsigned int>> indices;
    const auto create = [&] {
      root.initCollisionBodies(geoms, visuals, data, vertices, indices, "");
    };
    EXPECT_EQ(messages::of(create, OnFatal::GO_ON),
              "ArticulatedSystemCollisionBodies.cpp: " + text);
    ASSERT_EQ(geoms.size() * visuals.size(), 1u);
    EXPECT_EQ(dGeomGetClass(geoms[0].colObj), dSphereClass);
    destroyGeom(geoms[0].colObj);
  }
}

}  // namespace
}  // namespace zelvik
