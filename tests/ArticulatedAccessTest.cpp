// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <functional>

#include <zelvik/World.hpp>

#include "ArticulatedTestTools.hpp"

namespace zelvik {
namespace {

using namespace articulated_test;

struct Refusal {
  const char* message;
  std::function<void(AS&)> call;
};

/// A system without a world: nobody but its holder destroys its geoms.
struct DestroyWithGeoms {
  void operator()(AS* system) const {
    system->destroyCollisionBodies(nullptr);
    delete system;
  }
};

/// A floating system of three bodies; the root carries one shape of each kind.
std::unique_ptr<AS, DestroyWithGeoms> systemWithShapes() {
  scenes::RandomTreeOptions options;
  options.bodies = 3;
  options.floatingBase = true;
  Child root = scenes::randomTree(1, options);
  const std::pair<Shape::Type, std::vector<double>> shapes[] = {{Shape::BOX, {0.1, 0.2, 0.3}},
                                                                {Shape::SPHERE, {0.1}},
                                                                {Shape::CAPSULE, {0.1, 0.2}},
                                                                {Shape::CYLINDER, {0.1, 0.2}}};
  for (const auto& [shape, size] : shapes) {
    CollisionBody body;
    body.shape = shape;
    body.size = size;
    body.collisionBodyName = "shape" + std::to_string(root.collisionBodies.size());
    root.collisionBodies.push_back(body);
  }
  return std::unique_ptr<AS, DestroyWithGeoms>(new AS(root, "."));
}

void expectRefused(AS& system, const std::vector<Refusal>& refusals) {
  const VecDyn gc = system.getGeneralizedCoordinate();
  for (const Refusal& refusal : refusals)
    messages::refused(refusal.message, [&] { refusal.call(system); });
  for (size_t i = 0; i < gc.n; ++i) EXPECT_EQ(system.getGeneralizedCoordinate()[i], gc[i]);
}

TEST(ArticulatedAccess, IndicesAndCountsOutOfRangeAreRefused) {
  const auto system = systemWithShapes();
  const VecDyn before = system->getGeneralizedCoordinate();
  VecDyn tooLong(before.n + 1), coordinates(before.n);
  Mat33 R;
  Vec3 p;
  VecDyn one(1);
  MatDyn narrow(1, 2);
  SparseJacobian tooSmall;
  tooSmall.reserve(1);
  expectRefused(
      *system,
      {{"setPGain: 99 values are given, but there is room for",
        [&](AS& s) { s.setPGain(VecDyn(99)); }},
       {"setForceLimits, upper: ", [&](AS& s) { s.setForceLimits(VecDyn(1), VecDyn(99)); }},
       {"setForceLimits, lower: ", [&](AS& s) { s.setForceLimits(VecDyn(99), VecDyn(1)); }},
       {"setGeneralizedCoordinate: ", [&](AS& s) { s.setGeneralizedCoordinate(tooLong); }},
       {"setJointLimits: 99 limits are given",
        [](AS& s) { s.setJointLimits(std::vector<JointLimit>(99)); }},
       {"setSprings: body index 3 is out of range, there are 3 bodies",
        [](AS& s) {
          s.setSprings({JointSpring{3, 1.0, {}}});
        }},
       {"getPosition: body index 3 is out of range", [&](AS& s) { s.getPosition(3, p); }},
       {"getFrameOrientation: frame index 99 is out of range",
        [&](AS& s) { s.getFrameOrientation(99, R); }},
       {"unknown body id", [](AS& s) { EXPECT_EQ(s.getBodyIdx("nobody"), SIZE_MAX); }},
       {"unknown frame id", [](AS& s) { EXPECT_EQ(s.getFrameIdxByName("nowhere"), SIZE_MAX); }},
       {"the Jacobian has room for ", [&](AS& s) { s.getSparseJacobian_internal(2, p, tooSmall); }},
       {"setBasePos: 3 x 1 values are needed, 2 x 1 are given",
        [](AS& s) { s.setBasePos(Eigen::VectorXd(2)); }},
       {"setBaseOrientation: 3 x 3 values are needed, 2 x 4 are given",
        [](AS& s) { s.setBaseOrientation(Eigen::MatrixXd(2, 4)); }},
       {"setBaseOrientation: 4 values of a quaternion or 9 of a matrix are needed, 3 are given",
        [](AS& s) {
          s.setBaseOrientation({1, 0, 0});
        }},
       {"setBaseOrientation: the quaternion has no direction",
        [](AS& s) {
          s.setBaseOrientation({0, 0, 0, 0});
        }},
       {"computeNonlinearities: the vector has 1 entries",
        [&](AS& s) { s.computeNonlinearities(Vec3{}, one); }},
       {"the matrix is 1 by 2", [&](AS& s) { s.computeMassMatrix(narrow); }},
       {"integratePosition: ", [&](AS& s) { s.integratePosition(coordinates, VecDyn(1), 0.1); }}});
  EXPECT_TRUE(system->getSprings().empty());
  Vec4 quat;
  expectRefused(
      *onFixedBase(body("slider", Joint::PRISMATIC, 1.0)),
      {{"This method is only for floating base", [&](AS& s) { s.getBaseOrientation(quat); }}});
}

TEST(ArticulatedAccess, ShapesOfBodiesTakeTheirParametersOnly) {
  const auto system = systemWithShapes();
  const auto resize = [](size_t shape, std::vector<double> size) {
    return [shape, size](AS& s) { s.setCollisionObjectShapeParameters(shape, size); };
  };
  expectRefused(
      *system,
      {{"is a box and takes three parameters", resize(0, {1.0})},
       {"is a sphere and takes only one parameter", resize(1, {1.0, 1.0})},
       {"is a capsule and takes two parameters", resize(2, {1.0})},
       {"is a cylinder and takes two parameters", resize(3, {1.0, 1.0, 1.0})},
       {"'shape1' cannot take the size -1", resize(1, {-1.0})},
       {"setCollisionObjectShapeParameters: collision object index 4 is out of range, there are 4",
        resize(4, {1.0})},
       {"setCollisionObjectPositionOffset: collision object index 4",
        [](AS& s) { s.setCollisionObjectPositionOffset(4, {}); }},
       {"setCollisionObjectOrientationOffset: collision object index 4",
        [](AS& s) { s.setCollisionObjectOrientationOffset(4, {}); }}});
}

template <typename T>
concept TurnsABase = requires(AS& s, const T& value) {
  s.setBaseOrientation(value);
};
static_assert(TurnsABase<Eigen::Matrix3d> && TurnsABase<Eigen::MatrixXd>);
static_assert(!TurnsABase<Eigen::Vector4d> && !TurnsABase<Eigen::VectorXd>);

TEST(ArticulatedAccess, TheBaseTurnsAsTold) {
  const Mat33 quarter{{0.0, 1.0, 0.0, -1.0, 0.0, 0.0, 0.0, 0.0, 1.0}};
  const Vec3 position{{1.0, 2.0, 3.0}};
  for (const bool floating : {false, true}) {
    const auto system = randomSystem(floating, 3);
    Vec3 before, after;
    Mat33 R;
    system->setBasePos(Vec3{});
    system->setBaseOrientation(Mat33::identity());
    system->getPosition(5, before);
    system->setBaseOrientation({2, 0, 0, 2});  // w, x, y, z
    system->setBasePos(position);
    system->getPosition(5, after);
    EXPECT_LT(norm(after - (position + quarter * before)), 1e-14);
    system->getOrientation(0, R);
    for (size_t k = 0; k < 9; ++k) EXPECT_NEAR(R[k], quarter[k], 1e-15);
    Vec4 q{{9.0, 9.0, 9.0, 9.0}};
    const std::string text = messages::of([&] { system->getBaseOrientation(q); });
    EXPECT_EQ(text.find("This method is only for floating base") != std::string::npos, !floating);
    EXPECT_NEAR(q[0], floating ? std::sqrt(0.5) : 9.0, 1e-15);
    EXPECT_NEAR(q[3], floating ? std::sqrt(0.5) : 9.0, 1e-15);
  }
}

TEST(ArticulatedAccess, ShapesMoveWithTheirOffsets) {
  const auto system = systemWithShapes();
  const Mat33 quarter{{0.0, 1.0, 0.0, -1.0, 0.0, 0.0, 0.0, 0.0, 1.0}};
  system->setBasePos(Vec3{{0.0, 0.0, 2.0}});
  system->setBaseOrientation(quarter);
  system->setCollisionObjectPositionOffset(2, {{1.0, 0.0, 0.0}});
  system->setCollisionObjectOrientationOffset(2, quarter);
  system->setCollisionObjectShapeParameters(0, {0.4, 0.5, 0.6});
  system->setCollisionObjectShapeParameters(2, {0.3, 0.7});
  system->setCollisionObjectShapeParameters(3, {0.2, 0.8});
  system->updateCollision();

  const auto& shapes = system->getCollisionBodies();
  Mat33 R;
  Vec3 p;
  system->getPose(system->getVisColObjects()[2], R, p);
  const dReal* position = dGeomGetPosition(shapes[2].colObj);
  for (int k = 0; k < 3; ++k) EXPECT_DOUBLE_EQ(position[k], p[static_cast<size_t>(k)]);
  EXPECT_LT(norm(p - Vec3{{0.0, 1.0, 2.0}}), 1e-14);
  EXPECT_NEAR(R(0, 0), -1.0, 1e-14) << "two quarter turns";
  EXPECT_NEAR(dGeomGetRotation(shapes[2].colObj)[0], -1.0, 1e-14);
  dVector3 lengths;
  dReal radius = 0.0, length = 0.0;
  dGeomBoxGetLengths(shapes[0].colObj, lengths);
  EXPECT_EQ(lengths[2], 0.6);
  dGeomCapsuleGetParams(shapes[2].colObj, &radius, &length);
  EXPECT_EQ(radius + length, 1.0);
  dGeomCylinderGetParams(shapes[3].colObj, &radius, &length);
  EXPECT_EQ(radius + length, 1.0);
}

TEST(ArticulatedAccess, ReferencesShowTheLastStep) {
  // One system is asked once, before the steps; its twin after each. In the scheme of several
  // stages the second half of a step moves the quantities once more.
  for (const bool floating : {false, true})
    for (const auto scheme : {AS::TRAPEZOID, AS::RUNGE_KUTTA_4}) {
      const auto held = randomSystem(floating, 3), asked = randomSystem(floating, 3);
      held->setIntegrationScheme(scheme);
      asked->setIntegrationScheme(scheme);
      const MatDyn &M = held->getMassMatrix(), &inverse = held->getInverseMassMatrix();
      const std::vector<Vec3>& com = held->getCompositeCom();
      const std::vector<Mat33>&inertia = held->getWorldInertia(),
            &composite = held->getCompositeInertia();
      for (int i = 0; i < 3; ++i) {
        Eigen::MatrixXd before = M.e();
        for (const bool second : {false, true}) {
          for (AS* system : {held.get(), asked.get()}) {
            if (!second) system->preContactSolverUpdate1({}, 0.01);
            if (second) system->preContactSolverUpdate2({}, 0.01);
            if (second) system->integrate(0.01, {});
          }
          EXPECT_EQ(M.e() == before, second && scheme == AS::TRAPEZOID);
          before = M.e();
          EXPECT_EQ(M.e(), asked->getMassMatrix().e());
          EXPECT_EQ(inverse.e(), asked->getInverseMassMatrix().e());
          for (size_t b = 0; b < held->getBodyCount(); ++b) {
            EXPECT_EQ(com[b].e(), asked->getCompositeCom()[b].e());
            EXPECT_EQ(inertia[b].e(), asked->getWorldInertia()[b].e());
            EXPECT_EQ(composite[b].e(), asked->getCompositeInertia()[b].e());
          }
        }
      }
    }
}

TEST(ArticulatedAccess, TheCentreOfMassOfAFixedRobotIsThere) {
  const auto system = randomSystem(false, 7);
  system->preContactSolverUpdate1({}, 0.01);
  Vec3 moment{};
  for (size_t i = 0; i < system->getBodyCount(); ++i)
    moment += system->getMass(i) * system->getComPositions()[i];
  EXPECT_LT(norm(system->getCompositeCom()[0] - (1.0 / system->getCompositeMass()[0]) * moment),
            1e-14);
}

TEST(ArticulatedAccess, ASparseJacobianGivesTheVelocityAndThatOfTheWorldIsEmpty) {
  const auto system = randomSystem(true, 4);
  VecDyn h(system->getDOF());
  system->computeNonlinearities(Vec3{}, h);
  const size_t body = system->getBodyCount() - 1;
  const Vec3 point{{0.3, -0.2, 0.1}};
  Vec3 pointW, byJacobian, byBody;
  SparseJacobian J;
  system->getPosition(body, point, pointW);
  system->getSparseJacobian(body, pointW, J);
  system->getVelocity(J, byJacobian);
  system->getVelocity(body, point, byBody);
  EXPECT_LT(norm(byJacobian - byBody), 1e-12);
  system->getSparseRotationalJacobian(SIZE_MAX, J);
  EXPECT_EQ(J.size, 0u);
}

TEST(ArticulatedAccess, ForcesOnASystemCanBeTakenBack) {
  World world;
  world.setGravity(Vec3{});
  Child root = body("root", Joint::FLOATING);
  Object *ball = world.addSphere(0.1, 1.0), *system = world.addArticulatedSystem(root, ".");
  for (Object* object : {ball, system}) {
    object->setExternalForce(0, Mat<3, 1>{{1.0, 0.0, 0.0}});
    object->clearExternalForcesAndTorques();
  }
  world.integrate();
  Vec3 velocity;
  system->getVelocity(0, velocity);
  EXPECT_EQ(velocity[0], 0.0);
  ball->getVelocity(0, velocity);
  EXPECT_NEAR(velocity[0], world.getTimeStep(), 1e-15) << "a single body keeps the sum";
  EXPECT_TRUE(ball->getVisForces().empty());
}

}  // namespace
}  // namespace zelvik
