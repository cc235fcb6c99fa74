// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <zelvik/World.hpp>

#include "Messages.hpp"
#include "TemporaryDirectory.hpp"

// What can be changed between steps (docs/randomisation.md), for single bodies, materials, wires.

namespace zelvik {
namespace {

using Compounds = std::vector<Compound::CompoundObjectChild>;

Compounds dumbbell(double radius, double shift, const std::string& material = "body") {
  return {{BOX, {0.1, 0.1, 0.4}, "body", Mat33::identity(), Vec3{}},
          {SPHERE, {radius}, material, Mat33::identity(), {{shift, 0.0, 0.3}}}};
}

const Mat33 kInertia{{0.02, 0.001, 0.0, 0.001, 0.03, 0.0, 0.0, 0.0, 0.04}};

/// Thrown at the ground with a spin, so that size, mass, friction and bounce all count.
void throwAtTheGround(SingleBodyObject& body) {
  body.setOrientation(Eigen::Quaterniond(0.9, 0.3, 0.2, -0.1));
  body.setPosition(0.0, 0.0, 0.45);
  body.setVelocity(1.5, 0.4, -1.0, 2.0, -3.0, 1.0);
}

std::vector<double> run(World& world, const SingleBodyObject& body) {
  std::vector<double> path;
  for (int i = 0; i < 200; ++i) {
    world.integrate();
    path.insert(path.end(), body.getBodyPosition().v, body.getBodyPosition().v + 3);
    path.insert(path.end(), body.getQuaternion().v, body.getQuaternion().v + 4);
    path.insert(path.end(), body.getAngularVelocity().v, body.getAngularVelocity().v + 3);
  }
  return path;
}

struct Change {
  const char* name;
  std::function<SingleBodyObject*(World&)> before, after;  ///< adds the body, made either way
  std::function<void(World&, SingleBodyObject&)> change;   ///< makes the former the latter
};

template <typename Body, typename Setter>
std::function<void(World&, SingleBodyObject&)> on(Setter setter) {
  return [setter](World&, SingleBodyObject& body) { setter(static_cast<Body&>(body)); };
}

std::vector<Change> changes() {
  const auto box = [](World& w) { return w.addBox(0.2, 0.3, 0.1, 2.0, "body"); };
  const auto with = [box](auto set) {
    return [box, set](World& w) -> SingleBodyObject* {
      SingleBodyObject* body = box(w);
      set(w, *body);
      return body;
    };
  };
  const auto compound = [](double radius, double shift, const std::string& material = "body") {
    return [=](World& w) {
      return w.addCompound(dumbbell(radius, shift, material), 2.0, {{0.01, 0, 0.1}}, kInertia);
    };
  };
  const auto inertia = [](World&, SingleBodyObject& b) { b.setInertia(kInertia); };
  const auto offset = [](World&, SingleBodyObject& b) {
    b.setComOffset(Eigen::Vector3d(0.02, -0.03, 0.01));
  };
  const auto damping = [](World&, SingleBodyObject& b) {
    b.setLinearDamping(0.7);
    b.setAngularDamping(Eigen::Vector3d(0.01, 0.02, 0.03));
  };
  const auto friction = [](World& w, SingleBodyObject&) {
    w.setMaterialPairProp("floor", "body", 0.2, 0.0, 0.01);
  };
  const auto bounce = [](World& w, SingleBodyObject&) {
    w.setMaterialPairProp("floor", "body", 0.8, 0.6, 0.01);
  };
  const auto material = [](World&, SingleBodyObject& b) { b.setMaterial("ice"); };
  return {
      {"radius", [](World& w) { return w.addSphere(0.1, 2.0, "body"); },
       [](World& w) { return w.addSphere(0.17, 2.0, "body"); },
       on<Sphere>([](Sphere& s) { s.setRadius(0.17); })},
      {"box", box, [](World& w) { return w.addBox(0.25, 0.15, 0.2, 2.0, "body"); },
       on<Box>([](Box& b) { b.setDimensions(Eigen::Vector3d(0.25, 0.15, 0.2)); })},
      {"cylinder", [](World& w) { return w.addCylinder(0.1, 0.3, 2.0, "body"); },
       [](World& w) { return w.addCylinder(0.15, 0.1, 2.0, "body"); },
       on<Cylinder>([](Cylinder& c) { c.setSize(0.15, 0.1); })},
      {"capsule", [](World& w) { return w.addCapsule(0.1, 0.3, 2.0, "body"); },
       [](World& w) { return w.addCapsule(0.1, 0.2, 2.0, "body"); },
       on<Capsule>([](Capsule& c) { c.setHeight(0.2); })},
      {"child", compound(0.1, 0.05), compound(0.15, -0.02), on<Compound>([](Compound& c) {
         c.setChildSize(1, {{0.15}});
         c.setChildPose(1, Eigen::Vector3d(-0.02, 0.0, 0.3), Eigen::Matrix3d::Identity());
       })},
      {"child material", compound(0.1, 0.05), compound(0.1, 0.05, "ice"),
       on<Compound>([](Compound& c) { c.setChildMaterial(1, "ice"); })},
      {"mass", box, [](World& w) { return w.addBox(0.2, 0.3, 0.1, 4.0, "body"); },
       on<Box>([](Box& b) { b.scaleMass(2.0); })},
      {"mass alone", with(inertia),
       [](World& w) {
         Box* body = w.addBox(0.2, 0.3, 0.1, 3.0, "body");
         body->setInertia(kInertia);
         return body;
       },
       on<Box>([](Box& b) { b.setMass(3.0); })},
      {"inertia", box, with(inertia), inertia},
      {"com", box, with(offset), offset},
      {"damping", box, with(damping), damping},
      {"friction", box, with(friction), friction},
      {"restitution", box, with(bounce), bounce},
      {"material", box, with(material), material},
      {"gyroscopic mode", box,
       with([](World&, SingleBodyObject& b) { b.setGyroscopicMode(NO_GYROSCOPIC); }),
       on<Box>([](Box& b) { b.setGyroscopicMode(NO_GYROSCOPIC); })},
  };
}

void fill(World& world) {
  world.setTimeStep(0.002);
  world.addGround(0.0, "floor");
  world.setMaterialPairProp("floor", "body", 0.8, 0.0, 0.01);
  world.setMaterialPairProp("floor", "ice", 0.01, 0.0, 0.01);
}

TEST(Randomisation, AChangedBodyMovesOnAsOneThatWasMadeSo) {
  for (const Change& c : changes()) {
    World fresh, changed, unchanged;
    for (World* world : {&fresh, &changed, &unchanged}) fill(*world);
    SingleBodyObject *made = c.after(fresh), *body = c.before(changed), *old = c.before(unchanged);
    // Steps on the ground first, of an even number: the sweeps alternate their direction.
    body->setPosition(0.0, 0.0, 0.02);
    int solves = 0;
    for (; solves < 10 || solves % 2 == 1;) {
      changed.integrate();
      if (!changed.getContactProblems().empty()) ++solves;
    }
    c.change(changed, *body);
    for (SingleBodyObject* each : {made, body, old}) throwAtTheGround(*each);
    const std::vector<double> path = run(fresh, *made);
    EXPECT_EQ(run(changed, *body), path) << c.name;
    EXPECT_NE(run(unchanged, *old), path) << c.name << " makes no difference";
  }
}

TEST(Randomisation, InertiaExportAndBodiesAtRestFollow) {
  const TemporaryDirectory directory;
  World world;
  Sphere* ball = world.addSphere(0.1, 1.0);
  ball->setBodyType(BodyType::STATIC);
  Compound* compound = world.addCompound(dumbbell(0.1, 0.0), 2.0, Vec3{}, kInertia);
  compound->setPosition(3.0, 0.0, 0.0);
  Capsule* capsule = world.addCapsule(0.1, 0.3, 2.0);
  capsule->setPosition(6.0, 0.0, 0.0);
  ball->setRadius(0.5);
  ball->scaleMass(3.0);
  compound->setChildSize(1, {{0.2}});
  compound->setMaterial("rubber");
  capsule->setSize(0.2, 0.0);
  EXPECT_NEAR(ball->getBodyInertia()(1, 1), 0.4 * 3.0 * 0.25, 1e-15);
  // A body that never moves is met by its new size, too.
  EXPECT_NEAR(world.rayTest(Vec3{{0, 0, 2}}, Vec3{{0, 0, -1}}, 5.0).hits[0].geom.depth, 1.5, 1e-12);

  messages::of([&] { world.exportToXml(directory.path, "world.xml"); });
  World read(directory.path + "world.xml");
  ASSERT_EQ(read.getObjList().size(), 3u);
  const auto& children = static_cast<Compound*>(read.getObjList()[1])->getChildren();
  EXPECT_EQ(static_cast<Sphere*>(read.getObjList()[0])->getRadius(), 0.5);
  EXPECT_EQ(children[1].objectParam[0], 0.2);
  EXPECT_EQ(children[0].material, "rubber");
  EXPECT_EQ(static_cast<Capsule*>(read.getObjList()[2])->getHeight(), 0.0);
}

TEST(Randomisation, WiresCanBeWoundAndTied) {
  World world;
  world.setTimeStep(0.001);
  Sphere *hook = world.addSphere(0.1, 1.0), *load = world.addSphere(0.1, 2.0);
  hook->setBodyType(BodyType::STATIC);
  load->setPosition(0.0, 0.0, -1.0);
  auto* spring = world.addCompliantWire(hook, 0, {}, load, 0, {}, 1.0, 100.0);
  spring->setStretchType(2);
  spring->setLength(0.5);
  spring->setStiffness(200.0);
  spring->setLocalPos2(Eigen::Vector3d(0.0, 0.0, 0.1));
  world.integrate();
  EXPECT_NEAR(spring->getTension2()[2], 200.0 * (0.9 - 0.5), 1e-12);
  EXPECT_EQ(spring->getLocalPos2()[2], 0.1);
}

TEST(Randomisation, BadValuesAreRefusedWithAMessageAndChangeNothing) {
  World world;
  Sphere* ball = world.addSphere(0.1, 1.0);
  Box* box = world.addBox(0.1, 0.2, 0.3, 1.0);
  Cylinder* cylinder = world.addCylinder(0.1, 0.2, 1.0);
  Capsule* capsule = world.addCapsule(0.1, 0.2, 1.0);
  Compound* compound = world.addCompound(dumbbell(0.1, 0.0), 2.0, Vec3{}, kInertia);
  auto* wire = world.addCompliantWire(ball, 0, {}, box, 0, {}, 1.0, 5.0);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  const struct {
    const char* text;
    std::function<void()> call;
  } table[] = {
      {"Sphere::setRadius: the radius must be finite and above 0, but is -0.1",
       [&] { ball->setRadius(-0.1); }},
      {"above 0, but is 0", [&] { ball->setRadius(0.0); }},
      {"but x, y, z are 0.1, nan, 1", [&] { box->setDimensions(0.1, nan, 1.0); }},
      {"Cylinder::setSize: ", [&] { cylinder->setHeight(1e9); }},
      {"Capsule::setSize: ", [&] { capsule->setSize(0.1, -1.0); }},
      {"Compound::setChildSize: there is no child 2, the compound has 2",
       [&] {
         compound->setChildSize(2, {{0.1, 0.1, 0.1}});
       }},
      {"child 0 length 2 is 0",
       [&] {
         compound->setChildSize(0, {{0.1, 0.1, 0.0}});
       }},
      {"Compound::setChildPose: ",
       [&] {
         compound->setChildPose(1, {{0, 0, nan}}, kInertia);
       }},
      {"Compound::setChildMaterial: there is no child 7",
       [&] { compound->setChildMaterial(7, "ice"); }},
      {"SingleBodyObject::setMass: the mass must be finite and above 0, but is 0",
       [&] { ball->setMass(0.0); }},
      {"but is 1e-310", [&] { ball->setMass(1e-310); }},
      {"are -1 and -1", [&] { ball->scaleMass(-1.0); }},
      {"the offset must be finite, but is 0 inf 0",
       [&] {
         box->setComOffset(Vec3{{0.0, inf, 0.0}});
       }},
      {"LengthConstraint::setLength: ", [&] { wire->setLength(nan); }},
      {"CompliantLengthConstraint::setStiffness: ", [&] { wire->setStiffness(-1.0); }},
  };
  for (const auto& row : table) messages::refused(row.text, row.call);
  EXPECT_EQ(ball->getRadius(), 0.1);
  EXPECT_EQ(ball->getMass(0), 1.0);
  EXPECT_EQ(box->getDimensions()[1], 0.2);
  EXPECT_EQ(box->getComOffset()[1], 0.0);
  EXPECT_EQ(cylinder->getHeight(), 0.2);
  EXPECT_EQ(capsule->getHeight(), 0.2);
  EXPECT_EQ(compound->getChildren()[0].objectParam[2], 0.4);
  EXPECT_EQ(wire->getStiffness(), 5.0);
  EXPECT_EQ(ball->getShapeChangeCount() + box->getShapeChangeCount(), 0u);
  // What is stored as it stands is told of.
  messages::expect("SingleBodyObject::setInertia: the inertia is not positive definite",
                   [&] { box->setInertia(Mat33{}); });
  messages::expect("value 1 is -2", [&] { box->setAngularDamping(Vec3{{1.0, -2.0, 0.0}}); });
  messages::expect("setLinearDamping: ", [&] { box->setLinearDamping(inf); });
}

}  // namespace
}  // namespace zelvik
