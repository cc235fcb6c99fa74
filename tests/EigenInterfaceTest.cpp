// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <Eigen/Dense>
#include <string>
#include <type_traits>
#include <zelvik/World.hpp>

#include "Messages.hpp"

// Eigen types, expressions and braces in calls. Most of it is that it compiles, and picks the form
// that is meant.

namespace zelvik {
namespace {

static_assert(std::is_aggregate_v<Vec3> && std::is_trivially_copyable_v<Vec3> &&
              std::is_trivially_default_constructible_v<Vec3>);

const Eigen::Vector3d p(1.0, 2.0, 3.0);
const Eigen::Matrix3d R = Eigen::AngleAxisd(0.3, p.normalized()).toRotationMatrix();

Eigen::Vector3d valueOf(const Eigen::Vector3d& v) {
  return v;
}

TEST(EigenInterface, MatricesAreTakenGivenAndConverted) {
  Vec3 v = toVec3(R * p);
  EXPECT_EQ(valueOf(v), valueOf(R * p));  // converts where an Eigen vector is wanted
  v = p;
  EXPECT_EQ(v[2], 3.0);
  v = p.cross(R * p);
  EXPECT_EQ(v[0], valueOf(p.cross(R * p))[0]);
  const Eigen::VectorXd dynamic = Eigen::VectorXd::LinSpaced(7, 0.0, 6.0);
  v = dynamic.segment<3>(2);
  EXPECT_EQ(v[1], 3.0);
  const Mat33 A = toMat33(R);
  const Eigen::Matrix3d back = A;
  EXPECT_EQ(back, R);
  const Eigen::Matrix<double, 3, 3, Eigen::RowMajor> rowMajor = R;
  EXPECT_EQ(toMat33(rowMajor)(0, 2), R(0, 2));
  v = {1, 0, 0};
  EXPECT_EQ(v[0], 1.0);
}

TEST(EigenInterface, BodiesAndWiresTakeVectorsAndBraces) {
  World world;
  world.setGravity(Mat<3, 1>{});
  Box* box = world.addBox(0.1, 0.2, 0.3, 2.0);
  box->setPosition({0, 0, 1});
  box->setOrientation({1, 0, 0, 0});
  box->setVelocity({0, 0, 0.5}, {0, 0, 0});
  Object* object = box;
  object->setExternalForce(0, R * p);
  box->setExternalForce(0, p, -2.0 * p);  // without a torque: along the arm
  box->setExternalForce(0, {1, 0, 0});
  world.integrate();
  Eigen::Vector3d velocity, position;
  object->getVelocity(0, velocity);
  object->getPosition(0, p, position);
  const Eigen::Vector3d force = R * p - 2.0 * p + Eigen::Vector3d::UnitX();
  EXPECT_TRUE(velocity.isApprox(Eigen::Vector3d(0, 0, 0.5) + 0.0025 * force, 1e-14));
  EXPECT_TRUE(position.isApprox(box->getComPosition().e() + p, 1e-14));

  std::vector<Compound::CompoundObjectChild> children(2);
  for (auto& child : children) {
    child.objectType = SPHERE;
    child.objectParam[0] = 0.1;
    child.position = 0.1 * p;
    child.rotation = R;
  }
  auto* compound = world.addCompound(children, 1.0, 0.1 * p, Eigen::Matrix3d::Identity());
  EXPECT_DOUBLE_EQ(compound->getComOffset()[1], 0.2);
  auto* wire = world.addStiffWire(box, 0, p, compound, 0, R * p, 1.0);
  auto* spring = world.addCompliantWire(box, 0, {}, compound, 0, {0, 0, 1}, 1.0, 10.0);
  EXPECT_EQ(wire->getLocalPos2()[0], valueOf(R * p)[0]);
  EXPECT_EQ(spring->getLocalPos2()[2], 1.0);
}

TEST(EigenInterface, RobotsFillMatrices) {
  World world;
  ArticulatedSystem* robot = world.addArticulatedSystem(ZELVIK_MODEL_DIR "/quadruped.urdf");
  world.integrate1();
  const size_t foot = robot->getBodyCount() - 1;
  Eigen::MatrixXd J;
  Eigen::Vector3d out, point;
  robot->getPosition(foot, p, point);
  robot->setGeneralizedVelocity(Eigen::VectorXd::LinSpaced(18, -1.0, 1.0));
  world.integrate1();
  robot->getVelocity(foot, p, out);
  robot->getDenseJacobian(foot, point, J);
  EXPECT_TRUE(out.isApprox(J * robot->getGeneralizedVelocity().e(), 1e-12));
  robot->getAngularVelocity(foot, out);
  robot->getDenseRotationalJacobian(foot, J);
  EXPECT_TRUE(out.isApprox(J * robot->getGeneralizedVelocity().e(), 1e-12));
  const size_t frame = robot->getFrames().size() - 1;
  Mat33 expected;
  Eigen::Matrix3d rotation;
  robot->getFrameOrientation(frame, expected);
  robot->getFrameOrientation(frame, rotation);
  EXPECT_EQ(rotation, expected.e());
  robot->setJointDamping(Eigen::VectorXd::Constant(18, 0.5));
  EXPECT_EQ(robot->getJointDamping()[17], 0.5);
  robot->setJointDamping({0.1, 0.2});
  EXPECT_EQ(robot->getJointDamping()[1], 0.2);
}

TEST(EigenInterface, SizesThatAreKnownAtRunTimeAreChecked) {
  World world;
  Box* box = world.addBox(0.1, 0.2, 0.3, 2.0);
  box->setPosition({5, 0, 0});
  ArticulatedSystem* robot = world.addArticulatedSystem(ZELVIK_MODEL_DIR "/quadruped.urdf");
  world.setGravity(Mat<3, 1>{});
  const Eigen::VectorXd two(2), three = Eigen::VectorXd::Ones(3);
  const Eigen::MatrixXd wide(3, 4);
  const auto refuses = [](const std::string& operation, const auto& call) {
    messages::expect(operation + " values are needed, ", call, messages::OnFatal::GO_ON);
  };
  refuses("setExternalForce: 3 x 1", [&] { box->setExternalForce(0, two); });
  refuses("setExternalForce: 3 x 1", [&] { box->setExternalForce(0, three, two); });
  refuses("setExternalTorque: 3 x 1", [&] { box->setExternalTorque(0, two); });
  refuses("setDimensions: 3 x 1", [&] { box->setDimensions(two); });
  refuses("setComOffset: 3 x 1", [&] { box->setComOffset(two); });
  refuses("setBodyCom: 3 x 1", [&] { robot->setBodyCom(1, two); });
  refuses("setBodyInertia: 3 x 3", [&] { robot->setBodyInertia(1, wide); });
  refuses("addCompound: 3 x 3", [&] { EXPECT_FALSE(world.addCompound({}, 1.0, three, wide)); });
  refuses("addStiffWire: 3 x 1",
          [&] { EXPECT_FALSE(world.addStiffWire(box, 0, two, robot, 0, three, 1.0)); });
  Vec3 v{{1.0, 2.0, 3.0}};
  refuses("toMat: 3 x 1", [&] { v = two; });
  EXPECT_EQ(norm(v), 0.0);
  world.integrate();
  EXPECT_EQ(box->getLinearVelocity().e().norm(), 0.0);
}

}  // namespace
}  // namespace zelvik
