// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>

#include "ArticulatedTestTools.hpp"
#include "StandingRobot.hpp"

// Worlds in which something goes wrong on purpose: the watch has to find it and to name what was
// put in.

namespace zelvik {
namespace {

struct Fault {
  const char* name;
  std::function<void(World&)> build;
  WatchReport::Finding finding;
  const char* cause;  ///< part of a sentence
};

ArticulatedSystem* addQuadruped(World& world) {
  ArticulatedSystem* robot = world.addArticulatedSystem(ZELVIK_MODEL_DIR "/quadruped.urdf");
  scenes::holdPoseByPd(*robot, scenes::nominalPose(*robot));
  return robot;
}

const Fault kFaults[] = {
    {"a joint force that is no number",
     [](World& world) {
       VecDyn force(18);
       force.setZero();
       force[9] = std::numeric_limits<double>::quiet_NaN();
       addQuadruped(world)->setGeneralizedForce(force);
     },
     WatchReport::NOT_FINITE, "joint force, target or gain that was given is not finite"},
    {"an external force of 1e9 N",
     [](World& world) {
       Sphere* ball = world.addSphere(0.1, 1.0);
       ball->setPosition(0.0, 0.0, 5.0);
       ball->setExternalForce(0, {{1e9, 0.0, 0.0}});
     },
     WatchReport::SPEED, "force beyond sense: an external one"},
    {"a wire too stiff for the step",
     [](World& world) {
       Sphere *a = world.addSphere(0.01, 1.0), *b = world.addSphere(0.01, 1.0);
       b->setPosition(1.1, 0.0, 50.0);
       a->setPosition(0.0, 0.0, 50.0);
       world.addCompliantWire(a, 0, {}, b, 0, {}, 1.0, 1e5)->setStretchType(2);
     },
     WatchReport::ENERGY, "time step against stiffness: the wire"},
    {"boxes inside of each other",
     [](World& world) {
       for (int i = 0; i < 2; ++i)
         world.addBox(0.5, 0.5, 0.5, 1.0)->setPosition(0.05 * i, 0.0, 2.0);
     },
     WatchReport::DEPTH, "deep overlap at the start"},
    {"a joint without inertia",
     [](World& world) {
       Child base = articulated_test::body("base", Joint::FIXED);
       base.childrenMovable.push_back(
           articulated_test::body("ghost", Joint::REVOLUTE, 0.0, {}, 0.0));
       world.addArticulatedSystem(base, ".")->setGeneralizedForce({1.0});
     },
     WatchReport::NOT_FINITE, "singular mass matrix"},
};

TEST(Watch, NamesWhatWasPutIn) {
  for (const Fault& fault : kFaults) {
    World world;
    world.addGround();
    fault.build(world);

    messages::expect(
        "World::setWatch: step",
        [&] {
          world.setWatch();
          for (int i = 0; i < 50; ++i) world.integrate();
        },
        messages::OnFatal::GO_ON);
    const WatchReport* report = world.getWatchReport();
    ASSERT_NE(report, nullptr) << fault.name;
    EXPECT_EQ(report->finding, fault.finding) << fault.name << report->toText();
    EXPECT_NE(report->toText().find(fault.cause), std::string::npos)
        << fault.name << ": " << report->toText();
    EXPECT_NE(report->toJson().find("\"causes\": [\""), std::string::npos) << report->toJson();
  }
}

// A robot that stands, and is then watched, is left in peace;
// a solver that is given one sweep is not.
TEST(Watch, LeavesWhatIsWellInPeace) {
  scenes::StandingRobot scene(ZELVIK_MODEL_DIR "/quadruped.urdf");
  WatchLimits limits;
  limits.unsolvedSteps = 20;
  scene.world.setWatch(limits);
  for (int i = 0; i < 400; ++i) scene.world.integrate();
  EXPECT_EQ(scene.world.getWatchReport(), nullptr);
  scene.world.setContactSolverParam(1.0, 1.0, 1.0, 1, 1e-30);
  messages::expect(
      "steps in a row that end at the sweep limit",
      [&] {
        for (int i = 0; i < 30; ++i) scene.world.integrate();
      },
      messages::OnFatal::GO_ON);
  ASSERT_NE(scene.world.getWatchReport(), nullptr);
  EXPECT_EQ(scene.world.getWatchReport()->finding, WatchReport::UNSOLVED);
  EXPECT_EQ(scene.world.getWatchReport()->object, kNone);
  scene.world.clearWatch();
  EXPECT_EQ(scene.world.getWatchReport(), nullptr);
}

}  // namespace
}  // namespace zelvik
