// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// The records that the solver works on against mechanics: for random bodies, contacts, sides and
// both ways of coupling, the velocity that the records give for any impulses is the true relative
// velocity of the contact points after those impulses. This covers every sign of the assembly.

#include <gtest/gtest.h>

#include <Eigen/Dense>
#include <random>
#include <zelvik/World.hpp>

namespace zelvik {
namespace {

using contact::Contact;
using contact::ContactProblemList;
using Problem = contact::Single3DContactProblem;

constexpr double kDt = 0.004;
const Vec3 kGravity{{0.3, -0.2, -9.0}};

/// One body that takes part in a contact: the object, its body, +1 for the A side and -1 for B.
struct Side {
  Object* object;
  size_t body;
  double sign;
  const Contact* record;
};

class AssemblyScene {
 public:
  explicit AssemblyScene(unsigned seed) : generator_(seed) {
    world_.setTimeStep(kDt);
    world_.setGravity(kGravity);
    if (draw() < 0.5) world_.addGround(-0.5);
    const int bodies = 3 + static_cast<int>(5 * draw());
    for (int i = 0; i < bodies; ++i) draw() < 0.3 ? addRobot() : addSingleBody();
  }

  /// Everything of a step up to the solve.
  void prepare() {
    world_.integrate1();
    for (Object* object : world_.getObjList())
      if (object->getBodyType() != STATIC) object->preContactSolverUpdate2(kGravity, kDt);
    for (Object* object : world_.getObjList())
      if (object->getBodyType() == DYNAMIC) world_.contactProblemUpdate(object);
  }

  ContactProblemList& problems() {
    return const_cast<ContactProblemList&>(world_.getContactProblems());
  }
  std::vector<Side> sidesOf(size_t problem) {
    std::vector<Side> sides;
    for (Object* object : world_.getObjList())
      for (const Contact& c : object->getContacts())
        if (c.contactProblemIndex_ == problem)
          sides.push_back({object, c.localBodyIndex_, c.objectA_ ? 1.0 : -1.0, &c});
    return sides;
  }
  double draw() { return static_cast<double>(generator_()) / 4294967296.0; }
  Vec3 drawVector(double size) {
    return {{size * (2 * draw() - 1), size * (2 * draw() - 1), size * (2 * draw() - 1)}};
  }

 private:
  void addSingleBody() {
    SingleBodyObject* body;
    if (draw() < 0.5)
      body = world_.addBox(0.2 + 0.4 * draw(), 0.2 + 0.4 * draw(), 0.2 + 0.4 * draw(), 1 + draw());
    else
      body = world_.addSphere(0.1 + 0.2 * draw(), 1 + draw());
    body->setGyroscopicMode(NO_GYROSCOPIC);
    body->setPosition(drawVector(0.35));
    const Eigen::Vector4d q(draw() - 0.5, draw() - 0.5, draw() - 0.5, draw() - 0.5);
    body->setOrientation(Eigen::Quaterniond(q[0], q[1], q[2], q[3]));
    body->setVelocity(drawVector(1.0), drawVector(2.0));
    const double kind = draw();
    if (kind < 0.15) {
      body->setVelocity(Vec3{}, Vec3{});
      body->setBodyType(STATIC);
    } else if (kind < 0.35) {
      body->setBodyType(KINEMATIC);
    }
    body->setCollisionGroup(1);
  }

  /// A chain of three bodies whose first and last may touch.
  void addRobot() {
    Child root = link("root", draw() < 0.7 ? Joint::FLOATING : Joint::FIXED);
    root.jointPosition = drawVector(0.3);
    Child middle = link("middle", draw() < 0.5 ? Joint::REVOLUTE : Joint::SPHERICAL);
    Child last = link("last", Joint::PRISMATIC);
    middle.childrenMovable.push_back(last);
    root.childrenMovable.push_back(middle);
    testing::internal::CaptureStdout();
    ArticulatedSystem* robot = world_.addArticulatedSystem(root);
    testing::internal::GetCapturedStdout();
    VecDyn gc = robot->getGeneralizedCoordinate(), gv(robot->getDOF());
    for (size_t i = 0; i < gv.n; ++i) gv[i] = 2.0 * draw() - 1.0;
    if (root.jointType == Joint::FLOATING) {
      const Vec3 p = drawVector(0.3);
      for (int i = 0; i < 3; ++i) gc[i] = p[i];
    }
    robot->setGeneralizedCoordinate(gc);
    robot->setGeneralizedVelocity(gv);
  }

  Child link(const std::string& name, Joint::Type type) {
    Child c;
    c.bodyName = name;
    c.jointName = name + "_joint";
    c.jointType = type;
    c.jointLimit[0] = type == Joint::SPHERICAL ? -1.0 : 0.0;
    c.jointAxis = drawVector(1.0);
    c.jointAxis *= 1.0 / norm(c.jointAxis);
    c.jointPosition = drawVector(0.2);
    c.mass = 1.0 + draw();
    c.com = drawVector(0.05);
    c.inertia = {{0.02, 0.001, 0, 0.001, 0.03, 0.002, 0, 0.002, 0.025}};
    CollisionBody ball;
    ball.shape = Shape::SPHERE;
    ball.size = {0.15 + 0.1 * draw()};
    ball.collisionBodyName = name;
    c.collisionBodies.push_back(ball);
    return c;
  }

  std::mt19937 generator_;
  World world_;
};

/// Velocities of all objects, integrated from impulses with dense matrices.
class TrueMotion {
 public:
  explicit TrueMotion(AssemblyScene& scene) : scene_(scene) {}

