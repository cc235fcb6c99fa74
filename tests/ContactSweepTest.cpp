// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <random>
#include <zelvik/World.hpp>

#include "ArticulatedTestTools.hpp"

// The solver's sweeps over batches and rows against its sweeps over the records, which follow the
// definition.

namespace zelvik {
namespace {

/// A chain of boxes that lie on the ground: more contacts than a robot has points for.
std::string snake(int links) {
  std::string text = "<robot name='snake'>";
  for (int i = 0; i < links; ++i) {
    const std::string n = std::to_string(i);
    text += "<link name='l" + n +
            "'><inertial><mass value='0.5'/><inertia ixx='1e-3' iyy='1e-3' izz='1e-3' ixy='0' "
            "ixz='0' iyz='0'/></inertial><collision><geometry><box size='0.16 0.1 0.1'/></geometry>"
            "</collision></link>";
    if (i == 0) continue;
    text += "<joint name='j" + n + "' type='revolute'><parent link='l" + std::to_string(i - 1) +
            "'/><child link='l" + n +
            "'/><origin xyz='0.2 0 0'/><axis xyz='0 1 0'/><limit lower='-0.02' upper='0.02' "
            "effort='10' velocity='10'/></joint>";
  }
  return text + "</robot>";
}

/// Every kind of side and pair: bodies with few and with many contacts, on a moving base and on the
/// ground, robots with limits, with contacts among their own bodies, with other bodies on them,
/// with too many contacts for blocks, and wires.
void fill(World& world, unsigned seed) {
  std::mt19937 generator(seed);
  const auto number = [&] { return static_cast<double>(generator()) / 2147483648.0 - 1.0; };
  world.setTimeStep(0.004);
  world.addGround();
  Box* base = world.addBox(2.0, 2.0, 0.2, 1.0);
  base->setBodyType(BodyType::KINEMATIC);
  base->setPosition(5.0, 0.0, 0.099);
  base->setVelocity(0.3, 0.1, 0.0, 0.0, 0.0, 0.2);
  const auto push = [&](SingleBodyObject* body) {
    body->setVelocity(number(), number(), 0.5 * number() - 0.5, number(), number(), number());
  };
  for (int i = 0; i < 4; ++i) {
    Box* box = world.addBox(0.3, 0.3, 0.2, 1.0 + i);
    box->setPosition(5.0 + 0.05 * number(), 0.05 * number(), 0.298 + 0.199 * i);
    push(box);
  }
  for (int i = 0; i < 14; ++i) {
    Sphere* sphere = world.addSphere(0.1, 0.5);
    sphere->setPosition(0.18 * (i % 3) - 3.0, 0.18 * (i / 3 % 3), 0.099 + 0.15 * (i / 9));
    push(sphere);
  }
  ArticulatedSystem* door = articulated_test::addFlap(world);
  door->setGeneralizedCoordinate(Eigen::VectorXd(Eigen::VectorXd::Constant(1, 0.2)));
  ArticulatedSystem* quadruped = world.addArticulatedSystem(ZELVIK_MODEL_DIR "/quadruped.urdf");
  VecDyn q = quadruped->getGeneralizedCoordinate();
  q[2] = 0.16;
  for (unsigned long k = 7; k < q.n; ++k) q[k] = 1.5 * number();
  quadruped->setGeneralizedCoordinate(q);
  Sphere* rider = world.addSphere(0.1, 2.0);
  rider->setPosition(0.0, 0.0, 0.3);
  ArticulatedSystem* chain = world.addArticulatedSystem(snake(10), ".");
  chain->setBasePos({{0.0, 3.0, 0.0499}});
  Child bob = articulated_test::body("bob", Joint::SPHERICAL, 1.0, {{0.0, 0.0, -0.5}});
  bob.jointLimit[0] = 0.3;
  Child mount = articulated_test::body("mount", Joint::FIXED);
  mount.childrenMovable.push_back(bob);
  ArticulatedSystem* pendulum = world.addArticulatedSystem(mount);
  const Eigen::Vector4d turned(std::cos(0.2), std::sin(0.2), 0.0, 0.0);
  pendulum->setGeneralizedCoordinate(Eigen::VectorXd(turned));
  pendulum->setGeneralizedVelocity(Eigen::VectorXd(Eigen::Vector3d(1.0, number(), 0.5)));
  world.addStiffWire(rider, 0, {}, base, 0, {}, 4.9);
  world.addStiffWire(quadruped, 0, {}, chain, 2, {}, 2.9);
}

/// `World::integrate2` with another way to solve.
template <typename Solve>
void integrate2By(World& world, Solve solve) {
  const double dt = world.getTimeStep();
  for (Object* object : world.getObjList())
    if (object->getBodyType() != BodyType::STATIC)
      object->preContactSolverUpdate2(world.getGravity(), dt);
  for (Object* object : world.getObjList())
    if (object->getBodyType() == BodyType::DYNAMIC) world.contactProblemUpdate(object);
  auto& problems = const_cast<contact::ContactProblemList&>(world.getContactProblems());
  for (contact::Single3DContactProblem& p : problems) p.imp_.setZero();
  solve(world.getContactSolver(), problems);
  for (Object* object : world.getObjList())
    if (object->getBodyType() != BodyType::STATIC) object->integrate(dt, world.getGravity());
}

/// With the sweep over records.
void integrate2ByRecords(World& world) {
  integrate2By(world, [](auto& solver, auto& problems) { solver.solve(problems); });
}

void integrateByRecords(World& world) {
  world.integrate1();
  integrate2ByRecords(world);
}

TEST(ContactSweep, EqualsTheSweepOverRecords) {
  using Problem = contact::Single3DContactProblem;
  int compared = 0, wentApart = 0, limits = 0, sliding = 0;
  for (unsigned seed = 1; seed <= 12; ++seed) {
    World records, rows;
    for (World* world : {&records, &rows}) {
      fill(*world, seed);
      world->setContactSolverParam(seed % 3 == 0 ? 0.9 : 1.0, 1.0, 1.0, 12, 0.0);
      world->setContactSurfaceLayer(seed % 2 == 0 ? 2e-3 : 0.0);
    }
    double worst = 0.0;
    for (int step = 0; step < 12; ++step) {
      integrateByRecords(records);
      rows.integrate();
      const contact::ContactProblemList &a = records.getContactProblems(),
                                        &b = rows.getContactProblems();
      ASSERT_EQ(a.size(), b.size());
      double largest = 0.0;
      for (const Problem& p : a) largest = std::max(largest, norm(p.imp_));
      for (size_t i = 0; i < a.size(); ++i) {
        ASSERT_EQ(a[i].rank_, b[i].rank_);
        ASSERT_TRUE(std::isfinite(norm(b[i].imp_)));
        ++compared;
        limits += a[i].rank_ == Problem::JOINT_LIMIT ? 1 : 0;
        sliding += std::fabs(std::hypot(a[i].imp_[0], a[i].imp_[1]) - a[i].mu_ * a[i].imp_[2]) <
                           1e-9 * a[i].imp_[2]
                       ? 1
                       : 0;
        worst = std::max(worst, norm(a[i].imp_ - b[i].imp_) / largest);
      }
      if (worst > 1e-6) break;
    }
    // A rounding error can decide which way a contact goes that is wedged between links, and its
    // neighbours make it large: up to three of these worlds, by compiler. A fault parts all.
    wentApart += worst > 1e-6 ? 1 : 0;
  }
  EXPECT_GT(compared, 10000);
  EXPECT_GT(limits, 100);
  EXPECT_GT(sliding, 500);
  EXPECT_LE(wentApart, 4);
}

// The blocks are of the first half of the step.
TEST(ContactSweep, BodiesMayChangeBetweenTheHalves) {
  for (const bool turn : {false, true}) {
    World records, rows;
    std::vector<Box*> boxes;
    for (World* world : {&records, &rows}) {
      world->addGround();
      for (int i = 0; i < 4; ++i) {
        boxes.push_back(world->addBox(0.2, 0.3, 0.2, 1.0));
        boxes.back()->setPosition(0.05 * i, 0.0, 0.0999 + 0.1999 * i);
        boxes.back()->setVelocity(0.5 - 0.1 * i, 0.1, 0.0, 0.1, 0.0, 0.2);
      }
      world->setContactSolverParam(1.0, 1.0, 1.0, 12, 0.0);
      world->integrate1();
    }
    for (Box* box : boxes) {
      if (turn)
        box->setOrientation(std::sqrt(0.5), 0.0, std::sqrt(0.5), 0.0);
      else
        box->setInertia(Mat33{{1e-4, 0.0, 0.0, 0.0, 2e-4, 0.0, 0.0, 0.0, 1e-4}});
    }
    integrate2ByRecords(records);
    rows.integrate2();
    for (int i = 0; i < 4; ++i) {
      EXPECT_LT(norm(boxes[i]->getAngularVelocity()), 100.0);
      EXPECT_LT(norm(boxes[i]->getAngularVelocity() - boxes[4 + i]->getAngularVelocity()), 1e-9);
      EXPECT_LT(norm(boxes[i]->getLinearVelocity() - boxes[4 + i]->getLinearVelocity()), 1e-9);
    }
  }
}

// Who touches whom is found in the contacts of the objects as the world has recorded it.
TEST(ContactSweep, ACallersSolveGivesTheBitsOfTheStep) {
  for (unsigned seed = 1; seed <= 3; ++seed) {
    World own, callers;
    for (World* world : {&own, &callers}) {
      fill(*world, seed);
      world->setContactSolverParam(1.0, 1.0, 1.0, 12, 0.0);
    }
    for (int step = 0; step < 20; ++step) {
      own.integrate();
      callers.integrate1();
      integrate2By(callers, [&](auto& solver, auto& problems) {
        solver.solve(problems, callers.getObjList());
      });
      for (size_t i = 0; i < own.getContactProblems().size(); ++i)
        ASSERT_EQ(norm(own.getContactProblems()[i].imp_ - callers.getContactProblems()[i].imp_),
                  0.0);
    }
  }
}

TEST(ContactSweep, AStrangeRelaxationHarmsTheStateOnly) {
  for (const double relaxation : {std::nan(""), HUGE_VAL, -HUGE_VAL, 1e200}) {
    World world;
    world.addGround();
    for (int i = 0; i < 5; ++i) world.addSphere(0.1, 1.0)->setPosition(0.19 * i, 0.0, 0.099);
    world.setContactSolverParam(relaxation, 1.0, 1.0, 150, 1e-8);
    for (int step = 0; step < 3; ++step) world.integrate();
    EXPECT_EQ(world.getObjList().size(), 6u);
  }
}

TEST(ContactSweep, WiresThatMoveNothingHarmNothing) {
  World world;
  world.addGround();
  Box* box = world.addBox(0.2, 0.2, 0.2, 1.0);
  box->setPosition(0.0, 0.0, 0.0999);
  Box* anchor = world.addBox(0.1, 0.1, 0.1, 1.0);
  anchor->setBodyType(BodyType::STATIC);
  anchor->setPosition(0.0, 0.0, 3.0);
  ArticulatedSystem* robot = world.addArticulatedSystem(ZELVIK_MODEL_DIR "/quadruped.urdf");
  robot->setBasePos({{2.0, 0.0, 1.0}});
  // From a link and from a body to itself; from the box and from the anchor to the robot.
  world.addStiffWire(robot, 0, {}, robot, 0, {{0.2, 0.0, 0.0}}, 0.1);
  world.addStiffWire(box, 0, {}, box, 0, {{0.1, 0.0, 0.0}}, 0.05);
  world.addStiffWire(box, 0, {}, robot, 0, {}, 1.0);
  world.addStiffWire(anchor, 0, {}, robot, 0, {}, 1.0);
  for (int step = 0; step < 20; ++step) {
    world.integrate1();
    // A new state lets go of the robot's contacts and wires.
    if (step % 2 == 0) robot->setGeneralizedCoordinate(robot->getGeneralizedCoordinate());
    world.integrate2();
    EXPECT_TRUE(std::isfinite(norm(box->getLinearVelocity())));
    for (size_t k = 0; k < robot->getDOF(); ++k)
      ASSERT_TRUE(std::isfinite(robot->getGeneralizedVelocity()[k])) << step;
  }
}

}  // namespace
}  // namespace zelvik