  /// Velocity of a side's contact point after all impulses of the problems, or before the step.
  Eigen::Vector3d pointVelocity(const Side& side, const Vec3& point, bool beforeStep) {
    const Eigen::MatrixXd J = jacobian(side, point);
    if (beforeStep || side.object->getBodyType() != DYNAMIC) return J * startVelocity(side.object);
    Eigen::VectorXd u = freeVelocity(side.object);
    ContactProblemList& problems = scene_.problems();
    for (size_t k = 0; k < problems.size(); ++k)
      for (const Side& s : scene_.sidesOf(k))
        if (s.object == side.object)
          u += inverseMass(s.object) * jacobian(s, problems[k].position_).transpose() *
               (s.sign * s.record->frame_.e().transpose() * problems[k].imp_.e());
    return J * u;
  }

 private:
  static bool isRobot(const Object* o) { return o->getObjectType() == ARTICULATED_SYSTEM; }
  static const SingleBodyObject& single(const Object* o) {
    return static_cast<const SingleBodyObject&>(*o);
  }
  static const ArticulatedSystem& robot(const Object* o) {
    return static_cast<const ArticulatedSystem&>(*o);
  }

  static Eigen::MatrixXd jacobian(const Side& side, const Vec3& point) {
    if (isRobot(side.object)) {
      MatDyn J(3, robot(side.object).getDOF());
      robot(side.object).getDenseJacobian(side.body, point, J);
      return J.e();
    }
    Eigen::MatrixXd J(3, 6);
    J << Eigen::Matrix3d::Identity(), -skew(point - single(side.object).getComPosition()).e();
    return J;
  }
  static Eigen::VectorXd startVelocity(const Object* o) {
    if (isRobot(o)) return robot(o).getGeneralizedVelocity().e();
    Eigen::VectorXd u(6);
    u << single(o).getLinearVelocity().e(), single(o).getAngularVelocity().e();
    return u;
  }
  static Eigen::MatrixXd inverseMass(const Object* o) {
    if (isRobot(o)) return robot(o).getMassMatrix().e().inverse();
    Eigen::MatrixXd W = Eigen::MatrixXd::Zero(6, 6);
    W.topLeftCorner(3, 3) = Eigen::Matrix3d::Identity() / o->getMass(0);
    W.bottomRightCorner(3, 3) = single(o).getWorldInertia().e().inverse();
    return W;
  }
  static Eigen::VectorXd freeVelocity(const Object* o) {
    Eigen::VectorXd u = startVelocity(o);
    if (isRobot(o)) return u - kDt * inverseMass(o) * robot(o).getNonlinearities().e();
    u.head<3>() += kDt * kGravity.e();
    return u;
  }

  AssemblyScene& scene_;
};

/// v + D p as the solver sees it, with the queried objects holding all impulses.
Eigen::Vector3d velocityOfRecord(const Problem& p) {
  Vec3 v = p.tauStar_;
  for (size_t k = 0; k < p.otherBlocks_.size(); ++k)
    v += p.otherBlocks_[k] * p.otherProblems_[k]->imp_;
  if (p.objA_ != nullptr) p.objA_->addContactPointVel(p.contactIdxA_, v);
  if (p.objB_ != nullptr) p.objB_->subContactPointVel(p.contactIdxB_, v);
  if (p.hasAppliedDelassus_) v -= p.appliedDelassus_ * p.imp_;
  return (v + p.delassus_ * p.imp_).e();
}

TEST(ContactAssembly, RecordsGiveTheTrueRelativeVelocity) {
  size_t problemCount = 0, queried = 0, stored = 0, selfCollisions = 0, kinematic = 0;
  for (unsigned seed = 0; seed < 150; ++seed) {
    AssemblyScene scene(seed);
    scene.prepare();
    ContactProblemList& problems = scene.problems();
    if (problems.size() > 150) continue;
    for (Problem& p : problems) {
      p.imp_ = scene.drawVector(0.5);
      if (p.objA_ != nullptr) p.objA_->updateGenVelWithImpulse(p.contactIdxA_, p.imp_);
      if (p.objB_ != nullptr) p.objB_->updateGenVelWithImpulse(p.contactIdxB_, -p.imp_);
    }
    TrueMotion motion(scene);
    for (size_t k = 0; k < problems.size(); ++k) {
      const Problem& p = problems[k];
      const std::vector<Side> sides = scene.sidesOf(k);
      ASSERT_FALSE(sides.empty());
      Eigen::Vector3d after = Eigen::Vector3d::Zero(), before = after;
      bool singleBodiesOnly = true;
      for (const Side& s : sides) {
        after += s.sign * (s.record->frame_.e() * motion.pointVelocity(s, p.position_, false));
        before += s.sign * (s.record->frame_.e() * motion.pointVelocity(s, p.position_, true));
        singleBodiesOnly &= s.object->getObjectType() != ARTICULATED_SYSTEM;
        selfCollisions += s.record->selfCollision_ ? 1 : 0;
        kinematic += s.object->getBodyType() == KINEMATIC ? 1 : 0;
      }
      const double scale = 1.0 + after.norm();
      EXPECT_LT((velocityOfRecord(p) - after).norm(), 1e-10 * scale)
          << "seed " << seed << " problem " << k;
      if (singleBodiesOnly) {
        EXPECT_NEAR(p.impactVel_, before[2], 1e-12) << "seed " << seed;
      }
      ++problemCount;
      queried += p.objA_ != nullptr || p.objB_ != nullptr ? 1 : 0;
      stored += p.otherBlocks_.empty() ? 0 : 1;
    }
  }
  // The sample holds every kind of contact.
  EXPECT_GT(problemCount, 2000u);
  EXPECT_GT(queried, 500u);
  EXPECT_GT(stored, 250u);
  EXPECT_GT(selfCollisions, 20u);
  EXPECT_GT(kinematic, 100u);
}

}  // namespace
}  // namespace zelvik
